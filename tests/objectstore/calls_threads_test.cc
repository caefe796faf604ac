// Calls from several threads at once, each on handles of its own: every call is whole, none disturbs another's pointer.
#include <algorithm>
#include <functional>
#include <thread>

#include "store_test.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr int32_t kRounds = 300;

class Threads : public DatabaseTest {
 protected:
  static void RunTogether(const std::vector<std::function<void()>>& bodies) {
    std::vector<std::thread> threads;
    for (const auto& body : bodies) threads.emplace_back(body);
    for (std::thread& thread : threads) thread.join();
  }

  // Creates, finds, changes, reads and deletes records whose keys only this thread uses.
  void WorkOnKeys(int32_t first) {
    HANDLE handle = Open(kNumber);
    for (int32_t key = first; key < first + kRounds; key++) {
      CEOID record = Write(handle, 0, {I4(1, key), Text(2, u"text")});
      ASSERT_NE(record, 0u);
      ASSERT_EQ(SeekValue(handle, CEDB_SEEK_VALUEFIRSTEQUAL, I4(1, key)), record);
      ASSERT_EQ(Write(handle, record, {Text(2, u"changed")}), record);
      Reading reading = ReadAll(handle);
      ASSERT_EQ(reading.oid, record);
      ASSERT_EQ(reading.values, Values({I4(1, key), Text(2, u"changed")}));
      if (key % 2 == 0) {
        ASSERT_EQ(CeDeleteRecord(handle, record), TRUE);
      }
      ASSERT_EQ(Write(handle, 0x7FFFFFFF, {I4(1, key)}), 0u);
      ASSERT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER}) << "the error is this thread's own";
    }
    EXPECT_EQ(CloseHandle(handle), TRUE);
  }
};

TEST_F(Threads, WorkOnOneDatabaseThroughHandlesOfTheirOwn) {
  Create({{kNumber, CEDB_SORT_UNIQUE}});
  RunTogether({[this] { WorkOnKeys(0); }, [this] { WorkOnKeys(100000); },
               [this] {
                 for (int i = 0; i < 20; i++) EXPECT_EQ(CeFlushDBVol(&volume_), TRUE);
               }});
  EXPECT_EQ(Describe(volume_, database_).wNumRecords, kRounds);
  Remount();
  handle_ = Open(kNumber);
  std::vector<CEOID> order = Order(handle_);
  ASSERT_EQ(order.size(), static_cast<size_t>(kRounds));
  SeekTo(handle_, order[0]);
  EXPECT_EQ(ReadAll(handle_).values, Values({I4(1, 1), Text(2, u"changed")}));
}

TEST_F(Threads, CreateDescribeAndDeleteDatabasesOfTheirOwn) {
  auto work = [this](const WCHAR* name) {
    for (int i = 0; i < kRounds; i++) {
      CEOID database = CreateDatabase(volume_, name, {{kNumber, 0}});
      ASSERT_NE(database, 0u);
      ASSERT_EQ(NameOf(Describe(volume_, database)), name);
      HANDLE handle = OpenDatabase(volume_, database);
      ASSERT_NE(Write(handle, 0, {I4(1, i)}), 0u);
      ASSERT_EQ(CloseHandle(handle), TRUE);
      ASSERT_EQ(CeDeleteDatabaseEx(&volume_, database), TRUE);
    }
  };
  RunTogether({[&] { work(u"one"); }, [&] { work(u"two"); }});
  EXPECT_TRUE(DatabaseNames(volume_).empty());
}

TEST_F(Threads, MountAndUnmountOneVolumeAsOftenAsTheyLike) {
  Create();
  WriteKeys({1, 2, 3});
  auto work = [this] {
    for (int i = 0; i < kRounds; i++) {
      CEGUID guid = kNoVolume;
      ASSERT_EQ(CeMountDBVol(&guid, Path().c_str(), OPEN_EXISTING), TRUE);
      ASSERT_TRUE(SameGuid(guid, volume_));
      ASSERT_EQ(CeUnmountDBVol(&guid), TRUE);
    }
  };
  RunTogether({work, work});
  EXPECT_EQ(Order(handle_).size(), 3u) << "the first mount was never undone";
}

}  // namespace
