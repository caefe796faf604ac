// The result of a whole run: as a table for people, as JSON for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "machine_facts.h"
#include "measurements.h"

namespace bench {

struct Comparison {
  Facts machine;
  size_t rounds = 0;
  size_t records = 0;
  size_t few_records = 0;
  Measurements full;  // every store with all records
  Measurements few;   // XKRDB alone with few
  // The object store alone: one database of so many records; ten of them; one that holds as many as the ten.
  Measurements object_store;
};

// One line of the growth of XKRDB: how a time, by what it should grow with, differs between many and few records.
struct Growth {
  std::string title;
  double ratio;
};
std::vector<Growth> GrowthOf(const Comparison& comparison);

std::string TableOf(const Comparison& comparison);
nlohmann::ordered_json JsonOf(const Comparison& comparison);

// XKRDB through SQLite in this row of rows.h, by round.
std::optional<Spread> RatioToSqlite(const Measurements& measurements, size_t row);
std::optional<Spread> RatioToLimit(const Measurements& measurements, size_t row);

}  // namespace bench
