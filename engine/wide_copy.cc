// The bounded copy of text into a caller's buffer.
#include "wide_copy.h"

#include <algorithm>

#include "wide_text.h"

namespace mdb {

template <size_t kStep>
static void CopyStep(const MDbChar* source, size_t begin, MDbChar* destination) {
  std::copy_n(source + begin, kStep, destination + begin);
}

// Four steps, which begin within each other where there is less to copy.
template <size_t kStep>
static void CopyFourSteps(const MDbChar* source, size_t count, MDbChar* destination) {
  const size_t last = count - kStep;
  CopyStep<kStep>(source, 0, destination);
  CopyStep<kStep>(source, std::min(kStep, last), destination);
  CopyStep<kStep>(source, std::max(kStep, last) - kStep, destination);
  CopyStep<kStep>(source, last, destination);
}

// At least one unit. Short texts without a call, and as many steps for texts of many lengths, so that a processor need
// not foresee how long each is.
static void CopyUnits(const MDbChar* source, size_t count, MDbChar* destination) {
  if (count > 32) {
    std::copy_n(source, count, destination);
  } else if (count > 16) {
    CopyFourSteps<8>(source, count, destination);
  } else if (count >= 4) {
    CopyFourSteps<4>(source, count, destination);
  } else {
    CopyStep<1>(source, 0, destination);
    CopyStep<1>(source, count / 2, destination);
    CopyStep<1>(source, count - 1, destination);
  }
}

void CopyWideTruncated(uint32_t size_bytes, const MDbChar* source, MDbChar* destination) {
  CopyKnownTruncated(size_bytes, source, wcslen(source), destination);
}

void CopyKnownTruncated(uint32_t size_bytes, const MDbChar* source, size_t length, MDbChar* destination) {
  const int32_t room = static_cast<int32_t>(size_bytes / 2) - 1;
  const int32_t count = std::min(static_cast<int32_t>(length), room);
  if (count > 0) CopyUnits(source, static_cast<size_t>(count), destination);
  destination[count] = 0;
}

}  // namespace mdb
