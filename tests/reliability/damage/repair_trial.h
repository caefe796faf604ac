// One damaged volume, checked and repaired: whether what both say is true.
#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "damage_trial.h"

namespace damage {

// What is known of a sound volume without the code under test: each record's line of text in every state, and where in
// the file the rows of the current state lie.
class Original {
 public:
  explicit Original(const Subject& subject, const std::filesystem::path& folder);

  const Subject& subject() const { return subject_; }
  bool HasLine(const std::string& line, bool without_sort_value) const;

  // The lines' beginnings ("  17:") of the records whose row is the same bytes at the same place.
  std::vector<std::string> Untouched(const std::string& file) const;

 private:
  struct Row {
    std::string record;
    size_t begin;
    size_t end;
  };
  void FindBlock(sqlite3* connection);

  const Subject& subject_;
  std::set<std::string> lines_;
  std::set<std::string> lines_without_sort_value_;
  std::vector<Row> rows_;
};

struct RepairTrial {
  std::string why;  // empty: every promise was held
  uint32_t check = 0;
  uint32_t repair = 0;
  uint64_t saved = 0;
  uint64_t loose = 0;
};

// Checks and repairs the file that lies at the bench's place.
RepairTrial TryRepair(const Original& original, Bench& bench, const std::string& file, const std::string& log,
                      bool log_damaged);

// Checks and repairs a sound volume, in which nothing may be found and all of which has to be saved. Why not, if not.
std::string TrySoundVolume(const std::filesystem::path& path);

}  // namespace damage
