// The numbers that give the live records their natural order.
#pragma once

#include "mdb_types.h"

namespace mdb {

// The number that the next record receives: from the table handle's cache when there is one, else from the catalogue.
// When the numbers run out all records are numbered anew first.
MDbStatus NextCreationSeq(MDbRef* ref, MDbDataTbl* table, uint32_t* seq);

// Stores seq + 1 where NextCreationSeq takes it from.
MDbStatus AdvanceCreationSeq(MDbRef* ref, MDbDataTbl* table, uint32_t seq);

}  // namespace mdb
