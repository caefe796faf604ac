// The records that stay in a filtered view whether or not they match: those added through the record set, and those
// whose filtered field was edited there.
#pragma once

#include "mdb_types.h"
#include "object_store.h"

namespace mdb {

MDbStatus AddToKeepList(MDbRecset* recset, CEOID oid);
void RemoveFromKeepList(MDbRecset* recset, CEOID oid);

inline bool IsInKeepList(const MDbRecset& recset, CEOID oid) {
  for (int16_t i = 0; i < recset.keepCount; ++i) {
    if (recset.keepList[i] == oid) return true;
  }
  return false;
}

}  // namespace mdb
