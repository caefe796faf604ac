// The pages of a volume's file as its last flush left them, read without SQLite and without writing a byte: from the file
// itself, and from its log what was committed there. Made for files that SQLite does not open.
//
// The log's pages count up to the first frame that does not hold, as they do for SQLite.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <unordered_map>

#include "file_system.h"
#include "log_format.h"
#include "volume_schema.h"

namespace objectstore {

using Page = std::array<uint8_t, kPageBytes>;

class VolumePages {
 public:
  // Sharing violation while another process has the file mounted; as long as this object lives nobody can mount it.
  Status Open(const FilePath& path);

  // The last page's number; pages count from 1.
  uint32_t last_page() const { return last_page_; }

  // False when the page is not there, or only a part of it is, or the device does not give it. What is there of it is
  // in page, the rest is zero.
  bool Read(uint32_t number, Page& page) const;

  // The file's own first page, whatever the log says.
  bool ReadFirstOfFile(Page& page) const;

  // The file's length is no whole number of pages.
  bool is_cut() const { return file_bytes_ % kPageBytes != 0; }

  // Flushes that are in the log behind its first damaged frame and were followed by others: they had reached the disk.
  uint32_t lost_flushes() const { return lost_flushes_; }

 private:
  void ReadLog();
  bool ReadFrame(uint64_t index, std::array<uint8_t, kFrameBytes>& frame) const;
  void CountLostFlushes(uint64_t first);

  SystemFile file_;
  SystemFile log_;
  uint64_t file_bytes_ = 0;
  uint64_t log_bytes_ = 0;
  std::array<uint8_t, kSaltBytes> salts_{};
  std::unordered_map<uint32_t, uint64_t> frames_;  // page number: index of the frame that holds it
  uint32_t last_page_ = 0;
  uint32_t lost_flushes_ = 0;
};

}  // namespace objectstore
