// See comparison.h.
#include "comparison.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "rows.h"

namespace bench {
namespace {

constexpr const char* kOurs = "xkrdb";
constexpr const char* kSqlite = "sqlite";
constexpr const char* kLimit = "limit";

const char* OurRow(const Row& row) { return row.ours == nullptr ? row.id : row.ours; }

// What a store shows in a row: XKRDB has one way to sort texts and shows it beside both of the others'.
std::optional<Spread> Shown(const Measurements& measurements, const std::string& store, const Row& row) {
  return measurements.Of(store, store == kOurs ? OurRow(row) : row.id);
}

std::string Figure(const std::optional<Spread>& spread, double divisor) {
  if (!spread) return "-";
  const double value = spread->median / divisor;
  return value < 100 ? fmt::format("{:.1f}", value) : fmt::format("{:.0f}", value);
}

std::string RatioText(const std::optional<Spread>& ratio) { return ratio ? fmt::format("{:.2f}", ratio->median) : "-"; }

std::string RangeText(const std::optional<Spread>& ratio) {
  return ratio ? fmt::format("{:.2f}..{:.2f}", ratio->lower_quartile, ratio->upper_quartile) : "-";
}

nlohmann::ordered_json SpreadJson(const Spread& spread) {
  return {
      {"median", spread.median}, {"lower_quartile", spread.lower_quartile}, {"upper_quartile", spread.upper_quartile}};
}

// Columns are the shapes of the volume. The last column holds the greatest of them against the first.
std::string ObjectStoreTable(const Measurements& measurements) {
  if (measurements.stores().empty()) return "";
  std::string table = fmt::format("\n{:<38}", "object store alone, microseconds");
  for (const std::string& shape : measurements.stores()) table += fmt::format("{:>14}", shape);
  table += fmt::format("{:>16}\n", "growth at most");
  for (const auto& [row, title] : kObjectStoreRows) {
    table += fmt::format("{:<38}", title);
    double growth = 0;
    for (const std::string& shape : measurements.stores()) {
      table += fmt::format("{:>14.2f}", measurements.Of(shape, row)->median);
      const std::optional<Spread> ratio = measurements.Ratio(shape, row, measurements.stores().front(), row);
      growth = std::max(growth, ratio->median);
    }
    table += fmt::format("{:>16.2f}\n", growth);
  }
  return table;
}

std::string FactLines(const Comparison& comparison) {
  std::string lines =
      fmt::format("{} records of 8 fields, {} rounds; microseconds, medians\n", comparison.records, comparison.rounds);
  for (const auto& [name, fact] : comparison.machine) lines += fmt::format("{}: {}\n", name, fact);
  for (const std::string& store : comparison.full.stores()) {
    lines += fmt::format("{}: {}\n", store, comparison.full.version(store));
  }
  return lines;
}

nlohmann::ordered_json RowJson(const Measurements& full, size_t index) {
  const Row& row = kRows[index];
  nlohmann::ordered_json json = {{"id", row.id}, {"title", row.title}, {"unit", "microseconds"}};
  for (const std::string& store : full.stores()) {
    const std::optional<Spread> spread = Shown(full, store, row);
    if (!spread) continue;
    json["stores"][store] = SpreadJson(*spread);
    const std::optional<Spread> first = full.Of(store, std::string(row.id) + "/first");
    if (first) json["stores"][store]["first"] = SpreadJson(*first);
  }
  const std::optional<Spread> to_sqlite = RatioToSqlite(full, index);
  const std::optional<Spread> to_limit = RatioToLimit(full, index);
  if (to_sqlite) json["ratio_to_sqlite"] = SpreadJson(*to_sqlite);
  if (to_limit) json["ratio_to_limit"] = SpreadJson(*to_limit);
  return json;
}

}  // namespace

std::optional<Spread> RatioToSqlite(const Measurements& measurements, size_t row) {
  return measurements.Ratio(kOurs, OurRow(kRows[row]), kSqlite, kRows[row].id);
}

std::optional<Spread> RatioToLimit(const Measurements& measurements, size_t row) {
  return measurements.Ratio(kOurs, OurRow(kRows[row]), kLimit, kRows[row].id);
}

std::vector<Growth> GrowthOf(const Comparison& comparison) {
  const auto many = static_cast<double>(comparison.records);
  const auto few = static_cast<double>(comparison.few_records);
  const double by_record = many / few;
  const double by_sorting = many * std::log2(many) / (few * std::log2(few));
  const struct {
    const char* row;
    const char* title;
    double expected;
  } kGrowths[] = {{"open", "open, first 10 records, whole time", 1},
                  {"add", "add, per record", 1},
                  {"edit", "edit, per record", 1},
                  {"read_all", "read all, per record", by_record},
                  {"read_random", "read at random, per record", by_record},
                  {"sort_text", "sort by text, per n log n", by_sorting},
                  {"sort_number", "sort by number, per n log n", by_sorting},
                  {"query_word", "find a word, per record", by_record}};
  std::vector<Growth> growths;
  for (const auto& [row, title, expected] : kGrowths) {
    const std::optional<Spread> at_many = comparison.full.Of(kOurs, row);
    const std::optional<Spread> at_few = comparison.few.Of(kOurs, row);
    if (at_many && at_few) growths.push_back({title, at_many->median / at_few->median / expected});
  }
  return growths;
}

std::string TableOf(const Comparison& comparison) {
  const Measurements& full = comparison.full;
  std::string table = FactLines(comparison) + fmt::format("\n{:<38}", "");
  for (const std::string& store : full.stores()) table += fmt::format("{:>11}", store);
  table += fmt::format("{:>14}{:>16}{:>10}\n", "xkrdb/sqlite", "quartiles", "/limit");
  for (size_t i = 0; i < kRows.size(); ++i) {
    table += fmt::format("{:<38}", kRows[i].title);
    for (const std::string& store : full.stores())
      table += fmt::format("{:>11}", Figure(Shown(full, store, kRows[i]), 1));
    const std::optional<Spread> to_sqlite = RatioToSqlite(full, i);
    table += fmt::format("{:>14}{:>16}{:>10}\n", RatioText(to_sqlite), RangeText(to_sqlite),
                         RatioText(RatioToLimit(full, i)));
  }
  for (const Amount& amount : kAmounts) {
    table += fmt::format("{:<38}", amount.title);
    for (const std::string& store : full.stores()) {
      table += fmt::format("{:>11}", Figure(full.Of(store, amount.id), amount.divisor));
    }
    table += fmt::format("{:>14}\n", RatioText(full.Ratio(kOurs, amount.id, kSqlite, amount.id)));
  }
  table += fmt::format("\nXKRDB with {} records against {}, times by what they should grow with:\n", comparison.records,
                       comparison.few_records);
  for (const Growth& growth : GrowthOf(comparison))
    table += fmt::format("{:<38}{:>11.2f}\n", growth.title, growth.ratio);
  return table + ObjectStoreTable(comparison.object_store);
}

nlohmann::ordered_json JsonOf(const Comparison& comparison) {
  const Measurements& full = comparison.full;
  nlohmann::ordered_json json;
  for (const auto& [name, fact] : comparison.machine) json["machine"][name] = fact;
  json["rounds"] = comparison.rounds;
  json["records"] = comparison.records;
  for (const std::string& store : full.stores()) json["stores"][store] = full.version(store);
  for (size_t i = 0; i < kRows.size(); ++i) json["rows"].push_back(RowJson(full, i));
  for (const Amount& amount : kAmounts) {
    for (const std::string& store : full.stores()) {
      const std::optional<Spread> spread = full.Of(store, amount.id);
      if (spread) json["amounts"][amount.id][store] = spread->median;
    }
  }
  json["growth"]["few_records"] = comparison.few_records;
  for (const Growth& growth : GrowthOf(comparison)) json["growth"][growth.title] = growth.ratio;
  for (const std::string& shape : comparison.object_store.stores()) {
    for (const auto& [row, title] : kObjectStoreRows) {
      json["object_store"][shape][row] = SpreadJson(*comparison.object_store.Of(shape, row));
    }
  }
  return json;
}

}  // namespace bench
