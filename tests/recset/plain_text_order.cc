// The order of texts, by ICU's collator itself.
#include <unicode/ucol.h>

#include <cstdlib>

#include "plain_values.h"

namespace plain {
namespace {

UCollator* RootCollator() {
  static UCollator* const collator = [] {
    UErrorCode error = U_ZERO_ERROR;
    UCollator* opened = ucol_open("root", &error);
    if (U_FAILURE(error)) std::abort();
    ucol_setStrength(opened, UCOL_TERTIARY);
    return opened;
  }();
  return collator;
}

}  // namespace

int CompareText(const Text& a, const Text& b) {
  return ucol_strcoll(RootCollator(), a.data(), static_cast<int32_t>(a.size()), b.data(),
                      static_cast<int32_t>(b.size()));
}

}  // namespace plain
