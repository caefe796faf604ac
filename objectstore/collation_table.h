// Keys of texts in Latin, Greek and Cyrillic letters without ICU's help: what each character puts into a key is learnt
// from ICU once, and the keys of texts are composed of that.
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
#include <vector>

namespace objectstore {

class CollationTable {
 public:
  // Writes ICU's key of a text, with its zero, into the room and returns its size.
  using KeySource = std::function<size_t(std::u16string_view text, std::span<uint8_t> room)>;

  // A table for keys of so many levels, from one (primary weights alone) to three. If ICU's keys are not made as this table
  // supposes, it composes none. Throws what the source throws.
  CollationTable(const KeySource& source, size_t levels);

  // What ICU answers for each character, as it was written down earlier.
  struct StoredKeys {
    std::span<const uint8_t> keys;  // of three levels, one for each place; each follows a byte that is its size
    std::span<const uint8_t> shortened_first_bytes;
  };
  CollationTable(const StoredKeys& stored, size_t levels);

  // A canonical composition of two characters, or with none for the second a character that stands for another, and the
  // place of a mark among others behind a letter, as Unicode has them.
  struct Composition {
    char16_t first;
    char16_t second;
    char16_t composed;
  };
  struct MarkClass {
    char16_t mark;
    uint8_t combining_class;
  };
  struct Compositions {
    std::span<const Composition> pairs;  // in order
    std::span<const MarkClass> marks;    // in order
  };

  // The key with its zero of a text that may hold anything: characters that have no place here sort behind all others, by
  // their numbers. For tables of stored keys.
  void KeyOfAnyText(std::u16string_view text, const Compositions& compositions, std::vector<uint8_t>& key) const;

  // Writes the key with its zero into the room and returns its size. Zero when the text is to be left to ICU, or when the
  // room might be too small; the room's contents are lost then.
  size_t KeyOf(std::u16string_view text, std::span<uint8_t> room) const;

  // Runs of characters that have places in the table, one after the other; the first begins with character 0, so that its
  // characters are their own places.
  struct Block {
    char16_t begin;
    char16_t end;
  };
  static constexpr Block kBlocks[] = {
      {0x0000, 0x0530},  // Latin, phonetic letters, Greek, Cyrillic
      {0x1E00, 0x1F00},  // more Latin letters, those of Vietnamese among them
      {0x2010, 0x2028},  // dashes, quotation marks, the ellipsis
      {0x20A0, 0x20C0},  // currencies
  };
  static constexpr size_t kPlaces = 0x530 + 0x100 + 0x18 + 0x20;

 private:
  static constexpr size_t kNoPlace = kPlaces;

  static constexpr size_t kMostCharacters = 384;  // of a text
  static constexpr size_t kMostPrimaryBytes = 4;  // of a character
  static constexpr size_t kMostWeightBytes = 4;
  static constexpr uint8_t kMostCommon = 5;

  // Numbers that fit into one, so that they are added up together.
  static constexpr int kCountBits = 12;
  enum Count { kPlace, kCommonSecondaries, kCommonTertiaries, kShortened, kApart };
  static constexpr uint64_t CountOf(Count count, uint64_t number) { return number << count * kCountBits; }
  static constexpr uint32_t CountIn(uint64_t counts, Count count) {
    return static_cast<uint32_t>(counts >> count * kCountBits) & ((1U << kCountBits) - 1);
  }
  static_assert(kPlaces < 1 << kCountBits && kMostCharacters * 2 * kMostCommon < 1 << kCountBits);

  // How many common weights it has on each lower level. Whether its primary weight is shortened behind one that begins with
  // the same byte. Whether it is left to ICU.
  struct Character {
    uint64_t counts = CountOf(kApart, 1);
    std::array<uint8_t, kMostPrimaryBytes> primary{};  // the rest is zero
    uint8_t primary_bytes = 0;
    uint8_t is_marked = 0;  // 1: has weights other than common ones on a lower level
    bool is_known = false;  // what it puts into a key is here, also if its neighbours may change that
  };

  // A character's part of the second or third level: common weights, other weights, common weights.
  struct Share {
    uint8_t common_before;
    uint8_t common_after;
    uint8_t weight_bytes;
    std::array<uint8_t, kMostWeightBytes> weights;
  };
  using Shares = std::array<Share, kPlaces>;

  // What a text has on the lower levels: the counts of all its characters, and for each of those that are marked the counts
  // of all before it, together with its place.
  struct LowerLevels {
    uint64_t counts = 0;
    size_t marks = 0;
    std::array<uint64_t, kMostCharacters> mark;  // in use: the first so many
  };

  // Common weights are not written but counted: a run of them stands as a byte from low upwards at a level's end, and from
  // high downwards before a weight, which is larger than a common one. Runs longer than that can say begin with middle.
  struct RunCode {
    Count common;
    uint8_t low;
    uint8_t middle;
    uint8_t high;
    uint32_t most() const { return static_cast<uint32_t>(middle - low) + 1; }
  };
  static constexpr RunCode kSecondaryRuns{kCommonSecondaries, 0x05, 0x25, 0x45};
  static constexpr RunCode kTertiaryRuns{kCommonTertiaries, 0x05, 0x65, 0xC5};

  static constexpr uint8_t kLevelEnd = 1;
  static constexpr uint8_t kDown = 0x03;  // what follows begins lower than the shortened weights before it
  static constexpr uint8_t kUp = 0xFF;    // or higher

  static size_t PlaceOf(char16_t character) {
    return character < kBlocks[0].end ? character : PlaceBeyondFirstBlock(character);
  }
  static size_t PlaceBeyondFirstBlock(char16_t character);
  uint8_t* AppendShortened(std::u16string_view text, uint8_t* out) const;
  template <RunCode code>
  static uint8_t* Append(const Shares& shares, const LowerLevels& text, uint8_t* out, const uint8_t* end);

  void Learn(const KeySource& source);
  bool LearnKey(size_t place, std::span<const uint8_t> key);
  static bool LearnShare(const RunCode& code, std::span<const uint8_t> level, Share& share);
  void LearnShortening(const KeySource& source);
  bool ReproducesKeys(const KeySource& source) const;
  bool Reproduces(const KeySource& source, std::u16string_view text) const;

  // One character of a text that may hold anything.
  struct Element {
    std::array<uint8_t, kMostPrimaryBytes> primary;
    uint8_t primary_bytes;
    bool is_shortened;
    Share secondary;
    Share tertiary;
  };
  static char32_t ComposedOf(char32_t first, char32_t second, const Compositions& compositions);
  bool Knows(char32_t character) const;
  void Decompose(std::vector<char32_t>& characters, const Compositions& compositions) const;
  void Compose(std::vector<char32_t>& characters, const Compositions& compositions) const;
  Element ElementOf(char32_t character) const;
  static void AppendPrimaries(std::span<const Element> elements, std::vector<uint8_t>& key);
  template <RunCode code>
  static void AppendShares(std::span<const Element> elements, Share Element::*share, std::vector<uint8_t>& key);

  size_t levels_;
  std::array<Character, kPlaces> characters_;
  Shares secondaries_{};
  Shares tertiaries_{};
};

}  // namespace objectstore
