// See resting_file.h.
#include "resting_file.h"

#include <algorithm>
#include <vector>

#include "page_format.h"
#include "sqlite_statement.h"
#include "table_page.h"
#include "volume_header.h"

namespace objectstore {

namespace {

// A tree of more levels holds more rows than a volume may.
constexpr int kDeepestTree = 20;

// The first cell whose key is not below the given one, if the page is sound. Corrupt when one on the way is no cell.
template <typename KeyOf>
Status FindCell(uint32_t cells, int64_t first, KeyOf key_of, uint32_t& found) {
  uint32_t low = 0;
  for (uint32_t high = cells; low < high;) {
    const uint32_t middle = low + (high - low) / 2;
    const std::optional<int64_t> key = key_of(middle);
    if (!key) return Status::kCorrupt;
    if (*key < first) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  found = low;
  return Status::kOk;
}

}  // namespace

Status RestingFile::Begin() {
  static_assert(sizeof first_pages_ == (1 + std::size(kSchema)) * kPageBytes);
  const int result = file_->pMethods->xRead(file_, first_pages_.data(), sizeof first_pages_, 0);
  return result == SQLITE_IOERR_SHORT_READ ? Status::kCorrupt : StatusOfSqlite(result);
}

void RestingFile::Renew(std::span<const Page> first_pages) {
  std::copy(first_pages.begin(), first_pages.end(), first_pages_.begin());
}

Status RestingFile::Read(uint32_t number, Page& page) const {
  if (number == 0) return Status::kCorrupt;
  const auto offset = static_cast<sqlite3_int64>(number - 1) * kPageBytes;
  const int result = file_->pMethods->xRead(file_, page.data(), kPageBytes, offset);
  return result == SQLITE_IOERR_SHORT_READ ? Status::kCorrupt : StatusOfSqlite(result);
}

Status RestingFile::ForEachRow(uint32_t root_page, int64_t first, int64_t last, const RowSink& sink) const {
  Search search{first, last, sink};
  return Visit(root_page, 0, search);
}

Status RestingFile::Visit(uint32_t number, int depth, Search& search) const {
  if (depth > kDeepestTree) return Status::kCorrupt;
  if (number - 1 < first_pages_.size()) return VisitPage(first_pages_[number - 1], depth, search);
  Page page;
  STORE_TRY(Read(number, page));
  return VisitPage(page, depth, search);
}

// A page without rows is the root of an empty table or none of a table.
Status RestingFile::VisitPage(const Page& page, int depth, Search& search) const {
  const PageKind kind = KindOfPage(page);
  const uint32_t cells = CellCountOfPage(page);
  if (kind == PageKind::kOther || cells > kMostCells) return Status::kCorrupt;
  if (cells == 0 && (depth > 0 || kind == PageKind::kInterior)) return Status::kCorrupt;
  return kind == PageKind::kLeaf ? VisitRows(page, cells, search) : VisitChildren(page, cells, depth, search);
}

Status RestingFile::VisitChildren(const Page& page, uint32_t cells, int depth, Search& search) const {
  uint32_t index = 0;
  if (!search.found_first) {
    const auto key_of = [&page](uint32_t at) -> std::optional<int64_t> {
      const std::optional<ChildCell> cell = ChildCellOfPage(page, at);
      return cell ? std::optional(cell->last_key) : std::nullopt;
    };
    STORE_TRY(FindCell(cells, search.first, key_of, index));
  }
  for (; index < cells; ++index) {
    const std::optional<ChildCell> cell = ChildCellOfPage(page, index);
    if (!cell) return Status::kCorrupt;
    STORE_TRY(Visit(cell->child, depth + 1, search));
    if (cell->last_key >= search.last) search.done = true;
    if (search.done) return Status::kOk;
  }
  return Visit(LastChildOfPage(page), depth + 1, search);
}

Status RestingFile::VisitRows(const Page& page, uint32_t cells, Search& search) const {
  uint32_t index = 0;
  if (!search.found_first) {
    const auto key_of = [&page](uint32_t at) -> std::optional<int64_t> {
      const std::optional<CellHead> head = HeadOfCell(page, PlaceOfCell(page, at));
      return head ? std::optional(head->key) : std::nullopt;
    };
    STORE_TRY(FindCell(cells, search.first, key_of, index));
    search.found_first = true;
  }
  for (; index < cells && !search.done; ++index) STORE_TRY(Deliver(page, PlaceOfCell(page, index), search));
  return Status::kOk;
}

Status RestingFile::Deliver(const Page& page, uint32_t place, Search& search) const {
  const std::optional<CellHead> head = HeadOfCell(page, place);
  if (!head) return Status::kCorrupt;
  search.done = head->key > search.last;
  if (search.done) return Status::kOk;
  const std::span<const uint8_t> local(page.data() + head->body_place, head->local_bytes);
  if (head->local_bytes == head->body_bytes) return search.sink(head->key, local);
  std::vector<uint8_t> body;
  body.reserve(head->body_bytes);
  body.assign(local.begin(), local.end());
  Page further;
  for (uint32_t next = BigEndian32(&page[head->link_place]); body.size() < head->body_bytes;) {
    STORE_TRY(Read(next, further));
    const size_t count = std::min<size_t>(kBytesOfFurtherPage, head->body_bytes - body.size());
    body.insert(body.end(), further.begin() + 4, further.begin() + 4 + static_cast<ptrdiff_t>(count));
    next = BigEndian32(further.data());
  }
  return search.sink(head->key, body);
}

}  // namespace objectstore
