// See first_page.h.
#include "first_page.h"

#include <cstring>
#include <iterator>

#include "page_format.h"
#include "table_builder.h"
#include "volume_header.h"
#include "volume_schema.h"

namespace objectstore {

namespace {

// How SQLite divides pages, and how long it takes the file to be. It goes by the file's own length where the two counters
// differ.
bool HasUsualNumbers(const uint8_t* header, uint64_t file_bytes) {
  constexpr uint8_t kPayloadShares[] = {64, 32, 32};
  return std::memcmp(header + 21, kPayloadShares, sizeof kPayloadShares) == 0 &&
         BigEndian32(header + 24) == BigEndian32(header + 92) &&
         uint64_t{BigEndian32(header + 28)} * kPageBytes == file_bytes;
}

}  // namespace

// The rows of the table of tables stand where SQLite has put them, each with the bytes of the one that is made anew.
bool IsUsualFirstPage(const Page& page, uint64_t file_bytes) {
  if (!IsVolumeHeader(page.data()) || !HasUsualNumbers(page.data(), file_bytes)) return false;
  if (page[kHeaderBytes] != kLeafPage) return false;
  if (BigEndian16(&page[kHeaderBytes + kCellCountPlace]) != std::size(kSchema)) return false;
  Page made;
  MakeFirstPage(0, 0, made);
  uint32_t end = kPageBytes;
  for (size_t i = 0; i < std::size(kSchema); ++i) {
    const size_t place_of_row = kHeaderBytes + kLeafHeaderBytes + 2 * i;
    const uint32_t begin = BigEndian16(&made[place_of_row]);
    const uint32_t found = BigEndian16(&page[place_of_row]);
    if (found > kPageBytes - (end - begin)) return false;
    if (std::memcmp(&page[found], &made[begin], end - begin) != 0) return false;
    end = begin;
  }
  return true;
}

}  // namespace objectstore
