// The one bounded copy of text into a caller's buffer.
#include "wide_copy.h"

#include <algorithm>

#include "wide_text.h"

namespace mdb {

void CopyWideTruncated(uint32_t size_bytes, const MDbChar* source, MDbChar* destination) {
  const int32_t room = static_cast<int32_t>(size_bytes / 2) - 1;
  const int32_t count = std::min(static_cast<int32_t>(wcslen(source)), room);
  if (count > 0) std::copy_n(source, count, destination);
  destination[count] = 0;
}

}  // namespace mdb
