// The schema: the fields of a database, their definitions, names and sizes.
#include "schema.h"

#include <array>

#include "engine_fixture.h"
#include "seam_lines.h"
#include "volume_snapshot.h"

namespace {

using seam::Find;
using seam::FindNext;
using seam::Lines;

class Schema : public enginetest::EngineTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(MDbCreate(&env, path.c_str(), ref()), MDbStatusOk);
    ASSERT_EQ(MDbSchemaTblOpen(&env, ref(), &env.schemaTbl), MDbStatusOk);
  }
  MDbStatus CreateFields(const std::vector<enginetest::Field>& fields) {
    const auto definitions = enginetest::Definitions(fields);
    const auto names = enginetest::Pointers(
        fields, [](const enginetest::Field& field) -> const auto& { return field.name; });
    return MDbSchemaTblCreateEx(&env, ref(), definitions.data(), names.data(), static_cast<int16_t>(fields.size()));
  }
  int16_t Count() {
    int16_t count = -1;
    EXPECT_EQ(MDbSchemaTblGetCount(&env, ref(), &env.schemaTbl, &count), MDbStatusOk);
    return count;
  }
  std::u16string Name(int16_t index) {
    MDbChar name[100] = {u'~'};
    EXPECT_EQ(MDbSchemaTblReadFldName(&env, ref(), &env.schemaTbl, index, name, sizeof name), MDbStatusOk);
    return name;
  }
};

const std::vector<enginetest::Field> kTwoFields = {{MDbFieldText, u"Price"}, {MDbFieldDate, u"Bought on"}};

// ---- creating

TEST_F(Schema, CreatingLooksForFieldZeroAndThenWritesDefinitionNameAndKeyOfEachField) {
  seam::PlatformSeam seam;
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  EXPECT_EQ(seam.StoreTexts().front(), Find(0x30000));
  EXPECT_EQ(seam.Texts({"CeWriteRecordProps"}),
            (Lines{seam::Write("0",
                               "0x20041={01 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11}, 0x3001F=\"Price\", "
                               "0x10013=0x30000"),
                   seam::Write("0",
                               "0x20041={03 12 13 14 15 16 17 18 19 1A 1B 1C 1D 1E 1F 20 21 22}, "
                               "0x3001F=\"Bought on\", 0x10013=0x30001")}));
  EXPECT_EQ(seam.CountOf("CeOpenDatabaseEx"), 0u);
}

TEST_F(Schema, CreatingNoFieldsWritesNothingAndMayBeFollowedByAnotherCreation) {
  {
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbSchemaTblCreateEx(&env, ref(), nullptr, nullptr, 0), MDbStatusOk);
    EXPECT_EQ(MDbSchemaTblCreateEx(&env, ref(), nullptr, nullptr, -5), MDbStatusOk);
    EXPECT_EQ(seam.CountOf("CeWriteRecordProps"), 0u);
  }
  EXPECT_EQ(Count(), 0);
  EXPECT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  EXPECT_EQ(Count(), 2);
}

TEST_F(Schema, ASchemaIsCreatedOnceAndNeverExtended) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  const Lines before = seam::SnapshotOf(ref()->volume);
  seam::PlatformSeam seam;
  EXPECT_EQ(CreateFields(kTwoFields), MDbStatusFailed);
  EXPECT_EQ(seam.StoreTexts(), (Lines{Find(0x30000)}));
  EXPECT_EQ(seam::SnapshotOf(ref()->volume), before);
}

TEST_F(Schema, AFailedWriteEndsTheCreationAndTheFieldsBeforeItStay) {
  {
    seam::PlatformSeam seam;
    seam.Fail("CeWriteRecordProps", 1);
    EXPECT_EQ(CreateFields({{1, u"a"}, {1, u"b"}, {1, u"c"}}), MDbStatusFailed);
    EXPECT_EQ(seam.CountOf("CeWriteRecordProps"), 2u);
  }
  EXPECT_EQ(Count(), 1);
}

TEST_F(Schema, CreatingNeedsAnOpenVolume) {
  MDbRef closed;
  MDbRefInitialize(&closed);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbSchemaTblCreateEx(&env, &closed, nullptr, nullptr, 0), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
}

// ---- reading

TEST_F(Schema, DefinitionsAndNamesAreReturnedByteForByte) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  const auto definitions = enginetest::Definitions(kTwoFields);
  for (int16_t i = 0; i < 2; ++i) {
    const size_t at = static_cast<size_t>(i);
    MDbFldInfo info{};
    EXPECT_EQ(MDbSchemaTblReadFldInfo(&env, ref(), &env.schemaTbl, i, &info), MDbStatusOk);
    EXPECT_EQ(std::memcmp(&info, &definitions[at], sizeof info), 0);
    info = {};
    MDbChar name[20] = {};
    EXPECT_EQ(MDbSchemaTblRead(&env, ref(), &env.schemaTbl, i, &info, name, sizeof name), MDbStatusOk);
    EXPECT_EQ(std::memcmp(&info, &definitions[at], sizeof info), 0);
    EXPECT_EQ(std::u16string(name), kTwoFields[at].name);
    uint8_t type = 99;
    EXPECT_EQ(MDbSchemaTblReadFldType(&env, ref(), &env.schemaTbl, i, &type), MDbStatusOk);
    EXPECT_EQ(type, kTwoFields[at].type);
    EXPECT_EQ(Name(i), kTwoFields[at].name);
  }
}

TEST_F(Schema, EachReadAsksForItsOwnPropertiesAlone) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  MDbFldInfo info;
  MDbChar name[20];
  uint8_t type;
  const struct {
    const char* why;
    std::function<MDbStatus()> read;
    const char* ids;
  } kRows[] = {
      {"both", [&] { return MDbSchemaTblRead(&env, ref(), &env.schemaTbl, 1, &info, name, sizeof name); },
       "0x20041, 0x3001F"},
      {"definition", [&] { return MDbSchemaTblReadFldInfo(&env, ref(), &env.schemaTbl, 1, &info); }, "0x20041"},
      {"type", [&] { return MDbSchemaTblReadFldType(&env, ref(), &env.schemaTbl, 1, &type); }, "0x20041"},
      {"name", [&] { return MDbSchemaTblReadFldName(&env, ref(), &env.schemaTbl, 1, name, sizeof name); }, "0x3001F"},
  };
  for (const auto& row : kRows) {
    seam::PlatformSeam seam;
    EXPECT_EQ(row.read(), MDbStatusOk) << row.why;
    ASSERT_EQ(seam.CountOf("LocalAlloc"), 1u) << row.why;
    const uint64_t size = seam.CallsOf("LocalAlloc")[0].arguments[1];
    EXPECT_EQ(seam.Texts(), seam::Join({{Find(0x30001)}, seam::ProbedRead(row.ids, size)})) << row.why;
  }
}

TEST_F(Schema, NamesAreCutToTheBufferAndMeasuredWithTheirTerminator) {
  ASSERT_EQ(CreateFields({{1, u"Price"}, {1, u""}, {1, u"Four"}, {1, std::u16string(300, u'x')}}), MDbStatusOk);
  const struct {
    const char* why;
    int16_t index;
    uint32_t size_bytes;
    const char16_t* expected;
  } kRows[] = {
      {"a buffer of 2 bytes receives only the terminator", 0, 2, u""},
      {"the exact size", 0, 12, u"Price"},
      {"one character short", 0, 10, u"Pric"},
      {"an odd size", 0, 11, u"Pric"},
      {"an empty name", 1, 40, u""},
      {"a long name into a short buffer", 3, 8, u"xxx"},
  };
  for (const auto& row : kRows) {
    MDbChar name[20];
    std::fill(std::begin(name), std::end(name), u'~');
    EXPECT_EQ(MDbSchemaTblReadFldName(&env, ref(), &env.schemaTbl, row.index, name, row.size_bytes), MDbStatusOk)
        << row.why;
    EXPECT_EQ(std::u16string(name), row.expected) << row.why;
    EXPECT_EQ(name[std::u16string(row.expected).size() + 1], u'~') << row.why;
  }
  const uint32_t kSizes[] = {12, 2, 10, 602};
  for (int16_t i = 0; i < 4; ++i) {
    uint32_t size = 0;
    EXPECT_EQ(MDbSchemaTblGetNameSize(&env, ref(), &env.schemaTbl, i, &size), MDbStatusOk);
    EXPECT_EQ(size, kSizes[i]) << "field " << i;
  }
}

TEST_F(Schema, TheNameSizeIsTheProbesAndNothingIsAllocated) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  seam::PlatformSeam seam;
  uint32_t size = 0;
  EXPECT_EQ(MDbSchemaTblGetNameSize(&env, ref(), &env.schemaTbl, 0, &size), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x30000), seam::Probe("0x3001F"), "GetLastError()"}));
}

TEST_F(Schema, AnIndexThatNoFieldHasIsAFailureAndOutputsStay) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  for (const int16_t index : {int16_t{2}, int16_t{-1}, int16_t{-32768}, int16_t{32767}}) {
    uint8_t type = 99;
    uint32_t size = 99;
    MDbChar name[4] = {u'~', u'~'};
    MDbFldInfo info;
    std::memset(&info, 0x77, sizeof info);
    EXPECT_EQ(MDbSchemaTblRead(&env, ref(), &env.schemaTbl, index, &info, name, 8), MDbStatusFailed) << index;
    EXPECT_EQ(MDbSchemaTblReadFldInfo(&env, ref(), &env.schemaTbl, index, &info), MDbStatusFailed) << index;
    EXPECT_EQ(MDbSchemaTblReadFldName(&env, ref(), &env.schemaTbl, index, name, 8), MDbStatusFailed) << index;
    EXPECT_EQ(MDbSchemaTblReadFldType(&env, ref(), &env.schemaTbl, index, &type), MDbStatusFailed) << index;
    EXPECT_EQ(MDbSchemaTblGetNameSize(&env, ref(), &env.schemaTbl, index, &size), MDbStatusFailed) << index;
    EXPECT_EQ(mdb::MDbSchemaTblGetFieldMaxSize(&env, ref(), &env.schemaTbl, index, &size), MDbStatusFailed) << index;
    EXPECT_EQ(type, 99) << index;
    EXPECT_EQ(size, 99u) << index;
    EXPECT_EQ(name[0], u'~') << index;
    EXPECT_EQ(info.type, 0x77) << index;
  }
}

TEST_F(Schema, ANegativeIndexIsTheSixteenBitsOfItsKey) {
  seam::PlatformSeam seam;
  uint8_t type = 0;
  EXPECT_EQ(MDbSchemaTblReadFldType(&env, ref(), &env.schemaTbl, -1, &type), MDbStatusFailed);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x3FFFF)}));
}

TEST_F(Schema, ReadingAfterTheCloseIsRefusedThoughTheObjectsExist) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  ASSERT_EQ(MDbSchemaTblClose(&env, ref(), &env.schemaTbl), MDbStatusOk);
  MDbFldInfo info;
  MDbChar name[8];
  uint8_t type;
  uint32_t size;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbSchemaTblRead(&env, ref(), &env.schemaTbl, 0, &info, name, sizeof name), MDbStatusFailed);
  EXPECT_EQ(MDbSchemaTblReadFldInfo(&env, ref(), &env.schemaTbl, 0, &info), MDbStatusFailed);
  EXPECT_EQ(MDbSchemaTblReadFldType(&env, ref(), &env.schemaTbl, 0, &type), MDbStatusFailed);
  EXPECT_EQ(MDbSchemaTblReadFldName(&env, ref(), &env.schemaTbl, 0, name, sizeof name), MDbStatusFailed);
  EXPECT_EQ(MDbSchemaTblGetNameSize(&env, ref(), &env.schemaTbl, 0, &size), MDbStatusFailed);
  EXPECT_EQ(mdb::MDbSchemaTblGetFieldMaxSize(&env, ref(), &env.schemaTbl, 0, &size), MDbStatusFailed);
  EXPECT_EQ(mdb::MDbSchemaTblWriteFldName(&env, ref(), &env.schemaTbl, 0, name), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
  EXPECT_EQ(Count(), 2) << "counting does not look at the handle";
}

// ---- counting and sizes

TEST_F(Schema, CountingSeeksFieldAfterField) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x30000), FindNext(0x30001), FindNext(0x30002)}));
}

TEST_F(Schema, CountingAClosedVolumeIsAFailure) {
  MDbRef closed;
  MDbRefInitialize(&closed);
  int16_t count = 77;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbSchemaTblGetCount(&env, &closed, &env.schemaTbl, &count), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(Schema, TheMoreFieldsTheShorterEachTextAndNumbersDatesAndTimesStay) {
  const struct {
    int16_t fields;
    uint32_t text_size;
  } kRows[] = {{4, 2049}, {20, 2049}, {21, 1537}, {30, 1537}, {31, 1025}, {100, 1025}};
  for (const auto& row : kRows) {
    std::vector<enginetest::Field> fields(static_cast<size_t>(row.fields), {MDbFieldText, u"text"});
    fields[1].type = MDbFieldNumber;
    fields[2].type = MDbFieldDate;
    fields[3].type = MDbFieldTime;
    ASSERT_EQ(CreateFields(fields), MDbStatusOk);
    const uint32_t expected[] = {row.text_size, 256, 256, 256};
    for (int16_t i = 0; i < 4; ++i) {
      uint32_t size = 0;
      EXPECT_EQ(mdb::MDbSchemaTblGetFieldMaxSize(&env, ref(), &env.schemaTbl, i, &size), MDbStatusOk);
      EXPECT_EQ(size, expected[i]) << row.fields << " fields, field " << i;
    }
    ASSERT_EQ(MDbSchemaTblDelete(&env, ref()), MDbStatusOk);
  }
}

TEST_F(Schema, ATypeWithoutALimitIsAFailureOfSizeZero) {
  ASSERT_EQ(CreateFields({{MDbFieldNone, u"none"}, {5, u"five"}, {255, u"all"}}), MDbStatusOk);
  for (int16_t i = 0; i < 3; ++i) {
    uint32_t size = 77;
    EXPECT_EQ(mdb::MDbSchemaTblGetFieldMaxSize(&env, ref(), &env.schemaTbl, i, &size), MDbStatusFailed);
    EXPECT_EQ(size, 0u) << i;
  }
}

// ---- deleting and overwriting

TEST_F(Schema, DeletingRemovesEveryFieldAndNothingElse) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  ASSERT_EQ(MDbWriteChecksome(&env, ref(), 1), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbSchemaTblDelete(&env, ref()), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x30000), "CeDeleteRecord(OBJG_0, oid=#1)", Find(0x30001),
                                 "CeDeleteRecord(OBJG_0, oid=#2)", Find(0x30002)}));
  EXPECT_EQ(Count(), 0);
  EXPECT_EQ(MDbVerifyChecksome(&env, ref()), MDbStatusOk);
}

TEST_F(Schema, ARefusedDeletionIsAFailure) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  seam::PlatformSeam seam;
  seam.Fail("CeDeleteRecord");
  EXPECT_EQ(MDbSchemaTblDelete(&env, ref()), MDbStatusFailed);
}

TEST_F(Schema, DeletingFromAClosedVolumeHasNothingToDo) {
  MDbRef closed;
  MDbRefInitialize(&closed);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbSchemaTblDelete(&env, &closed), MDbStatusOk);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(Schema, OverwritingADefinitionStoresSeventyEightBytesOfWhichEighteenAreRead) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  std::array<uint8_t, 78> bytes;
  for (uint8_t i = 0; i < 78; ++i) bytes[i] = static_cast<uint8_t>(200 - i);
  {
    seam::PlatformSeam seam;
    EXPECT_EQ(mdb::MDbSchemaTblWriteFldInfo(&env, ref(), &env.schemaTbl, 1, bytes.data()), MDbStatusOk);
    const seam::Call write = seam.CallsOf("CeWriteRecordProps").at(0);
    EXPECT_EQ(write.properties.at(0).id, 0x20041u);
    EXPECT_EQ(write.properties.at(0).bytes, std::vector<uint8_t>(bytes.begin(), bytes.end()));
    EXPECT_NE(write.arguments[1], 0u) << "into the object that exists";
  }
  MDbFldInfo info{};
  EXPECT_EQ(MDbSchemaTblReadFldInfo(&env, ref(), &env.schemaTbl, 1, &info), MDbStatusOk);
  EXPECT_EQ(std::memcmp(&info, bytes.data(), 18), 0);
  EXPECT_EQ(Name(1), u"Bought on");
  EXPECT_EQ(Count(), 2);
}

TEST_F(Schema, OverwritingANameChangesTheNameAlone) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  EXPECT_EQ(mdb::MDbSchemaTblWriteFldName(&env, ref(), &env.schemaTbl, 0, u"Cost"), MDbStatusOk);
  EXPECT_EQ(Name(0), u"Cost");
  EXPECT_EQ(Name(1), u"Bought on");
  uint8_t type = 0;
  EXPECT_EQ(MDbSchemaTblReadFldType(&env, ref(), &env.schemaTbl, 0, &type), MDbStatusOk);
  EXPECT_EQ(type, MDbFieldText);
}

TEST_F(Schema, OverwritingNeedsAFieldThatExistsAndAPlatformThatAgrees) {
  ASSERT_EQ(CreateFields(kTwoFields), MDbStatusOk);
  const std::array<uint8_t, 78> bytes{};
  EXPECT_EQ(mdb::MDbSchemaTblWriteFldInfo(&env, ref(), &env.schemaTbl, 2, bytes.data()), MDbStatusFailed);
  EXPECT_EQ(mdb::MDbSchemaTblWriteFldName(&env, ref(), &env.schemaTbl, 2, u"x"), MDbStatusFailed);
  EXPECT_EQ(Count(), 2);
  seam::PlatformSeam seam;
  seam.Fail("CeWriteRecordProps", 0);
  EXPECT_EQ(mdb::MDbSchemaTblWriteFldName(&env, ref(), &env.schemaTbl, 0, u"x"), MDbStatusFailed);
  seam.Fail("CeWriteRecordProps", 0);
  EXPECT_EQ(mdb::MDbSchemaTblWriteFldInfo(&env, ref(), &env.schemaTbl, 0, bytes.data()), MDbStatusFailed);
}

}  // namespace
