// The first flush of a new volume, written once. Through the log all of it would be written twice.
//
// The empty volume has five pages: its first, and the roots of its four tables. Everything else goes into the file behind
// these, where nobody looks, and is synced. Then a log of the five pages as they shall be makes it count: whole, or not
// at all. So the file stays the one that it is, and a power cut leaves it empty or full.
//
// (E1) Nothing refers to the pages behind the fifth before these are on stable storage.
// (E2) A page that is not in the log is not written again: a power cut may leave anything of it.
// (E3) An object that goes before End succeeded gives back what it wrote.
// (E4) The log's header, with salts that no other log has, is on stable storage before the log is longer than it: in a file
//      that was growing when the power went, a file system may show what its blocks held before, such as an older log, of
//      this volume or of another, whose frames are sound. Those bear other salts than the header.
#pragma once

#include <memory>
#include <string>

#include "held_file.h"
#include "log_format.h"
#include "table_builder.h"

namespace objectstore {

inline constexpr uint32_t kRootPages = std::size(kSchema) + 1;

class FirstFlush {
 public:
  // The file of an empty volume, locked, which is lent; its name, and that of the log that it does not have.
  FirstFlush(const HeldFile& file, std::string name, std::string log);
  FirstFlush(const FirstFlush&) = delete;
  FirstFlush& operator=(const FirstFlush&) = delete;
  ~FirstFlush();

  // Each table's rows in the order of their keys.
  Status Put(Table table, int64_t key, std::span<const uint8_t> body);

  // What was put counts, and is on stable storage but for the log's name in its directory.
  Status End();

  // After End: what the log holds is still what was written there. File not found when it is not: another process had the
  // volume.
  Status CheckLog() const;

  // After End: the pages that the log holds go into the file, and the log goes. A power cut leaves the log or what it held.
  Status TakeUpLog();

  // After End: the file's first pages with the log.
  const std::array<Page, kRootPages>& roots() const { return roots_; }
  uint64_t file_bytes() const { return uint64_t{pages_.next_page() - 1} * kPageBytes; }

 private:
  Status WriteLog();
  void GiveBack() const;

  const HeldFile& file_;
  std::string name_;
  std::string log_name_;
  std::array<uint8_t, kLogHeaderBytes> log_header_{};
  uint64_t log_bytes_ = 0;
  AppendedPages pages_;
  std::array<TableBuilder, std::size(kSchema)> tables_;
  std::array<Page, kRootPages> roots_;
  std::array<bool, kRootPages> changed_{};  // of the roots: these are in the log
  bool made_log_ = false;
  bool ended_ = false;
};

// The bytes of an empty volume.
using EmptyVolume = std::array<Page, kRootPages>;
Status MakeEmptyVolume(EmptyVolume& pages);

}  // namespace objectstore
