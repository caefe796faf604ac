// What the calls on a record set share.
#pragma once

#include "mdb.h"
#include "mdb_try.h"

namespace mdb {

constexpr int16_t kNotFiltered = -1;
constexpr int16_t kNeverSorted = -1;

inline MDbStatus RequireValid(const MDbRecset* recset) { return StatusOf(recset->valid != 0); }

inline bool IsInViewMode(const MDbRecset& recset) { return recset.hasView != 0; }

// Makes a record set valid in view mode: a new view over the data table in its current order. With criteria it holds
// the records that match; without, all of them, or those whose mark flag is set when bit 0 of flag_filter is.
MDbStatus BuildView(MDbEnv* env, MDbRecset* recset, uint32_t flag_filter, const MDbQuery* criteria);

}  // namespace mdb
