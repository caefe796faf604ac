// Queries: by words, by value of each type, with and without a view left over.
#include "fault_case.h"

namespace callfaults {
namespace {

template <int16_t kField, int16_t kMode>
uint32_t AskWith(World& world, const MDbChar* text) {
  const MDbQuery query = {kField, kMode, text};
  return MDbAgentQuery(&world.env, &world.recset, &query);
}
uint32_t ByWords(World& world) { return MDbAgentQuery(&world.env, &world.recset, &kOaks); }
uint32_t NoWords(World& world) { return AskWith<0, MDbQueryByWords>(world, u""); }
uint32_t ByNumber(World& world) { return AskWith<1, MDbQueryByValue>(world, u"2"); }
uint32_t ByNumberWords(World& world) { return AskWith<1, MDbQueryByWords>(world, u"2"); }
uint32_t ByNoNumber(World& world) { return AskWith<1, MDbQueryByValue>(world, u"none"); }
uint32_t ByDate(World& world) { return AskWith<2, MDbQueryByValue>(world, u"1/2/2024"); }
uint32_t ByTime(World& world) { return AskWith<3, MDbQueryByValue>(world, u"2:30 PM"); }
uint32_t ByUntyped(World& world) { return AskWith<4, MDbQueryByValue>(world, u"rest"); }
uint32_t ByMissingField(World& world) { return AskWith<5, MDbQueryByWords>(world, u"oak"); }
uint32_t Everything(World& world) { return MDbAgentQuery(&world.env, &world.recset, nullptr); }

// A view that an earlier record set could not take away.
void WithLeftover(World& world) {
  OpenAgent(world);
  ASSERT_EQ(ByWords(world), MDbStatusOk);
  seam::PlatformSeam seam;
  seam.Fail("CeDeleteDatabaseEx");
  ASSERT_EQ(MDbRecsetDestroy(&world.env, &world.recset), MDbStatusFailed);
}

// The criteria are kept whatever fails; what was found so far stays in the view, which belongs to the record set and is
// in the way of another query until the database is closed.
Outcome BeforeTheView() {
  return Fails().Handles(Held::kAfter,
                         {"set.valid=0", "set.hasView=0", "set.view.open=0", "set.view.flagFilter=0", "set.view.oid=0",
                          "set.view.handle=invalid", "set.view.nextSeq=0", "data.cursor=*"});
}
Outcome InTheView() {
  return Fails()
      .Handles(Held::kAfter, {"set.valid=0", "set.hasView=0", "set.view.nextSeq=*", "data.cursor=*"})
      .AgainAnswers(MDbStatusFailed);
}

// What fails without a word: the enumeration, the session, a record's text, the value of the criteria (which are
// searched for by words then).
Outcome OtherRecords() { return GoesOn().Handles(Held::kAfter, {"set.view.nextSeq=*", "data.cursor=*"}); }

Rules QueryRules() {
  return {
      {"CeFindFirstDatabaseEx(*", BeforeTheView()},
      {"CeFindNextDatabaseEx(*", GoesOn()},
      {"CloseHandle(enum*", GoesOn()},
      {"CeCreateDatabaseEx(*", BeforeTheView()},
      {"CeOpenDatabaseEx(*", BeforeTheView()},
      {"CeSeekDatabase(OBJG_0*", OtherRecords()},
      {"CeReadRecordPropsEx(OBJG_0*", OtherRecords()},
      {"LocalAlloc(*", OtherRecords()},
      {"FWOpenSession(*", OtherRecords()},
      {"FWFindWord(*", OtherRecords()},
      {"FWCloseSession(*", GoesOn()},
      {"CeReadRecordPropsEx(*, size=*", OtherRecords()},
      {"CeWriteRecordProps(VTBL_0*", InTheView()},
      {"CeSeekDatabase(VTBL_0*", InTheView()},
      {"*", InTheView()},
  };
}

// With a view left over: an enumeration that ends early does not see it, and then it is in the way; so is one that does
// not go.
Rules LeftoverRules() {
  return Rules{{"CeFindNextDatabaseEx(*", 0, BeforeTheView()},
               {"CeFindNextDatabaseEx(*", 1, GoesOn()},
               {"CeOidGetInfoEx(vol1, *", 0, BeforeTheView()},
               {"CeOpenDatabaseEx(*", 0, BeforeTheView()},
               {"CloseHandle(VTBL_0)", BeforeTheView().AgainAnswers(MDbStatusFailed)},
               {"CeDeleteDatabaseEx(*", BeforeTheView()}} +
         QueryRules();
}

// A session that is refused leaves the view empty, and the status is what the preparation came to.
Outcome Refused(uint32_t status) {
  if (status == MDbStatusOk) return OtherRecords();
  return Fails(status)
      .Handles(Held::kAfter, {"set.valid=0", "set.hasView=0", "set.view.nextSeq=0", "data.cursor=-1"})
      .AgainAnswers(MDbStatusFailed);
}

// When everything fails from the preparation on, the word breaker refuses as well: 1 when the type or the format is not
// found, else what reading the criteria under a format of zeros gives.
Rules QueryOnwards(bool with_format, uint32_t without_format) {
  Rules rules = {{"CeSeekDatabase(OBJG_0, VALUEFIRSTEQUAL, *=0x30000)", 2, OtherRecords()},  // the count of fields
                 {"CeSeekDatabase(OBJG_0, VALUENEXTEQUAL, *", OtherRecords()}};
  if (with_format) {
    rules.push_back({"CeReadRecordPropsEx(OBJG_0*, size=*", 2, Refused(without_format)});
    rules.push_back({"LocalAlloc(*", 2, Refused(without_format)});
  }
  return rules + Rules{{"*OBJG_0, *", InTheView()}, {"LocalAlloc(*", 0, InTheView()}, {"LocalAlloc(*", 1, InTheView()}};
}

}  // namespace

Cases QueryCases() {
  struct Way {
    const char* state;
    Template file;
    uint32_t (*act)(World&);
    uint32_t clean;
    uint32_t pending = MDbStatusOk;  // what the preparation comes to, which only a refused session brings to light
    bool with_format = false;
    uint32_t without_format = MDbStatusOk;
  };
  constexpr Way kWays[] = {
      {"by words", Template::kUsual, ByWords, 0},
      {"without words", Template::kUsual, NoWords, 0},
      {"by words in an empty table", Template::kEmpty, ByWords, 0},
      {"by words in long texts", Template::kLong, ByWords, 0},
      {"by number", Template::kUsual, ByNumber, 0},
      {"by words in a number field", Template::kUsual, ByNumberWords, 0},
      {"by date", Template::kUsual, ByDate, 0, 0, true, MDbStatusOk},
      {"by time", Template::kUsual, ByTime, 0, 0, true, MDbStatusBadTimeText},
      {"by value in a field without a type", Template::kUsual, ByUntyped, 0, MDbStatusFailed},
      {"in a field that records lack", Template::kFewer, ByTime, 0, 0, true, MDbStatusBadTimeText},
      {"in a field that is none", Template::kUsual, ByMissingField, 0, MDbStatusFailed},
  };
  Cases cases;
  for (const Way& way : kWays) {
    cases.push_back({"MDbAgentQuery", way.state, way.file, OpenAgent, way.act,
                     Rules{{"FWOpenSession(*", Refused(way.pending)}} + QueryRules(), way.clean});
    cases.back().onwards = QueryOnwards(way.with_format, way.without_format);
  }
  // A number text without a digit is searched for by words; when the word breaker refuses it as well, its status is told.
  cases.push_back({"MDbAgentQuery", "by a number that is none", Template::kUsual, OpenAgent, ByNoNumber,
                   Rules{{"FWOpenSession(*", Refused(MDbStatusEmptyNumber)}} + QueryRules()});
  cases.back().onwards = QueryOnwards(false, 0);
  cases.push_back({"MDbAgentQuery", "over a view left over", Template::kUsual, WithLeftover, ByWords, LeftoverRules()});
  cases.back().onwards = QueryOnwards(false, 0);
  for (FaultCase& fault_case : cases) fault_case.ignored = Ignored::kView;

  Cases silent = {
      {"MDbAgentQuery", "everything", Template::kUsual, OpenAgent, Everything},
      {"MDbAgentQuery", "valid already", Template::kUsual, Filtered, ByWords, {}, MDbStatusFailed},
      {"MDbAgentQuery", "not open", Template::kUsual, [](World&) {}, ByWords, {}, MDbStatusFailed},
  };
  for (FaultCase& fault_case : silent) {
    fault_case.platform = Platform::kUnused;
    fault_case.ignored = Ignored::kView;
  }
  cases.insert(cases.end(), silent.begin(), silent.end());
  return cases;
}

}  // namespace callfaults
