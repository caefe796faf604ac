// What the campaign throws when the library did not keep its word; its text says all that is known about it.
#pragma once

#include <stdexcept>
#include <string>

namespace kills {

class BrokenPromise : public std::runtime_error {
 public:
  explicit BrokenPromise(const std::string& what) : std::runtime_error(what) {}
};

}  // namespace kills
