// See table_builder.h.
#include "table_builder.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "page_format.h"
#include "volume_header.h"

namespace objectstore {

namespace {

// So many bytes go to the file in one piece.
constexpr size_t kPieceBytes = size_t{64} << 10;

// A child takes at most its page's number, its key and the place of the two.
constexpr uint32_t kMostChildBytes = 4 + 9 + 2;
constexpr size_t kMostChildren = (kPageBytes - kInteriorHeaderBytes) / kMostChildBytes + 1;

// SQLite's numbers of one to nine bytes: seven bits in each, the highest first, all eight in the ninth.
class CellHeadWriter {
 public:
  void Put(uint64_t number) {
    constexpr uint64_t kLargestOfEight = (uint64_t{1} << 56) - 1;
    std::array<uint8_t, 9> reversed;
    size_t count = 0;
    if (number > kLargestOfEight) {
      reversed[count++] = static_cast<uint8_t>(number);
      number >>= 8;
      for (; count < 9; number >>= 7) reversed[count++] = static_cast<uint8_t>(number | 0x80);
    } else {
      do {
        reversed[count] = static_cast<uint8_t>(count == 0 ? number & 0x7F : number | 0x80);
        ++count;
        number >>= 7;
      } while (number != 0);
    }
    while (count != 0) bytes_[size_++] = reversed[--count];
  }
  std::span<const uint8_t> bytes() const { return {bytes_.data(), size_}; }

 private:
  std::array<uint8_t, 32> bytes_;
  size_t size_ = 0;
};

// What stands before a body in its row's payload: the length of this header, a key that is not repeated, the body's type.
void PutHeadOfPayload(size_t body_bytes, CellHeadWriter& head) {
  constexpr uint8_t kNoKey = 0;
  CellHeadWriter type;
  type.Put(12 + 2 * uint64_t{body_bytes});
  head.Put(2 + type.bytes().size());
  head.Put(kNoKey);
  head.Put(12 + 2 * uint64_t{body_bytes});
}

void PutPlace(Page& page, uint32_t offset, uint32_t number) {
  page[offset] = static_cast<uint8_t>(number >> 8);
  page[offset + 1] = static_cast<uint8_t>(number);
}

void PutTableHeader(Page& page, uint32_t start, uint8_t kind, uint32_t cells, uint32_t content) {
  page[start] = kind;
  PutPlace(page, start + kFirstFreePlace, 0);
  PutPlace(page, start + kCellCountPlace, cells);
  PutPlace(page, start + kContentPlace, content);
  page[start + kFragmentsPlace] = 0;
}

}  // namespace

Status AppendedPages::Append(const Page& page) {
  if (waiting_.capacity() == 0) waiting_.reserve(kPieceBytes);
  if (next_page_ > kMostPages) return Status::kDiskFull;
  waiting_.insert(waiting_.end(), page.begin(), page.end());
  const uint32_t following = Following(next_page_);
  waiting_.resize(waiting_.size() + size_t{following - next_page_ - 1} * kPageBytes);
  next_page_ = following;
  return waiting_.size() < kPieceBytes ? Status::kOk : End();
}

Status AppendedPages::End() {
  if (waiting_.empty()) return Status::kOk;
  const uint64_t end = uint64_t{next_page_ - 1} * kPageBytes;
  STORE_TRY(write_(waiting_, end - waiting_.size()));
  waiting_.clear();
  return Status::kOk;
}

void TableBuilder::StartLeaf() {
  rows_on_leaf_ = 0;
  content_ = kPageBytes;
}

// Of the leaf before nothing is left.
void TableBuilder::FinishLeaf() {
  std::fill(leaf_.begin() + kLeafHeaderBytes + 2 * rows_on_leaf_, leaf_.begin() + content_, uint8_t{0});
  PutTableHeader(leaf_, 0, kLeafPage, rows_on_leaf_, content_);
}

Status TableBuilder::EndLeaf() {
  FinishLeaf();
  leaves_.push_back({pages_.next_page(), last_key_});
  STORE_TRY(pages_.Append(leaf_));
  StartLeaf();
  return Status::kOk;
}

Status TableBuilder::Add(int64_t key, std::span<const uint8_t> body) {
  if (has_row_ && key <= last_key_) return Status::kInvalidParameter;
  CellHeadWriter payload_head;
  PutHeadOfPayload(body.size(), payload_head);
  const auto head = payload_head.bytes();
  const size_t payload = head.size() + body.size();
  if (payload > kLargestPayload) return Status::kCorrupt;
  const uint32_t local = LocalBytes(static_cast<uint32_t>(payload));
  const bool goes_on = local < payload;
  CellHeadWriter cell;
  cell.Put(payload);
  cell.Put(static_cast<uint64_t>(key));
  const auto cell_bytes = static_cast<uint32_t>(cell.bytes().size() + local + (goes_on ? 4 : 0));
  if (content_ < kLeafHeaderBytes + 2 * (rows_on_leaf_ + 1) + cell_bytes) STORE_TRY(EndLeaf());
  content_ -= cell_bytes;
  PutPlace(leaf_, kLeafHeaderBytes + 2 * rows_on_leaf_, content_);
  uint8_t* next = std::copy(cell.bytes().begin(), cell.bytes().end(), leaf_.data() + content_);
  next = std::copy(head.begin(), head.end(), next);
  const size_t local_body = local - head.size();
  next = std::copy_n(body.begin(), local_body, next);
  ++rows_on_leaf_;
  has_row_ = true;
  last_key_ = key;
  if (!goes_on) return Status::kOk;
  PutBigEndian32(next, pages_.next_page());
  return AppendFurther(body.subspan(local_body));
}

Status TableBuilder::AppendFurther(std::span<const uint8_t> bytes) {
  Page page;
  while (!bytes.empty()) {
    const size_t count = std::min<size_t>(kBytesOfFurtherPage, bytes.size());
    page.fill(0);
    if (count < bytes.size()) PutBigEndian32(page.data(), pages_.page_after_next());
    std::copy_n(bytes.begin(), count, page.begin() + 4);
    STORE_TRY(pages_.Append(page));
    bytes = bytes.subspan(count);
  }
  return Status::kOk;
}

// The last child stands in the header, without a key.
void TableBuilder::FillInterior(std::span<const Child> children, Page& page) {
  page.fill(0);
  uint32_t content = kPageBytes;
  uint32_t place = kInteriorHeaderBytes;
  for (const Child& child : children.first(children.size() - 1)) {
    CellHeadWriter key;
    key.Put(static_cast<uint64_t>(child.last_key));
    content -= static_cast<uint32_t>(4 + key.bytes().size());
    PutBigEndian32(page.data() + content, child.page);
    std::copy(key.bytes().begin(), key.bytes().end(), page.data() + content + 4);
    PutPlace(page, place, content);
    place += 2;
  }
  PutTableHeader(page, 0, kInteriorPage, static_cast<uint32_t>(children.size() - 1), content);
  PutBigEndian32(page.data() + kRightChildPlace, children.back().page);
}

// Interior pages have their children in equal shares: none has one alone.
Status TableBuilder::End(Page& root) {
  if (leaves_.empty()) {
    FinishLeaf();
    root = leaf_;
    return Status::kOk;
  }
  STORE_TRY(EndLeaf());
  std::vector<Child> level = leaves_;
  Page page;
  while (level.size() > kMostChildren) {
    const size_t count = (level.size() + kMostChildren - 1) / kMostChildren;
    std::vector<Child> above;
    above.reserve(count);
    for (size_t i = 0; i < count; ++i) {
      const size_t first = level.size() * i / count;
      const size_t end = level.size() * (i + 1) / count;
      FillInterior(std::span<const Child>(level).subspan(first, end - first), page);
      above.push_back({pages_.next_page(), level[end - 1].last_key});
      STORE_TRY(pages_.Append(page));
    }
    level.swap(above);
  }
  FillInterior(level, root);
  return Status::kOk;
}

namespace {

void PutHeader(uint32_t pages, uint32_t change_counter, Page& page) {
  constexpr char kMagic[] = "SQLite format 3";
  constexpr struct {
    uint32_t offset;
    uint32_t value;
  } kNumbers[] = {
      {16, kPageBytes << 16 | kWriteAheadLog << 8 | kWriteAheadLog},
      {20,
       64u << 16 | 32u << 8 | 32u},  // no room at the ends of pages; how full pages may get, which is the same for all
      {40, std::size(kSchema)},      // changes of the tables
      {44, 4},
      {56, 1},
      {60, kFormatVersion},
      {68, kApplicationId},
  };
  std::memcpy(page.data(), kMagic, sizeof kMagic);
  for (const auto& [offset, value] : kNumbers) PutBigEndian32(page.data() + offset, value);
  PutBigEndian32(page.data() + 24, change_counter);
  PutBigEndian32(page.data() + 28, pages);
  PutBigEndian32(page.data() + 92, change_counter);  // the page count holds as of that change
}

// A row of the table of tables: four texts, and before the last one the root's page in one byte.
uint32_t PutSchemaRow(const SchemaRow& row, int64_t key, uint32_t end, Page& page) {
  const std::string_view texts[] = {row.type, row.name, row.table, row.sql};
  constexpr uint64_t kOneByte = 1;
  CellHeadWriter types;
  for (size_t i = 0; i < std::size(texts); ++i) {
    if (i == 3) types.Put(kOneByte);
    types.Put(13 + 2 * uint64_t{texts[i].size()});
  }
  size_t payload = 1 + types.bytes().size() + 1;
  for (const std::string_view text : texts) payload += text.size();
  CellHeadWriter cell;
  cell.Put(payload);
  cell.Put(static_cast<uint64_t>(key));
  cell.Put(1 + types.bytes().size());
  const auto begin = static_cast<uint32_t>(end - (cell.bytes().size() - 1) - payload);
  uint8_t* next = std::copy(cell.bytes().begin(), cell.bytes().end(), page.data() + begin);
  next = std::copy(types.bytes().begin(), types.bytes().end(), next);
  for (size_t i = 0; i < std::size(texts); ++i) {
    if (i == 3) *next++ = static_cast<uint8_t>(row.root_page);
    next = std::copy(texts[i].begin(), texts[i].end(), next);
  }
  return begin;
}

}  // namespace

void MakeFirstPage(uint32_t pages, uint32_t change_counter, Page& page) {
  page.fill(0);
  PutHeader(pages, change_counter, page);
  uint32_t content = kPageBytes;
  uint32_t count = 0;
  for (const SchemaRow& row : kSchema) {
    content = PutSchemaRow(row, ++count, content, page);
    PutPlace(page, kHeaderBytes + kLeafHeaderBytes + 2 * (count - 1), content);
  }
  PutTableHeader(page, kHeaderBytes, kLeafPage, count, content);
}

}  // namespace objectstore
