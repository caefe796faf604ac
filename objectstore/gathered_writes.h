// Writes to one of SQLite's files, gathered while each begins where the one before it ended, and handed to the file as
// one. SQLite writes a log's pages one by one, each in two pieces.
//
// (G1) Nothing is asked of the file, read from it, cut or synced before it has what was gathered: a sync that succeeds
//      is a sync of everything.
// (G2) After a write that failed no write, cut or sync succeeds; what is in the file can still be read.
// (G3) A file in which nothing has changed since a sync that succeeded is not synced again: SQLite begins a checkpoint
//      with a sync of the log, though every commit has ended with one.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>

namespace objectstore {

class GatheredWrites {
 public:
  GatheredWrites();
  GatheredWrites(const GatheredWrites&) = delete;
  GatheredWrites& operator=(const GatheredWrites&) = delete;

  // From now on, until SQLite closes the file. This object must live longer, and take no other before.
  void Begin(sqlite3_file* file);

 private:
  struct Methods {
    sqlite3_io_methods io = {};
    GatheredWrites* owner = nullptr;
  };
  static GatheredWrites& Of(sqlite3_file* file);
  static int Close(sqlite3_file* file);
  static int Read(sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset);
  static int Write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset);
  static int Truncate(sqlite3_file* file, sqlite3_int64 size);
  static int Sync(sqlite3_file* file, int flags);
  static int FileSize(sqlite3_file* file, sqlite3_int64* size);
  int HandOver(sqlite3_file* file);
  int WriteNow(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset);

  Methods methods_;
  const sqlite3_io_methods* real_ = nullptr;
  std::unique_ptr<uint8_t[]> bytes_;
  int count_ = 0;
  sqlite3_int64 start_ = 0;
  int failure_ = SQLITE_OK;
  bool is_synced_ = false;
};

}  // namespace objectstore
