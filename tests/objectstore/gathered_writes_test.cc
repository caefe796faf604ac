// Writes to a log that are gathered: what reaches the file, in which order, and when a sync is one.
#include "gathered_writes.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace objectstore {
namespace {

// A file that only writes down what is asked of it.
struct WatchedFile {
  sqlite3_file base = {};  // first: SQLite's methods are given a pointer to it
  std::vector<std::string> calls;
  int failure = SQLITE_OK;
};

WatchedFile& Watched(sqlite3_file* file) { return *reinterpret_cast<WatchedFile*>(file); }

int Note(sqlite3_file* file, const std::string& call) {
  Watched(file).calls.push_back(call);
  return Watched(file).failure;
}

int Read(sqlite3_file* file, void*, int, sqlite3_int64) { return Note(file, "read"); }
int Write(sqlite3_file* file, const void*, int count, sqlite3_int64 offset) {
  return Note(file, "write " + std::to_string(count) + " at " + std::to_string(offset));
}
int Truncate(sqlite3_file* file, sqlite3_int64) { return Note(file, "cut"); }
int Sync(sqlite3_file* file, int) { return Note(file, "sync"); }
int FileSize(sqlite3_file* file, sqlite3_int64*) { return Note(file, "size"); }

sqlite3_io_methods Methods() {
  sqlite3_io_methods methods = {};
  methods.iVersion = 1;
  methods.xRead = Read;
  methods.xWrite = Write;
  methods.xTruncate = Truncate;
  methods.xSync = Sync;
  methods.xFileSize = FileSize;
  return methods;
}

class GatheredWritesTest : public ::testing::Test {
 protected:
  void Begin() {
    file_.base.pMethods = &methods_;
    writes_.Begin(&file_.base);
  }
  const sqlite3_io_methods& io() { return *file_.base.pMethods; }
  int Put(int count, sqlite3_int64 offset) { return io().xWrite(&file_.base, bytes_, count, offset); }
  int SyncNow() { return io().xSync(&file_.base, SQLITE_SYNC_NORMAL); }
  // What has reached the file since this was asked last.
  std::vector<std::string> Calls() { return std::exchange(file_.calls, {}); }

  using List = std::vector<std::string>;
  static constexpr int kHeader = 32;
  static constexpr int kFrame = 4120;

  const sqlite3_io_methods methods_ = Methods();
  WatchedFile file_;
  GatheredWrites writes_;
  uint8_t bytes_[kFrame] = {};
};

TEST_F(GatheredWritesTest, ALogsHeaderIsSyncedBeforeTheFramesThatItStandsFor) {
  Begin();
  EXPECT_EQ(Put(kHeader, 0), SQLITE_OK);
  EXPECT_EQ(SyncNow(), SQLITE_OK);
  EXPECT_EQ(Calls(), (List{"write 32 at 0", "sync"}));
  EXPECT_EQ(Put(kFrame, kHeader), SQLITE_OK);
  EXPECT_EQ(SyncNow(), SQLITE_OK);
  EXPECT_EQ(Calls(), (List{"write 4120 at 32", "sync"}));
}

TEST_F(GatheredWritesTest, WhatWasGatheredIsInTheFileBeforeItIsReadMeasuredOrCut) {
  const struct {
    const char* then;
    int (*call)(const sqlite3_io_methods&, sqlite3_file*, uint8_t*);
  } kRows[] = {
      {"read", [](const auto& io, sqlite3_file* file, uint8_t* to) { return io.xRead(file, to, kHeader, 0); }},
      {"size",
       [](const auto& io, sqlite3_file* file, uint8_t*) {
         sqlite3_int64 size = 0;
         return io.xFileSize(file, &size);
       }},
      {"cut", [](const auto& io, sqlite3_file* file, uint8_t*) { return io.xTruncate(file, 0); }},
  };
  Begin();
  for (const auto& row : kRows) {
    EXPECT_EQ(Put(kHeader, 0), SQLITE_OK);
    EXPECT_EQ(Put(kFrame, kHeader), SQLITE_OK);
    EXPECT_EQ(Calls(), List()) << row.then;
    EXPECT_EQ(row.call(io(), &file_.base, bytes_), SQLITE_OK);
    EXPECT_EQ(Calls(), (List{"write 4152 at 0", row.then}));
  }
}

TEST_F(GatheredWritesTest, WhatIsSyncedIsNotSyncedAgain) {
  Begin();
  EXPECT_EQ(SyncNow(), SQLITE_OK);
  EXPECT_EQ(Calls(), (List{"sync"})) << "nobody knows what was written before";
  EXPECT_EQ(SyncNow(), SQLITE_OK);
  EXPECT_EQ(Calls(), List());
  EXPECT_EQ(Put(kFrame, kHeader), SQLITE_OK);
  EXPECT_EQ(SyncNow(), SQLITE_OK);
  EXPECT_EQ(Calls(), (List{"write 4120 at 32", "sync"}));
  EXPECT_EQ(io().xTruncate(&file_.base, 0), SQLITE_OK);
  EXPECT_EQ(SyncNow(), SQLITE_OK);
  EXPECT_EQ(Calls(), (List{"cut", "sync"}));
  const std::vector<uint8_t> large(1 << 17);
  EXPECT_EQ(io().xWrite(&file_.base, large.data(), 1 << 17, 0), SQLITE_OK);
  EXPECT_EQ(SyncNow(), SQLITE_OK);
  EXPECT_EQ(Calls(), (List{"write 131072 at 0", "sync"}));
  EXPECT_EQ(Put(kFrame, kHeader), SQLITE_OK);
  EXPECT_EQ(io().xRead(&file_.base, bytes_, kHeader, 0), SQLITE_OK);
  EXPECT_EQ(SyncNow(), SQLITE_OK);
  EXPECT_EQ(Calls(), (List{"write 4120 at 32", "read", "sync"}));
}

TEST_F(GatheredWritesTest, ASyncThatFailedIsMadeAgain) {
  Begin();
  EXPECT_EQ(Put(kHeader, 0), SQLITE_OK);
  EXPECT_EQ(io().xRead(&file_.base, bytes_, kHeader, 0), SQLITE_OK);
  file_.failure = SQLITE_IOERR_FSYNC;
  EXPECT_EQ(SyncNow(), SQLITE_IOERR_FSYNC);
  file_.failure = SQLITE_OK;
  EXPECT_EQ(SyncNow(), SQLITE_OK);
  EXPECT_EQ(Calls(), (List{"write 32 at 0", "read", "sync", "sync"}));
}

TEST_F(GatheredWritesTest, AfterAWriteThatFailedNoSyncSucceeds) {
  Begin();
  EXPECT_EQ(Put(kHeader, 0), SQLITE_OK);
  EXPECT_EQ(Put(kFrame, kHeader), SQLITE_OK);
  file_.failure = SQLITE_IOERR_WRITE;
  EXPECT_EQ(SyncNow(), SQLITE_IOERR_WRITE);
  file_.failure = SQLITE_OK;
  EXPECT_EQ(Put(kHeader, 0), SQLITE_IOERR_WRITE);
  EXPECT_EQ(SyncNow(), SQLITE_IOERR_WRITE);
  EXPECT_EQ(Calls(), (List{"write 4152 at 0"}));
}

}  // namespace
}  // namespace objectstore
