// The schema table: field definitions and names.
#include "fault_case.h"

namespace callfaults {
namespace {

const std::vector<enginetest::Field>& ThreeFields() {
  static const std::vector<enginetest::Field> fields = {
      {MDbFieldText, u"one"}, {MDbFieldNumber, u"two"}, {MDbFieldDate, u"three"}};
  return fields;
}

uint32_t Create(World& world) {
  const auto definitions = enginetest::Definitions(ThreeFields());
  const auto names = enginetest::Pointers(
      ThreeFields(), [](const enginetest::Field& field) -> const auto& { return field.name; });
  return MDbSchemaTblCreateEx(&world.env, world.ref(), definitions.data(), names.data(), 3);
}
uint32_t Delete(World& world) { return MDbSchemaTblDelete(&world.env, world.ref()); }
uint32_t Count(World& world) {
  return MDbSchemaTblGetCount(&world.env, world.ref(), &world.env.schemaTbl, &world.out.count);
}
uint32_t Read(World& world, int16_t index) {
  return MDbSchemaTblRead(&world.env, world.ref(), &world.env.schemaTbl, index, &world.out.info, world.out.text,
                          sizeof world.out.text);
}
uint32_t ReadInfo(World& world, int16_t index) {
  return MDbSchemaTblReadFldInfo(&world.env, world.ref(), &world.env.schemaTbl, index, &world.out.info);
}
uint32_t ReadType(World& world, int16_t index) {
  return MDbSchemaTblReadFldType(&world.env, world.ref(), &world.env.schemaTbl, index, &world.out.byte);
}
uint32_t ReadName(World& world, int16_t index) {
  return MDbSchemaTblReadFldName(&world.env, world.ref(), &world.env.schemaTbl, index, world.out.text,
                                 sizeof world.out.text);
}
uint32_t NameSize(World& world, int16_t index) {
  return MDbSchemaTblGetNameSize(&world.env, world.ref(), &world.env.schemaTbl, index, &world.out.number);
}

struct ReadCall {
  const char* name;
  uint32_t (*read)(World&, int16_t);
  bool of_text;  // a size query has no second read
};
constexpr ReadCall kReads[] = {{"MDbSchemaTblRead", Read, true},
                               {"MDbSchemaTblReadFldInfo", ReadInfo, true},
                               {"MDbSchemaTblReadFldType", ReadType, true},
                               {"MDbSchemaTblReadFldName", ReadName, true},
                               {"MDbSchemaTblGetNameSize", NameSize, false}};

Cases ReadCases() {
  Cases cases;
  for (const ReadCall& call : kReads) {
    const auto at = [&call](int16_t index) { return [&call, index](World& world) { return call.read(world, index); }; };
    cases.push_back(
        {call.name, "a field", Template::kUsual, OpenAgent, at(1), call.of_text ? LenientReads() : Rules()});
    cases.push_back(
        {call.name, "the last field", Template::kWide, OpenAgent, at(11), call.of_text ? LenientReads() : Rules()});
    cases.push_back({call.name, "no such field", Template::kUsual, OpenAgent, at(5), {}, MDbStatusFailed});
    cases.push_back({call.name, "table not open", Template::kUsual, OpenVolume, at(1), {}, MDbStatusFailed});
    cases.back().platform = Platform::kUnused;
  }
  return cases;
}

Cases HandleCases() {
  const auto open = [](World& world) -> uint32_t {
    return MDbSchemaTblOpen(&world.env, world.ref(), &world.env.schemaTbl);
  };
  const auto close = [](World& world) -> uint32_t {
    return MDbSchemaTblClose(&world.env, world.ref(), &world.env.schemaTbl);
  };
  const auto is_opened = [](World& world) -> uint32_t {
    return MDbSchemaTblIsOpened(&world.env, world.ref(), &world.env.schemaTbl);
  };
  Cases cases = {
      {"MDbSchemaTblOpen", "closed", Template::kUsual, OpenVolume, open},
      {"MDbSchemaTblOpen", "open", Template::kUsual, OpenAgent, open, {}, MDbStatusFailed},
      {"MDbSchemaTblClose", "open", Template::kUsual, OpenAgent, close},
      {"MDbSchemaTblClose", "closed", Template::kUsual, OpenVolume, close},
      {"MDbSchemaTblIsOpened", "open", Template::kUsual, OpenAgent, is_opened, {}, 1},
      {"MDbSchemaTblIsOpened", "closed", Template::kUsual, OpenVolume, is_opened},
      {"MDbSchemaTblCreateEx", "volume not open", Template::kUsual, [](World&) {}, Create, {}, MDbStatusFailed},
      {"MDbSchemaTblDelete", "volume not open", Template::kUsual, [](World&) {}, Delete},
      {"MDbSchemaTblGetCount", "volume not open", Template::kUsual, [](World&) {}, Count, {}, MDbStatusFailed},
  };
  for (FaultCase& fault_case : cases) fault_case.platform = Platform::kUnused;
  return cases;
}

}  // namespace

Rules CountingRules(int objects) {
  // A look-up that fails ends the count.
  Rules rules = {{"CeSeekDatabase(*VALUEFIRSTEQUAL*", GoesOn().Outputs(Held::kAfter, {"count=0"})}};
  for (int i = 1; i <= objects; ++i) {
    rules.push_back(
        {"CeSeekDatabase(*VALUENEXTEQUAL*", i - 1, GoesOn().Outputs(Held::kAfter, {"count=" + std::to_string(i)})});
  }
  return rules;
}

Rules CreatingRules() {
  // What is looked for is not there; what was written before a failure stays and bars a second creation.
  return {{"CeSeekDatabase(*", GoesOn()},
          {"CeWriteRecordProps(*", 0, Fails()},
          {"CeWriteRecordProps(*", Fails().Volume(Held::kBetween).AgainAnswers(MDbStatusFailed)}};
}

Rules DeletingRules() {
  // A look-up that fails ends the deletion; the objects before a failure are gone, and those behind it are not found
  // any more by the next deletion.
  return {{"CeSeekDatabase(*", 0, Lenient()},
          {"CeSeekDatabase(*", GoesOn().Volume(Held::kBetween)},
          {"CeDeleteRecord(*", 0, Fails()},
          {"CeDeleteRecord(*", Fails().Volume(Held::kBetween).AgainAnswers(MDbStatusOk)}};
}

Rules RefusedCreationRules() {
  // A first object that is taken for missing lets the creation write over what there is.
  return {{"CeSeekDatabase(*", 0, Fails(MDbStatusOk).Volume(Held::kAnything).AgainAnswers(MDbStatusFailed)}};
}

Cases SchemaCases() {
  Cases cases = {
      {"MDbSchemaTblCreateEx", "the first time", Template::kBare, OpenVolume, Create, CreatingRules()},
      {"MDbSchemaTblCreateEx", "a second time", Template::kUsual, OpenVolume, Create, RefusedCreationRules(),
       MDbStatusFailed},
      {"MDbSchemaTblCreateEx",
       "without fields",
       Template::kBare,
       OpenVolume,
       [](World& world) -> uint32_t { return MDbSchemaTblCreateEx(&world.env, world.ref(), nullptr, nullptr, 0); },
       {{"CeSeekDatabase(*", GoesOn()}}},
      {"MDbSchemaTblDelete", "five fields", Template::kUsual, OpenVolume, Delete, DeletingRules()},
      {"MDbSchemaTblDelete", "no fields", Template::kBare, OpenVolume, Delete, {{"CeSeekDatabase(*", GoesOn()}}},
      {"MDbSchemaTblGetCount", "five fields", Template::kUsual, OpenAgent, Count, CountingRules(5)},
      {"MDbSchemaTblGetCount", "no fields", Template::kBare, OpenVolume, Count, CountingRules(0)},
  };
  cases[1].onwards = {{"CeSeekDatabase(*", Fails()}};
  for (const auto& more : {ReadCases(), HandleCases()}) cases.insert(cases.end(), more.begin(), more.end());
  return cases;
}

}  // namespace callfaults
