// See volume_header.h.
#include "volume_header.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "volume_schema.h"

namespace objectstore {

// What else could stand in these places would change the meaning of pages, or move them.
bool IsVolumeHeader(const uint8_t* header) {
  static constexpr struct {
    size_t offset;
    uint32_t value;
  } kNumbers[] = {
      {44, 4},               // format of the table of tables
      {52, 0},               // pages do not move by themselves
      {56, 1},               // texts are UTF-8
      {64, 0},               // nor do they on request
      {68, kApplicationId},  //
      {72, 0},
      {76, 0},
      {80, 0},
      {84, 0},
      {88, 0},  // for expansion
  };
  constexpr char kMagic[] = "SQLite format 3";
  const uint32_t version = FormatVersionOf(header);
  return version >= kFirstFormatVersion && version <= kFormatVersion &&
         std::memcmp(header, kMagic, sizeof kMagic) == 0 && BigEndian16(header + 16) == kPageBytes &&
         header[18] == kWriteAheadLog && header[19] == kWriteAheadLog && header[20] == 0 &&
         std::all_of(std::begin(kNumbers), std::end(kNumbers),
                     [header](const auto& number) { return BigEndian32(header + number.offset) == number.value; });
}

}  // namespace objectstore
