// Adding records to the data table.
#include "fault_case.h"

namespace callfaults {
namespace {

uint32_t NewRecord(World& world) {
  return MDbDataTblNewRec(&world.env, world.ref(), world.table(), &world.env.schemaTbl, &world.out.number,
                          &world.out.half);
}
uint32_t NewRecordUnasked(World& world) {
  return MDbDataTblNewRec(&world.env, world.ref(), world.table(), &world.env.schemaTbl, nullptr, nullptr);
}
template <int16_t kFields>
uint32_t Add(World& world) {
  return AddRecord(world, &world.out.number, &world.out.half, kFields);
}
uint32_t AddUnasked(World& world) { return AddRecord(world, nullptr, nullptr); }

void Caching(World& world) {
  OpenAgent(world);
  ASSERT_EQ(StartCreationSeqCache(&world.env, world.ref(), world.table()), MDbStatusOk);
}

}  // namespace

// A creation's failures up to its record are as before; from then on the record stays, with the old number as the
// next one, and a second call adds another record.
Rules CreationRules(bool caching) {
  const auto added = [](Held volume) { return Fails().Volume(volume).Outputs(Held::kAfter).AgainAnswers(MDbStatusOk); };
  const Rules storing = {
      {"CeSeekDatabase(*, CEOID, *", added(Held::kBetween).Outputs(Held::kAfter, {"half=untouched"})},
      {"CeSeekDatabase(*=0x40000)", 0, Fails()},
      {"CeSeekDatabase(*=0x40000)", 1, GoesOn().Volume(Held::kBeside)},  // the counter is written a second time
      {"CeWriteRecordProps(OBJG_0*", added(Held::kBetween)},
      {"CeFlushDBVol(*", added(Held::kAfter)},
  };
  const Rules cached = {
      {"CeSeekDatabase(*, CEOID, *", added(Held::kAfter).Outputs(Held::kAfter, {"half=untouched"})},
      {"CeFlushDBVol(*", added(Held::kAfter).Handles(Held::kAfter)},
  };
  // A schema that is cut short by a failed look-up gives a record of as many fields.
  return Rules{{"CeSeekDatabase(*=0x3000*", NotThere()}} + (caching ? cached : storing);
}

// When the numbers have run out every record is numbered anew first: a failure leaves some numbered, and a second call
// begins again.
Rules RenumberingRules() {
  const auto renumbered = Fails().Volume(Held::kBetween);
  Rules rules = {
      {"CeOidGetInfoEx(*", Fails()},
      {"CeSeekDatabase(*BEGINNING, 0)", Fails()},
      {"CeSeekDatabase(*BEGINNING, *", renumbered},
      {"CeWriteRecordProps(DATA_0, oid=*, [0x40013=0])", Fails()},
      {"CeWriteRecordProps(DATA_0, oid=*, [0x40013=*])", renumbered},
      // The counter is written after the numbers and after the record: taken for missing, it is written beside the old.
      {"CeSeekDatabase(*=0x40000)", 1, NotThere().Outputs(Held::kAfter, {"number=*"})},
      {"CeSeekDatabase(*=0x40000)", 2, NotThere()},
      {"CeWriteRecordProps(OBJG_0*", 0, renumbered},
      {"LocalAlloc(*", Fails().Volume(Held::kAnything)},
      {"CeWriteRecordProps(DATA_0, oid=0, *", Fails().Volume(Held::kAnything)},
      {"CeWriteRecordProps(OBJG_0*", 1,
       Fails().Volume(Held::kAnything).Outputs(Held::kAfter).AgainAnswers(MDbStatusOk)},
      {"CeSeekDatabase(*, CEOID, *",
       Fails().Volume(Held::kAnything).Outputs(Held::kAfter, {"half=untouched"}).AgainAnswers(MDbStatusOk)},
  };
  return rules + CreationRules(false);
}

Cases CreationCases() {
  const Rules in_parts =
      Rules{{"CeWriteRecordProps(DATA_0*", 1, Fails().Volume(Held::kPartRecord).AgainAnswers(MDbStatusOk)}} +
      CreationRules(false);
  const Rules unasked = {{"CeSeekDatabase(*, CEOID, *", Fails()}};
  Cases cases = {
      {"MDbDataTblNewRec", "beside others", Template::kUsual, OpenAgent, NewRecord, CreationRules(false)},
      {"MDbDataTblNewRec", "the first", Template::kEmpty, OpenAgent, NewRecord, CreationRules(false)},
      {"MDbDataTblNewRec", "without outputs", Template::kUsual, OpenAgent, NewRecordUnasked,
       unasked + CreationRules(false)},
      {"MDbDataTblNewRec", "numbers in the handle", Template::kUsual, Caching, NewRecord, CreationRules(true)},
      {"MDbDataTblNewRec", "numbers run out", Template::kNumbersRunOut, OpenAgent, NewRecord, RenumberingRules()},
      {"MDbDataTblNewRec", "5000 records", Template::kFull, OpenAgent, NewRecord, {}, MDbStatusRecordLimit},
      {"MDbDataTblAddRec", "beside others", Template::kUsual, OpenAgent, Add<5>, CreationRules(false)},
      {"MDbDataTblAddRec", "the first", Template::kEmpty, OpenAgent, Add<5>, CreationRules(false)},
      {"MDbDataTblAddRec", "fewer fields", Template::kUsual, OpenAgent, Add<2>, CreationRules(false)},
      {"MDbDataTblAddRec", "no fields", Template::kUsual, OpenAgent, Add<0>, CreationRules(false)},
      {"MDbDataTblAddRec", "in two writes", Template::kWide, OpenAgent, Add<12>, in_parts},
      {"MDbDataTblAddRec", "without outputs", Template::kUsual, OpenAgent, AddUnasked, unasked + CreationRules(false)},
      {"MDbDataTblAddRec", "numbers in the handle", Template::kUsual, Caching, Add<5>, CreationRules(true)},
      {"MDbDataTblAddRec", "numbers run out", Template::kNumbersRunOut, OpenAgent, Add<5>, RenumberingRules()},
      {"MDbDataTblAddRec", "5000 records", Template::kFull, OpenAgent, Add<1>, {}, MDbStatusRecordLimit},
  };
  for (const auto& [name, act] :
       {std::pair<const char*, uint32_t (*)(World&)>{"MDbDataTblNewRec", NewRecord}, {"MDbDataTblAddRec", Add<5>}}) {
    cases.push_back({name, "not open", Template::kUsual, OpenVolume, act, {}, MDbStatusFailed});
    cases.back().platform = Platform::kUnused;
  }
  return cases;
}

}  // namespace callfaults
