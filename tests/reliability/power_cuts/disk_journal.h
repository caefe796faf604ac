// Everything that this process asks of the file system below one directory, in order. The program's own open, write, pwrite, truncate, sync, rename, link and unlink stand in front of the C library's,
// for SQLite as for the store, so that also what SQLite's own file layer does by itself (the sync of a directory after a
// new log) is seen as it reaches the operating system.
//
// (J1) Files have numbers, in the order of their creation; a name is given to a number and taken away again.
// (J2) Replayed without a cut, the journal gives the directory as it is, byte for byte.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace powercut {

enum class Kind { kCreate, kWrite, kTruncate, kSyncFile, kSyncDirectory, kRename, kLink, kUnlink };

struct Operation {
  Kind kind;
  int file = -1;                    // all but kSyncDirectory
  std::string name;                 // kCreate, kUnlink: which; kRename, kLink: the old one
  std::string new_name;             // kRename, kLink
  int64_t offset = 0;               // kWrite; of kTruncate the new size
  std::vector<uint8_t> bytes = {};  // kWrite
  bool only_zeros = false;          // kWrite
};

// An operation in words, for reports.
std::string DescriptionOf(const Operation& operation);

// Syncs that the disk forgets. The journal leaves them out: that is how a disk that lies looks.
enum class Forgotten { kNothing, kFileSyncs, kDirectorySyncs };

class DiskJournal {
 public:
  // Watches a directory, given by its real path, in which there are these files and no others; they have the first
  // numbers. One at a time.
  DiskJournal(std::string directory, const std::vector<std::string>& files, Forgotten forgotten);
  ~DiskJournal();
  DiskJournal(const DiskJournal&) = delete;
  DiskJournal& operator=(const DiskJournal&) = delete;

  // Watches no longer; what was seen stays.
  void Stop();

  const std::vector<Operation>& operations() const { return operations_; }
  const std::string& directory() const { return directory_; }

  // What the interposed calls report once they have succeeded.
  void Opened(int descriptor, const std::string& path, int flags);
  void Closed(int descriptor);
  void Wrote(int descriptor, const void* bytes, size_t count, int64_t offset);
  void Appended(int descriptor, const void* bytes, size_t count);
  void Truncated(int descriptor, int64_t size);
  void Synced(int descriptor);
  void Renamed(const std::string& from, const std::string& to);
  void Linked(const std::string& from, const std::string& to);
  void Unlinked(const std::string& path);

 private:
  static constexpr int kDirectory = -1;

  // The name of an entry of the directory; empty for any other path.
  std::string EntryOf(const std::string& path) const;
  int FileOf(int descriptor) const;

  std::string directory_;
  Forgotten forgotten_;
  std::vector<Operation> operations_;
  std::map<std::string, int> names_;
  std::map<int, int> descriptors_;  // number of the file, or kDirectory
  int files_ = 0;
};

}  // namespace powercut
