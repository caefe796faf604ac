// The attributes: the settings of one database and its display name, one object of the catalogue.
#include "attributes.h"

#include "engine_fixture.h"
#include "seam_lines.h"
#include "volume_snapshot.h"

namespace {

using seam::Find;
using seam::Lines;

class Attributes : public enginetest::EngineTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(MDbCreate(&env, path.c_str(), ref()), MDbStatusOk);
    ASSERT_EQ(MDbAttrTblOpen(&env, ref(), &env.attrTbl), MDbStatusOk);
    auto* bytes = reinterpret_cast<uint8_t*>(&attrs);
    for (uint8_t i = 0; i < 78; ++i) bytes[i] = static_cast<uint8_t>(i + 1);
  }
  void Create() { ASSERT_EQ(MDbAttrTblCreateEx(&env, ref(), &attrs, u"Address book"), MDbStatusOk); }
  void ExpectStored(const MDbAttrs& expected) {
    MDbAttrs stored{};
    EXPECT_EQ(MDbAttrTblReadAttrs(&env, ref(), &env.attrTbl, 0, &stored), MDbStatusOk);
    EXPECT_EQ(std::memcmp(&stored, &expected, sizeof stored), 0);
  }
  std::u16string Name() {
    MDbChar name[100] = {u'~'};
    EXPECT_EQ(MDbAttrTblReadDbName(&env, ref(), &env.attrTbl, 0, name, sizeof name), MDbStatusOk);
    return name;
  }

  MDbAttrs attrs;
};

TEST_F(Attributes, CreatingWritesSettingsNameAndKeyAsANewRecord) {
  seam::PlatformSeam seam;
  Create();
  EXPECT_EQ(seam.StoreTexts().front(), Find(0x20000));
  EXPECT_EQ(
      seam.Texts({"CeWriteRecordProps"}),
      (Lines{seam::Write("0",
                         "0x20041={01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14 15 16 17 18 19 1A 1B "
                         "1C 1D 1E 1F 20 21 22 23 24 25 26 27 28 29 2A 2B 2C 2D 2E 2F 30 31 32 33 34 35 36 37 38 39 "
                         "3A 3B 3C 3D 3E 3F 40 41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E}, "
                         "0x3001F=\"Address book\", 0x10013=0x20000")}));
}

TEST_F(Attributes, AreCreatedOnceAndThenStayAsTheyAre) {
  Create();
  const Lines before = seam::SnapshotOf(ref()->volume);
  const MDbAttrs other{};
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAttrTblCreateEx(&env, ref(), &other, u"other"), MDbStatusFailed);
  EXPECT_EQ(seam.StoreTexts(), (Lines{Find(0x20000)}));
  EXPECT_EQ(seam::SnapshotOf(ref()->volume), before);
}

TEST_F(Attributes, ARefusedWriteFailsTheCreation) {
  seam::PlatformSeam seam;
  seam.Fail("CeWriteRecordProps");
  EXPECT_EQ(MDbAttrTblCreateEx(&env, ref(), &attrs, u"name"), MDbStatusFailed);
}

TEST_F(Attributes, CreatingNeedsAnOpenVolumeAndDeletingFromAClosedOneHasNothingToDo) {
  MDbRef closed;
  MDbRefInitialize(&closed);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAttrTblCreateEx(&env, &closed, &attrs, u"name"), MDbStatusFailed);
  EXPECT_EQ(MDbAttrTblDelete(&env, &closed), MDbStatusOk);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(Attributes, TheRecordIsReturnedByteForByte) {
  Create();
  ExpectStored(attrs);
  EXPECT_EQ(Name(), u"Address book");
}

TEST_F(Attributes, SettingsAndNameComeInOneReadOfBothProperties) {
  Create();
  MDbAttrs stored{};
  MDbChar name[10];
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::MDbAttrTblRead(&env, ref(), &env.attrTbl, 0, &stored, name, 10), MDbStatusOk);
  EXPECT_EQ(std::memcmp(&stored, &attrs, sizeof stored), 0);
  EXPECT_EQ(std::u16string(name), u"Addr");
  const uint64_t size = seam.CallsOf("LocalAlloc").at(0).arguments[1];
  EXPECT_EQ(seam.Texts(), seam::Join({{Find(0x20000)}, seam::ProbedRead("0x20041, 0x3001F", size)}));
}

TEST_F(Attributes, ANameReadIntoTenBytesIsItsFirstFourCharacters) {
  Create();
  const struct {
    uint32_t size_bytes;
    const char16_t* expected;
  } kRows[] = {{10, u"Addr"}, {2, u""}, {26, u"Address book"}, {24, u"Address boo"}};
  for (const auto& row : kRows) {
    MDbChar name[20];
    std::fill(std::begin(name), std::end(name), u'~');
    EXPECT_EQ(MDbAttrTblReadDbName(&env, ref(), &env.attrTbl, 0, name, row.size_bytes), MDbStatusOk);
    EXPECT_EQ(std::u16string(name), row.expected);
    EXPECT_EQ(name[row.size_bytes / 2], u'~') << row.size_bytes;
  }
}

TEST_F(Attributes, MissingAttributesAreAFailureAndOutputsStay) {
  Create();
  ASSERT_EQ(MDbAttrTblDelete(&env, ref()), MDbStatusOk);
  MDbAttrs stored;
  std::memset(&stored, 0x77, sizeof stored);
  MDbChar name[4] = {u'~'};
  EXPECT_EQ(MDbAttrTblReadAttrs(&env, ref(), &env.attrTbl, 0, &stored), MDbStatusFailed);
  EXPECT_EQ(MDbAttrTblReadDbName(&env, ref(), &env.attrTbl, 0, name, 8), MDbStatusFailed);
  EXPECT_EQ(mdb::MDbAttrTblRead(&env, ref(), &env.attrTbl, 0, &stored, name, 8), MDbStatusFailed);
  EXPECT_EQ(mdb::MDbAttrTblWriteAttrs(&env, ref(), &env.attrTbl, 0, &attrs), MDbStatusFailed);
  EXPECT_EQ(mdb::MDbAttrTblWriteDbName(&env, ref(), &env.attrTbl, 0, u"x"), MDbStatusFailed);
  EXPECT_EQ(stored.header[0], 0x77);
  EXPECT_EQ(name[0], u'~');
}

TEST_F(Attributes, IndexOneIsNotThere) {
  Create();
  MDbAttrs stored;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAttrTblReadAttrs(&env, ref(), &env.attrTbl, 1, &stored), MDbStatusFailed);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x20001)}));
}

TEST_F(Attributes, AClosedHandleIsRefusedWithoutAPlatformCall) {
  Create();
  ASSERT_EQ(MDbAttrTblClose(&env, ref(), &env.attrTbl), MDbStatusOk);
  MDbAttrs stored;
  MDbChar name[4];
  uint32_t value = 77;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAttrTblReadAttrs(&env, ref(), &env.attrTbl, 0, &stored), MDbStatusFailed);
  EXPECT_EQ(MDbAttrTblReadDbName(&env, ref(), &env.attrTbl, 0, name, 8), MDbStatusFailed);
  EXPECT_EQ(mdb::MDbAttrTblRead(&env, ref(), &env.attrTbl, 0, &stored, name, 8), MDbStatusFailed);
  EXPECT_EQ(mdb::MDbAttrTblWriteAttrs(&env, ref(), &env.attrTbl, 0, &attrs), MDbStatusFailed);
  EXPECT_EQ(mdb::MDbAttrTblWriteDbName(&env, ref(), &env.attrTbl, 0, u"x"), MDbStatusFailed);
  EXPECT_EQ(mdb::MDbAgentGetAttr(&env, ref(), &env.attrTbl, 0, 0, &value), MDbStatusFailed);
  EXPECT_EQ(mdb::MDbAgentSetAttr(&env, ref(), &env.attrTbl, 0, 0, 5), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
  EXPECT_EQ(value, 77u);
}

TEST_F(Attributes, GettingAttributeSevenIsZeroAndSettingItIsRefused) {
  Create();
  uint32_t value = 77;
  EXPECT_EQ(mdb::MDbAgentGetAttr(&env, ref(), &env.attrTbl, 0, 7, &value), MDbStatusOk);
  EXPECT_EQ(value, 0u);
  EXPECT_EQ(mdb::MDbAgentSetAttr(&env, ref(), &env.attrTbl, 0, 7, 5), MDbStatusFailed);
  ExpectStored(attrs);
}

TEST_F(Attributes, SettingAttributeTwoChangesBytesSixteenToNineteenAlone) {
  Create();
  EXPECT_EQ(mdb::MDbAgentSetAttr(&env, ref(), &env.attrTbl, 0, 2, 0xFFFFFFFF), MDbStatusOk);
  MDbAttrs expected = attrs;
  std::memset(reinterpret_cast<uint8_t*>(&expected) + 16, 0xFF, 4);
  ExpectStored(expected);
  EXPECT_EQ(Name(), u"Address book");
}

TEST_F(Attributes, TheFourAttributesAreLittleEndianWordsFromByteEight) {
  Create();
  const uint32_t expected[] = {0x0C0B0A09, 0x100F0E0D, 0x14131211, 0x18171615};
  for (int16_t id = 0; id < 4; ++id) {
    uint32_t value = 0;
    EXPECT_EQ(mdb::MDbAgentGetAttr(&env, ref(), &env.attrTbl, 0, id, &value), MDbStatusOk);
    EXPECT_EQ(value, expected[id]) << id;
  }
}

TEST_F(Attributes, OverwritingTheSettingsLeavesTheName) {
  Create();
  const MDbAttrs zeros{};
  EXPECT_EQ(mdb::MDbAttrTblWriteAttrs(&env, ref(), &env.attrTbl, 0, &zeros), MDbStatusOk);
  ExpectStored(zeros);
  EXPECT_EQ(Name(), u"Address book");
}

TEST_F(Attributes, ANameThatIsOverwrittenKeepsNineteenCharacters) {
  Create();
  EXPECT_EQ(mdb::MDbAttrTblWriteDbName(&env, ref(), &env.attrTbl, 0, u"0123456789012345678"), MDbStatusOk);
  EXPECT_EQ(Name(), u"0123456789012345678");
  EXPECT_EQ(mdb::MDbAttrTblWriteDbName(&env, ref(), &env.attrTbl, 0, u"01234567890123456789"), MDbStatusOk);
  EXPECT_EQ(Name(), u"0123456789012345678");
  EXPECT_EQ(mdb::MDbAttrTblWriteDbName(&env, ref(), &env.attrTbl, 0, u"short"), MDbStatusOk);
  EXPECT_EQ(Name(), u"short");
  ExpectStored(attrs);
}

TEST_F(Attributes, ANameThatIsCreatedMayBeLonger) {
  const std::u16string name(80, u'n');
  ASSERT_EQ(MDbAttrTblCreateEx(&env, ref(), &attrs, name.c_str()), MDbStatusOk);
  EXPECT_EQ(Name(), name);
}

TEST_F(Attributes, DeletingRemovesTheObjectAndAllowsAnotherCreation) {
  Create();
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAttrTblDelete(&env, ref()), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x20000), "CeDeleteRecord(OBJG_0, oid=#1)", Find(0x20001)}));
  Create();
}

}  // namespace
