// A failure of ICU as an exception: no memory is std::bad_alloc, anything else IcuFailure.
#pragma once

#include <unicode/utypes.h>

#include <exception>
#include <new>

namespace wordbreaker {

class IcuFailure : public std::exception {
 public:
  explicit IcuFailure(UErrorCode status) : status_(status) {}
  const char* what() const noexcept override { return u_errorName(status_); }

 private:
  UErrorCode status_;
};

inline void ThrowOnFailure(UErrorCode status) {
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  if (U_FAILURE(status)) throw IcuFailure(status);
}

}  // namespace wordbreaker
