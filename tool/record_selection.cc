// A record's number is its place in the order of creation. Record sets in another order give object identifiers, which
// are looked up among those of the first order.
#include "record_selection.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "name_suggestion.h"
#include "safe_text.h"
#include "terminal.h"
#include "tool_error.h"
#include "utf_text.h"

namespace xkrdb {
namespace {

using OidSet = std::unordered_set<uint32_t>;

struct Condition {
  size_t field;
  std::u16string text;
};

std::string LowerAscii(std::string text) {
  for (char& letter : text) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return text;
}

std::optional<size_t> MatchField(const std::vector<Field>& fields, const std::string& typed) {
  const std::u16string wide = WideArgument(typed);
  for (size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].name == wide) return i;
  }
  std::optional<size_t> found;
  for (size_t i = 0; i < fields.size(); ++i) {
    if (LowerAscii(ToUtf8(fields[i].name).value_or("")) != LowerAscii(typed)) continue;
    if (found) return std::nullopt;
    found = i;
  }
  return found;
}

OidSet Oids(RecordSet& records) {
  OidSet oids;
  const uint32_t count = records.Count();
  for (uint32_t i = 0; i < count; ++i) oids.insert(records.Oid(i));
  return oids;
}

int16_t SearchMode(const SelectionOptions& options) { return options.words ? MDbQueryByWords : MDbQueryByValue; }

// What all conditions after the first one find; the first one makes the record set itself.
std::vector<OidSet> OtherConditions(Database& database, const std::vector<Condition>& conditions,
                                    const SelectionOptions& options) {
  std::vector<OidSet> found;
  for (size_t i = 1; i < conditions.size(); ++i) {
    RecordSet records(database, conditions[i].field, SearchMode(options), conditions[i].text);
    found.push_back(Oids(records));
  }
  return found;
}

bool MeetsExactly(const Record& record, const std::vector<Condition>& conditions) {
  return std::all_of(conditions.begin(), conditions.end(),
                     [&](const Condition& condition) { return record.values[condition.field] == condition.text; });
}

std::unordered_map<uint32_t, uint32_t> NumbersByOid(Database& database) {
  std::unordered_map<uint32_t, uint32_t> numbers;
  RecordSet all(database);
  const uint32_t count = all.Count();
  for (uint32_t i = 0; i < count; ++i) numbers[all.Oid(i)] = i + 1;
  return numbers;
}

void KeepWindow(std::vector<Record>& records, const SelectionOptions& options) {
  const size_t skip = std::min(options.skip.value_or(0), records.size());
  records.erase(records.begin(), records.begin() + static_cast<ptrdiff_t>(skip));
  if (options.limit && *options.limit < records.size()) records.resize(*options.limit);
}

uint32_t OneNumber(std::string_view typed, std::string_view whole, uint32_t record_count) {
  if (typed == "last" && record_count > 0) return record_count;
  uint32_t number = 0;
  const auto [end, error] = std::from_chars(typed.data(), typed.data() + typed.size(), number);
  if (error != std::errc() || end != typed.data() + typed.size()) {
    throw ToolError(ExitCode::kUsage, fmt::format("\"{}\" is no record number: write 3, 5-9 or last", whole));
  }
  if (number < 1 || number > record_count) {
    const std::string there = record_count == 0 ? "has no records" : fmt::format("has records 1 to {}", record_count);
    throw ToolError(ExitCode::kNothingFound, fmt::format("there is no record {}: the database {}", typed, there));
  }
  return number;
}

}  // namespace

std::u16string WideArgument(const std::string& text) {
  std::optional<std::u16string> wide = ToWide(text);
  if (!wide) throw ToolError(ExitCode::kUsage, fmt::format("the argument {} is not UTF-8", Quoted(text)));
  return *wide;
}

size_t FindField(const std::vector<Field>& fields, const std::string& typed) {
  if (const std::optional<size_t> field = MatchField(fields, typed)) return *field;
  std::vector<std::string> names;
  std::string list;
  for (const Field& field : fields) {
    names.push_back(ToUtf8(field.name).value_or(""));
    list += (list.empty() ? "" : ", ") + names.back();
  }
  const std::optional<std::string> nearest = NearestName(typed, names);
  const std::string hint = nearest ? fmt::format("; did you mean \"{}\"?", *nearest) : std::string();
  throw ToolError(ExitCode::kUsage,
                  fmt::format("no field \"{}\"{} The fields are: {}", typed, hint.empty() ? "." : hint, list));
}

std::pair<size_t, std::u16string> FieldAndText(const std::vector<Field>& fields, const std::string& typed) {
  const size_t first = typed.find('=');
  if (first == std::string::npos) {
    throw ToolError(ExitCode::kUsage, fmt::format("\"{}\" is not of the form FIELD=TEXT", typed));
  }
  for (size_t at = first; at != std::string::npos; at = typed.find('=', at + 1)) {
    const std::optional<size_t> field = MatchField(fields, typed.substr(0, at));
    if (field) return {*field, WideArgument(typed.substr(at + 1))};
  }
  return {FindField(fields, typed.substr(0, first)), {}};  // throws: no part before a sign is a field
}

std::vector<size_t> FindColumns(const Database& database, const std::string& typed) {
  if (typed.empty()) return database.DisplayOrder();
  if (const std::optional<size_t> whole = MatchField(database.fields(), typed)) return {*whole};
  std::vector<size_t> columns;
  for (size_t start = 0; start <= typed.size();) {
    const size_t comma = std::min(typed.find(',', start), typed.size());
    columns.push_back(FindField(database.fields(), typed.substr(start, comma - start)));
    start = comma + 1;
  }
  return columns;
}

std::vector<Record> AllRecords(Database& database) {
  std::vector<Record> records;
  RecordSet all(database);
  const uint32_t count = all.Count();
  Progress progress("reading records", count);
  for (uint32_t i = 0; i < count; ++i) {
    records.push_back(all.Read(i));
    records.back().number = i + 1;
    progress.Update(i + 1);
  }
  return records;
}

std::vector<Record> SelectRecords(Database& database, const SelectionOptions& options) {
  std::vector<Condition> conditions;
  for (const std::string& typed : options.where) {
    auto [field, text] = FieldAndText(database.fields(), typed);
    conditions.push_back({field, std::move(text)});
  }
  std::optional<size_t> sort;
  if (!options.sort.empty()) sort = FindField(database.fields(), options.sort);
  std::vector<Record> records;
  // An exact search compares here: the library finds words and values.
  if (!sort && (conditions.empty() || options.exact)) {
    records = AllRecords(database);
    std::erase_if(records, [&](const Record& record) { return !MeetsExactly(record, conditions); });
    KeepWindow(records, options);
    return records;
  }
  const std::unordered_map<uint32_t, uint32_t> numbers = NumbersByOid(database);
  const bool search = !conditions.empty() && !options.exact;
  const std::vector<OidSet> others = search ? OtherConditions(database, conditions, options) : std::vector<OidSet>();
  std::optional<RecordSet> set;
  if (search) {
    set.emplace(database, conditions[0].field, SearchMode(options), conditions[0].text);
  } else {
    set.emplace(database);
  }
  if (sort) set->Sort(*sort, options.descending);
  const uint32_t count = set->Count();
  for (uint32_t i = 0; i < count; ++i) {
    Record record = set->Read(i);
    const auto has = [&](const OidSet& oids) { return oids.contains(record.oid); };
    if (!std::all_of(others.begin(), others.end(), has)) continue;
    if (options.exact && !MeetsExactly(record, conditions)) continue;
    record.number = numbers.at(record.oid);
    records.push_back(std::move(record));
  }
  KeepWindow(records, options);
  return records;
}

std::vector<Record> FindByWords(Database& database, const std::vector<size_t>& fields, const std::u16string& text) {
  OidSet found;
  Progress progress("searching fields", fields.size());
  for (size_t i = 0; i < fields.size(); ++i) {
    RecordSet records(database, fields[i], MDbQueryByWords, text);
    found.merge(Oids(records));
    progress.Update(i + 1);
  }
  std::vector<Record> records = AllRecords(database);
  std::erase_if(records, [&](const Record& record) { return !found.contains(record.oid); });
  return records;
}

std::vector<uint32_t> RecordNumbers(const std::vector<std::string>& typed, uint32_t record_count) {
  std::vector<uint32_t> numbers;
  std::set<uint32_t> seen;
  for (const std::string& text : typed) {
    const size_t dash = text.find('-', 1);
    const std::string_view view = text;
    const uint32_t first = OneNumber(view.substr(0, dash), text, record_count);
    const uint32_t last = dash == std::string::npos ? first : OneNumber(view.substr(dash + 1), text, record_count);
    if (last < first) throw ToolError(ExitCode::kUsage, fmt::format("the range {} runs backwards", text));
    for (uint32_t number = first; number <= last; ++number) {
      if (seen.insert(number).second) numbers.push_back(number);
    }
  }
  return numbers;
}

}  // namespace xkrdb
