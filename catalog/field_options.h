// The field options' internal operation.
#pragma once

#include "mdb_types.h"

namespace mdb {

// Reads a field's extended option in order to change it. Unlike a plain read this one is not lenient: an option that was
// not read, for want of memory or otherwise, is 1, so that nothing is put in its place.
MDbStatus ReadOptionExForChange(MDbRef* ref, MDbFieldOpTbl* table, int16_t index, MDbFldOptionEx* option);

}  // namespace mdb
