// Room for one more element ahead of time, so that a change can first gather all memory it needs and then be carried
// out without failing.
#pragma once

#include <algorithm>
#include <cstddef>

namespace objectstore {

template <typename Vector>
void ReserveOneMore(Vector& vector) {
  constexpr std::size_t kSmallest = 8;
  if (vector.size() == vector.capacity()) vector.reserve(std::max(kSmallest, vector.capacity() * 2));
}

}  // namespace objectstore
