// Every call with memory that runs short at its first allocation, at its second, and so on until it gets through: the
// call fails with a last error that says so, nothing has changed, nothing leaks, and the next call works.
#include <functional>

#include "failing_allocation.h"
#include "local_heap.h"
#include "store_model.h"
#include "store_test.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kText = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kTime = Prop(3, CEVT_FILETIME);
constexpr long kMostAllocations = 20000;

class ShortMemory : public DatabaseTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(IcuAllocationsMayFail());
    DatabaseTest::SetUp();
    Create({{kNumber, CEDB_SORT_DESCENDING}, {kText, 0}, {kTime, CEDB_SORT_UNKNOWNFIRST}});
    for (int32_t i = 0; i < 9; i++) {
      const WCHAR text[] = {static_cast<WCHAR>(u'a' + i % 4), u'\u00E9', 0};
      records_.push_back(Write(handle_, 0, {I4(1, i), Text(2, text), Time(3, static_cast<uint64_t>(i % 3))}));
    }
    EXPECT_EQ(CeFlushDBVol(&volume_), TRUE);
  }

  // Makes the call with ever more memory until it succeeds. In between the volume must be as before.
  void Sweep(const std::function<bool()>& call) {
    std::string before = TextOfVolume(volume_);
    for (long allowed = 0; allowed < kMostAllocations; allowed++) {
      SCOPED_TRACE(testing::Message() << allowed << " allocations");
      SetLastError(kUntouched);
      AllowAllocations(allowed);
      bool done = call();
      AllowAllocations(kAllAllocations);
      if (done) {
        shortages_ = allowed;
        return;
      }
      DWORD error = GetLastError();
      ASSERT_TRUE(error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY) << "last error " << error;
      ASSERT_EQ(TextOfVolume(volume_), before);
    }
    FAIL() << "the call never got through";
  }

  // What the sweep left behind is sound, in memory and in the file.
  void ExpectSound() {
    std::string image = TextOfVolume(volume_);
    Remount();
    EXPECT_EQ(TextOfVolume(volume_), image);
  }

  std::vector<CEOID> records_;
  long shortages_ = 0;
};

TEST_F(ShortMemory, CreationOfADatabase) {
  CEDBASEINFO info = DatabaseInfo(u"others", {{kNumber, 0}, {kText, 0}});
  Sweep([&] { return CeCreateDatabaseEx(&volume_, &info) != 0; });
  EXPECT_GT(shortages_, 0) << "the call needs memory";
  ExpectSound();
}

TEST_F(ShortMemory, OpeningADatabase) {
  for (bool loaded : {true, false}) {
    HANDLE handle = INVALID_HANDLE_VALUE;
    if (loaded) {
      Sweep([&] { return (handle = Open(kText)) != INVALID_HANDLE_VALUE; });
    } else {
      // The volume's text cannot be compared on the way, since that would open the database.
      Remount();
      for (long allowed = 0; handle == INVALID_HANDLE_VALUE && allowed < kMostAllocations; allowed++) {
        AllowAllocations(allowed);
        handle = Open(kText);
        AllowAllocations(kAllAllocations);
      }
    }
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    EXPECT_EQ(Order(handle).size(), records_.size());
    EXPECT_EQ(CloseHandle(handle), TRUE);
  }
  ExpectSound();
}

TEST_F(ShortMemory, EnumeratingDatabases) {
  HANDLE find = INVALID_HANDLE_VALUE;
  Sweep([&] { return (find = CeFindFirstDatabaseEx(&volume_, 0)) != INVALID_HANDLE_VALUE; });
  CEOID found = 0;
  Sweep([&] { return (found = CeFindNextDatabaseEx(find, nullptr)) != 0; });
  EXPECT_EQ(found, database_);
}

TEST_F(ShortMemory, ChangingADescription) {
  EXPECT_EQ(CloseHandle(handle_), TRUE);
  CEDBASEINFO info = DatabaseInfo(u"renamed", {{kText, CEDB_SORT_CASEINSENSITIVE}, {kNumber, CEDB_SORT_UNIQUE}}, 7);
  Sweep([&] { return CeSetDatabaseInfoEx(&volume_, database_, &info) != 0; });
  EXPECT_GT(shortages_, 0);
  ExpectSound();
}

// New records share pieces of memory, so that not each asks for some; a text's sort key is its own.
TEST_F(ShortMemory, CreatingRecords) {
  for (const bool sorted_by_text : {false, true}) {
    SCOPED_TRACE(sorted_by_text ? "sorted by text" : "sorted by number");
    const HANDLE by_text = sorted_by_text ? Open(kText) : INVALID_HANDLE_VALUE;
    ASSERT_EQ(by_text != INVALID_HANDLE_VALUE, sorted_by_text);
    long shortages = 0;
    for (int32_t i = 0; i < 100; i++) {
      Sweep([&] { return Write(handle_, 0, {I4(1, 100 + i), Text(2, u"\u00E0 la carte"), Time(3, 5)}) != 0; });
      EXPECT_GE(shortages_, sorted_by_text ? 1 : 0);
      shortages += shortages_;
    }
    EXPECT_GT(shortages, 2);
  }
  ExpectSound();
}

TEST_F(ShortMemory, ChangingRecords) {
  HANDLE pointer = Open(kText);
  CEOID current = Seek(pointer, CEDB_SEEK_BEGINNING, 4);
  for (CEOID record : records_) {
    Sweep([&] { return Write(handle_, record, {I4(1, -7), Text(2, u"zz"), Deleted(kTime)}) != 0; });
    EXPECT_EQ(Seek(pointer, CEDB_SEEK_CURRENT, 0), current);
  }
  ExpectSound();
}

TEST_F(ShortMemory, DeletingRecords) {
  HANDLE pointer = Open(kText);
  for (CEOID record : records_) {
    Seek(pointer, CEDB_SEEK_BEGINNING, 0);
    Sweep([&] { return CeDeleteRecord(handle_, record) != 0; });
  }
  ExpectSound();
}

TEST_F(ShortMemory, SeekingATextAndReadingARecord) {
  HANDLE pointer = Open(kText);
  std::u16string long_text(3000, u'\u00E9');
  CEOID record = Write(handle_, 0, {Text(2, long_text.c_str())});
  Sweep([&] { return SeekValue(pointer, CEDB_SEEK_VALUEFIRSTEQUAL, Text(2, long_text.c_str())) == record; });
  BYTE* block = nullptr;
  WORD count = 0;
  DWORD size = 0;
  Sweep([&] { return CeReadRecordPropsEx(pointer, CEDB_ALLOWREALLOC, &count, nullptr, &block, &size, 0) == record; });
  LocalFree(block);
}

TEST_F(ShortMemory, FirstQuestionAfterManyMoves) {
  HANDLE pointer = Open(kNumber);
  std::vector<CEOID> expected(records_.rbegin(), records_.rend());
  bool done = false;
  for (long allowed = 0; !done && allowed < kMostAllocations; allowed++) {
    SCOPED_TRACE(testing::Message() << allowed << " allocations");
    for (int32_t move = 0; move < 90; move++) {
      size_t i = static_cast<size_t>(move) % records_.size();
      int32_t key = move < 81 ? (move * 37) % 101 : static_cast<int32_t>(i);
      ASSERT_EQ(Write(handle_, records_[i], {I4(1, key)}), records_[i]);
    }
    SetLastError(kUntouched);
    AllowAllocations(allowed);
    CEOID first = Seek(pointer, CEDB_SEEK_BEGINNING, 0);
    AllowAllocations(kAllAllocations);
    done = first != 0;
    EXPECT_EQ(done ? first : GetLastError(), done ? expected[0] : DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_EQ(Order(pointer), expected);
  }
  EXPECT_TRUE(done);
}

TEST_F(ShortMemory, DeletingADatabase) {
  CEOID other = CreateDatabase(volume_, u"others", {{kText, 0}});
  Sweep([&] { return CeDeleteDatabaseEx(&volume_, other) != 0; });
  EXPECT_EQ(CloseHandle(handle_), TRUE);
  Sweep([&] { return CeDeleteDatabaseEx(&volume_, database_) != 0; });
  ExpectSound();
}

TEST_F(ShortMemory, FlushingIsTriedAgainWithoutHarm) {
  CreateDatabase(volume_, u"others", {{kText, 0}});
  Write(handle_, records_[0], {Text(2, u"changed")});
  Write(handle_, 0, {Text(2, u"created")});
  EXPECT_EQ(CeDeleteRecord(handle_, records_[1]), TRUE);
  Sweep([&] { return CeFlushDBVol(&volume_) != 0; });
  ExpectSound();
}

TEST_F(ShortMemory, MountingAndUnmounting) {
  std::string image = TextOfVolume(volume_);
  for (DWORD disposition : {OPEN_EXISTING, OPEN_ALWAYS}) {
    bool unmounted = false;
    for (long allowed = 0; !unmounted && allowed < kMostAllocations; allowed++) {
      AllowAllocations(allowed);
      unmounted = CeUnmountDBVol(&volume_) != 0;
      AllowAllocations(kAllAllocations);
    }
    ASSERT_TRUE(unmounted);
    mounted_ = false;
    std::u16string path = Path();
    for (long allowed = 0; !mounted_ && allowed < kMostAllocations; allowed++) {
      AllowAllocations(allowed);
      mounted_ = CeMountDBVol(&volume_, path.c_str(), disposition) != 0;
      AllowAllocations(kAllAllocations);
      if (!mounted_) {
        DWORD error = GetLastError();
        ASSERT_TRUE(error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY) << "last error " << error;
      }
    }
    ASSERT_TRUE(mounted_);
    EXPECT_EQ(TextOfVolume(volume_), image);
  }
}

TEST_F(ShortMemory, MountOfANewVolumeLeavesNothingThatIsNoVolume) {
  std::u16string path = directory_ / u"new.cdb";
  CEGUID guid = kNoVolume;
  bool done = false;
  for (long allowed = 0; !done && allowed < kMostAllocations; allowed++) {
    AllowAllocations(allowed);
    done = CeMountDBVol(&guid, path.c_str(), OPEN_ALWAYS) != 0;
    AllowAllocations(kAllAllocations);
  }
  ASSERT_TRUE(done);
  EXPECT_TRUE(DatabaseNames(guid).empty());
  EXPECT_NE(CreateDatabase(guid, u"records"), 0u);
  EXPECT_EQ(CeUnmountDBVol(&guid), TRUE);
}

}  // namespace
