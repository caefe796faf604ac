// The attributes and the value lists.
#include "fault_case.h"

namespace callfaults {
namespace {

constexpr auto kNothing = [](World&) {};

uint32_t CreateAttrs(World& world) {
  const MDbAttrs attrs = enginetest::UsualAttrs();
  return MDbAttrTblCreateEx(&world.env, world.ref(), &attrs, u"Another name");
}
uint32_t DeleteAttrs(World& world) { return MDbAttrTblDelete(&world.env, world.ref()); }
uint32_t ReadAttrs(World& world) {
  return MDbAttrTblReadAttrs(&world.env, world.ref(), &world.env.attrTbl, 0, &world.out.attrs);
}
uint32_t ReadName(World& world) {
  return MDbAttrTblReadDbName(&world.env, world.ref(), &world.env.attrTbl, 0, world.out.text, sizeof world.out.text);
}
uint32_t OpenAttrs(World& world) { return MDbAttrTblOpen(&world.env, world.ref(), &world.env.attrTbl); }
uint32_t CloseAttrs(World& world) { return MDbAttrTblClose(&world.env, world.ref(), &world.env.attrTbl); }
uint32_t AttrsOpened(World& world) { return MDbAttrTblIsOpened(&world.env, world.ref(), &world.env.attrTbl); }

uint32_t CreateLists(World& world) {
  static const MDbChar* const kLists[] = {u"a", u"", u"c"};
  return MDbValListTblCreateEx(&world.env, world.ref(), kLists, 3);
}
uint32_t DeleteLists(World& world) { return MDbValListTblDelete(&world.env, world.ref()); }
uint32_t CountLists(World& world) {
  return MDbValListTblGetCount(&world.env, world.ref(), &world.env.valListTbl, &world.out.count);
}
template <int16_t kIndex>
uint32_t ReadList(World& world) {
  return MDbValListTblRead(&world.env, world.ref(), &world.env.valListTbl, kIndex, world.out.text,
                           sizeof world.out.text);
}
template <int16_t kIndex>
uint32_t ListSize(World& world) {
  return MDbValListTblGetSize(&world.env, world.ref(), &world.env.valListTbl, kIndex, &world.out.number);
}
uint32_t OpenLists(World& world) { return MDbValListTblOpen(&world.env, world.ref(), &world.env.valListTbl); }
uint32_t CloseLists(World& world) { return MDbValListTblClose(&world.env, world.ref(), &world.env.valListTbl); }
uint32_t ListsOpened(World& world) { return MDbValListTblIsOpened(&world.env, world.ref(), &world.env.valListTbl); }

// A volume whose attributes are gone, and their table open.
void WithoutAttributes(World& world) {
  OpenAgent(world);
  ASSERT_EQ(DeleteAttrs(world), MDbStatusOk);
}

Cases SilentCases() {
  Cases cases = {
      {"MDbAttrTblOpen", "closed", Template::kUsual, OpenVolume, OpenAttrs},
      {"MDbAttrTblOpen", "open", Template::kUsual, OpenAgent, OpenAttrs, {}, MDbStatusFailed},
      {"MDbAttrTblClose", "open", Template::kUsual, OpenAgent, CloseAttrs},
      {"MDbAttrTblClose", "closed", Template::kUsual, OpenVolume, CloseAttrs},
      {"MDbAttrTblIsOpened", "open", Template::kUsual, OpenAgent, AttrsOpened, {}, 1},
      {"MDbAttrTblIsOpened", "closed", Template::kUsual, OpenVolume, AttrsOpened},
      {"MDbAttrTblReadAttrs", "table not open", Template::kUsual, OpenVolume, ReadAttrs, {}, MDbStatusFailed},
      {"MDbAttrTblReadDbName", "table not open", Template::kUsual, OpenVolume, ReadName, {}, MDbStatusFailed},
      {"MDbAttrTblCreateEx", "volume not open", Template::kUsual, kNothing, CreateAttrs, {}, MDbStatusFailed},
      {"MDbAttrTblDelete", "volume not open", Template::kUsual, kNothing, DeleteAttrs},
      {"MDbValListTblOpen", "closed", Template::kUsual, OpenVolume, OpenLists},
      {"MDbValListTblOpen", "open", Template::kUsual, OpenAgent, OpenLists, {}, MDbStatusFailed},
      {"MDbValListTblClose", "open", Template::kUsual, OpenAgent, CloseLists},
      {"MDbValListTblClose", "closed", Template::kUsual, OpenVolume, CloseLists},
      {"MDbValListTblIsOpened", "open", Template::kUsual, OpenAgent, ListsOpened, {}, 1},
      {"MDbValListTblIsOpened", "closed", Template::kUsual, OpenVolume, ListsOpened},
      {"MDbValListTblRead", "table not open", Template::kUsual, OpenVolume, ReadList<0>, {}, MDbStatusFailed},
      {"MDbValListTblGetSize", "table not open", Template::kUsual, OpenVolume, ListSize<0>, {}, MDbStatusFailed},
      {"MDbValListTblGetCount", "volume not open", Template::kUsual, kNothing, CountLists, {}, MDbStatusFailed},
      {"MDbValListTblCreateEx", "volume not open", Template::kUsual, kNothing, CreateLists, {}, MDbStatusFailed},
      {"MDbValListTblDelete", "volume not open", Template::kUsual, kNothing, DeleteLists},
  };
  for (FaultCase& fault_case : cases) fault_case.platform = Platform::kUnused;
  return cases;
}

}  // namespace

Cases AttributeAndListCases() {
  Cases cases = {
      {"MDbAttrTblCreateEx", "the first time", Template::kHeaderOnly, OpenVolume, CreateAttrs, CreatingRules()},
      {"MDbAttrTblCreateEx", "a second time", Template::kUsual, OpenVolume, CreateAttrs, RefusedCreationRules(),
       MDbStatusFailed},
      {"MDbAttrTblDelete", "attributes", Template::kUsual, OpenVolume, DeleteAttrs, DeletingRules()},
      {"MDbAttrTblDelete",
       "no attributes",
       Template::kHeaderOnly,
       OpenVolume,
       DeleteAttrs,
       {{"CeSeekDatabase(*", GoesOn()}}},
      {"MDbAttrTblReadAttrs", "attributes", Template::kUsual, OpenAgent, ReadAttrs, LenientReads()},
      {"MDbAttrTblReadAttrs", "no attributes", Template::kUsual, WithoutAttributes, ReadAttrs, {}, MDbStatusFailed},
      {"MDbAttrTblReadDbName", "a name", Template::kUsual, OpenAgent, ReadName, LenientReads()},
      {"MDbAttrTblReadDbName", "a long name", Template::kLong, OpenAgent, ReadName, LenientReads()},
      {"MDbAttrTblReadDbName", "no attributes", Template::kUsual, WithoutAttributes, ReadName, {}, MDbStatusFailed},
      {"MDbValListTblCreateEx", "the first time", Template::kBare, OpenVolume, CreateLists, CreatingRules()},
      {"MDbValListTblCreateEx", "a second time", Template::kUsual, OpenVolume, CreateLists, RefusedCreationRules(),
       MDbStatusFailed},
      {"MDbValListTblDelete", "two lists", Template::kUsual, OpenVolume, DeleteLists, DeletingRules()},
      {"MDbValListTblDelete", "no lists", Template::kBare, OpenVolume, DeleteLists, {{"CeSeekDatabase(*", GoesOn()}}},
      {"MDbValListTblGetCount", "two lists", Template::kUsual, OpenAgent, CountLists, CountingRules(2)},
      {"MDbValListTblGetCount", "no lists", Template::kBare, OpenVolume, CountLists, CountingRules(0)},
      {"MDbValListTblRead", "a list", Template::kUsual, OpenAgent, ReadList<0>, LenientReads()},
      {"MDbValListTblRead", "an empty list", Template::kUsual, OpenAgent, ReadList<1>, LenientReads()},
      {"MDbValListTblRead", "a long list", Template::kLong, OpenAgent, ReadList<0>, LenientReads()},
      {"MDbValListTblRead", "no such list", Template::kUsual, OpenAgent, ReadList<2>, {}, MDbStatusFailed},
      {"MDbValListTblGetSize", "a list", Template::kUsual, OpenAgent, ListSize<0>},
      {"MDbValListTblGetSize", "a long list", Template::kLong, OpenAgent, ListSize<0>},
      {"MDbValListTblGetSize", "no such list", Template::kUsual, OpenAgent, ListSize<2>, {}, MDbStatusFailed},
  };
  for (FaultCase& fault_case : cases) {
    if (std::string(fault_case.state) == "a second time") fault_case.onwards = {{"CeSeekDatabase(*", Fails()}};
  }
  const Cases more = SilentCases();
  cases.insert(cases.end(), more.begin(), more.end());
  return cases;
}

}  // namespace callfaults
