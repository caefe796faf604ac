#include "plain_model.h"

#include <algorithm>
#include <limits>

#include "mdb_types.h"

namespace plain {

const Record* Database::Find(uint32_t number) const {
  for (const Record& record : live_) {
    if (record.number == number) return &record;
  }
  return nullptr;
}

uint32_t Database::Add(const std::vector<Text>& fields, const Info& info, uint8_t state) {
  live_.push_back({next_number_, state, info, fields});
  return next_number_++;
}

bool Database::Delete(uint32_t number, bool no_log) {
  const auto at = std::find_if(live_.begin(), live_.end(), [&](const Record& r) { return r.number == number; });
  if (at == live_.end()) return false;
  if (!no_log && (at->state & RecStateNew) == 0) {
    log_.push_back(*at);
    log_.back().state |= RecStateTouched | RecStateDeleted;
  }
  live_.erase(at);
  return true;
}

void Database::Write(uint32_t number, int16_t field, const Text& text) {
  for (Record& record : live_) {
    if (record.number != number) continue;
    record.fields[static_cast<size_t>(field)] = text;
    record.state |= RecStateTouched;
  }
}

std::vector<uint32_t> Database::Sorted(int16_t field, bool ascending) const {
  const uint8_t type = types_[static_cast<size_t>(field)];
  const auto text = [&](const Record& record) -> const Text& { return record.fields[static_cast<size_t>(field)]; };
  const auto compare = [&](const Record& a, const Record& b) {
    if (type == MDbFieldNone) return 0;
    if (type == MDbFieldText) return CompareText(text(a), text(b));
    const int32_t least = std::numeric_limits<int32_t>::min();
    const int32_t left = ValueOf(type, text(a)).value_or(least);
    const int32_t right = ValueOf(type, text(b)).value_or(least);
    return left < right ? -1 : left > right ? 1 : 0;
  };
  std::vector<Record> records = live_;
  // Equal ones stay in creation order, whichever the direction.
  std::stable_sort(records.begin(), records.end(),
                   [&](const Record& a, const Record& b) { return ascending ? compare(a, b) < 0 : compare(a, b) > 0; });
  std::vector<uint32_t> order;
  for (const Record& record : records) order.push_back(record.number);
  return order;
}

bool Database::Matches(const Record& record, const Criteria& criteria) const {
  const size_t field = static_cast<size_t>(criteria.field);
  if (criteria.mode == MDbQueryByValue) {
    const std::optional<int32_t> wanted = ValueOf(types_[field], criteria.text);
    const std::optional<int32_t> value = ValueOf(types_[field], record.fields[field]);
    if (wanted && value) return *wanted == *value;
  }
  return WordsMatch(criteria.text, record.fields[field]);
}

bool RecordSet::Accepts(const Record& record) const {
  if (!criteria_) return true;
  return database_->Matches(record, *criteria_) || kept_.count(record.number) > 0;
}

void RecordSet::BuildView(const std::vector<uint32_t>& order) {
  view_.clear();
  for (const uint32_t number : order) {
    if (Accepts(*database_->Find(number))) view_.push_back(number);
  }
  valid_ = true;
  has_view_ = true;
  cursor_ = -1;
}

uint32_t RecordSet::Query(const std::optional<Criteria>& criteria, bool view_taken) {
  if (valid_) return kFailed;
  dirty_ = false;
  criteria_ = criteria;
  filter_field_ = criteria ? criteria->field : int16_t{-1};
  if (!criteria) {
    valid_ = true;
    has_view_ = false;
    return kOk;
  }
  if (view_taken) return kFailed;
  std::vector<uint32_t> order;
  for (const Record& record : database_->live()) order.push_back(record.number);
  BuildView(order);
  return kOk;
}

uint32_t RecordSet::Sort(int16_t field, uint32_t mode) {
  if (!valid_) return kFailed;
  const int16_t count = static_cast<int16_t>(database_->types().size());
  if (field < 0 || field > count) return kOutOfRange;
  bool ascending = mode != MDbSortDescending;
  if (mode == MDbSortToggle) ascending = field == sort_field_ ? !ascending_ : true;
  // What is kept and the criteria outlive the rebuilding; the rest is as after a destroy until it has succeeded.
  const auto kept = kept_;
  const int16_t filter_field = filter_field_;
  const bool dirty = dirty_;
  Destroy();
  kept_ = kept;
  filter_field_ = filter_field;
  dirty_ = dirty;
  if (field == count) return kFailed;
  BuildView(database_->Sorted(field, ascending));
  sort_field_ = field;
  ascending_ = ascending;
  return kOk;
}

void RecordSet::Destroy() {
  kept_.clear();  // also what a failed sort left to a record set that is not valid
  if (!valid_) return;
  valid_ = false;
  has_view_ = false;
  filter_field_ = -1;
  dirty_ = false;
  sort_field_ = -1;
  ascending_ = true;
  view_.clear();
}

std::vector<uint32_t> RecordSet::Contents() const {
  if (has_view_) return view_;
  std::vector<uint32_t> all;
  for (const Record& record : database_->live()) all.push_back(record.number);
  return all;
}

const Record* RecordSet::At(int16_t index) const {
  const std::vector<uint32_t> contents = Contents();
  if (index < 0 || static_cast<size_t>(index) >= contents.size()) return nullptr;
  return database_->Find(contents[static_cast<size_t>(index)]);
}

void RecordSet::Appended(uint32_t number, uint16_t& index) {
  dirty_ = true;
  if (has_view_) {
    view_.push_back(number);
    kept_.insert(number);
  }
  index = static_cast<uint16_t>(Contents().size() - 1);
}

uint32_t RecordSet::New(uint16_t& index) {
  if (!valid_) return kFailed;
  const std::vector<Text> blank(database_->types().size());
  Appended(database_->Add(blank, Info{}, RecStateTouched | RecStateNew), index);
  return kOk;
}

uint32_t RecordSet::Duplicate(int16_t source, uint16_t& index) {
  if (!valid_) return kFailed;
  const Record* original = At(source);
  if (original == nullptr) return kFailed;
  const std::vector<Text> fields = original->fields;
  Appended(database_->Add(fields, Info{}, RecStateTouched | RecStateNew), index);
  return kOk;
}

uint32_t RecordSet::Delete(int16_t index, bool no_log) {
  if (!valid_) return kFailed;
  const std::vector<uint32_t> contents = Contents();
  if (index < 0 || static_cast<size_t>(index) >= contents.size()) return kFailed;
  if (has_view_) view_.erase(view_.begin() + index);
  if (!database_->Delete(contents[static_cast<size_t>(index)], no_log)) return kFailed;
  kept_.erase(contents[static_cast<size_t>(index)]);
  cursor_ = int16_t{-1};
  return kOk;
}

uint32_t RecordSet::DeleteAll(bool no_log) {
  if (!valid_) return kFailed;
  if (!has_view_ && no_log) {
    database_->DeleteAll();
    cursor_ = int16_t{-1};
    return kOk;
  }
  for (size_t left = Contents().size(); left > 0; --left) {
    const uint32_t first = Contents().front();
    if (has_view_) view_.erase(view_.begin());
    if (!database_->Delete(first, no_log)) return kFailed;
  }
  cursor_ = int16_t{-1};
  return kOk;
}

uint32_t RecordSet::Write(int16_t field, const Text& text) {
  const Record* record = valid_ && cursor_ ? At(*cursor_) : nullptr;
  if (record == nullptr) return kFailed;
  database_->Write(record->number, field, text);
  if (has_view_ && field == filter_field_) kept_.insert(record->number);
  return kOk;
}

}  // namespace plain
