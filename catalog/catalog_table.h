// What the tables inside the catalogue share: their handle record is an opened flag, and creating one is refused while
// its first object exists.
#pragma once

#include "catalog_store.h"
#include "mdb.h"
#include "mdb_try.h"

namespace mdb {

template <typename Table>
MDbStatus OpenCatalogTable(const MDbEnv* env, const MDbRef* ref, Table* table) {
  if (!MDbIsOpened(env, ref) || table->opened != 0) return MDbStatusFailed;
  table->opened = 1;
  return MDbStatusOk;
}

template <typename Table>
uint8_t IsCatalogTableOpened(const MDbEnv* env, const MDbRef* ref, const Table* table) {
  return MDbIsOpened(env, ref) && table->opened != 0;
}

// A table is created once and never extended: 1 while the volume is closed or the first object exists.
inline MDbStatus RequireNotCreated(const MDbEnv* env, const MDbRef* ref, ObjectKind kind) {
  if (!MDbIsOpened(env, ref)) return MDbStatusFailed;
  CEOID oid = 0;
  return StatusOf(CatalogFind(*ref, kind, 0, &oid) != MDbStatusOk);
}

// Object indexes are 16 bits: what is out of range, or negative, finds no object.
constexpr uint16_t ObjectIndex(int16_t index) { return static_cast<uint16_t>(index); }

inline MDbStatus CountObjects(const MDbRef& ref, ObjectKind kind, int16_t* count) {
  uint16_t objects = 0;
  MDB_TRY(CatalogCount(ref, kind, &objects));
  *count = static_cast<int16_t>(objects);
  return MDbStatusOk;
}

}  // namespace mdb
