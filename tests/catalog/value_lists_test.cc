// Value lists: texts of the application's own making, numbered from 0.
#include "engine_fixture.h"
#include "seam_lines.h"
#include "volume_snapshot.h"

namespace {

using seam::Find;
using seam::FindNext;
using seam::Lines;

class ValueLists : public enginetest::EngineTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(MDbCreate(&env, path.c_str(), ref()), MDbStatusOk);
    ASSERT_EQ(MDbValListTblOpen(&env, ref(), &env.valListTbl), MDbStatusOk);
  }
  MDbStatus CreateLists(const std::vector<std::u16string>& lists) {
    const auto pointers = enginetest::Pointers(
        lists, [](const std::u16string& list) -> const auto& { return list; });
    return MDbValListTblCreateEx(&env, ref(), pointers.data(), static_cast<int16_t>(lists.size()));
  }
  int16_t Count() {
    int16_t count = -1;
    EXPECT_EQ(MDbValListTblGetCount(&env, ref(), &env.valListTbl, &count), MDbStatusOk);
    return count;
  }
};

TEST_F(ValueLists, CreatingLooksForListZeroAndThenWritesTextAndKeyOfEachList) {
  seam::PlatformSeam seam;
  ASSERT_EQ(CreateLists({u"red\ngreen", u""}), MDbStatusOk);
  EXPECT_EQ(seam.StoreTexts().front(), Find(0x10000));
  EXPECT_EQ(seam.Texts({"CeWriteRecordProps"}), (Lines{seam::Write("0", "0x2001F=\"red\ngreen\", 0x10013=0x10000"),
                                                       seam::Write("0", "0x2001F=\"\", 0x10013=0x10001")}));
}

TEST_F(ValueLists, CreatingNoListsWritesNothingAndMayBeFollowedByAnotherCreation) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbValListTblCreateEx(&env, ref(), nullptr, 0), MDbStatusOk);
  EXPECT_EQ(MDbValListTblCreateEx(&env, ref(), nullptr, -1), MDbStatusOk);
  EXPECT_EQ(seam.CountOf("CeWriteRecordProps"), 0u);
  EXPECT_EQ(CreateLists({u"a"}), MDbStatusOk);
  EXPECT_EQ(Count(), 1);
}

TEST_F(ValueLists, AreCreatedOnce) {
  ASSERT_EQ(CreateLists({u"a"}), MDbStatusOk);
  const Lines before = seam::SnapshotOf(ref()->volume);
  seam::PlatformSeam seam;
  EXPECT_EQ(CreateLists({u"b", u"c"}), MDbStatusFailed);
  EXPECT_EQ(seam.StoreTexts(), (Lines{Find(0x10000)}));
  EXPECT_EQ(seam::SnapshotOf(ref()->volume), before);
}

TEST_F(ValueLists, AFailedWriteEndsTheCreationAndTheListsBeforeItStay) {
  {
    seam::PlatformSeam seam;
    seam.Fail("CeWriteRecordProps", 2);
    EXPECT_EQ(CreateLists({u"a", u"b", u"c", u"d"}), MDbStatusFailed);
    EXPECT_EQ(seam.CountOf("CeWriteRecordProps"), 3u);
  }
  EXPECT_EQ(Count(), 2);
}

TEST_F(ValueLists, CreatingNeedsAnOpenVolumeAndDeletingFromAClosedOneHasNothingToDo) {
  MDbRef closed;
  MDbRefInitialize(&closed);
  int16_t count = 0;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbValListTblCreateEx(&env, &closed, nullptr, 0), MDbStatusFailed);
  EXPECT_EQ(MDbValListTblGetCount(&env, &closed, &env.valListTbl, &count), MDbStatusFailed);
  EXPECT_EQ(MDbValListTblDelete(&env, &closed), MDbStatusOk);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(ValueLists, ListsAreReadAndMeasured) {
  std::u16string hundred;
  for (int i = 0; i < 100; ++i) hundred += static_cast<char16_t>(u'a' + i % 26);
  ASSERT_EQ(CreateLists({u"", hundred, u"one"}), MDbStatusOk);
  const struct {
    const char* why;
    int16_t index;
    uint32_t size_bytes;
    const char16_t* expected;
    uint32_t size;
  } kRows[] = {
      {"an empty list has size 2 and reads back empty", 0, 40, u"", 2},
      {"a hundred characters into 22 bytes yield ten", 1, 22, u"abcdefghij", 202},
      {"the exact size", 2, 8, u"one", 8},
      {"a buffer of 2 bytes receives only the terminator", 2, 2, u"", 8},
  };
  for (const auto& row : kRows) {
    MDbChar text[40];
    std::fill(std::begin(text), std::end(text), u'~');
    EXPECT_EQ(MDbValListTblRead(&env, ref(), &env.valListTbl, row.index, text, row.size_bytes), MDbStatusOk) << row.why;
    EXPECT_EQ(std::u16string(text), row.expected) << row.why;
    EXPECT_EQ(text[std::u16string(row.expected).size() + 1], u'~') << row.why;
    uint32_t size = 0;
    EXPECT_EQ(MDbValListTblGetSize(&env, ref(), &env.valListTbl, row.index, &size), MDbStatusOk) << row.why;
    EXPECT_EQ(size, row.size) << row.why;
  }
}

TEST_F(ValueLists, TheSizeAnsweredIsEnoughToReadTheWholeList) {
  const std::u16string list(1001, u'v');
  ASSERT_EQ(CreateLists({list}), MDbStatusOk);
  uint32_t size = 0;
  ASSERT_EQ(MDbValListTblGetSize(&env, ref(), &env.valListTbl, 0, &size), MDbStatusOk);
  std::vector<MDbChar> text(size / 2, u'~');
  EXPECT_EQ(MDbValListTblRead(&env, ref(), &env.valListTbl, 0, text.data(), size), MDbStatusOk);
  EXPECT_EQ(std::u16string(text.data()), list);
}

TEST_F(ValueLists, AReadIsFindProbeBlockReadAndTheSizeStopsAfterTheProbe) {
  ASSERT_EQ(CreateLists({u"one"}), MDbStatusOk);
  MDbChar text[10];
  uint32_t size = 0;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbValListTblRead(&env, ref(), &env.valListTbl, 0, text, sizeof text), MDbStatusOk);
  const uint64_t block = seam.CallsOf("LocalAlloc").at(0).arguments[1];
  EXPECT_EQ(seam.Texts(), seam::Join({{Find(0x10000)}, seam::ProbedRead("0x2001F", block)}));
  seam.Clear();
  EXPECT_EQ(MDbValListTblGetSize(&env, ref(), &env.valListTbl, 0, &size), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x10000), seam::Probe("0x2001F"), "GetLastError()"}));
}

TEST_F(ValueLists, OnePastTheLastListIsAFailureAndOutputsStay) {
  ASSERT_EQ(CreateLists({u"a", u"b"}), MDbStatusOk);
  for (const int16_t index : {int16_t{2}, int16_t{-1}}) {
    MDbChar text[4] = {u'~'};
    uint32_t size = 77;
    EXPECT_EQ(MDbValListTblRead(&env, ref(), &env.valListTbl, index, text, 8), MDbStatusFailed) << index;
    EXPECT_EQ(MDbValListTblGetSize(&env, ref(), &env.valListTbl, index, &size), MDbStatusFailed) << index;
    EXPECT_EQ(text[0], u'~') << index;
    EXPECT_EQ(size, 77u) << index;
  }
}

TEST_F(ValueLists, AClosedHandleIsRefusedWithoutAPlatformCall) {
  ASSERT_EQ(CreateLists({u"a"}), MDbStatusOk);
  ASSERT_EQ(MDbValListTblClose(&env, ref(), &env.valListTbl), MDbStatusOk);
  MDbChar text[4];
  uint32_t size;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbValListTblRead(&env, ref(), &env.valListTbl, 0, text, 8), MDbStatusFailed);
  EXPECT_EQ(MDbValListTblGetSize(&env, ref(), &env.valListTbl, 0, &size), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
  EXPECT_EQ(Count(), 1) << "counting does not look at the handle";
}

TEST_F(ValueLists, CountingSeeksListAfterListAndStopsBeforeTheAttributes) {
  ASSERT_EQ(CreateLists({u"a", u"b"}), MDbStatusOk);
  const MDbAttrs attrs{};
  ASSERT_EQ(MDbAttrTblCreateEx(&env, ref(), &attrs, u"name"), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x10000), FindNext(0x10001), FindNext(0x10002)}));
}

TEST_F(ValueLists, DeletingRemovesEveryListAndAllowsAnotherCreation) {
  ASSERT_EQ(CreateLists({u"a", u"b"}), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbValListTblDelete(&env, ref()), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x10000), "CeDeleteRecord(OBJG_0, oid=#1)", Find(0x10001),
                                 "CeDeleteRecord(OBJG_0, oid=#2)", Find(0x10002)}));
  EXPECT_EQ(Count(), 0);
  EXPECT_EQ(CreateLists({u"c"}), MDbStatusOk);
}

}  // namespace
