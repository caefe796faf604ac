// See first_page.h.
#include "first_page.h"

#include <array>
#include <cstring>
#include <iterator>
#include <string_view>

#include "volume_header.h"
#include "volume_schema.h"

namespace objectstore {

namespace {

constexpr uint8_t kLeafPage = 0x0D;
constexpr size_t kPlacesOffset = kHeaderBytes + 8;  // of the rows, behind the header of the page's tree

// How SQLite divides pages, and how long it takes the file to be. It goes by the file's own length where the two counters
// differ.
bool HasUsualNumbers(const uint8_t* header, uint64_t file_bytes) {
  constexpr uint8_t kPayloadShares[] = {64, 32, 32};
  return std::memcmp(header + 21, kPayloadShares, sizeof kPayloadShares) == 0 &&
         BigEndian32(header + 24) == BigEndian32(header + 92) &&
         uint64_t{BigEndian32(header + 28)} * kPageBytes == file_bytes;
}

// So long that the length, the first byte, is one byte.
constexpr size_t kLongestCell = 0x7F + 2;

constexpr bool Fits(const SchemaRow& row) {
  const auto length = [](std::string_view text) { return text.size(); };
  return length(row.type) + length(row.name) + length(row.table) + length(row.sql) + 10 <= kLongestCell &&
         row.root_page < 0x80;
}
static_assert(Fits(kSchema[0]) && Fits(kSchema[1]) && Fits(kSchema[2]) && Fits(kSchema[3]));

// A row as SQLite writes it: the lengths of row, key and header, the columns' types, the columns.
class SchemaCell {
 public:
  SchemaCell(const SchemaRow& row, uint8_t key) {
    const std::string_view texts[] = {row.type, row.name, row.table, row.sql};
    size_ = 3;
    for (size_t i = 0; i < 3; ++i) AddTextType(texts[i]);
    Add(kSmallNumber);
    AddTextType(texts[3]);
    const size_t header_bytes = size_ - 2;
    for (size_t i = 0; i < 3; ++i) AddText(texts[i]);
    Add(static_cast<uint8_t>(row.root_page));
    AddText(texts[3]);
    bytes_[0] = static_cast<uint8_t>(size_ - 2);
    bytes_[1] = key;
    bytes_[2] = static_cast<uint8_t>(header_bytes);
  }
  bool StandsAt(const Page& page, size_t place) const {
    return place <= page.size() - size_ && std::memcmp(page.data() + place, bytes_.data(), size_) == 0;
  }

 private:
  static constexpr uint8_t kSmallNumber = 1;

  void Add(uint8_t byte) { bytes_[size_++] = byte; }
  void AddTextType(std::string_view text) {
    const size_t type = 13 + 2 * text.size();
    if (type >= 0x80) Add(static_cast<uint8_t>(0x80 | type >> 7));
    Add(static_cast<uint8_t>(type & 0x7F));
  }
  void AddText(std::string_view text) {
    std::memcpy(bytes_.data() + size_, text.data(), text.size());
    size_ += text.size();
  }

  std::array<uint8_t, kLongestCell> bytes_;
  size_t size_;
};

}  // namespace

bool IsUsualFirstPage(const Page& page, uint64_t file_bytes) {
  if (!IsVolumeHeader(page.data()) || !HasUsualNumbers(page.data(), file_bytes)) return false;
  if (page[kHeaderBytes] != kLeafPage || BigEndian16(&page[kHeaderBytes + 3]) != std::size(kSchema)) return false;
  for (size_t i = 0; i < std::size(kSchema); ++i) {
    const SchemaCell cell(kSchema[i], static_cast<uint8_t>(i + 1));
    if (!cell.StandsAt(page, BigEndian16(&page[kPlacesOffset + 2 * i]))) return false;
  }
  return true;
}

}  // namespace objectstore
