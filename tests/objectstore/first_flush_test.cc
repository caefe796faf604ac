// The first flush of a new volume, which is written once: behind the empty volume's pages, with a log of these.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "child_process.h"
#include "volume_file_fixture.h"
#include "xkrvolume.h"

namespace fs = std::filesystem;

namespace {

constexpr uintmax_t kEmptyBytes = 5 * 4096;
constexpr uintmax_t kLogBytesAtMost = 32 + 5 * (24 + 4096);

class FirstFlush : public VolumeFileTest {
 protected:
  // A new volume with more than its root pages hold, not flushed.
  CEGUID Fill(CEOID& database, const char* name = "test.vol") {
    const CEGUID guid = Mount(CREATE_NEW, name);
    database = Create(guid, u"a");
    handle_ = Open(guid, database);
    for (uint32_t i = 0; i < 300; ++i) Write(handle_, 0, i, std::u16string(200, u'x'));
    return guid;
  }
  // The same, flushed. Then somebody in this process closes a descriptor of the file, which takes the lock from the whole
  // process, and another process creates a database in the volume.
  CEGUID FillAndLoseTheFile(CEOID& database) {
    ProcessSignal go;
    const pid_t other = StartChildThatDies([&] {
      go.Wait();
      const CEGUID theirs = Mount(OPEN_EXISTING);
      Create(theirs, u"theirs");
      Unmount(theirs);
    });
    const CEGUID guid = Fill(database);
    EXPECT_TRUE(CeFlushDBVol(&guid));
    close(open(File().c_str(), O_RDONLY | O_CLOEXEC));
    go.Send();
    ExpectChildSucceeds(other);
    return guid;
  }
  ino_t Number() const {
    struct stat found = {};
    EXPECT_EQ(stat(File().c_str(), &found), 0);
    return found.st_ino;
  }
  size_t Files() const {
    return static_cast<size_t>(std::distance(fs::directory_iterator(File().parent_path()), fs::directory_iterator()));
  }

  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

TEST_F(FirstFlush, IsInTheFileButForTheFirstPages) {
  CEOID database = 0;
  const CEGUID guid = Fill(database);
  const ino_t number = Number();
  fs::permissions(File(), fs::perms(0640));
  ASSERT_TRUE(CeFlushDBVol(&guid));
  EXPECT_GT(fs::file_size(File()), kEmptyBytes + 300 * 200);
  EXPECT_LE(fs::file_size(File("test.vol-wal")), kLogBytesAtMost);
  EXPECT_EQ(fs::status(File("test.vol-wal")).permissions(), fs::perms(0640));
  const auto flushed = Contents(guid, database);
  fs::copy_file(File(), File("copy.vol"));
  fs::copy_file(File("test.vol-wal"), File("copy.vol-wal"));
  const CEGUID copy = Mount(OPEN_EXISTING, "copy.vol");
  EXPECT_EQ(Contents(copy, database), flushed);
  Unmount(copy);
  Unmount(guid);
  EXPECT_EQ(Number(), number);
  EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0640));
  EXPECT_EQ(Files(), 2u);
  const CEGUID again = Mount(OPEN_EXISTING);
  EXPECT_EQ(Contents(again, database), flushed);
  Unmount(again);
}

TEST_F(FirstFlush, IsFollowedByFlushesThroughTheLog) {
  CEOID database = 0;
  const CEGUID guid = Fill(database);
  for (uint32_t i = 0; i < 3; ++i) {
    ASSERT_TRUE(CeFlushDBVol(&guid));
    Write(handle_, 0, 1000 + i, u"more");
  }
  ASSERT_TRUE(CeFlushDBVol(&guid));
  EXPECT_GT(fs::file_size(File("test.vol-wal")), kLogBytesAtMost);
  const auto flushed = Contents(guid, database);
  fs::copy_file(File(), File("copy.vol"));
  fs::copy_file(File("test.vol-wal"), File("copy.vol-wal"));
  Unmount(guid);
  EXPECT_EQ(XKRVolumeCheck(Path("copy.vol").c_str(), nullptr, nullptr), XKRVolumeSound);
  for (const char* name : {"copy.vol", "test.vol"}) {
    const CEGUID again = Mount(OPEN_EXISTING, name);
    EXPECT_EQ(Contents(again, database), flushed) << name;
    Unmount(again);
  }
  EXPECT_EQ(Files(), 2u);
}

// The power went before the log was there.
TEST_F(FirstFlush, WithoutItsLogLeavesAnEmptyVolumeThatCanBeFilled) {
  CEOID database = 0;
  const CEGUID guid = Fill(database);
  ASSERT_TRUE(CeFlushDBVol(&guid));
  fs::copy_file(File(), File("cut.vol"));
  Unmount(guid);
  EXPECT_EQ(XKRVolumeCheck(Path("cut.vol").c_str(), nullptr, nullptr), XKRVolumeSound);
  const CEGUID cut = Mount(OPEN_EXISTING, "cut.vol");
  CEOIDINFO info = {};
  EXPECT_FALSE(CeOidGetInfoEx(&cut, database, &info));
  const CEOID other = Create(cut, u"b");
  const HANDLE handle = Open(cut, other);
  for (uint32_t i = 0; i < 100; ++i) Write(handle, 0, i, std::u16string(150, u'y'));
  const auto content = Contents(cut, other);
  ASSERT_TRUE(CeFlushDBVol(&cut));
  fs::copy_file(File("cut.vol"), File("killed.vol"));
  fs::copy_file(File("cut.vol-wal"), File("killed.vol-wal"));
  Unmount(cut);
  for (const char* name : {"cut.vol", "killed.vol"}) {
    EXPECT_EQ(XKRVolumeCheck(Path(name).c_str(), nullptr, nullptr), XKRVolumeSound) << name;
    const CEGUID again = Mount(OPEN_EXISTING, name);
    EXPECT_EQ(Contents(again, other), content) << name;
    Unmount(again);
  }
}

TEST_F(FirstFlush, OfAFileWithTwoNamesIsSeenUnderBoth) {
  CEOID database = 0;
  const CEGUID guid = Fill(database);
  fs::create_hard_link(File(), File("second.vol"));
  ASSERT_TRUE(CeFlushDBVol(&guid));
  const auto flushed = Contents(guid, database);
  Unmount(guid);
  const CEGUID second = Mount(OPEN_EXISTING, "second.vol");
  EXPECT_EQ(Contents(second, database), flushed);
  Unmount(second);
}

TEST_F(FirstFlush, OfAFileThatWasMovedFailsAndPutsNothingBesideAnother) {
  CEOID database = 0;
  const CEGUID guid = Fill(database);
  fs::rename(File(), File("moved.vol"));
  Unmount(Mount(CREATE_NEW, "other.vol"));
  fs::rename(File("other.vol"), File());
  EXPECT_FALSE(CeFlushDBVol(&guid));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_FALSE(CeUnmountDBVol(&guid));
  EXPECT_TRUE(CeUnmountDBVol(&guid));
  EXPECT_EQ(Files(), 2u);
  EXPECT_EQ(fs::file_size(File("moved.vol")), kEmptyBytes);
}

TEST_F(FirstFlush, KeepsOtherProcessesAwayBeforeAndAfter) {
  CEOID database = 0;
  const CEGUID guid = Fill(database);
  const auto expect_refused = [this] {
    RunInChildThatDies([this] {
      // Not with the store of this process, which knows the file.
      const int file = open(File().c_str(), O_RDWR | O_CLOEXEC);
      ASSERT_GE(file, 0);
      struct flock lock = {};
      lock.l_type = F_WRLCK;
      lock.l_whence = SEEK_SET;
      for (off_t byte = 0x40000000; byte < 0x40000000 + 512; ++byte) {
        if (byte == 0x40000001) continue;  // asked for by nobody who has not got a part of the others
        lock.l_start = byte;
        lock.l_len = 1;
        EXPECT_EQ(fcntl(file, F_SETLK, &lock), -1) << byte;
      }
      EXPECT_EQ(MountError(OPEN_EXISTING), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    });
  };
  expect_refused();
  ASSERT_TRUE(CeFlushDBVol(&guid));
  expect_refused();
  Unmount(guid);
}

TEST_F(FirstFlush, WithAnotherFileUnderTheLogsNameFailsUnlessThatIsEmpty) {
  CEOID database = 0;
  const CEGUID guid = Fill(database);
  std::ofstream(File("test.vol-wal")) << "not a log";
  EXPECT_FALSE(CeFlushDBVol(&guid));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_CORRUPT));
  EXPECT_EQ(fs::file_size(File()), kEmptyBytes);
  EXPECT_EQ(fs::file_size(File("test.vol-wal")), 9u);
  EXPECT_FALSE(CeUnmountDBVol(&guid));
  EXPECT_TRUE(CeUnmountDBVol(&guid));

  const CEGUID other = Fill(database, "other.vol");
  const auto contents = Contents(other, database);
  std::ofstream(File("other.vol-wal")).flush();
  EXPECT_TRUE(CeFlushDBVol(&other));
  Unmount(other);
  const CEGUID again = Mount(OPEN_EXISTING, "other.vol");
  EXPECT_EQ(Contents(again, database), contents);
  Unmount(again);
}

// What another process took up is not written once more by the unmount.
TEST_F(FirstFlush, OfWhichAnotherProcessTookUpTheLogIsLeftToIt) {
  CEOID database = 0;
  const CEGUID guid = FillAndLoseTheFile(database);
  const auto bytes = fs::file_size(File());
  EXPECT_FALSE(CeUnmountDBVol(&guid));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_TRUE(CeUnmountDBVol(&guid));
  EXPECT_EQ(fs::file_size(File()), bytes);
  const CEGUID again = Mount(OPEN_EXISTING);
  EXPECT_EQ(Contents(again, database).size(), 300u);
  const HANDLE find = CeFindFirstDatabaseEx(&again, 0);
  EXPECT_EQ(CeFindNextDatabaseEx(find, nullptr), database);
  EXPECT_NE(CeFindNextDatabaseEx(find, nullptr), 0u) << "theirs";
  Unmount(again);
}

TEST_F(FirstFlush, IsTheLastWhenAnotherProcessHadTheFileSince) {
  CEOID database = 0;
  const CEGUID guid = FillAndLoseTheFile(database);
  Write(handle_, 0, 1000, u"ours");
  EXPECT_FALSE(CeFlushDBVol(&guid));
  EXPECT_FALSE(CeFlushDBVol(&guid));
  EXPECT_FALSE(CeUnmountDBVol(&guid));
  EXPECT_TRUE(CeUnmountDBVol(&guid));
  const CEGUID again = Mount(OPEN_EXISTING);
  CEOIDINFO info = {};
  EXPECT_TRUE(CeOidGetInfoEx(&again, database, &info));
  EXPECT_EQ(Contents(again, database).size(), 300u);
  Unmount(again);
}

}  // namespace
