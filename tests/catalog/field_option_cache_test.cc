// Field options with the cache: what is kept, when it is read from the store again, and what a write answers.
#include "engine_fixture.h"
#include "seam_lines.h"

namespace {

using seam::Find;
using seam::FindNext;
using seam::Lines;

// One entry of the cache's array: two pointers.
constexpr size_t kEntry = 2 * sizeof(void*);

class FieldOptionCache : public enginetest::EngineTest {
 protected:
  void SetUp() override {
    enginetest::Recipe recipe;
    recipe.fields.assign(3, {MDbFieldText, u"field"});
    CreateDatabase(recipe);
    OpenDatabase();  // opens the option table with the cache
    pairs = enginetest::OptionPairs(3);
  }
  MDbFldOption Read(int16_t index, MDbStatus expected = MDbStatusOk) {
    MDbFldOption option;
    std::memset(&option, 0x77, sizeof option);
    EXPECT_EQ(MDbFieldOpTblReadOption(&env, ref(), &env.fieldOpTbl, index, &option), expected) << index;
    return option;
  }
  MDbFldOptionEx ReadEx(int16_t index, MDbStatus expected = MDbStatusOk) {
    MDbFldOptionEx option;
    std::memset(&option, 0x77, sizeof option);
    EXPECT_EQ(MDbFieldOpTblReadOptionEx(&env, ref(), &env.fieldOpTbl, index, &option), expected) << index;
    return option;
  }
  static bool Same(const MDbFldOption& a, const MDbFldOption& b) { return std::memcmp(&a, &b, 6) == 0; }
  static bool Same(const MDbFldOptionEx& a, const MDbFldOptionEx& b) { return std::memcmp(&a, &b, 9) == 0; }

  // What the store holds, whatever is cached.
  MDbFldOption Stored(int16_t index) {
    MDbFieldOpTbl table;
    MDbFieldOpTblInitialize(&table);
    EXPECT_EQ(MDbFieldOpTblOpen(&env, ref(), &table, 0), MDbStatusOk);
    MDbFldOption option{};
    EXPECT_EQ(MDbFieldOpTblReadOption(&env, ref(), &table, index, &option), MDbStatusOk);
    EXPECT_EQ(MDbFieldOpTblClose(&env, ref(), &table), MDbStatusOk);
    return option;
  }
  // Stores options for one more field through the catalogue's own handle.
  void AddFourthField() {
    const seam::Unseen unseen;
    CEPROPVAL values[3] = {};
    values[0].propid = 0x20041;
    values[0].val.blob = {6, pairs[0].option.bytes};
    values[1].propid = 0x30041;
    values[1].val.blob = {9, &pairs[0].optionEx.widthShare};
    values[2].propid = 0x10013;
    values[2].val.ulVal = 3;
    ASSERT_NE(CeWriteRecordProps(ref()->catalog.handle, 0, 3, values), 0u);
  }

  std::vector<MDbFldOptionPair> pairs;
};

TEST_F(FieldOptionCache, OpeningBuildsNoCache) {
  EXPECT_EQ(env.fieldOpTbl.flags, 1u);
  EXPECT_EQ(env.fieldOpTbl.cache, nullptr);
  EXPECT_EQ(env.fieldOpTbl.cacheCount, 0);
}

TEST_F(FieldOptionCache, TheFirstReadTakesBothPropertiesCountsTheFieldsAndSizesTheCache) {
  seam::PlatformSeam seam;
  EXPECT_TRUE(Same(Read(1), pairs[1].option));
  const uint64_t block = seam.CallsOf("LocalAlloc").at(0).arguments[1];
  EXPECT_EQ(seam.Texts(), seam::Join({{Find(1)},
                                      seam::ProbedReadKept("0x20041, 0x30041", block),
                                      {Find(0), FindNext(1), FindNext(2), FindNext(3), seam::Allocate(3 * kEntry)}}));
  EXPECT_NE(env.fieldOpTbl.cache, nullptr);
  EXPECT_EQ(env.fieldOpTbl.cacheCount, 3);
}

TEST_F(FieldOptionCache, ALaterFieldIsReadWithoutCountingAgain) {
  Read(1);
  seam::PlatformSeam seam;
  EXPECT_TRUE(Same(Read(2), pairs[2].option));
  const uint64_t block = seam.CallsOf("LocalAlloc").at(0).arguments[1];
  EXPECT_EQ(seam.Texts(), seam::Join({{Find(2)}, seam::ProbedReadKept("0x20041, 0x30041", block)}));
}

TEST_F(FieldOptionCache, AFieldThatWasReadOnceAsksThePlatformNothingMore) {
  Read(1);
  seam::PlatformSeam seam;
  EXPECT_TRUE(Same(Read(1), pairs[1].option));
  EXPECT_TRUE(Same(ReadEx(1), pairs[1].optionEx));
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(FieldOptionCache, TheExtendedOptionFillsTheSameEntry) {
  EXPECT_TRUE(Same(ReadEx(0), pairs[0].optionEx));
  seam::PlatformSeam seam;
  EXPECT_TRUE(Same(Read(0), pairs[0].option));
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(FieldOptionCache, ClosingFreesEveryEntryAndTheArrayAndReopeningStartsEmpty) {
  Read(0);
  Read(2);
  const size_t blocks = seam::LiveBlocks();
  {
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbFieldOpTblClose(&env, ref(), &env.fieldOpTbl), MDbStatusOk);
    EXPECT_EQ(seam.CountOf("LocalFree"), 3u) << "the entry that was never read is null and needs no call";
    EXPECT_EQ(seam.Texts().back(), seam::Free(3 * kEntry));
  }
  EXPECT_EQ(seam::LiveBlocks(), blocks - 3);
  EXPECT_EQ(env.fieldOpTbl.opened, 0);
  EXPECT_EQ(env.fieldOpTbl.flags, 0u);
  EXPECT_EQ(env.fieldOpTbl.cache, nullptr);
  EXPECT_EQ(env.fieldOpTbl.cacheCount, 0);
  EXPECT_EQ(MDbFieldOpTblOpen(&env, ref(), &env.fieldOpTbl, 1), MDbStatusOk);
  seam::PlatformSeam seam;
  Read(0);
  EXPECT_EQ(seam.CountOf("CeReadRecordPropsEx"), 2u);
}

TEST_F(FieldOptionCache, ClosingACachedHandleTwiceIsHarmless) {
  Read(0);
  EXPECT_EQ(MDbFieldOpTblClose(&env, ref(), &env.fieldOpTbl), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbFieldOpTblClose(&env, ref(), &env.fieldOpTbl), MDbStatusOk);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(FieldOptionCache, AFieldAddedAfterTheFirstReadIsReadFromTheStoreEveryTime) {
  Read(0);
  AddFourthField();
  const size_t blocks = seam::LiveBlocks();
  for (int again = 0; again < 2; ++again) {
    seam::PlatformSeam seam;
    EXPECT_TRUE(Same(Read(3), pairs[0].option));
    EXPECT_EQ(seam.CountOf("CeReadRecordPropsEx"), 2u);
    EXPECT_EQ(seam.CountOf("LocalFree"), 1u);
  }
  EXPECT_EQ(seam::LiveBlocks(), blocks);
  EXPECT_EQ(env.fieldOpTbl.cacheCount, 3);
}

TEST_F(FieldOptionCache, AMissingFieldIsAFailureAndKeepsNothing) {
  const size_t blocks = seam::LiveBlocks();
  EXPECT_EQ(Read(3, MDbStatusFailed).bytes[0], 0x77);
  EXPECT_EQ(ReadEx(-1, MDbStatusFailed).widthShare, 0x77);
  EXPECT_EQ(seam::LiveBlocks(), blocks);
  EXPECT_EQ(env.fieldOpTbl.cache, nullptr);
}

TEST_F(FieldOptionCache, WithoutMemoryForTheArrayTheReadSucceedsAndTheNextOneTriesAgain) {
  const size_t blocks = seam::LiveBlocks();
  {
    seam::PlatformSeam seam;
    seam.Fail("LocalAlloc", 1);
    EXPECT_TRUE(Same(Read(1), pairs[1].option));
    ASSERT_TRUE(seam.FaultHappened());
  }
  EXPECT_EQ(seam::LiveBlocks(), blocks) << "the block is freed";
  EXPECT_EQ(env.fieldOpTbl.cache, nullptr);
  EXPECT_EQ(env.fieldOpTbl.cacheCount, 0);
  EXPECT_TRUE(Same(Read(1), pairs[1].option));
  EXPECT_NE(env.fieldOpTbl.cache, nullptr);
}

TEST_F(FieldOptionCache, AReadThatFailsAfterItsProbeAnswersZeroAndIsNotKept) {
  const struct {
    const char* failing;
    size_t n;
  } kRows[] = {{"LocalAlloc", 0}, {"CeReadRecordPropsEx", 1}};
  for (const auto& row : kRows) {
    const size_t blocks = seam::LiveBlocks();
    {
      seam::PlatformSeam seam;
      seam.Fail(row.failing, row.n);
      EXPECT_EQ(Read(1).bytes[0], 0x77) << row.failing;
      seam.Fail(row.failing, row.n);
      EXPECT_EQ(ReadEx(1).widthShare, 0x77) << row.failing;
    }
    EXPECT_EQ(seam::LiveBlocks(), blocks) << row.failing;
  }
  EXPECT_TRUE(Same(Read(1), pairs[1].option));
}

// ---- writing

TEST_F(FieldOptionCache, AnUnreadFieldIsWrittenAndRefusedAndReadsBackTheNewValue) {
  const MDbFldOption other = {{1, 3, 5, 7, 9, 11}};
  EXPECT_EQ(MDbFieldOpTblWriteOption(&env, ref(), &env.fieldOpTbl, 1, &other), MDbStatusFailed);
  EXPECT_TRUE(Same(Stored(1), other));
  EXPECT_TRUE(Same(Read(1), other));
  const MDbFldOptionEx other_ex = {9, 8, 7, {6, 5, 4}, 3, 2, 1};
  EXPECT_EQ(MDbFieldOpTblWriteOptionEx(&env, ref(), &env.fieldOpTbl, 2, &other_ex), MDbStatusFailed)
      << "the cache is there by now, but this field was never read";
  EXPECT_TRUE(Same(ReadEx(2), other_ex));
}

TEST_F(FieldOptionCache, AReadFieldIsWrittenInTheStoreAndInTheCache) {
  Read(1);
  const MDbFldOption other = {{1, 3, 5, 7, 9, 11}};
  const MDbFldOptionEx other_ex = {9, 8, 7, {6, 5, 4}, 3, 2, 1};
  EXPECT_EQ(MDbFieldOpTblWriteOption(&env, ref(), &env.fieldOpTbl, 1, &other), MDbStatusOk);
  EXPECT_EQ(MDbFieldOpTblWriteOptionEx(&env, ref(), &env.fieldOpTbl, 1, &other_ex), MDbStatusOk);
  {
    seam::PlatformSeam seam;
    EXPECT_TRUE(Same(Read(1), other));
    EXPECT_TRUE(Same(ReadEx(1), other_ex));
    EXPECT_TRUE(seam.calls().empty());
  }
  EXPECT_TRUE(Same(Stored(1), other));
}

TEST_F(FieldOptionCache, ARefusedWriteLeavesTheCachedCopy) {
  Read(1);
  const MDbFldOption other = {{1, 3, 5, 7, 9, 11}};
  {
    seam::PlatformSeam seam;
    seam.Fail("CeWriteRecordProps");
    EXPECT_EQ(MDbFieldOpTblWriteOption(&env, ref(), &env.fieldOpTbl, 1, &other), MDbStatusFailed);
  }
  EXPECT_TRUE(Same(Read(1), pairs[1].option));
}

TEST_F(FieldOptionCache, OnlyTheLowestFlagTurnsItOn) {
  const struct {
    uint32_t flags;
    bool cached;
  } kRows[] = {{0, false}, {2, false}, {0xFFFFFFFE, false}, {3, true}, {0xFFFFFFFF, true}};
  for (const auto& row : kRows) {
    ASSERT_EQ(MDbFieldOpTblClose(&env, ref(), &env.fieldOpTbl), MDbStatusOk);
    ASSERT_EQ(MDbFieldOpTblOpen(&env, ref(), &env.fieldOpTbl, row.flags), MDbStatusOk);
    EXPECT_EQ(env.fieldOpTbl.flags, row.flags);
    Read(0);
    EXPECT_EQ(env.fieldOpTbl.cache != nullptr, row.cached) << row.flags;
  }
}

TEST_F(FieldOptionCache, TwoHandlesKeepTheirOwnCopies) {
  Read(1);
  MDbFieldOpTbl second;
  MDbFieldOpTblInitialize(&second);
  ASSERT_EQ(MDbFieldOpTblOpen(&env, ref(), &second, 0), MDbStatusOk);
  const MDbFldOption other = {{1, 3, 5, 7, 9, 11}};
  EXPECT_EQ(MDbFieldOpTblWriteOption(&env, ref(), &second, 1, &other), MDbStatusOk);
  EXPECT_TRUE(Same(Read(1), pairs[1].option)) << "the cached handle does not see the other one's write";
  EXPECT_EQ(MDbFieldOpTblClose(&env, ref(), &second), MDbStatusOk);
}

}  // namespace
