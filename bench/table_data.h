// The table that every store is given: the same records, byte for byte, in every run and on every machine.
//
// Always holds: a record has 8 texts (a name in mixed case, one in twenty of them not ASCII; a city; a number, often
// negative, often with decimals; a date; a time; a category; notes of a few sentences; a code that no other record
// has), and the texts of 200 records or more come to 537 bytes of UTF-8 a record on average, which MakeTable checks.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

enum Field : size_t { kName, kCity, kNumber, kDate, kTime, kCategory, kNotes, kCode, kFieldCount };

inline constexpr size_t kAverageBytes = 537;

// One text as each store wants it: ours takes UTF-16, all others bytes. Neither pays for a conversion.
struct Text {
  std::string bytes;
  std::u16string wide;
};

struct Record {
  std::array<Text, kFieldCount> texts;
  // What the number's and the date's text stand for. Stores without typed fields are given them beside the texts.
  int32_t number = 0;  // decimals are cut off
  int32_t day = 0;     // ascends with the date
};

// Whatever is called random comes from this sequence (splitmix64).
class Sequence {
 public:
  explicit Sequence(uint64_t seed) : state_(seed) {}
  uint64_t Next();
  // 0 to limit - 1.
  size_t Below(size_t limit) { return static_cast<size_t>(Next() % limit); }

 private:
  uint64_t state_;
};

Text MakeText(std::string bytes);
std::vector<Record> MakeTable(size_t count);

// Every position below count once, in an order without a pattern.
std::vector<uint32_t> ShuffledPositions(size_t count);

// What is searched for. The word stands in the notes of some records, as a whole word and with or without a capital; no
// other word contains it. So whoever searches for word beginnings and whoever searches for substrings finds the same.
inline constexpr int32_t kWantedNumber = 7;
inline constexpr const char* kWantedWord = "zephyr";

}  // namespace bench
