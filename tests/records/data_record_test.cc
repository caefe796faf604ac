// Reading records: how one is laid out, a field's text, its size, a pointer to it, the state, the info block, the mark
// and the sort value, from the live records and from the log.
#include "data_record.h"

#include "record_fixture.h"
#include "record_layout.h"
#include "record_writes.h"

namespace {

using enginetest::Calls;
using enginetest::OpenedRecord;
using enginetest::RecordTest;
using enginetest::Texts;

class DataRecord : public RecordTest {
 protected:
  DataRecord() { Make({MDbFieldText, MDbFieldNumber, MDbFieldDate}); }

  MDbStatus Read(MDbDataRec* record, int16_t field, MDbChar* text, uint32_t size) {
    return MDbDataRecReadField(&env, ref(), table(), record, field, text, size);
  }
  MDbStatus Size(MDbDataRec* record, int16_t field, uint32_t* size) {
    return MDbDataRecGetFieldSize(&env, ref(), table(), record, field, size);
  }
  MDbStatus Pointer(MDbDataRec* record, int16_t field, const MDbChar** text) {
    return MDbDataRecGetFieldPtr(&env, ref(), table(), &env.schemaTbl, record, field, text);
  }
  std::u16string TextOf(MDbDataRec* record, int16_t field) {
    MDbChar text[64] = u"not read";
    EXPECT_EQ(MDbStatusOk, Read(record, field, text, sizeof text));
    return text;
  }
  MDbStatus State(MDbDataRec* record, uint8_t* state) {
    return MDbDataRecGetState(&env, ref(), table(), record, state);
  }
  MDbStatus Info(MDbDataRec* record, MDbRecInfo* info) {
    return MDbDataRecGetRecInfo(&env, ref(), table(), record, info);
  }
};

std::vector<CEPROPID> Ids(const std::vector<seam::Property>& properties) {
  std::vector<CEPROPID> ids;
  for (const seam::Property& property : properties) ids.push_back(property.id);
  return ids;
}

TEST_F(DataRecord, ARecordIsFiveSystemPropertiesAndOneTextPerField) {
  const std::vector<seam::Property> stored = StoredLive(Add({u"Anna", u"42", u"1/2/2024"}));
  EXPECT_EQ((std::vector<CEPROPID>{0x12, 0x1000B, 0x20041, 0x30003, 0x40013, 0x5001F, 0x6001F, 0x7001F}), Ids(stored));
  EXPECT_EQ(u"42", stored.at(6).text);
}

// Another record that is opened or added through the same table moves it away from the open one.
TEST_F(DataRecord, AReadThatMeetsAnotherRecordIsRefusedUntilTheRecordIsOpenedAgain) {
  const uint32_t first = Add({u"Anna", u"42", u"1/2/2024"});
  const uint32_t second = Add({u"Berta", u"43", u"1/3/2024"});
  OpenedRecord record(&env, first);
  CeSeekDatabase(table()->dataHandle, CEDB_SEEK_CEOID, second, nullptr);
  MDbChar text[16] = u"mine";
  uint8_t state = 77;
  MDbRecInfo info = {{77}};
  const MDbChar* pointer = nullptr;
  EXPECT_EQ(MDbStatusFailed, Read(record.get(), 0, text, sizeof text));
  EXPECT_EQ(MDbStatusFailed, State(record.get(), &state));
  EXPECT_EQ(MDbStatusFailed, Info(record.get(), &info));
  EXPECT_EQ(MDbStatusFailed, Pointer(record.get(), 0, &pointer));
  EXPECT_EQ(MDbStatusFailed, mdb::WriteField(&env, ref(), table(), record.get(), 0, u"x")) << "it needs the state";
  EXPECT_EQ(u"mine", std::u16string(text));
  EXPECT_EQ(77, state);
  EXPECT_EQ(77, info.bytes[0]);
  EXPECT_EQ(nullptr, pointer);
  CeSeekDatabase(table()->dataHandle, CEDB_SEEK_CEOID, first, nullptr);
  EXPECT_EQ(u"Anna", TextOf(record.get(), 0));
}

TEST_F(DataRecord, InitializeZeroesTheHandle) {
  MDbDataRec record = {7, 7, 7, 7, this, this};
  MDbDataRecInitialize(&record);
  EXPECT_EQ(0u, record.flags);
  EXPECT_EQ(0u, record.oid);
  EXPECT_EQ(0, record.includesSystem);
  EXPECT_EQ(0, record.propertyCount);
  EXPECT_EQ(nullptr, record.block);
  EXPECT_EQ(nullptr, record.properties);
  EXPECT_EQ(0, MDbDataRecIsOpened(&record));
}

TEST_F(DataRecord, IsOpenedAnswersTheFirstFlagAlone) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  EXPECT_EQ(1, MDbDataRecIsOpened(record.get()));
  MDbDataRec other{};
  other.flags = 4;
  EXPECT_EQ(0, MDbDataRecIsOpened(&other));
}

// ---- one field

TEST_F(DataRecord, AFieldIsReadByAProbeABlockOfThatSizeAndTheReadItself) {
  OpenedRecord record(&env, Add({u"Anna", u"42", u""}));
  seam::PlatformSeam seam;
  EXPECT_EQ(u"42", TextOf(record.get(), 1));
  const size_t size = sizeof(CEPROPVAL) + 6;  // "42" and its terminator
  const Calls expected = {"CeReadRecordPropsEx(DATA_0, flags=0, [0x6001F], probe)", "GetLastError()",
                          "LocalAlloc(flags=64, " + std::to_string(size) + ")",
                          "CeReadRecordPropsEx(DATA_0, flags=0, [0x6001F], size=" + std::to_string(size) + ")",
                          "LocalFree(" + std::to_string(size) + ")"};
  EXPECT_EQ(expected, seam.Texts());
}

TEST_F(DataRecord, ReadFieldCutsWhatIsLongerAndAlwaysTerminates) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  const MDbChar* loaded = nullptr;
  for (const char* from : {"from the store", "from the loaded record"}) {
    SCOPED_TRACE(from);
    const struct {
      uint32_t size;
      const char16_t* text;
    } rows[] = {{2, u""}, {3, u""}, {4, u"A"}, {8, u"Ann"}, {9, u"Ann"}, {10, u"Anna"}, {12, u"Anna"}};
    for (const auto& row : rows) {
      MDbChar text[8] = u"#######";
      EXPECT_EQ(MDbStatusOk, Read(record.get(), 0, text, row.size));
      EXPECT_EQ(std::u16string(row.text), std::u16string(text)) << row.size;
      EXPECT_EQ(u'#', text[std::u16string(row.text).size() + 1]) << row.size;
    }
    EXPECT_EQ(MDbStatusOk, Pointer(record.get(), 0, &loaded));
  }
}

TEST_F(DataRecord, ReadFieldWithSizeTwoWritesOnlyATerminator) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  MDbChar text[] = u"##";
  EXPECT_EQ(MDbStatusOk, Read(record.get(), 0, text, 2));
  EXPECT_EQ(0, text[0]);
  EXPECT_EQ(u'#', text[1]);
}

TEST_F(DataRecord, AFieldThatTheRecordLacksHasSizeZeroAndLeavesTheTextAsItWas) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  const MDbChar* loaded = nullptr;
  for (const char* from : {"from the store", "from the loaded record"}) {
    SCOPED_TRACE(from);
    MDbChar text[8] = u"as was";
    uint32_t size = 77;
    EXPECT_EQ(MDbStatusOk, Read(record.get(), 3, text, sizeof text));
    EXPECT_EQ(MDbStatusOk, Size(record.get(), 3, &size));
    EXPECT_EQ(std::u16string(u"as was"), std::u16string(text));
    EXPECT_EQ(0u, size) << "a field that is there has its terminator at least";
    EXPECT_EQ(MDbStatusOk, Pointer(record.get(), 0, &loaded));
  }
}

TEST_F(DataRecord, AProbeThatFailsForAnotherReasonOrSucceedsIsAFailure) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  MDbChar text[8] = u"as was";
  uint32_t size = 77;
  seam::PlatformSeam seam;
  seam.Fail("CeReadRecordPropsEx", 0, ERROR_KEY_DELETED);
  EXPECT_EQ(MDbStatusFailed, Read(record.get(), 0, text, sizeof text));
  seam.Replace("CeReadRecordPropsEx", 0, {record->oid, ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(MDbStatusFailed, Read(record.get(), 0, text, sizeof text));
  seam.Replace("CeReadRecordPropsEx", 0, {record->oid, ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(MDbStatusFailed, Size(record.get(), 0, &size));
  EXPECT_EQ(std::u16string(u"as was"), std::u16string(text));
  EXPECT_EQ(77u, size);
  EXPECT_EQ(0u, seam.CountOf("LocalAlloc"));
}

TEST_F(DataRecord, MemoryOrASecondReadThatFailsAfterTheProbeAnswersZeroAndLeavesTheOutputs) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  const struct {
    const char* call;
    size_t n;
  } faults[] = {{"LocalAlloc", 0}, {"CeReadRecordPropsEx", 1}};
  for (const auto& fault : faults) {
    SCOPED_TRACE(fault.call);
    MDbChar text[8] = u"as was";
    MDbRecInfo info = {{9, 9, 9, 9, 9, 9, 9, 9, 9, 9}};
    uint8_t marked = 7;
    seam::PlatformSeam seam;
    seam.Fail(fault.call, fault.n);
    EXPECT_EQ(MDbStatusOk, Read(record.get(), 0, text, sizeof text));
    EXPECT_EQ(std::u16string(u"as was"), std::u16string(text));
    seam.Fail(fault.call, fault.n);
    EXPECT_EQ(MDbStatusOk, Info(record.get(), &info));
    EXPECT_EQ(9, info.bytes[0]);
    seam.Fail(fault.call, fault.n);
    EXPECT_EQ(MDbStatusOk, mdb::ReadMark(*table(), *record.get(), &marked));
    EXPECT_EQ(7, marked);
  }
}

TEST_F(DataRecord, ReadsNeedAnOpenTableAndAnOpenRecord) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  MDbDataRec closed_record;
  MDbDataRecInitialize(&closed_record);
  MDbDataTbl closed_table;
  MDbDataTblInitialize(&closed_table);
  const struct {
    const char* why;
    MDbDataTbl* table;
    MDbDataRec* record;
  } rows[] = {{"closed table", &closed_table, record.get()}, {"closed record", table(), &closed_record}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    MDbChar text[8] = u"as was";
    const MDbChar* pointer = text;
    uint32_t size = 77;
    uint8_t state = 77;
    uint8_t marked = 77;
    MDbRecInfo info = {{77}};
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbStatusFailed, MDbDataRecReadField(&env, ref(), row.table, row.record, 0, text, sizeof text));
    EXPECT_EQ(MDbStatusFailed, MDbDataRecGetFieldSize(&env, ref(), row.table, row.record, 0, &size));
    EXPECT_EQ(MDbStatusFailed, MDbDataRecGetFieldPtr(&env, ref(), row.table, &env.schemaTbl, row.record, 0, &pointer));
    EXPECT_EQ(MDbStatusFailed, MDbDataRecGetState(&env, ref(), row.table, row.record, &state));
    EXPECT_EQ(MDbStatusFailed, MDbDataRecGetRecInfo(&env, ref(), row.table, row.record, &info));
    EXPECT_EQ(MDbStatusFailed, mdb::ReadMark(*row.table, *row.record, &marked));
    EXPECT_TRUE(seam.Texts().empty());
    EXPECT_EQ(text, pointer);
    EXPECT_EQ(77u, size);
    EXPECT_EQ(77, state);
    EXPECT_EQ(77, marked);
    EXPECT_EQ(77, info.bytes[0]);
  }
}

TEST_F(DataRecord, ALoadedRecordAnswersAlsoWithItsTableClosed) {
  OpenedRecord record(&env, Add({u"Anna", u"42", u""}));
  const MDbChar* pointer = nullptr;
  ASSERT_EQ(MDbStatusOk, Pointer(record.get(), 0, &pointer));
  MDbDataTbl closed;
  MDbDataTblInitialize(&closed);
  MDbChar text[8] = u"as was";
  uint32_t size = 0;
  EXPECT_EQ(MDbStatusOk, MDbDataRecReadField(&env, ref(), &closed, record.get(), 0, text, sizeof text));
  EXPECT_EQ(std::u16string(u"Anna"), std::u16string(text));
  EXPECT_EQ(MDbStatusOk, MDbDataRecGetFieldSize(&env, ref(), &closed, record.get(), 1, &size));
  EXPECT_EQ(6u, size);
}

TEST_F(DataRecord, ALoadedRecordAnswersAsItWasLoadedUntilItIsOpenedAgain) {
  const uint32_t oid = Add({u"Anna", u"42", u""});
  {
    OpenedRecord record(&env, oid);
    const MDbChar* pointer = nullptr;
    uint32_t size = 0;
    ASSERT_EQ(MDbStatusOk, Pointer(record.get(), 0, &pointer));
    ASSERT_EQ(MDbStatusOk, mdb::WriteField(&env, ref(), table(), record.get(), 1, u"4711"));
    EXPECT_EQ(u"42", TextOf(record.get(), 1));
    EXPECT_EQ(MDbStatusOk, Size(record.get(), 1, &size));
    EXPECT_EQ(6u, size);
  }
  OpenedRecord record(&env, oid);
  EXPECT_EQ(u"4711", TextOf(record.get(), 1));
}

// ---- sizes

TEST_F(DataRecord, FieldSizeIsTheTextsBytesWithItsTerminator) {
  OpenedRecord record(&env, Add({u"Anna", u"", u"1/2/2024"}));
  for (const bool loaded : {false, true}) {
    SCOPED_TRACE(loaded ? "loaded" : "not loaded");
    const MDbChar* pointer = nullptr;
    if (loaded) {
      ASSERT_EQ(MDbStatusOk, Pointer(record.get(), 0, &pointer));
    }
    uint32_t size = 0;
    EXPECT_EQ(MDbStatusOk, Size(record.get(), 0, &size));
    EXPECT_EQ(10u, size);
    EXPECT_EQ(MDbStatusOk, Size(record.get(), 2, &size));
    EXPECT_EQ(18u, size);
  }
}

TEST_F(DataRecord, FieldSizeOfAnEmptyFieldIsTwo) {
  OpenedRecord record(&env, Add({u"", u"", u""}));
  uint32_t size = 0;
  EXPECT_EQ(MDbStatusOk, Size(record.get(), 0, &size));
  EXPECT_EQ(2u, size);
  const MDbChar* pointer = nullptr;
  ASSERT_EQ(MDbStatusOk, Pointer(record.get(), 0, &pointer));
  EXPECT_EQ(MDbStatusOk, Size(record.get(), 0, &size));
  EXPECT_EQ(2u, size);
}

TEST_F(DataRecord, FieldSizeAsksByAProbeAlone) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  uint32_t size = 0;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Size(record.get(), 0, &size));
  EXPECT_EQ((Calls{"CeReadRecordPropsEx(DATA_0, flags=0, [0x5001F], probe)", "GetLastError()"}), seam.Texts());
}

// ---- pointers and loading

TEST_F(DataRecord, TheFirstPointerLoadsTheFieldsWithoutTheSystemProperties) {
  OpenedRecord record(&env, Add({u"Anna", u"42", u"1/2/2024"}));
  seam::PlatformSeam seam;
  const MDbChar* text = nullptr;
  EXPECT_EQ(MDbStatusOk, Pointer(record.get(), 1, &text));
  EXPECT_EQ(std::u16string(u"42"), std::u16string(text));
  const Calls reads = seam.Texts({"CeReadRecordPropsEx"});
  ASSERT_EQ(2u, reads.size());
  EXPECT_EQ("CeReadRecordPropsEx(DATA_0, flags=0, [0x5001F, 0x6001F, 0x7001F], probe)", reads.at(0));
  EXPECT_EQ(0, record->includesSystem & 1);
  EXPECT_EQ(3, record->propertyCount);
  seam.Clear();
  EXPECT_EQ(MDbStatusOk, Pointer(record.get(), 2, &text));
  EXPECT_EQ(std::u16string(u"1/2/2024"), std::u16string(text));
  EXPECT_TRUE(seam.Texts().empty()) << "loaded once";
}

TEST_F(DataRecord, AFieldThatDoesNotExistLeavesThePointerAndAnswersZero) {
  OpenedRecord record(&env, Add({u"Anna", u"42", u""}));
  const MDbChar preset[] = u"preset";
  for (const int16_t field : {int16_t{3}, int16_t{-1}, int16_t{-5}, int16_t{32767}, int16_t{-32768}}) {
    const MDbChar* text = preset;
    EXPECT_EQ(MDbStatusOk, Pointer(record.get(), field, &text)) << field;
    EXPECT_EQ(preset, text) << field;
  }
}

TEST_F(DataRecord, FieldIndexMinusOneNeverExistsAlsoWithTheSystemPropertiesLoaded) {
  OpenedRecord record(&env, Add({u"Anna", u"42", u""}));
  ASSERT_EQ(MDbStatusOk, mdb::LoadRecord(&env, ref(), table(), &env.schemaTbl, record.get(), true));
  EXPECT_EQ(8, record->propertyCount);
  EXPECT_EQ(1, record->includesSystem & 1);
  const MDbChar preset[] = u"preset";
  const MDbChar* text = preset;
  for (int16_t field = -6; field < 0; ++field) {
    EXPECT_EQ(MDbStatusOk, Pointer(record.get(), field, &text));
    EXPECT_EQ(preset, text) << field;
  }
  EXPECT_EQ(MDbStatusOk, Pointer(record.get(), 0, &text));
  EXPECT_EQ(std::u16string(u"Anna"), std::u16string(text));
  text = preset;
  EXPECT_EQ(MDbStatusOk, Pointer(record.get(), 3, &text));
  EXPECT_EQ(preset, text);
}

TEST_F(DataRecord, LoadingWithTheSystemPropertiesAsksForThemFirst) {
  OpenedRecord record(&env, Add({u"Anna", u"42", u""}));
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, mdb::LoadRecord(&env, ref(), table(), &env.schemaTbl, record.get(), true));
  EXPECT_EQ((std::vector<CEPROPID>{0x12, 0x1000B, 0x20041, 0x30003, 0x40013, 0x5001F, 0x6001F, 0x7001F}),
            seam.CallsOf("CeReadRecordPropsEx").at(1).ids);
}

TEST_F(DataRecord, LoadingARecordThatIsLoadedFails) {
  OpenedRecord record(&env, Add({u"Anna", u"42", u""}));
  ASSERT_EQ(MDbStatusOk, mdb::LoadRecord(&env, ref(), table(), &env.schemaTbl, record.get(), true));
  void* const block = record->block;
  EXPECT_EQ(MDbStatusFailed, mdb::LoadRecord(&env, ref(), table(), &env.schemaTbl, record.get(), false));
  EXPECT_EQ(block, record->block);
}

TEST_F(DataRecord, LoadingFailsWithoutMemoryOrTheReadAndKeepsNothing) {
  const uint32_t oid = Add({u"Anna", u"42", u""});
  for (const auto& [call, count] : {std::pair("LocalAlloc", size_t{8}), std::pair("CeReadRecordPropsEx", size_t{4})}) {
    for (size_t n = 0; n < count; ++n) {
      SCOPED_TRACE(std::string(call) + " " + std::to_string(n));
      OpenedRecord record(&env, oid);
      seam::PlatformSeam seam;
      seam.Fail(call, n);
      const MDbStatus status = mdb::LoadRecord(&env, ref(), table(), &env.schemaTbl, record.get(), false);
      EXPECT_EQ(seam.FaultHappened() ? MDbStatusFailed : MDbStatusOk, status);
      EXPECT_EQ(seam.FaultHappened(), record->block == nullptr);
    }
  }
}

TEST_F(DataRecord, LoadingRefusesAnotherRecordThanTheHandles) {
  const uint32_t first = Add({u"Anna", u"42", u""});
  const uint32_t second = Add({u"Bert", u"43", u""});
  OpenedRecord record(&env, first);
  OpenedRecord other(&env, second);  // moves the handle that both read from
  const MDbChar preset[] = u"preset";
  const MDbChar* text = preset;
  EXPECT_EQ(MDbStatusFailed, Pointer(record.get(), 0, &text));
  EXPECT_EQ(preset, text);
  EXPECT_EQ(nullptr, record->block);
}

TEST_F(DataRecord, ALoadedRecordIsReadWithoutThePlatform) {
  OpenedRecord record(&env, Add({u"Anna", u"42", u""}));
  const MDbChar* text = nullptr;
  ASSERT_EQ(MDbStatusOk, Pointer(record.get(), 0, &text));
  seam::PlatformSeam seam;
  EXPECT_EQ(u"42", TextOf(record.get(), 1));
  EXPECT_TRUE(seam.Texts().empty());
}

TEST_F(DataRecord, AMissingFieldOfALoadedRecordIsAskedOfThePlatform) {
  OpenedRecord record(&env, Add({u"Anna", u"42", u""}));
  const MDbChar* text = nullptr;
  ASSERT_EQ(MDbStatusOk, Pointer(record.get(), 0, &text));
  MDbChar buffer[8] = u"as was";
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Read(record.get(), 3, buffer, sizeof buffer));
  EXPECT_EQ((Calls{"CeReadRecordPropsEx(DATA_0, flags=0, [0x8001F], probe)",
                   "CeReadRecordPropsEx(DATA_0, flags=0, [0x8001F], size=" + std::to_string(sizeof(CEPROPVAL)) + ")"}),
            seam.Texts({"CeReadRecordPropsEx"}));
  EXPECT_EQ(std::u16string(u"as was"), std::u16string(buffer));
}

TEST_F(DataRecord, ClosingFreesWhatWasLoadedAndZeroesTheHandle) {
  const uint32_t oid = Add({u"Anna", u"42", u""});
  const size_t blocks = seam::LiveBlocks();
  MDbDataRec record;
  MDbDataRecInitialize(&record);
  ASSERT_EQ(MDbStatusOk, MDbDataTblOpenRec(&env, ref(), table(), &record, &oid));
  const MDbChar* text = nullptr;
  ASSERT_EQ(MDbStatusOk, Pointer(&record, 0, &text));
  EXPECT_EQ(blocks + 1, seam::LiveBlocks()) << "the property list is freed, the block is kept";
  EXPECT_EQ(MDbStatusOk, MDbDataTblCloseRec(&env, ref(), table(), &record));
  EXPECT_EQ(blocks, seam::LiveBlocks());
  EXPECT_EQ(0u, record.flags);
  EXPECT_EQ(0u, record.oid);
  EXPECT_EQ(nullptr, record.block);
  EXPECT_EQ(MDbStatusFailed, MDbDataTblCloseRec(&env, ref(), table(), &record));
}

// ---- state, info block, mark, sort value

TEST_F(DataRecord, StateIsReadWithoutAProbeIntoRoomForOneProperty) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}, false));
  seam::PlatformSeam seam;
  uint8_t state = 0;
  EXPECT_EQ(MDbStatusOk, State(record.get(), &state));
  EXPECT_EQ(5, state);
  EXPECT_EQ(Calls{"CeReadRecordPropsEx(DATA_0, flags=0, [18], size=" + std::to_string(sizeof(CEPROPVAL)) + ")"},
            seam.Texts());
}

TEST_F(DataRecord, OnlyTheLowEightBitsOfAStateAreReadBack) {
  const uint32_t oid = Add({u"Anna", u"", u""});
  OpenedRecord record(&env, oid);
  {
    const seam::Unseen unseen;
    CEPROPVAL property{};
    property.propid = 0x12;
    property.val.uiVal = 0xAB04;
    ASSERT_EQ(oid, CeWriteRecordProps(table()->dataHandle, oid, 1, &property));
  }
  uint8_t state = 0;
  EXPECT_EQ(MDbStatusOk, State(record.get(), &state));
  EXPECT_EQ(4, state);
}

TEST_F(DataRecord, AFailingReadOfTheStateFails) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  uint8_t state = 77;
  seam::PlatformSeam seam;
  seam.Fail("CeReadRecordPropsEx");
  EXPECT_EQ(MDbStatusFailed, State(record.get(), &state));
  EXPECT_EQ(77, state);
}

TEST_F(DataRecord, InfoCopiesExactlyTenBytes) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  struct {
    MDbRecInfo info;
    uint8_t after[6];
  } room = {{{0}}, {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};
  EXPECT_EQ(MDbStatusOk, Info(record.get(), &room.info));
  for (uint8_t i = 0; i < 10; ++i) EXPECT_EQ(i + 1, room.info.bytes[i]);
  for (const uint8_t byte : room.after) EXPECT_EQ(0xEE, byte);
}

TEST_F(DataRecord, InfoFailsWithItsProbe) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  MDbRecInfo info = {{77}};
  seam::PlatformSeam seam;
  seam.Fail("CeReadRecordPropsEx");
  EXPECT_EQ(MDbStatusFailed, Info(record.get(), &info));
  EXPECT_EQ(77, info.bytes[0]);
}

TEST_F(DataRecord, TheMarkIsZeroAtCreationAndReadsAsOneWhenItIsSet) {
  const uint32_t oid = Add({u"Anna", u"", u""});
  OpenedRecord record(&env, oid);
  uint8_t marked = 7;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, mdb::ReadMark(*table(), *record.get(), &marked));
  EXPECT_EQ(0, marked);
  EXPECT_EQ("CeReadRecordPropsEx(DATA_0, flags=0, [0x1000B], probe)", seam.Texts().at(0));
  EXPECT_EQ(MDbStatusOk, mdb::WriteMark(*table(), *record.get(), 200));
  EXPECT_EQ(MDbStatusOk, mdb::ReadMark(*table(), *record.get(), &marked));
  EXPECT_EQ(1, marked);
  seam.Fail("CeReadRecordPropsEx");
  EXPECT_EQ(MDbStatusFailed, mdb::ReadMark(*table(), *record.get(), &marked));
}

TEST_F(DataRecord, TheSortValueIsZeroAtCreationAndReadsBackSigned) {
  OpenedRecord record(&env, Add({u"Anna", u"", u""}));
  int32_t value = 7;
  EXPECT_EQ(MDbStatusOk, mdb::ReadSortValue(*table(), *record.get(), &value));
  EXPECT_EQ(0, value);
  EXPECT_EQ(MDbStatusOk, mdb::WriteSortValue(*table(), *record.get(), -2147483647 - 1));
  EXPECT_EQ(MDbStatusOk, mdb::ReadSortValue(*table(), *record.get(), &value));
  EXPECT_EQ(-2147483647 - 1, value);
}

// ---- a schema without fields, and the log

TEST_F(DataRecord, ARecordOfASchemaWithNoFieldsHasExactlyTheFiveSystemProperties) {
  const Texts none;
  ASSERT_EQ(MDbStatusOk, MDbSchemaTblDelete(&env, ref()));
  const uint32_t oid = AddBlank();
  EXPECT_EQ((std::vector<CEPROPID>{0x12, 0x1000B, 0x20041, 0x30003, 0x40013}), Ids(StoredLive(oid)));
}

TEST_F(DataRecord, LoadingTheFieldsOfASchemaWithNoFieldsFindsNoField) {
  ASSERT_EQ(MDbStatusOk, MDbSchemaTblDelete(&env, ref()));
  OpenedRecord record(&env, AddBlank());
  const MDbChar preset[] = u"preset";
  const MDbChar* text = preset;
  EXPECT_EQ(MDbStatusOk, Pointer(record.get(), 0, &text));
  EXPECT_EQ(MDbStatusOk, Pointer(record.get(), -1, &text));
  EXPECT_EQ(preset, text);
  EXPECT_EQ(0, record->propertyCount);
}

TEST_F(DataRecord, ARecordOfTheLogIsReadFromTheLogInEveryOperation) {
  const uint32_t oid = Add({u"Anna", u"42", u"1/2/2024"});
  ASSERT_EQ(MDbStatusOk, mdb::DeleteRecord(&env, ref(), table(), &env.schemaTbl, &oid, 0));
  Add({u"Bert", u"", u""});
  MDbDataRec record;
  MDbDataRecInitialize(&record);
  ASSERT_EQ(MDbStatusOk, MDbDeleteTblOpenRec(&env, ref(), table(), &record, 0, nullptr));
  seam::PlatformSeam seam;
  uint8_t state = 0;
  uint8_t marked = 7;
  uint32_t size = 0;
  int32_t value = 0;
  MDbRecInfo info{};
  const MDbChar* text = nullptr;
  EXPECT_EQ(MDbStatusOk, State(&record, &state));
  EXPECT_EQ(MDbStatusOk, Info(&record, &info));
  EXPECT_EQ(MDbStatusOk, Size(&record, 0, &size));
  EXPECT_EQ(u"Anna", TextOf(&record, 0));
  EXPECT_EQ(MDbStatusOk, Pointer(&record, 1, &text));
  EXPECT_EQ(MDbStatusOk, mdb::ReadMark(*table(), record, &marked));
  EXPECT_EQ(MDbStatusOk, mdb::ReadSortValue(*table(), record, &value));
  EXPECT_EQ(MDbStatusOk, mdb::WriteMark(*table(), record, 1));
  EXPECT_EQ(MDbStatusOk, mdb::WriteSortValue(*table(), record, 5));
  EXPECT_EQ(MDbStatusOk, mdb::WriteField(&env, ref(), table(), &record, 1, u"43"));
  for (const seam::Call& call : seam.calls()) {
    EXPECT_EQ(std::string::npos, call.text.find("DATA_0")) << call.text;
  }
  EXPECT_EQ(3, state);
  EXPECT_EQ(10u, size);
  EXPECT_EQ(std::u16string(u"42"), std::u16string(text));
  EXPECT_EQ(u"43", StoredLog(0).at(6).text);
  EXPECT_EQ(MDbStatusOk, MDbDataTblCloseRec(&env, ref(), table(), &record));
}

}  // namespace
