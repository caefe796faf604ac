// Room for more elements ahead of time, so that a change can first gather all memory it needs and then be carried out
// without failing.
#pragma once

#include <algorithm>
#include <cstddef>

namespace objectstore {

// Grows by doubling, so that elements that come one by one are not copied each time.
template <typename Vector>
void ReserveFor(Vector& vector, std::size_t count) {
  constexpr std::size_t kSmallest = 8;
  if (count > vector.capacity()) vector.reserve(std::max({kSmallest, count, vector.capacity() * 2}));
}

template <typename Vector>
void ReserveOneMore(Vector& vector) {
  ReserveFor(vector, vector.size() + 1);
}

}  // namespace objectstore
