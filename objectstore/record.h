// One record of the image, in one contiguous allocation: a list of its properties, then the bytes of texts, blobs and
// numbers that do not fit into the list.
//
// A record is not changed once it is built: a write builds another and puts it in its place. The one exception is a
// number of at most four bytes, which is set where it stands. Records are counted references because a pointer of an
// open database may still stand in the gap that a deleted record left.
#pragma once

#include <array>
#include <cstring>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "stored_property.h"

namespace objectstore {

class RecordRef;

// What the file lacks of a record: nothing, the value of one property of four bytes (its identifier), more, or all of
// it.
inline constexpr CEPROPID kUnchanged = 0;
inline constexpr CEPROPID kChangedWhole = 0xFFFFFFFF;
inline constexpr CEPROPID kNotInFile = 0xFFFFFFFE;
constexpr bool IsNumber(CEPROPID lacks) { return lacks != kUnchanged && lacks < kNotInFile; }

// Memory for records that come together and stay: it is given back as a whole, when the last of them has gone.
class RecordArena {
 public:
  void* Allocate(size_t bytes);
  void Swap(RecordArena& other);

  // That have ever been asked of it.
  size_t bytes() const { return bytes_; }

 private:
  std::vector<std::unique_ptr<std::byte[]>> chunks_;
  std::byte* next_ = nullptr;
  size_t left_ = 0;
  size_t bytes_ = 0;
};

class Record {
 public:
  // The values' bytes may lie anywhere. Without an arena the record is an allocation of its own.
  static RecordRef Create(CEOID oid, std::span<const Value> values, RecordArena* arena = nullptr);

  // For whoever knows already what the values count for.
  static RecordRef Create(CEOID oid, std::span<const Value> values, uint64_t counted_bytes,
                          RecordArena* arena = nullptr);

  CEOID oid() const { return oid_; }

  // Whoever moves to a record reads it next: its bytes may be on their way while the call returns.
  void Prefetch() const {
    constexpr size_t kUsualBytes = 768;
    constexpr size_t kLineBytes = 64;
    const auto* const begin = reinterpret_cast<const std::byte*>(this);
#pragma GCC unroll 12
    for (size_t offset = 0; offset < kUsualBytes; offset += kLineBytes) __builtin_prefetch(begin + offset);
  }

  // Properties stand in the order in which they were first written.
  size_t property_count() const { return property_count_; }
  CEPROPID IdAt(size_t index) const { return Properties()[index].id; }
  Value At(size_t index) const {
    const Property& property = Properties()[index];
    Value value;
    value.id = property.id;
    if (property.form == Form::kNumber) {
      value.number = property.value;
      return value;
    }
    value.bytes = Bytes() + property.value;
    if (property.form == Form::kLongNumber) {
      std::memcpy(&value.number, value.bytes, sizeof value.number);
      return value;
    }
    value.length = property.length;
    value.narrow = property.form == Form::kNarrowText;
    return value;
  }

  bool IsTextAt(size_t index) const { return HoldsText(Properties()[index].form); }

  // Adds the property to a client's block.
  [[gnu::always_inline]] void AddTo(BlockWriter& writer, size_t index) const {
    if (IsTextAt(index)) {
      const Property& text = Properties()[index];
      writer.AddText(text.id, Bytes() + text.value, text.length, text.form == Form::kNarrowText);
    } else {
      writer.AddOther(At(index));
    }
  }

  // Fills a client's block of so many bytes with one short text.
  bool HasShortTextAt(size_t index) const {
    const Property& text = Properties()[index];
    return IsShortText(text.length, text.form == Form::kNarrowText);
  }
  void PutShortText(size_t index, BYTE* block) const {
    const Property& text = Properties()[index];
    BYTE* const place = block + sizeof(CEPROPVAL);
    WidenShortText(Bytes() + text.value, text.length, place);
    BlockWriter::PutText(block, text.id, place);
  }

  // Fills a client's block of so many bytes with texts that stand next to each other, and nothing else. The last one
  // comes first: each may spoil what stands before it.
  [[gnu::always_inline]] void PutTexts(size_t first, size_t count, BYTE* block, size_t block_bytes) const {
    static_assert(sizeof(CEPROPVAL) >= kBytesBeforeShortText && sizeof(Record) >= kBytesBeforeShortText);
    const uint8_t* const bytes = Bytes();
    const Property* const texts = Properties() + first;
    const auto put = [&](const Property& text, BYTE* end) {
      BYTE* const place = end - (size_t{text.length} + 1) * sizeof(WCHAR);
      const uint8_t* const units = bytes + text.value;
      const bool narrow = text.form == Form::kNarrowText;
      if (IsShortText(text.length, narrow)) {
        WidenShortText(units, text.length, place);
      } else {
        CopyUnits(units, text.length, narrow, place);
        std::memset(end - sizeof(WCHAR), 0, sizeof(WCHAR));
      }
      return place;
    };
    const Property& last = texts[count - 1];
    BYTE* const last_place = put(last, block + block_bytes);
    BYTE* place = last_place;
    for (size_t i = count - 1; i-- > 0;) {
      place = put(texts[i], place);
      BlockWriter::PutText(block + i * sizeof(CEPROPVAL), texts[i].id, place);
    }
    BlockWriter::PutText(block + (count - 1) * sizeof(CEPROPVAL), last.id, last_place);  // what the first text spoiled
  }

  // What the value adds to a client's block that is so many bytes long.
  size_t BlockBytesBehind(size_t block_bytes, size_t index) const {
    const Property& property = Properties()[index];
    switch (property.form) {
      case Form::kNarrowText:
      case Form::kWideText:
        return AlignUp(block_bytes, alignof(WCHAR)) + (size_t{property.length} + 1) * sizeof(WCHAR);
      case Form::kBlob:
        return AlignUp(block_bytes, kBlobAlignment) + property.length;
      default:
        return block_bytes;
    }
  }

  // Of a property that is a number, a boolean or a time.
  uint64_t WholeNumberAt(size_t index) const {
    const Property& property = Properties()[index];
    uint64_t number = property.value;
    if (property.form == Form::kLongNumber) std::memcpy(&number, Bytes() + property.value, sizeof number);
    return number;
  }

  // Where a property stands; kNowhere when the record has none such. Looking begins at the hint, so that whoever asks
  // for one after the other finds each at once.
  static constexpr size_t kNowhere = ~size_t{0};
  size_t IndexOf(CEPROPID id, size_t hint = 0) const {
    const Property* const properties = Properties();
    if (HasAt(hint, id)) return hint;
    for (size_t i = hint; i < property_count_; ++i) {
      if (properties[i].id == id) return i;
    }
    for (size_t i = 0; i < hint && i < property_count_; ++i) {
      if (properties[i].id == id) return i;
    }
    return kNowhere;
  }
  bool Has(CEPROPID id) const { return IndexOf(id) != kNowhere; }

  // Whether the property stands there.
  bool HasAt(size_t index, CEPROPID id) const { return index < property_count_ && Properties()[index].id == id; }

  // Whether these properties stand next to each other from there on.
  bool HasAt(size_t first, std::span<const CEPROPID> ids) const {
    if (ids.size() > property_count_ - first) return false;
    const Property* property = Properties() + first;
    for (const CEPROPID id : ids) {
      if (property++->id != id) return false;
    }
    return true;
  }

  // The bytes of a client's block for these properties, if they stand next to each other from there on and are texts;
  // else 0.
  size_t BlockBytesOfTexts(size_t first, std::span<const CEPROPID> ids) const {
    if (first >= property_count_ || ids.size() > property_count_ - first) return 0;
    size_t units = ids.size();  // each text's end
    const Property* property = Properties() + first;
    for (const CEPROPID id : ids) {
      if (property->id != id || !HoldsText(property->form)) return 0;
      units += property++->length;
    }
    return ids.size() * sizeof(CEPROPVAL) + units * sizeof(WCHAR);
  }

  // Of a property that is a number of four bytes.
  uint32_t NumberAt(size_t index) const { return Properties()[index].value; }
  // It will be read soon, and so will what stands in front of the properties.
  void FetchNumberAt(size_t index) const {
    __builtin_prefetch(&oid_);
    __builtin_prefetch(&Properties()[index].value);
  }
  void SetNumberAt(size_t index, uint32_t number) { Properties()[index].value = number; }

  // Puts the numbers of a record that has the same properties as another, all of them numbers of at most four bytes,
  // into every so manyeth place; false if it has not, and then they mean nothing.
  bool NumbersLike(const Record& other, uint32_t* to, size_t stride) const {
    const size_t count = property_count_;
    if (count != other.property_count_) return false;
    const Property* const alike = other.Properties();
    const Property* const properties = Properties();
    CEPROPID different = 0;
    for (size_t i = 0; i < count; ++i) {
      different |= properties[i].id ^ alike[i].id;
      to[i * stride] = properties[i].value;
    }
    return different == 0;
  }

  // Whether both have the same property there, with the same value.
  bool SameAt(size_t index, const Record& other) const;

  // What the record counts for in its database's size and against the limit of one record.
  uint32_t counted_bytes() const { return counted_bytes_; }

  // The text sort key of each order, once an order has needed it. It belongs to the record's text, so it is no change.
  std::array<std::unique_ptr<uint8_t[]>, CEDB_MAXSORTORDER> text_keys;

  // What the file lacks since a time, which its database counts in flushes. Once that time is over the file lacks
  // nothing.
  CEPROPID LacksSince(uint64_t time) const { return lacks_since_ == time ? lacks_ : kUnchanged; }
  void SetLacks(CEPROPID lacks, uint64_t time) {
    lacks_ = lacks;
    lacks_since_ = time;
  }

  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

 private:
  friend class RecordRef;
  enum class Form : uint16_t { kNumber, kLongNumber, kNarrowText, kWideText, kBlob };

  struct Property {
    CEPROPID id;
    uint16_t length;  // units of a text, bytes of a blob
    Form form;
    uint32_t value;  // a number of at most four bytes; else where the bytes begin, behind the list
  };

  Record(CEOID oid, size_t property_count, size_t counted_bytes, bool in_arena)
      : oid_(oid),
        property_count_(static_cast<uint32_t>(property_count)),
        counted_bytes_(static_cast<uint32_t>(counted_bytes)),
        in_arena_(in_arena) {}
  ~Record() = default;

  static bool HoldsText(Form form) { return form == Form::kNarrowText || form == Form::kWideText; }
  static Form FormOf(const Value& value);
  static size_t BytesOf(Form form, size_t length);
  static void Fill(std::span<const Value> values, Property* properties);
  const Property* Properties() const { return reinterpret_cast<const Property*>(this + 1); }
  Property* Properties() { return reinterpret_cast<Property*>(this + 1); }
  const uint8_t* Bytes() const { return reinterpret_cast<const uint8_t*>(Properties() + property_count_); }
  void Release();

  uint64_t lacks_since_ = 0;
  CEPROPID lacks_ = kUnchanged;
  CEOID oid_;
  uint32_t references_ = 0;
  uint32_t property_count_;
  uint32_t counted_bytes_;
  bool in_arena_;
};

// What a record of these values counts for.
uint64_t CountedBytes(std::span<const Value> values);

// All values of a record.
void AppendValues(const Record& record, std::vector<Value>& values);

// Which change makes one record's properties into the other's.
CEPROPID ChangeBetween(const Record& before, const Record& after);

// A counted reference to a record.
class RecordRef {
 public:
  RecordRef() = default;
  explicit RecordRef(Record* record) : record_(record) {
    if (record_ != nullptr) ++record_->references_;
  }
  RecordRef(const RecordRef& other) : RecordRef(other.record_) {}
  RecordRef(RecordRef&& other) noexcept : record_(std::exchange(other.record_, nullptr)) {}
  RecordRef& operator=(RecordRef other) noexcept {
    std::swap(record_, other.record_);
    return *this;
  }
  ~RecordRef() {
    if (record_ != nullptr) record_->Release();
  }

  Record* get() const { return record_; }
  Record* operator->() const { return record_; }
  Record& operator*() const { return *record_; }
  explicit operator bool() const { return record_ != nullptr; }

  // Takes one out of a list. The others move as plain pointers: nothing is counted.
  static RecordRef TakeOut(std::vector<RecordRef>& list, size_t position) {
    RecordRef taken = std::move(list[position]);
    for (size_t i = position + 1; i < list.size(); ++i) list[i - 1].record_ = list[i].record_;
    list.back().record_ = nullptr;
    list.pop_back();
    return taken;
  }

 private:
  Record* record_ = nullptr;
};

}  // namespace objectstore
