// The order of texts in which XKRDB sorts: Unicode's root collation, third strength. For the stores that have no order
// of texts of their own.
#pragma once

#include <unicode/ucol.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace bench {

class RootCollation {
 public:
  RootCollation() {
    UErrorCode status = U_ZERO_ERROR;
    collator_ = ucol_open("", &status);
    ucol_setStrength(collator_, UCOL_TERTIARY);
    if (U_FAILURE(status)) throw std::runtime_error("no root collation");
  }
  ~RootCollation() { ucol_close(collator_); }
  RootCollation(const RootCollation&) = delete;
  RootCollation& operator=(const RootCollation&) = delete;

  // Below 0, 0 or above, for UTF-8.
  int Compare(std::string_view a, std::string_view b) const {
    UErrorCode status = U_ZERO_ERROR;
    return ucol_strcollUTF8(collator_, a.data(), static_cast<int32_t>(a.size()), b.data(),
                            static_cast<int32_t>(b.size()), &status);
  }

  // Bytes that compare as the text does.
  std::string Key(std::u16string_view text) const {
    const auto length = static_cast<int32_t>(text.size());
    std::string key(static_cast<size_t>(ucol_getSortKey(collator_, text.data(), length, nullptr, 0)), '\0');
    ucol_getSortKey(collator_, text.data(), length, reinterpret_cast<uint8_t*>(key.data()),
                    static_cast<int32_t>(key.size()));
    return key;
  }

 private:
  UCollator* collator_;
};

}  // namespace bench
