// The criteria of a query while a view is built.
#include "query_match.h"

#include "data_record.h"
#include "keep_list.h"
#include "local_memory.h"
#include "mdb.h"
#include "mdb_try.h"
#include "schema.h"
#include "word_breaker.h"

namespace mdb {

QueryMatch::~QueryMatch() {
  if (session_open_) (void)FWCloseSession(session_);  // its words are gone either way
}

// The value that the criteria text stands for, when the field's type has values.
MDbStatus QueryMatch::PrepareValue(MDbEnv* env) {
  MDbRef* ref = &env->agentRef;
  MDbSchemaTbl* schema = &env->schemaTbl;
  (void)MDbSchemaTblReadFldType(env, ref, schema, criteria_.field,
                                &format_.type);  // a field without a type has no value
  uint32_t max_size = 0;
  MDB_TRY(MDbSchemaTblGetFieldMaxSize(env, ref, schema, criteria_.field, &max_size));
  if (format_.type == MDbFieldDate || format_.type == MDbFieldTime) {
    MDB_TRY(ReadValueFormat(env, &format_));
  } else if (format_.type != MDbFieldNumber) {
    return MDbStatusOk;
  }
  MDB_TRY(TextToValue(criteria_.text, format_, &value_));
  value_valid_ = true;
  return MDbStatusOk;
}

bool QueryMatch::Prepare(MDbEnv* env, const MDbQuery& criteria, MDbStatus* pending) {
  criteria_ = criteria;
  *pending = PrepareValue(env);
  session_open_ = FWOpenSession(criteria_.text, &session_) == 0;
  return session_open_;
}

bool QueryMatch::Matches(const MDbChar* text) const {
  if (value_valid_) {
    int32_t value = 0;
    const MDbStatus status = TextToValue(text, format_, &value);
    if (status == MDbStatusOk && criteria_.mode == MDbQueryByValue) return value == value_;
    if (status == MDbStatusFailed) return false;
  }
  return FWFindWord(session_, text) == 0;
}

MDbStatus QueryMatch::Test(MDbEnv* env, const MDbRecset& recset, MDbDataRec* rec, bool* accepted) const {
  *accepted = false;
  uint32_t size_bytes = 0;
  MDB_TRY(FieldSize(env->dataTbl, *rec, criteria_.field, &size_bytes));
  LocalBlock memory(size_bytes);
  if (!memory) return MDbStatusOk;
  auto* text = static_cast<MDbChar*>(memory.data());
  MDB_TRY(ReadStoredField(env->dataTbl, *rec, criteria_.field, text, size_bytes));
  *accepted = Matches(text) || (recset.filterField != -1 && IsInKeepList(recset, rec->oid));
  return MDbStatusOk;
}

}  // namespace mdb
