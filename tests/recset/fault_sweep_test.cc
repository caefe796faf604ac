// Every exported call on record sets, with the n-th platform call failing. After each run the record set is destroyed,
// and what a failure left of its view and of the data table's order is removed as the next query and sort would do.
#include "fault_sweep.h"

#include "record_fixture.h"

namespace {

using enginetest::Effect;
using enginetest::Opened;
using enginetest::Recipe;

class RecordSetFaultSweep : public enginetest::FaultSweepTest {
 protected:
  RecordSetFaultSweep() {
    Recipe recipe;
    recipe.fields = {{MDbFieldText, u"name"}, {MDbFieldNumber, u"count"}, {MDbFieldDate, u"day"}};
    CreateDatabase(recipe);
    OpenDatabase();
    Add(u"oak", u"2");
    Add(u"elm", u"1");
    EXPECT_EQ(MDbStatusOk, MDbAgentCloseDb(&env));
    std::filesystem::copy_file(path, folder.path() / "template");
  }

  void Add(const MDbChar* name, const MDbChar* count) {
    const MDbChar* const texts[] = {name, count, u"1/2/2024"};
    const MDbRecInfo info = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}};
    EXPECT_EQ(MDbStatusOk, MDbDataTblAddRec(&env, ref(), &env.dataTbl, &info, texts, 3, 1, nullptr, nullptr));
  }

  std::function<void()> Fresh() {
    return [this] { MDbRecsetInitialize(&recset_); };
  }
  std::function<void()> Direct() {
    return [this] {
      MDbRecsetInitialize(&recset_);
      ASSERT_EQ(MDbStatusOk, MDbAgentQuery(&env, &recset_, nullptr));
      ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset_, 0));
    };
  }
  std::function<void()> Filtered() {
    return [this] {
      MDbRecsetInitialize(&recset_);
      ASSERT_EQ(MDbStatusOk, MDbAgentQuery(&env, &recset_, &kOaks));
      ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset_, 0));
    };
  }
  std::function<void()> FilteredWithRecordOpen() {
    return [this] {
      Filtered()();
      ASSERT_EQ(MDbStatusOk, MDbRecsetOpenRec(&env, &recset_));
    };
  }

  void SweepSet(const char* name, Effect effect, std::function<void()> before, std::function<MDbStatus()> act,
                std::set<uint32_t> failures = {MDbStatusFailed}) {
    Sweep({name, Opened::kAgent, effect, std::move(failures), std::move(act), std::move(before), [this] { CleanUp(); },
           IsLookUp});
  }

  // An object of the catalogue that is not found ends the schema, or is written anew.
  static bool IsLookUp(const seam::Call& call) { return call.text.find("CeSeekDatabase(OBJG_0, VALUE") == 0; }

  // Closing the volume closes what a failure left open in it; a view and an order that it left are taken away then.
  void CleanUp() {
    (void)MDbRecsetDestroy(&env, &recset_);
    CloseLostSessions();
    (void)MDbAgentCloseDb(&env);
    const seam::Unseen unseen;
    CEGUID volume{};
    ASSERT_TRUE(CeMountDBVol(&volume, path.c_str(), OPEN_EXISTING));
    DeleteView(volume);
    RestoreOrder(volume);
    ASSERT_TRUE(CeUnmountDBVol(&volume));
  }
  // A session whose closing was made to fail is still open; sessions are numbered one after the other.
  static void CloseLostSessions() {
    uint32_t last = 0;
    ASSERT_EQ(0, FWOpenSession(u"", &last));
    for (uint32_t session = last; session > 0 && session + 4 > last; --session) (void)FWCloseSession(session);
  }
  static CEOID OidOf(const CEGUID& volume, const WCHAR* name) {
    CEOID oid = 0;
    const HANDLE handle = CeOpenDatabaseEx(&volume, &oid, name, 0, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return 0;
    CloseHandle(handle);
    return oid;
  }
  static void DeleteView(const CEGUID& volume) {
    const CEOID oid = OidOf(volume, u"VTBL_0");
    if (oid != 0) {
      EXPECT_TRUE(CeDeleteDatabaseEx(&volume, oid));
    }
  }
  // The order, and the sort values, which every sort makes anew.
  static void RestoreOrder(const CEGUID& volume) {
    CEDBASEINFO info{};
    info.dwFlags = CEDB_VALIDSORTSPEC;
    info.wNumSortOrder = 1;
    info.rgSortSpecs[0].propid = 0x40013;
    const CEOID oid = OidOf(volume, u"DATA_0");
    if (oid != 0) {
      EXPECT_TRUE(CeSetDatabaseInfoEx(&volume, oid, &info));
      ZeroSortValues(volume);
    }
  }

  static void ZeroSortValues(const CEGUID& volume) {
    CEOID oid = 0;
    const HANDLE handle = CeOpenDatabaseEx(&volume, &oid, u"DATA_0", 0x40013, 0, nullptr);
    CEPROPVAL zero{};
    zero.propid = 0x30003;
    for (DWORD_PTR position = 0;; ++position) {
      const CEOID record = CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, position, nullptr);
      if (record == 0) break;
      EXPECT_EQ(record, CeWriteRecordProps(handle, record, 1, &zero));
    }
    EXPECT_TRUE(CloseHandle(handle));
  }

  static constexpr MDbQuery kOaks = {0, MDbQueryByWords, u"oak"};
  MDbRecset recset_{};
  uint32_t number_ = 0;
  uint16_t half_ = 0;
  uint8_t byte_ = 0;
  MDbChar text_[32] = {};
  const MDbChar* pointer_ = nullptr;
  uint16_t orders_[3] = {};
  MDbFldOption option_{};
  MDbFldOptionEx option_ex_{};
  DateRec date_{};
  TimeRec time_{};
};

TEST_F(RecordSetFaultSweep, Queries) {
  SweepSet("MDbAgentQuery by words", Effect::kNone, Fresh(), [this] { return MDbAgentQuery(&env, &recset_, &kOaks); });
  SweepSet("MDbAgentQuery by value", Effect::kNone, Fresh(), [this] {
    const MDbQuery query = {1, MDbQueryByValue, u"2"};
    return MDbAgentQuery(&env, &recset_, &query);
  });
  SweepSet("MDbAgentQuery by value without one", Effect::kNone, Fresh(),
           [this] {
             const MDbQuery query = {1, MDbQueryByValue, u"none"};
             return MDbAgentQuery(&env, &recset_, &query);
           },
           {MDbStatusFailed, MDbStatusEmptyNumber});
}

TEST_F(RecordSetFaultSweep, LifeAndCursor) {
  SweepSet("MDbRecsetDestroy", Effect::kNone, FilteredWithRecordOpen(),
           [this] { return MDbRecsetDestroy(&env, &recset_); });
  SweepSet("MDbRecsetGetRecCount", Effect::kNone, Filtered(),
           [this] { return MDbRecsetGetRecCount(&env, &recset_, &number_); });
  SweepSet("MDbRecsetOpenRec in view mode", Effect::kNone, Filtered(),
           [this] { return MDbRecsetOpenRec(&env, &recset_); });
  SweepSet("MDbRecsetOpenRec in direct mode", Effect::kNone, Direct(),
           [this] { return MDbRecsetOpenRec(&env, &recset_); });
}

TEST_F(RecordSetFaultSweep, ASortOnText) {
  SweepSet("MDbRecsetSort", Effect::kNone, Filtered(),
           [this] { return MDbRecsetSort(&env, &recset_, 0, MDbSortDescending); });
}

TEST_F(RecordSetFaultSweep, ASortOnANumber) {
  // A schema whose first field is not found has none, and then there is no field 1.
  SweepSet("MDbRecsetSort", Effect::kNone, Direct(), [this] { return MDbRecsetSort(&env, &recset_, 1, 0); },
           {MDbStatusFailed, MDbStatusFieldOutOfRange});
}

TEST_F(RecordSetFaultSweep, Fields) {
  SweepSet("MDbRecsetGetFldCount", Effect::kNone, Direct(),
           [this] { return MDbRecsetGetFldCount(&env, &recset_, &half_); });
  SweepSet("MDbRecsetGetFldType", Effect::kNone, Direct(),
           [this] { return MDbRecsetGetFldType(&env, &recset_, 1, &byte_); });
  SweepSet("MDbRecsetGetFldName", Effect::kNone, Direct(),
           [this] { return MDbRecsetGetFldName(&env, &recset_, 1, text_, sizeof text_); });
  SweepSet("MDbRecsetGetFldNameSize", Effect::kNone, Direct(),
           [this] { return MDbRecsetGetFldNameSize(&env, &recset_, 1, &number_); });
  SweepSet("MDbRecsetGetFieldMaxSize", Effect::kNone, Direct(),
           [this] { return MDbRecsetGetFieldMaxSize(&env, &recset_, 0, &number_); });
  SweepSet("MDbRecsetGetFieldPtr", Effect::kNone, FilteredWithRecordOpen(),
           [this] { return MDbRecsetGetFieldPtr(&env, &recset_, 0, &pointer_); });
  SweepSet("MDbRecsetGetField", Effect::kNone, FilteredWithRecordOpen(),
           [this] { return MDbRecsetGetField(&env, &recset_, 0, text_, sizeof text_); });
  SweepSet("MDbRecsetGetFieldSize", Effect::kNone, FilteredWithRecordOpen(),
           [this] { return MDbRecsetGetFieldSize(&env, &recset_, 0, &number_); });
  SweepSet("MDbRecsetSetField", Effect::kWhole, FilteredWithRecordOpen(),
           [this] { return MDbRecsetSetField(&env, &recset_, 0, u"ash"); });
}

TEST_F(RecordSetFaultSweep, AddingRecords) {
  SweepSet("MDbRecsetNewRec", Effect::kStepwise, Filtered(),
           [this] { return MDbRecsetNewRec(&env, &recset_, &half_); });
  SweepSet("MDBRecsetDupRec", Effect::kStepwise, Filtered(),
           [this] { return MDBRecsetDupRec(&env, &recset_, 0, &half_); });
}

TEST_F(RecordSetFaultSweep, DeletingRecords) {
  SweepSet("MDbRecsetDelRec in view mode", Effect::kStepwise, Filtered(),
           [this] { return MDbRecsetDelRec(&env, &recset_, 0, 0); });
  SweepSet("MDbRecsetDelRec in direct mode", Effect::kStepwise, Direct(),
           [this] { return MDbRecsetDelRec(&env, &recset_, 0, 1); });
  SweepSet("MDbRecsetDelAllRec in view mode", Effect::kStepwise, Filtered(),
           [this] { return MDbRecsetDelAllRec(&env, &recset_, 1); });
  const auto with_one_record = [this] {
    Direct()();
    ASSERT_EQ(MDbStatusOk, MDbRecsetDelRec(&env, &recset_, 1, 1));
  };
  SweepSet("MDbRecsetDelAllRec in direct mode", Effect::kStepwise, with_one_record,
           [this] { return MDbRecsetDelAllRec(&env, &recset_, 0); });
}

// Deleting all at once takes the live records' database away and makes it anew: a failure in between leaves none, and
// nothing else may happen to the file.
TEST_F(RecordSetFaultSweep, DeletingAllAtOnceLeavesAllNoneOrNoTable) {
  for (size_t n = 0;; ++n) {
    SCOPED_TRACE("platform call " + std::to_string(n));
    std::filesystem::copy_file(folder.path() / "template", path, std::filesystem::copy_options::overwrite_existing);
    OpenDatabase();
    Direct()();
    bool happened = false;
    {
      seam::PlatformSeam seam;
      seam.FailAny(n);
      const MDbStatus status = MDbRecsetDelAllRec(&env, &recset_, 1);
      happened = seam.FaultHappened();
      EXPECT_TRUE(status == MDbStatusOk || (happened && status == MDbStatusFailed)) << status;
    }
    (void)MDbRecsetDestroy(&env, &recset_);
    (void)MDbAgentCloseDb(&env);
    EXPECT_EQ(0u, seam::LiveMounts());
    MDbEnvInitialize(&env);
    ASSERT_EQ(MDbStatusOk, MDbInit(&env, nullptr, 0));
    ASSERT_EQ(MDbStatusOk, MDbOpen(&env, path.c_str(), ref()));
    const size_t records = seam::RecordsOf(ref()->volume, u"DATA_0").size();
    EXPECT_TRUE(records == 2 || records == 0) << records;
    ASSERT_EQ(MDbStatusOk, MDbClose(&env, ref()));
    if (!happened) break;
  }
}

TEST_F(RecordSetFaultSweep, Options) {
  const auto fresh_option = [this] {
    Direct()();
    ASSERT_EQ(MDbStatusOk, MDbRecsetGetFldOption(&env, &recset_, 1, &option_));
    option_.bytes[0] = 99;
    ASSERT_EQ(MDbStatusOk, MDbRecsetGetFldOptionEx(&env, &recset_, 1, &option_ex_));
    option_ex_.setting2 = 98;
  };
  SweepSet("MDbRecsetGetFldOption", Effect::kNone, Direct(),
           [this] { return MDbRecsetGetFldOption(&env, &recset_, 1, &option_); });
  SweepSet("MDbRecsetGetFldOptionEx", Effect::kNone, Direct(),
           [this] { return MDbRecsetGetFldOptionEx(&env, &recset_, 1, &option_ex_); });
  SweepSet("MDbRecsetSetFldOption", Effect::kWhole, fresh_option,
           [this] { return MDbRecsetSetFldOption(&env, &recset_, 1, &option_); });
  SweepSet("MDbRecsetSetFldOptionEx", Effect::kWhole, fresh_option,
           [this] { return MDbRecsetSetFldOptionEx(&env, &recset_, 1, &option_ex_); });
  SweepSet("MDbRecsetGetDefOptionEx", Effect::kNone, Direct(),
           [this] { return MDbRecsetGetDefOptionEx(&env, &recset_, &option_ex_, 1); });
  SweepSet("MDbRecsetSetDisplayOrders", Effect::kStepwise, Direct(), [this] {
    const uint16_t orders[] = {2, 1, 0};
    return MDbRecsetSetDisplayOrders(&env, &recset_, orders);
  });
  SweepSet("MDbRecsetGetDisplayOrders", Effect::kNone, Direct(),
           [this] { return MDbRecsetGetDisplayOrders(&env, &recset_, orders_, 3); });
}

TEST_F(RecordSetFaultSweep, Conversions) {
  SweepSet("MDbRecsetDateStrToDateRec", Effect::kNone, Fresh(),
           [this] { return MDbRecsetDateStrToDateRec(&env, u"1/2/2024", &date_, 0, nullptr); },
           {MDbStatusFailed, MDbStatusBadDateText});
  SweepSet("MDbRecsetTimeStrToTRec", Effect::kNone, Fresh(),
           [this] { return MDbRecsetTimeStrToTRec(&env, u"1:30", &time_, 1, nullptr, nullptr); },
           {MDbStatusFailed, MDbStatusBadTimeText});
  SweepSet("MDbRecsetDRecToDateStr", Effect::kNone, Fresh(),
           [this] { return MDbRecsetDRecToDateStr(&env, &date_, text_); });
  SweepSet("MDbRecsetTRecToTimeStr", Effect::kNone, Fresh(),
           [this] { return MDbRecsetTRecToTimeStr(&env, &time_, text_); });
}

}  // namespace
