// The byte in front of a property in a record's body, or of a run of properties: how values are written, which implies
// their type, and which numbers the properties have. docs/volume-format.md shows every bit.
//
// There is one way to write each sequence of properties: a run is as long as it can be.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>

#include "body_codec.h"

namespace objectstore {

// What the low four bits of a tag say, the byte in front of a property or of a run of them.
enum class PropertyCode : uint8_t {
  kI2,
  kUi2,
  kI4,
  kUi4,
  kBool,
  kR8,
  kTime,
  kNarrowText,
  kWideText,
  kBlob,
  kBlobOfZeros,
};
inline constexpr WORD kTypeOfCode[] = {CEVT_I2,       CEVT_UI2,    CEVT_I4,     CEVT_UI4,  CEVT_BOOL, CEVT_R8,
                                       CEVT_FILETIME, CEVT_LPWSTR, CEVT_LPWSTR, CEVT_BLOB, CEVT_BLOB};

inline constexpr uint32_t kLargestPropertyNumber = std::numeric_limits<uint16_t>::max();

// The bits of a tag.
struct PropertyTag {
  static constexpr uint8_t kCodeMask = 0x0F;

  // Set where the property's number is the one after that of the property before; else the number follows.
  static constexpr uint8_t kNextNumber = 0x10;

  // In the three bits above: how many more properties follow whose tag would be the same, each with the next number.
  static constexpr uint8_t kOneMore = 0x20;
  static constexpr unsigned kMoreShift = 5;
  static constexpr unsigned kMostMore = 7;
};

// Where a reader of tags stands.
class TagReader {
 public:
  explicit TagReader(Layout layout) : has_runs_(layout == Layout::kRuns) {}

  // The next property's identifier, and how its value is written.
  PropertyCode Next(BodyReader& reader, CEPROPID& id) {
    if (more_ == 0) {
      ReadTag(reader);
    } else {
      --more_;
      ++number_;
    }
    if (number_ > kLargestPropertyNumber) reader.Reject();
    id = static_cast<uint32_t>(number_) << 16 | kTypeOfCode[static_cast<size_t>(code_)];
    return code_;
  }

  // No run goes on behind the last property.
  bool IsAtRunsEnd() const { return more_ == 0; }

 private:
  void ReadTag(BodyReader& reader) {
    const uint8_t tag = reader.Get8();
    const auto code = static_cast<PropertyCode>(tag & PropertyTag::kCodeMask);
    const bool is_next = (tag & PropertyTag::kNextNumber) != 0;
    const unsigned more = tag >> PropertyTag::kMoreShift;
    const bool had_room = has_runs_ && is_next && code == code_ && room_;
    if (static_cast<size_t>(code) >= std::size(kTypeOfCode) || had_room || (more != 0 && !has_runs_)) {
      return reader.Reject();
    }
    const int64_t next = number_ + 1;
    number_ = is_next ? next : static_cast<int64_t>(reader.GetCount(kLargestPropertyNumber));
    if (!is_next && number_ == next) return reader.Reject();
    code_ = code;
    more_ = more;
    room_ = more != PropertyTag::kMostMore;
  }

  bool has_runs_;
  int64_t number_ = -1;
  PropertyCode code_ = PropertyCode::kI2;
  unsigned more_ = 0;
  bool room_ = false;  // the last run could have been longer: what would have belonged to it does not follow it
};

// Writes the tags of properties in their order, each before its value.
class TagWriter {
 public:
  void Put(CEPROPID id, PropertyCode code, BodyWriter& writer) {
    const int64_t next = number_ + 1;
    number_ = id >> 16;
    const bool is_next = number_ == next;
    if (is_next && code == code_ && room_ != 0) {
      writer.AddTo(place_, PropertyTag::kOneMore);
      --room_;
      return;
    }
    place_ = writer.size();
    code_ = code;
    room_ = PropertyTag::kMostMore;
    writer.Put8(static_cast<uint8_t>(static_cast<uint8_t>(code) | (is_next ? PropertyTag::kNextNumber : 0)));
    if (!is_next) writer.PutCount(static_cast<uint64_t>(number_));
  }

 private:
  int64_t number_ = -1;
  size_t place_ = 0;  // of the last tag
  PropertyCode code_ = PropertyCode::kI2;
  unsigned room_ = 0;  // so many more may follow it
};

}  // namespace objectstore
