// What every use of a POSIX call needs.
#pragma once

#include <cerrno>

namespace objectstore {

// Makes a system call anew for as long as signals interrupt it.
template <typename Call>
auto Uninterrupted(Call call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

}  // namespace objectstore
