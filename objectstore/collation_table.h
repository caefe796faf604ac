// Keys of texts in Latin letters without ICU's help: what each character puts into a key is learnt from ICU once, and the
// keys of texts are composed of that.
//
// (I1) A composed key is, byte for byte, the key that ICU gives for the text, so that the keys of both may be compared.
// (I2) Only characters whose part of a key does not depend on their neighbours are composed; a text with any other is
// left to ICU.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

#include "object_store.h"

namespace objectstore {

class CollationTable {
 public:
  // Writes ICU's key of a text, with its zero, into the room and returns its size.
  using KeySource = std::function<size_t(std::u16string_view text, std::span<uint8_t> room)>;

  // A table for keys of so many levels, from one (primary weights alone) to three. Costs some 800 of ICU's keys. If ICU's
  // keys are not made as this table supposes, it composes none.
  CollationTable(const KeySource& source, size_t levels);

  // Writes the key with its zero into the room and returns its size. Zero when the text is to be left to ICU, or when the
  // room might be too small; the room's contents are lost then.
  size_t KeyOf(std::u16string_view text, std::span<uint8_t> room) const;

 private:
  static constexpr size_t kCharacters = 0x180;            // Latin, its supplement, and its first extension
  static constexpr size_t kMostCharacters = kCharacters;  // of a text
  static constexpr size_t kMostPrimaryBytes = 4;
  static constexpr size_t kMostWeightBytes = 4;
  static constexpr uint8_t kMostCommon = 8;  // common weights of a character before and after others

  // What keys of a level look like: common weights are not written but counted, and a run of them stands as a byte from
  // low upwards before something smaller than a common weight (there is only the level's end), and from high downwards
  // before a larger weight. Runs longer than a byte can say begin with middle.
  struct RunCode {
    uint8_t low;
    uint8_t middle;
    uint8_t high;
    uint32_t most() const { return static_cast<uint32_t>(middle - low) + 1; }
  };

  struct Character {
    uint64_t counts;  // in bits from kSecondaryBits, kTertiaryBits, kApartBits upwards, so that a text's are their sums
    std::array<uint8_t, kMostPrimaryBytes> primary;  // the rest is zero
    uint8_t primary_bytes;
    uint8_t is_marked;  // 1: has weights other than common ones on the second or third level
  };

  // A character's part of the second or third level: common weights, other weights, common weights.
  struct Share {
    uint8_t common_before;
    uint8_t common_after;
    uint8_t weight_bytes;
    std::array<uint8_t, kMostWeightBytes> weights;
  };
  using Shares = std::array<Share, kCharacters>;

  // What a text has on the second and third level: the counts of all its characters, and, for each of those that are
  // marked, the counts of all before it with the character itself in the lowest bits.
  struct LowerLevels {
    uint64_t counts = 0;
    size_t marks = 0;
    std::array<uint64_t, kMostCharacters> mark;  // in use: the first so many
  };

  static constexpr int kSecondaryBits = 16;  // common weights
  static constexpr int kTertiaryBits = 32;
  static constexpr int kApartBits = 48;  // characters that are left to ICU
  static constexpr Character kApart{uint64_t{1} << kApartBits, {}, 0, 0};

  static constexpr RunCode kSecondaryRuns{0x05, 0x25, 0x45};
  static constexpr RunCode kTertiaryRuns{0x05, 0x65, 0xC5};

  static uint8_t* Append(const RunCode& code, const Shares& shares, int count_bits, const LowerLevels& text,
                         uint8_t* out, const uint8_t* end);
  static uint32_t CountIn(uint64_t counts, int bits) { return static_cast<uint16_t>(counts >> bits); }

  static bool ReadShare(const RunCode& code, std::span<const uint8_t> level, Share& share);

  bool Learn(char16_t character, std::span<const uint8_t> key);
  bool Reproduces(const KeySource& source, std::u16string_view text) const;
  bool ReproducesLongTexts(const KeySource& source) const;

  size_t levels_;
  std::array<Character, kCharacters> characters_{};
  Shares secondaries_{};
  Shares tertiaries_{};
};

}  // namespace objectstore
