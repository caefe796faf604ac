// See handles_world.h. The databases are made once and copied for each world.
#include "handles_world.h"

#include <filesystem>
#include <memory>
#include <vector>

#include "object_store.h"
#include "requirement.h"
#include "temporary_directory.h"
#include "whole_volume.h"

namespace fuzz {
namespace {

namespace fs = std::filesystem;

constexpr uint8_t kTypes[] = {MDbFieldText, MDbFieldNumber, MDbFieldDate, MDbFieldTime};

void Require(MDbStatus status) { FUZZ_REQUIRE(status == MDbStatusOk, "the world is made"); }

void MakeDatabase(const std::u16string& path, int records) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  Require(MDbInit(&env, nullptr, 0));
  MDbRef ref;
  MDbRefInitialize(&ref);
  Require(MDbCreate(&env, path.c_str(), &ref));
  MDbFldInfo definitions[4]{};
  MDbFldOptionPair options[4]{};
  const MDbChar* names[] = {u"text", u"number", u"date", u"time"};
  for (uint8_t i = 0; i < 4; ++i) {
    definitions[i].type = kTypes[i];
    Require(MDbFieldOpTblGetDefOptionEx(&options[i].optionEx, i, 4));
  }
  MDbAttrs attrs{};
  attrs.dateFormat.separator = u'/';
  attrs.timeFormat.separator = u':';
  const MDbChar* lists[] = {u"red"};
  Require(MDbSchemaTblCreateEx(&env, &ref, definitions, names, 4));
  Require(MDbFieldOpTblCreateEx(&env, &ref, options, 4));
  Require(MDbAttrTblCreateEx(&env, &ref, &attrs, u"world"));
  Require(MDbValListTblCreateEx(&env, &ref, lists, 1));
  Require(MDbDataTblCreate(&env, &ref, nullptr));
  Require(MDbWriteChecksome(&env, &ref, 1));
  MDbDataTbl table;
  MDbDataTblInitialize(&table);
  Require(MDbDataTblOpen(&env, &ref, &table, nullptr));
  const MDbRecInfo info{};
  const MDbChar* texts[] = {u"oak", u"42", u"1/2/2024", u"7:05"};
  for (int i = 0; i < records; ++i) {
    Require(MDbDataTblAddRec(&env, &ref, &table, &info, texts, 4, 1, nullptr, nullptr));
  }
  Require(MDbDataTblClose(&env, &ref, &table));
  Require(MDbClose(&env, &ref));
  Require(MDbShutdown(&env, 0, 0));
}

// The folder of the process, with the databases to copy.
const fs::path& Folder() {
  static const auto folder = std::make_unique<TemporaryDirectory>();
  static const bool made = [] {
    MakeDatabase(*folder / u"first", 5);
    MakeDatabase(*folder / u"second", 2);
    return true;
  }();
  (void)made;
  return folder->path();
}

// A mount whose handle record was used for another one is nobody's any more.
void UnmountEverything() {
  for (int i = 0; i < 1000; ++i) {
    const CEGUID all = {~0u, ~0u, ~0u, ~0u};
    const HANDLE find = CeFindFirstDatabaseEx(&all, 0);
    if (find == INVALID_HANDLE_VALUE) return;
    CEGUID guid{};
    const CEOID oid = CeFindNextDatabaseEx(find, &guid);
    FUZZ_REQUIRE(CloseHandle(find), "the list of databases is closed");
    if (oid == 0 || !CeUnmountDBVol(&guid)) return;
  }
}

}  // namespace

World::World() {
  const fs::path& folder = Folder();
  paths_ = {(folder / "a").u16string(), (folder / "b").u16string(), (folder / "nothing").u16string()};
  fs::copy_file(folder / "first", folder / "a", fs::copy_options::overwrite_existing);
  fs::copy_file(folder / "second", folder / "b", fs::copy_options::overwrite_existing);
  for (MDbEnv& env : envs_) {
    MDbEnvInitialize(&env);
    Require(MDbInit(&env, nullptr, 0));
  }
  for (MDbRef& ref : refs_) MDbRefInitialize(&ref);
  for (MDbSchemaTbl& table : schemas_) MDbSchemaTblInitialize(&table);
  for (MDbAttrTbl& table : attrs_) MDbAttrTblInitialize(&table);
  for (MDbFieldOpTbl& table : options_) MDbFieldOpTblInitialize(&table);
  for (MDbDataTbl& table : data_) MDbDataTblInitialize(&table);
  for (MDbDataRec& record : records_) MDbDataRecInitialize(&record);
  for (MDbRecset& recset : recsets_) MDbRecsetInitialize(&recset);
  Require(MDbAgentOpenDb(&envs_[0], paths_[0].c_str()));
  Require(MDbAgentOpenDb(&envs_[1], paths_[1].c_str()));
}

World::~World() = default;

void World::CheckClosedRecords() {
  for (MDbDataRec& record : records_) {
    if (MDbDataRecIsOpened(&record) != 0) continue;
    uint8_t state = 0x77;
    MDbEnv& env = envs_[0];
    FUZZ_REQUIRE(MDbDataRecGetState(&env, &env.agentRef, &env.dataTbl, &record, &state) == MDbStatusFailed,
                 "a closed record is not read");
    FUZZ_REQUIRE(state == 0x77, "and nothing is written");
    FUZZ_REQUIRE(MDbDataTblCloseRec(&env, &env.agentRef, &env.dataTbl, &record) == MDbStatusFailed,
                 "a closed record is not closed again");
  }
  for (MDbRef& ref : refs_) {
    uint32_t count = 0;
    if (MDbRefIsOpened(&ref) == 0) {
      FUZZ_REQUIRE(MDbClose(&envs_[0], &ref) == MDbStatusFailed, "a closed file is not closed again");
    }
    for (MDbDataTbl& table : data_) {
      if (MDbDataTblIsOpened(&envs_[0], &ref, &table) != 0) continue;
      FUZZ_REQUIRE(MDbDataTblGetRecCount(&envs_[0], &ref, &table, &count) == MDbStatusFailed,
                   "a closed table is not counted");
    }
  }
  for (MDbRecset& recset : recsets_) {
    uint32_t count = 0x77;
    if (recset.valid != 0) continue;
    FUZZ_REQUIRE(MDbRecsetGetRecCount(&envs_[0], &recset, &count) == MDbStatusFailed && count == 0x77,
                 "a record set that is not valid is not counted");
  }
}

void World::End() {
  for (MDbRecset& recset : recsets_) {
    for (MDbEnv& env : envs_) (void)MDbRecsetDestroy(&env, &recset);
    if (MDbDataRecIsOpened(&recset.record) != 0) {
      (void)MDbDataTblCloseRec(&envs_[0], &envs_[0].agentRef, &envs_[0].dataTbl, &recset.record);
    }
    recset.valid = 0;  // what both environments refused to destroy still has a list to free
    (void)MDbRecsetDestroy(&envs_[0], &recset);
  }
  for (MDbDataRec& record : records_) {
    (void)MDbDataTblCloseRec(&envs_[0], &envs_[0].agentRef, &envs_[0].dataTbl, &record);
  }
  for (MDbFieldOpTbl& table : options_) (void)MDbFieldOpTblClose(&envs_[0], &refs_[0], &table);
  for (MDbEnv& env : envs_) {
    (void)MDbFieldOpTblClose(&env, &env.agentRef, &env.fieldOpTbl);
    (void)MDbAgentCloseDb(&env);
    Require(MDbShutdown(&env, 0, 0));
  }
  for (MDbRef& ref : refs_) (void)MDbClose(&envs_[0], &ref);
  UnmountEverything();
}

void World::CheckDatabases() {
  for (size_t i = 0; i < 2; ++i) {
    std::string contents;
    FUZZ_REQUIRE(ReadThroughStore(paths_[i], contents) == 0, "each volume is whole");
    MDbEnv env;
    MDbEnvInitialize(&env);
    Require(MDbInit(&env, nullptr, 0));
    FUZZ_REQUIRE(MDbAgentOpenDb(&env, paths_[i].c_str()) == MDbStatusOk, "each database opens");
    int16_t fields = 0;
    FUZZ_REQUIRE(MDbSchemaTblGetCount(&env, &env.agentRef, &env.schemaTbl, &fields) == MDbStatusOk && fields == 4,
                 "each database has its fields");
    MDbRecset recset;
    MDbRecsetInitialize(&recset);
    FUZZ_REQUIRE(MDbAgentQuery(&env, &recset, nullptr) == MDbStatusOk, "each database is queried");
    FUZZ_REQUIRE(MDbRecsetSort(&env, &recset, 0, MDbSortAscending) == MDbStatusOk, "and sorted");
    FUZZ_REQUIRE(MDbRecsetDestroy(&env, &recset) == MDbStatusOk, "and let go of");
    FUZZ_REQUIRE(MDbAgentCloseDb(&env) == MDbStatusOk, "each database is closed");
    Require(MDbShutdown(&env, 0, 0));
    FUZZ_REQUIRE(MDbDelete(&env, paths_[i].c_str()) == MDbStatusOk, "nothing holds a database that was closed");
  }
}

}  // namespace fuzz
