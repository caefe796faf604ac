// Tables that are put together page by page, as SQLite reads them.
#include "table_builder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <limits>
#include <map>
#include <random>
#include <string>

#include "file_system.h"
#include "first_flush.h"
#include "temporary_directory.h"

namespace objectstore {
namespace {

using Rows = std::map<int64_t, std::vector<uint8_t>>;

class TableBuilding : public testing::Test {
 protected:
  ~TableBuilding() override { sqlite3_close(connection_); }

  AppendedPages::Write IntoFile() const {
    return [this](std::span<const uint8_t> bytes, uint64_t offset) { return file_.Write(bytes, offset); };
  }

  // A volume's file whose table of records has these rows.
  void Build(const Rows& rows, uint32_t first_page = kRootPages + 1) {
    path_ = (directory_.path() / "built").string();
    ASSERT_EQ(file_.Create(path_), Status::kOk);
    EmptyVolume roots;
    ASSERT_EQ(MakeEmptyVolume(roots), Status::kOk);
    AppendedPages pages(IntoFile(), first_page);
    TableBuilder table(pages);
    for (const auto& [key, body] : rows) ASSERT_EQ(table.Add(key, body), Status::kOk) << key;
    ASSERT_EQ(table.End(roots[3]), Status::kOk);
    ASSERT_EQ(pages.End(), Status::kOk);
    MakeFirstPage(pages.next_page() - 1, 1, roots[0]);
    ASSERT_EQ(file_.Write({roots.front().data(), sizeof roots}, 0), Status::kOk);
    ASSERT_EQ(sqlite3_open_v2(path_.c_str(), &connection_, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    if (first_page == kRootPages + 1) {
      EXPECT_EQ(Ask("PRAGMA integrity_check"), "ok");
    }
    EXPECT_EQ(Ask("PRAGMA page_count"), std::to_string(pages.next_page() - 1));
  }

  void Forget() {
    sqlite3_close(connection_);
    SystemFile closed;
    closed.Swap(file_);
    std::filesystem::remove(path_);
    connection_ = nullptr;
  }

  std::string Ask(const char* sql) {
    std::string answer;
    const auto take = [](void* all, int count, char** columns, char**) {
      for (int i = 0; i < count; ++i) *static_cast<std::string*>(all) += columns[i];
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(connection_, sql, take, &answer, nullptr), SQLITE_OK) << sqlite3_errmsg(connection_);
    return answer;
  }

  Rows Read() {
    Rows rows;
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(connection_, "SELECT key, body FROM record", -1, &statement, nullptr), SQLITE_OK);
    while (sqlite3_step(statement) == SQLITE_ROW) {
      const auto* bytes = static_cast<const uint8_t*>(sqlite3_column_blob(statement, 1));
      rows[sqlite3_column_int64(statement, 0)].assign(bytes, bytes + sqlite3_column_bytes(statement, 1));
    }
    EXPECT_EQ(sqlite3_finalize(statement), SQLITE_OK);
    return rows;
  }

  TemporaryDirectory directory_;
  std::string path_;
  SystemFile file_;
  sqlite3* connection_ = nullptr;
};

std::vector<uint8_t> Body(size_t bytes, uint64_t seed) {
  std::vector<uint8_t> body(bytes);
  for (size_t i = 0; i < bytes; ++i) body[i] = static_cast<uint8_t>(seed + i * 7 + (i >> 8));
  return body;
}

const struct {
  const char* why;
  int rows;
  size_t first_bytes;
  size_t more_bytes;  // for each row after it
  int64_t first_key;
  int64_t step;
} kTables[] = {
    {"no row", 0, 0, 0, 0, 0},
    {"one row without a byte", 1, 0, 0, 1, 1},
    {"rows that fill the root", 8, 450, 0, 1, 1},
    {"two leaves", 9, 450, 0, 1, 1},
    {"small rows on many leaves", 5000, 20, 0, 1, 1},
    {"as many leaves as one page has room for", 273 * 7, 550, 0, 1, 1},
    {"one leaf more", 273 * 7 + 1, 550, 0, 1, 1},
    {"more interior pages than one", 5000, 550, 0, int64_t{7} << 32, 1},
    {"lengths around the largest that stays on its page", 40, 4030, 1, 1, 1},
    {"lengths around one page more", 40, 8100, 1, 1, 1},
    {"lengths around the least that stays", 40, 4540, 1, 1, 1},
    {"long rows between short ones", 60, 1, 1777, 1, 1},
    {"keys of nine bytes", 2000, 300, 0, std::numeric_limits<int64_t>::max() - 2000, 1},
    {"negative keys", 2000, 300, 0, std::numeric_limits<int64_t>::min(), int64_t{1} << 52},
    {"keys of every length", 63, 300, 0, 1, 0},
};

TEST_F(TableBuilding, WhatIsBuiltIsWhatSqliteReads) {
  for (const auto& table : kTables) {
    SCOPED_TRACE(table.why);
    Rows rows;
    for (int i = 0; i < table.rows; ++i) {
      const int64_t key = table.step != 0 ? table.first_key + i * table.step : int64_t{1} << i;
      rows[key] = Body(table.first_bytes + static_cast<size_t>(i) * table.more_bytes, static_cast<uint64_t>(i));
    }
    Build(rows);
    EXPECT_TRUE(Read() == rows);
    Forget();
  }
}

TEST_F(TableBuilding, RandomRowsAreReadAndChangedBySqlite) {
  constexpr uint64_t kSeed = 20260611;
  SCOPED_TRACE(kSeed);
  std::mt19937_64 random(kSeed);
  Rows rows;
  for (int i = 0; i < 3000; ++i) {
    const auto bytes = static_cast<size_t>(random() % 50 == 0 ? random() % 30000 : random() % 900);
    rows[static_cast<int64_t>(random())] = Body(bytes, random());
  }
  Build(rows);
  EXPECT_TRUE(Read() == rows);
  Ask("PRAGMA locking_mode = EXCLUSIVE");
  Ask("DELETE FROM record WHERE key % 3 = 0");
  Ask("INSERT INTO record SELECT key + 1, body || body FROM record WHERE key % 7 = 1 AND key + 1 NOT IN (SELECT key "
      "FROM record)");
  EXPECT_EQ(Ask("PRAGMA integrity_check"), "ok");
}

// SQLite never looks at that page. The file is a hole up to there.
TEST_F(TableBuilding, ThePageOfSqlitesLocksIsLeftOut) {
  const struct {
    const char* why;
    size_t bytes;
    int rows;
  } kBodies[] = {{"a long body goes on behind it", 30000, 1}, {"leaves on both sides", 900, 40}};
  for (const auto& [why, bytes, count] : kBodies) {
    SCOPED_TRACE(why);
    Rows rows;
    for (int i = 0; i < count; ++i) rows[i] = Body(bytes, static_cast<uint64_t>(i));
    Build(rows, kLockPage - 3);
    EXPECT_TRUE(Read() == rows);
    Page page;
    SystemFile file;
    size_t read = 0;
    ASSERT_EQ(file.Open(path_, FileAccess::kRead), Status::kOk);
    ASSERT_EQ(file.Read(uint64_t{kLockPage - 1} * kPageBytes, page, read), Status::kOk);
    ASSERT_EQ(read, size_t{kPageBytes});
    EXPECT_TRUE(page == Page{});
    Forget();
  }
}

TEST_F(TableBuilding, NoPageIsAppendedBehindTheLastThatAVolumeMayHave) {
  AppendedPages pages([](std::span<const uint8_t>, uint64_t) { return Status::kOk; }, kMostPages);
  EXPECT_EQ(pages.Append(Page{}), Status::kOk);
  EXPECT_EQ(pages.Append(Page{}), Status::kDiskFull);
}

TEST_F(TableBuilding, ARowThatIsNotBehindTheOneBeforeIsRefused) {
  AppendedPages pages([](std::span<const uint8_t>, uint64_t) { return Status::kOk; }, kRootPages + 1);
  TableBuilder table(pages);
  EXPECT_EQ(table.Add(5, {}), Status::kOk);
  EXPECT_EQ(table.Add(5, {}), Status::kInvalidParameter);
  EXPECT_EQ(table.Add(4, {}), Status::kInvalidParameter);
  EXPECT_EQ(table.Add(6, {}), Status::kOk);
}

TEST_F(TableBuilding, ARowThatIsTooLongForAVolumeIsRefused) {
  AppendedPages pages([](std::span<const uint8_t>, uint64_t) { return Status::kOk; }, kRootPages + 1);
  TableBuilder table(pages);
  EXPECT_EQ(table.Add(1, std::vector<uint8_t>(1 << 20)), Status::kCorrupt);
}

// The bytes that SQLite itself would write.
TEST_F(TableBuilding, TheFirstPageIsThatOfATableMadeWithSql) {
  sqlite3* made = nullptr;
  ASSERT_EQ(sqlite3_open(":memory:", &made), SQLITE_OK);
  std::string sql = "PRAGMA page_size = 4096; PRAGMA application_id = 1481331268; PRAGMA user_version = 3; BEGIN;";
  for (const SchemaRow& row : kSchema) sql += std::string(row.sql) + ";";
  ASSERT_EQ(sqlite3_exec(made, (sql + "COMMIT").c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_int64 bytes = 0;
  unsigned char* image = sqlite3_serialize(made, "main", &bytes, 0);
  ASSERT_EQ(bytes, int64_t{kRootPages} * kPageBytes);
  image[18] = image[19] = 2;  // a log, which memory does not have
  EmptyVolume empty;
  ASSERT_EQ(MakeEmptyVolume(empty), Status::kOk);
  for (size_t i = 0; i < kPageBytes; ++i) EXPECT_EQ(image[i], empty[0][i]) << i;
  sqlite3_free(image);
  sqlite3_close(made);
}

}  // namespace
}  // namespace objectstore
