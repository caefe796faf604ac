// Sorting: the orders that come out by type and direction, what is kept, what the platform is told, what failures
// leave.
#include "recset_fixture.h"

namespace {

using enginetest::Calls;
using enginetest::RecordSetTest;
using enginetest::Texts;

constexpr int16_t kName = 0;
constexpr int16_t kNumber = 1;
constexpr int16_t kDate = 2;
constexpr int16_t kTime = 3;
constexpr int16_t kUntyped = 4;
constexpr int16_t kCount = 5;

class SortSet : public RecordSetTest {
 protected:
  SortSet() { Make({MDbFieldText, MDbFieldNumber, MDbFieldDate, MDbFieldTime, MDbFieldNone}); }

  void AddRecord(const char16_t* name, const char16_t* number, const char16_t* date = u"", const char16_t* time = u"") {
    Add({name, number, date, time, u"same"});
  }
  void ExpectSortDef(uint16_t field, uint8_t ascending) {
    MDbSortDef sort{};
    EXPECT_EQ(MDbStatusOk, MDbRecsetGetSortDef(&env, &recset, &sort));
    EXPECT_EQ(field, sort.field);
    EXPECT_EQ(ascending, sort.ascending);
  }
  // Sort values of all records in creation order.
  std::vector<int32_t> Keys() {
    std::vector<int32_t> keys;
    const uint32_t count = Count();
    for (uint32_t position = 0; position < count; ++position) {
      const seam::Unseen unseen;
      const CEOID oid = CeSeekDatabase(table()->dataHandle, CEDB_SEEK_BEGINNING, position, nullptr);
      keys.push_back(static_cast<int32_t>(StoredLive(oid).at(3).number));
    }
    return keys;
  }
};

constexpr int32_t kNoValue = -2147483647 - 1;

TEST_F(SortSet, TextSortsByCaseInThePlatformsOrder) {
  for (const char16_t* name : {u"b", u"A", u"a", u"é", u"f", u"e", u"", u"B"}) AddRecord(name, u"");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, Sort(kName));
  EXPECT_EQ((Texts{u"", u"a", u"A", u"b", u"B", u"e", u"é", u"f"}), Contents(kName));
  ASSERT_EQ(MDbStatusOk, Sort(kName, MDbSortDescending));
  EXPECT_EQ((Texts{u"f", u"é", u"e", u"B", u"b", u"A", u"a", u""}), Contents(kName));
}

TEST_F(SortSet, NumbersSortByValueAndTextsWithoutOneStandFirst) {
  for (const char16_t* number : {u"10", u"9", u"none", u"-3", u"99999999999", u"1,000", u"0"}) AddRecord(u"", number);
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, Sort(kNumber));
  EXPECT_EQ((Texts{u"none", u"99999999999", u"-3", u"0", u"9", u"10", u"1,000"}), Contents(kNumber));
  EXPECT_EQ((std::vector<int32_t>{10, 9, kNoValue, -3, kNoValue, 1000, 0}), Keys());
  ASSERT_EQ(MDbStatusOk, Sort(kNumber, MDbSortDescending));
  EXPECT_EQ((Texts{u"1,000", u"10", u"9", u"0", u"-3", u"none", u"99999999999"}), Contents(kNumber));
}

TEST_F(SortSet, DatesAndTimesSortByValueAndTextsWithoutOneStandFirst) {
  AddRecord(u"", u"", u"12/1/2023", u"9:00 PM");
  AddRecord(u"", u"", u"1/12/2024", u"10:00");
  AddRecord(u"", u"", u"soon", u"late");
  AddRecord(u"", u"", u"2/1/1999", u"-1");
  AddRecord(u"", u"", u"", u"");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, Sort(kDate));
  EXPECT_EQ((Texts{u"soon", u"", u"2/1/1999", u"12/1/2023", u"1/12/2024"}), Contents(kDate));
  ASSERT_EQ(MDbStatusOk, Sort(kTime));
  EXPECT_EQ((Texts{u"late", u"", u"-1", u"10:00", u"9:00 PM"}), Contents(kTime));
}

TEST_F(SortSet, EqualKeysStandInCreationOrderInBothDirections) {
  for (const char16_t* name : {u"first", u"second", u"third"}) AddRecord(name, u"7");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  for (const uint32_t mode : {MDbSortAscending, MDbSortDescending}) {
    ASSERT_EQ(MDbStatusOk, Sort(kNumber, mode));
    EXPECT_EQ((Texts{u"first", u"second", u"third"}), Contents(kName));
  }
}

TEST_F(SortSet, AFieldWithoutATypeRebuildsTheViewInCreationOrder) {
  for (const char16_t* name : {u"b", u"a", u"c"}) AddRecord(name, u"");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, Sort(kName));
  ASSERT_EQ(MDbStatusOk, Sort(kUntyped, MDbSortDescending));
  EXPECT_EQ((Texts{u"b", u"a", u"c"}), Contents(kName));
  EXPECT_EQ(1, recset.hasView);
  ExpectSortDef(kUntyped, 0);
}

TEST_F(SortSet, TheModeChoosesTheDirection) {
  AddRecord(u"a", u"1");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  const struct {
    const char* why;
    int16_t field;
    uint32_t mode;
    uint8_t ascending;
  } rows[] = {{"toggle on a record set never sorted", kName, MDbSortToggle, 1},
              {"toggle on the same field", kName, MDbSortToggle, 0},
              {"and again", kName, MDbSortToggle, 1},
              {"toggle on another field sorts ascending", kNumber, MDbSortToggle, 1},
              {"toggle on the same field reverses", kNumber, MDbSortToggle, 0},
              {"toggle back on the first field is another field again", kName, MDbSortToggle, 1},
              {"descending", kName, MDbSortDescending, 0},
              {"toggle after descending", kName, MDbSortToggle, 1},
              {"any other mode ascends", kName, 3, 1},
              {"any other mode ascends", kName, 0xFFFFFFFF, 1}};
  for (const auto& row : rows) {
    ASSERT_EQ(MDbStatusOk, Sort(row.field, row.mode)) << row.why;
    SCOPED_TRACE(row.why);
    ExpectSortDef(static_cast<uint16_t>(row.field), row.ascending);
  }
}

// ---- the range check

TEST_F(SortSet, AFieldBelowZeroOrAboveTheCountIsStatusNineAndTheRecordSetStays) {
  AddRecord(u"b", u"1");
  AddRecord(u"a", u"2");
  for (const bool view : {false, true}) {
    ASSERT_EQ(MDbStatusOk, view ? Query(kName, MDbQueryByWords, u"") : QueryAll());
    uint16_t index = 0;
    ASSERT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index));
    const Texts before = Contents(kName);
    for (const int16_t field : {int16_t{-1}, int16_t{-32768}, int16_t{kCount + 1}, int16_t{32767}}) {
      EXPECT_EQ(MDbStatusFieldOutOfRange, Sort(field)) << field;
      EXPECT_EQ(1, recset.valid);
      EXPECT_EQ(view ? 0 : -1, recset.filterField);
      EXPECT_EQ(1, recset.dirty);
      EXPECT_EQ(view ? 1 : 0, recset.keepCount);
      EXPECT_EQ(before, Contents(kName));
    }
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
}

TEST_F(SortSet, AFieldEqualToTheCountIsNotRefusedByTheRangeCheck) {
  AddRecord(u"a", u"1");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  EXPECT_EQ(MDbStatusFailed, Sort(kCount)) << "it fails where its type is read";
  EXPECT_EQ(0, recset.valid) << "past the check the record set is destroyed";
}

TEST_F(SortSet, AFieldCountThatCannotBeReadIsItsOwnStatusAndTheRecordSetStays) {
  AddRecord(u"a", u"1");
  ASSERT_EQ(MDbStatusOk, Query(kName, MDbQueryByWords, u"a"));
  const uint32_t open = ref()->catalog.isOpen;
  ref()->catalog.isOpen = 0;
  EXPECT_EQ(MDbStatusFailed, Sort(kName));
  ref()->catalog.isOpen = open;
  EXPECT_EQ(1, recset.valid);
  EXPECT_EQ((Texts{u"a"}), Contents(kName));
}

// ---- what is kept

TEST_F(SortSet, ASortKeepsTheFilterAndTheKeptRecords) {
  AddRecord(u"oak c", u"3");
  AddRecord(u"elm", u"2");
  AddRecord(u"oak a", u"1");
  ASSERT_EQ(MDbStatusOk, Query(kName, MDbQueryByWords, u"oak"));
  uint16_t index = 0;
  ASSERT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index));
  ASSERT_EQ(MDbStatusOk, Sort(kName));
  EXPECT_EQ((Texts{u"", u"oak a", u"oak c"}), Contents(kName)) << "the added record stays though it does not match";
  EXPECT_EQ(0, recset.filterField);
  EXPECT_EQ(1, recset.dirty);
  EXPECT_EQ(1, recset.keepCount);
  EXPECT_EQ(0u, recset.keepCapacity);
  EXPECT_EQ(1u, recset.view.flagFilter);
  EXPECT_EQ(0xFFFF, Cursor());
  ASSERT_EQ(MDbStatusOk, Sort(kNumber, MDbSortDescending));
  EXPECT_EQ((Texts{u"oak c", u"oak a", u""}), Contents(kName));
}

TEST_F(SortSet, ASortWithoutCriteriaShowsEveryRecordAndLeavesDirectMode) {
  AddRecord(u"b", u"1");
  AddRecord(u"a", u"2");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, Sort(kName));
  EXPECT_EQ(1, recset.hasView);
  EXPECT_EQ(-1, recset.filterField);
  EXPECT_EQ(0u, recset.view.flagFilter);
  EXPECT_EQ((Texts{u"a", u"b"}), Contents(kName));
}

TEST_F(SortSet, ASortClosesTheOpenRecord) {
  AddRecord(u"b", u"1");
  AddRecord(u"a", u"2");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_NO_FATAL_FAILURE(OpenAt(0));
  ASSERT_EQ(MDbStatusOk, Sort(kName));
  EXPECT_EQ(0, MDbDataRecIsOpened(&recset.record));
}

TEST_F(SortSet, AfterASortTheDataTableIsBackInCreationOrder) {
  AddRecord(u"b", u"2");
  AddRecord(u"c", u"3");
  AddRecord(u"a", u"1");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  for (const int16_t field : {kName, kNumber}) {
    ASSERT_EQ(MDbStatusOk, Sort(field));
    EXPECT_EQ((Texts{u"b", u"c", u"a"}), Column(kName));
  }
  MDbRecset direct;
  MDbRecsetInitialize(&direct);
  ASSERT_EQ(MDbStatusOk, MDbAgentQuery(&env, &direct, nullptr));
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &direct, 0));
  ASSERT_EQ(MDbStatusOk, MDbRecsetOpenRec(&env, &direct));
  MDbChar text[8] = u"as was";
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetField(&env, &direct, kName, text, sizeof text));
  EXPECT_EQ(std::u16string(u"b"), std::u16string(text));
  EXPECT_EQ(MDbStatusOk, MDbRecsetDestroy(&env, &direct));
}

// ---- what the platform is told

Calls Orders(const seam::PlatformSeam& seam) {
  Calls orders;
  for (const seam::Call& call : seam.CallsOf("CeSetDatabaseInfoEx")) {
    orders.push_back(call.text.substr(call.text.find("flags=")));
  }
  return orders;
}

TEST_F(SortSet, ATextSortWritesNoKeysSwitchesToTheFieldBuildsTheViewAndSwitchesBack) {
  AddRecord(u"b", u"2");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Sort(kName, MDbSortDescending));
  EXPECT_EQ((Calls{"flags=4, sorts=[0x40013:0, 0x5001F:1])", "flags=4, sorts=[0x40013:0])"}), Orders(seam));
  Calls steps;
  for (const seam::Call& call : seam.calls()) {
    if (call.name == "CeSetDatabaseInfoEx" || call.name == "CeCreateDatabaseEx" || call.name == "CeWriteRecordProps") {
      steps.push_back(call.name);
    }
  }
  EXPECT_EQ((Calls{"CeSetDatabaseInfoEx", "CeCreateDatabaseEx", "CeWriteRecordProps", "CeSetDatabaseInfoEx"}), steps);
  EXPECT_EQ(0u, seam.CountOf("CeFlushDBVol"));
}

TEST_F(SortSet, ASortByKeyWritesEveryRecordsKeyThenSwitchesToTheKey) {
  AddRecord(u"b", u"2");
  AddRecord(u"a", u"none");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Sort(kNumber));
  EXPECT_EQ((Calls{"flags=4, sorts=[0x40013:0, 0x30003:0])", "flags=4, sorts=[0x40013:0])"}), Orders(seam));
  Calls keys;
  for (const seam::Call& call : seam.calls()) {
    if (call.text.find("CeWriteRecordProps(DATA_0") == 0) keys.push_back(call.text.substr(call.text.find('[')));
  }
  EXPECT_EQ((Calls{"[0x30003=2])", "[0x30003=-2147483648])"}), keys);
}

TEST_F(SortSet, AKeyIsMadeByTheFieldsSizeAScratchBufferKeptAcrossRecordsAndTheField) {
  AddRecord(u"", u"1");
  AddRecord(u"", u"22");
  AddRecord(u"", u"3");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  seam::PlatformSeam seam;
  seam.Fail("CeCreateDatabaseEx");  // nothing after the keys is of interest
  (void)Sort(kNumber);
  Calls scratch;
  for (const seam::Call& call : seam.calls()) {
    if (call.name == "LocalReAlloc" || call.name == "LocalSize") scratch.push_back(call.text);
  }
  EXPECT_EQ((Calls{"LocalSize(4)", "LocalReAlloc(4, 6, flags=2)", "LocalSize(6)"}), scratch);
  EXPECT_EQ("LocalFree(6)", seam.Texts({"LocalFree"}).back());
}

TEST_F(SortSet, ARecordThatLacksTheFieldHasNoValueWhateverTheRecordBeforeItHas) {
  AddRecord(u"five", u"5");
  Add({u"none"});
  AddRecord(u"six", u"6");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, Sort(kNumber));
  EXPECT_EQ((std::vector<int32_t>{5, kNoValue, 6}), Keys());
  EXPECT_EQ((Texts{u"none", u"five", u"six"}), Contents(kName));
}

TEST_F(SortSet, ARecordWhoseTextCannotBeReadHasNoValueEither) {
  AddRecord(u"", u"5");
  AddRecord(u"", u"6");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  std::vector<std::vector<int32_t>> outcomes;
  for (size_t n = 0; n < 16; ++n) {
    seam::PlatformSeam seam;
    seam.Fail("LocalAlloc", n);
    EXPECT_EQ(MDbStatusOk, Sort(kNumber));
    seam.Stop();
    outcomes.push_back(Keys());
  }
  EXPECT_EQ(outcomes.end(), std::find(outcomes.begin(), outcomes.end(), std::vector<int32_t>{5, 5}))
      << "the key of the record before it";
  EXPECT_NE(outcomes.end(), std::find(outcomes.begin(), outcomes.end(), std::vector<int32_t>{5, kNoValue}));
}

TEST_F(SortSet, DatesAndTimesReadTheirFormatsOnce) {
  AddRecord(u"", u"", u"1/1/2024");
  AddRecord(u"", u"", u"1/2/2024");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Sort(kDate));
  size_t reads = 0;
  for (const std::string& text : seam.StoreTexts()) reads += text.find("0x10013=0x20000") != std::string::npos;
  EXPECT_EQ(1u, reads);
}

// ---- failures

TEST_F(SortSet, MissingAttributesEndASortOnADateAndNotOnANumber) {
  AddRecord(u"", u"1", u"1/1/2024");
  ASSERT_EQ(MDbStatusOk, MDbAttrTblDelete(&env, ref()));
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, Sort(kNumber));
  EXPECT_EQ(MDbStatusFailed, Sort(kDate));
  EXPECT_EQ(0, recset.valid);
}

TEST_F(SortSet, WithoutMemoryForItsTextARecordKeepsTheKeyItHadAndTheSortGoesOn) {
  AddRecord(u"", u"5");
  AddRecord(u"", u"6");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  size_t kept_zero = 0;
  size_t n = 0;
  for (; n < 32; ++n) {
    ASSERT_EQ(MDbStatusOk, MDbRecsetDelAllRec(&env, &recset, 1));
    AddRecord(u"", u"5");
    AddRecord(u"", u"6");
    seam::PlatformSeam seam;
    seam.Fail("LocalAlloc", n);
    const MDbStatus status = Sort(kNumber);
    if (!seam.FaultHappened()) break;
    seam.Stop();
    EXPECT_EQ(MDbStatusOk, status) << n;
    for (const int32_t key : Keys()) kept_zero += key == 0;
    ASSERT_EQ(MDbStatusOk, Destroy());
    ASSERT_EQ(MDbStatusOk, QueryAll());
  }
  EXPECT_GE(kept_zero, 1u);
  EXPECT_LT(n, 32u);
}

TEST_F(SortSet, AScratchBufferThatCannotGrowLeavesTheRecordItsKeyAndServesTheNextOne) {
  AddRecord(u"", u"1");
  AddRecord(u"", u"22");
  AddRecord(u"", u"3");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  seam::PlatformSeam seam;
  seam.Fail("LocalReAlloc");
  EXPECT_EQ(MDbStatusOk, Sort(kNumber));
  EXPECT_EQ((std::vector<int32_t>{1, 0, 3}), Keys());
}

TEST_F(SortSet, AFieldOfATypeWithoutAValueEndsTheSortAtItsFirstRecord) {
  ASSERT_EQ(MDbStatusOk, MDbSchemaTblDelete(&env, ref()));
  const std::vector<enginetest::Field> fields = {{9, u"odd"}};
  const auto definitions = enginetest::Definitions(fields);
  const MDbChar* const names[] = {u"odd"};
  ASSERT_EQ(MDbStatusOk, MDbSchemaTblCreateEx(&env, ref(), definitions.data(), names, 1));
  ASSERT_EQ(MDbStatusOk, QueryAll());
  EXPECT_EQ(MDbStatusOk, Sort(0)) << "no record, no failure";
  ASSERT_EQ(MDbStatusOk, Destroy());
  ASSERT_EQ(MDbStatusOk, QueryAll());
  Add({u"1"});
  EXPECT_EQ(MDbStatusFailed, Sort(0));
  EXPECT_EQ(0, recset.valid);
}

TEST_F(SortSet, ASwitchThatThePlatformRefusesClosesTheTableAndFailsAtTheView) {
  AddRecord(u"b", u"2");
  ASSERT_EQ(MDbStatusOk, QueryAll());
  {
    seam::PlatformSeam seam;
    seam.Fail("CeSetDatabaseInfoEx");
    EXPECT_EQ(MDbStatusFailed, Sort(kName));
  }
  EXPECT_EQ(0, recset.valid);
  EXPECT_EQ(0, MDbDataTblIsOpened(&env, ref(), table()));
}

TEST_F(SortSet, AFailedSortPastTheCheckKeepsOnlyTheFilterTheDirtyFlagAndTheKeptRecords) {
  AddRecord(u"oak", u"1");
  AddRecord(u"elm", u"2");
  ASSERT_EQ(MDbStatusOk, Query(kName, MDbQueryByWords, u"oak"));
  uint16_t index = 0;
  ASSERT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index));
  {
    seam::PlatformSeam seam;
    seam.Fail("CeCreateDatabaseEx");
    EXPECT_EQ(MDbStatusFailed, Sort(kName));
  }
  EXPECT_EQ(0, recset.valid);
  EXPECT_EQ(0, recset.hasView);
  EXPECT_EQ(0, recset.filterField);
  EXPECT_EQ(1, recset.dirty);
  EXPECT_NE(nullptr, recset.keepList);
  EXPECT_EQ(1, recset.keepCount);
  EXPECT_EQ(0u, recset.keepCapacity);
  ExpectSortDef(0xFFFF, 1);
}

TEST_F(SortSet, WhatAFailedSortKeptIsForgottenWhenTheInvalidRecordSetIsDestroyed) {
  AddRecord(u"oak", u"1");
  ASSERT_EQ(MDbStatusOk, Query(kName, MDbQueryByWords, u"oak"));
  uint16_t index = 0;
  ASSERT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index));
  ASSERT_EQ(MDbStatusFailed, Sort(kCount)) << "a field index equal to the count";
  ASSERT_EQ(1, recset.keepCount);
  EXPECT_EQ(MDbStatusOk, Destroy());
  EXPECT_EQ(nullptr, recset.keepList);
  ASSERT_EQ(MDbStatusOk, Query(kName, MDbQueryByWords, u"oak"));
  EXPECT_EQ((Texts{u"oak"}), Contents(kName));
}

TEST_F(SortSet, ATableThatDoesNotGoBackLeavesTheRecordSetDestroyed) {
  AddRecord(u"oak", u"1");
  ASSERT_EQ(MDbStatusOk, Query(kName, MDbQueryByWords, u"oak"));
  uint16_t index = 0;
  ASSERT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index));
  {
    seam::PlatformSeam seam;
    seam.Fail("CeOpenDatabaseEx", 4);  // a look at the old view, the table in the field's order (two), the new view
    EXPECT_EQ(MDbStatusFailed, Sort(kName));
    EXPECT_EQ(2u, seam.CountOf("CeSetDatabaseInfoEx")) << "it fails on its way back";
    EXPECT_EQ(2u, seam.CountOf("CeDeleteDatabaseEx")) << "the new view goes as the old one did";
  }
  EXPECT_EQ(0, recset.valid);
  EXPECT_EQ(0, recset.hasView);
  EXPECT_EQ(0, recset.view.open);
  EXPECT_EQ(0, recset.filterField);
  EXPECT_EQ(1, recset.dirty);
  EXPECT_EQ(1, recset.keepCount);
  ExpectSortDef(0xFFFF, 1);
}

TEST_F(SortSet, AFailedDestroyEndsTheSortBeforeAnyKeyIsWritten) {
  AddRecord(u"oak", u"1");
  ASSERT_EQ(MDbStatusOk, Query(kName, MDbQueryByWords, u"oak"));
  seam::PlatformSeam seam;
  seam.Fail("CeDeleteDatabaseEx");
  EXPECT_EQ(MDbStatusFailed, Sort(kNumber));
  EXPECT_EQ(0u, seam.CountOf("CeWriteRecordProps"));
  EXPECT_EQ(0u, seam.CountOf("CeSetDatabaseInfoEx"));
  EXPECT_EQ(0, recset.valid);
}

}  // namespace
