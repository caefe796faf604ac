// See sort_order.h.
#include "sort_order.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

#include "growth.h"

namespace objectstore {

namespace {

constexpr uint64_t kSignBit = uint64_t{1} << 63;

constexpr size_t kLeadBytes = sizeof(SortKey::lead);

uint64_t BigEndian64(const uint8_t* bytes) {
  uint64_t number;
  std::memcpy(&number, bytes, sizeof number);
  return std::endian::native == std::endian::little ? __builtin_bswap64(number) : number;
}

uint64_t OrderedSigned(int64_t number) { return static_cast<uint64_t>(number) ^ kSignBit; }

// Doubles by value; the two zeros are equal; everything that is not a number is equal and comes last.
uint64_t OrderedDouble(double number) {
  if (std::isnan(number)) return ~uint64_t{0};
  const auto bits = std::bit_cast<uint64_t>(number == 0 ? 0.0 : number);
  return (bits & kSignBit) != 0 ? ~bits : bits | kSignBit;
}

bool IsOrderedAsItStands(CEPROPID id) {
  const WORD type = TypeOf(id);
  return type == CEVT_UI2 || type == CEVT_UI4 || type == CEVT_FILETIME;
}

// A text in units, in a buffer of its own when it is a usual one.
class UnitsOf {
 public:
  explicit UnitsOf(const Value& value) : data_(value.client) {
    if (data_ != nullptr) return;
    if (value.length > usual_.size()) {
      long_.resize(value.length);
      data_ = long_.data();
      CopyUnits(value.bytes, value.length, value.narrow, long_.data());
    } else {
      data_ = usual_.data();
      CopyUnits(value.bytes, value.length, value.narrow, usual_.data());
    }
  }
  UnitsOf(const UnitsOf&) = delete;
  UnitsOf& operator=(const UnitsOf&) = delete;
  const WCHAR* data() const { return data_; }

 private:
  std::array<WCHAR, 256> usual_;
  std::vector<WCHAR> long_;
  const WCHAR* data_;
};

int CompareTextKeys(const uint8_t* a, const uint8_t* b) {
  return std::strcmp(reinterpret_cast<const char*>(a), reinterpret_cast<const char*>(b));
}

bool SameKey(const SortKey& a, const SortKey& b) {
  return a.lead == b.lead && (a.text == nullptr || CompareTextKeys(a.text, b.text) == 0);
}

}  // namespace

SortOrder::SortOrder(const SORTORDERSPEC& spec, size_t slot)
    : spec_(spec),
      slot_(slot),
      numbers_are_ordered_(IsOrderedAsItStands(spec.propid)),
      flipped_bits_(Descending() ? ~uint64_t{0} : 0) {}

void SortOrder::Build(std::span<const RecordRef> records) {
  std::vector<Entry> present;
  std::vector<Record*> absent;
  present.reserve(records.size());
  absent.reserve(records.size());
  has_text_keys_ = SortsText();
  // In one pass: a record and its key are at hand.
  Fill(records, present, absent, [this](Record& record) { PrepareKey(record); });
  present_.swap(present);
  absent_.swap(absent);
  by_identifier_ = absent_.empty() && AscendByIdentifier(present_);
  built_ = true;
  put_off_ = false;
}

void SortOrder::CatchUp(std::span<const RecordRef> records) {
  Fill(records, present_, absent_, [](Record&) {});
  by_identifier_ = absent_.empty() && AscendByIdentifier(present_);
  put_off_ = false;
}

// The vectors have the room; the records have their keys once they are prepared.
template <typename Prepare>
void SortOrder::Fill(std::span<const RecordRef> records, std::vector<Entry>& present, std::vector<Record*>& absent,
                     Prepare prepare) const {
  present.clear();
  absent.clear();
  for (const RecordRef& record : records) {
    prepare(*record);
    const size_t index = IndexIn(*record);
    if (index == Record::kNowhere) {
      absent.push_back(record.get());
    } else {
      present.push_back({KeyOfRecord(*record, index).lead, record.get()});
    }
  }
  Sort(present, 0);
}

// Entries that stand by identifier and have so many bytes of their keys in common, the lead not among them. Sorted by the
// lead, and where leads are equal and the texts go on, by the bytes behind. Needs no memory.
void SortOrder::Sort(std::span<Entry> entries, size_t common_bytes) const {
  const auto before = [](const Entry& a, const Entry& b) {
    return a.lead != b.lead ? a.lead < b.lead : a.record->oid() < b.record->oid();
  };
  // Records are often in order already: what they are sorted on has grown with their identifiers.
  if (!std::is_sorted(entries.begin(), entries.end(), before)) std::sort(entries.begin(), entries.end(), before);
  if (!SortsText()) return;
  for (size_t begin = 0, end = 0; begin < entries.size(); begin = end) {
    const uint64_t lead = entries[begin].lead;
    for (end = begin + 1; end < entries.size() && entries[end].lead == lead;) ++end;
    const bool texts_end = ((lead ^ flipped_bits_) & 0xFF) == 0;
    if (end - begin > 1 && !texts_end) SortBehindLead(entries.subspan(begin, end - begin), common_bytes + kLeadBytes);
  }
}

// Entries of equal leads; they have these again at the end. Texts that agree for long are compared whole: each lead takes
// its share of the stack.
void SortOrder::SortBehindLead(std::span<Entry> entries, size_t common_bytes) const {
  constexpr size_t kMostBytesByLeads = 64;
  if (common_bytes > kMostBytesByLeads) {
    std::sort(entries.begin(), entries.end(), [this](const Entry& a, const Entry& b) {
      return EntryBefore(a, {b.lead, b.record->text_keys[slot_].get()}, b.record->oid());
    });
    return;
  }
  const uint64_t lead = entries.front().lead;
  for (Entry& entry : entries) entry.lead = LeadOfText(entry.record->text_keys[slot_].get() + common_bytes);
  Sort(entries, common_bytes);
  for (Entry& entry : entries) entry.lead = lead;
}

bool SortOrder::AscendByIdentifier(std::span<const Entry> entries) {
  return std::is_sorted(entries.begin(), entries.end(),
                        [](const Entry& a, const Entry& b) { return a.record->oid() < b.record->oid(); });
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

size_t SortOrder::PositionOf(const Record& record) const {
  if (!present_.empty() && present_.back().record == &record) return present_end() - 1;
  const size_t index = IndexIn(record);
  if (index == Record::kNowhere) return AbsentIndex(record.oid()) + (UnknownFirst() ? 0 : present_.size());
  return present_begin() + PresentIndex(KeyOfRecord(record, index), record.oid());
}

void SortOrder::PrepareKey(Record& record) const {
  if (!SortsText() || record.text_keys[slot_] != nullptr) return;
  const size_t index = IndexIn(record);
  if (index == Record::kNowhere) return;
  const Value value = record.At(index);
  const UnitsOf units(value);
  const Collation& collation = Collation::ForFlags(spec_.dwFlags);
  uint8_t room[512];
  const size_t size = collation.KeyOf(units.data(), value.length, room, sizeof room);
  // In whole leads: they are read one after the other, and a key ends in a zero.
  const size_t whole_leads = (size + kLeadBytes - 1) / kLeadBytes * kLeadBytes;
  std::unique_ptr<uint8_t[]> key(new uint8_t[whole_leads]);
  if (size <= sizeof room) {
    std::memcpy(key.get(), room, size);
  } else {
    collation.KeyOf(units.data(), value.length, key.get(), size);
  }
  std::memset(key.get() + size, 0, whole_leads - size);
  record.text_keys[slot_] = std::move(key);
}

void SortOrder::Reserve(size_t count) {
  ReserveFor(present_, count);
  ReserveFor(absent_, count);
}

void SortOrder::Insert(Record& record) {
  if (put_off_) return;
  const size_t value = IndexIn(record);
  if (value == Record::kNowhere) {
    by_identifier_ = false;
    absent_.insert(absent_.begin() + static_cast<ptrdiff_t>(AbsentIndex(record.oid())), &record);
    return;
  }
  const SortKey key = KeyOfRecord(record, value);
  const size_t index = PresentIndex(key, record.oid());
  if (index != present_.size() && PutOff()) return;
  if (index != present_.size() || (index != 0 && present_.back().record->oid() > record.oid())) by_identifier_ = false;
  present_.insert(present_.begin() + static_cast<ptrdiff_t>(index), {key.lead, &record});
}

void SortOrder::Erase(const Record& record) {
  if (put_off_) return;
  const size_t value = IndexIn(record);
  if (value == Record::kNowhere) {
    absent_.erase(absent_.begin() + static_cast<ptrdiff_t>(AbsentIndex(record.oid())));
    return;
  }
  const size_t index = PresentIndex(KeyOfRecord(record, value), record.oid());
  present_.erase(present_.begin() + static_cast<ptrdiff_t>(index));
}

void SortOrder::Replace(const Record& before, Record& after) {
  if (put_off_) return;
  const size_t old_value = IndexIn(before);
  const size_t new_value = IndexIn(after);
  if (old_value == Record::kNowhere && new_value == Record::kNowhere) {
    absent_[AbsentIndex(after.oid())] = &after;
    return;
  }
  if (old_value == Record::kNowhere || new_value == Record::kNowhere) {
    Erase(before);
    Insert(after);
    return;
  }
  const SortKey old_key = KeyOfRecord(before, old_value);
  const SortKey new_key = KeyOfRecord(after, new_value);
  if (!SameKey(old_key, new_key) && PutOff()) return;
  const size_t from = PresentIndex(old_key, before.oid());
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
  if (to != from) by_identifier_ = false;
  present_[to] = {new_key.lead, &after};
}

SortKey SortOrder::KeyOfValue(const Value& value, std::vector<uint8_t>& scratch) const {
  if (!SortsText()) return {LeadOfNumber(value.number), nullptr};
  const UnitsOf units(value);
  constexpr size_t kUsualKeyBytes = 512;
  if (scratch.size() < kUsualKeyBytes) scratch.resize(kUsualKeyBytes);
  const Collation& collation = Collation::ForFlags(spec_.dwFlags);
  const size_t size = collation.KeyOf(units.data(), value.length, scratch.data(), scratch.size());
  if (size > scratch.size()) {
    scratch.resize(size);
    collation.KeyOf(units.data(), value.length, scratch.data(), scratch.size());
  }
  if (size < kLeadBytes) std::memset(scratch.data() + size, 0, kLeadBytes - size);
  return {LeadOfText(scratch.data()), scratch.data()};
}

size_t SortOrder::FirstNotBefore(const SortKey& key) const { return present_begin() + PresentIndex(key, 0); }

// The first eight bytes as a number, so that most comparisons need not follow a pointer. A shorter key has zeros behind.
uint64_t SortOrder::LeadOfText(const uint8_t* key) const { return BigEndian64(key) ^ flipped_bits_; }

uint64_t SortOrder::OrderedNumber(uint64_t number) const {
  switch (TypeOf(spec_.propid)) {
    case CEVT_I2:
      return OrderedSigned(static_cast<int16_t>(number));
    case CEVT_I4:
      return OrderedSigned(static_cast<int32_t>(number));
    case CEVT_R8:
      return OrderedDouble(std::bit_cast<double>(number));
    case CEVT_BOOL:
      return number != 0 ? 1 : 0;
    default:
      return number;
  }
}

SortKey SortOrder::KeyOfRecord(const Record& record, size_t index) const {
  if (!SortsText()) return {LeadOfNumber(record.WholeNumberAt(index)), nullptr};
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

// Records are mostly added at the end, and written once more there: the last two places are looked at first.
size_t SortOrder::PresentIndex(const SortKey& key, CEOID oid) const {
  const size_t count = present_.size();
  if (count >= 2 && EntryBefore(present_[count - 2], key, oid)) {
    return EntryBefore(present_[count - 1], key, oid) ? count : count - 1;
  }
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
