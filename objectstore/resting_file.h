// A volume's file at rest, read page by page without SQLite: its pages are all that counts. Beside it stands no log, or
// that of the first flush of a new volume, which holds some of the first pages (see first_flush.h).
//
// (R1) Nobody else has the file: SQLite's lock on it is held, through SQLite's own file, until that is closed.
// (R2) The first page is what SQLite makes of a volume's. Any other page is believed as far as it has been checked.
// (R3) Nothing is written.
#pragma once

#include <sqlite3.h>

#include <array>
#include <functional>
#include <iterator>
#include <span>

#include "status.h"
#include "volume_pages.h"
#include "volume_schema.h"

namespace objectstore {

class RestingFile {
 public:
  using RowSink = std::function<Status(int64_t key, std::span<const uint8_t> body)>;

  explicit RestingFile(sqlite3_file* file) : file_(file) {}

  // Before anything else: reads what is read in any case, the first pages, on which the tables begin. Corrupt when the
  // file does not hold them.
  Status Begin();
  const Page& first_page() const { return first_pages_[0]; }
  std::span<const Page> first_pages() const { return first_pages_; }

  // The first pages as they are from now on.
  void Renew(std::span<const Page> first_pages);

  // Calls the sink for each row of a table whose key lies in the range, in the order in which the pages have them, and
  // stops at its first failure. The sink has to refuse a key that does not ascend or is below the range: this is also
  // what brings pages to an end that lead to each other, since no page is passed without a row.
  Status ForEachRow(uint32_t root_page, int64_t first, int64_t last, const RowSink& sink) const;

 private:
  struct Search {
    int64_t first;
    int64_t last;
    const RowSink& sink;
    bool found_first = false;  // from here on rows follow each other
    bool done = false;         // what follows lies behind the last key
  };
  Status Read(uint32_t number, Page& page) const;
  Status Visit(uint32_t number, int depth, Search& search) const;
  Status VisitPage(const Page& page, int depth, Search& search) const;
  Status VisitChildren(const Page& page, uint32_t cells, int depth, Search& search) const;
  Status VisitRows(const Page& page, uint32_t cells, Search& search) const;
  Status Deliver(const Page& page, uint32_t place, Search& search) const;

  sqlite3_file* file_;
  std::array<Page, 1 + std::size(kSchema)> first_pages_;
};

}  // namespace objectstore
