// See sort_order.h.
#include "sort_order.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "growth.h"

namespace objectstore {

namespace {

constexpr uint64_t kSignBit = uint64_t{1} << 63;

uint64_t OrderedSigned(int64_t number) { return static_cast<uint64_t>(number) ^ kSignBit; }

// Doubles by value; the two zeros are equal; everything that is not a number is equal and comes last.
uint64_t OrderedDouble(double number) {
  if (std::isnan(number)) return ~uint64_t{0};
  const auto bits = std::bit_cast<uint64_t>(number == 0 ? 0.0 : number);
  return (bits & kSignBit) != 0 ? ~bits : bits | kSignBit;
}

uint64_t OrderedNumber(const CEPROPVAL& value) {
  switch (TypeOf(value.propid)) {
    case CEVT_I2:
      return OrderedSigned(value.val.iVal);
    case CEVT_I4:
      return OrderedSigned(value.val.lVal);
    case CEVT_R8:
      return OrderedDouble(value.val.dblVal);
    case CEVT_BOOL:
      return value.val.boolVal != 0 ? 1 : 0;
    case CEVT_UI2:
      return value.val.uiVal;
    case CEVT_UI4:
      return value.val.ulVal;
    default:
      return uint64_t{value.val.filetime.dwHighDateTime} << 32 | value.val.filetime.dwLowDateTime;
  }
}

int CompareTextKeys(const uint8_t* a, const uint8_t* b) {
  return std::strcmp(reinterpret_cast<const char*>(a), reinterpret_cast<const char*>(b));
}

}  // namespace

void SortOrder::Build(std::span<const RecordRef> records) {
  std::vector<Entry> present;
  std::vector<Record*> absent;
  present.reserve(records.size());
  absent.reserve(records.size());
  for (const RecordRef& record : records) PrepareKey(*record);
  Fill(records, present, absent);
  present_.swap(present);
  absent_.swap(absent);
  built_ = true;
  put_off_ = false;
}

void SortOrder::Settle(std::span<const RecordRef> records) {
  moves_since_asked_ = 0;
  if (!put_off_) return;
  Fill(records, present_, absent_);
  put_off_ = false;
}

// The vectors have the room and the records have their keys.
void SortOrder::Fill(std::span<const RecordRef> records, std::vector<Entry>& present,
                     std::vector<Record*>& absent) const {
  present.clear();
  absent.clear();
  for (const RecordRef& record : records) {
    const CEPROPVAL* value = record->Find(spec_.propid);
    if (value == nullptr) {
      absent.push_back(record.get());
    } else {
      present.push_back({KeyOfRecord(*record, *value).lead, record.get()});
    }
  }
  std::sort(present.begin(), present.end(), [this](const Entry& a, const Entry& b) {
    return EntryBefore(a, {b.lead, b.record->text_keys[slot_].get()}, b.record->oid());
  });
}

// Whether a record's change of place is to wait. Below so many, moving each is cheaper than sorting all.
bool SortOrder::PutOff() {
  constexpr size_t kFewMoves = 16;
  ++moves_since_asked_;
  if (moves_since_asked_ > std::max(kFewMoves, (present_.size() + absent_.size()) / 16)) put_off_ = true;
  return put_off_;
}

bool SortOrder::HasEqualKeys() const {
  for (size_t i = 1; i < present_.size(); ++i) {
    const Entry& entry = present_[i];
    if (Compare(present_[i - 1], {entry.lead, entry.record->text_keys[slot_].get()}) == 0) return true;
  }
  return false;
}

Record* SortOrder::At(size_t position) const {
  const size_t begin = present_begin();
  if (position >= begin && position - begin < present_.size()) return present_[position - begin].record;
  return absent_[position < begin ? position : position - present_.size()];
}

size_t SortOrder::PositionOf(const Record& record) const {
  const CEPROPVAL* value = record.Find(spec_.propid);
  if (value == nullptr) return AbsentIndex(record.oid()) + (UnknownFirst() ? 0 : present_.size());
  return present_begin() + PresentIndex(KeyOfRecord(record, *value), record.oid());
}

void SortOrder::PrepareKey(Record& record) const {
  if (!IsText() || record.text_keys[slot_] != nullptr) return;
  const CEPROPVAL* value = record.Find(spec_.propid);
  if (value == nullptr) return;
  const Collation& collation = Collation::ForFlags(spec_.dwFlags);
  uint8_t room[512];
  const size_t size = collation.KeyOf(value->val.lpwstr, value->wLenData, room, sizeof room);
  std::unique_ptr<uint8_t[]> key(new uint8_t[size]);
  if (size <= sizeof room) {
    std::memcpy(key.get(), room, size);
  } else {
    collation.KeyOf(value->val.lpwstr, value->wLenData, key.get(), size);
  }
  record.text_keys[slot_] = std::move(key);
}

void SortOrder::Reserve(size_t count) {
  ReserveFor(present_, count);
  ReserveFor(absent_, count);
}

void SortOrder::Insert(Record& record) {
  if (put_off_) return;
  const CEPROPVAL* value = record.Find(spec_.propid);
  if (value == nullptr) {
    absent_.insert(absent_.begin() + static_cast<ptrdiff_t>(AbsentIndex(record.oid())), &record);
    return;
  }
  const SortKey key = KeyOfRecord(record, *value);
  const size_t index = PresentIndex(key, record.oid());
  if (index != present_.size() && PutOff()) return;
  present_.insert(present_.begin() + static_cast<ptrdiff_t>(index), {key.lead, &record});
}

void SortOrder::Erase(const Record& record) {
  if (put_off_) return;
  const CEPROPVAL* value = record.Find(spec_.propid);
  if (value == nullptr) {
    absent_.erase(absent_.begin() + static_cast<ptrdiff_t>(AbsentIndex(record.oid())));
    return;
  }
  const size_t index = PresentIndex(KeyOfRecord(record, *value), record.oid());
  present_.erase(present_.begin() + static_cast<ptrdiff_t>(index));
}

bool SortOrder::Replace(const Record& before, Record& after) {
  if (put_off_) return true;
  const CEPROPVAL* old_value = before.Find(spec_.propid);
  const CEPROPVAL* new_value = after.Find(spec_.propid);
  if (old_value == nullptr && new_value == nullptr) {
    absent_[AbsentIndex(after.oid())] = &after;
    return false;
  }
  if (old_value == nullptr || new_value == nullptr) {
    Erase(before);
    Insert(after);
    return true;
  }
  if (!SameValue(*old_value, *new_value) && PutOff()) return true;
  const SortKey new_key = KeyOfRecord(after, *new_value);
  const size_t from = PresentIndex(KeyOfRecord(before, *old_value), before.oid());
  size_t to = PresentIndex(new_key, after.oid());
  const auto entries = present_.begin();
  if (to > from) {  // its own entry is counted among those before it
    --to;
    std::move(entries + static_cast<ptrdiff_t>(from) + 1, entries + static_cast<ptrdiff_t>(to) + 1,
              entries + static_cast<ptrdiff_t>(from));
  } else {
    std::move_backward(entries + static_cast<ptrdiff_t>(to), entries + static_cast<ptrdiff_t>(from),
                       entries + static_cast<ptrdiff_t>(from) + 1);
  }
  present_[to] = {new_key.lead, &after};
  return to != from;
}

SortKey SortOrder::KeyOfValue(const CEPROPVAL& measured, std::vector<uint8_t>& scratch) const {
  if (!IsText()) return {LeadOfNumber(measured), nullptr};
  constexpr size_t kUsualKeyBytes = 512;
  if (scratch.size() < kUsualKeyBytes) scratch.resize(kUsualKeyBytes);
  const Collation& collation = Collation::ForFlags(spec_.dwFlags);
  const size_t size = collation.KeyOf(measured.val.lpwstr, measured.wLenData, scratch.data(), scratch.size());
  if (size > scratch.size()) {
    scratch.resize(size);
    collation.KeyOf(measured.val.lpwstr, measured.wLenData, scratch.data(), scratch.size());
  }
  return {LeadOfText(scratch.data()), scratch.data()};
}

size_t SortOrder::FirstNotBefore(const SortKey& key) const { return present_begin() + PresentIndex(key, 0); }

bool SortOrder::HoldsEqual(size_t position, const SortKey& key) const {
  const size_t begin = present_begin();
  return position >= begin && position - begin < present_.size() && Compare(present_[position - begin], key) == 0;
}

// The first eight bytes as a number, so that most comparisons need not follow a pointer.
uint64_t SortOrder::LeadOfText(const uint8_t* key) const {
  uint64_t lead = 0;
  int shift = 56;
  for (; shift >= 0 && *key != 0; ++key, shift -= 8) lead |= uint64_t{*key} << shift;
  return Descending() ? ~lead : lead;
}

uint64_t SortOrder::LeadOfNumber(const CEPROPVAL& value) const {
  const uint64_t lead = OrderedNumber(value);
  if (!Descending()) return lead;
  return ~lead;
}

SortKey SortOrder::KeyOfRecord(const Record& record, const CEPROPVAL& value) const {
  if (!IsText()) return {LeadOfNumber(value), nullptr};
  const uint8_t* text = record.text_keys[slot_].get();
  return {LeadOfText(text), text};
}

// Below zero when the entry comes before the key.
int SortOrder::Compare(const Entry& entry, const SortKey& key) const {
  if (entry.lead != key.lead) return entry.lead < key.lead ? -1 : 1;
  if (key.text == nullptr) return 0;
  const int difference = CompareTextKeys(entry.record->text_keys[slot_].get(), key.text);
  return Descending() ? -difference : difference;
}

bool SortOrder::EntryBefore(const Entry& entry, const SortKey& key, CEOID oid) const {
  const int difference = Compare(entry, key);
  return difference != 0 ? difference < 0 : entry.record->oid() < oid;
}

size_t SortOrder::PresentIndex(const SortKey& key, CEOID oid) const {
  const auto found = std::partition_point(present_.begin(), present_.end(),
                                          [&](const Entry& entry) { return EntryBefore(entry, key, oid); });
  return static_cast<size_t>(found - present_.begin());
}

size_t SortOrder::AbsentIndex(CEOID oid) const {
  const auto found =
      std::partition_point(absent_.begin(), absent_.end(), [oid](const Record* record) { return record->oid() < oid; });
  return static_cast<size_t>(found - absent_.begin());
}

}  // namespace objectstore
