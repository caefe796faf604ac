// See collation_table.h: composing keys.
#include "collation_table.h"

#include <cstring>

namespace objectstore {

size_t CollationTable::KeyOf(std::u16string_view text, std::span<uint8_t> room) const {
  if (text.size() > kMostCharacters || text.size() * (kMostPrimaryBytes + 1) > room.size()) return 0;
  uint8_t* out = room.data();
  const uint8_t* const end = out + room.size();
  LowerLevels lower;
  for (const char16_t unit : text) {
    const size_t place = PlaceOf(unit);
    if (place == kNoPlace) return 0;
    const Character& character = characters_[place];
    std::memcpy(out, character.primary.data(), kMostPrimaryBytes);
    out += character.primary_bytes;
    // No branch: where a text has its accents and capitals cannot be foreseen.
    lower.mark[lower.marks] = lower.counts | CountOf(kPlace, place);
    lower.marks += character.is_marked;
    lower.counts += character.counts;
  }
  if (CountIn(lower.counts, kApart) != 0) return 0;
  if (CountIn(lower.counts, kShortened) != 0) out = AppendShortened(text, room.data());
  if (levels_ >= 2) out = Append<kSecondaryRuns>(secondaries_, lower, out, end);
  if (levels_ >= 3 && out != nullptr) out = Append<kTertiaryRuns>(tertiaries_, lower, out, end);
  if (out == nullptr || out == end) return 0;
  *out++ = 0;
  return static_cast<size_t>(out - room.data());
}

size_t CollationTable::PlaceBeyondFirstBlock(char16_t character) {
  size_t place = 0;
  for (const Block& block : kBlocks) {
    if (character >= block.begin && character < block.end) return place + character - block.begin;
    place += block.end - block.begin;
  }
  return kNoPlace;
}

// The primary level of a text with weights that are shortened: those of one script that stand together have their first
// byte in common and write it once. Before a weight with another first byte stands a byte that sorts like that.
uint8_t* CollationTable::AppendShortened(std::u16string_view text, uint8_t* out) const {
  uint8_t first_byte = 0;  // of the weight before, if it is of those
  for (const char16_t unit : text) {
    const Character& character = characters_[PlaceOf(unit)];
    if (character.primary_bytes == 0) continue;
    const uint8_t* primary = character.primary.data();
    size_t bytes = character.primary_bytes;
    if (*primary == first_byte) {
      ++primary;
      --bytes;
    } else {
      if (first_byte != 0) *out++ = *primary < first_byte ? kDown : kUp;
      first_byte = CountIn(character.counts, kShortened) != 0 ? *primary : 0;
    }
    std::memcpy(out, primary, bytes);
    out += bytes;
  }
  return out;
}

// One of the lower levels. Null if the room might be too small.
template <CollationTable::RunCode code>
uint8_t* CollationTable::Append(const Shares& shares, const LowerLevels& text, uint8_t* out, const uint8_t* end) {
  const uint32_t common = CountIn(text.counts, code.common);
  const size_t most_bytes_at_once = common / code.most() + 2 + kMostWeightBytes;
  const auto append_middles = [&](uint32_t& run) {
    for (; run > code.most(); run -= code.most()) *out++ = code.middle;
  };
  if (static_cast<size_t>(end - out) < most_bytes_at_once) return nullptr;
  *out++ = kLevelEnd;
  uint32_t written = 0;  // of the common weights
  for (size_t i = 0; i < text.marks; ++i) {
    if (static_cast<size_t>(end - out) < most_bytes_at_once) return nullptr;
    const Share& share = shares[CountIn(text.mark[i], kPlace)];
    const bool has_weights = share.weight_bytes != 0;
    uint32_t run = has_weights ? CountIn(text.mark[i], code.common) + share.common_before - written : 0;
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

}  // namespace objectstore
