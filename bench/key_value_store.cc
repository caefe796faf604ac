// See key_value_store.h.
#include "key_value_store.h"

#include <fmt/format.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <stdexcept>

namespace bench {

namespace {

// Whether text holds word, ASCII letters of either case alike. The word is in small letters; a zero follows the text.
bool Holds(std::string_view text, std::string_view word) {
  for (const char first : {word[0], static_cast<char>(std::toupper(word[0]))}) {
    const char* place = text.data();
    const char* const end = text.data() + text.size();
    while ((place = static_cast<const char*>(std::memchr(place, first, static_cast<size_t>(end - place)))) != nullptr) {
      if (strncasecmp(place, word.data(), word.size()) == 0) return true;
      ++place;
    }
  }
  return false;
}

}  // namespace

constexpr char kRecord = 'r';
constexpr char kLogged = 'l';
constexpr char kOrder = 'o';

void KeyValueStore::Load(const std::string& path, std::span<const Record> records) {
  OpenFile(path, true);
  BeginWriting();
  uint32_t id = 0;
  for (const Record& record : records) Put(Key(kRecord, ++id).bytes(), PackedRecord::Pack(record), true);
  Commit();
  CloseFile();
}

void KeyValueStore::Open(const std::string& path) { OpenFile(path, false); }

void KeyValueStore::Close() {
  CloseFile();
  next_id_ = 0;
}

void KeyValueStore::ScanRecords(const std::function<bool(uint32_t, const PackedRecord&)>& visit) {
  BeginReading();
  Scan(kRecord,
       [&](std::string_view key, std::string_view value) { return visit(Key::NumberOf(key), PackedRecord(value)); });
  EndReading();
}

void KeyValueStore::CopyUpTo(size_t count, Copies& copies) {
  size_t left = count;
  ScanRecords([&](uint32_t, const PackedRecord& record) {
    for (size_t i = 0; i < kFieldCount; ++i) copies.Take(i, record.Text(i));
    return --left > 0;
  });
}

void KeyValueStore::View(uint32_t id, Views& views) {
  const bool found = Get(Key(kRecord, id).bytes(), [&](std::string_view, std::string_view value) {
    const PackedRecord record(value);
    for (size_t i = 0; i < kFieldCount; ++i) views.Take(record.Text(i));
    return true;
  });
  if (!found) throw std::runtime_error(fmt::format("no record {}", id));
}

// Nothing has been deleted yet: a position and the identifier after it are one record.
void KeyValueStore::ReadAt(std::span<const uint32_t> positions, Views& views) {
  BeginReading();
  for (const uint32_t position : positions) View(position + 1, views);
  EndReading();
}

void KeyValueStore::ViewAll(const std::vector<uint32_t>& ids, Views& views) {
  BeginReading();
  for (const uint32_t id : ids) View(id, views);
  EndReading();
}

void KeyValueStore::SortNames(bool by_collation) {
  struct Name {
    size_t begin;
    size_t size;
    uint32_t id;
  };
  std::string all;
  std::vector<Name> names;
  ScanRecords([&](uint32_t id, const PackedRecord& record) {
    const std::string_view text = record.Text(kName);
    names.push_back({all.size(), text.size(), id});
    all += text;
    return true;
  });
  const auto text = [&](const Name& name) { return std::string_view(all.data() + name.begin, name.size); };
  std::sort(names.begin(), names.end(), [&](const Name& a, const Name& b) {
    const int order = by_collation ? collation_.Compare(text(a), text(b)) : text(a).compare(text(b));
    return order != 0 ? order < 0 : a.id < b.id;
  });
  for (const Name& name : names) sorted_.push_back(name.id);
}

void KeyValueStore::SortValues(bool by_number) {
  std::vector<std::pair<int32_t, uint32_t>> values;
  ScanRecords([&](uint32_t id, const PackedRecord& record) {
    values.emplace_back(by_number ? record.number() : record.day(), id);
    return true;
  });
  std::sort(values.begin(), values.end());
  for (const auto& [value, id] : values) sorted_.push_back(id);
}

bool KeyValueStore::Sort(SortBy by) {
  sorted_.clear();
  if (by == SortBy::kNameByCollation || by == SortBy::kNameByBytes) {
    SortNames(by == SortBy::kNameByCollation);
  } else {
    SortValues(by == SortBy::kNumber);
  }
  return true;
}

void KeyValueStore::FindNumber(const Text&, int32_t value) {
  hits_.clear();
  ScanRecords([&](uint32_t id, const PackedRecord& record) {
    if (record.number() == value) hits_.push_back(id);
    return true;
  });
}

void KeyValueStore::FindWord(const Text& word) {
  hits_.clear();
  ScanRecords([&](uint32_t id, const PackedRecord& record) {
    if (Holds(record.Text(kNotes), word.bytes)) hits_.push_back(id);
    return true;
  });
}

void KeyValueStore::Add(const Record& record) {
  if (next_id_ == 0) {
    ScanRecords([&](uint32_t id, const PackedRecord&) {
      next_id_ = id;
      return true;
    });
    ++next_id_;
  }
  BeginWriting();
  Put(Key(kRecord, next_id_++).bytes(), PackedRecord::Pack(record), false);
  Commit();
}

std::string KeyValueStore::ValueOf(uint32_t id) {
  std::string copy;
  BeginReading();
  const bool found = Get(Key(kRecord, id).bytes(), [&](std::string_view, std::string_view value) {
    copy = value;
    return true;
  });
  EndReading();
  if (!found) throw std::runtime_error(fmt::format("no record {}", id));
  return copy;
}

void KeyValueStore::EditCity(const Place& place, const Text& city) {
  const std::string value = ValueOf(place.id);
  BeginWriting();
  Put(Key(kRecord, place.id).bytes(), PackedRecord(value).WithField(kCity, city.bytes), false);
  Commit();
}

void KeyValueStore::EditFirstOfSorted(const Text& city) {
  const uint32_t first = sorted_.at(0);
  const std::string value = ValueOf(first);
  BeginWriting();
  Put(Key(kOrder, 0).bytes(), {reinterpret_cast<const char*>(sorted_.data()), sorted_.size() * sizeof sorted_[0]},
      false);
  Put(Key(kRecord, first).bytes(), PackedRecord(value).WithField(kCity, city.bytes), false);
  Commit();
}

void KeyValueStore::Delete(const Place& place) {
  BeginWriting();
  Remove(Key(kRecord, place.id).bytes());
  Commit();
}

void KeyValueStore::DeleteLogged(const Place& place) {
  const std::string value = ValueOf(place.id);
  BeginWriting();
  Put(Key(kLogged, place.id).bytes(), value, false);
  Remove(Key(kRecord, place.id).bytes());
  Commit();
}

void KeyValueStore::DeleteAll() {
  std::vector<uint32_t> ids;
  ScanRecords([&](uint32_t id, const PackedRecord&) {
    ids.push_back(id);
    return true;
  });
  BeginWriting();
  for (const uint32_t id : ids) Remove(Key(kRecord, id).bytes());
  Commit();
}

size_t KeyValueStore::LogCount() {
  size_t count = 0;
  BeginReading();
  Scan(kLogged, [&](std::string_view, std::string_view) {
    ++count;
    return true;
  });
  EndReading();
  return count;
}

}  // namespace bench
