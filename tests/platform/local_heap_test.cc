#include "local_heap.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

TEST(LocalHeap, ABlockKnowsTheSizeThatWasAskedFor) {
  for (const size_t size : {size_t{0}, size_t{1}, size_t{2}, size_t{15}, size_t{16}, size_t{17}, size_t{1} << 20}) {
    void* block = LocalAlloc(LMEM_FIXED, size);
    ASSERT_NE(block, nullptr) << size;
    EXPECT_EQ(LocalSize(block), size);
    EXPECT_EQ(LocalFree(block), nullptr);
  }
}

TEST(LocalHeap, BlocksStartAtMultiplesOfSixteen) {
  void* blocks[40];
  for (size_t i = 0; i < 40; ++i) {
    blocks[i] = LocalAlloc(LMEM_FIXED, i);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks[i]) % 16, 0u) << i;
  }
  for (void* block : blocks) LocalFree(block);
}

TEST(LocalHeap, ZeroInitFillsTheWholeBlock) {
  // What the heap hands out a second time was written to before.
  for (int round = 0; round < 2; ++round) {
    void* block = LocalAlloc(LMEM_ZEROINIT, 200);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(static_cast<char*>(block), 200), std::string(200, '\0'));
    memset(block, 'x', 200);
    LocalFree(block);
  }
}

// Blocks that were freed come again: each has its own place, its own size and, if asked for, zeros only.
TEST(LocalHeap, BlocksOfAllSizesThatComeAgainAreClearedAndApart) {
  for (int round = 0; round < 3; ++round) {
    std::vector<std::pair<char*, size_t>> blocks;
    for (size_t size = 0; size < 5000; size += 1 + size / 40) {
      auto* block = static_cast<char*>(LocalAlloc(LMEM_ZEROINIT, size));
      ASSERT_NE(block, nullptr) << size;
      ASSERT_EQ(std::string(block, size), std::string(size, '\0')) << "round " << round << ", " << size << " bytes";
      memset(block, static_cast<int>('a' + size % 26), size);
      blocks.emplace_back(block, size);
    }
    for (const auto& [block, size] : blocks) {
      EXPECT_EQ(LocalSize(block), size);
      EXPECT_EQ(std::string(block, size), std::string(size, static_cast<char>('a' + size % 26))) << size;
      LocalFree(block);
    }
  }
}

TEST(LocalHeap, ABlockThatWasResizedMayBeFreedAndAskedForAgain) {
  for (const size_t size : {size_t{1}, size_t{40}, size_t{300}, size_t{4000}}) {
    for (int round = 0; round < 3; ++round) {
      void* block = LocalReAlloc(LocalAlloc(LMEM_FIXED, 2 * size), size, LMEM_MOVEABLE);
      ASSERT_NE(block, nullptr);
      memset(block, 'x', size);
      LocalFree(block);
      block = LocalAlloc(LMEM_ZEROINIT, 2 * size);
      EXPECT_EQ(std::string(static_cast<char*>(block), 2 * size), std::string(2 * size, '\0')) << size;
      LocalFree(block);
    }
  }
}

// Two threads and the one that began, each with blocks of its own that another frees.
TEST(LocalHeap, BlocksMayBeFreedByAnotherThreadThanTheOneThatTookThem) {
  std::vector<void*> taken;
  for (int i = 0; i < 100; ++i) taken.push_back(LocalAlloc(LMEM_FIXED, 100));
  const auto free_and_take = [&taken](size_t first) {
    for (size_t i = first; i < taken.size(); i += 2) {
      LocalFree(taken[i]);
      taken[i] = LocalAlloc(LMEM_ZEROINIT, 100);
    }
  };
  std::thread even(free_and_take, 0);
  std::thread odd(free_and_take, 1);
  even.join();
  odd.join();
  for (void* block : taken) {
    EXPECT_EQ(std::string(static_cast<char*>(block), 100), std::string(100, '\0'));
    LocalFree(block);
  }
}

TEST(LocalHeap, GrowingKeepsTheContents) {
  void* block = LocalAlloc(LMEM_FIXED, 5);
  memcpy(block, "abcde", 5);
  block = LocalReAlloc(block, 100000, LMEM_MOVEABLE);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(memcmp(block, "abcde", 5), 0);
  EXPECT_EQ(LocalSize(block), 100000u);
  LocalFree(block);
}

TEST(LocalHeap, ShrinkingKeepsTheFirstBytes) {
  void* block = LocalAlloc(LMEM_FIXED, 100000);
  memcpy(block, "abcde", 5);
  block = LocalReAlloc(block, 3, LMEM_MOVEABLE);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(memcmp(block, "abc", 3), 0);
  EXPECT_EQ(LocalSize(block), 3u);
  LocalFree(block);
}

TEST(LocalHeap, ABlockResizedToNothingIsStillABlock) {
  void* block = LocalReAlloc(LocalAlloc(LMEM_FIXED, 10), 0, LMEM_MOVEABLE);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(LocalSize(block), 0u);
  LocalFree(block);
}

TEST(LocalHeap, GrowingWithZeroInitClearsOnlyWhatIsAdded) {
  void* block = LocalAlloc(LMEM_FIXED, 4);
  memcpy(block, "abcd", 4);
  block = LocalReAlloc(block, 64, LMEM_MOVEABLE | LMEM_ZEROINIT);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::string(static_cast<char*>(block), 64), "abcd" + std::string(60, '\0'));
  LocalFree(block);
}

TEST(LocalHeap, ASizeNoHeapHasIsOutOfMemory) {
  for (const size_t size : {SIZE_MAX, SIZE_MAX - 15, SIZE_MAX - 16, SIZE_MAX / 2, SIZE_MAX / 2 - 15}) {
    SetLastError(0);
    EXPECT_EQ(LocalAlloc(LMEM_ZEROINIT, size), nullptr) << size;
    EXPECT_EQ(GetLastError(), 14u) << size;
  }
}

TEST(LocalHeap, ABlockThatCannotGrowStaysAsItWas) {
  void* block = LocalAlloc(LMEM_FIXED, 4);
  memcpy(block, "abcd", 4);
  SetLastError(0);
  EXPECT_EQ(LocalReAlloc(block, SIZE_MAX - 8, LMEM_MOVEABLE), nullptr);
  EXPECT_EQ(GetLastError(), 14u);
  EXPECT_EQ(LocalSize(block), 4u);
  EXPECT_EQ(memcmp(block, "abcd", 4), 0);
  LocalFree(block);
}

TEST(LocalHeap, NullHasNoSizeAndMayBeFreedButNotResized) {
  EXPECT_EQ(LocalSize(nullptr), 0u);
  EXPECT_EQ(LocalFree(nullptr), nullptr);
  SetLastError(0);
  EXPECT_EQ(LocalReAlloc(nullptr, 8, LMEM_MOVEABLE), nullptr);
  EXPECT_EQ(GetLastError(), 6u);
}

}  // namespace
