// See measurements.h.
#include "measurements.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

#include "steady_timer.h"

namespace bench {
namespace {

Spread SpreadOf(const std::vector<double>& values) {
  return {Median(values), Quantile(values, 0.25), Quantile(values, 0.75)};
}

}  // namespace

void Measurements::Add(const std::string& json) {
  const nlohmann::json report = nlohmann::json::parse(json);
  const std::string store = report.at("store");
  if (versions_.emplace(store, report.at("version")).second) stores_.push_back(store);
  for (const auto& [row, result] : report.at("rows").items()) {
    values_[store][row].push_back(result.at("us"));
    if (result.contains("first_us")) values_[store][row + "/first"].push_back(result["first_us"]);
    const std::string digest = result.at("digest");
    if (!digest.empty()) digests_[row][digest].push_back(store);
  }
  for (const auto& [name, amount] : report.at("amounts").items()) values_[store][name].push_back(amount);
}

void Measurements::CompareDigests() const {
  std::string differences;
  for (const auto& [row, digests] : digests_) {
    if (digests.size() == 1) continue;
    differences += fmt::format("\nrow {}:", row);
    for (const auto& [digest, stores] : digests)
      differences += fmt::format("\n  {} {}", digest, fmt::join(stores, " "));
  }
  if (!differences.empty()) throw std::runtime_error("not all stores read the same:" + differences);
}

const Measurements::Values* Measurements::Find(const std::string& store, const std::string& row) const {
  const auto rows = values_.find(store);
  if (rows == values_.end()) return nullptr;
  const auto found = rows->second.find(row);
  return found == rows->second.end() ? nullptr : &found->second;
}

std::optional<Spread> Measurements::Of(const std::string& store, const std::string& row) const {
  const Values* values = Find(store, row);
  if (values == nullptr) return std::nullopt;
  return SpreadOf(*values);
}

std::optional<Spread> Measurements::Ratio(const std::string& store, const std::string& row,
                                          const std::string& other_store, const std::string& other_row) const {
  const Values* upper = Find(store, row);
  const Values* lower = Find(other_store, other_row);
  if (upper == nullptr || lower == nullptr) return std::nullopt;
  Values ratios;
  for (size_t i = 0; i < std::min(upper->size(), lower->size()); ++i) ratios.push_back((*upper)[i] / (*lower)[i]);
  return SpreadOf(ratios);
}

}  // namespace bench
