// The data table: creating and deleting the pair of databases, opening, closing, counting, cursor and number cache.
#include "fault_case.h"

namespace callfaults {
namespace {

constexpr auto kNothing = [](World&) {};

template <uint16_t kOptions>
uint32_t Create(World& world) {
  constexpr uint16_t options = kOptions;
  return MDbDataTblCreate(&world.env, world.ref(), &options);
}
template <uint16_t kOptions>
uint32_t Delete(World& world) {
  constexpr uint16_t options = kOptions;
  return MDbDataTblDelete(&world.env, world.ref(), &options);
}
uint32_t CreateBoth(World& world) { return MDbDataTblCreate(&world.env, world.ref(), nullptr); }
uint32_t DeleteBoth(World& world) { return MDbDataTblDelete(&world.env, world.ref(), nullptr); }
uint32_t Open(World& world) { return MDbDataTblOpen(&world.env, world.ref(), world.table(), nullptr); }
uint32_t OpenUnsorted(World& world) {
  constexpr uint32_t kSortValue = 0x30003;
  return MDbDataTblOpen(&world.env, world.ref(), world.table(), &kSortValue);
}
uint32_t Close(World& world) { return MDbDataTblClose(&world.env, world.ref(), world.table()); }
uint32_t IsOpened(World& world) { return MDbDataTblIsOpened(&world.env, world.ref(), world.table()); }
uint32_t Count(World& world) {
  return MDbDataTblGetRecCount(&world.env, world.ref(), world.table(), &world.out.number);
}
uint32_t CountLog(World& world) {
  return MDbDeleteTblGetRecCount(&world.env, world.ref(), world.table(), &world.out.number);
}
uint32_t GetCursor(World& world) {
  return MDbDataTblCursGetInx(&world.env, world.ref(), world.table(), &world.out.half);
}
uint32_t SetCursor(World& world) { return MDbDataTblCursSetInx(&world.env, world.ref(), world.table(), 7); }
uint32_t StartCache(World& world) { return StartCreationSeqCache(&world.env, world.ref(), world.table()); }
uint32_t EndCache(World& world) { return EndCreationSeqCache(&world.env, world.ref(), world.table()); }

void Caching(World& world) {
  OpenAgent(world);
  world.table()->creationSeqCache = 99;
}
void OnlyTheLiveRecords(World& world) {
  OpenVolume(world);
  ASSERT_EQ(Create<1>(world), MDbStatusOk);
}
void WithoutLiveRecords(World& world) {
  OpenVolume(world);
  ASSERT_EQ(Delete<1>(world), MDbStatusOk);
}
void ReopenVolume(World& world) {
  ASSERT_EQ(MDbClose(&world.env, world.ref()), MDbStatusOk);
  ASSERT_EQ(MDbOpen(&world.env, world.path.c_str(), world.ref()), MDbStatusOk);
}

Cases CreatingAndDeleting() {
  // What was created before a failure stays, and then the name is taken.
  const auto stays = Fails().Volume(Held::kBetween).AgainAnswers(MDbStatusFailed);
  const Rules creating = {{"CeCreateDatabaseEx(*\"DATA_0\"*", Fails()},
                          {"CeSeekDatabase(*", GoesOn()},  // the counters are not there
                          {"*", stays}};
  // With the live records' counter there already: one that is taken for missing is written a second time.
  const Rules recreating = {
      {"CeCreateDatabaseEx(*", Fails()}, {"CeSeekDatabase(*", GoesOn().Volume(Held::kBeside)}, {"*", stays}};
  // Both are tried. A database that is still open under another handle is not deleted.
  const auto half = Fails().Volume(Held::kBetween);
  const Rules deleting = {
      {"CeOpenDatabaseEx(*\"DATA_0\"*", half.AgainAnswers(MDbStatusFailed)},
      {"CloseHandle(DATA_0)", half.Recover(ReopenVolume).AgainAnswers(MDbStatusFailed)},
      {"CeDeleteDatabaseEx(*", 0, half.AgainAnswers(MDbStatusFailed)},
      {"CloseHandle(DELT_0)", half.Recover(ReopenVolume).AgainAnswers(MDbStatusFailed)},
      {"*", half.AgainAnswers(MDbStatusFailed)},
  };
  Cases cases = {
      {"MDbDataTblCreate", "both", Template::kNoTables, OpenVolume, CreateBoth, creating},
      {"MDbDataTblCreate", "the live records alone", Template::kNoTables, OpenVolume, Create<1>, creating},
      {"MDbDataTblCreate", "the live records again", Template::kUsual, WithoutLiveRecords, Create<1>, recreating},
      {"MDbDataTblCreate",
       "the log is missing, the live records are there",
       Template::kNoTables,
       OnlyTheLiveRecords,
       CreateBoth,
       {},
       MDbStatusFailed},
      {"MDbDataTblDelete", "both", Template::kUsual, OpenVolume, DeleteBoth, deleting},
      {"MDbDataTblDelete", "the live records alone", Template::kUsual, OpenVolume, Delete<1>,
       Rules{{"CeOpenDatabaseEx(*", Fails()},
             {"CloseHandle(*", Fails().Recover(ReopenVolume)},
             {"CeDeleteDatabaseEx(*", Fails()}}},
      {"MDbDataTblDelete", "no tables", Template::kNoTables, OpenVolume, DeleteBoth, {}, MDbStatusFailed},
      {"MDbDataTblDelete", "open tables", Template::kUsual, OpenAgent, DeleteBoth, {}, MDbStatusFailed},
  };
  FaultCase closed = {"MDbDataTblDelete", "volume not open", Template::kUsual, kNothing, DeleteBoth, {}, 1};
  closed.platform = Platform::kUnused;
  cases.push_back(closed);
  return cases;
}

Rules OpeningRules(const std::string& failed_handle) {
  // The live records' handle of an opening that failed stays in the record and goes with the volume.
  return {{"CeOpenDatabaseEx(*\"DATA_0\"*", Fails().Handles(Held::kBefore, {"data.handle=" + failed_handle})},
          {"CeOpenDatabaseEx(*\"DELT_0\"*",
           Fails().Handles(Held::kBefore, {"data.handle=set", "data.oid=set", "data.logHandle=" + failed_handle})}};
}

Cases HandleCases() {
  Cases cases = {
      {"MDbDataTblOpen", "both", Template::kUsual, OpenVolume, Open, OpeningRules("invalid")},
      {"MDbDataTblOpen", "an empty table", Template::kEmpty, OpenVolume, Open, OpeningRules("invalid")},
      {"MDbDataTblOpen", "the log is missing", Template::kNoTables, OnlyTheLiveRecords, Open, OpeningRules("invalid"),
       MDbStatusFailed},
      {"MDbDataTblOpen", "no tables", Template::kNoTables, OpenVolume, Open, OpeningRules("invalid"), MDbStatusFailed},
      {"MDbDataTblOpen", "an order that the table does not have", Template::kUsual, OpenVolume, OpenUnsorted,
       OpeningRules("invalid"), MDbStatusFailed},
      {"MDbDataTblClose",
       "open",
       Template::kUsual,
       OpenAgent,
       Close,
       {{"CloseHandle(DATA_0)", Fails()}, {"CloseHandle(DELT_0)", Fails().AgainAnswers(MDbStatusFailed)}}},
  };
  cases.push_back({"MDbDataTblOpen", "handles 0", Template::kUsual, OpenVolume, Open, OpeningRules("0")});
  cases.back().failures = {{"CeOpenDatabaseEx", {0, ERROR_OUTOFMEMORY}}};
  return cases;
}

Cases CounterCases() {
  return {
      {"MDbDataTblGetRecCount", "three records", Template::kUsual, OpenAgent, Count},
      {"MDbDataTblGetRecCount", "no records", Template::kEmpty, OpenAgent, Count},
      {"MDbDeleteTblGetRecCount", "one entry", Template::kUsual, OpenAgent, CountLog},
      {"MDbDeleteTblGetRecCount", "no entries", Template::kEmpty, OpenAgent, CountLog},
      {"StartCreationSeqCache", "a counter", Template::kUsual, OpenAgent, StartCache},
      {"StartCreationSeqCache", "no counter", Template::kNoTables, OpenVolume, StartCache, {}, MDbStatusFailed},
      {"EndCreationSeqCache",
       "over a counter",
       Template::kUsual,
       Caching,
       EndCache,
       {{"CeSeekDatabase(*", GoesOn().Volume(Held::kBeside)}}},
      {"EndCreationSeqCache",
       "no counter",
       Template::kNoTables,
       OpenVolume,
       EndCache,
       {{"CeSeekDatabase(*", GoesOn()}}},
  };
}

Cases SilentCases() {
  Cases cases = {
      {"MDbDataTblOpen", "open", Template::kUsual, OpenAgent, Open, {}, MDbStatusFailed},
      {"MDbDataTblClose", "closed", Template::kUsual, OpenVolume, Close, {}, MDbStatusFailed},
      {"MDbDataTblIsOpened", "open", Template::kUsual, OpenAgent, IsOpened, {}, 1},
      {"MDbDataTblIsOpened", "closed", Template::kUsual, OpenVolume, IsOpened},
      {"MDbDataTblGetRecCount", "closed", Template::kUsual, OpenVolume, Count, {}, MDbStatusFailed},
      {"MDbDeleteTblGetRecCount", "closed", Template::kUsual, OpenVolume, CountLog, {}, MDbStatusFailed},
      {"MDbDataTblCursGetInx", "open", Template::kUsual, OpenAgent, GetCursor},
      {"MDbDataTblCursGetInx", "closed", Template::kUsual, OpenVolume, GetCursor},
      {"MDbDataTblCursSetInx", "open", Template::kUsual, OpenAgent, SetCursor},
      {"MDbDataTblCursSetInx", "closed", Template::kUsual, OpenVolume, SetCursor},
      {"StartCreationSeqCache", "volume not open", Template::kUsual, kNothing, StartCache, {}, MDbStatusFailed},
      {"EndCreationSeqCache", "volume not open", Template::kUsual, kNothing, EndCache, {}, MDbStatusFailed},
  };
  for (FaultCase& fault_case : cases) fault_case.platform = Platform::kUnused;
  return cases;
}

}  // namespace

Cases DataTableCases() {
  Cases cases;
  for (const auto& more : {CreatingAndDeleting(), HandleCases(), CounterCases(), SilentCases()}) {
    cases.insert(cases.end(), more.begin(), more.end());
  }
  return cases;
}

}  // namespace callfaults
