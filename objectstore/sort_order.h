// One sort order of a database: its records that have the sort property, kept sorted by it, and those that lack it,
// which stand together at one end.
//
// (I1) Once built, an order holds every record of its database once, except between a change that was put off and the
// next Settle: when many records change places and nobody asks where they stand, sorting all once is cheaper than
// moving each. (I2) Equal keys stand in ascending order of the identifier, also in a descending order. (I3) Keys are
// never stored in a file: another version of the collation cannot harm a volume.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "collation.h"
#include "record.h"

namespace objectstore {

// A key in the order's own direction: leads are compared first, as numbers; of equal leads the texts decide.
struct SortKey {
  uint64_t lead = 0;
  const uint8_t* text = nullptr;  // null for numbers
};

class SortOrder {
 public:
  // The slot is the order's place in its database's list, and that of its keys in each record.
  SortOrder(const SORTORDERSPEC& spec, size_t slot);

  const SORTORDERSPEC& spec() const { return spec_; }
  bool built() const { return built_; }
  bool IsUnique() const { return (spec_.dwFlags & CEDB_SORT_UNIQUE) != 0; }
  bool ForbidsAbsence() const { return (spec_.dwFlags & (CEDB_SORT_UNIQUE | CEDB_SORT_NONNULL)) != 0; }

  // Sorts the records of a database, given in ascending order of the identifier. On bad_alloc nothing has changed.
  void Build(std::span<const RecordRef> records);

  // Two neighbours have the same key.
  bool HasEqualKeys() const;
  bool HasAbsent() const { return !absent_.empty(); }

  // Catches up with changes that were put off. Comes before every question below and needs no memory.
  void Settle(std::span<const RecordRef> records) {
    moves_since_asked_ = 0;
    if (put_off_) CatchUp(records);
  }

  // Records may hold text keys of this order.
  bool has_text_keys() const { return has_text_keys_; }

  // It is built and nothing is put off.
  bool settled() const { return built_ && !put_off_; }

  // Every record has the property, and the order is that of the identifiers. False also while that is not known.
  bool GoesByIdentifier() const { return by_identifier_ && !put_off_; }

  Record* At(size_t position) const {
    if (absent_.empty()) return present_[position].record;
    const size_t begin = present_begin();
    if (position >= begin && position - begin < present_.size()) return present_[position - begin].record;
    return absent_[position < begin ? position : position - present_.size()];
  }

  // The same; next becomes the record behind it, if that is at hand.
  Record* At(size_t position, const Record*& next) const {
    if (!absent_.empty()) return At(position);
    if (position + 1 < present_.size()) next = present_[position + 1].record;
    return present_[position].record;
  }

  // Where the record stands, or would stand: the number of records before it. Its key must have been prepared.
  size_t PositionOf(const Record& record) const;

  // Computes the record's text key, if this order needs one. May throw bad_alloc; the calls below do not, then.
  void PrepareKey(Record& record) const;

  // Room for so many records.
  void Reserve(size_t count);
  void Insert(Record& record);
  void Erase(const Record& record);

  // Puts after in the place of before.
  void Replace(const Record& before, Record& after);

  // The records whose keys equal, or do not sort before, the key of a value; positions within the whole order.
  SortKey KeyOfValue(const Value& value, std::vector<uint8_t>& scratch) const;
  SortKey KeyOfNumber(uint64_t number) const { return {LeadOfNumber(number), nullptr}; }
  SortKey KeyOfUnsigned(uint32_t number) const { return {number ^ flipped_bits_, nullptr}; }
  size_t FirstNotBefore(const SortKey& key) const;
  bool HoldsEqual(size_t position, const SortKey& key) const { return EqualAt(position, key) != nullptr; }

  // The record at a position, if there is one with such a key; else null.
  const Record* EqualAt(size_t position, const SortKey& key) const {
    const size_t index = position - present_begin();  // of positions before it a very large number
    if (index >= present_.size()) return nullptr;
    const Entry& entry = present_[index];
    if (entry.lead != key.lead) return nullptr;
    return key.text == nullptr || Compare(entry, key) == 0 ? entry.record : nullptr;
  }

  // The same if it is the first of those that have this number.
  const Record* FirstEqualAt(size_t position, const SortKey& number) const {
    const size_t index = position - present_begin();
    if (index >= present_.size() || present_[index].lead != number.lead) return nullptr;
    return index == 0 || present_[index - 1].lead != number.lead ? present_[index].record : nullptr;
  }

  // The positions [begin, end) of the records that have the property.
  size_t present_begin() const { return UnknownFirst() ? absent_.size() : 0; }
  size_t present_end() const { return present_begin() + present_.size(); }

 private:
  struct Entry {
    uint64_t lead;
    Record* record;
  };

  bool UnknownFirst() const { return (spec_.dwFlags & CEDB_SORT_UNKNOWNFIRST) != 0; }
  bool Descending() const { return (spec_.dwFlags & CEDB_SORT_DESCENDING) != 0; }
  bool SortsText() const { return IsText(spec_.propid); }
  template <typename Prepare>
  void Fill(std::span<const RecordRef> records, std::vector<Entry>& present, std::vector<Record*>& absent,
            Prepare prepare) const;
  void Sort(std::span<Entry> entries, size_t common_bytes) const;
  void SortBehindLead(std::span<Entry> entries, size_t common_bytes) const;
  static bool AscendByIdentifier(std::span<const Entry> entries);
  void CatchUp(std::span<const RecordRef> records);
  bool PutOff();
  uint64_t LeadOfText(const uint8_t* key) const;  // which has eight bytes at least
  uint64_t LeadOfNumber(uint64_t number) const {
    return (numbers_are_ordered_ ? number : OrderedNumber(number)) ^ flipped_bits_;
  }
  uint64_t OrderedNumber(uint64_t number) const;
  size_t IndexIn(const Record& record) const { return record.IndexOf(spec_.propid); }
  SortKey KeyOfRecord(const Record& record, size_t index) const;
  int Compare(const Entry& entry, const SortKey& key) const;
  bool EntryBefore(const Entry& entry, const SortKey& key, CEOID oid) const;
  size_t PresentIndex(const SortKey& key, CEOID oid) const;
  size_t AbsentIndex(CEOID oid) const;

  SORTORDERSPEC spec_;
  size_t slot_;
  bool numbers_are_ordered_;  // a number's bytes are its lead, but for the direction
  uint64_t flipped_bits_;     // all of them in a descending order, else none
  bool built_ = false;
  bool by_identifier_ = false;
  bool has_text_keys_ = false;    // also when building failed half way
  bool put_off_ = false;          // present_ and absent_ are not current; their records may be gone
  size_t moves_since_asked_ = 0;  // records that changed places since somebody asked
  std::vector<Entry> present_;
  std::vector<Record*> absent_;  // by identifier
};

}  // namespace objectstore
