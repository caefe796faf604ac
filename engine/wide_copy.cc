// The one bounded copy of text into a caller's buffer.
#include "wide_copy.h"

#include <algorithm>

#include "wide_text.h"

namespace mdb {

// Short texts in steps without a call, of which the last ones may begin within those before: as many for texts of many
// lengths, so that a processor foresees them.
static void CopyUnits(const MDbChar* source, size_t count, MDbChar* destination) {
  constexpr size_t kStep = 8;
  const auto copy_both_ends = [&]<size_t kUnits>(size_t inwards) {
    const size_t last = count - kUnits - inwards;
    std::copy_n(source + inwards, kUnits, destination + inwards);
    std::copy_n(source + last, kUnits, destination + last);
  };
  if (count > 4 * kStep) {
    std::copy_n(source, count, destination);
  } else if (count >= kStep) {
    if (count > 2 * kStep) copy_both_ends.operator()<kStep>(kStep);
    copy_both_ends.operator()<kStep>(0);
  } else if (count >= kStep / 2) {
    copy_both_ends.operator()<kStep / 2>(0);
  } else {
    for (size_t i = 0; i < count; ++i) destination[i] = source[i];
  }
}

void CopyWideTruncated(uint32_t size_bytes, const MDbChar* source, MDbChar* destination) {
  const int32_t room = static_cast<int32_t>(size_bytes / 2) - 1;
  const int32_t count = std::min(static_cast<int32_t>(wcslen(source)), room);
  if (count > 0) CopyUnits(source, static_cast<size_t>(count), destination);
  destination[count] = 0;
}

}  // namespace mdb
