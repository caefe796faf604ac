// See collation.h: keys that ICU makes, or that are composed as it would. The only file that calls ICU's collators.
#include "collation.h"

#include <unicode/ucol.h>

#include <array>
#include <memory>
#include <new>
#include <utility>

namespace objectstore {

namespace {

constexpr DWORD kTextFlags = CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_IGNORENONSPACE | CEDB_SORT_IGNORESYMBOLS |
                             CEDB_SORT_IGNOREKANATYPE | CEDB_SORT_IGNOREWIDTH;

struct CloseCollator {
  void operator()(UCollator* collator) const { ucol_close(collator); }
};

// Case is a difference of the third level and so are kana type and width. To drop the latter two and keep case, the
// third level is left out and ICU's extra case level put in; the same serves to drop accents (the second level) and
// keep case.
struct Levels {
  UCollationStrength strength;
  bool case_level;
};

Levels LevelsOf(DWORD flags) {
  const bool drop_third = (flags & (CEDB_SORT_IGNOREKANATYPE | CEDB_SORT_IGNOREWIDTH)) != 0;
  const bool drop_second = (flags & CEDB_SORT_IGNORENONSPACE) != 0;
  const bool drop_case = (flags & CEDB_SORT_CASEINSENSITIVE) != 0;
  const UCollationStrength strength = drop_second               ? UCOL_PRIMARY
                                      : drop_case || drop_third ? UCOL_SECONDARY
                                                                : UCOL_TERTIARY;
  return {strength, strength != UCOL_TERTIARY && !drop_case};
}

UCollator* OpenCollator(DWORD flags) {
  UErrorCode error = U_ZERO_ERROR;
  std::unique_ptr<UCollator, CloseCollator> collator(ucol_open("root", &error));
  if (U_FAILURE(error)) throw std::bad_alloc();
  ucol_setAttribute(collator.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &error);
  const Levels levels = LevelsOf(flags);
  ucol_setStrength(collator.get(), levels.strength);
  if (levels.case_level) ucol_setAttribute(collator.get(), UCOL_CASE_LEVEL, UCOL_ON, &error);
  if ((flags & CEDB_SORT_IGNORESYMBOLS) != 0) {
    ucol_setAttribute(collator.get(), UCOL_ALTERNATE_HANDLING, UCOL_SHIFTED, &error);
    ucol_setMaxVariable(collator.get(), UCOL_REORDER_CODE_SYMBOL, &error);
  }
  if (U_FAILURE(error)) throw std::bad_alloc();
  return collator.release();
}

size_t KeyByIcu(const UCollator* collator, const WCHAR* text, size_t length, uint8_t* room, size_t room_bytes) {
  const int32_t size =
      ucol_getSortKey(collator, text, static_cast<int32_t>(length), room, static_cast<int32_t>(room_bytes));
  if (size <= 0) throw std::bad_alloc();
  return static_cast<size_t>(size);
}

// Null for keys that are not made of the three levels alone.
std::unique_ptr<const CollationTable> MakeTable(const UCollator* collator, DWORD flags) {
  const Levels levels = LevelsOf(flags);
  if (levels.case_level || (flags & CEDB_SORT_IGNORESYMBOLS) != 0) return nullptr;
  const auto key_by_icu = [collator](std::u16string_view text, std::span<uint8_t> room) {
    return KeyByIcu(collator, text.data(), text.size(), room.data(), room.size());
  };
  static_assert(UCOL_PRIMARY == 0 && UCOL_SECONDARY == 1 && UCOL_TERTIARY == 2);
  return std::make_unique<const CollationTable>(key_by_icu, static_cast<size_t>(levels.strength) + 1);
}

}  // namespace

const Collation& Collation::ForFlags(DWORD sort_flags) {
  // Never destroyed: other threads may still compare texts while the process ends.
  static std::array<const Collation*, kTextFlags + 1> collations{};
  const DWORD flags = sort_flags & kTextFlags;
  const Collation*& place = collations[flags];
  if (place == nullptr) {
    std::unique_ptr<UCollator, CloseCollator> collator(OpenCollator(flags));
    std::unique_ptr<const CollationTable> table = MakeTable(collator.get(), flags);
    place = new Collation(collator.get(), std::move(table));
    static_cast<void>(collator.release());
  }
  return *place;
}

size_t Collation::KeyOf(const WCHAR* text, size_t length, uint8_t* room, size_t room_bytes) const {
  if (table_ != nullptr) {
    const size_t size = table_->KeyOf({text, length}, {room, room_bytes});
    if (size != 0) return size;
  }
  return KeyByIcu(static_cast<const UCollator*>(collator_), text, length, room, room_bytes);
}

}  // namespace objectstore
