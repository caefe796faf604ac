// Database files whose table of tables or header was written by somebody who means harm: they say what a sound one says,
// and more, or lead elsewhere. They are refused before anything of theirs is read, run or written.
#include <sqlite3.h>

#include "allocation_watch.h"
#include "place_test.h"

namespace places {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kCorrupt = ERROR_FILE_CORRUPT;

class HostileSchema : public PlaceTest {
 protected:
  HostileSchema() : sound_(Bytes(File())) {}

  // Runs statements on a copy of the sound file, with everything allowed that SQLite can allow.
  void MakeHostile(const std::string& statements) {
    WriteBytes(File("hostile.xdb"), sound_);
    sqlite3* opened = nullptr;
    ASSERT_EQ(sqlite3_open("hostile.xdb", &opened), SQLITE_OK);
    char* message = nullptr;
    EXPECT_EQ(sqlite3_exec(opened, ("PRAGMA writable_schema = ON;" + statements).c_str(), nullptr, nullptr, &message),
              SQLITE_OK)
        << (message != nullptr ? message : "");
    sqlite3_free(message);
    EXPECT_EQ(sqlite3_close(opened), SQLITE_OK);
    ASSERT_FALSE(fs::exists("hostile.xdb-wal"));
  }

  void ExpectRefused() {
    const Lines before = SnapshotOfFolder(folder_.path());
    StartWatchingRequests();
    EXPECT_EQ(Open(u"hostile.xdb"), kCorrupt);
    EXPECT_EQ(OpenAgent(u"hostile.xdb"), kCorrupt);
    EXPECT_LE(MostHeldBySqlite(), 4u << 20);
    EXPECT_EQ(SnapshotOfFolder(folder_.path()), before);
    EXPECT_FALSE(IsLocked(File("hostile.xdb")));
  }

  const std::string sound_;
};

constexpr char kForgeRow[] = "INSERT INTO sqlite_schema(rowid, type, name, tbl_name, rootpage, sql) VALUES";
constexpr char kChangeText[] = "UPDATE sqlite_schema SET sql = ";

const struct {
  const char* why;
  std::string statements;
} kSchemas[] = {
    {"the columns' table is the records'",
     "UPDATE sqlite_schema SET rootpage = (SELECT rootpage FROM sqlite_schema WHERE name = 'record') "
     "WHERE name = 'packed'"},
    {"two tables changed places",
     "UPDATE sqlite_schema SET rootpage = CASE name WHEN 'record' THEN 5 ELSE 4 END WHERE name IN ('record', "
     "'packed')"},
    {"a table on the first page", "UPDATE sqlite_schema SET rootpage = 1 WHERE name = 'packed'"},
    {"a table beyond the end", "UPDATE sqlite_schema SET rootpage = 77 WHERE name = 'packed'"},
    {"a table far beyond the end", "UPDATE sqlite_schema SET rootpage = 9223372036854775807 WHERE name = 'packed'"},
    {"a table nowhere", "UPDATE sqlite_schema SET rootpage = 0 WHERE name = 'packed'"},
    {"a table before the beginning", "UPDATE sqlite_schema SET rootpage = -2 WHERE name = 'packed'"},
    {"a table on a page of text", "UPDATE sqlite_schema SET rootpage = 'five' WHERE name = 'packed'"},
    {"a table on no page at all", "UPDATE sqlite_schema SET rootpage = NULL WHERE name = 'packed'"},
    {"a counter of identifiers more", "CREATE TABLE t(a INTEGER PRIMARY KEY AUTOINCREMENT); DROP TABLE t"},
    {"statistics more", "ANALYZE"},
    {"a table of another module more", "CREATE VIRTUAL TABLE t USING fts5(a)"},
    {"a table of a module that does not exist",
     std::string(kForgeRow) + "(9, 'table', 't', 't', 0, 'CREATE VIRTUAL TABLE t USING nowhere')"},
    {"a trigger more", "CREATE TRIGGER t BEFORE INSERT ON record BEGIN SELECT RAISE(ABORT, 'no'); END"},
    {"a trigger under a table's name",
     std::string(kForgeRow) +
         "(9, 'trigger', 'record', 'record', 0, 'CREATE TRIGGER record AFTER INSERT ON record BEGIN SELECT 1; END')"},
    {"a trigger that stands first",
     std::string(kForgeRow) +
         "(-1, 'trigger', 't', 'record', 0, 'CREATE TRIGGER t AFTER INSERT ON record BEGIN SELECT 1; END')"},
    {"a view more", "CREATE VIEW t AS SELECT * FROM record"},
    {"an index more", "CREATE INDEX t ON record(body)"},
    {"an index without a text",
     std::string(kForgeRow) + "(9, 'index', 'sqlite_autoindex_record_1', 'record', 2, NULL)"},
    {"a row of nothing", std::string(kForgeRow) + "(9, NULL, NULL, NULL, NULL, NULL)"},
    {"a row less", "DELETE FROM sqlite_schema WHERE name = 'packed'"},
    {"no row", "DELETE FROM sqlite_schema"},
    {"rows in another order", "UPDATE sqlite_schema SET rowid = 99 WHERE name = 'volume'"},
    {"a text as bytes", "UPDATE sqlite_schema SET sql = CAST(sql AS BLOB) WHERE name = 'record'"},
    {"a text with more behind its end",
     "UPDATE sqlite_schema SET sql = sql || char(0) || ' WITHOUT ROWID' WHERE name = 'record'"},
    {"a name with more behind its end", "UPDATE sqlite_schema SET name = 'record' || char(0) WHERE name = 'record'"},
    {"a remark in a text",
     std::string(kChangeText) +
         "'CREATE TABLE record(key INTEGER PRIMARY KEY, body BLOB NOT NULL)--' WHERE name = 'record'"},
    {"a text of a megabyte",
     "UPDATE sqlite_schema SET sql = sql || printf('%.*c', 1000000, ' ') WHERE name = 'record'"},
    {"a table without row numbers",
     std::string(kChangeText) +
         "'CREATE TABLE record(key INTEGER PRIMARY KEY, body BLOB NOT NULL) WITHOUT ROWID' WHERE name = 'record'"},
    {"a column that computes",
     std::string(kChangeText) +
         "'CREATE TABLE record(key INTEGER PRIMARY KEY, body BLOB AS (zeroblob(1000000000)))' WHERE name = 'record'"},
    {"a check that computes", std::string(kChangeText) +
                                  "'CREATE TABLE record(key INTEGER PRIMARY KEY, body BLOB NOT NULL "
                                  "CHECK (length(randomblob(1000000000)) > 0))' WHERE name = 'record'"},
    {"a default that computes", std::string(kChangeText) +
                                    "'CREATE TABLE record(key INTEGER PRIMARY KEY, body BLOB NOT NULL, "
                                    "more DEFAULT (randomblob(1000000000)))' WHERE name = 'record'"},
    {"a foreign key", std::string(kChangeText) +
                          "'CREATE TABLE record(key INTEGER PRIMARY KEY REFERENCES volume ON DELETE CASCADE, "
                          "body BLOB NOT NULL)' WHERE name = 'record'"},
};

TEST_F(HostileSchema, ATableOfTablesThatIsNotOursToTheLastWordIsRefused) {
  for (const auto& row : kSchemas) {
    SCOPED_TRACE(row.why);
    MakeHostile(row.statements);
    ExpectRefused();
  }
  EXPECT_EQ(Records(u"sound.xdb"), (std::vector<std::u16string>{u"one", u"two"}));
}

// Where a header says something that is the same in every database of ours, nothing else is believed.
TEST_F(HostileSchema, AHeaderThatIsNotOursIsRefusedBeforeSQLiteSeesTheFile) {
  const struct {
    const char* why;
    size_t offset;
    std::string bytes;
  } kHeaders[] = {
      {"another magic", 0, "SQLite format 2"},
      {"pages of 512 bytes", 16, {"\x02\x00", 2}},
      {"pages of 65536 bytes", 16, {"\x00\x01", 2}},
      {"written with a rollback journal", 18, "\x01"},
      {"read with a rollback journal", 19, "\x01"},
      {"a format of the future", 18, "\x03"},
      {"room at the end of each page", 20, "\x10"},
      {"an older format of tables", 44, {"\0\0\0\1", 4}},
      {"a format of tables of the future", 44, {"\0\0\0\5", 4}},
      {"pages that move by themselves", 52, {"\0\0\0\5", 4}},
      {"texts in UTF-16", 56, {"\0\0\0\3", 4}},
      {"another version of the format", 60, {"\0\0\0\4", 4}},
      {"pages that move on request", 64, {"\0\0\0\1", 4}},
      {"another application", 68, "GPKG"},
      {"something where nothing is", 72, "x"},
      {"something where nothing is, at its end", 91, "x"},
  };
  for (const auto& row : kHeaders) {
    SCOPED_TRACE(row.why);
    std::string bytes = sound_;
    bytes.replace(row.offset, row.bytes.size(), row.bytes);
    WriteBytes(File("hostile.xdb"), bytes);
    const Lines before = SnapshotOfFolder(folder_.path(), OwnTime::kTaken);
    EXPECT_EQ(OpenAgent(u"hostile.xdb"), kCorrupt);
    EXPECT_EQ(SnapshotOfFolder(folder_.path(), OwnTime::kTaken), before) << "no side file came and went";
  }
}

// A value of a table that is larger than any of ours is not even read into memory.
TEST_F(HostileSchema, ABodyThatIsTooLargeForUsIsDamageAndTakesNoMemory) {
  for (const char* table : {"volume", "database", "record", "packed"}) {
    SCOPED_TRACE(table);
    const std::string key = std::string(table) == "volume" ? "id" : std::string(table) == "database" ? "oid" : "key";
    MakeHostile(
        std::string("UPDATE ") + table + " SET body = zeroblob(8000000) WHERE " + key + " = (SELECT min(" + key +
        ") FROM " + table + ");" +
        (std::string(table) == "packed" ? "INSERT INTO packed SELECT min(key), zeroblob(8000000) FROM record" : ""));
    const Lines before = SnapshotOfFolder(folder_.path());
    StartWatchingRequests();
    EXPECT_NE(MDbAgentOpenDb(env(), u"hostile.xdb"), MDbStatusOk);
    EXPECT_EQ(MDbRefIsOpened(&env()->agentRef), 0);
    EXPECT_LE(MostHeldBySqlite(), 4u << 20);
    EXPECT_LE(LargestRequest(), 1u << 20);
    EXPECT_EQ(SnapshotOfFolder(folder_.path()), before);
  }
}

}  // namespace
}  // namespace places
