// What may stand beside a database under the names of its side files: a log of another database, a journal, a folder, a
// link, a pipe. None of it is followed, played back or blocked on, and none of it is changed unless it is the log.
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include "place_test.h"

namespace places {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kCorrupt = ERROR_FILE_CORRUPT;

class SideFiles : public PlaceTest {
 protected:
  // The side file that a database has while it is mounted, with a third record in it; and the file as it is then.
  std::string LogWithOneRecord() {
    EXPECT_EQ(MDbAgentOpenDb(env(), u"sound.xdb"), MDbStatusOk);
    EXPECT_EQ(Add(u"three"), MDbStatusOk);
    const std::string log = Bytes(File("sound.xdb-wal"));
    mounted_file_ = Bytes(File());
    EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
    return log;
  }
  // Both as a process leaves them that is killed after its flush.
  void Crash(const char* file, const std::string& log) {
    WriteBytes(File(file), mounted_file_);
    WriteBytes(File((std::string(file) + "-wal").c_str()), log);
  }

  // The log of a file that another program changes, as it is before that program closes it.
  std::string LogOf(const std::string& file, const char* statements) {
    sqlite3* opened = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &opened), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(opened, statements, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(opened);
    const std::string log = Bytes(File(file + "-wal"));
    EXPECT_EQ(sqlite3_close(opened), SQLITE_OK);
    return log;
  }

  std::string mounted_file_;
};

struct Beside {
  const char* why;
  const char* name;
  bool (*make)(const char* name);
};

const Beside kNoLogs[] = {
    {"a folder", "sound.xdb-wal", [](const char* name) { return mkdir(name, 0700) == 0; }},
    {"a pipe", "sound.xdb-wal", [](const char* name) { return mkfifo(name, 0644) == 0; }},
    {"a link to a file", "sound.xdb-wal", [](const char* name) { return symlink("victim", name) == 0; }},
    {"a link to an empty file", "sound.xdb-wal", [](const char* name) { return symlink("empty", name) == 0; }},
    {"a link that leads nowhere", "sound.xdb-wal", [](const char* name) { return symlink("nowhere", name) == 0; }},
    {"a link to a device", "sound.xdb-wal", [](const char* name) { return symlink("/dev/null", name) == 0; }},
    {"a journal that is a folder", "sound.xdb-journal", [](const char* name) { return mkdir(name, 0700) == 0; }},
    {"a journal that is a pipe", "sound.xdb-journal", [](const char* name) { return mkfifo(name, 0644) == 0; }},
    {"a journal that is a link to nowhere", "sound.xdb-journal",
     [](const char* name) { return symlink("nowhere", name) == 0; }},
    {"an empty journal", "sound.xdb-journal",
     [](const char* name) { return close(open(name, O_WRONLY | O_CREAT | O_CLOEXEC, 0644)) == 0; }},
};

TEST_F(SideFiles, WhatIsNoLogKeepsADatabaseFromBeingOpenedAndStaysAsItIs) {
  WriteBytes(File("victim"), "somebody's text");
  WriteBytes(File("empty"), "");
  for (const Beside& beside : kNoLogs) {
    SCOPED_TRACE(beside.why);
    ASSERT_TRUE(beside.make(beside.name));
    const Lines before = SnapshotOfFolder(folder_.path(), OwnTime::kTaken);
    EXPECT_EQ(Open(u"sound.xdb"), kCorrupt);
    EXPECT_EQ(OpenAgent(u"sound.xdb"), kCorrupt);
    EXPECT_EQ(SnapshotOfFolder(folder_.path(), OwnTime::kTaken), before);
    EXPECT_FALSE(IsLocked(File()));
    fs::remove(File(beside.name));
    EXPECT_EQ(Records(u"sound.xdb"), (std::vector<std::u16string>{u"one", u"two"}));
  }
}

// A new database takes the place of what an old one left, but only of that: where something else stands, it is not made.
TEST_F(SideFiles, ANewDatabaseIsMadeBesideNothingElse) {
  for (const char* suffix : {"-wal", "-journal", "-shm"}) {
    SCOPED_TRACE(suffix);
    const std::string name = std::string("new.xdb") + suffix;
    fs::create_directory(name);
    WriteBytes(File(name + "/kept"), "x");
    const Lines before = SnapshotOfFolder(folder_.path());
    EXPECT_EQ(Create(u"new.xdb"), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(SnapshotOfFolder(folder_.path()), before);
    fs::remove_all(name);
  }
}

TEST_F(SideFiles, ALinkInThePlaceOfASideFileIsTakenAwayAndNotWhatItLeadsTo) {
  WriteBytes(File("victim"), "somebody's text");
  fs::create_symlink("victim", "new.xdb-wal");
  fs::create_symlink("victim", "new.xdb-journal");
  MakeDatabase(u"new.xdb", {u"x"});
  EXPECT_EQ(Bytes(File("victim")), "somebody's text");
  EXPECT_EQ(Names(), (std::vector<std::string>{"new.xdb", "sound.xdb", "victim"}));
}

TEST_F(SideFiles, ALogThatIsNoneIsPassedOver) {
  const std::string log = LogWithOneRecord();
  ASSERT_GT(log.size(), 4096u);
  const auto changed = [&log](size_t at) {
    std::string bytes = log;
    bytes[at] = static_cast<char>(bytes[at] ^ 1);
    return bytes;
  };
  const struct {
    const char* why;
    std::string bytes;
    size_t records;
  } kLogs[] = {
      {"empty", "", 2},
      {"a text", "not a log", 2},
      {"zeros", std::string(1 << 20, '\0'), 2},
      {"a header alone", log.substr(0, 32), 2},
      {"a header with a wrong sum", changed(24), 2},
      {"another page size", changed(10), 2},
      {"the first frame damaged", changed(32 + 24 + 100), 2},
      {"cut within its last frame", log.substr(0, log.size() - 1), 2},
      {"whole", log, 3},
      {"whole, with room behind it", log + std::string(1 << 20, '\0'), 3},
  };
  for (const auto& row : kLogs) {
    SCOPED_TRACE(row.why);
    Crash("sound.xdb", row.bytes);
    EXPECT_EQ(Records(u"sound.xdb").size(), row.records);
    EXPECT_EQ(Names(), std::vector<std::string>{"sound.xdb"}) << "one file at rest";
  }
}

TEST_F(SideFiles, AHugeLogOfNothingIsNotReadThrough) {
  const std::string log = LogWithOneRecord();
  Crash("sound.xdb", log);
  ASSERT_EQ(truncate("sound.xdb-wal", off_t{1} << 40), 0) << "no sparse files here";
  EXPECT_EQ(Records(u"sound.xdb").size(), 3u);
  EXPECT_EQ(Names(), std::vector<std::string>{"sound.xdb"});
}

TEST_F(SideFiles, AHugeLogOfNothingIsNotReadThroughForAFirstPageEither) {
  WriteBytes(File("lost.xdb"), std::string(20480, 'x'));
  std::string log(32, '\0');  // the salts are those of the frames: none
  log.replace(0, 4, "\x37\x7F\x06\x82");
  log.replace(8, 4, std::string("\0\0\x10\0", 4));
  WriteBytes(File("lost.xdb-wal"), log);
  ASSERT_EQ(truncate("lost.xdb-wal", off_t{1} << 40), 0) << "no sparse files here";
  const Lines before = SnapshotOfFolder(folder_.path(), OwnTime::kTaken);
  EXPECT_EQ(Open(u"lost.xdb"), kCorrupt);
  EXPECT_EQ(SnapshotOfFolder(folder_.path(), OwnTime::kTaken), before);
}

// The log of another database is sound by itself. What it makes of the file is looked at before anything is written, and
// then nothing is: without the log the database is as it was.
TEST_F(SideFiles, TheLogOfAnotherDatabaseChangesNothing) {
  MakeDatabase(u"large.xdb", std::vector<std::u16string>(40, std::u16string(900, u'x')));
  ASSERT_EQ(MDbAgentOpenDb(env(), u"large.xdb"), MDbStatusOk);
  ASSERT_EQ(Add(u"more"), MDbStatusOk);
  const std::string of_a_larger_one = Bytes(File("large.xdb-wal"));
  ASSERT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  const std::string of_another_program =
      LogOf("foreign", "PRAGMA journal_mode = WAL; CREATE TABLE t(a); INSERT INTO t VALUES(1)");
  const auto of_a_change = [this](const char* statements) {
    fs::copy_file("sound.xdb", "changed.xdb", fs::copy_options::overwrite_existing);
    return LogOf("changed.xdb", statements);
  };
  const struct {
    const char* why;
    std::string log;
    MDbStatus status;
  } kLogs[] = {
      {"of a larger database", of_a_larger_one, MDbStatusFailed},  // a table that cannot be opened
      {"of another program", of_another_program, MDbStatusCannotOpen},
      {"that makes it another version", of_a_change("PRAGMA user_version = 4"), MDbStatusCannotOpen},
      {"that makes it another application's", of_a_change("PRAGMA application_id = 7"), MDbStatusCannotOpen},
      {"that makes its pages move", of_a_change("PRAGMA auto_vacuum = FULL; VACUUM"), MDbStatusCannotOpen},
      {"that adds a trigger", of_a_change("CREATE TRIGGER t AFTER INSERT ON record BEGIN DELETE FROM record; END"),
       MDbStatusCannotOpen},
      {"that takes a row away", of_a_change("DELETE FROM volume"), MDbStatusCannotOpen},
  };
  for (const auto& row : kLogs) {
    SCOPED_TRACE(row.why);
    ASSERT_GT(row.log.size(), 4096u);
    WriteBytes(File("sound.xdb-wal"), row.log);
    const Lines before = SnapshotOfFolder(folder_.path(), OwnTime::kTaken);
    EXPECT_EQ(MDbAgentOpenDb(env(), u"sound.xdb"), row.status);
    EXPECT_EQ(MDbRefIsOpened(&env()->agentRef), 0);
    EXPECT_EQ(SnapshotOfFolder(folder_.path(), OwnTime::kTaken), before);
    fs::remove(File("sound.xdb-wal"));
    EXPECT_EQ(Records(u"sound.xdb"), (std::vector<std::u16string>{u"one", u"two"}));
  }
}

TEST_F(SideFiles, SharedMemoryBesideADatabaseIsNeitherReadNorTouched) {
  WriteBytes(File("sound.xdb-shm"), std::string(32768, '\x55'));
  fs::create_directory("other.xdb-shm");
  const Lines before = SnapshotOfFolder(folder_.path());
  EXPECT_EQ(Records(u"sound.xdb"), (std::vector<std::u16string>{u"one", u"two"}));
  EXPECT_EQ(SnapshotOfFolder(folder_.path()), before);
}

}  // namespace
}  // namespace places
