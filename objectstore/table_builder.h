// A table of SQLite's put together page by page, for rows that come in the order of their keys: each page is made once,
// full, and never looked at again.
//
// (B1) The root stands on a page of its own, which the builder leaves to its owner; all other pages are appended.
// (B2) A page that was appended refers to pages that were appended before it, or, for a long body, right behind it.
#pragma once

#include <array>
#include <functional>
#include <span>
#include <vector>

#include "page_format.h"
#include "status.h"
#include "volume_pages.h"

namespace objectstore {

// Pages in the order of their numbers, handed to a file in large pieces. The page that SQLite keeps for its locks is left
// out: it stays zero.
class AppendedPages {
 public:
  using Write = std::function<Status(std::span<const uint8_t> bytes, uint64_t offset)>;

  AppendedPages(Write write, uint32_t first_page) : write_(std::move(write)), next_page_(first_page) {}

  // The number that the page gets which is appended next, and that of the page after it.
  uint32_t next_page() const { return next_page_; }
  uint32_t page_after_next() const { return Following(next_page_); }

  // Disk full when a file may have no such page.
  Status Append(const Page& page);

  // What has not yet been handed over.
  Status End();

 private:
  static uint32_t Following(uint32_t page) { return page + 1 == kLockPage ? kLockPage + 1 : page + 1; }

  Write write_;
  uint32_t next_page_;
  std::vector<uint8_t> waiting_;
};

class TableBuilder {
 public:
  explicit TableBuilder(AppendedPages& pages) : pages_(pages) { StartLeaf(); }
  TableBuilder(const TableBuilder&) = delete;
  TableBuilder& operator=(const TableBuilder&) = delete;

  // Invalid parameter when the key does not lie behind the one before.
  Status Add(int64_t key, std::span<const uint8_t> body);

  // No row comes any more.
  Status End(Page& root);

 private:
  struct Child {
    uint32_t page;
    int64_t last_key;
  };
  void StartLeaf();
  void FinishLeaf();
  Status EndLeaf();
  Status AppendFurther(std::span<const uint8_t> bytes);
  static void FillInterior(std::span<const Child> children, Page& page);

  AppendedPages& pages_;
  Page leaf_;
  uint32_t rows_on_leaf_ = 0;
  uint32_t content_ = kPageBytes;  // of the leaf begins here
  bool has_row_ = false;
  int64_t last_key_ = 0;
  std::vector<Child> leaves_;  // that were appended
};

// The first page of a volume's file that is so many pages long: SQLite's header and its table of tables.
void MakeFirstPage(uint32_t pages, uint32_t change_counter, Page& page);

}  // namespace objectstore
