// A database that is made, taken apart and made again through handles of the caller's own, and deleted: the calls on
// tables that clients of the agent calls never make. A difference fails the test that runs.
#pragma once

#include <random>
#include <string>

#include "mdb.h"

namespace longlife {

class ScratchFile {
 public:
  ScratchFile(MDbEnv& env, std::u16string path, uint32_t seed);

  // The file's whole life. Nothing may be open in the environment.
  void Live();

 private:
  void OpenTables();
  void CloseTables();
  void ReadTables();
  void Records();
  void ReadRecord(uint32_t oid, const std::u16string& expected);
  void OptionsThroughRecordSet();
  void TakeApart();

  int32_t Draw(uint32_t below);

  MDbEnv& env_;
  std::u16string path_;
  std::mt19937 random_;
  MDbRef ref_;
  MDbSchemaTbl schema_;
  MDbAttrTbl attrs_;
  MDbFieldOpTbl options_;
  MDbValListTbl lists_;
  MDbDataTbl data_;
};

}  // namespace longlife
