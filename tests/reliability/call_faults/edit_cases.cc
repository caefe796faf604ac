// Changing, adding, copying and deleting records through a record set, directly and in a view, with and without the log.
#include "fault_case.h"

namespace callfaults {
namespace {

template <int16_t kField>
uint32_t SetField(World& world) {
  return MDbRecsetSetField(&world.env, &world.recset, kField, u"7");
}
uint32_t New(World& world) { return MDbRecsetNewRec(&world.env, &world.recset, &world.out.half); }
template <int16_t kSource>
uint32_t Duplicate(World& world) {
  return MDBRecsetDupRec(&world.env, &world.recset, kSource, &world.out.half);
}
template <int16_t kIndex, uint32_t kNoLog>
uint32_t Delete(World& world) {
  return MDbRecsetDelRec(&world.env, &world.recset, kIndex, kNoLog);
}
template <uint8_t kNoLog>
uint32_t DeleteAll(World& world) {
  return MDbRecsetDelAllRec(&world.env, &world.recset, kNoLog);
}

Cases WithView(Cases cases) {
  for (FaultCase& fault_case : cases) fault_case.ignored = Ignored::kView;
  return cases;
}

// The write is one call. Without memory for keeping the record in view it is done all the same.
Cases ChangingCases() {
  const auto written = DoneButFails().AgainAnswers(MDbStatusOk);
  const Rules keeping = {
      {"CeFlushDBVol(*", written.Handles(Held::kBefore)},
      {"LocalAlloc(*", written.Handles(Held::kBefore)},
      {"LocalReAlloc(*", written.Handles(Held::kBefore, {"set.keepList=list "})},
  };
  const Rules flushing = {{"CeFlushDBVol(*", written}};
  return WithView({
      {"MDbRecsetSetField", "direct", Template::kUsual, DirectRecordOpen, SetField<0>, flushing},
      {"MDbRecsetSetField", "a field that the record lacks", Template::kFewer, DirectRecordOpen, SetField<4>, flushing},
      {"MDbRecsetSetField", "the filtered field", Template::kUsual, FilteredRecordOpen, SetField<0>, keeping},
      {"MDbRecsetSetField", "another field of a view", Template::kUsual, FilteredRecordOpen, SetField<1>, flushing},
  });
}

// In a view, the record is shown and kept after it was created, and the set is dirty whatever becomes of that.
Rules AddingRules(bool in_view, bool copying) {
  Rules rules;
  if (in_view) {
    // The view's own failures come after the record is whole.
    const auto unseen = DoneButFails().Outputs(Held::kBefore).AgainAnswers(MDbStatusOk);
    const std::vector<std::string> unkept = {"set.keepList=*", "set.keepCount=0", "set.keepCapacity=0"};
    std::vector<std::string> unshown = unkept;
    unshown.push_back("set.view.nextSeq=2");
    rules = {{"CeWriteRecordProps(VTBL_0*", unseen.Handles(Held::kAfter, unshown)},
             {"CeSeekDatabase(VTBL_0, CEOID*", unseen.Handles(Held::kAfter, unkept)},
             {"LocalReAlloc(*", DoneButFails().Handles(Held::kAfter, unkept).AgainAnswers(MDbStatusOk)},
             {"LocalAlloc(flags=64, 1024)", DoneButFails().Handles(Held::kAfter, unkept).AgainAnswers(MDbStatusOk)}};
  }
  const auto created = [](Held volume) { return Fails().Volume(volume).AgainAnswers(MDbStatusOk); };
  const Rules creating = {
      {"CeSeekDatabase(DATA_0, CEOID*", copying ? 1 : 0, created(Held::kBetween)},
      {"CeSeekDatabase(DATA_0, CEOID*", created(Held::kBetween)},
      {"CeSeekDatabase(*=0x40000)", 1, GoesOn().Volume(Held::kBeside)},
      {"CeWriteRecordProps(OBJG_0*", created(Held::kBetween)},
      {"CeFlushDBVol(*", created(Held::kAfter)},
      {"CeSeekDatabase(*=0x3000*", NotThere()},
  };
  return rules + creating;
}

Cases AddingCases() {
  // Opening the source of a copy is a seek of its own, by position directly and by identifier in a view.
  const Rules from_view = Rules{{"CeSeekDatabase(DATA_0, CEOID*", 0, Fails()}} + AddingRules(true, true);
  // The cursor is put back, and the record closed, whatever fails.
  Cases cases = WithView({
      {"MDbRecsetNewRec", "direct", Template::kUsual, Direct, New, AddingRules(false, false)},
      {"MDbRecsetNewRec", "direct, the first", Template::kEmpty, Direct, New, AddingRules(false, false)},
      {"MDbRecsetNewRec", "a view", Template::kUsual, Filtered, New, AddingRules(true, false)},
      {"MDBRecsetDupRec", "direct", Template::kUsual, Direct, Duplicate<1>, AddingRules(false, false)},
      {"MDBRecsetDupRec", "direct, a record with fewer fields", Template::kFewer, Direct, Duplicate<0>,
       AddingRules(false, false)},
      {"MDBRecsetDupRec", "direct, long texts", Template::kLong, Direct, Duplicate<0>, AddingRules(false, false)},
      {"MDBRecsetDupRec", "direct, no record there", Template::kUsual, Direct, Duplicate<3>, {}, MDbStatusFailed},
      {"MDBRecsetDupRec", "a view", Template::kUsual, Filtered, Duplicate<1>, from_view},
      {"MDBRecsetDupRec", "a view, no record there", Template::kUsual, Filtered, Duplicate<2>, {}, MDbStatusFailed},
  });
  for (FaultCase& fault_case : cases) {
    fault_case.onwards = {{"CeSeekDatabase(*=0x3000*", Fails()}};
  }
  return cases;
}

// A record is logged before it is deleted, and the log's entry stays when the deletion fails. In a view the view record
// goes first, and a second call at its index meets the one behind it, if there is one.
Rules DeletingOne(bool in_view, uint32_t again = MDbStatusOk) {
  const auto logged = Fails().Volume(Held::kBetween).AgainAnswers(again);
  const Rules rules = {
      // A schema that is cut short gives an entry of as many fields.
      {"CeSeekDatabase(*=0x3000*", NotThere()},
      {"CeSeekDatabase(*=0x40001)", 1, GoesOn().Volume(Held::kBeside)},
      {"CeWriteRecordProps(OBJG_0*", logged},
      {"CeDeleteRecord(DATA_0*", logged},
      {"CeFlushDBVol(*", DoneButFails().Handles(Held::kBefore)},
  };
  if (!in_view) return rules;
  return Rules{{"CeSeekDatabase(VTBL_0*", Fails()},
               {"CeReadRecordPropsEx(VTBL_0*", Fails()},
               {"CeDeleteRecord(VTBL_0*", Fails()},
               {"LocalAlloc(*", 0, Fails()}} +
         rules + Rules{{"*", Fails().AgainAnswers(again)}};
}

Cases DeletingCases() {
  const Rules onwards = {{"CeSeekDatabase(*=0x3000*", Fails()}};
  Cases cases = WithView({
      {"MDbRecsetDelRec", "direct, logged", Template::kUsual, Direct, Delete<0, 0>, DeletingOne(false)},
      {"MDbRecsetDelRec", "direct, the last, logged", Template::kUsual, Direct, Delete<2, 0>, DeletingOne(false)},
      {"MDbRecsetDelRec", "direct, the log's first", Template::kWide, Direct, Delete<1, 0>,
       Rules{{"CeWriteRecordProps(DELT_0*", 1, Fails().Volume(Held::kPartRecord).AgainAnswers(MDbStatusOk)}} +
           DeletingOne(false)},
      {"MDbRecsetDelRec", "direct, a record with fewer fields", Template::kFewer, Direct, Delete<0, 0>,
       DeletingOne(false)},
      {"MDbRecsetDelRec", "direct, long texts", Template::kLong, Direct, Delete<0, 0>, DeletingOne(false)},
      {"MDbRecsetDelRec", "direct, a record its host never saw", Template::kNewRecord, Direct, Delete<0, 0>,
       DeletingOne(false)},
      {"MDbRecsetDelRec", "direct, without the log", Template::kUsual, Direct, Delete<0, 1>, DeletingOne(false)},
      {"MDbRecsetDelRec", "direct, no record there", Template::kUsual, Direct, Delete<3, 0>, {}, MDbStatusFailed},
      {"MDbRecsetDelRec", "a view, logged", Template::kUsual, Filtered, Delete<0, 0>, DeletingOne(true)},
      {"MDbRecsetDelRec", "a view, without the log", Template::kUsual, Filtered, Delete<1, 1>,
       DeletingOne(true, MDbStatusFailed)},
      {"MDbRecsetDelRec", "a view, a record that is kept", Template::kUsual, FilteredAndKept, Delete<0, 1>,
       DeletingOne(true)},
      {"MDbRecsetDelRec", "a view, no record there", Template::kUsual, Filtered, Delete<2, 0>, {}, MDbStatusFailed},
  });
  for (FaultCase& fault_case : cases) fault_case.onwards = onwards;
  return cases;
}

// One by one: the records before a failure are gone, and the rest go with the next call. A log counter that is taken for
// missing is written a second time, and the entries behind it have its old number again.
Rules OneByOne() {
  const auto some = Fails().Volume(Held::kOneByOne).AgainAnswers(MDbStatusOk);
  return {{"CeSeekDatabase(*=0x3000*", NotThere()},
          {"CeSeekDatabase(*=0x40001)", 1, NotThere()},
          {"CeSeekDatabase(*=0x40001)", 3, NotThere()},
          {"CeSeekDatabase(*=0x40001)", 5, NotThere()},
          {"*", some}};
}

// At once: the live records' database is taken away and made anew. A failure in between leaves the table closed; when it
// is the creation's there is no database of live records any more, until MDbDataTblCreate makes one.
Rules AtOnce() {
  const auto closed = [](Held volume) {
    return Fails()
        .Volume(volume)
        .Handles(Held::kBefore, {"data.opened=0", "data.handle=*", "data.oid=*", "data.cursor=-1", "data.logHandle=*",
                                 "data.logOid=*"})
        .AgainAnswers(MDbStatusFailed);
  };
  return {{"CloseHandle(DATA_0)", 0, Fails()},
          {"CloseHandle(DELT_0)", Fails().AgainAnswers(MDbStatusFailed)},
          {"CeOpenDatabaseEx(*", 0, closed(Held::kBefore)},
          {"CloseHandle(DATA_0)", closed(Held::kBefore)},
          {"CeDeleteDatabaseEx(*", closed(Held::kBefore)},
          {"CeCreateDatabaseEx(*", closed(Held::kNoLiveTable)},
          {"CeSeekDatabase(*", GoesOn().Volume(Held::kBeside)},
          {"CeWriteRecordProps(*", closed(Held::kBetween)},
          {"CeOpenDatabaseEx(*", closed(Held::kAfter)},
          {"CeFlushDBVol(*", DoneButFails().Handles(Held::kAfter, {"data.cursor=*"})}};
}

Cases DeletingAllCases() {
  Cases cases = WithView({
      {"MDbRecsetDelAllRec", "direct, logged", Template::kUsual, Direct, DeleteAll<0>, OneByOne()},
      {"MDbRecsetDelAllRec", "direct, an empty table", Template::kEmpty, Direct, DeleteAll<0>, OneByOne()},
      {"MDbRecsetDelAllRec", "direct, at once", Template::kUsual, Direct, DeleteAll<1>, AtOnce()},
      {"MDbRecsetDelAllRec", "a view, logged", Template::kUsual, Filtered, DeleteAll<0>, OneByOne()},
      {"MDbRecsetDelAllRec", "a view, without the log", Template::kUsual, Filtered, DeleteAll<1>, OneByOne()},
      {"MDbRecsetDelAllRec", "a sorted view", Template::kUsual, Sorted, DeleteAll<1>, OneByOne()},
  });
  return cases;
}

Cases SilentCases() {
  struct Call {
    const char* name;
    uint32_t (*act)(World&);
  };
  constexpr Call kNeedValid[] = {{"MDbRecsetSetField", SetField<0>},
                                 {"MDbRecsetNewRec", New},
                                 {"MDBRecsetDupRec", Duplicate<0>},
                                 {"MDbRecsetDelRec", Delete<0, 0>},
                                 {"MDbRecsetDelAllRec", DeleteAll<0>}};
  Cases cases;
  for (const Call& call : kNeedValid) {
    cases.push_back({call.name, "set not valid", Template::kUsual, OpenAgent, call.act, {}, MDbStatusFailed});
  }
  cases.push_back({"MDbRecsetSetField", "no record open", Template::kUsual, Direct, SetField<0>, {}, MDbStatusFailed});
  cases.push_back({"MDBRecsetDupRec", "a record open", Template::kUsual, DirectRecordOpen, Duplicate<0>, {}, 1});
  cases.push_back({"MDbRecsetDelRec", "a record open", Template::kUsual, DirectRecordOpen, Delete<0, 0>, {}, 1});
  cases.push_back({"MDbRecsetDelAllRec", "a record open", Template::kUsual, DirectRecordOpen, DeleteAll<1>, {}, 1});
  for (FaultCase& fault_case : cases) fault_case.platform = Platform::kUnused;
  return WithView(cases);
}

}  // namespace

Cases EditCases() {
  Cases cases;
  for (const auto& more : {ChangingCases(), AddingCases(), DeletingCases(), DeletingAllCases(), SilentCases()}) {
    cases.insert(cases.end(), more.begin(), more.end());
  }
  return cases;
}

}  // namespace callfaults
