// Record sets: life, cursor, and reading through them. A view and the words of a query are among their states.
#include "fault_case.h"

namespace callfaults {

void Direct(World& world) { Query(world, nullptr); }
void Filtered(World& world) { Query(world, &kOaks); }
void FilteredRecordOpen(World& world) {
  Filtered(world);
  ASSERT_EQ(MDbRecsetOpenRec(&world.env, &world.recset), MDbStatusOk);
}
void DirectRecordOpen(World& world) {
  Direct(world);
  ASSERT_EQ(MDbRecsetOpenRec(&world.env, &world.recset), MDbStatusOk);
}
void Sorted(World& world) {
  Direct(world);
  ASSERT_EQ(MDbRecsetSort(&world.env, &world.recset, 0, MDbSortAscending), MDbStatusOk);
  ASSERT_EQ(MDbRecsetSetInx(&world.env, &world.recset, 0), MDbStatusOk);
}
void FilteredAndKept(World& world) {
  FilteredRecordOpen(world);
  ASSERT_EQ(MDbRecsetSetField(&world.env, &world.recset, 0, u"larch"), MDbStatusOk);
  ASSERT_EQ(MDbRecsetCloseRec(&world.env, &world.recset), MDbStatusOk);
}

namespace {

void Loaded(World& world) {
  FilteredRecordOpen(world);
  const MDbChar* ignored = nullptr;
  ASSERT_EQ(MDbRecsetGetFieldPtr(&world.env, &world.recset, 0, &ignored), MDbStatusOk);
}
void KeptAndOpen(World& world) {
  FilteredAndKept(world);
  ASSERT_EQ(MDbRecsetOpenRec(&world.env, &world.recset), MDbStatusOk);
}
template <int16_t kIndex>
void FilteredAt(World& world) {
  Filtered(world);
  ASSERT_EQ(MDbRecsetSetInx(&world.env, &world.recset, kIndex), MDbStatusOk);
}
template <int16_t kIndex>
void DirectAt(World& world) {
  Direct(world);
  ASSERT_EQ(MDbRecsetSetInx(&world.env, &world.recset, kIndex), MDbStatusOk);
}

uint32_t Initialize(World& world) { return MDbRecsetInitialize(&world.recset), MDbStatusOk; }
uint32_t Destroy(World& world) { return MDbRecsetDestroy(&world.env, &world.recset); }
uint32_t Count(World& world) { return MDbRecsetGetRecCount(&world.env, &world.recset, &world.out.number); }
uint32_t GetIndex(World& world) { return MDbRecsetGetInx(&world.env, &world.recset, &world.out.half); }
uint32_t SetIndex(World& world) { return MDbRecsetSetInx(&world.env, &world.recset, 1); }
uint32_t OpenRec(World& world) { return MDbRecsetOpenRec(&world.env, &world.recset); }
uint32_t CloseRec(World& world) { return MDbRecsetCloseRec(&world.env, &world.recset); }
uint32_t IsFiltered(World& world) { return MDbRecsetIsFiltered(&world.env, &world.recset, &world.out.byte); }
uint32_t IsDirty(World& world) { return MDbRecsetIsFilteredDirty(&world.env, &world.recset, &world.out.byte); }
uint32_t SortDef(World& world) { return MDbRecsetGetSortDef(&world.env, &world.recset, &world.out.sort); }
uint32_t NoSortDef(World& world) { return MDbRecsetGetSortDef(&world.env, nullptr, &world.out.sort); }
uint32_t FieldCount(World& world) { return MDbRecsetGetFldCount(&world.env, &world.recset, &world.out.half); }
template <int16_t kField>
uint32_t FieldType(World& world) {
  return MDbRecsetGetFldType(&world.env, &world.recset, kField, &world.out.byte);
}
template <int16_t kField>
uint32_t NameSize(World& world) {
  return MDbRecsetGetFldNameSize(&world.env, &world.recset, kField, &world.out.number);
}
template <int16_t kField>
uint32_t FieldName(World& world) {
  return MDbRecsetGetFldName(&world.env, &world.recset, kField, world.out.text, sizeof world.out.text);
}
template <int16_t kField>
uint32_t MaxSize(World& world) {
  return MDbRecsetGetFieldMaxSize(&world.env, &world.recset, kField, &world.out.number);
}
template <int16_t kField>
uint32_t FieldPointer(World& world) {
  return MDbRecsetGetFieldPtr(&world.env, &world.recset, kField, &world.out.pointer);
}
template <int16_t kField>
uint32_t GetField(World& world) {
  return MDbRecsetGetField(&world.env, &world.recset, kField, world.out.text, sizeof world.out.text);
}
template <int16_t kField>
uint32_t FieldSize(World& world) {
  return MDbRecsetGetFieldSize(&world.env, &world.recset, kField, &world.out.number);
}

// Destroying resets the record set whatever fails. A view that could not go is the next query's to remove, or the
// volume's to close.
Cases LifeCases() {
  const Rules destroying = {{"*", DoneButFails().AgainAnswers(MDbStatusOk)}};
  // A view whose handle does not close keeps its state until the set is reset, which is at once.
  Cases cases = {
      {"MDbRecsetDestroy", "a view", Template::kUsual, Filtered, Destroy, destroying},
      {"MDbRecsetDestroy", "a sorted view", Template::kUsual, Sorted, Destroy, destroying},
      {"MDbRecsetDestroy", "a view with a record open", Template::kUsual, Loaded, Destroy, destroying},
      {"MDbRecsetDestroy", "a view with records kept", Template::kUsual, KeptAndOpen, Destroy, destroying},
  };
  for (FaultCase& fault_case : cases) fault_case.ignored = Ignored::kView;
  return cases;
}

Cases CursorCases() {
  Cases cases = {
      {"MDbRecsetGetRecCount", "direct", Template::kUsual, Direct, Count},
      {"MDbRecsetGetRecCount", "an empty table", Template::kEmpty, Direct, Count},
      {"MDbRecsetGetRecCount", "a view", Template::kUsual, Filtered, Count},
      {"MDbRecsetGetRecCount", "an empty view", Template::kEmpty, Filtered, Count},
      {"MDbRecsetOpenRec", "direct", Template::kUsual, Direct, OpenRec},
      {"MDbRecsetOpenRec", "direct, the last", Template::kUsual, DirectAt<2>, OpenRec},
      {"MDbRecsetOpenRec", "direct, behind the last", Template::kUsual, DirectAt<3>, OpenRec, {}, MDbStatusFailed},
      {"MDbRecsetOpenRec", "direct, an empty table", Template::kEmpty, Direct, OpenRec, {}, MDbStatusFailed},
      {"MDbRecsetOpenRec", "a view", Template::kUsual, Filtered, OpenRec},
      {"MDbRecsetOpenRec", "a view, the last", Template::kUsual, FilteredAt<1>, OpenRec},
      {"MDbRecsetOpenRec", "a sorted view", Template::kUsual, Sorted, OpenRec},
      {"MDbRecsetOpenRec", "a view, behind the last", Template::kUsual, FilteredAt<2>, OpenRec, {}, MDbStatusFailed},
  };
  for (FaultCase& fault_case : cases) fault_case.ignored = Ignored::kView;
  return cases;
}

Cases FieldCases() {
  const Rules sizes = {{"LocalAlloc(*", Fails().Outputs(Held::kBefore, {"number=0"})},
                       {"CeReadRecordPropsEx(*, size=*", Fails().Outputs(Held::kBefore, {"number=0"})}};
  Rules counting;
  for (Rule rule : CountingRules(5)) {
    for (std::string& change : rule.outcome.output_changes) change.replace(0, 5, "half");
    counting.push_back(rule);
  }
  // A type that was not read has no limit: 0 and 1. The number of fields decides a text's limit only beyond 20.
  const Rules text_size = sizes + Rules{{"CeSeekDatabase(*VALUEFIRSTEQUAL*=0x30000)", 1, GoesOn()},
                                        {"CeSeekDatabase(*VALUENEXTEQUAL*", GoesOn()}};
  Cases cases = {
      {"MDbRecsetGetFldCount", "five fields", Template::kUsual, Direct, FieldCount, counting},
      {"MDbRecsetGetFldType", "a field", Template::kUsual, Direct, FieldType<1>, LenientReads()},
      {"MDbRecsetGetFldType", "no such field", Template::kUsual, Direct, FieldType<5>, {}, MDbStatusFailed},
      {"MDbRecsetGetFldNameSize", "a field", Template::kUsual, Direct, NameSize<1>},
      {"MDbRecsetGetFldNameSize", "no such field", Template::kUsual, Direct, NameSize<5>, {}, MDbStatusFailed},
      {"MDbRecsetGetFldName", "a field", Template::kUsual, Direct, FieldName<1>, LenientReads()},
      {"MDbRecsetGetFldName", "no such field", Template::kUsual, Direct, FieldName<5>, {}, MDbStatusFailed},
      {"MDbRecsetGetFieldMaxSize", "a text", Template::kUsual, Direct, MaxSize<0>, text_size},
      {"MDbRecsetGetFieldMaxSize", "a number", Template::kUsual, Direct, MaxSize<1>, sizes},
      {"MDbRecsetGetFieldMaxSize", "a field without a type", Template::kUsual, Direct, MaxSize<4>, sizes,
       MDbStatusFailed},
      {"MDbRecsetGetFieldMaxSize", "no such field", Template::kUsual, Direct, MaxSize<5>, {}, MDbStatusFailed},
      {"MDbRecsetGetFieldPtr", "a view", Template::kUsual, FilteredRecordOpen, FieldPointer<1>,
       LoadingRules("set.record", 5, 1)},
      {"MDbRecsetGetFieldPtr", "direct", Template::kLong, DirectRecordOpen, FieldPointer<0>,
       LoadingRules("set.record", 5, 0)},
      {"MDbRecsetGetField", "a view", Template::kUsual, FilteredRecordOpen, GetField<1>, LenientReads()},
      {"MDbRecsetGetField", "direct, a long text", Template::kLong, DirectRecordOpen, GetField<0>, LenientReads()},
      {"MDbRecsetGetField", "a field that the record lacks", Template::kFewer, DirectRecordOpen, GetField<3>,
       LenientReads()},
      {"MDbRecsetGetFieldSize", "a view", Template::kUsual, FilteredRecordOpen, FieldSize<1>},
      {"MDbRecsetGetFieldSize", "direct, a long text", Template::kLong, DirectRecordOpen, FieldSize<0>},
  };
  for (FaultCase& fault_case : cases) {
    fault_case.ignored = Ignored::kView;
    if (std::string(fault_case.call) == "MDbRecsetGetFieldPtr") {
      fault_case.onwards = {{"CeSeekDatabase(*=0x3000*", Fails()}};
    }
  }
  return cases;
}

Cases SilentCases() {
  Cases cases = {
      {"MDbRecsetInitialize", "of a fresh one", Template::kNone, [](World&) {}, Initialize},
      {"MDbRecsetDestroy", "not valid", Template::kUsual, OpenAgent, Destroy},
      {"MDbRecsetDestroy", "direct", Template::kUsual, Direct, Destroy},
      {"MDbRecsetGetInx", "direct", Template::kUsual, Direct, GetIndex},
      {"MDbRecsetGetInx", "a view", Template::kUsual, Filtered, GetIndex},
      {"MDbRecsetSetInx", "direct", Template::kUsual, Direct, SetIndex},
      {"MDbRecsetSetInx", "a view", Template::kUsual, Filtered, SetIndex},
      {"MDbRecsetOpenRec", "a view, no cursor", Template::kUsual, FilteredAt<-1>, OpenRec, {}, MDbStatusFailed},
      {"MDbRecsetOpenRec", "direct, open already", Template::kUsual, DirectRecordOpen, OpenRec, {}, MDbStatusFailed},
      {"MDbRecsetCloseRec", "a record", Template::kUsual, FilteredRecordOpen, CloseRec},
      {"MDbRecsetCloseRec", "no record", Template::kUsual, Filtered, CloseRec, {}, MDbStatusFailed},
      {"MDbRecsetIsFiltered", "a filter", Template::kUsual, Filtered, IsFiltered},
      {"MDbRecsetIsFiltered", "direct", Template::kUsual, Direct, IsFiltered},
      {"MDbRecsetIsFilteredDirty", "a filter", Template::kUsual, FilteredAndKept, IsDirty},
      {"MDbRecsetIsFilteredDirty", "direct", Template::kUsual, Direct, IsDirty},
      {"MDbRecsetGetSortDef", "sorted", Template::kUsual, Sorted, SortDef},
      {"MDbRecsetGetSortDef", "not valid", Template::kUsual, OpenAgent, SortDef},
      {"MDbRecsetGetSortDef", "none", Template::kNone, [](World&) {}, NoSortDef, {}, MDbStatusFailed},
      {"MDbRecsetGetField", "of a loaded record", Template::kUsual, Loaded, GetField<1>},
      {"MDbRecsetGetFieldPtr", "of a loaded record", Template::kUsual, Loaded, FieldPointer<1>},
      {"MDbRecsetGetFieldSize", "of a loaded record", Template::kUsual, Loaded, FieldSize<1>},
  };
  struct Call {
    const char* name;
    uint32_t (*act)(World&);
  };
  constexpr Call kNeedValid[] = {{"MDbRecsetGetRecCount", Count},
                                 {"MDbRecsetGetInx", GetIndex},
                                 {"MDbRecsetSetInx", SetIndex},
                                 {"MDbRecsetOpenRec", OpenRec},
                                 {"MDbRecsetCloseRec", CloseRec},
                                 {"MDbRecsetIsFiltered", IsFiltered},
                                 {"MDbRecsetIsFilteredDirty", IsDirty},
                                 {"MDbRecsetGetFldCount", FieldCount},
                                 {"MDbRecsetGetFldType", FieldType<0>},
                                 {"MDbRecsetGetFldNameSize", NameSize<0>},
                                 {"MDbRecsetGetFldName", FieldName<0>},
                                 {"MDbRecsetGetFieldMaxSize", MaxSize<0>},
                                 {"MDbRecsetGetFieldPtr", FieldPointer<0>},
                                 {"MDbRecsetGetField", GetField<0>},
                                 {"MDbRecsetGetFieldSize", FieldSize<0>}};
  for (const Call& call : kNeedValid) {
    cases.push_back({call.name, "set not valid", Template::kUsual, OpenAgent, call.act, {}, MDbStatusFailed});
  }
  for (FaultCase& fault_case : cases) {
    fault_case.platform = Platform::kUnused;
    fault_case.ignored = Ignored::kView;
  }
  cases.push_back({"MDbRecsetCloseRec", "a loaded record", Template::kUsual, Loaded, CloseRec});
  cases.back().platform = Platform::kInfallible;
  cases.back().ignored = Ignored::kView;
  return cases;
}

}  // namespace

Cases SetCases() {
  Cases cases;
  for (const auto& more : {LifeCases(), CursorCases(), FieldCases(), SilentCases()}) {
    cases.insert(cases.end(), more.begin(), more.end());
  }
  return cases;
}

}  // namespace callfaults
