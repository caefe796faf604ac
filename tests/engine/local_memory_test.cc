// The helpers over the local heap.
#include "local_memory.h"

#include <gtest/gtest.h>

#include "seam_lines.h"

namespace {

using seam::Lines;

TEST(LocalMemory, ABlockOfSizeZeroIsTwoZeroBytes) {
  seam::PlatformSeam seam;
  void* block = mdb::MemAlloc(0);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(static_cast<const uint8_t*>(block)[0], 0);
  EXPECT_EQ(static_cast<const uint8_t*>(block)[1], 0);
  EXPECT_EQ(mdb::MemSize(block), 2u);
  mdb::MemFree(block);
  EXPECT_EQ(seam.Texts(), (Lines{"LocalAlloc(flags=64, 2)", "LocalSize(2)", "LocalFree(2)"}));
}

TEST(LocalMemory, ABlockIsTakenZeroFilledAndOfTheSizeAsked) {
  seam::PlatformSeam seam;
  void* block = mdb::MemAlloc(100);
  ASSERT_NE(block, nullptr);
  for (size_t i = 0; i < 100; ++i) EXPECT_EQ(static_cast<const uint8_t*>(block)[i], 0) << i;
  mdb::MemFree(block);
  EXPECT_EQ(seam.Texts(), (Lines{"LocalAlloc(flags=64, 100)", "LocalFree(100)"}));
}

TEST(LocalMemory, FreeingNullAsksThePlatformNothing) {
  seam::PlatformSeam seam;
  mdb::MemFree(nullptr);
  EXPECT_TRUE(seam.calls().empty());
}

TEST(LocalMemory, AFailedAllocationIsNull) {
  seam::PlatformSeam seam;
  seam.Fail("LocalAlloc");
  EXPECT_EQ(mdb::MemAlloc(10), nullptr);
}

TEST(LocalMemory, LockingGivesTheBlockBackUnchangedAndAsksThePlatformNothing) {
  int anything = 0;
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::MemLock(&anything), &anything);
  mdb::MemUnlock(&anything);
  EXPECT_TRUE(seam.calls().empty());
}

TEST(LocalMemory, ReallocationKeepsTheContentsAndMayMove) {
  seam::PlatformSeam seam;
  auto* block = static_cast<uint8_t*>(mdb::MemAlloc(4));
  ASSERT_NE(block, nullptr);
  for (uint8_t i = 0; i < 4; ++i) block[i] = static_cast<uint8_t>(i + 1);
  auto* larger = static_cast<uint8_t*>(mdb::MemRealloc(block, 4096));
  ASSERT_NE(larger, nullptr);
  for (uint8_t i = 0; i < 4; ++i) EXPECT_EQ(larger[i], i + 1);
  EXPECT_EQ(mdb::MemSize(larger), 4096u);
  mdb::MemFree(larger);
  EXPECT_EQ(seam.Texts({"LocalReAlloc"}), (Lines{"LocalReAlloc(4, 4096, flags=2)"}));
}

TEST(LocalMemory, ReallocationToSizeZeroKeepsTwoBytes) {
  seam::PlatformSeam seam;
  void* block = mdb::MemAlloc(8);
  void* smaller = mdb::MemRealloc(block, 0);
  ASSERT_NE(smaller, nullptr);
  EXPECT_EQ(mdb::MemSize(smaller), 2u);
  mdb::MemFree(smaller);
  EXPECT_EQ(seam.Texts({"LocalReAlloc"}), (Lines{"LocalReAlloc(8, 2, flags=2)"}));
}

TEST(LocalMemory, AFailedReallocationLeavesTheOldBlockAlone) {
  auto* block = static_cast<uint8_t*>(mdb::MemAlloc(3));
  ASSERT_NE(block, nullptr);
  block[2] = 7;
  {
    seam::PlatformSeam seam;
    seam.Fail("LocalReAlloc");
    EXPECT_EQ(mdb::MemRealloc(block, 5000), nullptr);
  }
  EXPECT_EQ(block[2], 7);
  mdb::MemFree(block);
}

}  // namespace
