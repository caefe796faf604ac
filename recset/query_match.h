// The criteria of a query while a view is built: what was prepared from them once, and the test of one record.
#pragma once

#include "field_value.h"
#include "mdb_types.h"

namespace mdb {

class QueryMatch {
 public:
  QueryMatch() = default;
  ~QueryMatch();
  QueryMatch(const QueryMatch&) = delete;
  QueryMatch& operator=(const QueryMatch&) = delete;

  // Prepares the criteria. False when the word breaker refuses their text: nothing can be searched then, and *pending
  // is what the preparation came to, 0 when it went well.
  bool Prepare(MDbEnv* env, const MDbQuery& criteria, MDbStatus* pending);

  // *accepted becomes true when the open record matches, or is among those kept in view. A record whose text finds no
  // memory is left out without an error.
  MDbStatus Test(MDbEnv* env, const MDbRecset& recset, MDbDataRec* rec, bool* accepted) const;

 private:
  MDbStatus PrepareValue(MDbEnv* env);
  bool Matches(const MDbChar* text) const;

  MDbQuery criteria_{};
  ValueFormat format_;
  bool value_valid_ = false;
  int32_t value_ = 0;
  uint32_t session_ = 0;
  bool session_open_ = false;
};

}  // namespace mdb
