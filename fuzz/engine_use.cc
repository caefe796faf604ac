// See whole_volume.h: the engine's side. A damaged database may refuse any call with a status of its own; what it must
// not do is to answer anything else, or to crash.
#include <vector>

#include "mdb.h"
#include "requirement.h"
#include "whole_volume.h"

namespace fuzz {
namespace {

constexpr int16_t kMostFields = 40;
constexpr uint32_t kMostRecords = 200;

bool Known(MDbStatus status) { return status <= MDbStatusNoFields; }

// Any status may come; the caller does not ask which.
void Any(MDbStatus status) { FUZZ_REQUIRE(Known(status), "a status is one that is documented"); }

void ReadCatalogue(MDbEnv* env) {
  MDbRef* ref = &env->agentRef;
  MDbChar text[64];
  int16_t count = 0;
  int16_t orders[256];
  MDbAttrs attrs{};
  Any(MDbAgentGetDbName(env, text, sizeof text));
  Any(MDbAttrTblReadAttrs(env, ref, &env->attrTbl, 0, &attrs));
  Any(MDbSchemaTblGetCount(env, ref, &env->schemaTbl, &count));
  for (int16_t i = -1; i <= count && i < kMostFields; ++i) {
    MDbFldInfo info{};
    MDbFldOption option{};
    MDbFldOptionEx extended{};
    uint32_t size = 0;
    Any(MDbSchemaTblRead(env, ref, &env->schemaTbl, i, &info, text, sizeof text));
    Any(MDbSchemaTblGetNameSize(env, ref, &env->schemaTbl, i, &size));
    Any(MDbFieldOpTblReadOption(env, ref, &env->fieldOpTbl, i, &option));
    Any(MDbFieldOpTblReadOptionEx(env, ref, &env->fieldOpTbl, i, &extended));
    Any(MDbAgentGetValList(env, i, text, sizeof text));
    Any(MDbAgentGetValListSize(env, i, &size));
  }
  Any(MDbFieldOpTblGetCount(env, ref, &env->fieldOpTbl, &count));
  if (count <= 256) Any(MDbFieldOpTblGetDisplayOrders(env, ref, &env->fieldOpTbl, orders, count));
  uint32_t setting = 0;
  for (int16_t i = 0; i < 5; ++i) Any(MDbAgentGetAttr(env, i, &setting));
}

void ReadDatesAndTimes(MDbEnv* env) {
  DateRec date{};
  TimeRec time{};
  MDbChar text[24];
  if (MDbRecsetDateStrToDateRec(env, u"2024-02-29", &date, 0, nullptr) == MDbStatusOk) {
    Any(MDbRecsetDRecToDateStr(env, &date, text));
  }
  if (MDbRecsetTimeStrToTRec(env, u"7:05", &time, 1, nullptr, nullptr) == MDbStatusOk) {
    Any(MDbRecsetTRecToTimeStr(env, &time, text));
  }
}

void ReadFields(MDbEnv* env, MDbDataRec* rec, int16_t fields) {
  MDbRef* ref = &env->agentRef;
  uint8_t state = 0;
  MDbRecInfo info{};
  Any(MDbDataRecGetState(env, ref, &env->dataTbl, rec, &state));
  Any(MDbDataRecGetRecInfo(env, ref, &env->dataTbl, rec, &info));
  for (int16_t field = 0; field <= fields && field < kMostFields; ++field) {
    uint32_t size = 0;
    Any(MDbDataRecGetFieldSize(env, ref, &env->dataTbl, rec, field, &size));
    std::vector<MDbChar> text(size / sizeof(MDbChar) + 1);
    Any(MDbDataRecReadField(env, ref, &env->dataTbl, rec, field, text.data(), size));
    const MDbChar* pointer = nullptr;
    const MDbStatus status = MDbDataRecGetFieldPtr(env, ref, &env->dataTbl, &env->schemaTbl, rec, field, &pointer);
    if (status != MDbStatusOk || pointer == nullptr || size == 0) continue;
    size_t length = 0;
    while (pointer[length] != 0) ++length;
    FUZZ_REQUIRE((length + 1) * sizeof(MDbChar) == size, "a field is as long as its size says");
    FUZZ_REQUIRE(std::vector<MDbChar>(pointer, pointer + length + 1) ==
                     std::vector<MDbChar>(text.begin(), text.begin() + static_cast<ptrdiff_t>(length + 1)),
                 "a field's copy is what its pointer points to");
  }
}

void ReadRecords(MDbEnv* env, int16_t fields) {
  MDbRef* ref = &env->agentRef;
  uint32_t count = 0;
  Any(MDbDataTblGetRecCount(env, ref, &env->dataTbl, &count));
  for (uint32_t i = 0; i < count && i < kMostRecords; ++i) {
    Any(MDbDataTblCursSetInx(env, ref, &env->dataTbl, static_cast<int16_t>(i)));
    MDbDataRec rec;
    MDbDataRecInitialize(&rec);
    FUZZ_REQUIRE(MDbDataTblOpenRec(env, ref, &env->dataTbl, &rec, nullptr) == MDbStatusOk, "a counted record opens");
    ReadFields(env, &rec, fields);
    FUZZ_REQUIRE(MDbDataTblCloseRec(env, ref, &env->dataTbl, &rec) == MDbStatusOk, "an open record is closed");
  }
  Any(MDbDeleteTblGetRecCount(env, ref, &env->dataTbl, &count));
  for (uint32_t i = 0; i < count && i < kMostRecords; ++i) {
    MDbDataRec rec;
    MDbDataRecInitialize(&rec);
    const MDbStatus opened = MDbDeleteTblOpenRec(env, ref, &env->dataTbl, &rec, static_cast<int16_t>(i), nullptr);
    FUZZ_REQUIRE(opened == MDbStatusOk, "a counted entry of the log opens");
    ReadFields(env, &rec, fields);
    FUZZ_REQUIRE(MDbDataTblCloseRec(env, ref, &env->dataTbl, &rec) == MDbStatusOk, "an open entry is closed");
  }
}

void WalkRecordSet(MDbEnv* env, MDbRecset* recset, int16_t fields) {
  uint32_t count = 0;
  if (MDbRecsetGetRecCount(env, recset, &count) != MDbStatusOk) return;
  for (uint32_t i = 0; i < count && i < kMostRecords; ++i) {
    Any(MDbRecsetSetInx(env, recset, static_cast<int16_t>(i)));
    if (MDbRecsetOpenRec(env, recset) != MDbStatusOk) continue;
    for (int16_t field = 0; field < fields && field < kMostFields; ++field) {
      MDbChar text[16];
      Any(MDbRecsetGetField(env, recset, field, text, sizeof text));
    }
    FUZZ_REQUIRE(MDbRecsetCloseRec(env, recset) == MDbStatusOk, "an open record is closed");
  }
}

void SortAndSearch(MDbEnv* env, int16_t fields) {
  const MDbChar* searches[] = {u"ride", u"1", u"1963-06-16", u"9:29"};
  for (int16_t field = 0; field < fields && field < 4; ++field) {
    MDbRecset recset;
    MDbRecsetInitialize(&recset);
    const MDbQuery query = {field, MDbQueryByValue, searches[field]};
    Any(MDbAgentQuery(env, &recset, field % 2 == 0 ? &query : nullptr));
    Any(MDbRecsetSort(env, &recset, field, MDbSortToggle));
    WalkRecordSet(env, &recset, fields);
    Any(MDbRecsetDestroy(env, &recset));
  }
}

void Change(MDbEnv* env) {
  MDbRecset recset;
  MDbRecsetInitialize(&recset);
  Any(MDbAgentQuery(env, &recset, nullptr));
  uint16_t index = 0;
  if (MDbRecsetNewRec(env, &recset, &index) == MDbStatusOk) {
    Any(MDbRecsetSetInx(env, &recset, static_cast<int16_t>(index)));
    if (MDbRecsetOpenRec(env, &recset) == MDbStatusOk) {
      Any(MDbRecsetSetField(env, &recset, 0, u"changed"));
      Any(MDbRecsetCloseRec(env, &recset));
    }
  }
  Any(MDBRecsetDupRec(env, &recset, 0, &index));
  Any(MDbRecsetDelRec(env, &recset, 0, 0));
  Any(MDbAgentSetAttr(env, 0, 7));
  Any(MDbRecsetDestroy(env, &recset));
}

}  // namespace

uint32_t UseThroughEngine(const std::u16string& path, bool* closed) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  FUZZ_REQUIRE(MDbInit(&env, nullptr, 0) == MDbStatusOk, "the environment begins");
  const MDbStatus opened = MDbAgentOpenDb(&env, path.c_str());
  if (opened == MDbStatusOk) {
    int16_t fields = 0;
    Any(MDbSchemaTblGetCount(&env, &env.agentRef, &env.schemaTbl, &fields));
    ReadCatalogue(&env);
    ReadDatesAndTimes(&env);
    ReadRecords(&env, fields);
    SortAndSearch(&env, fields);
    Change(&env);
    ReadRecords(&env, fields);
  }
  const MDbStatus status = MDbAgentCloseDb(&env);
  FUZZ_REQUIRE(opened == MDbStatusOk || status == MDbStatusOk, "what was not opened is closed");
  *closed = status == MDbStatusOk;
  FUZZ_REQUIRE(MDbShutdown(&env, 0, 0) == MDbStatusOk, "the environment ends");
  return opened;
}

}  // namespace fuzz
