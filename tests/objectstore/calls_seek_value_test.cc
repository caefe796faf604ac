// Seeking by value: first equal, next equal, smaller and greater, in ascending and descending orders with ties and with
// records that lack the property. By signed numbers and by unsigned ones, which the store looks for in ways of their own.
#include <string.h>

#include <limits>

#include "store_test.h"

namespace {

struct ValueSeek {
  const char* why;
  DWORD type;
  int32_t value;
  int found;  // position in the order; -1 for a failure
};

class ValueSeeks : public DatabaseTest {};

class NumberSeeks : public DatabaseTest, public testing::WithParamInterface<WORD> {
 protected:
  static CEPROPVAL Key(int32_t value) {
    return GetParam() == CEVT_I4 ? I4(1, value) : UI4(1, static_cast<uint32_t>(value));
  }
  static CEPROPID KeyProperty() { return Prop(1, GetParam()); }
  std::vector<CEOID> WriteKeys(std::initializer_list<int32_t> keys) {
    std::vector<CEOID> records;
    for (const int32_t key : keys) records.push_back(Write(handle_, 0, {Key(key)}));
    return records;
  }

  // The keys 20, 10, 30, 20 in this order of creation; with absent, two records without the property before and after.
  void Make(DWORD flags, bool absent) {
    if (database_ != 0) Remount();
    CeDeleteDatabaseEx(&volume_, database_);
    Create({{KeyProperty(), flags}});
    if (absent) Write(handle_, 0, {I4(2, 1)});
    WriteKeys({20, 10, 30, 20});
    if (absent) Write(handle_, 0, {I4(2, 1)});
  }

  // The same answer from wherever the pointer stands.
  void ExpectFromEverywhere(const ValueSeek& row) {
    std::vector<CEOID> order = Order(handle_);
    for (int start = -1; start < static_cast<int>(order.size()); start++) {
      SCOPED_TRACE(testing::Message() << row.why << ", from position " << start);
      Seek(handle_, CEDB_SEEK_BEGINNING, start);
      DWORD index = 77;
      SetLastError(kUntouched);
      CEOID found = SeekValue(handle_, row.type, Key(row.value), &index);
      EXPECT_EQ(found, row.found < 0 ? 0 : order[static_cast<size_t>(row.found)]);
      EXPECT_EQ(index, row.found < 0 ? 77 : static_cast<DWORD>(row.found));
      if (row.found < 0) {
        EXPECT_EQ(GetLastError(), DWORD{ERROR_SEEK});
      }
      Reading reading = ReadAll(handle_);
      EXPECT_EQ(reading.oid, found);
      if (row.found < 0) {
        EXPECT_EQ(reading.error, DWORD{ERROR_NO_MORE_ITEMS});
      }
    }
  }
};

// 10, 20, 20, 30
const ValueSeek kAscending[] = {
    {"first equal of ties", CEDB_SEEK_VALUEFIRSTEQUAL, 20, 1},
    {"first equal at the start", CEDB_SEEK_VALUEFIRSTEQUAL, 10, 0},
    {"first equal of an absent value", CEDB_SEEK_VALUEFIRSTEQUAL, 15, -1},
    {"first equal beyond the last", CEDB_SEEK_VALUEFIRSTEQUAL, 31, -1},
    {"first equal before the first", CEDB_SEEK_VALUEFIRSTEQUAL, 9, -1},
    {"greater is the first that is not smaller", CEDB_SEEK_VALUEGREATER, 20, 1},
    {"greater between two keys", CEDB_SEEK_VALUEGREATER, 15, 1},
    {"greater before the first", CEDB_SEEK_VALUEGREATER, 0, 0},
    {"greater at the last", CEDB_SEEK_VALUEGREATER, 30, 3},
    {"greater beyond the last", CEDB_SEEK_VALUEGREATER, 31, -1},
    {"smaller is strictly smaller", CEDB_SEEK_VALUESMALLER, 20, 0},
    {"smaller of ties is the nearest", CEDB_SEEK_VALUESMALLER, 25, 2},
    {"smaller than the last", CEDB_SEEK_VALUESMALLER, 30, 2},
    {"smaller beyond the last", CEDB_SEEK_VALUESMALLER, std::numeric_limits<int32_t>::max(), 3},
    {"smaller than the first", CEDB_SEEK_VALUESMALLER, 10, -1},
};

// 30, 20, 20, 10: greater looks toward the end, smaller toward the start.
const ValueSeek kDescending[] = {
    {"first equal of ties", CEDB_SEEK_VALUEFIRSTEQUAL, 20, 1},
    {"first equal of an absent value", CEDB_SEEK_VALUEFIRSTEQUAL, 15, -1},
    {"greater at ties", CEDB_SEEK_VALUEGREATER, 20, 1},
    {"greater between two keys", CEDB_SEEK_VALUEGREATER, 15, 3},
    {"greater before the first", CEDB_SEEK_VALUEGREATER, 99, 0},
    {"greater beyond the last", CEDB_SEEK_VALUEGREATER, 9, -1},
    {"smaller at ties", CEDB_SEEK_VALUESMALLER, 20, 0},
    {"smaller of ties is the nearest", CEDB_SEEK_VALUESMALLER, 15, 2},
    {"smaller beyond the last", CEDB_SEEK_VALUESMALLER, 9, 3},
    {"smaller before the first", CEDB_SEEK_VALUESMALLER, 30, -1},
};

TEST_P(NumberSeeks, AscendingFromEverywhere) {
  Make(0, false);
  for (const ValueSeek& row : kAscending) ExpectFromEverywhere(row);
}

TEST_P(NumberSeeks, DescendingFromEverywhere) {
  Make(CEDB_SORT_DESCENDING, false);
  for (const ValueSeek& row : kDescending) ExpectFromEverywhere(row);
}

TEST_P(NumberSeeks, RecordsWithoutThePropertyNeverMatch) {
  for (bool first : {false, true}) {
    for (bool descending : {false, true}) {
      SCOPED_TRACE(testing::Message() << "unknown first " << first << ", descending " << descending);
      DWORD flags = (first ? DWORD{CEDB_SORT_UNKNOWNFIRST} : 0) | (descending ? DWORD{CEDB_SORT_DESCENDING} : 0);
      Make(flags, true);
      for (ValueSeek row : descending ? std::vector<ValueSeek>(std::begin(kDescending), std::end(kDescending))
                                      : std::vector<ValueSeek>(std::begin(kAscending), std::end(kAscending))) {
        if (row.found >= 0 && first) row.found += 2;
        ExpectFromEverywhere(row);
      }
    }
  }
}

TEST_P(NumberSeeks, OutOfAGapTheyAreTheSame) {
  for (DWORD type : {CEDB_SEEK_VALUEFIRSTEQUAL, CEDB_SEEK_VALUEGREATER, CEDB_SEEK_VALUESMALLER}) {
    Make(0, false);
    std::vector<CEOID> order = Order(handle_);
    SeekTo(handle_, order[2]);
    EXPECT_EQ(CeDeleteRecord(handle_, order[2]), TRUE);
    EXPECT_EQ(SeekValue(handle_, type, Key(20)), order[type == DWORD{CEDB_SEEK_VALUESMALLER} ? 0 : 1]);
  }
}

struct NextEqual {
  const char* why;
  int from;  // position; -1 for the end
  bool gap;  // the record there has been deleted
  int32_t value;
  int found;  // position before the deletion; -1 for a failure
};

// 10, 20, 20, 30
const NextEqual kNextEquals[] = {
    {"the next is equal", 1, false, 20, 2},
    {"the next is equal to the given value, not to the current one", 0, false, 20, 1},
    {"the next is another", 2, false, 20, -1},
    {"one step only", 0, false, 30, -1},
    {"one step only, over one other", 1, false, 30, -1},
    {"equal to the current one, not to the next", 0, false, 10, -1},
    {"to the last", 2, false, 30, 3},
    {"at the last there is no next", 3, false, 30, -1},
    {"at the end there is no next", -1, false, 10, -1},
    {"a gap's successor is equal", 1, true, 20, 2},
    {"a gap's successor is another", 2, true, 20, -1},
    {"the successor of the first gap", 0, true, 20, 1},
    {"the last gap has no successor", 3, true, 30, -1},
};

TEST_P(NumberSeeks, NextEqualTakesOneStep) {
  for (const NextEqual& row : kNextEquals) {
    SCOPED_TRACE(row.why);
    Make(0, false);
    std::vector<CEOID> order = Order(handle_);
    if (row.from >= 0) {
      EXPECT_NE(Seek(handle_, CEDB_SEEK_BEGINNING, row.from), 0u);
      if (row.gap) {
        EXPECT_EQ(CeDeleteRecord(handle_, order[static_cast<size_t>(row.from)]), TRUE);
      }
    }
    DWORD index = 77;
    SetLastError(kUntouched);
    CEOID found = SeekValue(handle_, CEDB_SEEK_VALUENEXTEQUAL, Key(row.value), &index);
    EXPECT_EQ(found, row.found < 0 ? 0 : order[static_cast<size_t>(row.found)]);
    if (row.found < 0) {
      EXPECT_EQ(GetLastError(), DWORD{ERROR_SEEK});
      EXPECT_EQ(index, 77u);
      EXPECT_EQ(ReadAll(handle_).error, DWORD{ERROR_NO_MORE_ITEMS});
    } else {
      EXPECT_EQ(index, static_cast<DWORD>(row.found - (row.gap ? 1 : 0)));
      EXPECT_EQ(ReadAll(handle_).oid, found);
    }
  }
}

TEST_P(NumberSeeks, NextEqualNeverMatchesARecordWithoutTheProperty) {
  Make(0, true);
  Seek(handle_, CEDB_SEEK_BEGINNING, 3);
  EXPECT_REFUSED(SeekValue(handle_, CEDB_SEEK_VALUENEXTEQUAL, Key(0)), ERROR_SEEK);
}

TEST_P(NumberSeeks, LoopOfEqualsFindsEachOnce) {
  Make(0, false);
  std::vector<CEOID> order = Order(handle_);
  std::vector<CEOID> found;
  for (CEOID record = SeekValue(handle_, CEDB_SEEK_VALUEFIRSTEQUAL, Key(20)); record != 0;
       record = SeekValue(handle_, CEDB_SEEK_VALUENEXTEQUAL, Key(20))) {
    EXPECT_EQ(ReadAll(handle_).oid, record);
    found.push_back(record);
  }
  std::vector<CEOID> expected = {order[1], order[2]};
  EXPECT_EQ(found, expected);
}

TEST_P(NumberSeeks, AutomaticStepsAndNextEqualTogetherSkipARecord) {
  Create({{KeyProperty(), 0}});
  std::vector<CEOID> records = WriteKeys({7, 7, 7});
  HANDLE handle = Open(KeyProperty(), CEDB_AUTOINCREMENT);
  EXPECT_EQ(SeekValue(handle, CEDB_SEEK_VALUEFIRSTEQUAL, Key(7)), records[0]);
  EXPECT_EQ(ReadAll(handle).oid, records[0]);
  EXPECT_EQ(SeekValue(handle, CEDB_SEEK_VALUENEXTEQUAL, Key(7)), records[2]);
}

TEST_F(ValueSeeks, EveryTypeIsFoundByItsValue) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const struct {
    const char* why;
    std::vector<CEPROPVAL> ascending;
  } kTypes[] = {
      {"I2", {I2(1, -32768), I2(1, -1), I2(1, 0), I2(1, 32767)}},
      {"UI2", {UI2(1, 0), UI2(1, 32767), UI2(1, 32768), UI2(1, 65535)}},
      {"I4", {I4(1, std::numeric_limits<int32_t>::min()), I4(1, -1), I4(1, 0), I4(1, 70000)}},
      {"UI4", {UI4(1, 0), UI4(1, 0x7FFFFFFF), UI4(1, 0x80000000), UI4(1, 0xFFFFFFFF)}},
      {"R8", {R8(1, -kInfinity), R8(1, -0.5), R8(1, 5e-324), R8(1, 1e300)}},
      {"FILETIME", {Time(1, 0), Time(1, 0xFFFFFFFF), Time(1, 0x1'00000000), Time(1, ~uint64_t{0})}},
      {"LPWSTR", {Text(1, u""), Text(1, u"a"), Text(1, u"B"), Text(1, u"\u03B1")}},
  };
  for (const auto& row : kTypes) {
    SCOPED_TRACE(row.why);
    CEPROPID property = row.ascending[0].propid;
    HANDLE handle = OpenDatabase(
        volume_, CreateDatabase(volume_, std::u16string(row.why, row.why + strlen(row.why)).c_str(), {{property, 0}}));
    std::vector<CEOID> records(row.ascending.size());
    for (size_t i = records.size(); i-- > 0;) records[i] = Write(handle, 0, {row.ascending[i]});
    EXPECT_EQ(Order(handle), records);
    for (size_t i = 0; i < records.size(); i++) {
      SCOPED_TRACE(i);
      const CEPROPVAL& value = row.ascending[i];
      EXPECT_EQ(SeekValue(handle, CEDB_SEEK_VALUEFIRSTEQUAL, value), records[i]);
      EXPECT_EQ(SeekValue(handle, CEDB_SEEK_VALUEGREATER, value), records[i]);
      EXPECT_EQ(SeekValue(handle, CEDB_SEEK_VALUESMALLER, value), i == 0 ? 0 : records[i - 1]);
    }
  }
}

TEST_F(ValueSeeks, EqualityIsTheSortOrders) {
  Create({{Prop(1, CEVT_LPWSTR), CEDB_SORT_CASEINSENSITIVE}, {Prop(2, CEVT_LPWSTR), 0}});
  CEOID record = Write(handle_, 0, {Text(1, u"Caf\u00E9"), Text(2, u"Caf\u00E9")});
  const struct {
    const char* why;
    const WCHAR* text;
    bool without_case;
    bool with_case;
  } kTexts[] = {
      {"itself", u"Caf\u00E9", true, true},
      {"its decomposed form", u"Cafe\u0301", true, true},
      {"another case", u"CAF\u00C9", true, false},
      {"without the accent", u"Cafe", false, false},
      {"with another accent", u"Caf\u00E8", false, false},
      {"a prefix", u"Caf", false, false},
  };
  for (const auto& row : kTexts) {
    SCOPED_TRACE(row.why);
    HANDLE without_case = Open(Prop(1, CEVT_LPWSTR));
    HANDLE with_case = Open(Prop(2, CEVT_LPWSTR));
    EXPECT_EQ(SeekValue(without_case, CEDB_SEEK_VALUEFIRSTEQUAL, Text(1, row.text)), row.without_case ? record : 0);
    EXPECT_EQ(SeekValue(with_case, CEDB_SEEK_VALUEFIRSTEQUAL, Text(2, row.text)), row.with_case ? record : 0);
    EXPECT_EQ(CloseHandle(without_case), TRUE);
    EXPECT_EQ(CloseHandle(with_case), TRUE);
  }
}

TEST_P(NumberSeeks, FlagsAndLengthOfTheGivenValueAreNotRead) {
  Make(0, false);
  CEPROPVAL value = Key(30);
  value.wLenData = 0xABCD;
  EXPECT_EQ(SeekValue(handle_, CEDB_SEEK_VALUEFIRSTEQUAL, value), Order(handle_)[3]);
}

TEST_P(NumberSeeks, TheFirstOfEqualsIsFoundAgainWhateverHappenedToTheOthers) {
  Create({{KeyProperty(), 0}});
  const std::vector<CEOID> records = WriteKeys({10, 20, 20, 30});
  const auto expect_first = [&](CEOID record, DWORD position) {
    for (const int repeated : {1, 2}) {
      DWORD index = 77;
      EXPECT_EQ(SeekValue(handle_, CEDB_SEEK_VALUEFIRSTEQUAL, Key(20), &index), record) << repeated;
      EXPECT_EQ(index, position) << repeated;
      EXPECT_EQ(ReadAll(handle_).oid, record) << repeated;
    }
  };
  expect_first(records[1], 1);
  WriteKeys({20, 40});
  expect_first(records[1], 1);
  WriteKeys({5});
  expect_first(records[1], 2);
  Write(handle_, records[0], {Key(25)});
  expect_first(records[1], 1);
  Write(handle_, records[0], {Key(20)});
  expect_first(records[0], 1);
  SeekTo(handle_, records[0]);
  EXPECT_EQ(CeDeleteRecord(handle_, records[0]), TRUE);
  expect_first(records[1], 1);
  Write(handle_, records[1], {Key(50)});
  expect_first(records[2], 1);
  for (int32_t key = 0; key < 60; ++key) WriteKeys({key % 15});  // so many that the order waits to be asked
  expect_first(records[2], 61);
}

// As the engine counts what it keeps: the value that is looked for grows with each step.
TEST_P(NumberSeeks, StepsThroughDifferentNumbersEndBehindTheLastOfThem) {
  Create({{KeyProperty(), 0}});
  const std::vector<CEOID> records = WriteKeys({7, 8, 9, 20});
  for (const int repeated : {1, 2}) {
    SCOPED_TRACE(repeated);
    EXPECT_EQ(SeekValue(handle_, CEDB_SEEK_VALUEFIRSTEQUAL, Key(7)), records[0]);
    EXPECT_EQ(SeekValue(handle_, CEDB_SEEK_VALUENEXTEQUAL, Key(8)), records[1]);
    EXPECT_EQ(SeekValue(handle_, CEDB_SEEK_VALUENEXTEQUAL, Key(9)), records[2]);
    EXPECT_REFUSED(SeekValue(handle_, CEDB_SEEK_VALUENEXTEQUAL, Key(10)), ERROR_SEEK);
    EXPECT_EQ(ReadAll(handle_).error, DWORD{ERROR_NO_MORE_ITEMS});
    EXPECT_REFUSED(SeekValue(handle_, CEDB_SEEK_VALUENEXTEQUAL, Key(10)), ERROR_SEEK);
    EXPECT_REFUSED(Seek(handle_, CEDB_SEEK_CURRENT, 0), ERROR_SEEK);
    EXPECT_EQ(Seek(handle_, CEDB_SEEK_CURRENT, -1), records[3]);
  }
}

INSTANTIATE_TEST_SUITE_P(OfFourBytes, NumberSeeks, testing::Values(WORD{CEVT_I4}, WORD{CEVT_UI4}));

}  // namespace
