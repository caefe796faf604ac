// The agent calls: the environment's one database with all its tables.
#include "fault_case.h"

namespace callfaults {
namespace {

constexpr auto kNothing = [](World&) {};

uint32_t Open(World& world) { return MDbAgentOpenDb(&world.env, world.path.c_str()); }
uint32_t Close(World& world) { return MDbAgentCloseDb(&world.env); }

void WithCachedOptions(World& world) {
  OpenAgent(world);
  ReadEveryOption(world);
}

// Everything is closed again after a failure; what a later failure keeps from closing is the volume and its catalogue.
Rules Opening() {
  const auto closed = [](uint32_t status, const std::vector<std::string>& handles = {}) {
    std::vector<std::string> stuck = handles;
    stuck.insert(stuck.end(), {"ref.volume=set", "ref.opened=1", "ref.catalog.isOpen=1", "ref.catalog.oid=*"});
    return Fails(status).Handles(Held::kBefore, handles).Onwards(stuck);
  };
  return {
      {"CeMountDBVol(*", Fails(MDbStatusCannotOpen)},
      {"CeOpenDatabaseEx(*\"OBJG_0\"*", closed(MDbStatusCannotOpen)},
      {"CeSeekDatabase(*=0x50000)", closed(MDbStatusCannotOpen)},
      {"CeReadRecordPropsEx(*probe)", closed(MDbStatusCannotOpen)},
      {"LocalAlloc(*", closed(MDbStatusBadFormat)},
      {"CeReadRecordPropsEx(*[0x30041], size=*", closed(MDbStatusBadFormat)},
      {"CeSeekDatabase(*=0x60000)", closed(MDbStatusFailed)},
      {"CeReadRecordPropsEx(*[0x40013], size=*", closed(MDbStatusFailed)},
      {"CeSeekDatabase(*VALUEFIRSTEQUAL, 0x10013=0x30000)", closed(MDbStatusNoFields)},
      {"CeSeekDatabase(*VALUENEXTEQUAL*", GoesOn()},  // there are fields, however many
      {"CeOpenDatabaseEx(*\"DATA_0\"*", closed(MDbStatusFailed, {"data.handle=invalid"})},
      {"CeOpenDatabaseEx(*\"DELT_0\"*",
       closed(MDbStatusFailed, {"data.handle=set", "data.oid=set", "data.logHandle=invalid"})},
  };
}

Cases OpeningAndClosing() {
  // Closing what a failed opening has open fails nowhere: statuses besides 0 are those of the file itself.
  const Rules any_close_goes_on = {
      {"CloseHandle(OBJG_0)", GoesOn()},
      {"CeUnmountDBVol(*", GoesOn().Handles(Held::kAfter, {"ref.volume=set", "ref.opened=1"})}};
  Cases cases = {
      {"MDbAgentOpenDb", "a database", Template::kUsual, kNothing, Open, Opening()},
      {"MDbAgentOpenDb", "an empty table", Template::kEmpty, kNothing, Open, Opening()},
      {"MDbAgentOpenDb", "a missing file", Template::kNone, kNothing, Open, Opening(), MDbStatusCannotOpen},
      {"MDbAgentOpenDb", "another version", Template::kOtherVersion, kNothing, Open, any_close_goes_on + Opening(),
       MDbStatusBadFormat},
      {"MDbAgentOpenDb", "no mark", Template::kNoMark, kNothing, Open, any_close_goes_on + Opening(), MDbStatusFailed},
      {"MDbAgentOpenDb", "another mark", Template::kBadMark, kNothing, Open, any_close_goes_on + Opening(),
       MDbStatusChecksumMismatch},
      {"MDbAgentOpenDb", "no data table", Template::kNoTables, kNothing, Open, any_close_goes_on + Opening(),
       MDbStatusFailed},
  };
  for (FaultCase& fault_case : cases) {
    fault_case.onwards = {
        {"CloseHandle(OBJG_0)", GoesOn().Handles(Held::kAfter, {"ref.volume=set", "ref.opened=1",
                                                                "ref.catalog.isOpen=1", "ref.catalog.oid=set"})}};
  }
  // A table whose handle does not close is gone with its volume; only a volume that does not unmount stays open.
  const Rules closing = {
      {"CloseHandle(OBJG_0)", GoesOn()},
      {"CloseHandle(*", Fails().Handles(Held::kAfter).AgainAnswers(0)},
      {"CeUnmountDBVol(*", Fails().Handles(Held::kAfter, {"ref.volume=set", "ref.opened=1"})},
  };
  for (const bool cached : {false, true}) {
    cases.push_back({"MDbAgentCloseDb", cached ? "cached options" : "a database", Template::kUsual,
                     cached ? WithCachedOptions : OpenAgent, Close, closing});
    cases.back().onwards = {
        {"CloseHandle(OBJG_0)", Fails().Handles(Held::kAfter, {"ref.volume=set", "ref.opened=1", "ref.catalog.isOpen=1",
                                                               "ref.catalog.oid=set"})},
        {"CloseHandle(*", Fails().Handles(Held::kAfter, {"ref.volume=set", "ref.opened=1", "ref.catalog.isOpen=1",
                                                         "ref.catalog.oid=set", "data.opened=1", "data.handle=set",
                                                         "data.oid=set", "data.logHandle=set", "data.logOid=set"})}};
  }
  cases.push_back({"MDbAgentCloseDb",
                   "the volume alone",
                   Template::kUsual,
                   OpenVolume,
                   Close,
                   {{"CloseHandle(*", GoesOn()},
                    {"CeUnmountDBVol(*", Fails().Handles(Held::kAfter, {"ref.volume=set", "ref.opened=1"})}}});
  cases.back().onwards = {{"CloseHandle(*", Fails()}};
  cases.push_back({"MDbAgentCloseDb", "nothing open", Template::kUsual, kNothing, Close});
  cases.back().platform = Platform::kUnused;
  return cases;
}

Cases SettingCases() {
  const auto get = [](int16_t selector) {
    return [selector](World& world) -> uint32_t { return MDbAgentGetAttr(&world.env, selector, &world.out.number); };
  };
  const auto set = [](int16_t selector) {
    return [selector](World& world) -> uint32_t { return MDbAgentSetAttr(&world.env, selector, 999); };
  };
  const auto name = [](World& world) -> uint32_t {
    return MDbAgentGetDbName(&world.env, world.out.text, sizeof world.out.text);
  };
  const auto list = [](int16_t index) {
    return [index](World& world) -> uint32_t {
      return MDbAgentGetValList(&world.env, index, world.out.text, sizeof world.out.text);
    };
  };
  const auto list_size = [](int16_t index) {
    return [index](World& world) -> uint32_t { return MDbAgentGetValListSize(&world.env, index, &world.out.number); };
  };
  Cases cases = {
      {"MDbAgentGetAttr", "a setting", Template::kUsual, OpenAgent, get(3), LenientReads()},
      {"MDbAgentGetAttr", "any other selector", Template::kUsual, OpenAgent, get(7), LenientReads()},
      {"MDbAgentSetAttr", "a setting", Template::kUsual, OpenAgent, set(0)},
      {"MDbAgentSetAttr", "any other selector", Template::kUsual, OpenAgent, set(7), {}, MDbStatusFailed},
      {"MDbAgentGetDbName", "a name", Template::kUsual, OpenAgent, name, LenientReads()},
      {"MDbAgentGetDbName", "a long name", Template::kLong, OpenAgent, name, LenientReads()},
      {"MDbAgentGetValList", "a list", Template::kUsual, OpenAgent, list(0), LenientReads()},
      {"MDbAgentGetValList", "an empty list", Template::kUsual, OpenAgent, list(1), LenientReads()},
      {"MDbAgentGetValList", "a long list", Template::kLong, OpenAgent, list(0), LenientReads()},
      {"MDbAgentGetValList", "no such list", Template::kUsual, OpenAgent, list(2), {}, MDbStatusFailed},
      {"MDbAgentGetValListSize", "a list", Template::kUsual, OpenAgent, list_size(0)},
      {"MDbAgentGetValListSize", "a long list", Template::kLong, OpenAgent, list_size(0)},
      {"MDbAgentGetValListSize", "no such list", Template::kUsual, OpenAgent, list_size(2), {}, MDbStatusFailed},
  };
  for (FaultCase closed : {FaultCase{"MDbAgentGetAttr", "closed", Template::kUsual, kNothing, get(3)},
                           FaultCase{"MDbAgentSetAttr", "closed", Template::kUsual, kNothing, set(0)},
                           FaultCase{"MDbAgentGetDbName", "closed", Template::kUsual, kNothing, name},
                           FaultCase{"MDbAgentGetValList", "closed", Template::kUsual, kNothing, list(0)},
                           FaultCase{"MDbAgentGetValListSize", "closed", Template::kUsual, kNothing, list_size(0)}}) {
    closed.clean = MDbStatusFailed;
    closed.platform = Platform::kUnused;
    cases.push_back(closed);
  }
  for (const char* call : {"MDbAgentInit", "MDbAgentShutdown"}) {
    const bool init = call == std::string("MDbAgentInit");
    cases.push_back({call, "at any time", Template::kNone, kNothing,
                     [init](World&) -> uint32_t { return init ? MDbAgentInit() : MDbAgentShutdown(); }});
    cases.back().platform = Platform::kUnused;
  }
  return cases;
}

}  // namespace

Cases AgentCases() {
  Cases all = OpeningAndClosing();
  const Cases more = SettingCases();
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace callfaults
