// Two environments with a database each, and more handle records than anybody needs, all of them initialised.
#ifndef XKRDB_FUZZ_HANDLES_WORLD_H
#define XKRDB_FUZZ_HANDLES_WORLD_H

#include <array>
#include <string>

#include "mdb.h"

namespace fuzz {

class World {
 public:
  World();
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  // Any number names one of them.
  MDbEnv* env(size_t i) { return &envs_[i % envs_.size()]; }
  // The first two are those of the environments.
  MDbRef* ref(size_t i) { return i % 4 < 2 ? &envs_[i % 4].agentRef : &refs_[i % 4 - 2]; }
  MDbSchemaTbl* schema(size_t i) { return i % 4 < 2 ? &envs_[i % 4].schemaTbl : &schemas_[i % 4 - 2]; }
  MDbAttrTbl* attrs(size_t i) { return i % 4 < 2 ? &envs_[i % 4].attrTbl : &attrs_[i % 4 - 2]; }
  MDbFieldOpTbl* options(size_t i) { return i % 4 < 2 ? &envs_[i % 4].fieldOpTbl : &options_[i % 4 - 2]; }
  MDbDataTbl* data(size_t i) { return i % 4 < 2 ? &envs_[i % 4].dataTbl : &data_[i % 4 - 2]; }
  MDbDataRec* record(size_t i) { return &records_[i % records_.size()]; }
  MDbRecset* recset(size_t i) { return &recsets_[i % recsets_.size()]; }
  // Two databases, and a path where there is nothing.
  const MDbChar* path(size_t i) const { return paths_[i % paths_.size()].c_str(); }

  // What is closed says so and answers 1.
  void CheckClosedRecords();
  // Closes everything, and takes down the mounts that lost their handle record.
  void End();
  // Each database opens and reads whole.
  void CheckDatabases();

 private:
  std::array<std::u16string, 3> paths_;
  std::array<MDbEnv, 2> envs_;
  std::array<MDbRef, 2> refs_;
  std::array<MDbSchemaTbl, 2> schemas_;
  std::array<MDbAttrTbl, 2> attrs_;
  std::array<MDbFieldOpTbl, 2> options_;
  std::array<MDbDataTbl, 2> data_;
  std::array<MDbDataRec, 4> records_;
  std::array<MDbRecset, 3> recsets_;
};

}  // namespace fuzz

#endif
