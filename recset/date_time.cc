// Dates and times under the formats of the environment's database.
#include "date_text.h"
#include "mdb.h"
#include "mdb_try.h"
#include "time_text.h"

namespace mdb {

static MDbStatus ReadFormats(MDbEnv* env, MDbAttrs* attrs) {
  return MDbAttrTblReadAttrs(env, &env->agentRef, &env->attrTbl, 0, attrs);
}

}  // namespace mdb

using namespace mdb;

MDbStatus MDbRecsetDateStrToDateRec(MDbEnv* env, const MDbChar* text, DateRec* date, uint32_t base1900,
                                    DateFormat* format) {
  if (!MDbIsOpened(env, &env->agentRef)) return MDbStatusBadDateText;
  MDbAttrs attrs{};
  MDB_TRY(ReadFormats(env, &attrs));
  if (format != nullptr) *format = attrs.dateFormat;
  ParseDateText(text, date, attrs.dateFormat, base1900 != 0, false);
  return date->status <= MDbDateThisYear ? MDbStatusOk : MDbStatusBadDateText;
}

MDbStatus MDbRecsetDRecToDateStr(MDbEnv* env, const DateRec* date, MDbChar* text) {
  if (!MDbIsOpened(env, &env->agentRef)) return MDbStatusFailed;
  MDbAttrs attrs{};
  MDB_TRY(ReadFormats(env, &attrs));
  FormatDateText(*date, text, attrs.dateFormat);
  return MDbStatusOk;
}

MDbStatus MDbRecsetTimeStrToTRec(MDbEnv* env, const MDbChar* text, TimeRec* time, uint32_t normalize,
                                 TimeFormat* format, uint16_t* digits) {
  if (!MDbIsOpened(env, &env->agentRef)) return MDbStatusBadTimeText;
  MDbAttrs attrs{};
  MDB_TRY(ReadFormats(env, &attrs));
  if (format != nullptr) *format = attrs.timeFormat;
  ParseTime(text, time, attrs.timeFormat, false, normalize != 0, digits);
  return time->state < MDbTimeEmpty ? MDbStatusOk : MDbStatusBadTimeText;
}

MDbStatus MDbRecsetTRecToTimeStr(MDbEnv* env, const TimeRec* time, MDbChar* text) {
  if (!MDbIsOpened(env, &env->agentRef)) return MDbStatusFailed;
  MDbAttrs attrs{};
  MDB_TRY(ReadFormats(env, &attrs));
  FormatTime(*time, text, attrs.timeFormat);
  return MDbStatusOk;
}
