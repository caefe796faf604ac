// See collation_table.h.
#include "collation_table.h"

#include <algorithm>
#include <cstring>

namespace objectstore {

namespace {

constexpr uint8_t kLevelEnd = 1;

// It contracts with an l before it, so that both together have other weights than each of them.
constexpr char16_t kMiddleDot = 0x00B7;

constexpr size_t kRoomForOne = 64;  // bytes for the key of one character, or of two

}  // namespace

CollationTable::CollationTable(const KeySource& source, size_t levels) : levels_(levels) {
  for (Character& character : characters_) character = kApart;
  for (char16_t character = 0; character < kCharacters; ++character) {
    if (character == kMiddleDot) continue;
    std::array<uint8_t, kRoomForOne> key;
    const size_t size = source({&character, 1}, key);
    const char16_t twice[] = {character, character};
    if (size > key.size() || !Learn(character, {key.data(), size}) || !Reproduces(source, {twice, 2})) {
      characters_[character] = kApart;
    }
  }
  if (ReproducesLongTexts(source)) return;
  for (Character& character : characters_) character = kApart;
}

size_t CollationTable::KeyOf(std::u16string_view text, std::span<uint8_t> room) const {
  if (text.size() > kMostCharacters || text.size() * kMostPrimaryBytes > room.size()) return 0;
  uint8_t* out = room.data();
  const uint8_t* const end = out + room.size();
  LowerLevels lower;
  for (const char16_t unit : text) {
    if (unit >= kCharacters) return 0;
    const Character& character = characters_[unit];
    std::memcpy(out, character.primary.data(), kMostPrimaryBytes);
    out += character.primary_bytes;
    // No branch: where a text has its accents and capitals cannot be foreseen.
    lower.mark[lower.marks] = lower.counts | unit;
    lower.marks += character.is_marked;
    lower.counts += character.counts;
  }
  if (CountIn(lower.counts, kApartBits) != 0) return 0;
  if (levels_ >= 2) out = Append(kSecondaryRuns, secondaries_, kSecondaryBits, lower, out, end);
  if (levels_ >= 3 && out != nullptr) out = Append(kTertiaryRuns, tertiaries_, kTertiaryBits, lower, out, end);
  if (out == nullptr || out == end) return 0;
  *out++ = 0;
  return static_cast<size_t>(out - room.data());
}

// Null if the room might be too small.
uint8_t* CollationTable::Append(const RunCode& code, const Shares& shares, int count_bits, const LowerLevels& text,
                                uint8_t* out, const uint8_t* end) {
  const uint32_t common = CountIn(text.counts, count_bits);
  const size_t most_bytes_at_once = common / code.most() + 2 + kMostWeightBytes;
  const auto append_middles = [&](uint32_t& run) {
    for (; run > code.most(); run -= code.most()) *out++ = code.middle;
  };
  if (static_cast<size_t>(end - out) < most_bytes_at_once) return nullptr;
  *out++ = kLevelEnd;
  uint32_t written = 0;  // of the common weights
  for (size_t i = 0; i < text.marks; ++i) {
    const Share& share = shares[text.mark[i] & 0xFFFF];
    if (static_cast<size_t>(end - out) < most_bytes_at_once) return nullptr;
    const bool has_weights = share.weight_bytes != 0;
    uint32_t run = has_weights ? CountIn(text.mark[i], count_bits) + share.common_before - written : 0;
    written += run;
    append_middles(run);
    *out = static_cast<uint8_t>(code.high - run + 1);
    out += run != 0 ? 1 : 0;
    std::memcpy(out, share.weights.data(), kMostWeightBytes);
    out += share.weight_bytes;
  }
  if (static_cast<size_t>(end - out) < most_bytes_at_once) return nullptr;
  uint32_t run = common - written;
  append_middles(run);
  if (run != 0) *out++ = static_cast<uint8_t>(code.low + run - 1);
  return out;
}

// Takes a key to pieces. False when it is not of the simple form that can be composed.
bool CollationTable::Learn(char16_t character, std::span<const uint8_t> key) {
  std::array<std::span<const uint8_t>, 3> level;
  if (key.empty() || key.back() != 0) return false;
  auto begin = key.begin();
  for (size_t i = 0; i < levels_; ++i) {
    const auto level_end = std::find(begin, key.end() - 1, i + 1 < levels_ ? kLevelEnd : 0);
    if (i + 1 < levels_ && level_end == key.end() - 1) return false;
    level[i] = {begin, level_end};
    begin = level_end + 1;
  }
  Character learnt{};
  if (begin != key.end() || level[0].size() > kMostPrimaryBytes) return false;
  std::copy(level[0].begin(), level[0].end(), learnt.primary.begin());
  learnt.primary_bytes = static_cast<uint8_t>(level[0].size());
  Share& secondary = secondaries_[character];
  Share& tertiary = tertiaries_[character];
  if (!ReadShare(kSecondaryRuns, level[1], secondary) || !ReadShare(kTertiaryRuns, level[2], tertiary)) return false;
  learnt.is_marked = secondary.weight_bytes != 0 || tertiary.weight_bytes != 0 ? 1 : 0;
  learnt.counts = (uint64_t{secondary.common_before} + secondary.common_after) << kSecondaryBits;
  learnt.counts |= (uint64_t{tertiary.common_before} + tertiary.common_after) << kTertiaryBits;
  characters_[character] = learnt;
  return true;
}

bool CollationTable::ReadShare(const RunCode& code, std::span<const uint8_t> level, Share& share) {
  share = {};
  auto at = level.begin();
  if (at != level.end() && *at > code.middle && *at <= code.high) {
    share.common_before = static_cast<uint8_t>(code.high - *at + 1);
    ++at;
  }
  while (at != level.end() && *at > code.high) {
    if (share.weight_bytes == kMostWeightBytes) return false;
    share.weights[share.weight_bytes++] = *at++;
  }
  if (at != level.end() && *at >= code.low && *at < code.middle) {
    const auto run = static_cast<uint8_t>(*at - code.low + 1);
    (share.weight_bytes == 0 ? share.common_before : share.common_after) = run;
    ++at;
  }
  return at == level.end() && share.common_before <= kMostCommon && share.common_after <= kMostCommon;
}

bool CollationTable::Reproduces(const KeySource& source, std::u16string_view text) const {
  constexpr size_t kMostBytes = 11;  // of a character
  std::array<uint8_t, kCharacters * kMostBytes> composed;
  std::array<uint8_t, kCharacters * kMostBytes> given;
  const size_t size = KeyOf(text, composed);
  return size != 0 && source(text, given) == size && std::memcmp(composed.data(), given.data(), size) == 0;
}

// All characters in one text, upwards and downwards, and runs of common weights as long as they can get.
bool CollationTable::ReproducesLongTexts(const KeySource& source) const {
  std::array<char16_t, kCharacters> text;
  size_t length = 0;
  for (char16_t character = 0; character < kCharacters; ++character) {
    if (CountIn(characters_[character].counts, kApartBits) == 0) text[length++] = character;
  }
  if (!Reproduces(source, {text.data(), length})) return false;
  std::reverse(text.begin(), text.begin() + static_cast<ptrdiff_t>(length));
  if (!Reproduces(source, {text.data(), length})) return false;
  text.fill(u'a');
  if (!Reproduces(source, {text.data(), text.size()})) return false;
  text.back() = u'\u00C4';
  return Reproduces(source, {text.data(), text.size()});
}

}  // namespace objectstore
