// Queries: making a record set valid, directly on the data table or through a view of the records that match.
#include "data_record.h"
#include "query_match.h"
#include "record_set.h"
#include "scan.h"
#include "view.h"

namespace mdb {

constexpr uint32_t kMarkedOnly = 1;

static MDbStatus Append(MDbRecset* recset, const MDbDataRec& rec) {
  uint16_t index = 0;
  return AppendToView(&recset->view, rec.oid, &index);
}

static MDbStatus AppendMatching(MDbEnv* env, MDbRecset* recset, const MDbQuery& criteria) {
  QueryMatch match;
  MDbStatus pending = MDbStatusOk;
  if (!match.Prepare(env, criteria, &pending)) return pending;
  return ScanDataTable(env, [&](MDbDataRec* rec) -> MDbStatus {
    bool accepted = false;
    MDB_TRY(match.Test(env, *recset, rec, &accepted));
    return accepted ? Append(recset, *rec) : MDbStatusOk;
  });
}

static MDbStatus AppendUnfiltered(MDbEnv* env, MDbRecset* recset) {
  const bool marked_only = (recset->view.flagFilter & kMarkedOnly) != 0;
  return ScanDataTable(env, [&](MDbDataRec* rec) -> MDbStatus {
    uint8_t marked = 1;
    if (marked_only) MDB_TRY(ReadMark(env->dataTbl, *rec, &marked));
    return marked != 0 ? Append(recset, *rec) : MDbStatusOk;
  });
}

MDbStatus BuildView(MDbEnv* env, MDbRecset* recset, uint32_t flag_filter, const MDbQuery* criteria) {
  MDB_TRY(CreateView(env, &recset->view));
  recset->view.flagFilter = flag_filter;
  MDB_TRY(criteria != nullptr ? AppendMatching(env, recset, *criteria) : AppendUnfiltered(env, recset));
  recset->valid = 1;
  recset->hasView = 1;
  return MDbStatusOk;
}

}  // namespace mdb

using namespace mdb;

MDbStatus MDbAgentQuery(MDbEnv* env, MDbRecset* recset, const MDbQuery* criteria) {
  if (!MDbIsOpened(env, &env->agentRef) || recset->valid != 0) return MDbStatusFailed;
  recset->dirty = 0;
  if (criteria == nullptr) {
    recset->valid = 1;
    recset->hasView = 0;
    recset->filterField = kNotFiltered;
    recset->hasQuery = 0;
    return MDbStatusOk;
  }
  recset->filterField = criteria->field;
  const MDbStatus status = BuildView(env, recset, kMarkedOnly, criteria);
  // Kept also when the view could not be built: the criteria are what the caller asked for.
  recset->hasQuery = 1;
  recset->query = *criteria;
  return status;
}
