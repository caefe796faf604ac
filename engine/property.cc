// Reading properties of platform records.
#include "property.h"

#include <algorithm>

#include "wide_copy.h"

namespace mdb {

void CopyBlob(const CEPROPVAL& property, void* destination, uint32_t size_bytes) {
  if (!IsPresent(property)) return;
  const CEBLOB& blob = property.val.blob;
  std::copy_n(blob.lpb, std::min(blob.dwCount, size_bytes), static_cast<BYTE*>(destination));
}

void CopyText(const CEPROPVAL& property, MDbChar* destination, uint32_t size_bytes) {
  if (IsPresent(property)) CopyWideTruncated(size_bytes, property.val.lpwstr, destination);
}

void PropertyBlock::CopyOnlyText(MDbChar* destination, uint32_t size_bytes) const {
  const CEPROPVAL& property = properties()[0];
  if (!IsPresent(property)) return;
  const MDbChar* const text = property.val.lpwstr;
  const auto* const end = reinterpret_cast<const MDbChar*>(static_cast<const BYTE*>(block_.data()) + block_bytes_);
  CopyKnownTruncated(size_bytes, text, static_cast<size_t>(end - text) - 1, destination);
}

MDbStatus ReadProps(HANDLE database, std::span<const CEPROPID> ids, PropertyBlock* block, CEOID* oid) {
  return ReadPropsInPlace(database, ids, block, oid);
}

MDbStatus ReadInlineProp(HANDLE database, CEPROPID id, CEPROPVAL* property, CEOID* oid) {
  WORD count = 1;
  BYTE* buffer = reinterpret_cast<BYTE*>(property);
  DWORD size = kOnePropertySize;
  const CEOID read_oid = CeReadRecordPropsEx(database, 0, &count, &id, &buffer, &size, 0);
  if (oid != nullptr) *oid = read_oid;
  return StatusOf(read_oid != 0 && IsPresent(*property));
}

}  // namespace mdb
