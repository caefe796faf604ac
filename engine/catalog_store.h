// The catalogue: one platform database per volume that keeps small keyed objects, from the file's header to the fields'
// names.
//
// (I1) Every object is one record whose key is (kind << 16) | index; the only order is by that key, ascending, so that
//      the objects of one kind lie together in index order and every look-up is one seek.
// (I2) A key stands once: a write updates the object of that key, or adds one when there is none.
// (I3) The indexes of a kind are dense, 0 to n - 1; counting and deleting stop at the first gap.
#pragma once

#include <initializer_list>
#include <span>

#include "mdb_types.h"
#include "property.h"

namespace mdb {

enum class ObjectKind : uint16_t {
  FieldOption = 0,
  ValueList = 1,
  Attributes = 2,
  Schema = 3,
  CreationSeq = 4,
  Header = 5,
  Integrity = 6,
};

// The index of a creation counter.
constexpr uint16_t kCreationSeqData = 0;
constexpr uint16_t kCreationSeqDelete = 1;

constexpr CEPROPID kObjectKey = Prop(1, CEVT_UI4);
static_assert(kObjectKey == 0x10013);

constexpr uint32_t ObjectKey(ObjectKind kind, uint16_t index) { return static_cast<uint32_t>(kind) << 16 | index; }

// What marks a volume as a database of ours, 8 bytes: offset 0 magic, 4 major version, 6 minor version.
struct VolumeHeader {
  uint32_t magic;
  int16_t major_version;
  int16_t minor_version;
};
static_assert(sizeof(VolumeHeader) == 8);

void CatalogReset(CatalogStore* catalog);  // leaves the handle field as it was
MDbStatus CatalogCreateDb(const MDbRef& ref);
MDbStatus CatalogOpen(MDbRef* ref);   // 1 when it is open already
MDbStatus CatalogClose(MDbRef* ref);  // 1 when it is not open, or does not close: the record stays as it was
MDbStatus CatalogDelete(const MDbEnv* env, const MDbRef* ref);

// Moves the catalogue to an object. oid receives its identifier, 0 when it does not exist (1) or nothing is open (1).
MDbStatus CatalogFind(const MDbRef& ref, ObjectKind kind, uint16_t index, CEOID* oid);

// The number of objects of a kind from index 0 up to the first gap.
MDbStatus CatalogCount(const MDbRef& ref, ObjectKind kind, uint16_t* count);

// Deletes the objects of a kind from index 0 up to the first gap. A closed catalogue holds nothing to delete: 0.
MDbStatus CatalogDeleteAll(const MDbRef& ref, ObjectKind kind);

// Finds an object and reads properties of it; block as ReadProps leaves it.
MDbStatus ReadAllProps(const MDbRef& ref, ObjectKind kind, uint16_t index, std::initializer_list<CEPROPID> ids,
                       PropertyBlock* block);

// The size in bytes of an object's one text property, terminator included.
MDbStatus CatalogTextSize(const MDbRef& ref, ObjectKind kind, uint16_t index, CEPROPID id, uint32_t* size_bytes);

// Writes an object: its payload properties, then its key.
MDbStatus CatalogWrite(const MDbRef& ref, ObjectKind kind, uint16_t index, std::initializer_list<CEPROPVAL> payload);

// Overwrites one property of an object that exists.
MDbStatus CatalogUpdate(const MDbRef& ref, ObjectKind kind, uint16_t index, const CEPROPVAL& property);

// Reads a 32-bit value kept as the one payload property of an object.
MDbStatus CatalogReadValue(const MDbRef& ref, ObjectKind kind, uint16_t index, CEPROPID id, uint32_t* value);

MDbStatus CatalogReadSeq(const MDbRef& ref, uint16_t index, uint32_t* value);
MDbStatus CatalogWriteSeq(const MDbRef& ref, uint16_t index, uint32_t value);

MDbStatus CatalogReadHeader(const MDbRef& ref, VolumeHeader* header);
MDbStatus CatalogWriteHeader(const MDbRef& ref, const VolumeHeader& header);

}  // namespace mdb
