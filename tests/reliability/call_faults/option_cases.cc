// The field option table, with and without its cache, and the same through a record set.
#include "fault_case.h"

namespace callfaults {
namespace {

constexpr auto kNothing = [](World&) {};
constexpr MDbFldOption kOption = {{9, 9, 9, 9, 9, 9}};
constexpr MDbFldOptionEx kOptionEx = {9, 8, 7, {6, 5, 4}, 3, 2, 1};

MDbFieldOpTbl* Table(World& world) { return &world.env.fieldOpTbl; }

uint32_t Create(World& world) {
  const auto pairs = enginetest::OptionPairs(3);
  return MDbFieldOpTblCreateEx(&world.env, world.ref(), pairs.data(), 3);
}
uint32_t Delete(World& world) { return MDbFieldOpTblDelete(&world.env, world.ref()); }
uint32_t Count(World& world) { return MDbFieldOpTblGetCount(&world.env, world.ref(), Table(world), &world.out.count); }
uint32_t Orders(World& world) {
  return MDbFieldOpTblGetDisplayOrders(&world.env, world.ref(), Table(world), world.out.orders, 5);
}
uint32_t SetOrders(World& world) {
  static constexpr uint16_t kOrders[] = {4, 3, 2, 1, 0};
  return MDbRecsetSetDisplayOrders(&world.env, &world.recset, kOrders);
}
uint32_t RecsetOrders(World& world) {
  return MDbRecsetGetDisplayOrders(&world.env, &world.recset, reinterpret_cast<uint16_t*>(world.out.orders), 5);
}

uint32_t Read(World& world, int16_t index) {
  return MDbFieldOpTblReadOption(&world.env, world.ref(), Table(world), index, &world.out.option);
}
uint32_t ReadEx(World& world, int16_t index) {
  return MDbFieldOpTblReadOptionEx(&world.env, world.ref(), Table(world), index, &world.out.option_ex);
}
uint32_t RecsetRead(World& world, int16_t index) {
  return MDbRecsetGetFldOption(&world.env, &world.recset, index, &world.out.option);
}
uint32_t RecsetReadEx(World& world, int16_t index) {
  return MDbRecsetGetFldOptionEx(&world.env, &world.recset, index, &world.out.option_ex);
}
uint32_t Write(World& world, int16_t index) {
  return MDbFieldOpTblWriteOption(&world.env, world.ref(), Table(world), index, &kOption);
}
uint32_t WriteEx(World& world, int16_t index) {
  return MDbFieldOpTblWriteOptionEx(&world.env, world.ref(), Table(world), index, &kOptionEx);
}
uint32_t RecsetWrite(World& world, int16_t index) {
  return MDbRecsetSetFldOption(&world.env, &world.recset, index, &kOption);
}
uint32_t RecsetWriteEx(World& world, int16_t index) {
  return MDbRecsetSetFldOptionEx(&world.env, &world.recset, index, &kOptionEx);
}

void DirectAndRead(World& world) {
  Query(world, nullptr);
  ReadEveryOption(world);
}
void AgentAndRead(World& world) {
  OpenAgent(world);
  ReadEveryOption(world);
}
void Uncached(World& world) {
  OpenVolume(world);
  ASSERT_EQ(MDbFieldOpTblOpen(&world.env, world.ref(), Table(world), 0), MDbStatusOk);
}

// The first cached read of field 1 of five: a cache that finds no memory is not there, one that is sized by a count that
// ended early has no room for the field.
Rules FirstCachedRead() {
  Rules rules = {{"LocalAlloc(*", 0, Lenient()},
                 {"LocalAlloc(*", 1, GoesOn().Handles(Held::kAfter, {"options.cache=none", "options.cacheCount=0"})},
                 {"CeReadRecordPropsEx(*, size=*", Lenient()},
                 {"CeSeekDatabase(*VALUEFIRSTEQUAL, 0x10013=1)", Fails()},
                 {"CeSeekDatabase(*VALUEFIRSTEQUAL, 0x10013=0)",
                  GoesOn().Handles(Held::kAfter, {"options.cache=none", "options.cacheCount=0"})},
                 {"CeSeekDatabase(*VALUENEXTEQUAL, 0x10013=1)",
                  GoesOn().Handles(Held::kAfter, {"options.cache=none", "options.cacheCount=0"})}};
  const char* const caches[] = {"-x", "-x-", "-x--"};
  const char* const seeks[] = {"CeSeekDatabase(*VALUENEXTEQUAL, 0x10013=2)",
                               "CeSeekDatabase(*VALUENEXTEQUAL, 0x10013=3)",
                               "CeSeekDatabase(*VALUENEXTEQUAL, 0x10013=4)"};
  for (int i = 0; i < 3; ++i) {
    rules.push_back({seeks[i], GoesOn().Handles(Held::kAfter, {"options.cache=" + std::string(caches[i]),
                                                               "options.cacheCount=" + std::to_string(i + 2)})});
  }
  rules.push_back({"CeSeekDatabase(*VALUENEXTEQUAL*", GoesOn()});  // there is no sixth
  return rules;
}

struct OptionCall {
  const char* name;
  uint32_t (*act)(World&, int16_t);
  bool through_set;
};
constexpr OptionCall kReads[] = {{"MDbFieldOpTblReadOption", Read, false},
                                 {"MDbFieldOpTblReadOptionEx", ReadEx, false},
                                 {"MDbRecsetGetFldOption", RecsetRead, true},
                                 {"MDbRecsetGetFldOptionEx", RecsetReadEx, true}};
constexpr OptionCall kWrites[] = {{"MDbFieldOpTblWriteOption", Write, false},
                                  {"MDbFieldOpTblWriteOptionEx", WriteEx, false},
                                  {"MDbRecsetSetFldOption", RecsetWrite, true},
                                  {"MDbRecsetSetFldOptionEx", RecsetWriteEx, true}};

Cases ReadingCases() {
  Cases cases;
  for (const OptionCall& call : kReads) {
    const auto at = [&call](int16_t index) { return [&call, index](World& world) { return call.act(world, index); }; };
    const auto open = call.through_set ? Direct : OpenAgent;
    cases.push_back({call.name, "the first through the cache", Template::kUsual, open, at(1), FirstCachedRead()});
    cases.back().onwards = {{"CeSeekDatabase(*VALUENEXTEQUAL*",
                             GoesOn().Handles(Held::kAfter, {"options.cache=none", "options.cacheCount=0"})}};
    cases.push_back({call.name, "no such field", Template::kUsual, open, at(5), {}, MDbStatusFailed});
    cases.push_back(
        {call.name, "from the cache", Template::kUsual, call.through_set ? DirectAndRead : AgentAndRead, at(1)});
    cases.back().platform = Platform::kUnused;
    cases.push_back({call.name, "not open", Template::kUsual, OpenVolume, at(1), {}, MDbStatusFailed});
    cases.back().platform = Platform::kUnused;
    if (call.through_set) continue;
    cases.push_back({call.name, "without the cache", Template::kUsual, Uncached, at(1), LenientReads()});
  }
  return cases;
}

Cases WritingCases() {
  Cases cases;
  for (const OptionCall& call : kWrites) {
    const auto at = [&call](int16_t index) { return [&call, index](World& world) { return call.act(world, index); }; };
    const auto open = call.through_set ? Direct : OpenAgent;
    cases.push_back(
        {call.name, "a field that was read", Template::kUsual, call.through_set ? DirectAndRead : AgentAndRead, at(1)});
    cases.push_back({call.name, "a field that was not read", Template::kUsual, open, at(1), {}, MDbStatusFailed});
    cases.push_back({call.name, "no such field", Template::kUsual, open, at(5), {}, MDbStatusFailed});
    cases.push_back({call.name, "not open", Template::kUsual, OpenVolume, at(1), {}, MDbStatusFailed});
    cases.back().platform = Platform::kUnused;
    if (call.through_set) continue;
    cases.push_back({call.name, "without the cache", Template::kUsual, Uncached, at(1)});
  }
  return cases;
}

// An order whose option was not read is 0, and its field's place is still taken; after a failure the orders up to the
// field that failed are written, and the rest are natural.
Rules OrderRules() {
  const auto stopped = [](uint32_t status) {
    return Fails(status)
        .Outputs(Held::kBefore, {"orders=*"})
        .Handles(Held::kBefore, {"options.cache=*", "options.cacheCount=*"});
  };
  const auto unread =
      GoesOn().Outputs(Held::kAfter, {"orders=*"}).Handles(Held::kAfter, {"options.cache=*", "options.cacheCount=*"});
  return {{"CeSeekDatabase(*VALUENEXTEQUAL*", unread},  // a shorter count, or a smaller cache
          {"CeSeekDatabase(*0x10013=0)", 0, unread},    // no options at all
          {"CeSeekDatabase(*0x10013=0)", 2, unread},    // no cache
          {"LocalAlloc(*", unread},
          {"CeReadRecordPropsEx(*, size=*", unread},
          {"*", stopped(MDbStatusFailed)}};
}

Cases OrderCases() {
  Cases cases = {
      {"MDbFieldOpTblGetDisplayOrders", "nothing cached", Template::kUsual, OpenAgent, Orders, OrderRules()},
      {"MDbFieldOpTblGetDisplayOrders", "without the cache", Template::kUsual, Uncached, Orders, OrderRules()},
      {"MDbFieldOpTblGetDisplayOrders", "fewer options than fields", Template::kFewOptions, OpenAgent, Orders,
       OrderRules()},
      {"MDbRecsetGetDisplayOrders", "nothing cached", Template::kUsual, Direct, RecsetOrders, OrderRules()},
  };
  FaultCase silent = {"MDbFieldOpTblGetDisplayOrders", "everything cached", Template::kUsual, AgentAndRead, Orders};
  silent.platform = Platform::kUnused;
  cases.push_back(silent);
  cases.push_back({"MDbFieldOpTblGetDisplayOrders", "not open", Template::kUsual, OpenVolume, Orders, {}, 1});
  cases.back().platform = Platform::kUnused;
  cases.push_back({"MDbRecsetGetDisplayOrders", "not valid", Template::kUsual, OpenAgent, RecsetOrders, {}, 1});
  cases.back().platform = Platform::kUnused;
  return cases;
}

// Each field is read, changed and written: a failure leaves the fields before it changed. A cache that was sized by a
// count that ended early has no copy of the fields behind, and writing those answers 1 until the table is opened anew.
Rules SettingRules() {
  const std::vector<std::string> cache = {"options.cache=*", "options.cacheCount=*"};
  const auto reopen = [](World& world) {
    ASSERT_EQ(MDbFieldOpTblClose(&world.env, world.ref(), Table(world)), MDbStatusOk);
    ASSERT_EQ(MDbFieldOpTblOpen(&world.env, world.ref(), Table(world), MDbFieldOptionsCached), MDbStatusOk);
  };
  const auto stopped = Fails().Volume(Held::kBetween).Handles(Held::kBefore, cache);
  return {
      {"CeSeekDatabase(*VALUEFIRSTEQUAL*=0x30000)", Lenient()},  // no fields: nothing to set
      {"CeSeekDatabase(*=0x3000*", GoesOn().Volume(Held::kBetween).Handles(Held::kAfter, cache)},
      {"CeSeekDatabase(*VALUENEXTEQUAL*", stopped.Recover(reopen)},
      {"*", stopped},
  };
}

// A short schema, and then the first option is not found.
Rules SettingOnwards() { return {{"CeSeekDatabase(*VALUENEXTEQUAL*=0x3000*", Fails()}}; }

Cases SettingOrders() {
  Cases cases = {
      {"MDbRecsetSetDisplayOrders", "everything cached", Template::kUsual, DirectAndRead, SetOrders,
       Rules{{"CeSeekDatabase(*=0x30005)", GoesOn()}} + SettingRules()},
      {"MDbRecsetSetDisplayOrders", "nothing cached", Template::kUsual, Direct, SetOrders,
       Rules{{"CeSeekDatabase(*VALUENEXTEQUAL, 0x10013=5)", GoesOn()}} + SettingRules()},
      // Two fields are set and the third is refused; a schema that ends before it is not.
      {"MDbRecsetSetDisplayOrders", "fewer options than fields", Template::kFewOptions, Direct, SetOrders,
       Rules{{"CeSeekDatabase(*VALUENEXTEQUAL, 0x10013=2)", GoesOn()},
             {"CeSeekDatabase(*=0x30001)",
              Fails(MDbStatusOk).Volume(Held::kBetween).Handles(Held::kAfter, {"options.cache=x-"})},
             {"CeSeekDatabase(*=0x30002)", Fails(MDbStatusOk).Volume(Held::kAfter).Handles(Held::kAfter)}} +
           SettingRules(),
       MDbStatusFailed, Ignored::kNothing, Platform::kFails, SettingOnwards()},
      {"MDbRecsetSetDisplayOrders", "not valid", Template::kUsual, OpenAgent, SetOrders, {}, MDbStatusFailed},
  };
  cases.back().platform = Platform::kUnused;
  return cases;
}

Cases HandleCases() {
  const auto open = [](uint32_t flags) {
    return
        [flags](World& world) -> uint32_t { return MDbFieldOpTblOpen(&world.env, world.ref(), Table(world), flags); };
  };
  const auto close = [](World& world) -> uint32_t { return MDbFieldOpTblClose(&world.env, world.ref(), Table(world)); };
  const auto is_opened = [](World& world) -> uint32_t {
    return MDbFieldOpTblIsOpened(&world.env, world.ref(), Table(world));
  };
  const auto defaults = [](World& world) -> uint32_t {
    return MDbFieldOpTblGetDefOptionEx(&world.out.option_ex, 2, 3);
  };
  Cases cases = {
      {"MDbFieldOpTblOpen", "cached", Template::kUsual, OpenVolume, open(MDbFieldOptionsCached)},
      {"MDbFieldOpTblOpen", "without a cache", Template::kUsual, OpenVolume, open(0)},
      {"MDbFieldOpTblOpen", "open", Template::kUsual, OpenAgent, open(0), {}, MDbStatusFailed},
      {"MDbFieldOpTblClose", "closed", Template::kUsual, OpenVolume, close},
      {"MDbFieldOpTblIsOpened", "open", Template::kUsual, OpenAgent, is_opened, {}, 1},
      {"MDbFieldOpTblIsOpened", "closed", Template::kUsual, OpenVolume, is_opened},
      {"MDbFieldOpTblGetDefOptionEx", "at any time", Template::kNone, kNothing, defaults},
      {"MDbFieldOpTblCreateEx", "volume not open", Template::kUsual, kNothing, Create, {}, MDbStatusFailed},
      {"MDbFieldOpTblDelete", "volume not open", Template::kUsual, kNothing, Delete},
      {"MDbFieldOpTblGetCount", "volume not open", Template::kUsual, kNothing, Count, {}, MDbStatusFailed},
  };
  for (FaultCase& fault_case : cases) fault_case.platform = Platform::kUnused;
  cases.push_back({"MDbFieldOpTblClose", "everything cached", Template::kUsual, AgentAndRead, close});
  cases.back().platform = Platform::kInfallible;
  return cases;
}

Cases DefaultCases() {
  const auto defaults = [](World& world) -> uint32_t {
    return MDbRecsetGetDefOptionEx(&world.env, &world.recset, &world.out.option_ex, 2);
  };
  // The default's share depends on the number of fields up to three.
  const auto counted = GoesOn().Outputs(Held::kAfter, {"option_ex=*"});
  Cases cases = {
      {"MDbRecsetGetDefOptionEx",
       "five fields",
       Template::kUsual,
       Direct,
       defaults,
       {{"CeSeekDatabase(*VALUEFIRSTEQUAL*", counted},
        {"CeSeekDatabase(*=0x30001)", counted},
        {"CeSeekDatabase(*=0x30002)", counted},
        {"CeSeekDatabase(*", GoesOn()}}},
      {"MDbRecsetGetDefOptionEx", "not valid", Template::kUsual, OpenAgent, defaults, {}, MDbStatusFailed},
  };
  cases[1].platform = Platform::kUnused;
  return cases;
}

}  // namespace

Cases OptionCases() {
  Cases cases = {
      {"MDbFieldOpTblCreateEx", "the first time", Template::kBare, OpenVolume, Create, CreatingRules()},
      {"MDbFieldOpTblCreateEx", "a second time", Template::kUsual, OpenVolume, Create, RefusedCreationRules(),
       MDbStatusFailed},
      {"MDbFieldOpTblDelete", "five fields", Template::kUsual, OpenVolume, Delete, DeletingRules()},
      {"MDbFieldOpTblDelete", "no fields", Template::kBare, OpenVolume, Delete, {{"CeSeekDatabase(*", GoesOn()}}},
      {"MDbFieldOpTblGetCount", "five fields", Template::kUsual, OpenAgent, Count, CountingRules(5)},
      {"MDbFieldOpTblGetCount", "no fields", Template::kBare, OpenVolume, Count, CountingRules(0)},
  };
  cases[1].onwards = {{"CeSeekDatabase(*", Fails()}};
  for (const auto& more :
       {ReadingCases(), WritingCases(), OrderCases(), SettingOrders(), HandleCases(), DefaultCases()}) {
    cases.insert(cases.end(), more.begin(), more.end());
  }
  return cases;
}

}  // namespace callfaults
