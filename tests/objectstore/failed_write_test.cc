// What a device that refuses comes to. This program's own pwrite64 and fdatasync stand in front of those that SQLite
// calls, and refuse from the n-th call on.
#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>

#include "volume_file_fixture.h"

namespace {

struct Refusal {
  int calls_before = -1;  // below zero: nothing is refused
  int error = 0;
  bool struck = false;
  bool Strikes() {
    if (calls_before < 0) return false;
    if (calls_before > 0) {
      --calls_before;
      return false;
    }
    errno = error;
    struck = true;
    return true;
  }
};
Refusal refused_writes;
Refusal refused_syncs;
int syncs = 0;

}  // namespace

extern "C" __attribute__((visibility("default"))) ssize_t pwrite64(int file, const void* bytes, size_t count,
                                                                   off64_t offset) {
  using Function = ssize_t (*)(int, const void*, size_t, off64_t);
  static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pwrite64"));
  return refused_writes.Strikes() ? -1 : next(file, bytes, count, offset);
}

extern "C" __attribute__((visibility("default"))) int fdatasync(int file) {
  using Function = int (*)(int);
  static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "fdatasync"));
  ++syncs;
  return refused_syncs.Strikes() ? -1 : next(file);
}

namespace {

namespace fs = std::filesystem;

class FailedWrite : public VolumeFileTest {
 protected:
  void SetUp() override {
    guid_ = Mount(CREATE_NEW);
    database_ = Create(guid_, u"a");
    handle_ = Open(guid_, database_);
    Write(handle_, 0, 1, u"flushed");
    ASSERT_TRUE(CeFlushDBVol(&guid_));
    flushed_ = Contents(guid_, database_);
  }
  void TearDown() override { Heal(); }
  static void Heal() { refused_writes = refused_syncs = Refusal(); }

  void ExpectPoisoned(DWORD error) {
    Heal();
    const auto contents = Contents(guid_, database_);
    for (int attempt = 0; attempt < 3; ++attempt) {
      SetLastError(0);
      EXPECT_FALSE(CeFlushDBVol(&guid_)) << attempt;
      EXPECT_EQ(GetLastError(), error) << attempt;
    }
    EXPECT_EQ(Contents(guid_, database_), contents) << "reads go on";
    EXPECT_FALSE(CeUnmountDBVol(&guid_)) << "the client learns of it";
    EXPECT_EQ(GetLastError(), error);
    EXPECT_TRUE(CeUnmountDBVol(&guid_)) << "and can let go";
    EXPECT_FALSE(CeFlushDBVol(&guid_));
  }

  // What the next mount finds: the last flush that was reported, or the whole one that was not.
  void ExpectBeforeOrAfter(const std::map<CEOID, std::string>& after) {
    guid_ = Mount(OPEN_EXISTING);
    const auto found = Contents(guid_, database_);
    EXPECT_TRUE(found == flushed_ || found == after);
    Unmount(guid_);
  }

  CEGUID guid_;
  CEOID database_;
  HANDLE handle_;
  std::map<CEOID, std::string> flushed_;
};

TEST_F(FailedWrite, AFlushIsSynced) {
  const int before = syncs;
  Write(handle_, 0, 2, u"more");
  ASSERT_TRUE(CeFlushDBVol(&guid_));
  EXPECT_GT(syncs, before);
  const int after = syncs;
  ASSERT_TRUE(CeFlushDBVol(&guid_));
  EXPECT_EQ(syncs, after) << "nothing has changed";
  Unmount(guid_);
}

TEST_F(FailedWrite, AFailedSyncPoisonsTheVolume) {
  Write(handle_, 0, 2, u"more");
  const auto after = Contents(guid_, database_);
  refused_syncs = {0, EIO, false};
  EXPECT_FALSE(CeFlushDBVol(&guid_));
  const DWORD error = GetLastError();
  EXPECT_EQ(error, static_cast<DWORD>(ERROR_WRITE_FAULT));
  ExpectPoisoned(error);
  ExpectBeforeOrAfter(after);
}

TEST_F(FailedWrite, AFullDeviceIsReportedAsFull) {
  Write(handle_, 0, 2, u"more");
  refused_writes = {0, ENOSPC, false};
  EXPECT_FALSE(CeFlushDBVol(&guid_));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DISK_FULL));
  ExpectPoisoned(ERROR_DISK_FULL);
  ExpectBeforeOrAfter(flushed_);
}

TEST_F(FailedWrite, AFailureThatAnUnmountMeetsKeepsTheVolumeMounted) {
  Write(handle_, 0, 2, u"more");
  const auto after = Contents(guid_, database_);
  refused_syncs = {0, EIO, false};
  EXPECT_FALSE(CeUnmountDBVol(&guid_));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_WRITE_FAULT));
  Heal();
  EXPECT_EQ(Contents(guid_, database_), after);
  EXPECT_NE(CeSeekDatabase(handle_, CEDB_SEEK_BEGINNING, 0, nullptr), 0u) << "handles stay";
  EXPECT_TRUE(CeUnmountDBVol(&guid_));
  ExpectBeforeOrAfter(after);
}

// Refuses the n-th write or sync of a flush of many pages and of the unmount after it, for every n.
TEST_F(FailedWrite, WhereverItFailsTheFileHoldsTheFlushBeforeOrTheOneUnderWay) {
  Unmount(guid_);
  fs::copy_file(File(), File("base.vol"));
  for (Refusal* refusal : {&refused_writes, &refused_syncs}) {
    bool got_through = false;
    for (int n = 0; !got_through; ++n) {
      ASSERT_LT(n, 500);
      fs::remove(File("test.vol-wal"));
      fs::copy_file(File("base.vol"), File(), fs::copy_options::overwrite_existing);
      guid_ = Mount(OPEN_EXISTING);
      handle_ = Open(guid_, database_);
      for (uint32_t i = 0; i < 40; ++i) Write(handle_, 0, i, std::u16string(300, u'x'));
      const auto after = Contents(guid_, database_);
      *refusal = {n, EIO, false};
      const bool flushed = CeFlushDBVol(&guid_) != 0;
      const bool unmounted = CeUnmountDBVol(&guid_) != 0;
      got_through = !refusal->struck;
      Heal();
      EXPECT_EQ(got_through, flushed && unmounted) << n;
      EXPECT_TRUE(unmounted || CeUnmountDBVol(&guid_)) << n;
      guid_ = Mount(OPEN_EXISTING);
      const auto found = Contents(guid_, database_);
      EXPECT_TRUE(found == after || (!flushed && found == flushed_)) << n;
      Unmount(guid_);
    }
  }
}

}  // namespace
