// A record as one value of a key-value store, as somebody who knows such stores packs it: number and date as integers,
// where each text ends, then the texts, each with a zero at its end.
//
// Always holds: a field is found without looking at the ones before it.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "table_data.h"

namespace bench {

class PackedRecord {
 public:
  // The bytes must outlive it.
  explicit PackedRecord(std::string_view bytes) : bytes_(bytes) {}

  static std::string Pack(const Record& record);
  // The same record with another text in one field.
  std::string WithField(size_t field, std::string_view text) const;

  int32_t number() const { return At<int32_t>(0); }
  int32_t day() const { return At<int32_t>(4); }
  // A zero stands behind it.
  std::string_view Text(size_t field) const {
    const size_t begin = field == 0 ? kHeader : End(field - 1) + 1;
    return bytes_.substr(begin, End(field) - begin);
  }

 private:
  static constexpr size_t kEnds = 8;
  static constexpr size_t kHeader = kEnds + 2 * kFieldCount;

  static std::string Packed(int32_t number, int32_t day, const std::array<std::string_view, kFieldCount>& texts);
  template <typename Number>
  Number At(size_t offset) const {
    Number number;
    std::memcpy(&number, bytes_.data() + offset, sizeof number);
    return number;
  }
  size_t End(size_t field) const { return At<uint16_t>(kEnds + 2 * field); }

  std::string_view bytes_;
};

}  // namespace bench
