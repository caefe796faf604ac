// A volume's file as SQLite's file system opens it, with SQLite's lock on it: before and beside the connection that works
// with it, and longer than that.
//
// (H1) The lock lasts as long as the file is open here, whatever becomes of connections to it, also of one that fails: the
//      system gives up a process's locks on a file when it closes any descriptor of it, and therefore SQLite keeps those
//      of its own open for as long as one of them has a lock.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "status.h"

namespace objectstore {

class HeldFile {
 public:
  HeldFile() = default;
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;
  ~HeldFile();

  // For reading and writing, or for reading where nothing else is permitted. A symbolic link is corrupt.
  Status Open(const std::string& path);
  bool is_read_only() const { return (flags_ & SQLITE_OPEN_READONLY) != 0; }

  // The lock of a connection that keeps the file for itself. Sharing violation when somebody else is in the way.
  Status Lock();
  bool is_locked() const { return locked_; }

  // With the lock: a connection that is made from now on needs neither a free descriptor for the file nor the permission
  // to open it.
  Status KeepDescriptor();

  // The connection's file has the lock from now on. This object must live longer.
  void LendLock(sqlite3* connection);

  // With the lock. All of the bytes, or the reason why not.
  Status Write(std::span<const uint8_t> bytes, uint64_t offset) const;
  Status Sync() const;
  Status Truncate(uint64_t bytes) const;

  sqlite3_file* file() const { return file_.get(); }

  // Leaves everything as it is, in a process that has it from another by fork.
  void Abandon();

 private:
  struct CloseFile {
    void operator()(sqlite3_file* file) const;
  };
  struct FreeName {
    void operator()(const char* name) const { sqlite3_free_filename(const_cast<char*>(name)); }
  };
  using File = std::unique_ptr<sqlite3_file, CloseFile>;
  Status OpenOne(File& file, int& flags) const;

  std::unique_ptr<const char, FreeName> name_;
  File file_;
  int flags_ = 0;
  bool locked_ = false;
  sqlite3_io_methods lent_methods_ = {};
};

}  // namespace objectstore
