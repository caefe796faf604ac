// See character_width.h: the widths of the C library on the machine that builds.
#include "character_width.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace xkrdb {
namespace {

struct WidthRun {
  uint32_t first;
  uint32_t last;
  uint8_t width;
};

#include "character_widths.inc"

}  // namespace

size_t CharacterWidth(char32_t character) {
  const WidthRun* const end = std::end(kWidthRuns);
  const WidthRun* const run = std::partition_point(std::begin(kWidthRuns), end,
                                                   [character](const WidthRun& one) { return one.last < character; });
  return run != end && run->first <= character ? run->width : 1;
}

}  // namespace xkrdb
