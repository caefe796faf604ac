// Opening, reading and closing records, of the live ones and of the log.
#include "fault_case.h"

namespace callfaults {
namespace {

constexpr auto kNothing = [](World&) {};

uint32_t OpenAtCursor(World& world) {
  return MDbDataTblOpenRec(&world.env, world.ref(), world.table(), &world.record, nullptr);
}
// The identifier was taken down before, in a record that is not open.
uint32_t OpenById(World& world) {
  const uint32_t oid = world.recset.record.oid;
  return MDbDataTblOpenRec(&world.env, world.ref(), world.table(), &world.record, &oid);
}
uint32_t OpenMissingId(World& world) {
  constexpr uint32_t kNoRecord = 0x7FFFFFFF;
  return MDbDataTblOpenRec(&world.env, world.ref(), world.table(), &world.record, &kNoRecord);
}
template <int16_t kPosition>
uint32_t OpenLogAt(World& world) {
  return MDbDeleteTblOpenRec(&world.env, world.ref(), world.table(), &world.record, kPosition, nullptr);
}
uint32_t OpenLogById(World& world) {
  const uint32_t oid = world.recset.record.oid;
  return MDbDeleteTblOpenRec(&world.env, world.ref(), world.table(), &world.record, 0, &oid);
}
uint32_t Close(World& world) { return MDbDataTblCloseRec(&world.env, world.ref(), world.table(), &world.record); }
uint32_t IsOpened(World& world) { return MDbDataRecIsOpened(&world.record); }

template <int16_t kField>
uint32_t GetPointer(World& world) {
  return MDbDataRecGetFieldPtr(&world.env, world.ref(), world.table(), &world.env.schemaTbl, &world.record, kField,
                               &world.out.pointer);
}
template <int16_t kField>
uint32_t ReadField(World& world) {
  return MDbDataRecReadField(&world.env, world.ref(), world.table(), &world.record, kField, world.out.text,
                             sizeof world.out.text);
}
template <int16_t kField>
uint32_t FieldSize(World& world) {
  return MDbDataRecGetFieldSize(&world.env, world.ref(), world.table(), &world.record, kField, &world.out.number);
}
uint32_t GetState(World& world) {
  return MDbDataRecGetState(&world.env, world.ref(), world.table(), &world.record, &world.out.byte);
}
uint32_t GetInfo(World& world) {
  return MDbDataRecGetRecInfo(&world.env, world.ref(), world.table(), &world.record, &world.out.rec_info);
}

template <int16_t kPosition>
void At(World& world) {
  OpenAgent(world);
  ASSERT_EQ(MDbDataTblCursSetInx(&world.env, world.ref(), world.table(), kPosition), MDbStatusOk);
}
void First(World& world) { OpenRecordAt(world, 0); }
void Last(World& world) { OpenRecordAt(world, 2); }
void FirstLoaded(World& world) {
  OpenRecordAt(world, 0);
  ASSERT_EQ(GetPointer<0>(world), MDbStatusOk);
  world.out = Outputs();
}
void KnownId(World& world) {
  OpenRecordAt(world, 2);
  world.recset.record.oid = world.record.oid;
  ASSERT_EQ(Close(world), MDbStatusOk);
}
void KnownLogId(World& world) {
  OpenLogEntry(world);
  world.recset.record.oid = world.record.oid;
  ASSERT_EQ(Close(world), MDbStatusOk);
}

Cases OpeningCases() {
  Cases cases = {
      {"MDbDataTblOpenRec", "the first", Template::kUsual, At<0>, OpenAtCursor},
      {"MDbDataTblOpenRec", "the last", Template::kUsual, At<2>, OpenAtCursor},
      {"MDbDataTblOpenRec", "behind the last", Template::kUsual, At<3>, OpenAtCursor, {}, MDbStatusFailed},
      {"MDbDataTblOpenRec", "no cursor", Template::kUsual, At<-1>, OpenAtCursor, {}, MDbStatusFailed},
      {"MDbDataTblOpenRec", "an empty table", Template::kEmpty, At<0>, OpenAtCursor, {}, MDbStatusFailed},
      {"MDbDataTblOpenRec", "by identifier", Template::kUsual, KnownId, OpenById},
      {"MDbDataTblOpenRec", "no such identifier", Template::kUsual, OpenAgent, OpenMissingId, {}, MDbStatusFailed},
      {"MDbDeleteTblOpenRec", "an entry", Template::kUsual, OpenAgent, OpenLogAt<0>},
      {"MDbDeleteTblOpenRec", "behind the last", Template::kUsual, OpenAgent, OpenLogAt<1>, {}, MDbStatusFailed},
      {"MDbDeleteTblOpenRec", "an empty log", Template::kEmpty, OpenAgent, OpenLogAt<0>, {}, MDbStatusFailed},
      {"MDbDeleteTblOpenRec", "by identifier", Template::kUsual, KnownLogId, OpenLogById},
  };
  Cases silent = {
      {"MDbDataTblOpenRec", "open already", Template::kUsual, First, OpenAtCursor, {}, MDbStatusFailed},
      {"MDbDataTblOpenRec", "table not open", Template::kUsual, OpenVolume, OpenAtCursor, {}, MDbStatusFailed},
      {"MDbDeleteTblOpenRec", "open already", Template::kUsual, First, OpenLogAt<0>, {}, MDbStatusFailed},
      {"MDbDeleteTblOpenRec", "no position", Template::kUsual, OpenAgent, OpenLogAt<-1>, {}, MDbStatusFailed},
      {"MDbDeleteTblOpenRec", "table not open", Template::kUsual, OpenVolume, OpenLogAt<0>, {}, MDbStatusFailed},
      {"MDbDataTblCloseRec", "not loaded", Template::kUsual, First, Close},
      {"MDbDataTblCloseRec", "not open", Template::kUsual, OpenAgent, Close, {}, MDbStatusFailed},
      {"MDbDataRecIsOpened", "open", Template::kUsual, First, IsOpened, {}, 1},
      {"MDbDataRecIsOpened", "closed", Template::kNone, kNothing, IsOpened},
      {"MDbDataRecInitialize", "of a closed one", Template::kNone, kNothing,
       [](World& world) { return MDbDataRecInitialize(&world.record), MDbStatusOk; }},
  };
  for (FaultCase& fault_case : silent) fault_case.platform = Platform::kUnused;
  silent.push_back({"MDbDataTblCloseRec", "loaded", Template::kUsual, FirstLoaded, Close});
  silent.back().platform = Platform::kInfallible;
  cases.insert(cases.end(), silent.begin(), silent.end());
  return cases;
}

Cases ReadingCases() {
  Cases cases = {
      {"MDbDataRecReadField", "a field", Template::kUsual, First, ReadField<0>, LenientReads()},
      {"MDbDataRecReadField", "a field of the last record", Template::kUsual, Last, ReadField<3>, LenientReads()},
      {"MDbDataRecReadField", "a long text", Template::kLong, First, ReadField<0>, LenientReads()},
      {"MDbDataRecReadField", "a field that the record lacks", Template::kFewer, First, ReadField<4>, LenientReads()},
      {"MDbDataRecReadField", "of a logged record", Template::kUsual, OpenLogEntry, ReadField<0>, LenientReads()},
      {"MDbDataRecReadField", "that a loaded record lacks", Template::kUsual, FirstLoaded, ReadField<5>,
       LenientReads()},
      {"MDbDataRecGetFieldSize", "a field", Template::kUsual, First, FieldSize<0>},
      {"MDbDataRecGetFieldSize", "a long text", Template::kLong, First, FieldSize<0>},
      {"MDbDataRecGetFieldSize", "a field that the record lacks", Template::kFewer, First, FieldSize<4>},
      {"MDbDataRecGetFieldSize", "of a logged record", Template::kUsual, OpenLogEntry, FieldSize<1>},
      {"MDbDataRecGetState", "of a live record", Template::kUsual, First, GetState},
      {"MDbDataRecGetState", "of a new record", Template::kNewRecord, First, GetState},
      {"MDbDataRecGetState", "of a logged record", Template::kUsual, OpenLogEntry, GetState},
      {"MDbDataRecGetRecInfo", "of a live record", Template::kUsual, First, GetInfo, LenientReads()},
      {"MDbDataRecGetRecInfo", "of a logged record", Template::kUsual, OpenLogEntry, GetInfo, LenientReads()},
  };
  Cases silent = {
      {"MDbDataRecReadField", "of a loaded record", Template::kUsual, FirstLoaded, ReadField<1>},
      {"MDbDataRecReadField", "not open", Template::kUsual, OpenAgent, ReadField<0>, {}, MDbStatusFailed},
      {"MDbDataRecGetFieldSize", "of a loaded record", Template::kUsual, FirstLoaded, FieldSize<1>},
      {"MDbDataRecGetFieldSize", "not open", Template::kUsual, OpenAgent, FieldSize<0>, {}, MDbStatusFailed},
      {"MDbDataRecGetState", "not open", Template::kUsual, OpenAgent, GetState, {}, MDbStatusFailed},
      {"MDbDataRecGetRecInfo", "not open", Template::kUsual, OpenAgent, GetInfo, {}, MDbStatusFailed},
      {"MDbDataRecGetFieldPtr", "of a loaded record", Template::kUsual, FirstLoaded, GetPointer<1>},
      {"MDbDataRecGetFieldPtr", "not open", Template::kUsual, OpenAgent, GetPointer<0>, {}, MDbStatusFailed},
  };
  for (FaultCase& fault_case : silent) fault_case.platform = Platform::kUnused;
  cases.insert(cases.end(), silent.begin(), silent.end());
  return cases;
}

}  // namespace

// A schema that is cut short by a failed look-up loads as many fields; the others are not there.
Rules LoadingRules(const std::string& record, int fields, int16_t wanted) {
  const auto loaded = [&](int count) {
    const Held pointer = wanted < count ? Held::kAfter : Held::kBefore;
    return GoesOn().Outputs(pointer).Handles(Held::kAfter, {record + ".propertyCount=" + std::to_string(count)});
  };
  Rules rules = {{"CeSeekDatabase(*VALUEFIRSTEQUAL*=0x30000)", loaded(0)}};
  for (int i = 1; i <= fields; ++i) rules.push_back({"CeSeekDatabase(*VALUENEXTEQUAL*=0x3000*", i - 1, loaded(i)});
  return rules;
}

Cases RecordCases() {
  Cases cases = {
      {"MDbDataRecGetFieldPtr", "the first field", Template::kUsual, First, GetPointer<0>,
       LoadingRules("record", 5, 0)},
      {"MDbDataRecGetFieldPtr", "the last field", Template::kUsual, Last, GetPointer<4>, LoadingRules("record", 5, 4)},
      {"MDbDataRecGetFieldPtr", "no such field", Template::kUsual, First, GetPointer<5>, LoadingRules("record", 5, 5)},
      {"MDbDataRecGetFieldPtr", "a long text", Template::kLong, First, GetPointer<0>, LoadingRules("record", 5, 0)},
      {"MDbDataRecGetFieldPtr", "a field that the record lacks", Template::kFewer, First, GetPointer<4>,
       LoadingRules("record", 5, 4)},
      {"MDbDataRecGetFieldPtr", "of a logged record", Template::kUsual, OpenLogEntry, GetPointer<1>,
       LoadingRules("record", 5, 1)},
  };
  // Without fields there is nothing to read, and the block that says so must be had all the same.
  for (FaultCase& fault_case : cases) {
    fault_case.onwards = {{"CeSeekDatabase(*=0x3000*", Fails()}};
  }
  for (const auto& more : {OpeningCases(), ReadingCases()}) cases.insert(cases.end(), more.begin(), more.end());
  return cases;
}

}  // namespace callfaults
