// One file that lives as long as the program. Each visit edits, copies, deletes and sorts its records, then puts every
// text back, so that its content after a visit is what it was before: its size at rest must not grow with the visits.
#pragma once

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>

#include "mdb.h"

namespace longlife {

class SteadyFile {
 public:
  static constexpr int kRecords = 150;

  SteadyFile(MDbEnv& env, std::filesystem::path path, uint32_t seed);

  // Opens the file, changes it, restores it and closes it.
  void Visit();

  // Bytes at rest.
  uint64_t Size() const;

 private:
  void Create();
  void Fill();
  void Disturb(MDbRecset& records);
  void Restore(MDbRecset& records);
  void StartAnew();
  void CheckContent(MDbRecset& records);
  uint32_t Count(MDbRecset& records);
  std::u16string Read(MDbRecset& records, int16_t field);

  int32_t Draw(uint32_t below);

  MDbEnv& env_;
  std::filesystem::path path_;
  std::mt19937 random_;
};

}  // namespace longlife
