// The library's own copying and filling of memory, under other names, against the runtime's: every length, place and
// overlap of a small piece.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

extern "C" {
void* LibraryMemcpy(void* to, const void* from, size_t count);
void* LibraryMemmove(void* to, const void* from, size_t count);
void* LibraryMemset(void* to, int value, size_t count);
int LibraryMemcmp(const void* a, const void* b, size_t count);
}

namespace {

constexpr size_t kBytes = 28;
using Bytes = std::array<unsigned char, kBytes>;

Bytes Counting() {
  Bytes bytes;
  for (size_t i = 0; i < kBytes; ++i) bytes[i] = static_cast<unsigned char>(i + 1);
  return bytes;
}

// Calls check(to, from, count) for all that stays within a piece.
template <typename Check>
void ForEveryPlace(Check check) {
  for (size_t to = 0; to < kBytes; ++to) {
    for (size_t from = 0; from < kBytes; ++from) {
      for (size_t count = 0; count <= kBytes - std::max(to, from); ++count) check(to, from, count);
    }
  }
}

TEST(MemoryFunctions, MoveWithinOnePieceWhateverTheOverlap) {
  ForEveryPlace([](size_t to, size_t from, size_t count) {
    alignas(4) Bytes moved = Counting();
    alignas(4) Bytes expected = moved;
    std::memmove(expected.data() + to, expected.data() + from, count);
    EXPECT_EQ(LibraryMemmove(moved.data() + to, moved.data() + from, count), moved.data() + to);
    EXPECT_EQ(moved, expected) << count << " bytes from " << from << " to " << to;
  });
}

TEST(MemoryFunctions, CopyAsManyBytesAsAskedAndNoMore) {
  ForEveryPlace([](size_t to, size_t from, size_t count) {
    alignas(4) const Bytes source = Counting();
    alignas(4) Bytes copied = {};
    alignas(4) Bytes expected = {};
    std::memcpy(expected.data() + to, source.data() + from, count);
    EXPECT_EQ(LibraryMemcpy(copied.data() + to, source.data() + from, count), copied.data() + to);
    EXPECT_EQ(copied, expected) << count << " bytes from " << from << " to " << to;
  });
}

TEST(MemoryFunctions, FillWithTheLowestByteOfTheValue) {
  ForEveryPlace([](size_t to, size_t, size_t count) {
    alignas(4) Bytes filled = Counting();
    alignas(4) Bytes expected = filled;
    std::memset(expected.data() + to, 0x1F5, count);
    EXPECT_EQ(LibraryMemset(filled.data() + to, 0x1F5, count), filled.data() + to);
    EXPECT_EQ(filled, expected) << count << " bytes at " << to;
  });
}

TEST(MemoryFunctions, CompareBytesAsUnsignedNumbersUpToTheCount) {
  const struct {
    const char* why;
    const char* a;
    const char* b;
    size_t count;
    int sign;
  } kRows[] = {
      {"equal", "abc", "abc", 3, 0},
      {"nothing is equal", "a", "b", 0, 0},
      {"the first difference counts", "abd", "acc", 3, -1},
      {"what stands behind the count does not", "abc", "abd", 2, 0},
      {"a high byte is the greater one", "\xFF", "\x01", 1, 1},
      {"zero bytes are bytes", "\0b", "\0c", 2, -1},
  };
  for (const auto& row : kRows) {
    const int order = LibraryMemcmp(row.a, row.b, row.count);
    EXPECT_EQ((order > 0) - (order < 0), row.sign) << row.why;
  }
}

}  // namespace
