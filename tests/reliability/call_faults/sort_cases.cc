// Sorts: by each type, from the table as it stands, from a filtered view with records kept, and from a sorted view.
#include "fault_case.h"

namespace callfaults {
namespace {

template <int16_t kField, uint32_t kMode>
uint32_t Sort(World& world) {
  return MDbRecsetSort(&world.env, &world.recset, kField, kMode);
}

void WithLeftSort(World& world) {
  Sorted(world);
  world.out = Outputs();
}

// What a sort that failed past its range check leaves: a record set that is not valid, with the filter's fields and the
// records kept as they were. The data table is wherever the failure met it.
Outcome Destroyed() {
  return Fails()
      .Handles(Held::kBefore,
               {"set.valid=0", "set.hasView=0", "set.sortField=-1", "set.ascending=1", "set.view.open=*",
                "set.view.flagFilter=*", "set.view.oid=*", "set.view.handle=*", "set.view.index=-1",
                "set.view.nextSeq=*", "set.keepCapacity=0", "data.opened=*", "data.handle=*", "data.oid=*",
                "data.cursor=*", "data.logHandle=*", "data.logOid=*", "set.record.flags=0", "set.record.oid=0"})
      .AgainAnswers(MDbStatusFailed);
}

// A platform that refuses to change the order leaves the table closed, and that is no failure of the change; it is one
// of the walk that follows, but nothing follows the change back.
Outcome TableClosed() {
  return GoesOn().Handles(Held::kAfter, {"data.opened=0", "data.handle=0", "data.oid=0", "data.cursor=-1",
                                         "data.logHandle=0", "data.logOid=0"});
}

// info: how often the platform is asked about a database before the change back to creation order.
Rules SortRules(int16_t field, int info) {
  Rules rules;
  // A schema that is cut short has no such field; one that still has it is as good as the whole.
  if (field > 0) rules.push_back({"CeSeekDatabase(*VALUEFIRSTEQUAL*=0x30000)", 0, Fails(MDbStatusFieldOutOfRange)});
  for (int i = 1; i < field; ++i) {
    rules.push_back({"CeSeekDatabase(*VALUENEXTEQUAL*=0x3000*", i - 1, Fails(MDbStatusFieldOutOfRange)});
  }
  return rules + Rules{
                     {"CeSeekDatabase(*VALUEFIRSTEQUAL*=0x30000)", 0, GoesOn()},
                     {"CeSeekDatabase(*VALUENEXTEQUAL*=0x3000*", GoesOn()},
                     // A type that finds no memory is none, and a format is one of zeros; a text is left out.
                     {"LocalAlloc(*", GoesOn()},
                     {"LocalReAlloc(*", GoesOn()},
                     {"CeReadRecordPropsEx(OBJG_0*, size=*", GoesOn()},
                     {"CeReadRecordPropsEx(DATA_0*, size=*", GoesOn()},
                     {"CeFindNextDatabaseEx(*", GoesOn()},
                     {"CloseHandle(enum*", GoesOn()},
                     {"FW*", GoesOn().Handles(Held::kAfter, {"set.view.nextSeq=*"})},
                     {"CeOidGetInfoEx(*", info, TableClosed()},
                     {"CeSetDatabaseInfoEx(*", field == 4 ? 0 : 1, TableClosed()},
                     {"*", Destroyed()},
                 };
}

// The criteria are prepared again: words are searched for whatever is found out about their field.
Rules CriteriaRules() {
  Rules rules;
  for (const int nth : {1, 2, 3}) {
    rules.push_back({"CeSeekDatabase(*VALUEFIRSTEQUAL*=0x30000)", nth, GoesOn()});
    rules.push_back({"CeReadRecordPropsEx(OBJG_0*probe)", nth, GoesOn()});
  }
  const auto other_records = GoesOn().Handles(Held::kAfter, {"set.view.nextSeq=*"});
  rules.push_back({"LocalAlloc(*", other_records});
  rules.push_back({"CeReadRecordPropsEx(DATA_0*, size=*", other_records});
  return rules;
}

}  // namespace

Cases SortCases() {
  struct Way {
    const char* state;
    void (*before)(World&);
    uint32_t (*act)(World&);
    int16_t field;
    int info;
  };
  constexpr Way kWays[] = {
      {"by text", Direct, Sort<0, MDbSortAscending>, 0, 2},
      {"by text, descending, over a sorted view", WithLeftSort, Sort<0, MDbSortToggle>, 0, 2},
      {"by number", Direct, Sort<1, MDbSortDescending>, 1, 3},
      {"by date", Direct, Sort<2, MDbSortAscending>, 2, 3},
      {"by time", Direct, Sort<3, MDbSortToggle>, 3, 3},
      {"by a field without a type", Direct, Sort<4, MDbSortAscending>, 4, 1},
  };
  Cases cases;
  for (const Way& way : kWays) {
    cases.push_back(
        {"MDbRecsetSort", way.state, Template::kUsual, way.before, way.act, SortRules(way.field, way.info)});
  }
  cases.push_back({"MDbRecsetSort", "by a number that records lack", Template::kFewer, Direct,
                   Sort<3, MDbSortAscending>, SortRules(3, 3)});
  cases.push_back(
      {"MDbRecsetSort", "by long texts", Template::kLong, Direct, Sort<0, MDbSortAscending>, SortRules(0, 2)});
  cases.push_back(
      {"MDbRecsetSort", "an empty table", Template::kEmpty, Direct, Sort<1, MDbSortAscending>, SortRules(1, 3)});
  cases.push_back({"MDbRecsetSort", "a filtered view with records kept", Template::kUsual, FilteredAndKept,
                   Sort<1, MDbSortAscending>, CriteriaRules() + SortRules(1, 3)});
  // When everything fails from the criteria on, either the view or the way back fails.
  cases.back().onwards = {{"CeSeekDatabase(*VALUEFIRSTEQUAL*=0x30000)", 0, Fails(MDbStatusFieldOutOfRange)},
                          {"CeSetDatabaseInfoEx(*", 1, TableClosed()},
                          {"*", Destroyed()}};
  cases.push_back({"MDbRecsetSort",
                   "field out of range",
                   Template::kUsual,
                   Direct,
                   Sort<6, MDbSortAscending>,
                   {{"CeSeekDatabase(*", Fails(MDbStatusFieldOutOfRange)}},
                   MDbStatusFieldOutOfRange});
  cases.push_back({"MDbRecsetSort", "the field behind the last", Template::kUsual, Direct, Sort<5, MDbSortAscending>,
                   SortRules(5, 3), MDbStatusFailed});
  for (FaultCase& fault_case : cases) fault_case.ignored = Ignored::kViewAndSort;
  cases.push_back({"MDbRecsetSort", "not valid", Template::kUsual, OpenAgent, Sort<0, 0>, {}, MDbStatusFailed});
  cases.back().platform = Platform::kUnused;
  return cases;
}

}  // namespace callfaults
