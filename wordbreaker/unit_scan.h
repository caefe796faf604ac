// The passes over a text's UTF-16 units, many at a time where the processor has SSE2 and one at a time elsewhere.
//
// (U1) All ways give the same answers, also that of processors with AVX2, of which they are asked. (U2) Nothing outside a
// text is looked at, except that finding a terminated text's end may read from the last multiple of 64 before it up to the
// next one behind it, which never leaves the pages of its units.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace wordbreaker {

struct TextExtent {
  size_t size;
  bool ascii;  // every unit is below 0x80
};

// Of a zero-terminated text.
TextExtent ExtentOf(const char16_t* text);

// A terminated text whose ASCII characters are packed as well, a byte for each unit, with the bit set in which the two cases
// of an ASCII letter differ. The bytes of other units mean nothing.
struct PackedText {
  TextExtent extent;
  std::string_view units;
};

// Packs a text into a room that the answer then points to. Nothing where the room is too small or this has no advantage.
std::optional<PackedText> PackTerminated(const char16_t* text, std::span<char> room);

constexpr size_t kBlock = 16;

// Folds the ASCII characters among the first kBlock units of text. What it writes for the others means nothing; their
// bits are set in the answer, the first unit's lowest.
uint32_t FoldAsciiOfBlock(const char16_t* text, char16_t* folded);

// Where a word may begin in a text, by two of its units: those that texts rarely have, so that few places are left to
// look at. A word of one unit is looked for by that one.
class WordFilter {
 public:
  static constexpr size_t kNowhere = std::u16string_view::npos;

  // A folded word, not empty.
  explicit WordFilter(std::u16string_view word);

  // The first place, not before from, where both units stand as they do in the word and the text has room for it.
  size_t NextInFolded(std::u16string_view folded, size_t from) const;

  // The same in a plain ASCII text of any case. Places where some other character stands may be among them: @ is taken
  // for `, say. The word is plain ASCII, too.
  size_t NextInAscii(std::u16string_view text, size_t from) const;

  // The same in one that is packed.
  size_t NextInPacked(std::string_view packed, size_t from) const;

 private:
  struct Unit {
    size_t offset;  // in the word
    char16_t unit;
  };

  template <typename Comparison>
  size_t Next(std::basic_string_view<typename Comparison::Text> text, size_t from) const;

  size_t word_size_;
  std::array<Unit, 2> units_;
};

}  // namespace wordbreaker
