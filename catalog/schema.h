// The schema's internal operations.
#pragma once

#include "mdb_types.h"

namespace mdb {

// The largest value that a field should hold, by its type: long texts get shorter as the fields get more. 1 and *size 0
// for a type without a limit.
MDbStatus MDbSchemaTblGetFieldMaxSize(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table, int16_t index, uint32_t* size);

// Overwrites a field's definition. 78 bytes are taken from info and stored; reads return the first 18.
MDbStatus MDbSchemaTblWriteFldInfo(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table, int16_t index, const void* info);

// Overwrites a field's name.
MDbStatus MDbSchemaTblWriteFldName(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table, int16_t index, const MDbChar* name);

}  // namespace mdb
