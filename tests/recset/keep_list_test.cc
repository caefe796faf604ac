// The list of records that stay in a filtered view: its growth, its block's size, what removing leaves behind.
#include "keep_list.h"

#include "recset_fixture.h"

namespace {

using enginetest::Calls;
using enginetest::RecordSetTest;

class KeepList : public RecordSetTest {
 protected:
  ~KeepList() override { Free(); }
  void Free() {
    if (recset.keepList != nullptr) (void)LocalFree(recset.keepList);
    MDbRecsetInitialize(&recset);
  }
  MDbStatus AddOid(CEOID oid) { return mdb::AddToKeepList(&recset, oid); }
  std::vector<uint32_t> Entries() const { return {recset.keepList, recset.keepList + recset.keepCount}; }
};

TEST_F(KeepList, TheFirstEntryAllocates1024BytesAndResizesThemTo1024) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, AddOid(7));
  EXPECT_EQ((Calls{"LocalAlloc(flags=64, 1024)", "LocalReAlloc(1024, 1024, flags=2)"}), seam.Texts());
  EXPECT_EQ(1024u, recset.keepCapacity);
  EXPECT_EQ((std::vector<uint32_t>{7}), Entries());
}

TEST_F(KeepList, ItGrowsBy1024BytesWhenTheRecordedCapacityIsUsedUp) {
  seam::PlatformSeam seam;
  for (CEOID oid = 1; oid <= 513; ++oid) ASSERT_EQ(MDbStatusOk, AddOid(oid));
  EXPECT_EQ((Calls{"LocalAlloc(flags=64, 1024)", "LocalReAlloc(1024, 1024, flags=2)",
                   "LocalReAlloc(1024, 2048, flags=2)", "LocalReAlloc(2048, 3072, flags=2)"}),
            seam.Texts());
  EXPECT_EQ(3072u, recset.keepCapacity);
  for (CEOID oid = 1; oid <= 513; ++oid) EXPECT_EQ(oid, recset.keepList[oid - 1]);
}

TEST_F(KeepList, AfterASortTheBlockIsNeverMadeSmallerThanItsContents) {
  for (CEOID oid = 1; oid <= 600; ++oid) ASSERT_EQ(MDbStatusOk, AddOid(oid));
  recset.keepCapacity = 0;  // as a sort leaves it
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, AddOid(601));
  EXPECT_EQ(Calls{"LocalReAlloc(3072, 3072, flags=2)"}, seam.Texts());
  EXPECT_EQ(3072u, recset.keepCapacity);
  for (CEOID oid = 1; oid <= 601; ++oid) ASSERT_EQ(oid, recset.keepList[oid - 1]);
}

// The count has 16 bits, and every edit of a record adds it once more.
TEST_F(KeepList, AFullListTakesNoNewRecordAndStillHoldsItsOwn) {
  for (int i = 0; i < 32767; ++i) ASSERT_EQ(MDbStatusOk, AddOid(7));
  EXPECT_EQ(MDbStatusOk, AddOid(7)) << "it is there already";
  EXPECT_EQ(MDbStatusFailed, AddOid(8));
  EXPECT_EQ(32767, recset.keepCount);
}

TEST_F(KeepList, WithoutMemoryNothingIsAddedAndNothingIsLost) {
  {
    seam::PlatformSeam seam;
    seam.Fail("LocalAlloc");
    EXPECT_EQ(MDbStatusFailed, AddOid(1));
    EXPECT_EQ(0, recset.keepCount);
    seam.Fail("LocalReAlloc");
    EXPECT_EQ(MDbStatusFailed, AddOid(1));
    EXPECT_EQ(0, recset.keepCount);
  }
  for (CEOID oid = 1; oid <= 256; ++oid) ASSERT_EQ(MDbStatusOk, AddOid(oid));
  seam::PlatformSeam seam;
  seam.Fail("LocalReAlloc");
  EXPECT_EQ(MDbStatusFailed, AddOid(257));
  EXPECT_EQ(256, recset.keepCount);
  EXPECT_EQ(1024u, recset.keepCapacity);
  EXPECT_EQ(MDbStatusOk, AddOid(257));
  EXPECT_EQ(257u, Entries().back());
}

TEST_F(KeepList, AnEntryIsFoundWhereverItStands) {
  EXPECT_FALSE(mdb::IsInKeepList(recset, 1));
  for (const CEOID oid : {3u, 1u, 2u}) ASSERT_EQ(MDbStatusOk, AddOid(oid));
  for (const CEOID oid : {1u, 2u, 3u}) EXPECT_TRUE(mdb::IsInKeepList(recset, oid));
  EXPECT_FALSE(mdb::IsInKeepList(recset, 4));
}

TEST_F(KeepList, RemovingMovesTheLastEntryIntoTheGap) {
  for (const CEOID oid : {1u, 2u, 3u, 4u}) ASSERT_EQ(MDbStatusOk, AddOid(oid));
  mdb::RemoveFromKeepList(&recset, 2);
  EXPECT_EQ((std::vector<uint32_t>{1, 4, 3}), Entries());
  mdb::RemoveFromKeepList(&recset, 3);
  EXPECT_EQ((std::vector<uint32_t>{1, 4}), Entries());
  mdb::RemoveFromKeepList(&recset, 9);
  EXPECT_EQ((std::vector<uint32_t>{1, 4}), Entries());
}

TEST_F(KeepList, EveryEntryOfARecordIsRemoved) {
  for (const CEOID oid : {5u, 1u, 5u, 2u, 3u}) ASSERT_EQ(MDbStatusOk, AddOid(oid));
  mdb::RemoveFromKeepList(&recset, 5);
  EXPECT_EQ((std::vector<uint32_t>{3, 1, 2}), Entries());
}

TEST_F(KeepList, TheEntryMovedIntoAGapIsNotLookedAtAgain) {
  for (const CEOID oid : {5u, 1u, 5u}) ASSERT_EQ(MDbStatusOk, AddOid(oid));
  mdb::RemoveFromKeepList(&recset, 5);
  EXPECT_EQ((std::vector<uint32_t>{5, 1}), Entries());
}

TEST_F(KeepList, TheOnlyEntryIsRemovedAndTheBlockStays) {
  ASSERT_EQ(MDbStatusOk, AddOid(5));
  mdb::RemoveFromKeepList(&recset, 5);
  EXPECT_EQ(0, recset.keepCount);
  EXPECT_NE(nullptr, recset.keepList);
}

}  // namespace
