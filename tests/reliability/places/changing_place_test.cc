// What becomes of a database whose file or folder changes while it is open: from then on nothing is reported as stored
// that is not, what others have put in its place stays as it is, and what was stored before can be found again.
#include <sys/stat.h>
#include <unistd.h>

#include "child_process.h"
#include "place_test.h"

namespace places {
namespace {

namespace fs = std::filesystem;

using Texts = std::vector<std::u16string>;

class ChangingPlace : public PlaceTest {
 protected:
  ChangingPlace() {
    fs::create_directory("folder");
    MakeDatabase(u"folder/book.xdb", {u"one"});
  }

  // Opens it and stores one record more.
  void OpenAndStore() {
    ASSERT_EQ(MDbAgentOpenDb(env(), u"folder/book.xdb"), MDbStatusOk);
    ASSERT_EQ(Add(u"two"), MDbStatusOk);
  }

  // The next record is refused, and so are all later ones; what is in memory can be read; at the second attempt the
  // database is let go of.
  void ExpectRefusedFromNowOn(DWORD error) {
    for (int attempt = 0; attempt < 2; ++attempt) {
      EXPECT_EQ(Add(u"refused"), MDbStatusFailed);
      EXPECT_EQ(GetLastError(), error);
    }
    const Texts texts = RecordsOfOpen();
    EXPECT_EQ(Texts(texts.begin(), texts.begin() + 2), (Texts{u"one", u"two"}));
    EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusFailed);
    EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  }
};

TEST_F(ChangingPlace, AFileThatIsDeletedTakesNothingMore) {
  OpenAndStore();
  ASSERT_EQ(unlink("folder/book.xdb"), 0);
  const Lines before = SnapshotOfFolder("folder");
  ExpectRefusedFromNowOn(ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(SnapshotOfFolder("folder"), before) << "it is not made again";
  MakeDatabase(u"folder/book.xdb", {u"new"});
  EXPECT_EQ(Records(u"folder/book.xdb"), Texts{u"new"}) << "what the old one left is not taken for the new one's";
}

TEST_F(ChangingPlace, AFileThatTakesItsPlaceIsNotWritten) {
  OpenAndStore();
  fs::rename("folder/book.xdb", "folder/moved.xdb");
  fs::copy_file("sound.xdb", "folder/book.xdb");
  const Lines before = SnapshotOfFolder("folder");
  ExpectRefusedFromNowOn(ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(SnapshotOfFolder("folder"), before);
  // The side file belongs to the file that was moved, and together they are whole.
  fs::rename("folder/book.xdb-wal", "folder/moved.xdb-wal");
  EXPECT_EQ(Records(u"folder/moved.xdb"), (Texts{u"one", u"two"}));
  EXPECT_EQ(Records(u"folder/book.xdb"), (Texts{u"one", u"two"}));
}

TEST_F(ChangingPlace, AFolderOrALinkThatTakesItsPlaceIsNotWritten) {
  for (const bool link : {false, true}) {
    SCOPED_TRACE(link);
    OpenAndStore();
    fs::rename("folder/book.xdb", "folder/moved.xdb");
    if (link) {
      fs::create_symlink("moved.xdb", "folder/book.xdb");
    } else {
      fs::create_directory("folder/book.xdb");
    }
    const Lines before = SnapshotOfFolder("folder");
    ExpectRefusedFromNowOn(ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(SnapshotOfFolder("folder"), before);
    fs::remove_all("folder");
    fs::create_directory("folder");
    MakeDatabase(u"folder/book.xdb", {u"one"});
  }
}

TEST_F(ChangingPlace, AFolderThatIsRenamedKeepsWhatWasStored) {
  OpenAndStore();
  fs::rename("folder", "elsewhere");
  ExpectRefusedFromNowOn(ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Names(), (std::vector<std::string>{"elsewhere", "sound.xdb"}));
  EXPECT_EQ(Records(u"elsewhere/book.xdb"), (Texts{u"one", u"two"}));
}

TEST_F(ChangingPlace, AFolderThatIsRenamedAndBackInTimeGoesOnAsIfNothingHadBeen) {
  OpenAndStore();
  fs::rename("folder", "elsewhere");
  fs::rename("elsewhere", "folder");
  EXPECT_EQ(Add(u"three"), MDbStatusOk);
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  EXPECT_EQ(Records(u"folder/book.xdb"), (Texts{u"one", u"two", u"three"}));
}

TEST_F(ChangingPlace, AFileThatIsCutTakesNothingMore) {
  const auto size = static_cast<off_t>(fs::file_size("folder/book.xdb"));
  for (const off_t left : {off_t{0}, off_t{100}, off_t{4096}, size - 1}) {
    SCOPED_TRACE(left);
    const std::string before = Bytes("folder/book.xdb");
    OpenAndStore();
    ASSERT_EQ(truncate("folder/book.xdb", left), 0);
    const std::string cut = Bytes("folder/book.xdb");
    ExpectRefusedFromNowOn(ERROR_FILE_CORRUPT);
    EXPECT_EQ(Bytes("folder/book.xdb"), cut);
    fs::remove("folder/book.xdb-wal");
    WriteBytes("folder/book.xdb", before);
    EXPECT_EQ(Records(u"folder/book.xdb"), Texts{u"one"});
  }
}

TEST_F(ChangingPlace, AFileThatIsCutWhileNothingIsStoredIsToldWhenItIsClosed) {
  OpenAndStore();
  ASSERT_EQ(truncate("folder/book.xdb", 4096), 0);
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusFailed);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_CORRUPT));
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  EXPECT_EQ(fs::file_size("folder/book.xdb"), 4096u);
}

// A folder that was moved leaves its name to others: what stands there by now is not this database's to clear away.
TEST_F(ChangingPlace, TheSideFileOfADatabaseThatTookTheNameStaysWithIt) {
  ASSERT_EQ(MDbAgentOpenDb(env(), u"folder/book.xdb"), MDbStatusOk);
  fs::rename("folder", "elsewhere");
  const ProcessSignal opened;
  const ProcessSignal closed;
  const pid_t other = StartChildThatDies([&] {
    ASSERT_EQ(MDbCreateDirectory(u"folder"), MDbStatusOk);
    LibraryCalls calls;
    calls.MakeDatabase(u"folder/book.xdb", {u"other"});
    ASSERT_EQ(MDbAgentOpenDb(calls.env(), u"folder/book.xdb"), MDbStatusOk);
    EXPECT_EQ(calls.Add(u"stored"), MDbStatusOk);
    opened.Send();
    closed.Wait();
    EXPECT_EQ(calls.Add(u"stored later"), MDbStatusOk);
  });
  opened.Wait();
  EXPECT_TRUE(fs::exists("folder/book.xdb-wal"));
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  EXPECT_TRUE(fs::exists("folder/book.xdb-wal")) << "the other program works with it";
  closed.Send();
  ExpectChildSucceeds(other);
  EXPECT_EQ(Records(u"folder/book.xdb"), (Texts{u"other", u"stored", u"stored later"}))
      << "stored before that program died";
  EXPECT_EQ(Records(u"elsewhere/book.xdb"), Texts{u"one"});
}

TEST_F(ChangingPlace, ARelativePathMeansTheFolderInWhichItWasOpened) {
  ASSERT_EQ(MDbAgentOpenDb(env(), u"folder/book.xdb"), MDbStatusOk);
  fs::create_directory("other");
  fs::current_path("other");
  EXPECT_EQ(Add(u"two"), MDbStatusOk);
  EXPECT_EQ(Open(u"folder/book.xdb"), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  EXPECT_EQ(Open(u"../folder/book.xdb"), kDone) << "the same database, by its way from here";
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  EXPECT_TRUE(fs::is_empty("."));
  fs::current_path("..");
  EXPECT_EQ(Records(u"folder/book.xdb"), (Texts{u"one", u"two"}));
}

TEST_F(ChangingPlace, AWorkingFolderThatIsGoneHasNoDatabases) {
  fs::create_directory("gone");
  fs::current_path("gone");
  ASSERT_EQ(rmdir((folder_.path() / "gone").c_str()), 0);
  EXPECT_EQ(Create(u"book.xdb"), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  EXPECT_EQ(Open(u"book.xdb"), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  EXPECT_NE(Find(u"*"), kDone);
  fs::current_path(folder_.path());
}

TEST_F(ChangingPlace, PermissionsThatAreTakenAwayAfterwardsDoNotMatter) {
  AsOrdinaryUser(folder_.path(), [this] {
    OpenAndStore();
    ASSERT_EQ(chmod("folder/book.xdb", 0000), 0);
    EXPECT_EQ(Add(u"three"), MDbStatusOk);
    EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
    ASSERT_EQ(chmod("folder/book.xdb", 0600), 0);
    EXPECT_EQ(Records(u"folder/book.xdb"), (Texts{u"one", u"two", u"three"}));
  });
}

TEST_F(ChangingPlace, NorDoTheyBeforeAnythingWasStored) {
  AsOrdinaryUser(folder_.path(), [this] {
    ASSERT_EQ(MDbAgentOpenDb(env(), u"folder/book.xdb"), MDbStatusOk);
    ASSERT_EQ(chmod("folder/book.xdb", 0000), 0);
    EXPECT_EQ(Add(u"two"), MDbStatusOk);
    EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
    ASSERT_EQ(chmod("folder/book.xdb", 0600), 0);
    EXPECT_EQ(Records(u"folder/book.xdb"), (Texts{u"one", u"two"}));
  });
}

// Where no log can be made any more, nothing is called stored, and what was is still there.
TEST_F(ChangingPlace, AFolderThatMayNotBeWrittenAnyMoreTakesNoFirstRecord) {
  AsOrdinaryUser(folder_.path(), [this] {
    ASSERT_EQ(MDbAgentOpenDb(env(), u"folder/book.xdb"), MDbStatusOk);
    ASSERT_EQ(chmod("folder", 0500), 0);
    EXPECT_EQ(Add(u"refused"), MDbStatusFailed);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusFailed);
    EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
    ASSERT_EQ(chmod("folder", 0700), 0);
    EXPECT_EQ(Records(u"folder/book.xdb"), Texts{u"one"});
  });
}

// ---- two names

TEST_F(ChangingPlace, TwoNamesOfOneFileAreOneDatabaseHereAndOneTooManyElsewhere) {
  fs::create_hard_link("folder/book.xdb", "second.xdb");
  OpenAndStore();
  EXPECT_EQ(Create(u"second.xdb"), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
  EXPECT_EQ(Delete(u"second.xdb"), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  MDbRef second;
  MDbRefInitialize(&second);
  ASSERT_EQ(MDbOpen(env(), u"second.xdb", &second), MDbStatusOk);
  EXPECT_EQ(Add(u"three"), MDbStatusOk) << "the lock is still there";
  EXPECT_FALSE(fs::exists("second.xdb-wal"));
  EXPECT_EQ(MDbClose(env(), &second), MDbStatusOk);
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  EXPECT_EQ(Records(u"second.xdb"), (Texts{u"one", u"two", u"three"}));
}

TEST_F(ChangingPlace, ASecondNameIsNoWayIntoADatabaseOfAnotherProcess) {
  fs::create_hard_link("folder/book.xdb", "second.xdb");
  const ProcessSignal opened;
  const ProcessSignal tried;
  const pid_t other = StartChildThatDies([&] {
    OpenAndStore();
    opened.Send();
    tried.Wait();
    EXPECT_EQ(Add(u"three"), MDbStatusOk);
    EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  });
  opened.Wait();
  const Lines before = SnapshotOfFolder(folder_.path(), OwnTime::kTaken);
  EXPECT_EQ(Open(u"second.xdb"), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  EXPECT_EQ(Open(u"folder/book.xdb"), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  EXPECT_EQ(Delete(u"second.xdb"), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  EXPECT_EQ(Delete(u"folder/book.xdb"), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  EXPECT_EQ(SnapshotOfFolder(folder_.path(), OwnTime::kTaken), before);
  tried.Send();
  ExpectChildSucceeds(other);
  EXPECT_EQ(Records(u"second.xdb"), (Texts{u"one", u"two", u"three"}));
}

// The system gives up a process's locks on a file as soon as that process closes any descriptor of it.
TEST_F(ChangingPlace, NothingThatIsDoneBesideAnOpenDatabaseGivesUpItsLock) {
  fs::create_hard_link("folder/book.xdb", "second.xdb");
  fs::create_symlink("folder/book.xdb", "link.xdb");
  OpenAndStore();
  const struct {
    const char* why;
    std::function<DWORD()> call;
    DWORD error;
  } kCalls[] = {
      {"opening it again", [this] { return Open(u"folder/book.xdb"); }, kDone},
      {"by its second name", [this] { return Open(u"second.xdb"); }, kDone},
      {"through a link", [this] { return Open(u"link.xdb"); }, ERROR_FILE_CORRUPT},
      {"making it", [this] { return Create(u"folder/book.xdb"); }, ERROR_ALREADY_EXISTS},
      {"making it by its second name", [this] { return Create(u"second.xdb"); }, ERROR_ALREADY_EXISTS},
      {"deleting it", [this] { return Delete(u"folder/book.xdb"); }, ERROR_SHARING_VIOLATION},
      {"deleting its second name", [this] { return Delete(u"second.xdb"); }, ERROR_SHARING_VIOLATION},
      {"deleting a link to it", [this] { return Delete(u"link.xdb"); }, kDone},
      {"finding it", [] { return Find(u"folder/*.xdb"); }, kDone},
      {"storing into it", [this] { return Add(u"more") == MDbStatusOk ? kDone : GetLastError(); }, kDone},
  };
  for (const auto& row : kCalls) {
    SCOPED_TRACE(row.why);
    EXPECT_EQ(row.call(), row.error);
    RunInChildThatDies([] { EXPECT_TRUE(IsLocked("second.xdb")); });  // its descriptors are no business of ours
  }
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  EXPECT_FALSE(IsLocked("second.xdb"));
}

}  // namespace
}  // namespace places
