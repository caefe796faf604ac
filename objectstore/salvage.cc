// See salvage.h; what the rows amount to is judged in salvage_judgement.cc.
#include "salvage.h"

#include <algorithm>

#include "volume_header.h"
#include "volume_schema.h"
#include "xkrvolume.h"

namespace objectstore {

namespace {

// In the order of kSchema.
constexpr BodyKind kKinds[] = {BodyKind::kVolume, BodyKind::kDatabase, BodyKind::kRecord, BodyKind::kPacked};

constexpr size_t kPackedTable = 3;

// A tree of more levels holds more rows than a volume may.
constexpr int kDeepestTree = 20;

constexpr size_t kKindPlace = 8;

CEOID HighWord(int64_t key) { return static_cast<CEOID>(static_cast<uint64_t>(key) >> 32); }

bool IsKindOfTable(uint8_t kind, size_t table) {
  return kind == static_cast<uint8_t>(kKinds[table]) ||
         (table == kPackedTable && kind == static_cast<uint8_t>(BodyKind::kBlock));
}

bool IsKind(uint8_t byte) {
  for (size_t table = 0; table < std::size(kKinds); ++table) {
    if (IsKindOfTable(KindWithoutLayout(byte), table)) return true;
  }
  return false;
}

}  // namespace

void Salvage::Add(uint32_t code, CEOID database, CEOID record, uint32_t page, std::string text, bool damage) {
  flaws_.push_back({damage, code, database, record, page, std::move(text)});
}

Status Salvage::Examine() {
  visited_.assign(size_t{pages_->last_page()} + 1, false);
  free_.assign(size_t{pages_->last_page()} + 1, false);
  CheckFile();
  for (uint32_t table = 0; table < std::size(kSchema); ++table) WalkTable(table);
  FindFreePages();
  SearchUnvisited();
  Judge();
  return anything_found_ ? Status::kOk : Status::kCorrupt;
}

void Salvage::CheckFile() {
  Page first;
  // What a power cut left of it on its way from the log into the file does not count while the log holds it whole.
  const bool sound = pages_->ReadFirstOfFile(first) && pages_->Read(1, first) && IsVolumeHeader(first.data());
  if (!sound) {
    Add(XKRFindingHeader, 0, 0, 1, "the file does not begin with the header of a volume");
  }
  if (pages_->is_cut()) Add(XKRFindingCut, 0, 0, pages_->last_page(), "the file ends within a page");
  flushes_lost_ = pages_->lost_flushes() != 0;
  if (flushes_lost_) {
    Add(XKRFindingLog, 0, 0, 0,
        "the log is damaged: " + std::to_string(pages_->lost_flushes()) +
            " or more flushes that stood behind the damage are lost");
  }
}

void Salvage::WalkTable(uint32_t table) {
  previous_key_.reset();
  (void)Visit(table, static_cast<uint32_t>(kSchema[table].root_page), 0);  // it has said what is wrong
}

// False when the page is none of the table. What leads to such a page may not be what it looks like either.
bool Salvage::Visit(uint32_t table, uint32_t number, int depth) {
  const std::string of_table = std::string(" of the table ") + kSchema[table].name;
  if (number == 0 || number > pages_->last_page() || depth > kDeepestTree) {
    Add(XKRFindingPage, 0, 0, number, "there is no such page" + of_table);
    return false;
  }
  if (visited_[number]) {
    Add(XKRFindingPageTwice, 0, 0, number, "the page is used twice, once" + of_table);
    return false;
  }
  visited_[number] = true;
  Page page;
  const bool whole = pages_->Read(number, page);
  const PageKind kind = KindOfPage(page);
  if (kind == PageKind::kLeaf) VisitLeaf(table, number, page);
  if (kind == PageKind::kInterior && !VisitChildren(table, page, depth)) damaged_pages_.push_back(number);
  if (whole && kind != PageKind::kOther) return true;
  Add(XKRFindingPage, 0, 0, number, whole ? "the page is none" + of_table : "the page cannot be read" + of_table);
  damaged_pages_.push_back(number);
  return false;
}

bool Salvage::VisitChildren(uint32_t table, const Page& page, int depth) {
  bool all = true;
  for (const uint32_t child : ChildrenOfPage(page)) {
    if (!Visit(table, child, depth + 1)) all = false;
  }
  return all;
}

void Salvage::VisitLeaf(uint32_t table, uint32_t number, const Page& page) {
  const Cells cells = CellsOfPage(page);
  bool sound = cells.impossible == 0;
  if (!sound) Add(XKRFindingPage, 0, 0, number, "the page says of rows that they are where none can be");
  uint32_t bytes = 0;
  for (const uint32_t place : cells.places) {
    if (!VisitCell(table, number, page, place, bytes)) sound = false;
  }
  if (sound && !AccountsForContent(page, bytes)) {
    sound = false;
    Add(XKRFindingPage, 0, 0, number, "the page's header leads to other rows than there are on it");
  }
  if (!sound) damaged_pages_.push_back(number);
}

// False for a row that is not sound. Adds up what the cells take on the page.
bool Salvage::VisitCell(uint32_t table, uint32_t number, const Page& page, uint32_t place, uint32_t& bytes) {
  const std::optional<CellHead> head = HeadOfCell(page, place);
  const std::optional<RawRow> row = head ? ReadRow(*pages_, page, *head) : std::nullopt;
  if (row) {
    const bool ascends = !previous_key_ || row->key > *previous_key_;
    const bool of_table =
        row->body.size() > kKindPlace && IsKindOfTable(KindWithoutLayout(row->body[kKindPlace]), table);
    const Taken taken = of_table ? Take(*row, number, false) : Taken::kUnsound;
    if (taken != Taken::kUnsound) {
      for (const uint32_t further : row->further_pages) visited_[further] = true;
      if (!ascends) Add(XKRFindingOrder, 0, 0, number, "rows are out of order, or one is there twice");
      if (ascends) previous_key_ = row->key;
      bytes += head->cell_bytes;
      return true;
    }
  }
  // What a row that does not hold says of its own key may be wrong, too.
  const bool known = head && table >= 2;
  const CEOID database = known ? HighWord(head->key) : head && table == 1 ? LowWord(head->key) : 0;
  if (known && table == 2) ++damaged_rows_[database];
  Add(XKRFindingRow, database, table == 2 && known ? LowWord(head->key) : 0, number,
      head ? "the row's checksum does not hold" : "a row begins with bytes that begin none");
  return false;
}

// Rows on a page that is marked as free were deleted, and the page is not looked at. Where the list of free pages cannot
// be followed, the rest of it is not known to be free.
void Salvage::FindFreePages() {
  constexpr uint32_t kMostLeaves = kPageBytes / 4 - 2;
  Page page;
  if (!pages_->Read(1, page)) return;
  uint32_t trunk = BigEndian32(page.data() + 32);
  while (trunk > 1 && trunk <= pages_->last_page() && !visited_[trunk] && !free_[trunk]) {
    if (!pages_->Read(trunk, page)) return;
    const uint32_t leaves = BigEndian32(page.data() + 4);
    if (leaves > kMostLeaves) return;
    free_[trunk] = true;
    for (uint32_t i = 0; i < leaves; ++i) {
      const uint32_t leaf = BigEndian32(page.data() + 8 + 4 * size_t{i});
      if (leaf <= pages_->last_page()) free_[leaf] = true;
    }
    trunk = BigEndian32(page.data());
  }
}

void Salvage::SearchUnvisited() {
  further_pages_left_ = 100000 + uint64_t{16} * pages_->last_page();
  Page page;
  for (uint32_t number = 2; number <= pages_->last_page(); ++number) {
    if (visited_[number] || free_[number]) continue;
    (void)pages_->Read(number, page);  // what is there of a page that is cut off
    SearchEverywhere(number, page);
  }
  for (const uint32_t number : damaged_pages_) {
    (void)pages_->Read(number, page);  // the same
    SearchEverywhere(number, page);
  }
}

// Every byte may be a row's first. Few look so, and of those a checksum holds for rows alone.
void Salvage::SearchEverywhere(uint32_t number, const Page& page) {
  if (std::all_of(page.begin(), page.end(), [](uint8_t byte) { return byte == 0; })) return;
  for (uint32_t place = 0; place < kPageBytes; ++place) {
    const std::optional<CellHead> head = HeadOfCell(page, place);
    if (!head || head->local_bytes <= kKindPlace || !IsKind(page[head->body_place + kKindPlace])) continue;
    // A hostile file may be full of what looks like the beginnings of rows that go on over hundreds of pages.
    const uint64_t further = (head->body_bytes - head->local_bytes) / (kPageBytes - 4);
    if (further > further_pages_left_) continue;
    further_pages_left_ -= further;
    std::optional<RawRow> row = ReadRow(*pages_, page, *head);
    if (row && IsSound(*row)) loose_.push_back({std::move(*row), number});
  }
}

std::pair<Salvage::Records, Salvage::Records> Salvage::RecordsOf(CEOID database) {
  return {records_.lower_bound(RowKey(database, 0)), records_.upper_bound(RowKey(database, 0xFFFFFFFF))};
}

}  // namespace objectstore
