// A disk on which the power goes after some operation of a journal, and the directories that may be found on it
// afterwards.
//
// What a sync covered is there. What came after the last sync of its file may be there or not, in any order, a write torn
// between sectors of 512 bytes, or sectors of it filled with anything; a file's size may have changed before its bytes
// did. Names that were given or taken away since the last sync of the directory may be so or still as they were, in any
// order. Nothing is assumed about one file from another.
#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "disk_journal.h"

namespace powercut {

using Bytes = std::vector<uint8_t>;

// What a file holds. Zeros at its end, of which logs have many, need not be among the bytes.
struct Content {
  Bytes bytes;
  size_t size = 0;

  void Resize(size_t new_size);
  // Room for changes up to there.
  void Extend(size_t end);
  void DropZerosAtEnd();
};

// Names and contents of a directory's files.
using Image = std::map<std::string, Content>;

// What becomes of the operations that no sync has covered.
enum class Fate {
  kLost,
  kKept,
  kBegun,      // the first of them, the last of those in part
  kScattered,  // any of their sectors
  kGarbled,    // any of their sectors, some filled with random bytes
};
constexpr Fate kFates[] = {Fate::kLost, Fate::kKept, Fate::kBegun, Fate::kScattered, Fate::kGarbled};

class CutDisk {
 public:
  // What is there before the journal begins: its first files, in the order of their names.
  explicit CutDisk(const Image& start);

  // The next operation happens.
  void Apply(const Operation& operation);

  // A directory that may be found if the power goes now. The fates are drawn.
  Image Draw(std::mt19937_64& random) const;

  // The one with the given fates of all files and of the directory.
  Image With(Fate files, Fate directory, std::mt19937_64& random) const;

  // Something is not covered by a sync.
  bool HasPending() const;

 private:
  struct File {
    Content durable;
    std::vector<const Operation*> pending;  // writes and truncations
  };
  using Names = std::map<std::string, int>;

  static Content ContentOf(const File& file, Fate fate, std::mt19937_64& random);
  Names NamesWith(Fate fate, std::mt19937_64& random) const;

  std::map<int, File> files_;
  Names durable_names_;
  std::vector<const Operation*> pending_names_;
};

}  // namespace powercut
