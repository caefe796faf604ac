// See table_page.h.
#include "table_page.h"

#include <algorithm>
#include <iterator>

#include "page_format.h"
#include "volume_header.h"

namespace objectstore {

namespace {

constexpr uint32_t kSmallestCellBytes = 4;

// Numbers of one to nine bytes, seven bits in each, all eight in the ninth. False at the page's end.
bool GetVariable(const Page& page, uint32_t& place, uint64_t& number) {
  number = 0;
  for (int i = 0; i < 9; ++i) {
    if (place >= kPageBytes) return false;
    const uint8_t byte = page[place++];
    if (i == 8) {
      number = number << 8 | byte;
      return true;
    }
    number = number << 7 | (byte & 0x7F);
    if ((byte & 0x80) == 0) return true;
  }
  return true;
}

uint32_t FirstPlaceOf(const Page& page) { return page[0] == kInteriorPage ? kInteriorHeaderBytes : kLeafHeaderBytes; }

}  // namespace

PageKind KindOfPage(const Page& page) {
  return page[0] == kLeafPage ? PageKind::kLeaf : page[0] == kInteriorPage ? PageKind::kInterior : PageKind::kOther;
}

uint32_t CellCountOfPage(const Page& page) { return BigEndian16(page.data() + kCellCountPlace); }

uint32_t PlaceOfCell(const Page& page, uint32_t index) { return BigEndian16(&page[FirstPlaceOf(page) + 2 * index]); }

std::optional<ChildCell> ChildCellOfPage(const Page& page, uint32_t index) {
  uint32_t place = PlaceOfCell(page, index);
  uint64_t key = 0;
  if (place > kPageBytes - 4) return {};
  const uint32_t child = BigEndian32(&page[place]);
  place += 4;
  if (!GetVariable(page, place, key)) return {};
  return ChildCell{child, static_cast<int64_t>(key)};
}

uint32_t LastChildOfPage(const Page& page) { return BigEndian32(page.data() + kRightChildPlace); }

Cells CellsOfPage(const Page& page) {
  Cells cells;
  const uint32_t first = FirstPlaceOf(page);
  const uint32_t claimed = CellCountOfPage(page);
  const uint32_t count = std::min(claimed, (kPageBytes - first) / 2);
  cells.impossible = claimed - count;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t place = BigEndian16(page.data() + first + 2 * i);
    if (place < first + 2 * count || place > kPageBytes - 4) {
      ++cells.impossible;
    } else {
      cells.places.push_back(place);
    }
  }
  return cells;
}

bool AccountsForContent(const Page& page, uint32_t cell_bytes) {
  const uint32_t content = BigEndian16(page.data() + kContentPlace);
  uint32_t bytes = cell_bytes + page[kFragmentsPlace];
  uint32_t previous = 0;
  for (uint32_t free = BigEndian16(page.data() + kFirstFreePlace); free != 0;) {
    if (free <= previous || free > kPageBytes - 4) return false;
    bytes += BigEndian16(page.data() + free + 2);
    previous = free;
    free = BigEndian16(page.data() + free);
  }
  return content <= kPageBytes && bytes == kPageBytes - content;
}

std::vector<uint32_t> ChildrenOfPage(const Page& page) {
  std::vector<uint32_t> children;
  for (const uint32_t place : CellsOfPage(page).places) children.push_back(BigEndian32(page.data() + place));
  children.push_back(LastChildOfPage(page));
  return children;
}

// The payload begins with a header of its own: its length, the type of the key's copy, which is nothing, and the type of
// the body, which is its length. What SQLite does not look at may be anything, as long as the body is where it says.
std::optional<CellHead> HeadOfCell(const Page& page, uint32_t place) {
  constexpr uint32_t kNumberBytes[] = {0, 1, 2, 3, 4, 6, 8, 8, 0, 0};
  const uint32_t first_place = place;
  uint64_t payload = 0;
  uint64_t key = 0;
  if (!GetVariable(page, place, payload) || payload > kLargestPayload || !GetVariable(page, place, key)) return {};
  const uint32_t payload_place = place;
  uint64_t header_bytes = 0;
  uint64_t key_type = 0;
  uint64_t body_type = 0;
  if (!GetVariable(page, place, header_bytes) || !GetVariable(page, place, key_type)) return {};
  if (key_type >= std::size(kNumberBytes) || !GetVariable(page, place, body_type)) return {};
  if (body_type < 12 || body_type % 2 != 0 || header_bytes < place - payload_place) return {};
  const uint64_t body_bytes = (body_type - 12) / 2;
  const uint64_t before_body = header_bytes + kNumberBytes[key_type];
  if (before_body > payload || body_bytes > payload - before_body) return {};
  const uint32_t local = LocalBytes(static_cast<uint32_t>(payload));
  const uint32_t with_link = local < payload ? local + 4 : local;
  if (payload_place + with_link > kPageBytes || local < before_body) return {};
  CellHead head;
  head.key = static_cast<int64_t>(key);
  head.body_bytes = static_cast<uint32_t>(body_bytes);
  head.body_place = payload_place + static_cast<uint32_t>(before_body);
  head.local_bytes = std::min(local - static_cast<uint32_t>(before_body), head.body_bytes);
  head.link_place = payload_place + local;
  head.cell_bytes = std::max(payload_place + with_link - first_place, kSmallestCellBytes);
  return head;
}

std::optional<RawRow> ReadRow(const VolumePages& pages, const Page& page, const CellHead& head) {
  RawRow row;
  row.key = head.key;
  const auto local = page.begin() + head.body_place;
  row.body.assign(local, local + head.local_bytes);
  Page further;
  uint32_t next = head.local_bytes < head.body_bytes ? BigEndian32(&page[head.link_place]) : 0;
  while (row.body.size() < head.body_bytes) {
    if (!pages.Read(next, further)) return {};
    row.further_pages.push_back(next);
    const size_t count = std::min<size_t>(kBytesOfFurtherPage, head.body_bytes - row.body.size());
    row.body.insert(row.body.end(), further.begin() + 4, further.begin() + 4 + static_cast<ptrdiff_t>(count));
    next = BigEndian32(further.data());
  }
  return row;
}

}  // namespace objectstore
