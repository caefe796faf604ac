// What all rounds of all stores came to, and what follows from it: medians, spreads, ratios.
//
// Always holds: once CompareDigests has returned, every store read the same in every row of every round.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace bench {

struct Spread {
  double median;
  double lower_quartile;
  double upper_quartile;
};

class Measurements {
 public:
  // A program's JSON object, as round_report.h makes it. Throws when it is none.
  void Add(const std::string& json);

  // Throws, naming row and stores, when two digests of one row differ.
  void CompareDigests() const;

  // In the order in which they came first.
  const std::vector<std::string>& stores() const { return stores_; }
  const std::string& version(const std::string& store) const { return versions_.at(store); }

  // Nothing when the store has no such row or amount.
  std::optional<Spread> Of(const std::string& store, const std::string& row) const;
  // Round by round: the first store's row through the second's.
  std::optional<Spread> Ratio(const std::string& store, const std::string& row, const std::string& other_store,
                              const std::string& other_row) const;

 private:
  using Values = std::vector<double>;
  const Values* Find(const std::string& store, const std::string& row) const;

  std::vector<std::string> stores_;
  std::map<std::string, std::string> versions_;
  std::map<std::string, std::map<std::string, Values>> values_;                     // store, row
  std::map<std::string, std::map<std::string, std::vector<std::string>>> digests_;  // row, digest: stores
};

}  // namespace bench
