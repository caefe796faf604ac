// Volume files as clients meet them: what a flush leaves in the file, what a later mount finds, and what rows that do
// not agree with each other come to.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "volume_file_fixture.h"

namespace {

namespace fs = std::filesystem;

using VolumeFile = VolumeFileTest;

TEST_F(VolumeFile, ANewVolumeIsReadableByItsOwnerAlone) {
  const mode_t before = umask(022);
  const CEGUID guid = Mount(CREATE_NEW);
  Unmount(guid);
  umask(before);
  struct stat found;
  ASSERT_EQ(stat(File().c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 07777, 0600u);
}

TEST_F(VolumeFile, TheLastUnmountLeavesOneFile) {
  const CEGUID guid = Mount(CREATE_NEW);
  Write(Open(guid, Create(guid, u"a")), 0, 1, u"one");
  EXPECT_TRUE(CeFlushDBVol(&guid));
  Unmount(guid);
  EXPECT_EQ(Names(), std::vector<std::string>{"test.vol"});
}

TEST_F(VolumeFile, RecordsComeBackAtTheNextMount) {
  CEGUID guid = Mount(CREATE_NEW);
  const CEOID database = Create(guid, u"a");
  HANDLE handle = Open(guid, database);
  for (uint32_t i = 0; i < 300; ++i) Write(handle, 0, 1000 - i, u"text", i);
  const auto contents = Contents(guid, database);
  ASSERT_EQ(contents.size(), 300u);
  Unmount(guid);
  guid = Mount(OPEN_EXISTING);
  EXPECT_EQ(Contents(guid, database), contents);
  Unmount(guid);
}

TEST_F(VolumeFile, EveryFlushSurvivesTheEndOfTheProcess) {
  const CEGUID guid = Mount(CREATE_NEW);
  const CEOID database = Create(guid, u"a");
  const HANDLE handle = Open(guid, database);
  for (uint32_t round = 0; round < 5; ++round) {
    Write(handle, 0, round, u"flushed");
    ASSERT_TRUE(CeFlushDBVol(&guid));
    const auto flushed = Contents(guid, database);
    Write(handle, 0, 100 + round, u"not yet");
    // What a process leaves that ends here: the file and the one beside it.
    fs::copy_file(File(), File("copy.vol"), fs::copy_options::overwrite_existing);
    fs::copy_file(File("test.vol-wal"), File("copy.vol-wal"), fs::copy_options::overwrite_existing);
    const CEGUID copy = Mount(OPEN_EXISTING, "copy.vol");
    EXPECT_EQ(Contents(copy, database), flushed) << round;
    Unmount(copy);
  }
  Unmount(guid);
}

// The volume's row runs ahead of the numbers in use while a mount flushes often.
TEST_F(VolumeFile, ACrashSkipsNumbersButUsesNoneTwice) {
  CEGUID guid = Mount(CREATE_NEW);
  const CEOID database = Create(guid, u"a");
  HANDLE handle = Open(guid, database);
  CEOID last = 0;
  for (uint32_t flushes = 1; flushes <= 200; ++flushes) {
    last = Write(handle, 0, flushes, u"flushed");
    ASSERT_TRUE(CeFlushDBVol(&guid));
    if (flushes % 40 > 1) continue;  // with all of the numbers set aside used, with none, and between
    fs::copy_file(File(), File("copy.vol"), fs::copy_options::overwrite_existing);
    fs::copy_file(File("test.vol-wal"), File("copy.vol-wal"), fs::copy_options::overwrite_existing);
    const CEGUID copy = Mount(OPEN_EXISTING, "copy.vol");
    const HANDLE copied = Open(copy, database);
    const CEOID next = Write(copied, 0, 0, u"after the crash");
    EXPECT_GT(next, last) << flushes;
    EXPECT_LE(next, last + 65) << flushes;
    // A row of a flush after the crash is newer than everything before it.
    SetNumber(copied, last, kOther, 4711);
    const auto contents = Contents(copy, database);
    Unmount(copy);
    const CEGUID again = Mount(OPEN_EXISTING, "copy.vol");
    EXPECT_EQ(Contents(again, database), contents) << flushes;
    Unmount(again);
  }
  Unmount(guid);
  // At rest the row says what is in use, so that nothing is skipped.
  EXPECT_EQ(Ask(File(), "SELECT hex(substr(body, 14, 8)) = 'C800000000000000' FROM volume"), 1);
  guid = Mount(OPEN_EXISTING);
  handle = Open(guid, database);
  EXPECT_EQ(Write(handle, 0, 0, u"next"), last + 1);
  Unmount(guid);
}

// Whether columns count for a row goes by the numbers of their flushes, which go on after a crash.
TEST_F(VolumeFile, AColumnOfBeforeACrashDoesNotCountForARowOfAfterIt) {
  const CEGUID guid = Mount(CREATE_NEW);
  const CEOID database = Create(guid, u"a");
  const HANDLE handle = Open(guid, database);
  std::vector<CEOID> oids;
  for (uint32_t i = 0; i < 100; ++i) oids.push_back(Write(handle, 0, i, u"text"));
  for (uint32_t round = 0; round < 5; ++round) {
    for (const CEOID oid : oids) SetNumber(handle, oid, kOther, oid * 7 + round);
    ASSERT_TRUE(CeFlushDBVol(&guid));
  }
  fs::copy_file(File(), File("copy.vol"));
  fs::copy_file(File("test.vol-wal"), File("copy.vol-wal"));
  CEGUID copy = Mount(OPEN_EXISTING, "copy.vol");
  SetNumber(Open(copy, database), oids[3], kOther, 1);
  const auto contents = Contents(copy, database);
  Unmount(copy);
  copy = Mount(OPEN_EXISTING, "copy.vol");
  EXPECT_EQ(Contents(copy, database), contents);
  Unmount(copy);
  Unmount(guid);
}

TEST_F(VolumeFile, ADeletedRecordsTextIsGoneFromAPageThatStays) {
  const CEGUID guid = Mount(CREATE_NEW);
  const HANDLE handle = Open(guid, Create(guid, u"a"));
  const CEOID kept = Write(handle, 0, 1, u"a text that stays");
  const CEOID gone = Write(handle, 0, 2, u"a text that goes");
  ASSERT_TRUE(CeFlushDBVol(&guid));
  ASSERT_TRUE(CeDeleteRecord(handle, gone));
  ASSERT_NE(Write(handle, kept, 3, u"a text that stays"), 0u);
  Unmount(guid);
  const std::string bytes = Bytes(File());
  EXPECT_NE(bytes.find("a text that stays"), std::string::npos);
  EXPECT_EQ(bytes.find("a text that goes"), std::string::npos);
}

TEST_F(VolumeFile, FlushesGoOnAfterTheSideFileWasTakenUp) {
  CEGUID guid = Mount(CREATE_NEW);
  const CEOID database = Create(guid, u"a");
  const HANDLE handle = Open(guid, database);
  std::vector<CEOID> oids;
  for (uint32_t i = 0; i < 80; ++i) oids.push_back(Write(handle, 0, i, std::u16string(15000, u'x')));
  for (uint32_t round = 0; round < 8; ++round) {  // about 600 pages each
    for (const CEOID oid : oids)
      Write(handle, oid, oid * round, std::u16string(15000, static_cast<char16_t>(u'a' + round)));
    ASSERT_TRUE(CeFlushDBVol(&guid)) << round;
  }
  EXPECT_LT(fs::file_size(File("test.vol-wal")), 10u << 20) << "it is used again from its beginning";
  const auto contents = Contents(guid, database);
  fs::copy_file(File(), File("copy.vol"));
  fs::copy_file(File("test.vol-wal"), File("copy.vol-wal"));
  const CEGUID copy = Mount(OPEN_EXISTING, "copy.vol");
  EXPECT_EQ(Contents(copy, database), contents);
  Unmount(copy);
  Unmount(guid);
}

// Behind the end of a log that a mount finds there may be shreds of a flush that never was.
TEST_F(VolumeFile, TheFirstFlushAfterACrashBeginsANewLog) {
  const CEGUID guid = Mount(CREATE_NEW);
  const CEOID database = Create(guid, u"a");
  Write(Open(guid, database), 0, 1, u"flushed");
  ASSERT_TRUE(CeFlushDBVol(&guid));
  fs::copy_file(File(), File("crashed.vol"));
  fs::copy_file(File("test.vol-wal"), File("crashed.vol-wal"));
  Unmount(guid);
  const std::string log = Bytes(File("crashed.vol-wal"));
  const auto salts = [](const std::string& bytes) { return bytes.substr(16, 8); };

  const CEGUID found = Mount(OPEN_EXISTING, "crashed.vol");
  EXPECT_EQ(Bytes(File("crashed.vol-wal")), log) << "a mount writes nothing";
  Write(Open(found, database), 0, 2, u"after the crash");
  ASSERT_TRUE(CeFlushDBVol(&found));
  const std::string next = Bytes(File("crashed.vol-wal"));
  EXPECT_NE(salts(next), salts(log));
  Write(Open(found, database), 0, 3, u"once more");
  ASSERT_TRUE(CeFlushDBVol(&found));
  EXPECT_EQ(salts(Bytes(File("crashed.vol-wal"))), salts(next)) << "it is taken up once";
  EXPECT_EQ(Contents(found, database).size(), 3u);
  Unmount(found);
}

// A path of 259 characters may have three times as many bytes, and those of the folder that it stands in.
TEST_F(VolumeFile, APathThatIsTooLongForTheStoreIsNotFoundAndLeavesNothing) {
  const fs::path before = fs::current_path();
  for (int depth = 0; depth < 5; ++depth) {
    const std::string name(120, 'd');
    fs::create_directory(depth == 0 ? File(name.c_str()) : fs::path(name));
    fs::current_path(depth == 0 ? File(name.c_str()) : fs::path(name));
  }
  CEGUID guid;
  EXPECT_FALSE(CeMountDBVol(&guid, u"test.vol", CREATE_NEW));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  EXPECT_FALSE(fs::exists("test.vol"));
  fs::current_path(before);
}

TEST_F(VolumeFile, WithoutAFlushTheFileHasNothing) {
  const CEGUID guid = Mount(CREATE_NEW);
  Write(Open(guid, Create(guid, u"a")), 0, 1, u"one");
  fs::copy_file(File(), File("copy.vol"));
  const CEGUID copy = Mount(OPEN_EXISTING, "copy.vol");
  const HANDLE find = CeFindFirstDatabaseEx(&copy, 0);
  EXPECT_EQ(CeFindNextDatabaseEx(find, nullptr), 0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
  Unmount(copy);
  Unmount(guid);
}

TEST_F(VolumeFile, AMountThatChangesNothingLeavesEveryByte) {
  CEGUID guid = Mount(CREATE_NEW);
  const CEOID database = Create(guid, u"a");
  Write(Open(guid, database), 0, 1, u"one");
  Unmount(guid);
  const std::string before = Bytes(File());
  guid = Mount(OPEN_EXISTING);
  EXPECT_EQ(Contents(guid, database).size(), 1u);
  EXPECT_TRUE(CeFlushDBVol(&guid));
  EXPECT_TRUE(CeFlushDBVol(nullptr));
  Unmount(guid);
  EXPECT_EQ(Bytes(File()), before);
}

TEST_F(VolumeFile, ADatabaseThatComesAndGoesBetweenFlushesLeavesOnlyItsIdentifiersUsed) {
  CEGUID guid = Mount(CREATE_NEW);
  Create(guid, u"stays");
  ASSERT_TRUE(CeFlushDBVol(&guid));
  const CEOID view = Create(guid, u"view");
  const HANDLE handle = Open(guid, view);
  const CEOID last = Write(handle, 0, 1, u"one");
  ASSERT_TRUE(CloseHandle(handle));
  ASSERT_TRUE(CeDeleteDatabaseEx(&guid, view));
  Unmount(guid);
  EXPECT_EQ(Ask(File(), "SELECT count(*) FROM database"), 1);
  EXPECT_EQ(Ask(File(), "SELECT count(*) FROM record"), 0);
  guid = Mount(OPEN_EXISTING);
  EXPECT_GT(Create(guid, u"next"), last);
  Unmount(guid);
}

TEST_F(VolumeFile, ADeletedDatabaseTakesItsRowsAlong) {
  CEGUID guid = Mount(CREATE_NEW);
  const CEOID database = Create(guid, u"goes");
  HANDLE handle = Open(guid, database);
  std::vector<CEOID> oids;
  for (uint32_t i = 0; i < 100; ++i) oids.push_back(Write(handle, 0, i, u"text"));
  ASSERT_TRUE(CeFlushDBVol(&guid));
  for (const CEOID oid : oids) SetNumber(handle, oid, kNumber, oid);
  ASSERT_TRUE(CeFlushDBVol(&guid));
  ASSERT_TRUE(CloseHandle(handle));
  ASSERT_TRUE(CeDeleteDatabaseEx(&guid, database));
  Unmount(guid);
  EXPECT_EQ(Ask(File(),
                "SELECT (SELECT count(*) FROM database) + (SELECT count(*) FROM record) + "
                "(SELECT count(*) FROM packed)"),
            0);
}

// A record's numbers are given anew in three rounds; each column of numbers goes into one row where many changed.
class PackedColumns : public VolumeFileTest {
 protected:
  void SetUp() override {
    guid_ = Mount(CREATE_NEW);
    database_ = Create(guid_, u"a");
    handle_ = Open(guid_, database_);
    for (uint32_t i = 0; i < 100; ++i) oids_.push_back(Write(handle_, 0, i, u"text", i));
    ASSERT_TRUE(CeFlushDBVol(&guid_));
    for (const CEOID oid : oids_) SetNumber(handle_, oid, kNumber, 5000 - oid);
    ASSERT_TRUE(CeFlushDBVol(&guid_));
  }

  // The same after a mount as before it.
  void ExpectLasting(int64_t columns) {
    const auto contents = Contents(guid_, database_);
    Unmount(guid_);
    EXPECT_EQ(Ask(File(), "SELECT count(*) FROM packed"), columns);
    guid_ = Mount(OPEN_EXISTING);
    EXPECT_EQ(Contents(guid_, database_), contents);
    Unmount(guid_);
  }

  CEGUID guid_;
  CEOID database_;
  HANDLE handle_;
  std::vector<CEOID> oids_;
};

TEST_F(PackedColumns, AChangedColumnIsOneRow) {
  const std::string row = "SELECT count(*) FROM packed WHERE key = " + std::to_string(database_) + " * 4294967296 + " +
                          std::to_string(kNumber);
  ExpectLasting(1);
  EXPECT_EQ(Ask(File(), row.c_str()), 1);
}

TEST_F(PackedColumns, ALaterRowOfARecordWins) {
  SetNumber(handle_, oids_[3], kNumber, 1);
  ExpectLasting(1);
}

TEST_F(PackedColumns, ALaterColumnWinsOverTheRow) {
  SetNumber(handle_, oids_[3], kNumber, 1);
  ASSERT_TRUE(CeFlushDBVol(&guid_));
  for (const CEOID oid : oids_) SetNumber(handle_, oid, kNumber, oid * 2);
  ExpectLasting(1);
}

TEST_F(PackedColumns, TwoColumnsOfOneDatabaseBothCount) {
  for (const CEOID oid : oids_) SetNumber(handle_, oid, kOther, oid * 3);
  ExpectLasting(2);
}

TEST_F(PackedColumns, ARecordThatLostThePropertyDoesNotGetItBack) {
  CEPROPVAL value = {};
  value.propid = kNumber;
  value.wFlags = CEDB_PROPDELETE;
  ASSERT_EQ(CeWriteRecordProps(handle_, oids_[5], 1, &value), oids_[5]);
  ExpectLasting(1);
}

TEST_F(PackedColumns, DeletedAndNewRecordsDoNotDisturbTheColumn) {
  ASSERT_TRUE(CeDeleteRecord(handle_, oids_[7]));
  Write(handle_, 0, 9, u"new", 9);
  ExpectLasting(1);
}

TEST_F(PackedColumns, ARecordWithMoreChangesGetsItsRowInTheSameFlush) {
  for (const CEOID oid : oids_) SetNumber(handle_, oid, kNumber, oid + 7);
  Write(handle_, oids_[9], 8, u"more", 8);
  ExpectLasting(1);
}

TEST_F(PackedColumns, SixtyFourChangesAreRows) {
  for (size_t i = 0; i < 64; ++i) SetNumber(handle_, oids_[i], kOther, 1);
  ExpectLasting(1);
}

// Rows that are sound one by one but do not agree.
class LyingRows : public VolumeFileTest {
 protected:
  void SetUp() override {
    const CEGUID guid = Mount(CREATE_NEW);
    database_ = Create(guid, u"a");
    sound_ = Create(guid, u"sound");
    HANDLE handle = Open(guid, database_);
    std::vector<CEOID> oids;
    for (uint32_t i = 0; i < 100; ++i) oids.push_back(Write(handle, 0, i, u"text"));
    ASSERT_TRUE(CeFlushDBVol(&guid));
    fs::copy_file(File(), File("older.vol"));
    fs::copy_file(File("test.vol-wal"), File("older.vol-wal"));
    for (const CEOID oid : oids) SetNumber(handle, oid, kNumber, oid);
    Unmount(guid);
  }
  CEOID database_;
  CEOID sound_;
};

TEST_F(LyingRows, ADatabaseWhoseRowsDoNotAgreeCannotBeOpenedWhileOthersCan) {
  const struct {
    const char* why;
    const char* statements;
  } kRows[] = {
      {"a record is missing", "DELETE FROM record WHERE key IN (SELECT max(key) FROM record)"},
      {"a record too many", "INSERT INTO record SELECT max(key) + 1, (SELECT body FROM record LIMIT 1) FROM record"},
      {"two records changed places",
       "CREATE TEMP TABLE t AS SELECT key, body FROM record ORDER BY key LIMIT 2;"
       "UPDATE record SET body = (SELECT body FROM t WHERE t.key <> record.key) WHERE key IN (SELECT key FROM t)"},
      {"a body of a record is text", "UPDATE record SET body = 'x' WHERE key = (SELECT min(key) FROM record)"},
      {"a body of a record is empty", "UPDATE record SET body = x'' WHERE key = (SELECT min(key) FROM record)"},
      {"the column is missing", "DELETE FROM packed"},
      {"the column is another's", "UPDATE packed SET key = key + 65536"},
  };
  for (const auto& row : kRows) {
    const fs::path file = File("changed.vol");
    fs::copy_file(File(), file, fs::copy_options::overwrite_existing);
    ChangeBehindTheStore(file, row.statements);
    const std::string before = Bytes(file);
    const CEGUID guid = Mount(OPEN_EXISTING, "changed.vol");
    CEOID oid = database_;
    SetLastError(0);
    EXPECT_EQ(CeOpenDatabaseEx(&guid, &oid, nullptr, 0, 0, nullptr), INVALID_HANDLE_VALUE) << row.why;
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_CORRUPT)) << row.why;
    EXPECT_TRUE(Contents(guid, sound_).empty()) << row.why;
    Unmount(guid);
    EXPECT_EQ(Bytes(file), before) << row.why;
  }
}

TEST_F(LyingRows, AnOlderStateOfTheColumnIsCorrupt) {
  // A second new column, and the row of the first one in its place: sound, of this database and property, but not
  // current.
  const CEGUID guid = Mount(OPEN_EXISTING);
  const HANDLE handle = Open(guid, database_);
  fs::copy_file(File(), File("older_column.vol"));
  for (const auto& [oid, line] : Contents(guid, database_)) SetNumber(handle, oid, kNumber, oid + 1);
  Unmount(guid);
  ChangeBehindTheStore(File(), "ATTACH '" + File("older_column.vol").string() +
                                   "' AS older; UPDATE packed SET body = (SELECT body FROM older.packed)");
  const CEGUID again = Mount(OPEN_EXISTING);
  CEOID oid = database_;
  EXPECT_EQ(CeOpenDatabaseEx(&again, &oid, nullptr, 0, 0, nullptr), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_CORRUPT));
  Unmount(again);
}

TEST_F(LyingRows, ACatalogueThatDoesNotAgreeIsNotMounted) {
  const struct {
    const char* why;
    const char* statements;
  } kRows[] = {
      {"no row of the volume", "DELETE FROM volume"},
      {"two rows of the volume", "INSERT INTO volume SELECT 2, body FROM volume"},
      {"the volume's row under another key", "UPDATE volume SET id = 2"},
      {"a database is missing", "DELETE FROM database WHERE oid = (SELECT max(oid) FROM database)"},
      {"a database under another identifier",
       "UPDATE database SET oid = oid + 1 WHERE oid = (SELECT max(oid) FROM database)"},
      {"a database twice", "INSERT INTO database SELECT max(oid) + 1, body FROM database"},
  };
  for (const auto& row : kRows) {
    const fs::path file = File("changed.vol");
    fs::copy_file(File(), file, fs::copy_options::overwrite_existing);
    ChangeBehindTheStore(file, row.statements);
    const std::string before = Bytes(file);
    const auto names = Names();
    EXPECT_EQ(MountError(OPEN_EXISTING, "changed.vol"), static_cast<DWORD>(ERROR_FILE_CORRUPT)) << row.why;
    EXPECT_EQ(Bytes(file), before) << row.why;
    EXPECT_EQ(Names(), names) << row.why;
  }
}

// Runs a body in another process that was started before this one mounted anything. The process waits for a line.
class OtherProcess {
 public:
  template <typename Body>
  explicit OtherProcess(Body body) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    child_ = fork();
    if (child_ == 0) {
      close(ends[1]);
      char byte = 0;
      const bool told = read(ends[0], &byte, 1) == 1;
      _exit(told ? body() : 99);
    }
    close(ends[0]);
    start_ = ends[1];
  }
  int Run() {
    EXPECT_EQ(write(start_, "x", 1), 1);
    close(start_);
    int status = 0;
    EXPECT_EQ(waitpid(child_, &status, 0), child_);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t child_ = -1;
  int start_ = -1;
};

TEST_F(VolumeFile, ASecondProcessIsRefusedWhateverItAsks) {
  for (const DWORD disposition : {OPEN_EXISTING, OPEN_ALWAYS, CREATE_ALWAYS, TRUNCATE_EXISTING}) {
    OtherProcess other([this, disposition] {
      CEGUID guid;
      return CeMountDBVol(&guid, Path().c_str(), disposition) ? 98 : static_cast<int>(GetLastError());
    });
    CEGUID guid = Mount(OPEN_ALWAYS);
    const CEOID before = Create(guid, u"db" + std::u16string(1, static_cast<char16_t>(u'0' + disposition)));
    EXPECT_EQ(other.Run(), ERROR_SHARING_VIOLATION) << disposition;
    Unmount(guid);
    guid = Mount(OPEN_EXISTING);
    EXPECT_TRUE(Contents(guid, before).empty()) << disposition;
    Unmount(guid);
  }
}

TEST_F(VolumeFile, AnotherProcessMayMountItAfterTheLastUnmount) {
  OtherProcess other([this] {
    CEGUID guid;
    return CeMountDBVol(&guid, Path().c_str(), OPEN_EXISTING) && CeUnmountDBVol(&guid) ? 0 : 1;
  });
  Unmount(Mount(CREATE_NEW));
  EXPECT_EQ(other.Run(), 0);
}

TEST_F(VolumeFile, AChildProcessDoesNotInheritTheMount) {
  const CEGUID guid = Mount(CREATE_NEW);
  Create(guid, u"a");
  OtherProcess child([this, guid] {
    CEGUID second;
    if (CeMountDBVol(&second, Path().c_str(), OPEN_EXISTING) || GetLastError() != ERROR_SHARING_VIOLATION) return 1;
    if (CeFlushDBVol(&guid) || GetLastError() != ERROR_SHARING_VIOLATION) return 2;
    if (CeUnmountDBVol(&guid)) return 3;
    return CeUnmountDBVol(&guid) ? 0 : 4;  // it can let go of its copy
  });
  EXPECT_EQ(child.Run(), 0);
  EXPECT_TRUE(CeFlushDBVol(&guid)) << "last error " << GetLastError();
  EXPECT_TRUE(fs::exists(File("test.vol-wal")));
  Unmount(guid);
}

// A checkpoint that the power cut short: the first page is in the log only.
TEST_F(VolumeFile, AFirstPageThatIsWholeInTheLogAloneIsEnough) {
  const CEGUID guid = Mount(CREATE_NEW);
  const CEOID database = Create(guid, u"a");
  const HANDLE handle = Open(guid, database);
  for (uint32_t i = 0; i < 40; ++i) Write(handle, 0, i, std::u16string(300, u'x'));
  ASSERT_TRUE(CeFlushDBVol(&guid));
  const auto flushed = Contents(guid, database);
  fs::copy_file(File(), File("cut.vol"));
  fs::copy_file(File("test.vol-wal"), File("cut.vol-wal"));
  Unmount(guid);
  std::string bytes = Bytes(File("cut.vol"));
  std::fill_n(bytes.begin(), 512, '\xA5');
  WriteBytes(File("cut.vol"), bytes);
  const std::string log = Bytes(File("cut.vol-wal"));
  std::string others = log;
  others.replace(others.find("SQLite format 3"), 6, "another");
  for (const std::string& useless : {std::string(), std::string("a text"), log.substr(0, 100), others}) {
    WriteBytes(File("cut.vol-wal"), useless);
    EXPECT_EQ(MountError(OPEN_EXISTING, "cut.vol"), static_cast<DWORD>(ERROR_FILE_CORRUPT));
    EXPECT_EQ(Bytes(File("cut.vol")), bytes);
    EXPECT_EQ(Bytes(File("cut.vol-wal")), useless);
  }
  // Of the flush that was under way, the log may hold shreds of the same page.
  const std::string frame_header = log.substr(log.find("SQLite format 3") - 24, 24);
  for (const std::string& tail : {std::string(), frame_header + std::string(4096, '\x5A')}) {
    WriteBytes(File("cut.vol"), bytes);
    WriteBytes(File("cut.vol-wal"), log + tail);
    const CEGUID found = Mount(OPEN_EXISTING, "cut.vol");
    EXPECT_EQ(Contents(found, database), flushed);
    Unmount(found);
  }
  EXPECT_EQ(Names(), (std::vector<std::string>{"cut.vol", "test.vol"}));
}

TEST_F(VolumeFile, AnotherPathToAMountedFileIsTheSameVolume) {
  fs::create_directory(File("folder"));
  fs::create_directory_symlink(File("folder"), File("link"));
  const CEGUID guid = Mount(CREATE_NEW, "folder/test.vol");
  fs::create_hard_link(File("folder/test.vol"), File("hard.vol"));
  const CEOID database = Create(guid, u"a");
  for (const char* path : {"link/test.vol", "folder/../folder/test.vol", "hard.vol"}) {
    const CEGUID again = Mount(OPEN_EXISTING, path);
    EXPECT_EQ(std::memcmp(&again, &guid, sizeof guid), 0) << path;
    EXPECT_TRUE(Contents(again, database).empty()) << path;
    Unmount(again);
  }
  Unmount(guid);
}

TEST_F(VolumeFile, WhatADeletedVolumeLeftIsNotTakenForTheNewOnes) {
  CEGUID guid = Mount(CREATE_NEW);
  Create(guid, u"of old");
  ASSERT_TRUE(CeFlushDBVol(&guid));
  fs::copy_file(File("test.vol-wal"), File("crashed.vol-wal"));
  Unmount(guid);
  guid = Mount(CREATE_NEW, "crashed.vol");
  CEOID oid = 0;
  EXPECT_EQ(CeOpenDatabaseEx(&guid, &oid, u"of old", 0, 0, nullptr), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  Unmount(guid);
}

TEST_F(VolumeFile, WithoutATurnInItsDirectoryACreationRemovesNothing) {
  const int directory = open(directory_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(flock(directory, LOCK_EX), 0);
  WriteBytes(File("crashed.vol-wal"), "somebody's");
  EXPECT_EQ(MountError(CREATE_NEW, "crashed.vol"), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  EXPECT_FALSE(fs::exists(File("crashed.vol")));
  EXPECT_EQ(fs::file_size(File("crashed.vol-wal")), 10u);
  Unmount(Mount(CREATE_NEW));  // nothing to remove
  close(directory);
  Unmount(Mount(CREATE_NEW, "crashed.vol"));
  EXPECT_FALSE(fs::exists(File("crashed.vol-wal")));
}

TEST_F(VolumeFile, AFlushIntoAFileWithoutANameIsNotReportedAsDone) {
  const CEGUID guid = Mount(CREATE_NEW);
  Create(guid, u"a");
  fs::remove(File());
  EXPECT_FALSE(CeFlushDBVol(&guid));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_FALSE(CeUnmountDBVol(&guid));
  EXPECT_TRUE(CeUnmountDBVol(&guid));
}

}  // namespace
