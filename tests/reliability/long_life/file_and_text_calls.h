// Calls that are about no database's records: listings of a folder, folders, and dates and times between texts and
// records. The expected answers come from the standard calendar, the standard file system and the plain model's values.
//
// Dates and times are read and written under the formats of the database that is open. A difference fails the test that
// runs.
#pragma once

#include <filesystem>
#include <random>
#include <string>

#include "mdb.h"

namespace longlife {

class FileAndTextCalls {
 public:
  FileAndTextCalls(MDbEnv& env, std::filesystem::path folder, uint32_t seed);

  void Step();

 private:
  void ListsFolder();
  void EndsListingEarly();
  void MakesFolder();
  void ReadsDate();
  void ReadsTime();

  int32_t Draw(int32_t below);
  std::u16string Pattern(std::u16string_view last_part) const;

  MDbEnv& env_;
  std::filesystem::path folder_;
  std::mt19937 random_;
};

}  // namespace longlife
