// What one round of one store came to: times, digests of what was read, size and memory; printed as one JSON object.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace bench {

class RoundReport {
 public:
  RoundReport(const std::string& store, const std::string& version, size_t records);

  // A row by its name in rows.h. The digest is empty when nothing was read.
  void AddRow(const std::string& row, double microseconds, const std::string& digest);
  // The median of all but the first repeat; the first is reported as such. One alone is both.
  void AddRepeats(const std::string& row, const std::vector<double>& repeats, const std::string& digest);
  void AddAmount(const std::string& name, uint64_t amount) { json_["amounts"][name] = amount; }

  std::string Json() const { return json_.dump(); }

 private:
  nlohmann::ordered_json json_;
};

}  // namespace bench
