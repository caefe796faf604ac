// See collation.h: keys from tables that were made with ICU, which need not be there.
//
// Flags that ask for more than to leave out case, or accents and case, are taken for the nearest coarser of these: without
// accents no case either; symbols count always; kana type and width are differences of letters as they stand.
#include "collation.h"

#include <array>
#include <cstring>
#include <vector>

#include "text_tables.h"

namespace objectstore {

namespace {

size_t LevelsOf(DWORD flags) {
  if ((flags & CEDB_SORT_IGNORENONSPACE) != 0) return 1;
  return (flags & CEDB_SORT_CASEINSENSITIVE) != 0 ? 2 : 3;
}

}  // namespace

const Collation& Collation::ForFlags(DWORD sort_flags) {
  // Never destroyed: other threads may still compare texts while the process ends.
  static std::array<const Collation*, 4> collations{};
  const size_t levels = LevelsOf(sort_flags);
  const Collation*& place = collations[levels];
  if (place == nullptr) {
    place = new Collation(nullptr, std::make_unique<const CollationTable>(StoredCollationKeys(), levels));
  }
  return *place;
}

size_t Collation::KeyOf(const WCHAR* text, size_t length, uint8_t* room, size_t room_bytes) const {
  const size_t size = table_->KeyOf({text, length}, {room, room_bytes});
  if (size != 0) return size;
  std::vector<uint8_t> key;
  table_->KeyOfAnyText({text, length}, StoredCompositions(), key);
  if (key.size() <= room_bytes) std::memcpy(room, key.data(), key.size());
  return key.size();
}

}  // namespace objectstore
