// Whose files they are: the modes and owners of what the library makes, and files and folders that a user may not read or
// write. An administrator, whom permissions do not bind, runs these as somebody else.
#include <sys/stat.h>
#include <unistd.h>

#include "child_process.h"
#include "object_store.h"
#include "place_test.h"

namespace places {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kDenied = ERROR_ACCESS_DENIED;

class Permissions : public PlaceTest {
 protected:
  static unsigned ModeOf(const fs::path& file) {
    struct stat status = {};
    EXPECT_EQ(lstat(file.c_str(), &status), 0) << file;
    return status.st_mode & 07777;
  }
  static std::string OwnerOf(const fs::path& file) {
    struct stat status = {};
    EXPECT_EQ(lstat(file.c_str(), &status), 0) << file;
    return std::to_string(status.st_uid) + ":" + std::to_string(status.st_gid);
  }
};

TEST_F(Permissions, ANewDatabaseAndItsSideFileAreTheOwnersAlone) {
  const struct {
    mode_t mask;
    unsigned mode;
  } kMasks[] = {{0, 0600}, {022, 0600}, {077, 0600}, {0177, 0600}, {0200, 0400}, {0400, 0200}};
  for (const auto& row : kMasks) {
    if (geteuid() != 0 && row.mode != 0600) continue;  // such a file is its owner's no longer, see below
    SCOPED_TRACE(row.mask);
    const mode_t before = umask(row.mask);
    MDbRef ref;
    MDbRefInitialize(&ref);
    EXPECT_EQ(MDbCreate(env(), u"new.xdb", &ref), MDbStatusOk);
    EXPECT_EQ(ModeOf("new.xdb"), row.mode);
    EXPECT_TRUE(CeFlushDBVol(&ref.volume));
    EXPECT_EQ(ModeOf("new.xdb-wal"), row.mode);
    EXPECT_EQ(MDbClose(env(), &ref), MDbStatusOk);
    umask(before);
    EXPECT_EQ(ModeOf("new.xdb"), row.mode);
    EXPECT_EQ(Delete(u"new.xdb"), kDone);
  }
}

TEST_F(Permissions, AMaskThatTakesAwayTheOwnersOwnRightsFailsTheCreationAndLeavesNothing) {
  AsOrdinaryUser(folder_.path(), [this] {
    for (const mode_t mask : {0777u, 0600u, 0400u, 0200u}) {
      SCOPED_TRACE(mask);
      const Lines before = SnapshotOfFolder(folder_.path());
      const mode_t mask_before = umask(mask);
      EXPECT_EQ(Create(u"new.xdb"), kDenied);
      umask(mask_before);
      EXPECT_EQ(SnapshotOfFolder(folder_.path()), before);
    }
  });
}

TEST_F(Permissions, TheSideFileFollowsTheModeAndTheOwnerOfItsDatabase) {
  constexpr unsigned kSomebody = 54321;
  const bool administrator = geteuid() == 0;
  for (const mode_t mode : {0600u, 0640u, 0660u, 0666u}) {
    SCOPED_TRACE(mode);
    ASSERT_EQ(chmod("sound.xdb", mode), 0);
    if (administrator) {
      ASSERT_EQ(chown("sound.xdb", kSomebody, kSomebody + 1), 0);
    }
    const std::string owner = OwnerOf("sound.xdb");
    const mode_t before = umask(077);
    ASSERT_EQ(MDbAgentOpenDb(env(), u"sound.xdb"), MDbStatusOk);
    ASSERT_EQ(Add(u"more"), MDbStatusOk);
    EXPECT_EQ(ModeOf("sound.xdb-wal"), mode);
    EXPECT_EQ(OwnerOf("sound.xdb-wal"), owner);
    EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
    umask(before);
    EXPECT_EQ(ModeOf("sound.xdb"), mode) << "and the database keeps its own";
    EXPECT_EQ(OwnerOf("sound.xdb"), owner);
  }
  EXPECT_EQ(Names(), std::vector<std::string>{"sound.xdb"});
}

struct Denied {
  const char* why;
  mode_t file, folder, way;  // modes of the database, its folder, and the folder above
  DWORD open, create, remove, find;
};

constexpr DWORD kNotTried = 99999;

const Denied kRows[] = {
    {"nobody may read or write it", 0000, 0700, 0700, kDenied, ERROR_ALREADY_EXISTS, kNotTried, 0},
    {"nobody may write it", 0400, 0700, 0700, kDenied, ERROR_ALREADY_EXISTS, kNotTried, 0},
    {"nobody may read it", 0200, 0700, 0700, kDenied, ERROR_ALREADY_EXISTS, kNotTried, 0},
    {"nobody may write its folder", 0600, 0500, 0700, kDenied, ERROR_ALREADY_EXISTS, kDenied, 0},
    {"nobody may list its folder", 0600, 0300, 0700, 0, ERROR_ALREADY_EXISTS, kNotTried, kDenied},
    {"nobody may pass its folder", 0600, 0600, 0700, kDenied, kDenied, kDenied, ERROR_FILE_NOT_FOUND},
    {"nobody may do anything in its folder", 0600, 0000, 0700, kDenied, kDenied, kDenied, kDenied},
    {"nobody may pass the folder above", 0600, 0700, 0600, kDenied, kDenied, kDenied, kDenied},
};

TEST_F(Permissions, WhatIsNotPermittedIsDeniedAndChangesNothing) {
  for (const Denied& row : kRows) {
    SCOPED_TRACE(row.why);
    fs::create_directories("way/folder");
    MakeDatabase(u"way/folder/book.xdb", {u"one"});
    AsOrdinaryUser(folder_.path(), [this, &row] {
      ASSERT_EQ(chmod("way/folder/book.xdb", row.file), 0);
      ASSERT_EQ(chmod("way/folder", row.folder), 0);
      ASSERT_EQ(chmod("way", row.way), 0);
      const OwnTime own_time = OwnTime::kTaken;
      const Lines before = SnapshotOfFolder(folder_.path(), own_time);
      const std::u16string path = u"way/folder/book.xdb";
      EXPECT_EQ(Open(path), row.open);
      EXPECT_EQ(OpenAgent(path), row.open);
      EXPECT_EQ(Create(path), row.create);
      EXPECT_EQ(Find(u"way/folder/*"), row.find);
      if (row.folder == 0500) {
        EXPECT_EQ(Create(u"way/folder/new.xdb"), kDenied);
        EXPECT_EQ(MakeFolder(u"way/folder/new"), kDenied);
      }
      if (row.remove != kNotTried) {
        EXPECT_EQ(Delete(path), row.remove);
      }
      // The owner sees what is there again, and finds it as it was.
      const Lines after = SnapshotOfFolder(folder_.path(), own_time);
      ASSERT_EQ(chmod("way", 0700), 0);
      ASSERT_EQ(chmod("way/folder", 0700), 0);
      // Opening for real lets a side file come and go.
      if (row.open != kDone) {
        EXPECT_EQ(after, before);
      }
      size_t entries = 0;
      for (const auto& entry : fs::directory_iterator("way/folder")) entries += entry.exists() ? 1u : 0u;
      EXPECT_EQ(entries, 1u);
      EXPECT_EQ(ModeOf("way/folder/book.xdb"), row.file);
      ASSERT_EQ(chmod("way/folder/book.xdb", 0600), 0);
      EXPECT_EQ(Records(path), std::vector<std::u16string>{u"one"});
    });
    fs::remove_all("way");
  }
}

// Deleting needs the folder's permission and not the file's: that is the system's own rule.
TEST_F(Permissions, AFileThatNobodyMayReadOrWriteCanBeDeletedByWhoeverMayWriteItsFolder) {
  AsOrdinaryUser(folder_.path(), [this] {
    ASSERT_EQ(chmod("sound.xdb", 0000), 0);
    EXPECT_EQ(Delete(u"sound.xdb"), kDone);
    EXPECT_TRUE(Names().empty());
  });
}

// A side file of somebody else's, in a folder where nobody may take away what is not his own.
TEST_F(Permissions, WhatSomebodyElseHasPutBesideTheNameOfANewDatabaseKeepsItFromBeingMade) {
  if (geteuid() != 0) GTEST_SKIP() << "only an administrator can make somebody else's file";
  AsOrdinaryUser(folder_.path(), [] {});
  WriteBytes(File("new.xdb-wal"), "somebody else's");
  ASSERT_EQ(chown(folder_.path().c_str(), 0, 0), 0);
  ASSERT_EQ(chmod(folder_.path().c_str(), 01777), 0);
  RunInChildThatDies([this] {
    ASSERT_EQ(setresuid(65534, 65534, 65534), 0);
    const Lines before = SnapshotOfFolder(folder_.path());
    EXPECT_EQ(Create(u"new.xdb"), kDenied);
    EXPECT_EQ(SnapshotOfFolder(folder_.path()), before);
  });
}

}  // namespace
}  // namespace places
