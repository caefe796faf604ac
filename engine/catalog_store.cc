// The catalogue of one volume.
#include "catalog_store.h"

#include <algorithm>
#include <array>
#include <bit>

#include "mdb_try.h"
#include "volume_databases.h"

namespace mdb {

constexpr MDbChar kCatalogName[] = MDB_TEXT("OBJG_0");
constexpr DWORD kCatalogType = 0x4F424A47;  // "GJBO"

constexpr CEPROPID kSeqValue = Prop(2, CEVT_UI4);
constexpr CEPROPID kHeaderBytes = Prop(3, CEVT_BLOB);
static_assert(kSeqValue == 0x20013 && kHeaderBytes == 0x30041);
static_assert(std::endian::native == std::endian::little, "stored integers are little-endian and copied as they are");

// The most payload properties that any object has.
constexpr size_t kMostPayload = 2;

void CatalogReset(CatalogStore* catalog) {
  std::copy(std::begin(kCatalogName), std::end(kCatalogName), catalog->name);
  catalog->oid = 0;
  catalog->isOpen = 0;
}

MDbStatus CatalogCreateDb(const MDbRef& ref) {
  CEDBASEINFO info{};
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
  CopyDatabaseName(ref.catalog.name, info.szDbaseName);
  info.dwDbaseType = kCatalogType;
  info.wNumSortOrder = 1;
  info.rgSortSpecs[0] = {kObjectKey, 0};
  return StatusOf(CeCreateDatabaseEx(&ref.volume, &info) != 0);
}

// Tests the handle for 0 alone. A catalogue that is missing opens as the platform's invalid handle, and the header read
// after it is what fails. Pinned by Volume.AMountedVolumeWithoutACatalogue….
MDbStatus CatalogOpen(MDbRef* ref) {
  CatalogStore& catalog = ref->catalog;
  if (catalog.isOpen != 0) return MDbStatusFailed;
  CEOID oid = 0;
  const HANDLE handle = CeOpenDatabaseEx(&ref->volume, &oid, catalog.name, kObjectKey, 0, nullptr);
  if (handle == 0) return MDbStatusFailed;
  catalog.handle = handle;
  catalog.isOpen = 1;
  catalog.oid = oid;
  return MDbStatusOk;
}

MDbStatus CatalogClose(MDbRef* ref) {
  if (ref->catalog.isOpen == 0) return MDbStatusFailed;
  if (!CloseHandle(ref->catalog.handle)) return MDbStatusFailed;
  CatalogReset(&ref->catalog);
  return MDbStatusOk;
}

MDbStatus CatalogDelete(const MDbEnv* env, const MDbRef* ref) { return DeleteDatabaseByName(env, ref, kCatalogName); }

static CEOID SeekKey(const CatalogStore& catalog, DWORD seek_type, uint32_t key) {
  const CEPROPVAL wanted = PropUi4(kObjectKey, key);
  DWORD position = 0;
  return CeSeekDatabase(catalog.handle, seek_type, std::bit_cast<DWORD_PTR>(&wanted), &position);
}

MDbStatus CatalogFind(const MDbRef& ref, ObjectKind kind, uint16_t index, CEOID* oid) {
  *oid = 0;
  if (ref.catalog.isOpen == 0) return MDbStatusFailed;
  *oid = SeekKey(ref.catalog, CEDB_SEEK_VALUEFIRSTEQUAL, ObjectKey(kind, index));
  return StatusOf(*oid != 0);
}

MDbStatus CatalogCount(const MDbRef& ref, ObjectKind kind, uint16_t* count) {
  if (ref.catalog.isOpen == 0) return MDbStatusFailed;
  *count = 0;
  CEOID oid = 0;
  if (CatalogFind(ref, kind, 0, &oid) != MDbStatusOk) return MDbStatusOk;
  uint16_t found = 1;
  while (SeekKey(ref.catalog, CEDB_SEEK_VALUENEXTEQUAL, ObjectKey(kind, found)) != 0) ++found;
  *count = found;
  return MDbStatusOk;
}

MDbStatus CatalogDeleteAll(const MDbRef& ref, ObjectKind kind) {
  if (ref.catalog.isOpen == 0) return MDbStatusOk;
  CEOID oid = 0;
  for (uint16_t index = 0; CatalogFind(ref, kind, index, &oid) == MDbStatusOk; ++index) {
    if (!CeDeleteRecord(ref.catalog.handle, oid)) return MDbStatusFailed;
  }
  return MDbStatusOk;
}

MDbStatus ReadAllProps(const MDbRef& ref, ObjectKind kind, uint16_t index, std::initializer_list<CEPROPID> ids,
                       PropertyBlock* block) {
  CEOID oid = 0;
  MDB_TRY(CatalogFind(ref, kind, index, &oid));
  return ReadProps(ref.catalog.handle, ids, block, nullptr);
}

MDbStatus CatalogTextSize(const MDbRef& ref, ObjectKind kind, uint16_t index, CEPROPID id, uint32_t* size_bytes) {
  CEOID oid = 0;
  MDB_TRY(CatalogFind(ref, kind, index, &oid));
  uint32_t block_size = 0;
  MDB_TRY(ProbePropSize(ref.catalog.handle, {&id, 1}, &block_size));
  *size_bytes = block_size - kOnePropertySize;
  return MDbStatusOk;
}

MDbStatus CatalogWrite(const MDbRef& ref, ObjectKind kind, uint16_t index, std::initializer_list<CEPROPVAL> payload) {
  if (ref.catalog.isOpen == 0 || payload.size() > kMostPayload) return MDbStatusFailed;
  CEOID oid = 0;
  (void)CatalogFind(ref, kind, index, &oid);  // an object that is not there yet is created: its identifier stays 0
  std::array<CEPROPVAL, kMostPayload + 1> properties{};
  CEPROPVAL* end = std::copy(payload.begin(), payload.end(), properties.data());
  *end++ = PropUi4(kObjectKey, ObjectKey(kind, index));
  const auto count = static_cast<WORD>(end - properties.data());
  return StatusOf(CeWriteRecordProps(ref.catalog.handle, oid, count, properties.data()) != 0);
}

MDbStatus CatalogUpdate(const MDbRef& ref, ObjectKind kind, uint16_t index, const CEPROPVAL& property) {
  CEOID oid = 0;
  MDB_TRY(CatalogFind(ref, kind, index, &oid));
  return StatusOf(CeWriteRecordProps(ref.catalog.handle, oid, 1, &property) != 0);
}

MDbStatus CatalogReadValue(const MDbRef& ref, ObjectKind kind, uint16_t index, CEPROPID id, uint32_t* value) {
  CEOID oid = 0;
  MDB_TRY(CatalogFind(ref, kind, index, &oid));
  CEPROPVAL property{};
  MDB_TRY(ReadInlineProp(ref.catalog.handle, id, &property, nullptr));
  *value = property.val.ulVal;
  return MDbStatusOk;
}

MDbStatus CatalogReadSeq(const MDbRef& ref, uint16_t index, uint32_t* value) {
  return CatalogReadValue(ref, ObjectKind::CreationSeq, index, kSeqValue, value);
}

MDbStatus CatalogWriteSeq(const MDbRef& ref, uint16_t index, uint32_t value) {
  return CatalogWrite(ref, ObjectKind::CreationSeq, index, {PropUi4(kSeqValue, value)});
}

MDbStatus CatalogReadHeader(const MDbRef& ref, VolumeHeader* header) {
  PropertyBlock block;
  MDB_TRY(ReadAllProps(ref, ObjectKind::Header, 0, {kHeaderBytes}, &block));
  if (block) CopyBlob(block[0], header, sizeof(*header));
  return MDbStatusOk;
}

MDbStatus CatalogWriteHeader(const MDbRef& ref, const VolumeHeader& header) {
  return CatalogWrite(ref, ObjectKind::Header, 0, {PropBlob(kHeaderBytes, &header, sizeof(header))});
}

}  // namespace mdb
