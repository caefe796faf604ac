// Where nothing more can be had: no descriptors, no room in a file, no room on a disk, a disk that may only be read. What
// fails says so and leaves nothing; what was reported as stored is there once there is room again.
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "child_process.h"
#include "place_test.h"

namespace places {
namespace {

namespace fs = std::filesystem;

// Lowers a limit of this process until the end of the scope.
class Limit {
 public:
  Limit(__rlimit_resource resource, rlim_t value) : resource_(resource) {
    EXPECT_EQ(getrlimit(resource_, &before_), 0);
    const rlimit lowered{value, before_.rlim_max};
    EXPECT_EQ(setrlimit(resource_, &lowered), 0);
  }
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;
  ~Limit() { EXPECT_EQ(setrlimit(resource_, &before_), 0); }

 private:
  __rlimit_resource resource_;
  rlimit before_ = {};
};

class NoRoom : public PlaceTest {
 protected:
  static rlim_t LowestFreeDescriptor() {
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_GE(descriptor, 0);
    close(descriptor);
    return static_cast<rlim_t>(descriptor);
  }

  // Adds records until one is refused; how many were reported as stored. At the end the database is closed, which fails
  // once when something was refused.
  size_t FillUntilRefused(const std::u16string& path, size_t most) {
    EXPECT_EQ(MDbAgentOpenDb(env(), path.c_str()), MDbStatusOk) << "last error " << GetLastError();
    const size_t before = RecordsOfOpen().size();
    size_t stored = 0;
    while (stored < most && Add(std::u16string(400, u'x')) == MDbStatusOk) ++stored;
    EXPECT_GE(RecordsOfOpen().size(), before + stored) << "reads go on";
    const bool refused = stored < most;
    if (refused) {
      EXPECT_EQ(Add(u"again"), MDbStatusFailed) << "and stay refused, for the state of the file is not known";
    }
    EXPECT_EQ(MDbAgentCloseDb(env()), refused ? MDbStatusFailed : MDbStatusOk);
    if (refused) {
      EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk) << "the second time it lets go";
    }
    return before + stored;
  }

  // A new database that is taken away again; false when it could not even be begun, and then nothing is left.
  bool CreateOnAFullDisk(const std::u16string& path) {
    const fs::path disk = fs::path(path).parent_path();
    const Lines before = SnapshotOfFolder(disk);
    MDbRef ref;
    MDbRefInitialize(&ref);
    const MDbStatus status = MDbCreate(env(), path.c_str(), &ref);
    if (status != MDbStatusOk) {
      EXPECT_TRUE(GetLastError() == ERROR_DISK_FULL || GetLastError() == ERROR_WRITE_FAULT) << GetLastError();
      EXPECT_EQ(SnapshotOfFolder(disk), before);
      return false;
    }
    // Its catalogue is written when it is closed. That may fail once; then it lets go.
    if (MDbClose(env(), &ref) != MDbStatusOk) {
      EXPECT_EQ(ref.opened, 1);
      EXPECT_EQ(MDbClose(env(), &ref), MDbStatusOk);
    }
    EXPECT_EQ(Delete(path), kDone);
    fs::remove(fs::path(path + u"-wal"));
    EXPECT_EQ(SnapshotOfFolder(disk).size(), before.size());
    return true;
  }

  // What was reported is there, and of what was refused the one that was under way at most.
  void ExpectStored(const std::u16string& path, size_t stored) {
    const size_t found = Records(path).size();
    EXPECT_GE(found, stored);
    EXPECT_LE(found, stored + 1);
  }
};

// ---- descriptors

TEST_F(NoRoom, WithoutDescriptorsEveryCallFailsAndLeavesNothing) {
  const rlim_t free = LowestFreeDescriptor();
  MDbRef ref;
  MDbHandle listing = 0;
  MDbChar name[MDB_MAX_PATH];
  const struct {
    const char* why;
    std::function<MDbStatus()> call;
    MDbStatus refused;
  } kCalls[] = {
      {"MDbOpen", [&] { return MDbOpen(env(), u"sound.xdb", &ref); }, MDbStatusCannotOpen},
      {"MDbAgentOpenDb", [&] { return MDbAgentOpenDb(env(), u"sound.xdb"); }, MDbStatusCannotOpen},
      {"MDbCreate", [&] { return MDbCreate(env(), u"new.xdb", &ref); }, MDbStatusFailed},
      {"MDbFindFirstFile", [&] { return MDbFindFirstFile(&listing, u"*.xdb", name, sizeof name); }, MDbStatusFailed},
      {"MDbDelete", [&] { return MDbDelete(env(), u"victim.xdb"); }, MDbStatusFailed},
  };
  for (const auto& row : kCalls) {
    WriteBytes(File("victim.xdb"), "x");
    const Lines before = SnapshotOfFolder(folder_.path());
    MDbStatus status = row.refused;
    for (rlim_t left = 0; status != MDbStatusOk && left < 20; ++left) {
      SCOPED_TRACE(std::string(row.why) + " with " + std::to_string(left));
      MDbRefInitialize(&ref);
      {
        const Limit limit(RLIMIT_NOFILE, free + left);
        status = row.call();
      }
      if (status == MDbStatusOk) {
        EXPECT_GT(left, 0u) << "this takes a descriptor";
        if (ref.opened != 0) {
          EXPECT_EQ(MDbClose(env(), &ref), MDbStatusOk);
        }
        EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
      } else {
        EXPECT_EQ(status, row.refused);
        EXPECT_EQ(ref.opened, 0);
        EXPECT_EQ(SnapshotOfFolder(folder_.path()), before);
      }
      EXPECT_FALSE(IsLocked(File()));
    }
    EXPECT_EQ(status, MDbStatusOk) << row.why;
    fs::remove("new.xdb");
  }
  EXPECT_EQ(MDbFindClose(&listing), MDbStatusOk);
  EXPECT_EQ(Records(u"sound.xdb"), (std::vector<std::u16string>{u"one", u"two"}));
}

TEST_F(NoRoom, ADatabaseThatIsOpenIsNotDeletedForWantOfDescriptors) {
  ASSERT_EQ(MDbAgentOpenDb(env(), u"sound.xdb"), MDbStatusOk);
  const rlim_t free = LowestFreeDescriptor();
  for (rlim_t left = 0; left < 3; ++left) {
    DWORD error = 0;
    {
      const Limit limit(RLIMIT_NOFILE, free + left);
      error = Delete(u"sound.xdb");
    }
    EXPECT_EQ(error, static_cast<DWORD>(ERROR_SHARING_VIOLATION)) << left;
  }
  EXPECT_EQ(Add(u"three"), MDbStatusOk);
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  EXPECT_EQ(Records(u"sound.xdb").size(), 3u);
}

TEST_F(NoRoom, AnOpenDatabaseNeedsNoMoreDescriptorsToStoreWhatItIsGiven) {
  ASSERT_EQ(MDbAgentOpenDb(env(), u"sound.xdb"), MDbStatusOk);
  int stored = 0;
  MDbStatus closed = MDbStatusFailed;
  {
    const Limit limit(RLIMIT_NOFILE, LowestFreeDescriptor());
    while (stored < 10 && Add(u"more") == MDbStatusOk) ++stored;
    closed = MDbAgentCloseDb(env());
  }
  EXPECT_EQ(stored, 10);
  EXPECT_EQ(closed, MDbStatusOk);
  EXPECT_EQ(Records(u"sound.xdb").size(), 12u);
}

// ---- room in a file

TEST_F(NoRoom, AFileThatMayNotGrowRefusesAndKeepsWhatWasStored) {
  for (const rlim_t most : {0u, 1u, 4096u, 20479u, 20480u, 24000u, 36000u, 65536u, 200000u, 1u << 20}) {
    SCOPED_TRACE(most);
    RunInChildThatDies([this, most] {
      ASSERT_NE(signal(SIGXFSZ, SIG_IGN), SIG_ERR);
      const Lines before = SnapshotOfFolder(folder_.path());
      DWORD created;
      size_t stored = 0;
      {
        const Limit limit(RLIMIT_FSIZE, most);
        created = Create(u"new.xdb");
        // A file that fits is made; its catalogue is written when it is closed.
        if (most < 20480) {
          EXPECT_EQ(created, static_cast<DWORD>(ERROR_DISK_FULL));
          EXPECT_EQ(SnapshotOfFolder(folder_.path()), before);
        }
        stored = FillUntilRefused(u"sound.xdb", 60);
      }
      ExpectStored(u"sound.xdb", stored);
    });
    MDbStatus let_go = MDbDelete(env(), u"new.xdb");
    EXPECT_TRUE(let_go == MDbStatusOk || most < 20480);
    fs::remove("new.xdb-wal");
    EXPECT_EQ(Names(), std::vector<std::string>{"sound.xdb"});
  }
}

// Without the signal ignored the system ends the process in the middle of a write: one more way to be killed.
TEST_F(NoRoom, AProcessThatIsEndedForItsFilesSizeLosesNothingThatWasStored) {
  constexpr rlim_t kMostBytes = 100000;
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const pid_t child = StartChildThatDies([this, &ends] {
    const rlimit no_core{0, 0};
    const rlimit lowered{kMostBytes, kMostBytes};
    ASSERT_EQ(setrlimit(RLIMIT_CORE, &no_core), 0);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &lowered), 0);
    ASSERT_EQ(MDbAgentOpenDb(env(), u"sound.xdb"), MDbStatusOk);
    for (int i = 0; i < 1000 && Add(std::u16string(400, u'x')) == MDbStatusOk; ++i)
      ASSERT_EQ(write(ends[1], "x", 1), 1);
  });
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;
  close(ends[1]);
  char reports[2000];
  const ssize_t stored = read(ends[0], reports, sizeof reports);
  close(ends[0]);
  ASSERT_GT(stored, 5);
  ExpectStored(u"sound.xdb", 2 + static_cast<size_t>(stored));
  EXPECT_EQ(Names(), std::vector<std::string>{"sound.xdb"});
}

// ---- room on a disk

bool WriteProcessFile(const char* file, const std::string& text) {
  const int descriptor = open(file, O_WRONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool written = write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  return close(descriptor) == 0 && written;
}

// A disk of its own for a child process, who is the same user on it; false when this system does not let one be made.
bool MountDisk(const char* folder, const char* size) {
  const std::string user = std::to_string(geteuid()) + " " + std::to_string(geteuid()) + " 1";
  const std::string group = std::to_string(getegid()) + " " + std::to_string(getegid()) + " 1";
  if (geteuid() == 0) {
    if (unshare(CLONE_NEWNS) != 0) return false;
  } else if (unshare(CLONE_NEWNS | CLONE_NEWUSER) != 0 || !WriteProcessFile("/proc/self/uid_map", user) ||
             !WriteProcessFile("/proc/self/setgroups", "deny") || !WriteProcessFile("/proc/self/gid_map", group)) {
    return false;
  }
  return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 && mount("disk", folder, "tmpfs", 0, size) == 0;
}

bool DisksCanBeMade(const char* folder) {
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) _exit(MountDisk(folder, "size=1m") ? 0 : 1);
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(NoRoom, AFullDiskRefusesAndKeepsWhatWasStored) {
  fs::create_directory("disk");
  if (!DisksCanBeMade("disk")) GTEST_SKIP() << "this system lets nobody make a disk";
  RunInChildThatDies([this] {
    ASSERT_TRUE(MountDisk("disk", "size=512k"));
    size_t creations_refused = 0;
    size_t stores_refused = 0;
    for (size_t free_pages = 0; free_pages < 60; free_pages += free_pages < 12 ? 1 : 6) {
      SCOPED_TRACE(free_pages);
      MakeDatabase(u"disk/book.xdb", {u"one", u"two"});
      const fs::space_info space = fs::space("disk");
      WriteBytes(File("disk/filler"), std::string(space.available - free_pages * 4096, 'x'));
      creations_refused += CreateOnAFullDisk(u"disk/new.xdb") ? 0u : 1u;
      const size_t stored = FillUntilRefused(u"disk/book.xdb", 60);
      if (stored < 62) ++stores_refused;
      fs::remove("disk/filler");
      ExpectStored(u"disk/book.xdb", stored);
      fs::remove_all("disk/book.xdb");
      EXPECT_TRUE(fs::is_empty("disk"));
    }
    EXPECT_GT(creations_refused, 3u);
    EXPECT_GT(stores_refused, 3u);
  });
}

TEST_F(NoRoom, ADiskThatMayOnlyBeReadDeniesEverythingButListing) {
  fs::create_directory("disk");
  if (!DisksCanBeMade("disk")) GTEST_SKIP() << "this system lets nobody make a disk";
  RunInChildThatDies([this] {
    ASSERT_TRUE(MountDisk("disk", "size=1m"));
    MakeDatabase(u"disk/book.xdb", {u"one"});
    ASSERT_EQ(mount("disk", "disk", "tmpfs", MS_REMOUNT | MS_RDONLY, "size=1m"), 0);
    const Lines before = SnapshotOfFolder(folder_.path(), OwnTime::kTaken);
    constexpr DWORD kDenied = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Open(u"disk/book.xdb"), kDenied);
    EXPECT_EQ(OpenAgent(u"disk/book.xdb"), kDenied);
    EXPECT_EQ(Create(u"disk/new.xdb"), kDenied);
    EXPECT_EQ(Delete(u"disk/book.xdb"), kDenied);
    EXPECT_EQ(MakeFolder(u"disk/new"), kDenied);
    EXPECT_EQ(Find(u"disk/*"), kDone);
    EXPECT_EQ(SnapshotOfFolder(folder_.path(), OwnTime::kTaken), before);
  });
}

}  // namespace
}  // namespace places
