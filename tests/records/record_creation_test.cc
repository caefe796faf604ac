// Putting records into the data table: blank, with contents in calls of ten properties, their numbers, the limit, and
// what is left when a step fails.
#include "mdb.h"
#include "record_fixture.h"

namespace {

using enginetest::Calls;
using enginetest::RecordTest;
using enginetest::Texts;

class RecordCreation : public RecordTest {
 protected:
  MDbStatus New(uint32_t* oid, uint16_t* position) {
    return MDbDataTblNewRec(&env, ref(), table(), &env.schemaTbl, oid, position);
  }
  MDbStatus AddTexts(const Texts& texts, uint32_t* oid, uint16_t* position, uint8_t state_zero = 1) {
    std::vector<const MDbChar*> pointers;
    for (const std::u16string& text : texts) pointers.push_back(text.c_str());
    return MDbDataTblAddRec(&env, ref(), table(), &kInfo, pointers.data(), static_cast<int16_t>(pointers.size()),
                            state_zero, oid, position);
  }
  static void PretendCount(seam::PlatformSeam& seam, uint16_t count) {
    seam.Alter("CeOidGetInfoEx", 0,
               [count](void* info) { static_cast<CEOIDINFO*>(info)->infDatabase.wNumRecords = count; });
  }
  Calls Sequence() {
    Calls sequence;
    const uint32_t count = Count();
    for (uint32_t position = 0; position < count; ++position) {
      const seam::Unseen unseen;
      const CEOID oid = CeSeekDatabase(table()->dataHandle, CEDB_SEEK_BEGINNING, position, nullptr);
      const auto stored = StoredLive(oid);
      sequence.push_back(std::to_string(stored.at(4).number));
    }
    return sequence;
  }
};

const std::string kOneProperty = std::to_string(sizeof(CEPROPVAL));

TEST_F(RecordCreation, ABlankRecordIsOneWriteBetweenItsCountersReadAndWriteAndThenAFlush) {
  MakeTextFields(2);
  seam::PlatformSeam seam;
  uint32_t oid = 0;
  uint16_t position = 77;
  EXPECT_EQ(MDbStatusOk, New(&oid, &position));
  const Calls expected = {
      "CeOidGetInfoEx(vol1, oid=#1)",
      "CeSeekDatabase(OBJG_0, VALUEFIRSTEQUAL, 0x10013=0x30000)",
      "CeSeekDatabase(OBJG_0, VALUENEXTEQUAL, 0x10013=0x30001)",
      "CeSeekDatabase(OBJG_0, VALUENEXTEQUAL, 0x10013=0x30002)",
      "CeSeekDatabase(OBJG_0, VALUEFIRSTEQUAL, 0x10013=0x40000)",
      "CeReadRecordPropsEx(OBJG_0, flags=0, [0x20013], size=" + kOneProperty + ")",
      R"(CeWriteRecordProps(DATA_0, oid=0, [18=5, 0x1000B=0, 0x20041={00 00 00 00 00 00 00 00 00 00}, 0x30003=0, )"
      R"(0x40013=0, 0x5001F="", 0x6001F=""]))",
      "CeSeekDatabase(DATA_0, CEOID, oid=#5)",
      "CeSeekDatabase(OBJG_0, VALUEFIRSTEQUAL, 0x10013=0x40000)",
      "CeWriteRecordProps(OBJG_0, oid=#4, [0x20013=1, 0x10013=0x40000])",
      "CeFlushDBVol(vol1)"};
  EXPECT_EQ(expected, seam.StoreTexts());
  for (const seam::Call& call : seam.CallsOf("CeWriteRecordProps")) {
    for (const seam::Property& property : call.properties) EXPECT_EQ(0, property.flags);
  }
  EXPECT_NE(0u, oid);
  EXPECT_EQ(0, position);
}

TEST_F(RecordCreation, WithoutOutputsNothingIsSought) {
  MakeTextFields(1);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, New(nullptr, nullptr));
  EXPECT_EQ(MDbStatusOk, AddTexts({u"a"}, nullptr, nullptr));
  for (const seam::Call& call : seam.CallsOf("CeSeekDatabase")) EXPECT_EQ(0u, call.text.find("CeSeekDatabase(OBJG_0"));
}

TEST_F(RecordCreation, ABlankRecordOfManyFieldsIsStillOneWrite) {
  MakeTextFields(40);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, New(nullptr, nullptr));
  EXPECT_EQ(45u, seam.CallsOf("CeWriteRecordProps").at(0).properties.size());
  EXPECT_EQ(2u, seam.CountOf("CeWriteRecordProps"));
}

TEST_F(RecordCreation, AnAddIsWrittenInCallsOfExactlyTenPropertiesAndOneForTheRest) {
  const struct {
    const char* why;
    size_t fields;
    std::vector<size_t> calls;
  } rows[] = {{"20 fields, 25 properties", 20, {10, 10, 5}},
              {"10 fields, 15 properties", 10, {10, 5}},
              {"5 fields, 10 properties: no empty call at the end", 5, {10}},
              {"6 fields, 11 properties", 6, {10, 1}},
              {"15 fields, 20 properties", 15, {10, 10}},
              {"1 field, 6 properties", 1, {6}},
              {"no field, 5 properties", 0, {5}}};
  MakeTextFields(1);  // the texts' number is the caller's; the schema is not asked
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    Texts texts;
    for (size_t i = 0; i < row.fields; ++i)
      texts.push_back(u"text " + std::u16string(1, static_cast<char16_t>(u'a' + i)));
    seam::PlatformSeam seam;
    uint32_t oid = 0;
    ASSERT_EQ(MDbStatusOk, AddTexts(texts, &oid, nullptr));
    std::vector<size_t> calls;
    std::vector<CEPROPID> ids;
    std::vector<uint64_t> oids;
    for (const seam::Call& call : seam.CallsOf("CeWriteRecordProps")) {
      if (call.text.find("DATA_0") == std::string::npos) continue;
      calls.push_back(call.properties.size());
      oids.push_back(call.arguments.at(1));
      for (const seam::Property& property : call.properties) ids.push_back(property.id);
    }
    EXPECT_EQ(row.calls, calls);
    EXPECT_EQ(0u, oids.at(0)) << "the first call creates";
    for (size_t i = 1; i < oids.size(); ++i) EXPECT_EQ(oid, oids.at(i)) << "the later ones add to the record";
    std::vector<CEPROPID> expected = {0x12, 0x1000B, 0x20041, 0x30003, 0x40013};
    for (uint32_t i = 0; i < row.fields; ++i) expected.push_back((5 + i) << 16 | 31);
    EXPECT_EQ(expected, ids);
    EXPECT_EQ(5 + row.fields, StoredLive(oid).size());
    EXPECT_EQ(0u, seam.Texts({"CeSeekDatabase"}).at(0).find("CeSeekDatabase(OBJG_0, VALUEFIRSTEQUAL, 0x10013=0x40000"));
  }
}

TEST_F(RecordCreation, AnAddCarriesTheCallersInfoBlockAndTheStateAskedFor) {
  MakeTextFields(1);
  uint32_t oid = 0;
  for (const auto& [state_zero, state] : {std::pair(0, 5u), std::pair(1, 0u), std::pair(200, 0u)}) {
    ASSERT_EQ(MDbStatusOk, AddTexts({u"a"}, &oid, nullptr, static_cast<uint8_t>(state_zero)));
    const auto stored = StoredLive(oid);
    EXPECT_EQ(state, stored.at(0).number) << state_zero;
    EXPECT_EQ(0u, stored.at(1).number);
    EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}), stored.at(2).bytes);
    EXPECT_EQ(0u, stored.at(3).number);
  }
}

TEST_F(RecordCreation, TheInfoBlockIsPassedOnAndNotCopied) {
  MakeTextFields(1);
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, AddTexts({u"a"}, nullptr, nullptr));
  EXPECT_EQ(1u, seam.CountOf("LocalAlloc")) << "the property array alone";
  EXPECT_EQ("LocalAlloc(flags=64, " + std::to_string(6 * sizeof(CEPROPVAL)) + ")", seam.Texts({"LocalAlloc"}).at(0));
}

TEST_F(RecordCreation, NumbersGrowByOneAndPositionsFollowTheOrderInForce) {
  MakeTextFields(1);
  uint16_t position = 77;
  for (uint16_t i = 0; i < 3; ++i) {
    ASSERT_EQ(MDbStatusOk, AddTexts({u"text"}, nullptr, &position));
    EXPECT_EQ(i, position);
  }
  EXPECT_EQ((Calls{"0", "1", "2"}), Sequence());
  EXPECT_EQ(3u, Counter(0));
}

// ---- the limit

TEST_F(RecordCreation, With4999RecordsACreationSucceedsAndWith5000ItIsRefusedAndWritesNothing) {
  MakeTextFields(1);
  for (const bool blank : {true, false}) {
    SCOPED_TRACE(blank ? "blank" : "with contents");
    const auto create = [&] { return blank ? New(nullptr, nullptr) : AddTexts({u"a"}, nullptr, nullptr); };
    {
      seam::PlatformSeam seam;
      PretendCount(seam, 4999);
      EXPECT_EQ(MDbStatusOk, create());
    }
    for (const uint16_t count : {uint16_t{5000}, uint16_t{5001}, uint16_t{65535}}) {
      seam::PlatformSeam seam;
      PretendCount(seam, count);
      EXPECT_EQ(MDbStatusRecordLimit, create());
      EXPECT_EQ(Calls{"CeOidGetInfoEx(vol1, oid=#1)"}, seam.StoreTexts());
    }
  }
}

TEST_F(RecordCreation, AClosedTableAndAFailingCountAreFailures) {
  MakeTextFields(1);
  {
    seam::PlatformSeam seam;
    seam.Fail("CeOidGetInfoEx");
    EXPECT_EQ(MDbStatusFailed, New(nullptr, nullptr));
    EXPECT_EQ(1u, seam.StoreTexts().size());
  }
  ASSERT_EQ(MDbStatusOk, MDbDataTblClose(&env, ref(), table()));
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusFailed, New(nullptr, nullptr));
  EXPECT_EQ(MDbStatusFailed, AddTexts({u"a"}, nullptr, nullptr));
  EXPECT_TRUE(seam.Texts().empty());
}

// ---- failing steps

TEST_F(RecordCreation, AFailingWriteOfABlankRecordChangesNothing) {
  MakeTextFields(1);
  seam::PlatformSeam seam;
  seam.Fail("CeWriteRecordProps");
  uint32_t oid = 77;
  EXPECT_EQ(MDbStatusFailed, New(&oid, nullptr));
  EXPECT_EQ(77u, oid);
  EXPECT_EQ(0u, Count());
  EXPECT_EQ(0u, Counter(0));
  EXPECT_EQ(0u, seam.CountOf("CeFlushDBVol"));
}

TEST_F(RecordCreation, AFailingCallOfAChunkedWriteLeavesWhatWasWrittenBeforeIt) {
  MakeTextFields(20);
  Texts texts(20, u"text");
  seam::PlatformSeam seam;
  seam.Fail("CeWriteRecordProps", 1);
  uint32_t oid = 77;
  EXPECT_EQ(MDbStatusFailed, AddTexts(texts, &oid, nullptr));
  EXPECT_EQ(2u, seam.CountOf("CeWriteRecordProps"));
  EXPECT_EQ(0u, seam.CountOf("CeFlushDBVol"));
  EXPECT_EQ(0u, Counter(0)) << "the next record reuses the number";
  seam.Stop();
  ASSERT_EQ(1u, Count());
  EXPECT_EQ(10u, StoredLive(static_cast<CEOID>(seam.CallsOf("CeWriteRecordProps").at(0).result)).size());
}

TEST_F(RecordCreation, APositionThatCannotBeFoundLeavesTheRecordAndTheCounter) {
  MakeTextFields(1);
  for (const bool blank : {true, false}) {
    SCOPED_TRACE(blank ? "blank" : "with contents");
    const uint32_t before = Count();
    uint32_t oid = 0;
    uint16_t position = 77;
    seam::PlatformSeam seam;
    seam.Fail("CeSeekDatabase", blank ? 3 : 1);
    EXPECT_EQ(MDbStatusFailed, blank ? New(&oid, &position) : AddTexts({u"a"}, &oid, &position));
    EXPECT_NE(0u, oid);
    EXPECT_EQ(77, position);
    EXPECT_EQ(0u, seam.CountOf("CeFlushDBVol"));
    seam.Stop();
    EXPECT_EQ(before + 1, Count());
    EXPECT_EQ(0u, Counter(0));
  }
}

TEST_F(RecordCreation, AFailingCounterLeavesTheRecordAndAFailingFlushLeavesBoth) {
  MakeTextFields(1);
  {
    seam::PlatformSeam seam;
    seam.Fail("CeWriteRecordProps", 1);
    EXPECT_EQ(MDbStatusFailed, AddTexts({u"a"}, nullptr, nullptr));
    EXPECT_EQ(0u, seam.CountOf("CeFlushDBVol"));
  }
  EXPECT_EQ(1u, Count());
  EXPECT_EQ(0u, Counter(0));
  {
    seam::PlatformSeam seam;
    seam.Fail("CeFlushDBVol");
    EXPECT_EQ(MDbStatusFailed, AddTexts({u"b"}, nullptr, nullptr));
  }
  EXPECT_EQ(2u, Count());
  EXPECT_EQ(1u, Counter(0));
  EXPECT_EQ((Calls{"0", "0"}), Sequence()) << "a number used twice";
}

TEST_F(RecordCreation, ACounterThatIsMissingIsAFailure) {
  MakeTextFields(1);
  seam::PlatformSeam seam;
  seam.Fail("CeSeekDatabase");
  EXPECT_EQ(MDbStatusFailed, AddTexts({u"a"}, nullptr, nullptr));
  EXPECT_EQ(0u, seam.CountOf("CeWriteRecordProps"));
}

TEST_F(RecordCreation, ThePropertyArrayIsFreedOnEveryPathAndItsAbsenceIsAFailure) {
  MakeTextFields(1);
  const size_t blocks = seam::LiveBlocks();
  seam::PlatformSeam seam;
  seam.Fail("LocalAlloc");
  EXPECT_EQ(MDbStatusFailed, New(nullptr, nullptr));
  seam.Fail("LocalAlloc");
  EXPECT_EQ(MDbStatusFailed, AddTexts({u"a"}, nullptr, nullptr));
  EXPECT_EQ(0u, seam.CountOf("CeWriteRecordProps"));
  EXPECT_EQ(blocks, seam::LiveBlocks());
}

// ---- numbers given out anew

TEST_F(RecordCreation, ACounterAtFFFFFFFERenumbersAllRecordsAndTheNewOneReceivesTheirCount) {
  MakeTextFields(1);
  for (int i = 0; i < 3; ++i) ASSERT_EQ(MDbStatusOk, AddTexts({u"a"}, nullptr, nullptr));
  for (const uint32_t counter : {0xFFFFFFFEu, 0xFFFFFFFFu}) {
    SetCounter(0, counter);
    const uint32_t count = Count();
    seam::PlatformSeam seam;
    ASSERT_EQ(MDbStatusOk, AddTexts({u"new"}, nullptr, nullptr));
    Calls expected = {"CeOidGetInfoEx(vol1, oid=#1)", "CeSeekDatabase(OBJG_0, VALUEFIRSTEQUAL, 0x10013=0x40000)",
                      "CeReadRecordPropsEx(OBJG_0, flags=0, [0x20013], size=" + kOneProperty + ")",
                      "CeOidGetInfoEx(vol1, oid=#1)"};
    for (uint32_t k = 0; k < count; ++k) {
      expected.push_back("CeSeekDatabase(DATA_0, BEGINNING, " + std::to_string(k) + ")");
      expected.push_back("CeWriteRecordProps(DATA_0, oid=#" + std::to_string(3 + k) +
                         ", [0x40013=" + std::to_string(k) + "])");
    }
    expected.push_back("CeSeekDatabase(OBJG_0, VALUEFIRSTEQUAL, 0x10013=0x40000)");
    expected.push_back("CeWriteRecordProps(OBJG_0, oid=#2, [0x20013=" + std::to_string(count) + ", 0x10013=0x40000])");
    const Calls made = seam.StoreTexts();
    ASSERT_GE(made.size(), expected.size());
    EXPECT_EQ(expected, Calls(made.begin(), made.begin() + static_cast<ptrdiff_t>(expected.size())));
    EXPECT_EQ(count + 1, Counter(0));
  }
  EXPECT_EQ((Calls{"0", "1", "2", "3", "4"}), Sequence());
}

TEST_F(RecordCreation, OneBelowTheLastNumberIsStillGivenOut) {
  MakeTextFields(1);
  SetCounter(0, 0xFFFFFFFD);
  ASSERT_EQ(MDbStatusOk, AddTexts({u"a"}, nullptr, nullptr));
  EXPECT_EQ(Calls{std::to_string(0xFFFFFFFDu)}, Sequence());
  EXPECT_EQ(0xFFFFFFFEu, Counter(0));
}

TEST_F(RecordCreation, RenumberingInCachedModeStoresTheNumberInTheCatalogueAndTheCache) {
  MakeTextFields(1);
  ASSERT_EQ(MDbStatusOk, AddTexts({u"a"}, nullptr, nullptr));
  SetCounter(0, 0xFFFFFFFE);
  ASSERT_EQ(MDbStatusOk, StartCreationSeqCache(&env, ref(), table()));
  ASSERT_EQ(0xFFFFFFFEu, table()->creationSeqCache);
  ASSERT_EQ(MDbStatusOk, AddTexts({u"b"}, nullptr, nullptr));
  EXPECT_EQ(1u, Counter(0)) << "written once, when the numbers were given out anew";
  EXPECT_EQ(2u, table()->creationSeqCache);
  EXPECT_EQ((Calls{"0", "1"}), Sequence());
}

TEST_F(RecordCreation, InCachedModeTheCatalogueIsNotTouchedPerRecord) {
  MakeTextFields(1);
  ASSERT_EQ(MDbStatusOk, StartCreationSeqCache(&env, ref(), table()));
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, AddTexts({u"a"}, nullptr, nullptr));
  for (const std::string& text : seam.StoreTexts()) EXPECT_EQ(std::string::npos, text.find("OBJG_0")) << text;
}

TEST_F(RecordCreation, RenumberingStopsAtTheFirstFailure) {
  MakeTextFields(1);
  for (int i = 0; i < 3; ++i) ASSERT_EQ(MDbStatusOk, AddTexts({u"a"}, nullptr, nullptr));
  for (const auto& [call, n, writes] :
       {std::tuple("CeSeekDatabase", size_t{2}, size_t{1}), std::tuple("CeWriteRecordProps", size_t{1}, size_t{2})}) {
    SetCounter(0, 0xFFFFFFFE);
    seam::PlatformSeam seam;
    seam.Fail(call, n);
    EXPECT_EQ(MDbStatusFailed, AddTexts({u"b"}, nullptr, nullptr));
    EXPECT_EQ(writes, seam.CountOf("CeWriteRecordProps"));
    EXPECT_EQ(0xFFFFFFFEu, Counter(0));
    EXPECT_EQ(3u, Count());
  }
}

TEST_F(RecordCreation, RenumberingUnderAnotherOrderNumbersInThatOrder) {
  MakeTextFields(1);
  for (const char16_t* text : {u"c", u"a", u"b"}) ASSERT_EQ(MDbStatusOk, AddTexts({text}, nullptr, nullptr));
  const uint32_t by_text = 0x5001F;
  ASSERT_EQ(MDbStatusOk, MDbDataTblClose(&env, ref(), table()));
  CEDBASEINFO info{};
  info.dwFlags = CEDB_VALIDSORTSPEC;
  info.wNumSortOrder = 2;
  info.rgSortSpecs[0].propid = 0x40013;
  info.rgSortSpecs[1].propid = by_text;
  {
    const seam::Unseen unseen;
    CEOID oid = 0;
    const HANDLE handle = CeOpenDatabaseEx(&ref()->volume, &oid, u"DATA_0", 0, 0, nullptr);
    ASSERT_TRUE(CloseHandle(handle));
    ASSERT_TRUE(CeSetDatabaseInfoEx(&ref()->volume, oid, &info));
  }
  ASSERT_EQ(MDbStatusOk, MDbDataTblOpen(&env, ref(), table(), &by_text));
  SetCounter(0, 0xFFFFFFFE);
  ASSERT_EQ(MDbStatusOk, AddTexts({u"d"}, nullptr, nullptr));
  EXPECT_EQ((Texts{u"a", u"b", u"c", u"d"}), Column(0));
  EXPECT_EQ((Calls{"0", "1", "2", "3"}), Sequence());
}

}  // namespace
