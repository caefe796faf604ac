#include "unit_scan.h"

#include <algorithm>
#include <bit>
#include <string>
#include <type_traits>

#include "text_folding.h"
#include "text_vectors.h"

namespace wordbreaker {
namespace {

constexpr char16_t kCaseBit = 0x20;  // what an ASCII letter's two cases differ in

// From the commonest to the rarest, roughly, over the languages that write with them. Whatever else stands in a word is
// taken for rarer.
constexpr std::u16string_view kLettersByFrequency = u"eaintrosldumcpghbvfkzwyjxq";

TextExtent ExtentUnitByUnit(const char16_t* text) {
  unsigned sum = 0;
  size_t size = 0;
  for (; text[size] != 0; ++size) sum |= text[size];
  return {size, sum < 0x80};
}

size_t Rarity(char16_t unit) { return std::min(kLettersByFrequency.find(unit), kLettersByFrequency.size()); }

#if TEXT_VECTORS >= 1

constexpr size_t kBlockUnits = sizeof(__m128i) / sizeof(char16_t);
constexpr size_t kPieceBlocks = 4;
constexpr size_t kPieceUnits = kPieceBlocks * kBlockUnits;

__m128i Load(const void* units) { return _mm_loadu_si128(static_cast<const __m128i*>(units)); }

// Sixteen units of a text against one unit: a byte of ones for each that is equal.
struct InFolded {
  using Text = char16_t;
  static bool Equal(char16_t text, char16_t unit) { return text == unit; }
  static __m128i Spread(char16_t unit) { return _mm_set1_epi16(static_cast<int16_t>(unit)); }
  static __m128i EqualOf16(const char16_t* text, __m128i spread) {
    return _mm_packs_epi16(_mm_cmpeq_epi16(Load(text), spread), _mm_cmpeq_epi16(Load(text + kBlockUnits), spread));
  }
};

// The same without regard to case. ASCII's units keep their values when they are packed into bytes.
struct InAscii {
  using Text = char16_t;
  static bool Equal(char16_t text, char16_t unit) { return (text | kCaseBit) == (unit | kCaseBit); }
  static __m128i Spread(char16_t unit) { return _mm_set1_epi8(static_cast<char>(unit | kCaseBit)); }
  static __m128i EqualOf16(const char16_t* text, __m128i spread) {
    const __m128i packed = _mm_packus_epi16(Load(text), Load(text + kBlockUnits));
    return _mm_cmpeq_epi8(_mm_or_si128(packed, _mm_set1_epi8(kCaseBit)), spread);
  }
};

// The same where they have been packed and have the bit of their case.
struct InPacked {
  using Text = char;
  static char Packed(char16_t unit) { return static_cast<char>(unit | kCaseBit); }
  static bool Equal(char text, char16_t unit) { return text == Packed(unit); }
  static __m128i Spread(char16_t unit) { return InAscii::Spread(unit); }
  static __m128i EqualOf16(const char* text, __m128i spread) { return _mm_cmpeq_epi8(Load(text), spread); }
};

// Of a block in which the text ends there may be units that belong to something else, which the sanitizers would
// not have anybody read.
READS_WHOLE_BLOCKS __m128i LoadAligned(const __m128i* block) { return *block; }

void Store(void* place, __m128i units) { _mm_storeu_si128(static_cast<__m128i*>(place), units); }

uint32_t Bits(__m128i bytes) { return static_cast<uint32_t>(_mm_movemask_epi8(bytes)); }

__m128i AreZero(__m128i units) { return _mm_cmpeq_epi16(units, _mm_setzero_si128()); }

// Four blocks, packed: a byte for each unit.
struct PackedPiece {
  __m128i first;
  __m128i second;
};

PackedPiece PackPiece(const __m128i* block) {
  return {_mm_packus_epi16(LoadAligned(block), LoadAligned(block + 1)),
          _mm_packus_epi16(LoadAligned(block + 2), LoadAligned(block + 3))};
}

// Whether all its units are ASCII and none ends the text. Packed with saturation, a byte has its highest bit for any
// other unit below 0x8000, and is zero for the units from there on and for zero itself.
bool IsAscii(const PackedPiece& piece) {
  const __m128i zeros = _mm_cmpeq_epi8(_mm_min_epu8(piece.first, piece.second), _mm_setzero_si128());
  return Bits(_mm_or_si128(zeros, _mm_or_si128(piece.first, piece.second))) == 0;
}

// Where the packed units of a text go.
class PackingRoom {
 public:
  explicit PackingRoom(std::span<char> room) : next_(room.data()), end_(room.data() + room.size()) {}

  size_t pieces() const { return static_cast<size_t>(end_ - next_) / kPieceUnits; }  // that there is room for
  void Put(const PackedPiece& piece) {
    const __m128i case_bits = _mm_set1_epi8(kCaseBit);
    Store(next_, _mm_or_si128(piece.first, case_bits));
    Store(next_ + sizeof(__m128i), _mm_or_si128(piece.second, case_bits));
    next_ += kPieceUnits;
  }
  char* next() const { return next_; }
  void TakeUpTo(char* next) { next_ = next; }

 private:
  char* next_;
  const char* end_;
};

// The first of the pieces from here on that is not plain ASCII or for which there is no room. Those before it are packed.
const __m128i* PackPieces(const __m128i* piece, PackingRoom& room) {
  for (; room.pieces() != 0; piece += kPieceBlocks) {
    const PackedPiece packed = PackPiece(piece);
    if (!IsAscii(packed)) break;
    room.Put(packed);
  }
  return piece;
}

#if TEXT_VECTORS >= 2

BY_AVX2 READS_WHOLE_BLOCKS const __m128i* PackPiecesByAvx2(const __m128i* piece, PackingRoom& room) {
  const __m256i case_bits = _mm256_set1_epi8(kCaseBit);
  char* next = room.next();
  const char* const end = next + room.pieces() * kPieceUnits;
  for (; next != end; next += kPieceUnits, piece += kPieceBlocks) {
    const auto* const halves = reinterpret_cast<const __m256i*>(piece);
    // Each half is packed by itself; then the quarters stand in the order 0, 2, 1, 3.
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(halves[0], halves[1]), 0b11011000);
    const __m256i zeros = _mm256_cmpeq_epi8(packed, _mm256_setzero_si256());
    if (_mm256_movemask_epi8(_mm256_or_si256(packed, zeros)) != 0) break;
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(next), _mm256_or_si256(packed, case_bits));
  }
  room.TakeUpTo(next);
  return piece;
}

// Of 32 places, those where both characters stand.
BY_AVX2 __m256i AreBoth(const char* first, __m256i first_unit, const char* second, __m256i second_unit) {
  const __m256i here = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(first));
  const __m256i there = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(second));
  return _mm256_and_si256(_mm256_cmpeq_epi8(here, first_unit), _mm256_cmpeq_epi8(there, second_unit));
}

constexpr size_t kAvx2Places = sizeof(__m256i);

// The first place from there on where both characters stand, or the number of places, which is at least kAvx2Places.
BY_AVX2 size_t PlaceOfBothByAvx2(const char* first, char first_unit, const char* second, char second_unit, size_t from,
                                 size_t places) {
  const __m256i first_units = _mm256_set1_epi8(first_unit);
  const __m256i second_units = _mm256_set1_epi8(second_unit);
  for (; from + 2 * kAvx2Places <= places; from += 2 * kAvx2Places) {
    const __m256i here = AreBoth(first + from, first_units, second + from, second_units);
    const __m256i behind = AreBoth(first + from + kAvx2Places, first_units, second + from + kAvx2Places, second_units);
    if (_mm256_movemask_epi8(_mm256_or_si256(here, behind)) != 0) break;
  }
  while (from < places) {
    // The last step ends where the places end and so may begin before from.
    const size_t step = std::min(from, places - kAvx2Places);
    const __m256i both = AreBoth(first + step, first_units, second + step, second_units);
    const uint32_t found = static_cast<uint32_t>(_mm256_movemask_epi8(both)) >> (from - step);
    if (found != 0) return from + static_cast<size_t>(std::countr_zero(found));
    from = step + kAvx2Places;
  }
  return places;
}

const __m128i* SkipPieces(const __m128i* piece, PackingRoom& room) {
  return ProcessorHasAvx2() ? PackPiecesByAvx2(piece, room) : PackPieces(piece, room);
}

#else

const __m128i* SkipPieces(const __m128i* piece, PackingRoom& room) { return PackPieces(piece, room); }

#endif

// Ones for each unit that is ASCII.
__m128i AreAscii(__m128i units) { return AreZero(_mm_and_si128(units, _mm_set1_epi16(static_cast<int16_t>(0xFF80)))); }

// A bit for each unit of a piece.
struct PieceBits {
  uint32_t zeros;
  uint32_t ascii;
};

PieceBits LookAt(const __m128i* piece) {
  const __m128i a = LoadAligned(piece);
  const __m128i b = LoadAligned(piece + 1);
  const __m128i c = LoadAligned(piece + 2);
  const __m128i d = LoadAligned(piece + 3);
  const auto bits = [&](auto are) {
    return Bits(_mm_packs_epi16(are(a), are(b))) | Bits(_mm_packs_epi16(are(c), are(d))) << 16;
  };
  return {bits(AreZero), bits(AreAscii)};
}

#else

struct InFolded {
  using Text = char16_t;
  static bool Equal(char16_t text, char16_t unit) { return text == unit; }
};

struct InAscii {
  using Text = char16_t;
  static bool Equal(char16_t text, char16_t unit) { return (text | kCaseBit) == (unit | kCaseBit); }
};

struct InPacked {
  using Text = char;
  static bool Equal(char text, char16_t unit) { return text == static_cast<char>(unit | kCaseBit); }
};

#endif

}  // namespace

#if TEXT_VECTORS >= 1

// Read in aligned pieces, so that none is in a page where the text has nothing. Units before the text and behind its end
// take no part in the answer. A text at an odd address is never aligned, and is not for this.
//
// skip_pieces answers with the first piece from the given one on that is not plain ASCII; that and the first piece of the
// text are looked at here, and given to take_piece, which says whether to go on.
template <typename SkipPieces, typename TakePiece>
std::optional<TextExtent> Scan(const char16_t* text, SkipPieces skip_pieces, TakePiece take_piece) {
  constexpr size_t kPieceBytes = kPieceUnits * sizeof(char16_t);
  const auto address = reinterpret_cast<uintptr_t>(text);
  const size_t before = address % kPieceBytes;
  uint32_t in_text = ~uint32_t{0} << before / sizeof(char16_t);
  bool ascii = true;
  for (const auto* piece = reinterpret_cast<const __m128i*>(address - before);;) {
    if (!take_piece(piece)) return std::nullopt;
    const PieceBits bits = LookAt(piece);
    const uint32_t ends = bits.zeros & in_text;
    if (ends != 0) in_text &= (ends & ~(ends - 1)) - 1;
    ascii = ascii && (~bits.ascii & in_text) == 0;
    if (ends != 0) {
      const uintptr_t end =
          reinterpret_cast<uintptr_t>(piece) + static_cast<size_t>(std::countr_zero(ends)) * sizeof(char16_t);
      return TextExtent{(end - address) / sizeof(char16_t), ascii};
    }
    in_text = ~uint32_t{0};
    piece = skip_pieces(piece + kPieceBlocks);
  }
}

TextExtent ExtentOf(const char16_t* text) {
  if (reinterpret_cast<uintptr_t>(text) % sizeof(char16_t) != 0) return ExtentUnitByUnit(text);
  const auto skip_pieces = [](const __m128i* piece) {
    while (IsAscii(PackPiece(piece))) piece += kPieceBlocks;
    return piece;
  };
  return *Scan(text, skip_pieces, [](const __m128i*) { return true; });
}

std::optional<PackedText> PackTerminated(const char16_t* text, std::span<char> room) {
  const auto address = reinterpret_cast<uintptr_t>(text);
  if (address % sizeof(char16_t) != 0) return std::nullopt;
  PackingRoom left(room);
  const auto skip_pieces = [&left](const __m128i* piece) { return SkipPieces(piece, left); };
  const auto take_piece = [&left](const __m128i* piece) {
    if (left.pieces() == 0) return false;
    left.Put(PackPiece(piece));
    return true;
  };
  const std::optional<TextExtent> extent = Scan(text, skip_pieces, take_piece);
  if (!extent) return std::nullopt;
  const size_t first = address / sizeof(char16_t) % kPieceUnits;
  return PackedText{*extent, std::string_view(room.data() + first, extent->size)};
}

uint32_t FoldAsciiOfBlock(const char16_t* text, char16_t* folded) {
  const auto lower = [](__m128i units) {
    const __m128i capital = _mm_and_si128(_mm_cmpgt_epi16(units, _mm_set1_epi16(u'A' - 1)),
                                          _mm_cmplt_epi16(units, _mm_set1_epi16(u'Z' + 1)));
    return _mm_or_si128(units, _mm_and_si128(capital, _mm_set1_epi16(kCaseBit)));
  };
  const __m128i first = Load(text);
  const __m128i second = Load(text + 8);
  Store(folded, lower(first));
  Store(folded + 8, lower(second));
  return Bits(_mm_packs_epi16(AreAscii(first), AreAscii(second))) ^ 0xFFFF;
}

#else

uint32_t FoldAsciiOfBlock(const char16_t* text, char16_t* folded) {
  uint32_t others = 0;
  for (size_t i = 0; i < kBlock; ++i) {
    folded[i] = FoldAscii(text[i]);
    others |= (text[i] < 0x80 ? 0U : 1U) << i;
  }
  return others;
}

TextExtent ExtentOf(const char16_t* text) { return ExtentUnitByUnit(text); }

std::optional<PackedText> PackTerminated(const char16_t*, std::span<char>) { return std::nullopt; }

#endif

WordFilter::WordFilter(std::u16string_view word) : word_size_(word.size()), units_{{{0, word[0]}, {0, word[0]}}} {
  for (size_t i = 1; i < word.size(); ++i) {
    Unit& commoner = Rarity(units_[0].unit) < Rarity(units_[1].unit) ? units_[0] : units_[1];
    if (units_[0].offset == units_[1].offset || Rarity(word[i]) > Rarity(commoner.unit)) commoner = {i, word[i]};
  }
}

size_t WordFilter::NextInFolded(std::u16string_view folded, size_t from) const { return Next<InFolded>(folded, from); }

size_t WordFilter::NextInAscii(std::u16string_view text, size_t from) const { return Next<InAscii>(text, from); }

size_t WordFilter::NextInPacked(std::string_view packed, size_t from) const { return Next<InPacked>(packed, from); }

template <typename Comparison>
size_t WordFilter::Next(std::basic_string_view<typename Comparison::Text> text, size_t from) const {
  if (text.size() < word_size_) return kNowhere;
  const size_t starts = text.size() - word_size_ + 1;
  const auto* const first = text.data() + units_[0].offset;
  const auto* const second = text.data() + units_[1].offset;
#if TEXT_VECTORS >= 1
#if TEXT_VECTORS >= 2
  if constexpr (std::is_same_v<Comparison, InPacked>) {
    if (starts >= kAvx2Places && ProcessorHasAvx2()) {
      const size_t place = PlaceOfBothByAvx2(first, InPacked::Packed(units_[0].unit), second,
                                             InPacked::Packed(units_[1].unit), from, starts);
      return place < starts ? place : kNowhere;
    }
  }
#endif
  const __m128i first_unit = Comparison::Spread(units_[0].unit);
  const __m128i second_unit = Comparison::Spread(units_[1].unit);
  const auto both = [&](size_t start) {
    return _mm_and_si128(Comparison::EqualOf16(first + start, first_unit),
                         Comparison::EqualOf16(second + start, second_unit));
  };
  for (; from + 32 <= starts; from += 32) {
    const __m128i here = both(from);
    const __m128i behind = both(from + 16);
    if (Bits(_mm_or_si128(here, behind)) != 0) [[unlikely]] {
      return from + static_cast<size_t>(std::countr_zero(Bits(here) | Bits(behind) << 16));
    }
  }
  // The last block ends where the starts end and so may begin before from.
  while (starts >= 16 && from < starts) {
    const size_t block = std::min(from, starts - 16);
    const uint32_t found = Bits(both(block)) >> (from - block);
    if (found != 0) return from + static_cast<size_t>(std::countr_zero(found));
    from = block + 16;
  }
#endif
  for (; from < starts; ++from) {
    if (Comparison::Equal(first[from], units_[0].unit) && Comparison::Equal(second[from], units_[1].unit)) return from;
  }
  return kNowhere;
}

}  // namespace wordbreaker
