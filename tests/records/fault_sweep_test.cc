// Every exported call on the data table, its records and the deletion log, with the n-th platform call failing.
#include "fault_sweep.h"

#include "record_fixture.h"

namespace {

using enginetest::Effect;
using enginetest::Opened;
using enginetest::Recipe;

class RecordFaultSweep : public enginetest::FaultSweepTest {
 protected:
  // Two live records and one in the log.
  void MakeTemplateWithRecords() {
    Recipe recipe;
    recipe.fields = {{MDbFieldText, u"name"}, {MDbFieldNumber, u"count"}};
    CreateDatabase(recipe);
    OpenDatabase();
    ASSERT_EQ(MDbStatusOk, AddOne(u"oak", u"1"));
    ASSERT_EQ(MDbStatusOk, AddOne(u"elm", u"2"));
    ASSERT_EQ(MDbStatusOk, AddOne(u"ash", u"3"));
    MDbRecset recset;
    MDbRecsetInitialize(&recset);
    ASSERT_EQ(MDbStatusOk, MDbAgentQuery(&env, &recset, nullptr));
    ASSERT_EQ(MDbStatusOk, MDbRecsetDelRec(&env, &recset, 2, 0));
    ASSERT_EQ(MDbStatusOk, MDbRecsetDestroy(&env, &recset));
    ASSERT_EQ(MDbStatusOk, MDbAgentCloseDb(&env));
    std::filesystem::copy_file(path, folder.path() / "template");
  }
  MDbStatus AddOne(const MDbChar* name, const MDbChar* count) {
    const MDbChar* const texts[] = {name, count};
    const MDbRecInfo info = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}};
    return MDbDataTblAddRec(&env, ref(), table(), &info, texts, 2, 1, &number_, &position_);
  }
  MDbDataTbl* table() { return &env.dataTbl; }
  // A call on the first record, opened before and closed after.
  void SweepRecord(const char* name, std::function<MDbStatus()> act) {
    Sweep({name,
           Opened::kAgent,
           Effect::kNone,
           {MDbStatusFailed},
           std::move(act),
           [this] { OpenFirst(); },
           [this] { (void)MDbDataTblCloseRec(&env, ref(), table(), &record_); }});
  }
  void OpenFirst() {
    MDbDataRecInitialize(&record_);
    ASSERT_EQ(MDbStatusOk, MDbDataTblCursSetInx(&env, ref(), table(), 0));
    ASSERT_EQ(MDbStatusOk, MDbDataTblOpenRec(&env, ref(), table(), &record_, nullptr));
  }
  // An object of the catalogue that is not found ends the schema, or is written anew.
  static bool IsLookUp(const seam::Call& call) { return call.text.find("CeSeekDatabase(OBJG_0, VALUE") == 0; }

  uint32_t number_ = 0;
  uint16_t position_ = 0;
  uint8_t byte_ = 0;
  MDbChar text_[16] = {};
  const MDbChar* pointer_ = nullptr;
  MDbRecInfo info_{};
  MDbDataRec record_{};
};

TEST_F(RecordFaultSweep, CreatingTheTables) {
  Recipe recipe;
  recipe.fields = {{MDbFieldText, u"name"}};
  recipe.data_table = false;
  MakeTemplate(recipe);
  Sweep({"MDbDataTblCreate", Opened::kVolume, Effect::kStepwise, {MDbStatusFailed}, [this] {
           return MDbDataTblCreate(&env, ref(), nullptr);
         }});
}

TEST_F(RecordFaultSweep, DeletingTheTables) {
  MakeTemplateWithRecords();
  Sweep({"MDbDataTblDelete", Opened::kVolume, Effect::kStepwise, {MDbStatusFailed}, [this] {
           return MDbDataTblDelete(&env, ref(), nullptr);
         }});
}

TEST_F(RecordFaultSweep, OpeningClosingAndCounting) {
  MakeTemplateWithRecords();
  Sweep({"MDbDataTblClose", Opened::kAgent, Effect::kNone, {MDbStatusFailed}, [this] {
           return MDbDataTblClose(&env, ref(), table());
         }});
  Sweep({"MDbDataTblOpen",
         Opened::kAgent,
         Effect::kNone,
         {MDbStatusFailed},
         [this] { return MDbDataTblOpen(&env, ref(), table(), nullptr); },
         [this] { ASSERT_EQ(MDbStatusOk, MDbDataTblClose(&env, ref(), table())); }});
  Sweep({"MDbDataTblGetRecCount", Opened::kAgent, Effect::kNone, {MDbStatusFailed}, [this] {
           return MDbDataTblGetRecCount(&env, ref(), table(), &number_);
         }});
  Sweep({"MDbDeleteTblGetRecCount", Opened::kAgent, Effect::kNone, {MDbStatusFailed}, [this] {
           return MDbDeleteTblGetRecCount(&env, ref(), table(), &number_);
         }});
  Sweep({"StartCreationSeqCache", Opened::kAgent, Effect::kNone, {MDbStatusFailed}, [this] {
           return StartCreationSeqCache(&env, ref(), table());
         }});
  Sweep({"EndCreationSeqCache",
         Opened::kAgent,
         Effect::kWhole,
         {MDbStatusFailed},
         [this] { return EndCreationSeqCache(&env, ref(), table()); },
         [this] { table()->creationSeqCache = 99; },
         [] {},
         IsLookUp});
}

TEST_F(RecordFaultSweep, CreatingRecords) {
  MakeTemplateWithRecords();
  Sweep({"MDbDataTblNewRec",
         Opened::kAgent,
         Effect::kStepwise,
         {MDbStatusFailed},
         [this] { return MDbDataTblNewRec(&env, ref(), table(), &env.schemaTbl, &number_, &position_); },
         [] {},
         [] {},
         IsLookUp});
  Sweep({"MDbDataTblAddRec",
         Opened::kAgent,
         Effect::kStepwise,
         {MDbStatusFailed},
         [this] { return AddOne(u"fir", u"4"); },
         [] {},
         [] {},
         IsLookUp});
}

TEST_F(RecordFaultSweep, OpeningAndReadingRecords) {
  MakeTemplateWithRecords();
  Sweep({"MDbDataTblOpenRec",
         Opened::kAgent,
         Effect::kNone,
         {MDbStatusFailed},
         [this] { return MDbDataTblOpenRec(&env, ref(), table(), &record_, nullptr); },
         [this] {
           MDbDataRecInitialize(&record_);
           ASSERT_EQ(MDbStatusOk, MDbDataTblCursSetInx(&env, ref(), table(), 0));
         }});
  Sweep({"MDbDeleteTblOpenRec",
         Opened::kAgent,
         Effect::kNone,
         {MDbStatusFailed},
         [this] { return MDbDeleteTblOpenRec(&env, ref(), table(), &record_, 0, nullptr); },
         [this] { MDbDataRecInitialize(&record_); }});
  SweepRecord("MDbDataRecGetFieldPtr",
              [this] { return MDbDataRecGetFieldPtr(&env, ref(), table(), &env.schemaTbl, &record_, 0, &pointer_); });
  SweepRecord("MDbDataRecReadField",
              [this] { return MDbDataRecReadField(&env, ref(), table(), &record_, 0, text_, sizeof text_); });
  SweepRecord("MDbDataRecGetFieldSize",
              [this] { return MDbDataRecGetFieldSize(&env, ref(), table(), &record_, 0, &number_); });
  SweepRecord("MDbDataRecGetState", [this] { return MDbDataRecGetState(&env, ref(), table(), &record_, &byte_); });
  SweepRecord("MDbDataRecGetRecInfo", [this] { return MDbDataRecGetRecInfo(&env, ref(), table(), &record_, &info_); });
}

}  // namespace
