// Tables of numbers packed bit by bit: every width, every way to write a column, every place where a group ends.
#include "number_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace objectstore {
namespace {

using Numbers = std::vector<uint32_t>;

constexpr int64_t kKey = 1;

// Tables of two columns: the numbers, and the same from the last to the first.
std::span<const uint8_t> Packed(const Numbers& numbers, BodyWriter& writer) {
  writer.Start(BodyKind::kVolume);
  NumberTableWriter table(writer, 2);
  for (size_t i = 0; i < numbers.size(); ++i) {
    uint32_t* const row = table.NextRow();
    row[0] = numbers[i];
    row[kColumnStep] = numbers[numbers.size() - 1 - i];
    table.Take();
  }
  table.End();
  return writer.Seal(kKey);
}

void ExpectReadBack(const Numbers& numbers, const char* why) {
  BodyWriter writer;
  BodyReader reader(Packed(numbers, writer), BodyKind::kVolume, kKey);
  NumberTableReader table(reader, 2);
  Numbers first;
  Numbers second;
  while (const size_t rows = table.NextGroup()) {
    for (size_t i = 0; i < rows; ++i) {
      first.push_back(table.At(i, 0));
      second.push_back(table.At(i, 1));
    }
  }
  EXPECT_EQ(reader.Finished(), Status::kOk) << why << ", " << numbers.size();
  std::reverse(second.begin(), second.end());
  EXPECT_EQ(first, numbers) << why << ", " << numbers.size();
  EXPECT_EQ(second, numbers) << why << ", " << numbers.size();
}

// So many bytes behind the checksum and the kind.
size_t BytesOf(const Numbers& numbers) {
  BodyWriter writer;
  return Packed(numbers, writer).size() - 9;
}

TEST(NumberTable, NumbersOfEveryWidthAreReadBack) {
  std::mt19937 random(1961);
  for (unsigned width = 0; width <= 32; ++width) {
    const uint32_t mask = width == 32 ? ~uint32_t{0} : (uint32_t{1} << width) - 1;
    for (const size_t count : {0u, 1u, 2u, 7u, 8u, 127u, 128u, 129u, 256u, 300u}) {
      Numbers numbers(count);
      for (uint32_t& number : numbers) number = static_cast<uint32_t>(random()) & mask;
      ExpectReadBack(numbers, "low bits");
      for (uint32_t& number : numbers) number -= 77;
      ExpectReadBack(numbers, "around zero");
      std::sort(numbers.begin(), numbers.end());
      ExpectReadBack(numbers, "ascending");
    }
  }
}

TEST(NumberTable, TheLeastAndTheLargestNumberAreReadBack) {
  for (const Numbers& numbers :
       {Numbers{0}, Numbers{0xFFFFFFFF}, Numbers{0x80000000}, Numbers{0x7FFFFFFF}, Numbers{0x80000000, 0x7FFFFFFF},
        Numbers{0x7FFFFFFF, 0x80000000, 0}, Numbers{0, 0x80000000, 0}, Numbers(200, 0x80000000)}) {
    ExpectReadBack(numbers, "extreme");
  }
}

// Two columns of a group that take no bits: its rows, and a head for each.
TEST(NumberTable, EqualNumbersAndEqualStepsTakeNoBits) {
  EXPECT_EQ(BytesOf(Numbers(127, 7)), 1u + 2 * 2);
  Numbers steps(128);
  for (uint32_t i = 0; i < 128; ++i) steps[i] = 5 * i + 5;
  BodyWriter writer;
  writer.Start(BodyKind::kVolume);
  NumberTableWriter table(writer, 1);
  for (const uint32_t number : steps) {
    *table.NextRow() = number;
    table.Take();
  }
  table.End();
  EXPECT_EQ(writer.Seal(kKey).size(), 9u + 1 + 2 + 1) << "and the empty group at the end";
  EXPECT_EQ(BytesOf({}), 1u);
}

TEST(NumberTable, OneFarNumberWidensItsGroupAlone) {
  Numbers numbers(1280);
  for (size_t i = 0; i < numbers.size(); ++i) numbers[i] = i % 2;
  const size_t without = BytesOf(numbers);
  numbers[700] = 0x80000000;
  EXPECT_LE(BytesOf(numbers), without + 2 * 128 * 4);
  ExpectReadBack(numbers, "one far number");
}

}  // namespace
}  // namespace objectstore
