// The numbers that stand in SQL text are those of the code.
#include "volume_schema.h"

#include <string_view>

namespace objectstore {

namespace {

constexpr uint64_t NumberAtEnd(std::string_view text) {
  uint64_t number = 0;
  for (const char character : text.substr(text.rfind(' ') + 1)) {
    number = number * 10 + static_cast<uint64_t>(character - '0');
  }
  return number;
}

static_assert(NumberAtEnd(sql::kSetFormatVersion) == kFormatVersion);

}  // namespace

}  // namespace objectstore
