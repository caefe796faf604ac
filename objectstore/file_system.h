// The file system, as far as the store calls it itself and not through SQLite. One of two implementations is linked:
// posix/ or windows/.
//
// (S1) A symbolic link at a path's end is never followed.
// (S2) A call that a signal interrupts is made anew.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "file_identity.h"

namespace objectstore {

enum class FileAccess { kRead, kWrite, kReadAndWrite };

// Of the lock on a file's bytes that a process holds alone while it has the volume mounted; those who only read the file
// share it.
enum class LockKind { kShared, kAlone };

// An open file, or none.
class SystemFile {
 public:
  SystemFile() = default;
  SystemFile(const SystemFile&) = delete;
  SystemFile& operator=(const SystemFile&) = delete;
  ~SystemFile();
  void Swap(SystemFile& other) { std::swap(handle_, other.handle_); }

  // What is there, which may be anything but a symbolic link (corrupt). Does not wait for the other end of a pipe.
  Status Open(const std::string& path, FileAccess access);

  // A new file, for writing, that is its user's alone. Already exists when something is there.
  Status Create(const std::string& path);

  Status LookAt(FileFacts& facts) const;

  // Fills bytes from a place in the file; count says how many it has there.
  Status Read(uint64_t start, std::span<uint8_t> bytes, size_t& count) const;

  // All of the bytes, or the reason why not.
  Status Write(std::span<const uint8_t> bytes, uint64_t start) const;
  Status Truncate(uint64_t bytes) const;

  // To stable storage: all that there is to know of the file, or what it takes to read its bytes.
  Status Sync() const;
  Status SyncBytes() const;

  // Sharing violation when somebody else is in the way. The lock goes with the file; on some systems, with any other open
  // file of the process that is the same one.
  Status LockAsMount(LockKind kind) const;

  // Who may use the file at the path may use this one.
  Status GiveAccessOf(const std::string& path) const;

  // Whether it may be made this long without anybody missing the room on its disk.
  bool HasAmpleRoom(uint64_t bytes) const;

 private:
  static constexpr intptr_t kNone = -1;
  intptr_t handle_ = kNone;
};

// A turn among those who create volumes in one folder.
class CreatorsTurn {
 public:
  CreatorsTurn() = default;
  CreatorsTurn(const CreatorsTurn&) = delete;
  CreatorsTurn& operator=(const CreatorsTurn&) = delete;
  ~CreatorsTurn();

  // Does not wait. That there is no turn to be had is no failure.
  Status Begin(const std::string& directory);
  bool is_ours() const { return is_ours_; }

 private:
  intptr_t handle_ = -1;
  bool is_ours_ = false;
};

// Makes sure that a file can be made in a folder later on, as far as that depends on the process.
class RoomForFile {
 public:
  RoomForFile() = default;
  RoomForFile(const RoomForFile&) = delete;
  RoomForFile& operator=(const RoomForFile&) = delete;
  ~RoomForFile() { GiveUp(); }
  Status Keep(const std::string& directory);
  void GiveUp();

 private:
  intptr_t handle_ = -1;
};

// Nothing there is no failure.
Status Remove(const std::string& path);

// Already exists when something has the new name.
Status Rename(const std::string& path, const std::string& new_path);

// In the place of a file that is open and locked. On some systems that has to be closed for it.
Status RenameInPlaceOf(SystemFile& replaced, const std::string& path, const std::string& new_path);

// Makes the directory's entries durable, where the system knows how to.
Status SyncDirectory(const std::string& directory);

// Bytes that nobody can foresee.
Status FillWithChance(std::span<uint8_t> bytes);

uint64_t ProcessNumber();

// The reason that the system gave for its last failure in this thread, whatever called it. Zero is none.
int SystemError();
void ForgetSystemError();
Status StatusOfSystemError(int number);

}  // namespace objectstore
