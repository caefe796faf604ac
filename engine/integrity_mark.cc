// The integrity mark: one value in the catalogue by which a client says that its database is in a good state.
#include "catalog_store.h"
#include "mdb.h"
#include "mdb_try.h"

namespace mdb {

constexpr CEPROPID kMarkValue = Prop(4, CEVT_UI4);
static_assert(kMarkValue == 0x40013);

constexpr uint32_t kGoodMark = 1;

}  // namespace mdb

using namespace mdb;

MDbStatus MDbWriteChecksome(MDbEnv*, MDbRef* ref, uint32_t value) {
  if (ref->opened == 0) return MDbStatusFailed;
  return CatalogWrite(*ref, ObjectKind::Integrity, 0, {PropUi4(kMarkValue, value)});
}

MDbStatus MDbVerifyChecksome(MDbEnv*, MDbRef* ref) {
  if (ref->opened == 0) return MDbStatusFailed;
  uint32_t mark = 0;
  MDB_TRY(CatalogReadValue(*ref, ObjectKind::Integrity, 0, kMarkValue, &mark));
  return mark == kGoodMark ? MDbStatusOk : MDbStatusChecksumMismatch;
}
