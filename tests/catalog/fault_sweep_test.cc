// Every exported call on the tables inside the catalogue, with the n-th platform call failing.
#include "fault_sweep.h"

namespace {

using enginetest::Effect;
using enginetest::Opened;
using enginetest::Recipe;

const std::set<uint32_t> kFailed = {MDbStatusFailed};

class CatalogueFaultSweep : public enginetest::FaultSweepTest {
 protected:
  static Recipe ThreeFields() {
    Recipe recipe;
    recipe.fields = {{MDbFieldText, u"Name"}, {MDbFieldDate, u"Born"}, {MDbFieldNumber, u"Size"}};
    recipe.value_lists = {u"red\ngreen", u"", u"one"};
    return recipe;
  }
  // A file with nothing in it but what tells that it is one of ours.
  static Recipe Bare() {
    Recipe recipe;
    recipe.value_lists = {};
    recipe.data_table = false;
    recipe.mark = false;
    return recipe;
  }
  void SweepRead(const char* name, std::function<MDbStatus()> act) {
    Sweep({name, Opened::kAgent, Effect::kNone, kFailed, std::move(act)});
  }

  MDbFldInfo info;
  MDbChar text[80];
  uint8_t type;
  uint32_t size;
  int16_t count;
  MDbAttrs attrs;
  MDbFldOption option;
  MDbFldOptionEx option_ex;
  int16_t orders[10];
};

TEST_F(CatalogueFaultSweep, ReadingTheSchema) {
  MakeTemplate(ThreeFields());
  MDbSchemaTbl* table = &env.schemaTbl;
  SweepRead("GetCount", [=, this] { return MDbSchemaTblGetCount(&env, ref(), table, &count); });
  SweepRead("Read", [=, this] { return MDbSchemaTblRead(&env, ref(), table, 1, &info, text, sizeof text); });
  SweepRead("ReadFldInfo", [=, this] { return MDbSchemaTblReadFldInfo(&env, ref(), table, 1, &info); });
  SweepRead("ReadFldType", [=, this] { return MDbSchemaTblReadFldType(&env, ref(), table, 1, &type); });
  SweepRead("ReadFldName", [=, this] { return MDbSchemaTblReadFldName(&env, ref(), table, 1, text, sizeof text); });
  SweepRead("GetNameSize", [=, this] { return MDbSchemaTblGetNameSize(&env, ref(), table, 1, &size); });
}

TEST_F(CatalogueFaultSweep, ReadingAttributesAndValueLists) {
  MakeTemplate(ThreeFields());
  SweepRead("ReadAttrs", [this] { return MDbAttrTblReadAttrs(&env, ref(), &env.attrTbl, 0, &attrs); });
  SweepRead("ReadDbName", [this] { return MDbAttrTblReadDbName(&env, ref(), &env.attrTbl, 0, text, sizeof text); });
  SweepRead("Read", [this] { return MDbValListTblRead(&env, ref(), &env.valListTbl, 0, text, sizeof text); });
  SweepRead("GetSize", [this] { return MDbValListTblGetSize(&env, ref(), &env.valListTbl, 0, &size); });
  SweepRead("GetCount", [this] { return MDbValListTblGetCount(&env, ref(), &env.valListTbl, &count); });
}

TEST_F(CatalogueFaultSweep, ReadingFieldOptionsThroughTheCache) {
  MakeTemplate(ThreeFields());
  MDbFieldOpTbl* table = &env.fieldOpTbl;
  SweepRead("ReadOption", [=, this] { return MDbFieldOpTblReadOption(&env, ref(), table, 1, &option); });
  SweepRead("ReadOptionEx", [=, this] { return MDbFieldOpTblReadOptionEx(&env, ref(), table, 1, &option_ex); });
  SweepRead("GetCount", [=, this] { return MDbFieldOpTblGetCount(&env, ref(), table, &count); });
  SweepRead("GetDisplayOrders", [=, this] { return MDbFieldOpTblGetDisplayOrders(&env, ref(), table, orders, 5); });
}

TEST_F(CatalogueFaultSweep, ReadingFieldOptionsWithoutTheCache) {
  MakeTemplate(ThreeFields());
  MDbFieldOpTbl* table = &env.fieldOpTbl;
  const auto open = [=, this] { ASSERT_EQ(MDbFieldOpTblOpen(&env, ref(), table, 0), MDbStatusOk); };
  const auto sweep = [=, this](const char* name, std::function<MDbStatus()> act) {
    Sweep({name, Opened::kVolume, Effect::kNone, kFailed, std::move(act), open});
  };
  sweep("ReadOption", [=, this] { return MDbFieldOpTblReadOption(&env, ref(), table, 1, &option); });
  sweep("ReadOptionEx", [=, this] { return MDbFieldOpTblReadOptionEx(&env, ref(), table, 1, &option_ex); });
  sweep("GetDisplayOrders", [=, this] { return MDbFieldOpTblGetDisplayOrders(&env, ref(), table, orders, 5); });
}

TEST_F(CatalogueFaultSweep, WritingFieldOptions) {
  MakeTemplate(ThreeFields());
  MDbFieldOpTbl* table = &env.fieldOpTbl;
  option = {{9, 9, 9, 9, 9, 9}};
  option_ex = {9, 8, 7, {6, 5, 4}, 3, 2, 1};
  const auto read = [=, this] {
    MDbFldOption ignored;
    ASSERT_EQ(MDbFieldOpTblReadOption(&env, ref(), table, 1, &ignored), MDbStatusOk);
  };
  const auto open = [=, this] { ASSERT_EQ(MDbFieldOpTblOpen(&env, ref(), table, 0), MDbStatusOk); };
  const auto write = [=, this] { return MDbFieldOpTblWriteOption(&env, ref(), table, 1, &option); };
  const auto write_ex = [=, this] { return MDbFieldOpTblWriteOptionEx(&env, ref(), table, 1, &option_ex); };
  Sweep({"WriteOption, cached", Opened::kAgent, Effect::kWhole, kFailed, write, read});
  Sweep({"WriteOptionEx, cached", Opened::kAgent, Effect::kWhole, kFailed, write_ex, read});
  Sweep({"WriteOption", Opened::kVolume, Effect::kWhole, kFailed, write, open});
  Sweep({"WriteOptionEx", Opened::kVolume, Effect::kWhole, kFailed, write_ex, open});
}

TEST_F(CatalogueFaultSweep, Creating) {
  MakeTemplate(Bare());
  const std::vector<enginetest::Field> fields = ThreeFields().fields;
  const auto definitions = enginetest::Definitions(fields);
  const auto names = enginetest::Pointers(
      fields, [](const enginetest::Field& field) -> const auto& { return field.name; });
  const auto pairs = enginetest::OptionPairs(3);
  const MDbChar* const lists[] = {u"a", u"", u"c"};
  const auto sweep = [this](const char* name, std::function<MDbStatus()> act) {
    Sweep({name, Opened::kVolume, Effect::kStepwise, kFailed, std::move(act)});
  };
  sweep("schema", [&] { return MDbSchemaTblCreateEx(&env, ref(), definitions.data(), names.data(), 3); });
  sweep("field options", [&] { return MDbFieldOpTblCreateEx(&env, ref(), pairs.data(), 3); });
  sweep("value lists", [&] { return MDbValListTblCreateEx(&env, ref(), lists, 3); });
}

TEST_F(CatalogueFaultSweep, CreatingAttributes) {
  MakeTemplate(Bare());
  attrs = enginetest::UsualAttrs();
  const auto remove = [this] { ASSERT_EQ(MDbAttrTblDelete(&env, ref()), MDbStatusOk); };
  Sweep({"attributes", Opened::kVolume, Effect::kStepwise, kFailed,
         [&] { return MDbAttrTblCreateEx(&env, ref(), &attrs, u"Another name"); }, remove});
}

TEST_F(CatalogueFaultSweep, Deleting) {
  MakeTemplate(ThreeFields());
  const auto sweep = [this](const char* name, std::function<MDbStatus()> act) {
    Sweep({name, Opened::kVolume, Effect::kStepwise, kFailed, std::move(act)});
  };
  sweep("schema", [this] { return MDbSchemaTblDelete(&env, ref()); });
  sweep("field options", [this] { return MDbFieldOpTblDelete(&env, ref()); });
  sweep("value lists", [this] { return MDbValListTblDelete(&env, ref()); });
  sweep("attributes", [this] { return MDbAttrTblDelete(&env, ref()); });
}

}  // namespace
