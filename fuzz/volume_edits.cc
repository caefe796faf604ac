// Rows are changed through SQLite itself, on a copy of the file in memory.
#include "volume_edits.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <memory>
#include <span>
#include <string>

#include "body_codec.h"
#include "requirement.h"

namespace fuzz {
namespace {

using objectstore::BodyKind;
using Bytes = std::vector<uint8_t>;

constexpr size_t kPageBytes = 4096;
constexpr size_t kChecksumBytes = 8;
constexpr size_t kMostPages = 32;
constexpr int kMostSteps = 24;
constexpr std::array<const char*, 4> kTables = {"volume", "database", "record", "packed"};

// What a sound file never holds.
constexpr std::array<const char*, 12> kStatements = {
    "CREATE INDEX more ON record(body)",
    "CREATE TABLE more(id INTEGER PRIMARY KEY)",
    "CREATE TRIGGER more AFTER INSERT ON record BEGIN DELETE FROM database; END",
    "CREATE VIEW more AS SELECT * FROM record",
    "DROP TABLE packed",
    "DROP TABLE packed; CREATE TABLE packed(key INTEGER PRIMARY KEY, body BLOB NOT NULL, more)",
    "DROP TABLE record; CREATE TABLE record(key TEXT PRIMARY KEY, body BLOB NOT NULL)",
    "DELETE FROM volume",
    "INSERT INTO volume(id, body) SELECT 2, body FROM volume",
    "PRAGMA user_version = 3",
    "PRAGMA writable_schema = 1; UPDATE sqlite_schema SET rootpage = 3 WHERE name = 'record'",
    "PRAGMA writable_schema = 1; UPDATE sqlite_schema SET sql = sql || ' ' WHERE name = 'record'"};

struct Row {
  size_t table = 0;
  int64_t key = 0;
  Bytes body;
  bool sealed = true;
  enum class As { kBlob, kText, kNumber, kLong } as = As::kBlob;
};

struct Volume {
  VolumeBytes bytes;
  std::vector<Row> rows;
};

struct CloseConnection {
  void operator()(sqlite3* connection) const { sqlite3_close(connection); }
};
struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

Bytes ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) return {};
  Bytes bytes(static_cast<size_t>(file.tellg()));
  file.seekg(0).read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

// In memory there is no write-ahead log: the header says so while SQLite has the file.
void SetWriteAheadLog(Bytes& file, bool on) { file[18] = file[19] = on ? 2 : 1; }

Connection OpenInMemory(const Bytes& file) {
  sqlite3* opened = nullptr;
  FUZZ_REQUIRE(sqlite3_open(":memory:", &opened) == SQLITE_OK, "SQLite has memory");
  Connection connection(opened);
  const auto size = static_cast<sqlite3_int64>(file.size());
  auto* copy = static_cast<unsigned char*>(sqlite3_malloc64(file.size()));
  std::copy(file.begin(), file.end(), copy);
  copy[18] = copy[19] = 1;
  constexpr unsigned kFlags = SQLITE_DESERIALIZE_FREEONCLOSE | SQLITE_DESERIALIZE_RESIZEABLE;
  FUZZ_REQUIRE(sqlite3_deserialize(opened, "main", copy, size, size, kFlags) == SQLITE_OK, "a sound file is taken");
  return connection;
}

Statement Prepare(sqlite3* connection, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  (void)sqlite3_prepare_v2(connection, sql.c_str(), -1, &statement, nullptr);  // null: the table is gone
  return Statement(statement);
}

std::vector<Row> RowsOf(const Bytes& file) {
  std::vector<Row> rows;
  const Connection connection = OpenInMemory(file);
  for (size_t table = 0; table < kTables.size(); ++table) {
    const Statement all = Prepare(connection.get(), std::string("SELECT * FROM ") + kTables[table]);
    while (sqlite3_step(all.get()) == SQLITE_ROW) {
      const auto* body = static_cast<const uint8_t*>(sqlite3_column_blob(all.get(), 1));
      const auto size = static_cast<size_t>(sqlite3_column_bytes(all.get(), 1));
      rows.push_back({table, sqlite3_column_int64(all.get(), 0), Bytes(body, body + size)});
    }
  }
  return rows;
}

Volume Load(const std::string& name) {
  const std::string path = std::string(FUZZ_VOLUMES_FOLDER "/") + name;
  Volume volume{{ReadFile(path), ReadFile(path + "-wal")}, {}};
  FUZZ_REQUIRE(!volume.bytes.main.empty(), "the volumes to be damaged are there");
  volume.rows = RowsOf(volume.bytes.main);
  return volume;
}

const std::vector<Volume>& Volumes() {
  static const std::vector<Volume> kVolumes = [] {
    std::vector<Volume> volumes;
    for (const char* name : {"engine.vol", "types.vol", "packed.vol", "flushed.vol"}) volumes.push_back(Load(name));
    return volumes;
  }();
  return kVolumes;
}

Bytes Sealed(const Row& row) {
  if (!row.sealed || row.body.size() <= kChecksumBytes) return row.body;
  objectstore::BodyWriter writer;
  writer.Start(static_cast<BodyKind>(row.body[kChecksumBytes]));
  writer.PutBytes(row.body.data() + kChecksumBytes + 1, row.body.size() - kChecksumBytes - 1);
  const auto sealed = writer.Seal(row.key);
  return Bytes(sealed.begin(), sealed.end());
}

// The operations on rows, and those on the bytes of the file and of the side file.
enum Operation : uint8_t {
  kSetByte,
  kSetNumber,
  kInsert,
  kErase,
  kDelete,
  kCopy,
  kMove,
  kUnseal,
  kType,
  kStatement,
  kFileByte,
  kFileNumber,
  kCopyPage,
  kResize,
  kSideByte,
  kSideResize,
  kOperationCount
};

class Damage {
 public:
  Damage(const Volume& volume, InputBytes& input) : bytes_(volume.bytes), rows_(volume.rows), input_(input) {}

  VolumeBytes Run(bool& damaged) {
    for (int step = 0; step < kMostSteps && !input_.rest().empty(); ++step) {
      const auto operation = static_cast<Operation>(input_.Byte() % kOperationCount);
      if (operation <= kStatement) {
        ChangeRow(operation);
      } else {
        later_.push_back({operation, input_.Number(), input_.Number()});
      }
      damaged = true;
    }
    if (changed_) WriteRows();
    for (const Later& later : later_) ChangeBytes(later);
    return std::move(bytes_);
  }

 private:
  struct Later {
    Operation operation;
    uint32_t place;
    uint32_t value;
  };

  // An offset behind the checksum and the kind, or one of them.
  size_t Offset(const Row& row) {
    const size_t place = input_.Byte();
    return row.body.empty() ? 0 : place % row.body.size();
  }

  void ChangeRow(Operation operation) {
    changed_ = true;
    if (operation == kStatement) {
      statements_.push_back(kStatements[input_.Byte() % kStatements.size()]);
      return;
    }
    Row& row = rows_[input_.Byte() % rows_.size()];
    switch (operation) {
      case kSetByte:
        if (const size_t at = Offset(row); at < row.body.size()) row.body[at] = input_.Byte();
        return;
      case kSetNumber:
        SetNumber(row);
        return;
      case kInsert: {
        const size_t at = Offset(row);
        const size_t count = input_.Byte() % 16;
        const uint8_t value = input_.Byte();
        row.body.insert(row.body.begin() + static_cast<ptrdiff_t>(at), count, value);
        return;
      }
      case kErase: {
        const size_t at = Offset(row);
        const size_t count = std::min<size_t>(input_.Byte() % 32, row.body.size() - at);
        const auto first = row.body.begin() + static_cast<ptrdiff_t>(at);
        row.body.erase(first, first + static_cast<ptrdiff_t>(count));
        return;
      }
      default:
        return ChangeWholeRow(operation, row);
    }
  }

  void SetNumber(Row& row) {
    const size_t at = Offset(row);
    const uint32_t number = input_.Number();
    for (size_t i = 0; i < sizeof number && at + i < row.body.size(); ++i) {
      row.body[at + i] = static_cast<uint8_t>(number >> 8 * i);
    }
  }

  void ChangeWholeRow(Operation operation, Row& row) {
    switch (operation) {
      case kDelete:
        gone_.push_back({row.table, row.key});
        return;
      case kCopy: {
        Row copy = row;
        copy.key += static_cast<int8_t>(input_.Byte());
        copy.key += int64_t{static_cast<int8_t>(input_.Byte())} * (int64_t{1} << 32);
        rows_.push_back(std::move(copy));
        return;
      }
      case kMove:
        row.table = input_.Byte() % kTables.size();
        if (row.body.size() > kChecksumBytes) row.body[kChecksumBytes] = static_cast<uint8_t>("VDRP"[row.table]);
        return;
      case kUnseal:
        row.sealed = false;
        return;
      default:
        row.as = static_cast<Row::As>(input_.Byte() % 4);
        return;
    }
  }

  static void WriteRow(const Statement& put, const Row& row) {
    if (put == nullptr) return;
    const Bytes body = Sealed(row);
    const auto size = static_cast<int>(body.size());
    sqlite3_bind_int64(put.get(), 1, row.key);
    switch (row.as) {
      case Row::As::kBlob:
        sqlite3_bind_blob(put.get(), 2, body.data(), size, SQLITE_TRANSIENT);
        break;
      case Row::As::kText:
        sqlite3_bind_text(put.get(), 2, reinterpret_cast<const char*>(body.data()), size, SQLITE_TRANSIENT);
        break;
      case Row::As::kNumber:
        sqlite3_bind_int64(put.get(), 2, row.key);
        break;
      case Row::As::kLong:
        sqlite3_bind_zeroblob(put.get(), 2, 1 << 16);
        break;
    }
    (void)sqlite3_step(put.get());
    (void)sqlite3_reset(put.get());
  }

  void WriteRows() {
    const Connection connection = OpenInMemory(bytes_.main);
    (void)sqlite3_exec(connection.get(), "BEGIN", nullptr, nullptr, nullptr);
    std::array<Statement, kTables.size()> puts;
    for (size_t i = 0; i < kTables.size(); ++i) {
      const std::string table = kTables[i];
      (void)sqlite3_exec(connection.get(), ("DELETE FROM " + table).c_str(), nullptr, nullptr, nullptr);
      puts[i] = Prepare(connection.get(), "INSERT OR REPLACE INTO " + table + " VALUES(?, ?)");
    }
    for (const Row& row : rows_) {
      const bool gone = std::any_of(gone_.begin(), gone_.end(), [&](const auto& place) {
        return place.first == row.table && place.second == row.key;
      });
      if (!gone) WriteRow(puts[row.table], row);
    }
    for (Statement& put : puts) put.reset();
    (void)sqlite3_exec(connection.get(), "COMMIT", nullptr, nullptr, nullptr);
    for (const char* statement : statements_) {
      (void)sqlite3_exec(connection.get(), statement, nullptr, nullptr, nullptr);
    }
    sqlite3_int64 size = 0;
    const unsigned char* file = sqlite3_serialize(connection.get(), "main", &size, SQLITE_SERIALIZE_NOCOPY);
    if (file == nullptr) return;
    bytes_.main.assign(file, file + size);
    SetWriteAheadLog(bytes_.main, true);
  }

  static void SetByte(Bytes& file, uint32_t place, uint32_t value) {
    if (!file.empty()) file[place % file.size()] = static_cast<uint8_t>(value);
  }

  void CopyPage(uint32_t from, uint32_t to) {
    Bytes& file = bytes_.main;
    const size_t pages = file.size() / kPageBytes;
    if (pages == 0) return;
    const auto at = [&](uint32_t page) { return file.begin() + static_cast<ptrdiff_t>(page % pages * kPageBytes); };
    const Bytes page(at(from), at(from) + kPageBytes);
    std::copy(page.begin(), page.end(), at(to));
  }

  void ChangeBytes(const Later& later) {
    Bytes& file = bytes_.main;
    switch (later.operation) {
      case kFileByte:
        return SetByte(file, later.place, later.value);
      case kFileNumber:  // as SQLite writes its numbers
        for (uint32_t i = 0; i < 4; ++i) SetByte(file, later.place + i, later.value >> (24 - 8 * i));
        return;
      case kCopyPage:
        return CopyPage(later.place, later.value);
      case kResize:
        return file.resize(later.value % 2 == 0 ? later.place % (kMostPages * kPageBytes)
                                                : later.place % kMostPages * kPageBytes);
      case kSideByte:
        return SetByte(bytes_.side, later.place, later.value);
      default:
        return bytes_.side.resize(later.place % (kMostPages * kPageBytes));
    }
  }

  VolumeBytes bytes_;
  std::vector<Row> rows_;
  InputBytes& input_;
  bool changed_ = false;
  std::vector<const char*> statements_;
  std::vector<std::pair<size_t, int64_t>> gone_;
  std::vector<Later> later_;
};

}  // namespace

VolumeBytes DamagedVolume(InputBytes& input, bool& damaged) {
  const Volume& volume = Volumes()[input.Byte() % Volumes().size()];
  damaged = false;
  return Damage(volume, input).Run(damaged);
}

}  // namespace fuzz
