// See collation_table.h: taking ICU's keys to pieces.
#include <algorithm>
#include <bitset>
#include <cstring>

#include "collation_table.h"

namespace objectstore {

namespace {

constexpr size_t kRoomForTwo = 64;  // bytes for the key of one character, or of two

// Characters whose weights depend on their neighbours: marks, which change places with each other and combine with what
// stands before them, and the middle dots, which contract with an l.
bool DependsOnNeighbours(char16_t character) {
  const struct {
    char16_t first, last;
  } kDependent[] = {{0x00B7, 0x00B7}, {0x0300, 0x036F}, {0x0387, 0x0387}, {0x0483, 0x0489}};
  return std::any_of(std::begin(kDependent), std::end(kDependent),
                     [character](const auto& run) { return character >= run.first && character <= run.last; });
}

}  // namespace

CollationTable::CollationTable(const KeySource& source, size_t levels) : levels_(levels) {
  Learn(source);
  LearnShortening(source);
  if (!ReproducesKeys(source)) characters_.fill({});
}

CollationTable::CollationTable(const StoredKeys& stored, size_t levels) : levels_(3) {
  size_t begin = 0;
  for (size_t i = 0; i < kPlaces; ++i) {
    const size_t size = stored.keys[begin];
    if (!LearnKey(i, stored.keys.subspan(begin + 1, size))) characters_[i] = {};
    begin += 1 + size;
  }
  size_t place = 0;
  for (const Block& block : kBlocks) {
    for (char16_t character = block.begin; character < block.end; ++character, ++place) {
      if (DependsOnNeighbours(character)) characters_[place].counts |= CountOf(kApart, 1);
    }
  }
  const auto first_bytes = stored.shortened_first_bytes;
  for (Character& character : characters_) {
    const bool is_shortened = character.primary_bytes >= 2 && std::find(first_bytes.begin(), first_bytes.end(),
                                                                        character.primary[0]) != first_bytes.end();
    if (is_shortened) character.counts |= CountOf(kShortened, 1);
  }
  levels_ = levels;
}

void CollationTable::Learn(const KeySource& source) {
  size_t place = 0;
  for (const Block& block : kBlocks) {
    for (char16_t character = block.begin; character < block.end; ++character, ++place) {
      if (DependsOnNeighbours(character)) continue;
      std::array<uint8_t, kRoomForTwo> key;
      const size_t size = source({&character, 1}, key);
      if (size > key.size() || !LearnKey(place, {key.data(), size})) characters_[place] = {};
    }
  }
}

// False when the key is not of the simple form that can be composed.
bool CollationTable::LearnKey(size_t place, std::span<const uint8_t> key) {
  std::array<std::span<const uint8_t>, 3> level;
  size_t begin = 0;
  for (size_t i = 0; i < levels_; ++i) {
    const auto found = std::find_if(key.begin() + static_cast<ptrdiff_t>(begin), key.end(),
                                    [](uint8_t byte) { return byte <= kLevelEnd; });
    const auto end = static_cast<size_t>(found - key.begin());
    if (end == key.size() || key[end] != (i + 1 < levels_ ? kLevelEnd : 0)) return false;
    level[i] = key.subspan(begin, end - begin);
    begin = end + 1;
  }
  Share& secondary = secondaries_[place];
  Share& tertiary = tertiaries_[place];
  if (begin != key.size() || level[0].size() > kMostPrimaryBytes) return false;
  if (!LearnShare(kSecondaryRuns, level[1], secondary) || !LearnShare(kTertiaryRuns, level[2], tertiary)) return false;

  Character& character = characters_[place];
  std::copy(level[0].begin(), level[0].end(), character.primary.begin());
  character.primary_bytes = static_cast<uint8_t>(level[0].size());
  character.is_known = true;
  character.is_marked = secondary.weight_bytes != 0 || tertiary.weight_bytes != 0 ? 1 : 0;
  character.counts = CountOf(kCommonSecondaries, uint64_t{secondary.common_before} + secondary.common_after) |
                     CountOf(kCommonTertiaries, uint64_t{tertiary.common_before} + tertiary.common_after);
  return true;
}

bool CollationTable::LearnShare(const RunCode& code, std::span<const uint8_t> level, Share& share) {
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

// Tries one character for each first byte: written twice, its key tells whether the second weight is shortened.
void CollationTable::LearnShortening(const KeySource& source) {
  std::bitset<256> tried;
  std::bitset<256> shortened;
  size_t place = 0;
  for (const Block& block : kBlocks) {
    for (char16_t unit = block.begin; unit < block.end; ++unit, ++place) {
      Character& character = characters_[place];
      if (character.primary_bytes < 2) continue;
      const uint8_t first_byte = character.primary[0];
      if (!tried[first_byte]) {
        const char16_t twice[] = {unit, unit};
        std::array<uint8_t, kRoomForTwo> key{};
        source({twice, 2}, key);
        const auto level_end = std::find_if(key.begin(), key.end(), [](uint8_t byte) { return byte <= kLevelEnd; });
        shortened[first_byte] = level_end - key.begin() == 2 * character.primary_bytes - 1;
        tried.set(first_byte);
      }
      if (shortened[first_byte]) character.counts |= CountOf(kShortened, 1);
    }
  }
}

// All characters, in two orders, with different neighbours, and runs of common weights as long as they can get.
bool CollationTable::ReproducesKeys(const KeySource& source) const {
  std::array<char16_t, kPlaces> all;
  size_t count = 0;
  size_t place = 0;
  for (const Block& block : kBlocks) {
    for (char16_t character = block.begin; character < block.end; ++character, ++place) {
      if (CountIn(characters_[place].counts, kApart) == 0) all[count++] = character;
    }
  }
  std::array<char16_t, kMostCharacters> text;
  for (const size_t stride : {size_t{1}, size_t{1021}}) {
    for (size_t i = 0; i < count;) {
      size_t length = 0;
      for (; length < text.size() && i < count; ++i) text[length++] = all[i * stride % count];
      if (!Reproduces(source, {text.data(), length})) return false;
    }
  }
  text.fill(u'a');
  if (!Reproduces(source, {text.data(), text.size()})) return false;
  text.back() = u'\u00C4';
  return Reproduces(source, {text.data(), text.size()});
}

bool CollationTable::Reproduces(const KeySource& source, std::u16string_view text) const {
  constexpr size_t kMostBytes = 16;  // of a character
  std::array<uint8_t, kMostCharacters * kMostBytes> composed;
  std::array<uint8_t, kMostCharacters * kMostBytes> given;
  const size_t size = KeyOf(text, composed);
  return size != 0 && source(text, given) == size && std::memcmp(composed.data(), given.data(), size) == 0;
}

}  // namespace objectstore
