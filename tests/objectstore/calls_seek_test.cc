// Seeking: every kind of seek from every state of the pointer, by position, by identifier and by value.
//
// The pointer stands AT a record, in the GAP that a deleted record left, or at the END; whether it came there by an
// automatic step matters when that record is deleted through another handle.
#include <limits>

#include "store_test.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kText = Prop(2, CEVT_LPWSTR);

enum class From { kAt, kGap, kEnd };

// A record of each of the keys 10, 20, 30, 40, 50, in this order.
class Seeks : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    Create({{kNumber, 0}});
    Fill();
  }
  void Fill() {
    for (CEOID record : Order(handle_)) EXPECT_EQ(CeDeleteRecord(handle_, record), TRUE);
    records_ = WriteKeys({10, 20, 30, 40, 50});
  }
  CEOID Record(int32_t key) const { return records_[static_cast<size_t>(key / 10 - 1)]; }

  // Puts the handle's pointer on the record, in its gap, or at the end.
  void Place(HANDLE handle, From from, int32_t key) {
    if (from == From::kEnd) {
      EXPECT_EQ(Seek(handle, CEDB_SEEK_BEGINNING, 1000), 0u);
      return;
    }
    EXPECT_EQ(SeekTo(handle, Record(key)), Record(key));
    if (from == From::kGap) {
      EXPECT_EQ(CeDeleteRecord(handle, Record(key)), TRUE);
    }
  }

  std::vector<CEOID> records_;
};

struct PositionSeek {
  const char* why;
  From from;
  int32_t at;
  DWORD type;
  int32_t count;
  int32_t found;  // its key; 0 for a failure, after which the pointer is at the end
  DWORD index;
};

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();

const PositionSeek kPositionSeeks[] = {
    {"the first from the start", From::kAt, 30, CEDB_SEEK_BEGINNING, 0, 10, 0},
    {"the last from the start", From::kAt, 30, CEDB_SEEK_BEGINNING, 4, 50, 4},
    {"one beyond the last", From::kAt, 30, CEDB_SEEK_BEGINNING, 5, 0, 0},
    {"before the first", From::kAt, 30, CEDB_SEEK_BEGINNING, -1, 0, 0},
    {"far beyond the last", From::kAt, 30, CEDB_SEEK_BEGINNING, kMax, 0, 0},
    {"far before the first", From::kAt, 30, CEDB_SEEK_BEGINNING, kMin, 0, 0},
    {"from the start out of a gap", From::kGap, 30, CEDB_SEEK_BEGINNING, 2, 40, 2},
    {"one beyond the last out of a gap", From::kGap, 30, CEDB_SEEK_BEGINNING, 4, 0, 0},
    {"from the start at the end", From::kEnd, 0, CEDB_SEEK_BEGINNING, 2, 30, 2},

    {"the last from the end", From::kAt, 30, CEDB_SEEK_END, 0, 50, 4},
    {"the first from the end", From::kAt, 30, CEDB_SEEK_END, 4, 10, 0},
    {"one before the first", From::kAt, 30, CEDB_SEEK_END, 5, 0, 0},
    {"a negative count goes back as well", From::kAt, 30, CEDB_SEEK_END, -1, 40, 3},
    {"a negative count to the first", From::kAt, 30, CEDB_SEEK_END, -4, 10, 0},
    {"a negative count before the first", From::kAt, 30, CEDB_SEEK_END, -5, 0, 0},
    {"the largest count back", From::kAt, 30, CEDB_SEEK_END, kMax, 0, 0},
    {"the largest negative count back", From::kAt, 30, CEDB_SEEK_END, kMin, 0, 0},
    {"from the end out of a gap", From::kGap, 30, CEDB_SEEK_END, 2, 20, 1},
    {"from the end at the end", From::kEnd, 0, CEDB_SEEK_END, 0, 50, 4},

    {"nowhere", From::kAt, 30, CEDB_SEEK_CURRENT, 0, 30, 2},
    {"one forward", From::kAt, 30, CEDB_SEEK_CURRENT, 1, 40, 3},
    {"forward to the last", From::kAt, 30, CEDB_SEEK_CURRENT, 2, 50, 4},
    {"forward beyond the last", From::kAt, 30, CEDB_SEEK_CURRENT, 3, 0, 0},
    {"one back", From::kAt, 30, CEDB_SEEK_CURRENT, -1, 20, 1},
    {"back to the first", From::kAt, 30, CEDB_SEEK_CURRENT, -2, 10, 0},
    {"back before the first", From::kAt, 30, CEDB_SEEK_CURRENT, -3, 0, 0},
    {"far forward", From::kAt, 50, CEDB_SEEK_CURRENT, kMax, 0, 0},
    {"far back", From::kAt, 10, CEDB_SEEK_CURRENT, kMin, 0, 0},

    {"a gap's successor", From::kGap, 30, CEDB_SEEK_CURRENT, 1, 40, 2},
    {"two forward from a gap", From::kGap, 30, CEDB_SEEK_CURRENT, 2, 50, 3},
    {"forward from a gap beyond the last", From::kGap, 30, CEDB_SEEK_CURRENT, 3, 0, 0},
    {"a gap's predecessor", From::kGap, 30, CEDB_SEEK_CURRENT, -1, 20, 1},
    {"two back from a gap", From::kGap, 30, CEDB_SEEK_CURRENT, -2, 10, 0},
    {"back from a gap before the first", From::kGap, 30, CEDB_SEEK_CURRENT, -3, 0, 0},
    {"nowhere in a gap is no record", From::kGap, 30, CEDB_SEEK_CURRENT, 0, 0, 0},
    {"far forward from a gap", From::kGap, 30, CEDB_SEEK_CURRENT, kMax, 0, 0},
    {"far back from a gap", From::kGap, 30, CEDB_SEEK_CURRENT, kMin, 0, 0},
    {"forward from the gap before the first", From::kGap, 10, CEDB_SEEK_CURRENT, 1, 20, 0},
    {"back from the gap before the first", From::kGap, 10, CEDB_SEEK_CURRENT, -1, 0, 0},
    {"forward from the gap after the last", From::kGap, 50, CEDB_SEEK_CURRENT, 1, 0, 0},
    {"back from the gap after the last", From::kGap, 50, CEDB_SEEK_CURRENT, -1, 40, 3},

    {"back from the end", From::kEnd, 0, CEDB_SEEK_CURRENT, -1, 50, 4},
    {"back from the end to the first", From::kEnd, 0, CEDB_SEEK_CURRENT, -5, 10, 0},
    {"back from the end before the first", From::kEnd, 0, CEDB_SEEK_CURRENT, -6, 0, 0},
    {"far back from the end", From::kEnd, 0, CEDB_SEEK_CURRENT, kMin, 0, 0},
    {"nowhere at the end is no record", From::kEnd, 0, CEDB_SEEK_CURRENT, 0, 0, 0},
    {"forward from the end", From::kEnd, 0, CEDB_SEEK_CURRENT, 1, 0, 0},
    {"far forward from the end", From::kEnd, 0, CEDB_SEEK_CURRENT, kMax, 0, 0},
};

TEST_F(Seeks, ByPositionFromEveryState) {
  for (DWORD flags : {DWORD{0}, DWORD{CEDB_AUTOINCREMENT}}) {
    for (const PositionSeek& row : kPositionSeeks) {
      SCOPED_TRACE(row.why);
      // A gap comes from a handle without the automatic step; with it, the record goes through another handle.
      Fill();
      HANDLE handle = Open(kNumber, flags);
      if (row.from == From::kGap && flags != 0) {
        Place(handle, From::kAt, row.at);
        EXPECT_EQ(CeDeleteRecord(handle_, Record(row.at)), TRUE);
      } else {
        Place(handle, row.from, row.at);
      }
      DWORD index = 77;
      SetLastError(kUntouched);
      CEOID found = Seek(handle, row.type, row.count, &index);
      EXPECT_EQ(found, row.found == 0 ? 0 : Record(row.found));
      if (row.found == 0) {
        EXPECT_EQ(GetLastError(), DWORD{ERROR_SEEK});
      }
      EXPECT_EQ(index, row.found == 0 ? 77 : row.index) << "the index, untouched by a failure";
      Reading reading = ReadAll(handle);
      EXPECT_EQ(reading.oid, found);
      if (row.found == 0) {
        EXPECT_EQ(reading.error, DWORD{ERROR_NO_MORE_ITEMS}) << "the end after a failure";
      }
      EXPECT_EQ(CloseHandle(handle), TRUE);
    }
  }
}

TEST_F(Seeks, NegativeCountsMayComeInTheFullWidthOfAPointer) {
  SeekTo(handle_, Record(30));
  EXPECT_EQ(CeSeekDatabase(handle_, CEDB_SEEK_CURRENT, static_cast<DWORD_PTR>(intptr_t{-1}), nullptr), Record(20));
  EXPECT_EQ(CeSeekDatabase(handle_, CEDB_SEEK_CURRENT, 0xFFFFFFFFu, nullptr), Record(10));
}

TEST_F(Seeks, EmptyDatabaseHasNothingToSeek) {
  HANDLE handle = Open();
  for (CEOID record : records_) EXPECT_EQ(CeDeleteRecord(handle_, record), TRUE);
  for (DWORD type : {CEDB_SEEK_BEGINNING, CEDB_SEEK_END, CEDB_SEEK_CURRENT}) {
    for (int32_t count : {-1, 0, 1, kMin, kMax}) EXPECT_REFUSED(Seek(handle, type, count), ERROR_SEEK);
  }
  for (DWORD type :
       {CEDB_SEEK_VALUESMALLER, CEDB_SEEK_VALUEFIRSTEQUAL, CEDB_SEEK_VALUEGREATER, CEDB_SEEK_VALUENEXTEQUAL}) {
    EXPECT_REFUSED(SeekValue(handle, type, I4(1, 10)), ERROR_SEEK);
  }
}

TEST_F(Seeks, ByIdentifierFromEveryState) {
  CEOID other_database = CreateDatabase(volume_, u"others");
  CEOID foreign = Write(OpenDatabase(volume_, other_database), 0, {I4(1, 30)});
  for (From from : {From::kAt, From::kGap, From::kEnd}) {
    SCOPED_TRACE(static_cast<int>(from));
    for (CEOID missing : {CEOID{0}, CEOID{0x7FFFFFFF}, foreign, database_, other_database}) {
      Fill();
      Place(handle_, from, 30);
      DWORD index = 77;
      EXPECT_REFUSED(CeSeekDatabase(handle_, CEDB_SEEK_CEOID, missing, &index), ERROR_SEEK);
      EXPECT_EQ(index, 77u);
      EXPECT_EQ(ReadAll(handle_).error, DWORD{ERROR_NO_MORE_ITEMS});
    }
    Fill();
    Place(handle_, from, 30);
    DWORD index = 77;
    EXPECT_EQ(CeSeekDatabase(handle_, CEDB_SEEK_CEOID, Record(40), &index), Record(40));
    EXPECT_EQ(index, from == From::kGap ? 2u : 3u) << "the position in the handle's order";
    EXPECT_EQ(ReadAll(handle_).oid, Record(40));
  }
}

TEST_F(Seeks, DeletedRecordIsNotFoundByItsIdentifier) {
  EXPECT_EQ(CeDeleteRecord(handle_, Record(20)), TRUE);
  EXPECT_REFUSED(SeekTo(handle_, Record(20)), ERROR_SEEK);
}

TEST_F(Seeks, EveryIdentifierIsFoundOrNotWhateverIsMissingAroundIt) {
  constexpr uint32_t kCount = 130;
  const struct {
    const char* what;
    bool (*stays)(uint32_t);
  } kPatterns[] = {
      {"all", [](uint32_t) { return true; }},
      {"every third", [](uint32_t i) { return i % 3 == 1; }},
      {"all at first, then few", [](uint32_t i) { return i < 60 || i % 20 == 0; }},
      {"few at first, then all", [](uint32_t i) { return i >= 70 || i % 20 == 0; }},
      {"both ends", [](uint32_t i) { return i < 9 || i >= 121; }},
      {"two neighbours", [](uint32_t i) { return i == 64 || i == 65; }},
      {"the last", [](uint32_t i) { return i == kCount - 1; }},
  };
  const HANDLE handle = OpenDatabase(volume_, CreateDatabase(volume_, u"thinned out"));
  for (const auto& pattern : kPatterns) {
    SCOPED_TRACE(pattern.what);
    for (const CEOID record : Order(handle)) EXPECT_EQ(CeDeleteRecord(handle, record), TRUE);
    std::vector<CEOID> records(kCount);
    for (CEOID& record : records) record = Write(handle, 0, {I4(1, 5)});
    for (uint32_t i = 0; i < kCount; ++i) {
      if (pattern.stays(i)) continue;
      EXPECT_EQ(CeDeleteRecord(handle, records[i]), TRUE);
    }
    DWORD expected = 0;
    for (uint32_t i = 0; i < kCount; ++i) {
      DWORD index = 77;
      if (pattern.stays(i)) {
        EXPECT_EQ(CeSeekDatabase(handle, CEDB_SEEK_CEOID, records[i], &index), records[i]);
        EXPECT_EQ(index, expected++);
      } else {
        EXPECT_REFUSED(CeSeekDatabase(handle, CEDB_SEEK_CEOID, records[i], &index), ERROR_SEEK);
      }
    }
  }
}

TEST_F(Seeks, UnknownKindsOfSeekLeaveThePointer) {
  SeekTo(handle_, Record(30));
  CEPROPVAL value = I4(1, 10);
  DWORD_PTR address = reinterpret_cast<DWORD_PTR>(&value);
  for (DWORD type : {0x00u, 0x03u, 0x06u, 0x0Cu, 0x100u, 0x200u, 0x400u, 0xFFu, 0x102u}) {
    DWORD index = 77;
    EXPECT_REFUSED(CeSeekDatabase(handle_, type, 0, &index), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(index, 77u);
  }
  EXPECT_REFUSED(CeSeekDatabase(handle_, CEDB_SEEK_VALUESMALLER | CEDB_SEEK_VALUEGREATER, address, nullptr),
                 ERROR_INVALID_PARAMETER);
  EXPECT_REFUSED(CeSeekDatabase(handle_, CEDB_SEEK_VALUEFIRSTEQUAL, 0, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(ReadAll(handle_).oid, Record(30));
}

TEST_F(Seeks, ValueOfAnotherPropertyLeavesThePointer) {
  CEOID unsorted = CreateDatabase(volume_, u"unsorted");
  HANDLE without_order = OpenDatabase(volume_, unsorted);
  CEOID record = Write(without_order, 0, {I4(1, 10)});
  SeekTo(without_order, record);
  SeekTo(handle_, Record(30));
  for (DWORD type :
       {CEDB_SEEK_VALUESMALLER, CEDB_SEEK_VALUEFIRSTEQUAL, CEDB_SEEK_VALUEGREATER, CEDB_SEEK_VALUENEXTEQUAL}) {
    SCOPED_TRACE(type);
    for (const CEPROPVAL& value : {I4(2, 10), I2(1, 10), UI4(1, 10), Text(1, u"10")}) {
      EXPECT_REFUSED(SeekValue(handle_, type, value), ERROR_INVALID_PARAMETER);
    }
    EXPECT_REFUSED(SeekValue(without_order, type, I4(1, 10)), ERROR_INVALID_PARAMETER);
  }
  EXPECT_EQ(ReadAll(handle_).oid, Record(30));
  EXPECT_EQ(ReadAll(without_order).oid, record);
}

TEST_F(Seeks, IndexIsWantedOrNot) {
  EXPECT_EQ(CeSeekDatabase(handle_, CEDB_SEEK_BEGINNING, 1, nullptr), Record(20));
  EXPECT_EQ(CeSeekDatabase(handle_, CEDB_SEEK_BEGINNING, 9, nullptr), 0u);
  EXPECT_EQ(SeekValue(handle_, CEDB_SEEK_VALUEFIRSTEQUAL, I4(1, 30)), Record(30));
}

TEST_F(Seeks, GapStaysWhereTheRecordWasWhenOthersAreCreatedAroundIt) {
  Place(handle_, From::kGap, 30);
  HANDLE other = Open();
  CEOID before = Write(other, 0, {I4(1, 25)});
  CEOID after = Write(other, 0, {I4(1, 35)});
  EXPECT_EQ(ReadAll(handle_).error, DWORD{ERROR_KEY_DELETED});
  EXPECT_EQ(Seek(handle_, CEDB_SEEK_CURRENT, 1), after);
  EXPECT_EQ(CeDeleteRecord(handle_, after), TRUE);
  EXPECT_EQ(Seek(handle_, CEDB_SEEK_CURRENT, -1), before);
}

TEST_F(Seeks, GapWithoutASortOrderIsAmongTheIdentifiers) {
  HANDLE handle = OpenDatabase(volume_, CreateDatabase(volume_, u"unsorted"));
  CEOID records[3];
  for (int32_t i = 0; i < 3; i++) records[i] = Write(handle, 0, {I4(1, 9 - i)});
  SeekTo(handle, records[1]);
  EXPECT_EQ(CeDeleteRecord(handle, records[1]), TRUE);
  EXPECT_EQ(ReadAll(handle).error, DWORD{ERROR_KEY_DELETED});
  EXPECT_EQ(Seek(handle, CEDB_SEEK_CURRENT, 1), records[2]);
  EXPECT_EQ(CeDeleteRecord(handle, records[2]), TRUE);
  EXPECT_EQ(Seek(handle, CEDB_SEEK_CURRENT, -1), records[0]);
}

TEST_F(Seeks, GapsNeighboursMayGoToo) {
  Place(handle_, From::kGap, 30);
  HANDLE other = Open();
  EXPECT_EQ(CeDeleteRecord(other, Record(40)), TRUE);
  EXPECT_EQ(CeDeleteRecord(other, Record(20)), TRUE);
  EXPECT_EQ(Seek(handle_, CEDB_SEEK_CURRENT, 1), Record(50));
  Fill();
  Place(handle_, From::kGap, 30);
  EXPECT_EQ(CeDeleteRecord(other, Record(20)), TRUE);
  EXPECT_EQ(Seek(handle_, CEDB_SEEK_CURRENT, -1), Record(10));
}

TEST_F(Seeks, IndexIsThePositionInTheHandlesOwnOrder) {
  CEOID database = CreateDatabase(volume_, u"two orders", {{kNumber, 0}, {kText, CEDB_SORT_DESCENDING}});
  HANDLE by_number = OpenDatabase(volume_, database, kNumber);
  HANDLE by_text = OpenDatabase(volume_, database, kText);
  CEOID a = Write(by_number, 0, {I4(1, 1), Text(2, u"a")});
  CEOID b = Write(by_number, 0, {I4(1, 2), Text(2, u"b")});
  DWORD index = 77;
  EXPECT_EQ(CeSeekDatabase(by_number, CEDB_SEEK_CEOID, a, &index), a);
  EXPECT_EQ(index, 0u);
  EXPECT_EQ(CeSeekDatabase(by_text, CEDB_SEEK_CEOID, a, &index), a);
  EXPECT_EQ(index, 1u);
  EXPECT_EQ(SeekValue(by_text, CEDB_SEEK_VALUEFIRSTEQUAL, Text(2, u"b"), &index), b);
  EXPECT_EQ(index, 0u);
}

}  // namespace
