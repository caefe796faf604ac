// SQLite, used by somebody who knows it: one table, a column per field; the number and the date a second time as
// integers, in front of the long texts; prepared statements; write-ahead log with a full sync per commit; the file's
// lock taken once; room in memory for everything. No index on fields: users sort and search by any of them.
#include <fmt/format.h>
#include <sqlite3.h>

#include <array>
#include <stdexcept>
#include <vector>

#include "measured_store.h"
#include "root_collation.h"

namespace bench {
namespace {

// One statement, prepared when it is first used: whoever opens a file and reads does not pay for all the others.
class Statement {
 public:
  Statement(sqlite3* database, const char* sql) : database_(database), sql_(sql) {}
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Statement& Bind(int index, const std::string& text) {
    sqlite3_bind_text(Prepared(), index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
    return *this;
  }
  Statement& Bind(int index, int64_t number) {
    sqlite3_bind_int64(Prepared(), index, number);
    return *this;
  }
  // True while there are rows; after the last one the statement may be used again.
  bool Step() {
    const int result = sqlite3_step(Prepared());
    if (result == SQLITE_ROW) return true;
    sqlite3_reset(statement_);
    if (result != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(database_));
    return false;
  }
  void Reset() { sqlite3_reset(statement_); }
  void Run() {
    while (Step()) continue;
  }
  std::string_view TextAt(int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    return {text, static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
  }
  int64_t NumberAt(int column) { return sqlite3_column_int64(statement_, column); }

 private:
  sqlite3_stmt* Prepared() {
    if (statement_ == nullptr &&
        sqlite3_prepare_v3(database_, sql_, -1, SQLITE_PREPARE_PERSISTENT, &statement_, nullptr) != SQLITE_OK) {
      throw std::runtime_error(fmt::format("{}: {}", sql_, sqlite3_errmsg(database_)));
    }
    return statement_;
  }

  sqlite3* database_;
  const char* sql_;
  sqlite3_stmt* statement_ = nullptr;
};

constexpr const char* kTables =
    "CREATE TABLE record(id INTEGER PRIMARY KEY, number_value INTEGER, date_value INTEGER,"
    " name TEXT, city TEXT, number TEXT, date TEXT, time TEXT, category TEXT, notes TEXT, code TEXT);"
    "CREATE TABLE deleted(id INTEGER PRIMARY KEY, number_value INTEGER, date_value INTEGER,"
    " name TEXT, city TEXT, number TEXT, date TEXT, time TEXT, category TEXT, notes TEXT, code TEXT);"
    "CREATE TABLE sorted(position INTEGER PRIMARY KEY, id INTEGER);";
constexpr const char* kWordTables =
    "CREATE VIRTUAL TABLE words USING fts5(notes, content='record', content_rowid='id');"
    "CREATE TRIGGER words_add AFTER INSERT ON record BEGIN"
    " INSERT INTO words(rowid, notes) VALUES(new.id, new.notes); END;";

#define TEXT_COLUMNS "name, city, number, date, time, category, notes, code"

struct Statements {
  explicit Statements(sqlite3* d)
      : begin(d, "BEGIN"),
        commit(d, "COMMIT"),
        insert(d, "INSERT INTO record(number_value, date_value, " TEXT_COLUMNS ") VALUES(?,?,?,?,?,?,?,?,?,?)"),
        read_all(d, "SELECT " TEXT_COLUMNS " FROM record ORDER BY id LIMIT ?"),
        read_one(d, "SELECT " TEXT_COLUMNS " FROM record WHERE id = ?"),
        by_name(d, "SELECT id FROM record ORDER BY name COLLATE root, id"),
        by_bytes(d, "SELECT id FROM record ORDER BY name, id"),
        by_number(d, "SELECT id FROM record ORDER BY number_value, id"),
        by_date(d, "SELECT id FROM record ORDER BY date_value, id"),
        find_number(d, "SELECT id FROM record WHERE number_value = ? ORDER BY id"),
        find_text(d, "SELECT id FROM record WHERE notes LIKE ? ORDER BY id"),
        find_indexed(d, "SELECT rowid FROM words WHERE words MATCH ? ORDER BY rowid"),
        edit(d, "UPDATE record SET city = ? WHERE id = ?"),
        place(d, "INSERT OR REPLACE INTO sorted(position, id) VALUES(?, ?)"),
        log(d, "INSERT INTO deleted SELECT * FROM record WHERE id = ?"),
        remove(d, "DELETE FROM record WHERE id = ?"),
        remove_all(d, "DELETE FROM record"),
        count_log(d, "SELECT count(*) FROM deleted") {}
  Statement begin, commit, insert, read_all, read_one, by_name, by_bytes, by_number, by_date, find_number, find_text,
      find_indexed, edit, place, log, remove, remove_all, count_log;
};

class SqliteStore : public Store {
 public:
  ~SqliteStore() override { sqlite3_close(database_); }

  std::string Name() const override { return "sqlite"; }
  std::string Version() const override { return sqlite3_libversion(); }
  void StartLibrary() override { sqlite3_initialize(); }

  void Load(const std::string& path, std::span<const Record> records) override { LoadTables(path, records, false); }
  void LoadWithWordIndex(const std::string& path, std::span<const Record> records) override {
    LoadTables(path, records, true);
    path_with_word_index_ = path;
  }
  void Open(const std::string& path) override;
  void Close() override;

  void ReadFirst(size_t count, Copies& copies) override { ReadUpTo(static_cast<int64_t>(count), copies); }
  void ReadAll(Copies& copies) override { ReadUpTo(-1, copies); }
  void ReadAt(std::span<const uint32_t> positions, Views& views) override;

  bool Sort(SortBy by) override;
  void ReadSorted(Views& views) override { ReadIds(sorted_, views); }
  void FindNumber(const Text& text, int32_t value) override;
  void FindWord(const Text& word) override;
  void ReadHits(Views& views) override { ReadIds(hits_, views); }
  void ForgetHits() override { hits_.clear(); }

  void Add(const Record& record) override { Insert(record); }
  void EditCity(const Place& place, const Text& city) override { EditId(place.id, city); }
  void EditFirstOfSorted(const Text& city) override;
  void Delete(const Place& place) override { statements_->remove.Bind(1, int64_t{place.id}).Run(); }
  void DeleteLogged(const Place& place) override;
  void DeleteAll() override { statements_->remove_all.Run(); }
  size_t LogCount() override;

 private:
  using Ids = std::vector<int64_t>;

  void Connect(const std::string& path);
  void LoadTables(const std::string& path, std::span<const Record> records, bool with_words);
  void Execute(const char* sql);
  void Insert(const Record& record);
  void ReadUpTo(int64_t count, Copies& copies);
  void ViewId(int64_t id, Views& views);
  void ReadIds(const Ids& ids, Views& views);
  void EditId(int64_t id, const Text& city) { statements_->edit.Bind(1, city.bytes).Bind(2, id).Run(); }
  static void Collect(Statement& statement, Ids& ids);

  sqlite3* database_ = nullptr;
  std::unique_ptr<Statements> statements_;
  std::string path_with_word_index_;
  bool word_index_ = false;
  RootCollation collation_;
  Ids sorted_;
  Ids hits_;
};

int CompareTexts(void* collation, int size_a, const void* a, int size_b, const void* b) {
  return static_cast<const RootCollation*>(collation)->Compare(
      {static_cast<const char*>(a), static_cast<size_t>(size_a)},
      {static_cast<const char*>(b), static_cast<size_t>(size_b)});
}

void SqliteStore::Execute(const char* sql) {
  if (sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
    throw std::runtime_error(fmt::format("{}: {}", sql, sqlite3_errmsg(database_)));
  }
}

void SqliteStore::Connect(const std::string& path) {
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  if (sqlite3_open_v2(path.c_str(), &database_, kFlags, nullptr) != SQLITE_OK) {
    throw std::runtime_error("opening: " + path);
  }
  Execute(
      "PRAGMA locking_mode=EXCLUSIVE; PRAGMA cache_size=-65536; PRAGMA mmap_size=268435456; PRAGMA temp_store=MEMORY");
  sqlite3_create_collation(database_, "root", SQLITE_UTF8, &collation_, CompareTexts);
}

// A new file is filled with a rollback journal, in which there is nothing of pages that did not exist: with a write-ahead
// log everything would be written twice. EXTRA syncs the folder too, without which the commit could be undone.
void SqliteStore::LoadTables(const std::string& path, std::span<const Record> records, bool with_words) {
  Connect(path);
  Execute("PRAGMA synchronous=EXTRA");
  Execute("BEGIN");
  Execute(kTables);
  if (with_words) Execute(kWordTables);
  statements_ = std::make_unique<Statements>(database_);
  for (const Record& record : records) Insert(record);
  Execute("COMMIT");
  statements_.reset();
  Execute("PRAGMA journal_mode=WAL");
  Close();
}

void SqliteStore::Open(const std::string& path) {
  Connect(path);
  Execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL");
  statements_ = std::make_unique<Statements>(database_);
  word_index_ = path == path_with_word_index_;
}

void SqliteStore::Close() {
  statements_.reset();
  if (sqlite3_close(database_) != SQLITE_OK) throw std::runtime_error("closing");
  database_ = nullptr;
}

void SqliteStore::Insert(const Record& record) {
  Statement& insert = statements_->insert;
  insert.Bind(1, int64_t{record.number}).Bind(2, int64_t{record.day});
  for (size_t i = 0; i < kFieldCount; ++i) insert.Bind(static_cast<int>(i) + 3, record.texts[i].bytes);
  insert.Run();
}

void SqliteStore::ReadUpTo(int64_t count, Copies& copies) {
  Statement& read = statements_->read_all.Bind(1, count);
  while (read.Step()) {
    for (size_t i = 0; i < kFieldCount; ++i) copies.Take(i, read.TextAt(static_cast<int>(i)));
  }
}

void SqliteStore::ViewId(int64_t id, Views& views) {
  Statement& read = statements_->read_one.Bind(1, id);
  if (!read.Step()) throw std::runtime_error(fmt::format("no record {}", id));
  for (size_t i = 0; i < kFieldCount; ++i) views.Take(read.TextAt(static_cast<int>(i)));
  read.Reset();
}

// Nothing has been deleted yet: a position and the identifier after it are one record.
void SqliteStore::ReadAt(std::span<const uint32_t> positions, Views& views) {
  statements_->begin.Run();
  for (const uint32_t position : positions) ViewId(int64_t{position} + 1, views);
  statements_->commit.Run();
}

void SqliteStore::ReadIds(const Ids& ids, Views& views) {
  for (const int64_t id : ids) ViewId(id, views);
}

void SqliteStore::Collect(Statement& statement, Ids& ids) {
  ids.clear();
  while (statement.Step()) ids.push_back(statement.NumberAt(0));
}

bool SqliteStore::Sort(SortBy by) {
  Statement* const statements[] = {&statements_->by_name, &statements_->by_bytes, &statements_->by_number,
                                   &statements_->by_date};
  Collect(*statements[static_cast<size_t>(by)], sorted_);
  return true;
}

void SqliteStore::FindNumber(const Text&, int32_t value) {
  Collect(statements_->find_number.Bind(1, int64_t{value}), hits_);
}

void SqliteStore::FindWord(const Text& word) {
  const std::string pattern = word_index_ ? word.bytes + "*" : "%" + word.bytes + "%";
  Collect((word_index_ ? statements_->find_indexed : statements_->find_text).Bind(1, pattern), hits_);
}

void SqliteStore::EditFirstOfSorted(const Text& city) {
  statements_->begin.Run();
  for (size_t i = 0; i < sorted_.size(); ++i) {
    statements_->place.Bind(1, static_cast<int64_t>(i)).Bind(2, sorted_[i]).Run();
  }
  EditId(sorted_.at(0), city);
  statements_->commit.Run();
}

void SqliteStore::DeleteLogged(const Place& place) {
  statements_->begin.Run();
  statements_->log.Bind(1, int64_t{place.id}).Run();
  statements_->remove.Bind(1, int64_t{place.id}).Run();
  statements_->commit.Run();
}

size_t SqliteStore::LogCount() {
  if (!statements_->count_log.Step()) throw std::runtime_error("no count");
  const auto count = static_cast<size_t>(statements_->count_log.NumberAt(0));
  statements_->count_log.Reset();
  return count;
}

}  // namespace

std::unique_ptr<Store> MakeStore() { return std::make_unique<SqliteStore>(); }

}  // namespace bench
