// See round_report.h.
#include "round_report.h"

#include <stdexcept>

#include "steady_timer.h"

namespace bench {

RoundReport::RoundReport(const std::string& store, const std::string& version, size_t records) {
  json_["store"] = store;
  json_["version"] = version;
  json_["records"] = records;
  json_["rows"] = nlohmann::ordered_json::object();
  json_["amounts"] = nlohmann::ordered_json::object();
}

void RoundReport::AddRow(const std::string& row, double microseconds, const std::string& digest) {
  if (json_["rows"].contains(row)) throw std::logic_error("a second row " + row);
  json_["rows"][row] = {{"us", microseconds}, {"digest", digest}};
}

void RoundReport::AddRepeats(const std::string& row, const std::vector<double>& repeats, const std::string& digest) {
  const bool alone = repeats.size() == 1;
  AddRow(row, alone ? repeats[0] : Median({repeats.begin() + 1, repeats.end()}), digest);
  json_["rows"][row]["first_us"] = repeats.at(0);
}

}  // namespace bench
