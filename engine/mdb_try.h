// The one early return of the engine: MDB_TRY(expression) leaves the function with the expression's status unless that
// is MDbStatusOk.
#pragma once

#include "mdb_types.h"

#define MDB_TRY(expression)                                   \
  do {                                                        \
    const MDbStatus mdb_try_status = (expression);            \
    if (mdb_try_status != MDbStatusOk) return mdb_try_status; \
  } while (false)

namespace mdb {

// The platform's success as a status: its own error code is not passed on.
constexpr MDbStatus StatusOf(bool succeeded) { return succeeded ? MDbStatusOk : MDbStatusFailed; }

}  // namespace mdb
