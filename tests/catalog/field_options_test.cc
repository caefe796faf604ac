// Field options without the cache: creating, reading, writing, counting, deleting and the defaults.
#include "engine_fixture.h"
#include "seam_lines.h"
#include "volume_snapshot.h"

namespace {

using seam::Find;
using seam::FindNext;
using seam::Lines;

MDbFldOptionPair Pair(uint8_t first) {
  MDbFldOptionPair pair;
  auto* bytes = reinterpret_cast<uint8_t*>(&pair);
  for (uint8_t i = 0; i < 15; ++i) bytes[i] = static_cast<uint8_t>(first + i);
  return pair;
}

class FieldOptions : public enginetest::EngineTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(MDbCreate(&env, path.c_str(), ref()), MDbStatusOk);
    ASSERT_EQ(MDbFieldOpTblOpen(&env, ref(), &env.fieldOpTbl, 0), MDbStatusOk);
  }
  MDbStatus CreatePairs(std::vector<MDbFldOptionPair> pairs) {
    return MDbFieldOpTblCreateEx(&env, ref(), pairs.data(), static_cast<int16_t>(pairs.size()));
  }
  int16_t Count() {
    int16_t count = -1;
    EXPECT_EQ(MDbFieldOpTblGetCount(&env, ref(), &env.fieldOpTbl, &count), MDbStatusOk);
    return count;
  }
  void ExpectStored(int16_t index, const MDbFldOptionPair& expected) {
    MDbFldOption option{};
    MDbFldOptionEx option_ex{};
    EXPECT_EQ(MDbFieldOpTblReadOption(&env, ref(), &env.fieldOpTbl, index, &option), MDbStatusOk);
    EXPECT_EQ(MDbFieldOpTblReadOptionEx(&env, ref(), &env.fieldOpTbl, index, &option_ex), MDbStatusOk);
    EXPECT_EQ(std::memcmp(&option, &expected.option, 6), 0) << index;
    EXPECT_EQ(std::memcmp(&option_ex, &expected.optionEx, 9), 0) << index;
  }
};

TEST_F(FieldOptions, CreatingLooksForFieldZeroAndThenWritesOptionExtendedOptionAndKey) {
  seam::PlatformSeam seam;
  ASSERT_EQ(CreatePairs({Pair(1), Pair(0x41)}), MDbStatusOk);
  EXPECT_EQ(seam.StoreTexts().front(), Find(0));
  EXPECT_EQ(seam.Texts({"CeWriteRecordProps"}),
            (Lines{seam::Write("0", "0x20041={01 02 03 04 05 06}, 0x30041={07 08 09 0A 0B 0C 0D 0E 0F}, 0x10013=0"),
                   seam::Write("0", "0x20041={41 42 43 44 45 46}, 0x30041={47 48 49 4A 4B 4C 4D 4E 4F}, 0x10013=1")}));
}

TEST_F(FieldOptions, AreCreatedOnce) {
  ASSERT_EQ(CreatePairs({Pair(1)}), MDbStatusOk);
  const Lines before = seam::SnapshotOf(ref()->volume);
  seam::PlatformSeam seam;
  EXPECT_EQ(CreatePairs({Pair(2), Pair(3)}), MDbStatusFailed);
  EXPECT_EQ(seam.StoreTexts(), (Lines{Find(0)}));
  EXPECT_EQ(seam::SnapshotOf(ref()->volume), before);
}

TEST_F(FieldOptions, CreatingNoneWritesNothing) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbFieldOpTblCreateEx(&env, ref(), nullptr, 0), MDbStatusOk);
  EXPECT_EQ(MDbFieldOpTblCreateEx(&env, ref(), nullptr, -3), MDbStatusOk);
  EXPECT_EQ(seam.CountOf("CeWriteRecordProps"), 0u);
}

TEST_F(FieldOptions, AFailedWriteEndsTheCreationAndTheFieldsBeforeItStay) {
  {
    seam::PlatformSeam seam;
    seam.Fail("CeWriteRecordProps", 1);
    EXPECT_EQ(CreatePairs({Pair(1), Pair(2), Pair(3)}), MDbStatusFailed);
    EXPECT_EQ(seam.CountOf("CeWriteRecordProps"), 2u);
  }
  EXPECT_EQ(Count(), 1);
}

TEST_F(FieldOptions, CreatingAndCountingNeedAnOpenVolumeAndDeletingHasNothingToDoWithoutOne) {
  MDbRef closed;
  MDbRefInitialize(&closed);
  int16_t count = 0;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbFieldOpTblCreateEx(&env, &closed, nullptr, 0), MDbStatusFailed);
  EXPECT_EQ(MDbFieldOpTblGetCount(&env, &closed, &env.fieldOpTbl, &count), MDbStatusFailed);
  EXPECT_EQ(MDbFieldOpTblDelete(&env, &closed), MDbStatusOk);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(FieldOptions, BothRecordsAreReturnedByteForByte) {
  ASSERT_EQ(CreatePairs({Pair(1), Pair(0x41)}), MDbStatusOk);
  ExpectStored(0, Pair(1));
  ExpectStored(1, Pair(0x41));
}

TEST_F(FieldOptions, WithoutTheCacheEachReadAsksForItsOwnPropertyAndFreesItsBlockAtOnce) {
  ASSERT_EQ(CreatePairs({Pair(1)}), MDbStatusOk);
  MDbFldOption option;
  MDbFldOptionEx option_ex;
  for (int again = 0; again < 2; ++again) {
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbFieldOpTblReadOption(&env, ref(), &env.fieldOpTbl, 0, &option), MDbStatusOk);
    uint64_t block = seam.CallsOf("LocalAlloc").at(0).arguments[1];
    EXPECT_EQ(seam.Texts(), seam::Join({{Find(0)}, seam::ProbedRead("0x20041", block)}));
    seam.Clear();
    EXPECT_EQ(MDbFieldOpTblReadOptionEx(&env, ref(), &env.fieldOpTbl, 0, &option_ex), MDbStatusOk);
    block = seam.CallsOf("LocalAlloc").at(0).arguments[1];
    EXPECT_EQ(seam.Texts(), seam::Join({{Find(0)}, seam::ProbedRead("0x30041", block)}));
  }
  EXPECT_EQ(env.fieldOpTbl.cache, nullptr);
}

TEST_F(FieldOptions, WritingOneRecordLeavesTheOther) {
  ASSERT_EQ(CreatePairs({Pair(1), Pair(0x41)}), MDbStatusOk);
  MDbFldOptionPair expected = Pair(1);
  expected.option = Pair(0x81).option;
  {
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbFieldOpTblWriteOption(&env, ref(), &env.fieldOpTbl, 0, &expected.option), MDbStatusOk);
    const seam::Call write = seam.CallsOf("CeWriteRecordProps").at(0);
    EXPECT_EQ(write.text.find(seam::Write("#1", "0x20041={81 82 83 84 85 86}").substr(0, 59)), 0u) << write.text;
    EXPECT_EQ(seam.StoreTexts().front(), Find(0));
  }
  ExpectStored(0, expected);
  expected.optionEx = Pair(0xC1).optionEx;
  {
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbFieldOpTblWriteOptionEx(&env, ref(), &env.fieldOpTbl, 0, &expected.optionEx), MDbStatusOk);
    EXPECT_EQ(seam.CallsOf("CeWriteRecordProps").at(0).properties.at(0).id, 0x30041u);
    EXPECT_EQ(seam.CallsOf("CeWriteRecordProps").at(0).properties.at(0).bytes.size(), 9u);
  }
  ExpectStored(0, expected);
  ExpectStored(1, Pair(0x41));
  EXPECT_EQ(Count(), 2);
}

TEST_F(FieldOptions, AMissingFieldIsNeitherReadNorWritten) {
  ASSERT_EQ(CreatePairs({Pair(1)}), MDbStatusOk);
  for (const int16_t index : {int16_t{1}, int16_t{-1}}) {
    MDbFldOption option = Pair(0x70).option;
    MDbFldOptionEx option_ex = Pair(0x70).optionEx;
    EXPECT_EQ(MDbFieldOpTblReadOption(&env, ref(), &env.fieldOpTbl, index, &option), MDbStatusFailed) << index;
    EXPECT_EQ(MDbFieldOpTblReadOptionEx(&env, ref(), &env.fieldOpTbl, index, &option_ex), MDbStatusFailed) << index;
    EXPECT_EQ(option.bytes[0], 0x70) << index;
    EXPECT_EQ(option_ex.widthShare, 0x76) << index;
    EXPECT_EQ(MDbFieldOpTblWriteOption(&env, ref(), &env.fieldOpTbl, index, &option), MDbStatusFailed) << index;
    EXPECT_EQ(MDbFieldOpTblWriteOptionEx(&env, ref(), &env.fieldOpTbl, index, &option_ex), MDbStatusFailed) << index;
  }
  EXPECT_EQ(Count(), 1);
}

TEST_F(FieldOptions, ARefusedWriteIsAFailure) {
  ASSERT_EQ(CreatePairs({Pair(1)}), MDbStatusOk);
  const MDbFldOptionPair other = Pair(9);
  {
    seam::PlatformSeam seam;
    seam.Fail("CeWriteRecordProps");
    EXPECT_EQ(MDbFieldOpTblWriteOption(&env, ref(), &env.fieldOpTbl, 0, &other.option), MDbStatusFailed);
    seam.Fail("CeWriteRecordProps");
    EXPECT_EQ(MDbFieldOpTblWriteOptionEx(&env, ref(), &env.fieldOpTbl, 0, &other.optionEx), MDbStatusFailed);
  }
  ExpectStored(0, Pair(1));
}

TEST_F(FieldOptions, AClosedHandleIsRefusedWithoutAPlatformCall) {
  ASSERT_EQ(CreatePairs({Pair(1)}), MDbStatusOk);
  ASSERT_EQ(MDbFieldOpTblClose(&env, ref(), &env.fieldOpTbl), MDbStatusOk);
  MDbFldOptionPair pair = Pair(1);
  int16_t orders[2];
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbFieldOpTblReadOption(&env, ref(), &env.fieldOpTbl, 0, &pair.option), MDbStatusFailed);
  EXPECT_EQ(MDbFieldOpTblReadOptionEx(&env, ref(), &env.fieldOpTbl, 0, &pair.optionEx), MDbStatusFailed);
  EXPECT_EQ(MDbFieldOpTblWriteOption(&env, ref(), &env.fieldOpTbl, 0, &pair.option), MDbStatusFailed);
  EXPECT_EQ(MDbFieldOpTblWriteOptionEx(&env, ref(), &env.fieldOpTbl, 0, &pair.optionEx), MDbStatusFailed);
  EXPECT_EQ(MDbFieldOpTblGetDisplayOrders(&env, ref(), &env.fieldOpTbl, orders, 2), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(FieldOptions, CountingAndDeletingWalkTheFields) {
  ASSERT_EQ(CreatePairs({Pair(1), Pair(2)}), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0), FindNext(1), FindNext(2)}));
  seam.Clear();
  EXPECT_EQ(MDbFieldOpTblDelete(&env, ref()), MDbStatusOk);
  EXPECT_EQ(seam.Texts(),
            (Lines{Find(0), "CeDeleteRecord(OBJG_0, oid=#1)", Find(1), "CeDeleteRecord(OBJG_0, oid=#2)", Find(2)}));
  EXPECT_EQ(Count(), 0);
}

TEST_F(FieldOptions, TheDefaultsShareTheRowAmongThreeFieldsAtMostAndLeaveTheLastByte) {
  const struct {
    int16_t fields;
    uint8_t share;
  } kRows[] = {{1, 225}, {2, 112}, {3, 75}, {4, 75}, {9, 75}, {32767, 75}};
  for (const auto& row : kRows) {
    MDbFldOptionEx option;
    std::memset(&option, 0xEE, sizeof option);
    EXPECT_EQ(MDbFieldOpTblGetDefOptionEx(&option, 7, row.fields), MDbStatusOk);
    const uint8_t expected[] = {row.share, 1, 0, 0, 0, 0, 7, 0, 0xEE};
    EXPECT_EQ(std::memcmp(&option, expected, sizeof expected), 0) << row.fields << " fields";
  }
}

TEST_F(FieldOptions, TheDefaultDisplayOrderIsTheByteGiven) {
  for (const uint8_t order : {uint8_t{0}, uint8_t{255}}) {
    MDbFldOptionEx option{};
    EXPECT_EQ(MDbFieldOpTblGetDefOptionEx(&option, order, 1), MDbStatusOk);
    EXPECT_EQ(option.displayOrder, order);
  }
}

}  // namespace
