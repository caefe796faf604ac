// See packed_record.h.
#include "packed_record.h"

namespace bench {

std::string PackedRecord::Packed(int32_t number, int32_t day, const std::array<std::string_view, kFieldCount>& texts) {
  size_t size = kHeader;
  for (const std::string_view text : texts) size += text.size() + 1;
  std::string packed(size, '\0');
  std::memcpy(packed.data(), &number, sizeof number);
  std::memcpy(packed.data() + sizeof number, &day, sizeof day);
  size_t end = kHeader;
  for (size_t i = 0; i < kFieldCount; ++i) {
    std::memcpy(packed.data() + end, texts[i].data(), texts[i].size());
    end += texts[i].size();
    const auto stored_end = static_cast<uint16_t>(end);
    std::memcpy(packed.data() + kEnds + 2 * i, &stored_end, sizeof stored_end);
    ++end;
  }
  return packed;
}

std::string PackedRecord::Pack(const Record& record) {
  std::array<std::string_view, kFieldCount> texts;
  for (size_t i = 0; i < kFieldCount; ++i) texts[i] = record.texts[i].bytes;
  return Packed(record.number, record.day, texts);
}

std::string PackedRecord::WithField(size_t field, std::string_view text) const {
  std::array<std::string_view, kFieldCount> texts;
  for (size_t i = 0; i < kFieldCount; ++i) texts[i] = i == field ? text : Text(i);
  return Packed(number(), day(), texts);
}

}  // namespace bench
