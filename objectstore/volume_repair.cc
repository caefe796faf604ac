// See volume_repair.h; the file is written in repaired_volume_file.cc.
#include "volume_repair.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

namespace objectstore {

namespace {

// A number of a record; nothing when it lacks the property.
std::optional<uint32_t> NumberOf(const Record& record, CEPROPID property) {
  const size_t index = record.IndexOf(property);
  if (index == Record::kNowhere) return std::nullopt;
  return static_cast<uint32_t>(record.At(index).number);
}

// The record whose key property has this value; the end when there is none.
std::vector<RecordRef>::iterator FindKey(std::vector<RecordRef>& records, CEPROPID property, uint32_t key) {
  return std::find_if(records.begin(), records.end(),
                      [property, key](const RecordRef& record) { return NumberOf(*record, property) == key; });
}

std::u16string WithNumber(const XKRVolumeValue& value, uint32_t number) {
  std::u16string text(static_cast<const char16_t*>(value.value), value.size / sizeof(char16_t));
  while (!text.empty() && text.back() == 0) text.pop_back();
  const std::string digits = std::to_string(number);
  return text + std::u16string(digits.begin(), digits.end());
}

}  // namespace

void RepairPlan::Note(CEOID database, CEOID record, std::string text) {
  salvage_.flaws().push_back({false, XKRFindingAdded, database, record, 0, std::move(text)});
}

CEOID RepairPlan::NextIdentifier() { return next_identifier_++; }

void RepairPlan::Make() {
  next_identifier_ = salvage_.largest_identifier() + 1;
  if (salvage_.volume()) next_identifier_ = std::max(next_identifier_, salvage_.volume()->next_identifier);
  TakeDatabases();
  Recognise();
  NameTheRest();
  const bool heeded = std::any_of(known_.begin(), known_.end(), [this](const XKRKnownDatabase& known) {
    return FindByName(DatabaseName::FromText(known.name)) != nullptr;
  });
  if (!heeded) return;
  if (!salvage_.complete()) AddMissingDatabases();
  for (const XKRKnownDatabase& known : known_) {
    for (auto& [oid, database] : databases_) {
      if (database.description.name.Matches(DatabaseName::FromText(known.name))) CompleteRecords(known, oid, database);
    }
  }
}

void RepairPlan::TakeDatabases() {
  for (const auto& [oid, found] : salvage_.databases()) {
    PlannedDatabase& planned = databases_[oid];
    planned.found = found;
    if (!found.description_lost && FindByName(found.head.description.name) == nullptr) {
      planned.description = found.head.description;
    }
    const auto [first, end] = salvage_.RecordsOf(oid);
    for (auto record = first; record != end; ++record) planned.records.push_back(record->second.record);
  }
}

// A database of no name whose records look like those of a known one that is missing.
void RepairPlan::Recognise() {
  for (const XKRKnownDatabase& known : known_) {
    const DatabaseName name = DatabaseName::FromText(known.name);
    if (FindByName(name) != nullptr) continue;
    for (auto& [oid, database] : databases_) {
      if (database.description.name.IsUsable() || !Matches(known, database)) continue;
      database.description.name = name;
      database.description.type = known.type;
      if (known.sortProperty != 0) (void)database.description.sort_specs.Append({known.sortProperty, 0});  // it is one
      database.description.modified = CurrentTime();
      Note(oid, 0, "the database was recognised by its records");
      break;
    }
  }
}

bool RepairPlan::Matches(const XKRKnownDatabase& known, const PlannedDatabase& database) const {
  return !database.records.empty() &&
         std::all_of(database.records.begin(), database.records.end(), [&known](const RecordRef& record) {
           if (!record->Has(known.property)) return false;
           if (known.flagProperty == 0) return true;
           const auto flags = NumberOf(*record, known.flagProperty);
           return flags && (*flags & known.flagMask) == known.flagValue;
         });
}

void RepairPlan::NameTheRest() {
  for (auto& [oid, database] : databases_) {
    if (database.description.name.IsUsable()) continue;
    const std::string text = "LOST_" + std::to_string(oid);
    std::u16string name(text.begin(), text.end());
    while (FindByName(DatabaseName::FromText(name.c_str())) != nullptr) name += u'_';
    database.description.name = DatabaseName::FromText(name.c_str());
    database.description.modified = CurrentTime();
    Note(oid, 0, "the database's name is lost; it is called " + text);
  }
}

const RepairPlan::PlannedDatabase* RepairPlan::FindByName(const DatabaseName& name) const {
  for (const auto& [oid, database] : databases_) {
    if (database.description.name.IsUsable() && database.description.name.Matches(name)) return &database;
  }
  return nullptr;
}

void RepairPlan::AddMissingDatabases() {
  for (const XKRKnownDatabase& known : known_) {
    const DatabaseName name = DatabaseName::FromText(known.name);
    if (FindByName(name) != nullptr) continue;
    const CEOID oid = NextIdentifier();
    PlannedDatabase& made = databases_[oid];
    made.description.name = name;
    made.description.type = known.type;
    if (known.sortProperty != 0) (void)made.description.sort_specs.Append({known.sortProperty, 0});  // it is one
    made.description.modified = CurrentTime();
    made.found.description_lost = true;
    Note(oid, 0, "the database was missing and was made");
  }
}

// To a database of which everything is there nothing is added, whatever the application thinks that it lacks.
void RepairPlan::CompleteRecords(const XKRKnownDatabase& known, CEOID oid, PlannedDatabase& database) {
  for (uint32_t i = 0; i < known.recordCount; ++i) {
    const XKRKnownRecord& wanted = known.records[i];
    const auto found = FindKey(database.records, wanted.keyProperty, wanted.key);
    if (found != database.records.end()) {
      if (wanted.kind == XKRKnownFixed) Fix(wanted, oid, *found);
      if (wanted.kind != XKRKnownDense) continue;
    }
    if (database.found.complete && wanted.kind != XKRKnownFixed) continue;
    if (wanted.kind == XKRKnownDense) {
      CompleteDense(wanted, oid, database);
    } else {
      AddRecord(wanted, wanted.key, oid, database);
    }
  }
  std::sort(database.records.begin(), database.records.end(),
            [](const RecordRef& a, const RecordRef& b) { return a->oid() < b->oid(); });
}

void RepairPlan::CompleteDense(const XKRKnownRecord& known, CEOID oid, PlannedDatabase& database) {
  uint32_t count = DenseCountOf(known);
  std::vector<bool> there(0x10000, false);
  for (const RecordRef& record : database.records) {
    const auto key = NumberOf(*record, known.keyProperty);
    if (!key || *key < known.key || *key - known.key > 0xFFFF) continue;
    there[*key - known.key] = true;
    count = std::max(count, *key - known.key + 1);
  }
  for (uint32_t i = 0; i < count; ++i) {
    if (!there[i]) AddRecord(known, known.key + i, oid, database);
  }
}

void RepairPlan::AddRecord(const XKRKnownRecord& known, uint32_t key, CEOID oid, PlannedDatabase& database) {
  std::u16string texts[2];
  std::vector<Value> values;
  for (size_t i = 0; i < 2; ++i) {
    const XKRVolumeValue& given = known.values[i];
    if (given.property == 0) continue;
    CEPROPVAL value;
    std::memset(&value, 0, sizeof value);
    value.propid = given.property;
    if (IsText(given.property)) {
      texts[i] = known.kind == XKRKnownDense ? WithNumber(given, key - known.key + 1)
                                             : std::u16string(static_cast<const char16_t*>(given.value));
      value.val.lpwstr = texts[i].data();
    } else if (TypeOf(given.property) == CEVT_BLOB) {
      value.val.blob.dwCount = given.size;
      value.val.blob.lpb = const_cast<BYTE*>(static_cast<const BYTE*>(given.value));  // only read from
    } else {
      std::memcpy(&value.val.ulVal, given.value, sizeof value.val.ulVal);
      if (known.kind == XKRKnownCounter) value.val.ulVal = CounterOf(known);
    }
    Value measured;
    if (Measure(value, measured) == Status::kOk) values.push_back(measured);
  }
  values.push_back(NumberValue(known.keyProperty, key));
  const CEOID record = NextIdentifier();
  database.records.push_back(Record::Create(record, values));
  Note(oid, record, "a record that the database cannot be without was missing and was added");
}

void RepairPlan::Fix(const XKRKnownRecord& known, CEOID oid, RecordRef& record) {
  uint32_t wanted = 0;
  std::memcpy(&wanted, known.values[0].value, sizeof wanted);
  if (NumberOf(*record, known.values[0].property) == wanted) return;
  std::vector<Value> values;
  AppendValues(*record, values);
  std::erase_if(values, [&known](const Value& one) { return one.id == known.values[0].property; });
  values.push_back(NumberValue(known.values[0].property, wanted));
  record = Record::Create(record->oid(), values);
  Note(oid, record->oid(), "a value was set to what it has to be");
}

uint32_t RepairPlan::CounterOf(const XKRKnownRecord& known) const {
  uint32_t next = 0;
  const PlannedDatabase* counted =
      known.countedDatabase != nullptr ? FindByName(DatabaseName::FromText(known.countedDatabase)) : nullptr;
  if (counted == nullptr) return next;
  for (const RecordRef& record : counted->records) {
    const auto value = NumberOf(*record, known.countedProperty);
    if (!value || *value == std::numeric_limits<uint32_t>::max()) continue;
    next = std::max(next, *value + 1);
  }
  return next;
}

uint32_t RepairPlan::DenseCountOf(const XKRKnownRecord& known) const {
  uint32_t count = 0;
  const PlannedDatabase* counted =
      known.countedDatabase != nullptr ? FindByName(DatabaseName::FromText(known.countedDatabase)) : nullptr;
  if (counted == nullptr) return count;
  for (const RecordRef& record : counted->records) {
    for (size_t i = 0; i < record->property_count(); ++i) {
      const CEPROPID id = record->IdAt(i);
      if (!IsText(id) || id < known.countedProperty) continue;
      count = std::max(count, ((id - known.countedProperty) >> 16) + 1);
    }
  }
  return count;
}

}  // namespace objectstore
