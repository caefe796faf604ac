// Faults that were thought of one by one: where each of them strikes, what the client is told, and what is there
// afterwards.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

#include "child_process.h"
#include "failing_memory.h"
#include "fault_run.h"
#include "faulty_files.h"
#include "temporary_directory.h"
#include "xkrvolume.h"

namespace {

namespace fs = std::filesystem;
using faults::Failure;
using faults::Operation;

class StoreFaults : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(faults::MemoryMayFail());
    ASSERT_TRUE(faults::FilesMayFail());
    world_.path = Path().u16string();
    descriptors_ = OpenDescriptors();
  }
  void TearDown() override {
    faults::Disarm();
    for (int attempt = 0; attempt < 2 && world_.mounted; ++attempt) world_.mounted = !CeUnmountDBVol(&world_.volume);
    EXPECT_EQ(OpenDescriptors(), descriptors_);
  }

  fs::path Path() const { return folder_.path() / kVolumeName; }
  fs::path SideFile() const { return Path().string() + "-wal"; }
  size_t Files() const {
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()));
  }

  // Whether the step succeeded; its last error is in error_.
  bool Do(const Step& step) {
    SetLastError(0);
    const bool done = step.act(world_);
    error_ = done ? 0 : GetLastError();
    return done;
  }
  bool DoWith(const faults::Plan& plan, const Step& step) {
    faults::Arm(plan);
    const bool done = Do(step);
    EXPECT_TRUE(faults::Disarm().struck()) << "the fault did not happen";
    return done;
  }
  static faults::Plan At(Failure failure, Operation operation, long at = 0, bool lasting = false) {
    return {failure, at, lasting, faults::BitOf(operation)};
  }

  void Start(DWORD disposition = CREATE_NEW) {
    ASSERT_TRUE(Do(MountStep(disposition)));
    ASSERT_TRUE(Do(CreateStep(u"people", {{kNumber, 0}})));
    ASSERT_TRUE(Do(OpenStep(0, kNumber)));
    ASSERT_TRUE(Do(Add(1)));
    ASSERT_TRUE(Do(FlushStep()));
  }
  // What a mount of a new volume flushes first goes around SQLite; this is one that was there before.
  void StartWithLog() {
    Start();
    ASSERT_TRUE(Do(UnmountStep()));
    ASSERT_TRUE(Do(MountStep(OPEN_EXISTING)));
    ASSERT_TRUE(Do(OpenStep(0, kNumber)));
    ASSERT_TRUE(Do(Add(1)));
    ASSERT_TRUE(Do(FlushStep()));
  }
  // Mounts afresh and starts, then fails to unmount: everything that was flushed stays in the log, and the next mount
  // reads it there.
  void ExpectTheLogIsLeft(const faults::Plan& plan, bool through_sqlite) {
    world_ = World();
    world_.path = Path().u16string();
    fs::remove(Path());
    through_sqlite ? StartWithLog() : Start();
    const std::string content = Content();
    EXPECT_FALSE(DoWith(plan, UnmountStep()));
    EXPECT_EQ(Content(), content);
    EXPECT_FALSE(Do(FlushStep())) << "it is poisoned";
    EXPECT_TRUE(Do(UnmountStep())) << error_;
    EXPECT_TRUE(fs::exists(SideFile()));
    ASSERT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
    EXPECT_EQ(Content(), content);
    ASSERT_TRUE(Do(UnmountStep())) << error_;
    EXPECT_EQ(Files(), 1u);
  }
  static Step Add(int64_t number) { return AddStep(0, {{kNumber, number}}); }
  std::string Content() const { return TextOf(world_.volume).content; }

  // Unmounts, and reads what the next mount finds.
  std::string ContentOfFile() {
    EXPECT_TRUE(Do(UnmountStep())) << error_;
    EXPECT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
    return Content();
  }

  TemporaryDirectory folder_;
  World world_;
  DWORD error_ = 0;
  size_t descriptors_ = 0;
};

TEST_F(StoreFaults, AnInterruptedCallIsMadeAgain) {
  for (const Operation operation : {Operation::kOpen, Operation::kRead, Operation::kWrite, Operation::kSync}) {
    SCOPED_TRACE(faults::NameOf(operation));
    for (long at = 0; at < 3; ++at) {
      fs::remove(Path());
      faults::Arm(At(Failure::kInterrupted, operation, at));
      EXPECT_TRUE(Do(MountStep(CREATE_NEW))) << error_;
      EXPECT_TRUE(Do(CreateStep(u"people", {}))) << error_;
      EXPECT_TRUE(Do(FlushStep())) << error_;
      EXPECT_TRUE(Do(UnmountStep())) << error_;
      EXPECT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
      EXPECT_TRUE(faults::Disarm().struck() || at > 0);
      EXPECT_TRUE(Do(UnmountStep())) << error_;
    }
  }
}

TEST_F(StoreFaults, AWriteThatIsCutShortGoesOn) {
  EXPECT_TRUE(DoWith(At(Failure::kShort, Operation::kWrite), MountStep(CREATE_NEW))) << error_;
  EXPECT_EQ(Content(), "");
}

TEST_F(StoreFaults, AHeaderThatIsReadInPiecesIsWhole) {
  Start();
  ASSERT_TRUE(Do(UnmountStep()));
  EXPECT_TRUE(DoWith(At(Failure::kShort, Operation::kRead), MountStep(OPEN_EXISTING))) << error_;
}

// On this system the descriptor is gone whatever close says, and everything that counts was synced before.
TEST_F(StoreFaults, AFailedCloseIsNoFailureAndLeavesNoDescriptor) {
  for (const Failure failure : {Failure::kDevice, Failure::kInterrupted}) {
    fs::remove(Path());
    EXPECT_TRUE(DoWith(At(failure, Operation::kClose, 0, true), MountStep(CREATE_NEW))) << error_;
    EXPECT_TRUE(Do(CreateStep(u"people", {}))) << error_;
    EXPECT_TRUE(DoWith(At(failure, Operation::kClose, 0, true), UnmountStep())) << error_;
    EXPECT_EQ(OpenDescriptors(), descriptors_);
    ASSERT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
    EXPECT_NE(Content(), "");
    ASSERT_TRUE(Do(UnmountStep())) << error_;
  }
}

// The first flush of a mount: its statements are prepared within the transaction, which is to be taken back then.
TEST_F(StoreFaults, AFlushThatRanOutOfMemoryForGoodIsRepeatedWhenThereIsSome) {
  ASSERT_TRUE(Do(MountStep(CREATE_NEW)));
  ASSERT_TRUE(Do(CreateStep(u"people", {{kNumber, 0}})));
  ASSERT_TRUE(Do(OpenStep(0, kNumber)));
  ASSERT_TRUE(Do(Add(1)));
  bool done = false;
  for (long at = 0; !done; ++at) {
    faults::Arm({Failure::kNoMemory, at, true});
    done = Do(FlushStep());
    faults::Disarm();
    ASSERT_TRUE(done || error_ == ERROR_NOT_ENOUGH_MEMORY) << error_ << " at " << at;
  }
  ASSERT_TRUE(Do(Add(2)));
  EXPECT_TRUE(Do(FlushStep())) << error_;
  const std::string content = Content();
  EXPECT_EQ(ContentOfFile(), content);
}

TEST_F(StoreFaults, AFailedSyncIsNeverFollowedByASuccessfulFlush) {
  Start();
  ASSERT_TRUE(Do(Add(2)));
  const std::string content = Content();
  EXPECT_FALSE(DoWith(At(Failure::kDevice, Operation::kSync), FlushStep()));
  EXPECT_EQ(error_, static_cast<DWORD>(ERROR_WRITE_FAULT));
  for (int attempt = 0; attempt < 3; ++attempt) {
    EXPECT_FALSE(Do(FlushStep()));
    EXPECT_EQ(error_, static_cast<DWORD>(ERROR_WRITE_FAULT));
    EXPECT_TRUE(Do(Add(3))) << "memory goes on";
  }
  EXPECT_NE(Content(), content);
  EXPECT_FALSE(Do(UnmountStep())) << "the client learns of it";
  EXPECT_TRUE(Do(UnmountStep())) << "and can let go";
}

TEST_F(StoreFaults, AFolderThatCannotBeSyncedMakesTheFirstFlushOfANewVolumeFail) {
  ASSERT_TRUE(Do(MountStep(CREATE_NEW)));
  ASSERT_TRUE(Do(CreateStep(u"people", {})));
  // The log's own syncs come first; the folder's is the last one.
  long syncs = 0;
  bool done = false;
  for (; !done; ++syncs) {
    ASSERT_LT(syncs, 20);
    const std::string name = "other" + std::to_string(syncs);
    World other;
    other.path = (folder_.path() / name).u16string();
    ASSERT_TRUE(MountStep(CREATE_NEW).act(other));
    ASSERT_TRUE(CreateStep(u"people", {}).act(other));
    faults::Arm(At(Failure::kDevice, Operation::kSync, syncs));
    done = FlushStep().act(other);
    EXPECT_EQ(faults::Disarm().struck(), !done) << syncs;
    if (!done) {
      EXPECT_FALSE(CeUnmountDBVol(&other.volume));
    }
    EXPECT_TRUE(CeUnmountDBVol(&other.volume));
  }
  EXPECT_GE(syncs, 3) << "log, folder, none";
}

TEST_F(StoreFaults, AFailedCheckpointAtUnmountLeavesTheLogToTheNextMount) {
  const struct {
    const char* why;
    faults::Plan plan;
  } kFailures[] = {
      {"reading the log", At(Failure::kDevice, Operation::kRead)},
      {"writing the file", At(Failure::kDevice, Operation::kWrite)},
      {"the device is full", At(Failure::kFull, Operation::kWrite)},
      {"syncing", At(Failure::kDevice, Operation::kSync)},
      {"cutting the log", At(Failure::kDevice, Operation::kTruncate)},
  };
  for (const auto& [why, plan] : kFailures) {
    SCOPED_TRACE(why);
    ExpectTheLogIsLeft(plan, true);
  }
}

// The first flush of a new volume: its log is taken up without SQLite.
TEST_F(StoreFaults, ANewVolumesLogThatIsNotTakenUpIsLeftToTheNextMount) {
  const struct {
    const char* why;
    faults::Plan plan;
  } kFailures[] = {
      {"writing the file", At(Failure::kDevice, Operation::kWrite)},
      {"half of it", At(Failure::kFull, Operation::kWrite)},
      {"syncing", At(Failure::kDevice, Operation::kSync)},
      {"removing the log", At(Failure::kDevice, Operation::kDelete)},
  };
  for (const auto& [why, plan] : kFailures) {
    SCOPED_TRACE(why);
    ExpectTheLogIsLeft(plan, false);
  }
}

// What it has written by then is not part of the volume, and not in the way of another flush; unless all of it is there, and
// only the log's name was not certain.
TEST_F(StoreFaults, AFirstFlushThatFailsLeavesAnEmptyVolumeOrAFullOne) {
  const std::pair<Failure, Operation> kFailures[] = {
      {Failure::kDevice, Operation::kWrite}, {Failure::kFull, Operation::kWrite},
      {Failure::kShort, Operation::kWrite},  {Failure::kDevice, Operation::kSync},
      {Failure::kDevice, Operation::kOpen},  {Failure::kDevice, Operation::kStatus},
      {Failure::kDevice, Operation::kSize},  {Failure::kDevice, Operation::kRandom}};
  for (const auto& [failure, operation] : kFailures) {
    for (long at = 0; at < 5; ++at) {
      for (const bool lasting : {false, true}) {
        SCOPED_TRACE(std::string(faults::NameOf(failure)) + " " + faults::NameOf(operation) + std::to_string(at));
        world_ = World();
        world_.path = Path().u16string();
        ASSERT_TRUE(Do(MountStep(CREATE_NEW))) << error_;
        ASSERT_TRUE(Do(CreateStep(u"people", {{kNumber, 0}})));
        ASSERT_TRUE(Do(OpenStep(0, kNumber)));
        for (int64_t i = 0; i < 2000; ++i) ASSERT_TRUE(Do(Add(i)));
        const std::string full = Content();
        faults::Arm(At(failure, operation, at, lasting));
        const bool flushed = Do(FlushStep());
        faults::Disarm();
        if (!flushed) {
          EXPECT_FALSE(Do(UnmountStep()));
        }
        ASSERT_TRUE(Do(UnmountStep()));
        ASSERT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
        const std::string found = Content();
        EXPECT_TRUE(found == full || (found.empty() && !flushed));
        if (at == 0) {
          EXPECT_EQ(found == full, flushed);
        }
        if (found.empty()) {
          ASSERT_TRUE(Do(CreateStep(u"others", {{kNumber, 0}})));
          ASSERT_TRUE(Do(OpenStep(0, kNumber)));
          ASSERT_TRUE(Do(Add(7)));
          const std::string others = Content();
          EXPECT_EQ(ContentOfFile(), others);
        }
        ASSERT_TRUE(Do(UnmountStep()));
        EXPECT_EQ(Files(), 1u);
        fs::remove(Path());
      }
    }
  }
}

// A file system may show an older log where a new one was growing when the power went.
TEST_F(StoreFaults, TheLogOfAFirstFlushIsItsHeaderAloneUntilThatIsSynced) {
  constexpr uint32_t kOperations = faults::BitOf(Operation::kSync) | faults::BitOf(Operation::kDelete);
  constexpr bool kLasting = true;  // so that the log is not removed
  ASSERT_TRUE(Do(MountStep(CREATE_NEW)));
  ASSERT_TRUE(Do(CreateStep(u"people", {{kNumber, 0}})));
  EXPECT_FALSE(DoWith({Failure::kDevice, 1, kLasting, kOperations}, FlushStep()));
  EXPECT_EQ(fs::file_size(SideFile()), 32u);
  EXPECT_FALSE(Do(UnmountStep()));
  EXPECT_TRUE(Do(UnmountStep()));
  ASSERT_TRUE(Do(MountStep(OPEN_EXISTING)));
  EXPECT_EQ(Content(), "");
}

// Also when the directory was synced before, for the volume's own name.
TEST_F(StoreFaults, AFirstFlushIsNotCalledDurableBeforeItsLogsNameIs) {
  ASSERT_TRUE(Do(MountStep(CREATE_NEW)));
  ASSERT_TRUE(Do(FlushStep()));
  ASSERT_TRUE(Do(CreateStep(u"people", {{kNumber, 0}})));
  constexpr long kFileHeaderAndFrames = 3;
  EXPECT_FALSE(DoWith(At(Failure::kDevice, Operation::kSync, kFileHeaderAndFrames), FlushStep()));
  EXPECT_FALSE(Do(FlushStep()));
}

TEST_F(StoreFaults, ACreationThatFailsLeavesNoFile) {
  for (const Operation operation :
       {Operation::kOpen, Operation::kWrite, Operation::kSync, Operation::kLock, Operation::kRenameNew,
        Operation::kDelete, Operation::kStatus, Operation::kRead, Operation::kSize, Operation::kRandom}) {
    for (long at = 0; at < 12; ++at) {
      faults::Arm(At(Failure::kDevice, operation, at));
      const bool done = Do(MountStep(CREATE_NEW));
      faults::Disarm();
      if (done) {
        ASSERT_TRUE(Do(UnmountStep()));
      }
      if (done) fs::remove(Path());
      EXPECT_EQ(Files(), 0u) << faults::NameOf(operation) << " number " << at;
    }
  }
}

// The old log would be taken for the new volume's.
TEST_F(StoreFaults, ANewVolumeDoesNotStandBesideAnOldLogThatCannotBeRemoved) {
  std::ofstream(SideFile()) << "an old log";
  for (const bool lasting : {false, true}) {
    EXPECT_FALSE(DoWith(At(Failure::kDenied, Operation::kDelete, 1, lasting), MountStep(OPEN_ALWAYS)));
    EXPECT_EQ(error_, static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_FALSE(fs::exists(Path()));
    EXPECT_TRUE(fs::exists(SideFile()));
  }
}

TEST_F(StoreFaults, AReplacementThatFailsLeavesEveryFlushOfTheOldVolume) {
  Start();
  ASSERT_TRUE(Do(Add(2)));
  const std::string content = Content();
  // The log stays where it is when the unmount cannot fold it in.
  ASSERT_TRUE(Do(FlushStep()));
  ASSERT_FALSE(DoWith(At(Failure::kDevice, Operation::kWrite), UnmountStep()));
  ASSERT_TRUE(Do(UnmountStep()));
  ASSERT_GT(fs::file_size(SideFile()), 0u);
  EXPECT_FALSE(DoWith(At(Failure::kDevice, Operation::kRename), MountStep(CREATE_ALWAYS)));
  EXPECT_EQ(error_, static_cast<DWORD>(ERROR_IO_DEVICE));
  ASSERT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
  EXPECT_EQ(Content(), content);
}

// Played back, it would write into the file.
TEST_F(StoreFaults, AJournalThatCannotBeSeenIsNotTakenForMissing) {
  Start();
  ASSERT_TRUE(Do(UnmountStep()));
  // lstat is asked for the volume first, twice, and then for the journal.
  bool refused = false;
  for (long at = 0; at < 5; ++at) {
    faults::Arm(At(Failure::kDevice, Operation::kStatus, at));
    const bool done = Do(MountStep(OPEN_EXISTING));
    const bool struck = faults::Disarm().struck();
    EXPECT_EQ(done, !struck) << at;
    if (done) {
      ASSERT_TRUE(Do(UnmountStep()));
    }
    if (!done) {
      EXPECT_EQ(error_, static_cast<DWORD>(ERROR_IO_DEVICE));
    }
    refused = refused || !done;
  }
  EXPECT_TRUE(refused);
}

struct Reason {
  Failure failure;
  DWORD error;
};
constexpr Reason kReasons[] = {{Failure::kDevice, ERROR_IO_DEVICE},
                               {Failure::kNoDescriptors, ERROR_NOT_ENOUGH_MEMORY},
                               {Failure::kDenied, ERROR_ACCESS_DENIED},
                               {Failure::kReadOnly, ERROR_ACCESS_DENIED},
                               {Failure::kFull, ERROR_DISK_FULL}};

TEST_F(StoreFaults, WhatAMountCannotOpenItSaysWhy) {
  Start();
  for (const bool with_log : {false, true}) {
    SCOPED_TRACE(with_log);
    // The log stays where it is when the unmount cannot fold it in.
    if (with_log) {
      ASSERT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
      world_.handles.clear();
      ASSERT_TRUE(Do(OpenStep(0, kNumber)));
      ASSERT_TRUE(Do(Add(2)));
      ASSERT_FALSE(DoWith(At(Failure::kDevice, Operation::kSync, 1), UnmountStep()));
    }
    ASSERT_TRUE(Do(UnmountStep()));
    const size_t files = with_log ? 2 : 1;
    ASSERT_EQ(Files(), files);
    for (const auto& [failure, error] : kReasons) {
      for (long at = 0; at < 2; ++at) {  // the file, and its log or the folder that it would be made in
        EXPECT_FALSE(DoWith(At(failure, Operation::kOpen, at), MountStep(OPEN_EXISTING))) << at;
        EXPECT_EQ(error_, error) << faults::NameOf(failure) << " at open number " << at;
        EXPECT_EQ(Files(), files) << at;
      }
    }
  }
}

// That is when the log of a volume at rest is made.
TEST_F(StoreFaults, WhatTheFirstFlushCannotOpenItSaysWhy) {
  Start();
  std::string stored = Content();
  ASSERT_TRUE(Do(UnmountStep()));
  for (const auto& [failure, error] : kReasons) {
    SCOPED_TRACE(faults::NameOf(failure));
    world_.handles.clear();
    ASSERT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
    EXPECT_EQ(Files(), 1u);
    ASSERT_TRUE(Do(OpenStep(0, kNumber)));
    ASSERT_TRUE(Do(Add(2)));
    EXPECT_FALSE(DoWith(At(failure, Operation::kOpen), FlushStep()));
    EXPECT_EQ(error_, error);
    if (failure == Failure::kNoDescriptors) {
      EXPECT_TRUE(Do(FlushStep())) << "there may be some by now";
      stored = Content();
    } else {
      EXPECT_FALSE(Do(FlushStep()));
      EXPECT_FALSE(Do(UnmountStep()));
    }
    ASSERT_TRUE(Do(UnmountStep())) << error_;
    EXPECT_EQ(Files(), 1u);
  }
  ASSERT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
  EXPECT_EQ(Content(), stored);
}

// Whether this process holds the lock, asked through a descriptor that stays open: closing it would drop the lock.
class LockProbe {
 public:
  explicit LockProbe(const fs::path& file) : file_(open(file.c_str(), O_RDWR | O_CLOEXEC)) {}
  LockProbe(const LockProbe&) = delete;
  LockProbe& operator=(const LockProbe&) = delete;
  ~LockProbe() { close(file_); }
  bool Locked() const {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0x40000000;
    lock.l_len = 512;
    EXPECT_EQ(fcntl(file_, F_OFD_GETLK, &lock), 0) << errno;
    return lock.l_type != F_UNLCK;
  }

 private:
  int file_;
};

TEST_F(StoreFaults, TheLockIsHeldThroughEveryFailureAndGoneWithTheMount) {
  Start();
  {
    const LockProbe probe(Path());
    EXPECT_TRUE(probe.Locked());
    ASSERT_TRUE(Do(Add(5)));
    EXPECT_FALSE(DoWith(At(Failure::kDevice, Operation::kSync), FlushStep()));
    EXPECT_TRUE(probe.Locked());
    EXPECT_FALSE(Do(UnmountStep()));
    EXPECT_TRUE(probe.Locked());
    EXPECT_TRUE(Do(UnmountStep()));
    EXPECT_FALSE(probe.Locked());
  }
  for (long at = 0; at < 12; ++at) {
    faults::Arm({Failure::kDevice, at, true});
    const bool done = Do(MountStep(OPEN_EXISTING));
    faults::Disarm();
    if (done) {
      ASSERT_TRUE(Do(UnmountStep()));
    }
    const LockProbe probe(Path());
    EXPECT_FALSE(probe.Locked()) << at;
  }
}

// SQLite looks at a file at rest when it is first flushed to. The lock was there before.
TEST_F(StoreFaults, TheLockIsHeldThroughEveryFailureOfAFirstFlush) {
  Start();
  ASSERT_TRUE(Do(UnmountStep()));
  world_.handles.clear();
  ASSERT_TRUE(Do(MountStep(OPEN_EXISTING)));
  const LockProbe probe(Path());
  EXPECT_TRUE(probe.Locked());
  ASSERT_TRUE(Do(OpenStep(0, kNumber)));
  ASSERT_TRUE(Do(Add(2)));
  bool done = false;
  for (long at = 0; !done; ++at) {
    faults::Arm({Failure::kNoMemory, at, true});
    done = Do(FlushStep());
    faults::Disarm();
    ASSERT_TRUE(probe.Locked()) << at;
    ASSERT_TRUE(done || error_ == ERROR_NOT_ENOUGH_MEMORY) << error_ << " at " << at;
    EXPECT_NE(Content(), "") << at;
  }
  EXPECT_TRUE(Do(UnmountStep()));
  EXPECT_FALSE(probe.Locked());
  for (long at = 0, struck = 1; struck != 0; ++at) {
    world_.handles.clear();
    ASSERT_TRUE(Do(MountStep(OPEN_EXISTING)));
    ASSERT_TRUE(Do(OpenStep(0, kNumber)));
    ASSERT_TRUE(Do(Add(3)));
    faults::Arm({Failure::kDevice, at});
    done = Do(FlushStep());
    struck = faults::Disarm().strikes;
    ASSERT_TRUE(probe.Locked()) << at;
    if (!done) {
      ASSERT_FALSE(Do(UnmountStep())) << at;
      ASSERT_TRUE(probe.Locked()) << at;
    }
    ASSERT_TRUE(Do(UnmountStep())) << at;
    ASSERT_FALSE(probe.Locked()) << at;
  }
}

TEST_F(StoreFaults, AnotherProcessMountsWhatAFailedMountAndAPoisonedVolumeLetGoOf) {
  Start();
  ASSERT_TRUE(Do(Add(2)));
  EXPECT_FALSE(DoWith(At(Failure::kDevice, Operation::kSync), UnmountStep()));
  EXPECT_TRUE(Do(UnmountStep()));
  EXPECT_FALSE(DoWith(At(Failure::kDevice, Operation::kRead, 1, true), MountStep(OPEN_EXISTING)));
  RunInChildThatDies([&] {
    EXPECT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
    EXPECT_TRUE(Do(UnmountStep())) << error_;
  });
}

TEST_F(StoreFaults, AFileSystemWithoutExclusiveRenamingGetsANewVolumeByLink) {
  EXPECT_TRUE(DoWith(At(Failure::kUnsupported, Operation::kRenameNew), MountStep(CREATE_NEW))) << error_;
  EXPECT_TRUE(Do(UnmountStep()));
  EXPECT_EQ(Files(), 1u);
}

TEST_F(StoreFaults, RoomThatCannotBeMadeInTheLogAheadOfTimeIsNoFailure) {
  StartWithLog();
  ASSERT_TRUE(Do(Add(2)));
  // The second flush of a mount makes the room. It comes before the transaction's own writes.
  EXPECT_TRUE(DoWith(At(Failure::kFull, Operation::kOpen), FlushStep())) << error_;
  const std::string content = Content();
  EXPECT_EQ(ContentOfFile(), content);
}

// A replacement removes the log of the volume that gives way. Were it not taken up, since the file could not be looked at,
// and were the renaming to fail as well, what was flushed would be gone.
TEST_F(StoreFaults, AReplacementFailsWhenTheOldFileCannotBeLookedAt) {
  for (long at = 0;; ++at) {
    SCOPED_TRACE(at);
    world_ = World();
    world_.path = Path().u16string();
    fs::remove(Path());
    StartWithLog();
    const std::string content = Content();
    EXPECT_FALSE(DoWith(At(Failure::kDevice, Operation::kSync), UnmountStep()));
    EXPECT_TRUE(Do(UnmountStep())) << error_;
    ASSERT_TRUE(fs::exists(SideFile()));
    faults::Arm(At(Failure::kDenied, Operation::kStatus, at));
    const bool done = Do(MountStep(TRUNCATE_EXISTING));
    if (!faults::Disarm().struck()) {
      EXPECT_TRUE(done) << error_;
      EXPECT_GE(at, 4);
      ASSERT_TRUE(Do(UnmountStep())) << error_;
      return;
    }
    ASSERT_FALSE(done);
    EXPECT_EQ(error_, static_cast<DWORD>(ERROR_ACCESS_DENIED));
    ASSERT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
    EXPECT_TRUE(Content() == content || Content().empty()) << "neither the old volume nor the new one: " << Content();
    ASSERT_TRUE(Do(UnmountStep())) << error_;
  }
}

// It is renamed when it is whole, and would leave behind what stands in its log alone.
TEST_F(StoreFaults, ARepairedVolumeThatCannotBeLookedAtIsNotGivenItsName) {
  Start();
  const std::string content = Content();
  ASSERT_TRUE(Do(UnmountStep())) << error_;
  const fs::path repaired = folder_.path() / "repaired";
  const auto repair = [&] {
    const faults::Exposure exposure;
    return XKRVolumeRepair(world_.path.c_str(), repaired.u16string().c_str(), nullptr);
  };
  for (long at = 0;; ++at) {
    SCOPED_TRACE(at);
    faults::Arm(At(Failure::kDevice, Operation::kStatus, at));
    const uint32_t result = repair();
    const bool struck = faults::Disarm().struck();
    EXPECT_EQ(result == XKRVolumeSound, !struck) << result;
    if (!struck) {
      EXPECT_GE(at, 4);
      break;
    }
    EXPECT_FALSE(fs::exists(repaired));
  }
  world_.path = repaired.u16string();
  ASSERT_TRUE(Do(MountStep(OPEN_EXISTING))) << error_;
  EXPECT_EQ(Content(), content);
}

}  // namespace
