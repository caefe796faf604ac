// One page of SQLite's tables as bytes, and the rows on it: what a sound page holds, and what can be found on one that
// is not. Every row of a volume is a 64-bit key and a body. Parsing is total: any bytes give rows or nothing.
#pragma once

#include <optional>
#include <vector>

#include "volume_pages.h"

namespace objectstore {

enum class PageKind { kLeaf, kInterior, kOther };
PageKind KindOfPage(const Page& page);

// How many cells a page says it has, and how many there can be; where one of them stands, if the page is sound. Any place
// may be asked for a cell.
inline constexpr uint32_t kMostCells = (kPageBytes - 8) / 6;
uint32_t CellCountOfPage(const Page& page);
uint32_t PlaceOfCell(const Page& page, uint32_t index);  // an index below kMostCells

// A cell of an interior page: a child and the last key that may stand there. Nothing when none can begin at its place.
struct ChildCell {
  uint32_t child = 0;
  int64_t last_key = 0;
};
std::optional<ChildCell> ChildCellOfPage(const Page& page, uint32_t index);
uint32_t LastChildOfPage(const Page& page);

// The places of a sound page's cells, in the order of their keys; places that cannot be are left out and counted.
struct Cells {
  std::vector<uint32_t> places;
  uint32_t impossible = 0;
};
Cells CellsOfPage(const Page& page);

// Whether rows of so many bytes, with the free room that the page knows of, fill a leaf's content to the byte. If not, its
// header leads to fewer rows, or to more, than there are.
bool AccountsForContent(const Page& page, uint32_t cell_bytes);

// An interior page's children, in the order of their keys.
std::vector<uint32_t> ChildrenOfPage(const Page& page);

struct RawRow {
  int64_t key = 0;
  std::vector<uint8_t> body;
  std::vector<uint32_t> further_pages;  // that the body goes on in
};

// What a cell at this place says of itself: nothing when no row can begin there.
struct CellHead {
  int64_t key = 0;
  uint32_t body_bytes = 0;
  uint32_t body_place = 0;   // where the body begins
  uint32_t local_bytes = 0;  // of the body, on this page
  uint32_t link_place = 0;   // where the number of the page stands that the rest is on
  uint32_t cell_bytes = 0;   // of the whole cell, on this page
};
std::optional<CellHead> HeadOfCell(const Page& page, uint32_t place);

// The whole row. Nothing when one of the pages that it goes on in cannot be read.
std::optional<RawRow> ReadRow(const VolumePages& pages, const Page& page, const CellHead& head);

}  // namespace objectstore
