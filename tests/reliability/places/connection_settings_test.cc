// How SQLite is opened on a database: what it may not do, it is told not to do, whatever the file says. The test puts
// itself between the store and SQLite, and asks the very connection that the store uses.
#include <sqlite3.h>

#include <algorithm>
#include <cstring>

#include "child_process.h"
#include "object_store.h"
#include "place_test.h"

namespace {

struct Opened {
  sqlite3* connection = nullptr;
  std::string path;
  int flags = 0;
  bool other_file_system = false;
  int times = 0;
};
Opened last_opened;
std::function<void()> before_opening = [] {};

// SQLite's allocations: the n-th from now on fails, and all behind it. Below zero: none.
long allocations_left = -1;
sqlite3_mem_methods c_heap;

bool TakeAllocation() {
  if (allocations_left < 0) return true;
  if (allocations_left == 0) return false;
  --allocations_left;
  return true;
}

// Before anything uses SQLite for the first time.
const bool allocations_may_fail = [] {
  if (sqlite3_config(SQLITE_CONFIG_GETMALLOC, &c_heap) != SQLITE_OK) return false;
  sqlite3_mem_methods own = c_heap;
  own.xMalloc = [](int size) -> void* { return TakeAllocation() ? c_heap.xMalloc(size) : nullptr; };
  own.xRealloc = [](void* block, int size) -> void* {
    return TakeAllocation() ? c_heap.xRealloc(block, size) : nullptr;
  };
  return sqlite3_config(SQLITE_CONFIG_MALLOC, &own) == SQLITE_OK;
}();

}  // namespace

extern "C" int __real_sqlite3_open_v2(const char* path, sqlite3** connection, int flags, const char* file_system);
extern "C" int __wrap_sqlite3_open_v2(const char* path, sqlite3** connection, int flags, const char* file_system) {
  if (std::strcmp(path, ":memory:") != 0) before_opening();
  const int result = __real_sqlite3_open_v2(path, connection, flags, file_system);
  if (std::strcmp(path, ":memory:") != 0)
    last_opened = {*connection, path, flags, file_system != nullptr, last_opened.times + 1};
  return result;
}

namespace places {
namespace {

class ConnectionSettings : public PlaceTest {
 protected:
  // With a record stored: before that SQLite does no more than hold the file.
  ConnectionSettings() {
    EXPECT_EQ(MDbAgentOpenDb(env(), u"sound.xdb"), MDbStatusOk);
    EXPECT_EQ(Add(u"three"), MDbStatusOk);
  }

  static int64_t Ask(const char* query) {
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(last_opened.connection, query, -1, &statement, nullptr), SQLITE_OK) << query;
    EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW) << query;
    const int64_t number = sqlite3_column_int64(statement, 0);
    EXPECT_EQ(sqlite3_finalize(statement), SQLITE_OK);
    return number;
  }
};

TEST_F(ConnectionSettings, TheFileItselfIsOpenedByItsWholePathAndNeitherALinkNorAnAddress) {
  EXPECT_EQ(last_opened.path, std::filesystem::canonical("sound.xdb").string());
  EXPECT_EQ(last_opened.flags & (SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_READWRITE | SQLITE_OPEN_EXRESCODE),
            SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_READWRITE | SQLITE_OPEN_EXRESCODE);
  EXPECT_EQ(last_opened.flags & (SQLITE_OPEN_CREATE | SQLITE_OPEN_URI | SQLITE_OPEN_MEMORY | SQLITE_OPEN_SHAREDCACHE),
            0);
  EXPECT_FALSE(last_opened.other_file_system);
}

TEST_F(ConnectionSettings, OptionsAreOnAndOffAsTheyShould) {
  const struct {
    const char* why;
    int option;
    int value;
  } kOptions[] = {
      {"nobody writes the table of tables or the file's pages", SQLITE_DBCONFIG_DEFENSIVE, 1},
      {"a schema is not trusted", SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
      {"no triggers", SQLITE_DBCONFIG_ENABLE_TRIGGER, 0},
      {"no views", SQLITE_DBCONFIG_ENABLE_VIEW, 0},
      {"no foreign keys", SQLITE_DBCONFIG_ENABLE_FKEY, 0},
      {"no extensions", SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0},
      {"text in double quotes is no text", SQLITE_DBCONFIG_DQS_DML, 0},
      {"not in a schema either", SQLITE_DBCONFIG_DQS_DDL, 0},
      {"no writing of the table of tables", SQLITE_DBCONFIG_WRITABLE_SCHEMA, 0},
      {"the log is taken up only when the store asks for it", SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1},
  };
  for (const auto& row : kOptions) {
    int value = -1;
    EXPECT_EQ(sqlite3_db_config(last_opened.connection, row.option, -1, &value), SQLITE_OK) << row.why;
    EXPECT_EQ(value, row.value) << row.why;
  }
  const struct {
    const char* query;
    int64_t answer;
  } kPragmas[] = {
      {"PRAGMA mmap_size", 0},        // a file that is cut would end the process
      {"PRAGMA cell_size_check", 1},  //
      {"PRAGMA synchronous", 2},      // FULL
      {"PRAGMA temp_store", 2},       // in memory
      {"PRAGMA trusted_schema", 0},   //
      {"PRAGMA wal_autocheckpoint", 0},
      {"PRAGMA max_page_count", 1 << 24},
      {"SELECT (SELECT locking_mode FROM pragma_locking_mode) = 'exclusive'", 1},
      {"SELECT (SELECT journal_mode FROM pragma_journal_mode) = 'wal'", 1},
  };
  for (const auto& row : kPragmas) EXPECT_EQ(Ask(row.query), row.answer) << row.query;
}

TEST_F(ConnectionSettings, LimitsAreLoweredToWhatIsUsed) {
  const struct {
    const char* what;
    int limit;
    int most;
  } kLimits[] = {
      {"bytes of a value or row", SQLITE_LIMIT_LENGTH, 1 << 20},
      {"bytes of a statement", SQLITE_LIMIT_SQL_LENGTH, 1024},
      {"columns", SQLITE_LIMIT_COLUMN, 8},
      {"depth of an expression", SQLITE_LIMIT_EXPR_DEPTH, 16},
      {"parts of a compound query", SQLITE_LIMIT_COMPOUND_SELECT, 2},
      {"steps of a program", SQLITE_LIMIT_VDBE_OP, 1000},
      {"arguments of a function", SQLITE_LIMIT_FUNCTION_ARG, 8},
      {"other files", SQLITE_LIMIT_ATTACHED, 0},
      {"bytes of a pattern", SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 8},
      {"parameters", SQLITE_LIMIT_VARIABLE_NUMBER, 4},
      {"triggers within triggers", SQLITE_LIMIT_TRIGGER_DEPTH, 1},
      {"threads", SQLITE_LIMIT_WORKER_THREADS, 0},
  };
  static_assert(std::size(kLimits) == SQLITE_LIMIT_WORKER_THREADS + 1, "a limit that SQLite has and nobody thought of");
  for (const auto& row : kLimits) EXPECT_LE(sqlite3_limit(last_opened.connection, row.limit, -1), row.most) << row.what;
}

// What SQLite would parse and read at each opening, it need not for one that changes nothing.
TEST_F(ConnectionSettings, BeforeTheFirstFlushThereIsNoConnection) {
  ASSERT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  const int before = last_opened.times;
  ASSERT_EQ(MDbAgentOpenDb(env(), u"sound.xdb"), MDbStatusOk);
  EXPECT_EQ(RecordsOfOpen().size(), 3u);
  EXPECT_EQ(last_opened.times, before);
  RunInChildThatDies([this] { EXPECT_TRUE(IsLocked(File())); });  // its descriptors are no business of ours
  EXPECT_EQ(Add(u"four"), MDbStatusOk);
  EXPECT_EQ(Add(u"five"), MDbStatusOk);
  EXPECT_EQ(last_opened.times, before + 1);
  RunInChildThatDies([this] { EXPECT_TRUE(IsLocked(File())); });
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  EXPECT_FALSE(IsLocked(File()));
}

TEST_F(ConnectionSettings, AFileThatTakesThePlaceAtTheLastMomentIsNotWritten) {
  namespace fs = std::filesystem;
  ASSERT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  fs::copy_file("sound.xdb", "other.xdb");
  const std::string bytes = Bytes(File("other.xdb"));
  ASSERT_EQ(MDbAgentOpenDb(env(), u"sound.xdb"), MDbStatusOk);
  before_opening = [] {
    fs::rename("sound.xdb", "moved.xdb");
    fs::rename("other.xdb", "sound.xdb");
  };
  EXPECT_EQ(Add(u"refused"), MDbStatusFailed);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  before_opening = [] {};
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusFailed);
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  EXPECT_EQ(Names(), (std::vector<std::string>{"moved.xdb", "sound.xdb"}));
  EXPECT_EQ(Bytes(File("moved.xdb")), bytes);
  EXPECT_EQ(Bytes(File()), bytes);
}

// What the settings are for.
TEST_F(ConnectionSettings, WhatAHostileFileWouldNeedIsRefused) {
  const char* const kStatements[] = {
      "PRAGMA writable_schema = ON; UPDATE sqlite_schema SET sql = sql",
      "ATTACH ':memory:' AS other",
      "VACUUM INTO 'copy'",
      "SELECT load_extension('libm.so')",
      "SELECT \"text\"",
      "SELECT zeroblob(2000000)",
      "SELECT randomblob(2000000)",
      "SELECT 1 UNION ALL SELECT 2 UNION ALL SELECT 3",
      "SELECT 1+(1+(1+(1+(1+(1+(1+(1+(1+(1+(1+(1+(1+(1+(1+(1+(1+1))))))))))))))))",
      "CREATE TABLE t(a, b, c, d, e, f, g, h, i)",
  };
  for (const char* statement : kStatements) {
    EXPECT_NE(sqlite3_exec(last_opened.connection, statement, nullptr, nullptr, nullptr), SQLITE_OK) << statement;
  }
  const std::string long_one = "SELECT 1" + std::string(2000, ' ');
  EXPECT_NE(sqlite3_exec(last_opened.connection, long_one.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
}

// With a log beside it, SQLite looks at the file when it is mounted.
TEST_F(ConnectionSettings, AMountThatRunsOutOfMemoryLeavesEverythingAsItIs) {
  ASSERT_TRUE(allocations_may_fail);
  const std::string log = Bytes(File("sound.xdb-wal"));
  ASSERT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  for (const bool with_log : {false, true}) {
    SCOPED_TRACE(with_log);
    MDbStatus status = MDbStatusCannotOpen;
    long failures = 0;
    for (long count = 0; status == MDbStatusCannotOpen && count < 2000; ++count) {
      if (with_log) WriteBytes(File("sound.xdb-wal"), log);
      const Lines before = SnapshotOfFolder(folder_.path());
      MDbRef ref;
      MDbRefInitialize(&ref);
      allocations_left = count;
      status = MDbOpen(env(), u"sound.xdb", &ref);
      const DWORD error = GetLastError();
      allocations_left = -1;
      if (status == MDbStatusOk || ref.opened != 0) {
        EXPECT_EQ(MDbClose(env(), &ref), MDbStatusOk);
        continue;
      }
      ++failures;
      ASSERT_EQ(error, static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY)) << count;
      ASSERT_EQ(SnapshotOfFolder(folder_.path()), before) << count;
    }
    EXPECT_EQ(status, MDbStatusOk);
    EXPECT_GT(failures, with_log ? 20 : 1);
  }
}

TEST_F(ConnectionSettings, AFirstFlushThatRunsOutOfMemoryIsRepeatedWhenThereIsSome) {
  ASSERT_TRUE(allocations_may_fail);
  ASSERT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  ASSERT_EQ(MDbAgentOpenDb(env(), u"sound.xdb"), MDbStatusOk);
  allocations_left = 0;
  EXPECT_EQ(Add(u"four"), MDbStatusFailed);
  bool flushed = false;
  long failures = 0;
  for (long count = 1; !flushed && count < 2000; ++count) {
    allocations_left = count;
    flushed = CeFlushDBVol(&env()->agentRef.volume) != FALSE;
    allocations_left = -1;
    if (!flushed) {
      ++failures;
      ASSERT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY)) << count;
    }
  }
  EXPECT_TRUE(flushed);
  EXPECT_GT(failures, 20);
  RunInChildThatDies([this] { EXPECT_TRUE(IsLocked(File())); });
  const std::vector<std::u16string> records = RecordsOfOpen();
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  EXPECT_EQ(Records(u"sound.xdb"), records);
  EXPECT_EQ(Names(), std::vector<std::string>{"sound.xdb"});
}

}  // namespace
}  // namespace places
