// Calls about what a database says of itself, next to its records: settings, name, fields, options and display orders,
// value lists, the integrity mark. Each answer is compared with what this side remembers to have stored.
//
// Made for the database of the call stream, open in the environment by the agent calls. No call moves the data table's
// cursor. A difference fails the test that runs.
#pragma once

#include <array>
#include <random>
#include <string>
#include <vector>

#include "mdb.h"

namespace longlife {

class SettingsCalls {
 public:
  static constexpr int16_t kFields = 6;

  SettingsCalls(MDbEnv& env, std::u16string path, uint32_t seed);

  // One group of calls, drawn by chance.
  void Step();

 private:
  void Settings();
  void Name();
  void ValueLists();
  void Fields();
  void OneOption();
  void DisplayOrders();
  void RecordSetOnFields();
  void StoredOnce();
  void SecondReference();
  void Mark();

  int32_t Draw(uint32_t below);
  void CheckField(int16_t field);
  void CheckTablesThrough(MDbRef& ref);

  MDbEnv& env_;
  std::u16string path_;
  std::mt19937 random_;
  std::array<uint32_t, 4> settings_;
  std::array<std::array<uint8_t, 6>, kFields> options_{};
  std::array<std::array<uint8_t, 9>, kFields> extended_{};
};

}  // namespace longlife
