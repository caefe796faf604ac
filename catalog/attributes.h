// The attributes' internal operations.
#pragma once

#include "mdb_types.h"

namespace mdb {

// Settings and name in one read.
MDbStatus MDbAttrTblRead(MDbEnv* env, MDbRef* ref, MDbAttrTbl* table, int16_t index, MDbAttrs* attrs, MDbChar* name,
                         uint32_t size);

MDbStatus MDbAttrTblWriteAttrs(MDbEnv* env, MDbRef* ref, MDbAttrTbl* table, int16_t index, const MDbAttrs* attrs);

// Stores at most 19 characters of the name.
MDbStatus MDbAttrTblWriteDbName(MDbEnv* env, MDbRef* ref, MDbAttrTbl* table, int16_t index, const MDbChar* name);

// One of the four numbered settings. Reading any other id answers 0 with the status 0; writing it is refused.
MDbStatus MDbAgentGetAttr(MDbEnv* env, MDbRef* ref, MDbAttrTbl* table, int16_t index, int16_t id, uint32_t* value);
MDbStatus MDbAgentSetAttr(MDbEnv* env, MDbRef* ref, MDbAttrTbl* table, int16_t index, int16_t id, uint32_t value);

}  // namespace mdb
