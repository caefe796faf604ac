// Every exported call while the platform fails: each case's sweep, and that no exported call is without one.
#include <fstream>
#include <set>

#include "fault_sweeper.h"

namespace callfaults {
namespace {

class CallFaults : public ::testing::TestWithParam<FaultCase> {};

TEST_P(CallFaults, EveryPlatformCallFails) { FaultSweeper(GetParam()).Run(); }

std::string NameOf(const ::testing::TestParamInfo<FaultCase>& info) { return info.param.Name(); }

INSTANTIATE_TEST_SUITE_P(Volume, CallFaults, ::testing::ValuesIn(VolumeCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(Agent, CallFaults, ::testing::ValuesIn(AgentCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(Schema, CallFaults, ::testing::ValuesIn(SchemaCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(Option, CallFaults, ::testing::ValuesIn(OptionCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(AttributeAndList, CallFaults, ::testing::ValuesIn(AttributeAndListCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(DataTable, CallFaults, ::testing::ValuesIn(DataTableCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(Creation, CallFaults, ::testing::ValuesIn(CreationCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(Record, CallFaults, ::testing::ValuesIn(RecordCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(Query, CallFaults, ::testing::ValuesIn(QueryCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(Sort, CallFaults, ::testing::ValuesIn(SortCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(Set, CallFaults, ::testing::ValuesIn(SetCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(Edit, CallFaults, ::testing::ValuesIn(EditCases()), NameOf);
INSTANTIATE_TEST_SUITE_P(Conversion, CallFaults, ::testing::ValuesIn(ConversionCases()), NameOf);

std::set<std::string> Exports() {
  std::ifstream file(XKRDB_EXPORTS);
  std::set<std::string> names;
  for (std::string name; std::getline(file, name);) {
    if (!name.empty()) names.insert(name);
  }
  return names;
}

TEST(CallFaultTables, EveryExportedCallIsSweptAndNothingElse) {
  std::set<std::string> swept;
  for (const FaultCase& fault_case : AllCases()) swept.insert(fault_case.call);
  EXPECT_EQ(Exports().size(), 122u);
  EXPECT_EQ(swept, Exports());
}

// A call that reaches the platform in some state is swept in such a state: only the calls that stand here may go
// without.
TEST(CallFaultTables, OnlyTheseCallsMakeNoPlatformCallThatCanFail) {
  const std::set<std::string> kNever = {
      "MDbAgentInit",          "MDbAgentShutdown",     "MDbAttrTblClose",       "MDbAttrTblIsOpened",
      "MDbAttrTblOpen",        "MDbDataRecInitialize", "MDbDataRecIsOpened",    "MDbDataTblCursGetInx",
      "MDbDataTblCursSetInx",  "MDbDataTblIsOpened",   "MDbEnvInitialize",      "MDbFieldOpTblGetDefOptionEx",
      "MDbFieldOpTblIsOpened", "MDbFieldOpTblOpen",    "MDbIsOpened",           "MDbRecsetGetInx",
      "MDbRecsetGetSortDef",   "MDbRecsetInitialize",  "MDbRecsetIsFiltered",   "MDbRecsetIsFilteredDirty",
      "MDbRecsetSetInx",       "MDbRefIsOpened",       "MDbSchemaTblClose",     "MDbSchemaTblIsOpened",
      "MDbSchemaTblOpen",      "MDbValListTblClose",   "MDbValListTblIsOpened", "MDbValListTblOpen",
      "MDbVolFSpecInitialize"};
  const std::set<std::string> kOnlyWhatCannotFail = {"MDbDataTblCloseRec", "MDbFieldOpTblClose", "MDbRecsetCloseRec",
                                                     "MDbShutdown"};
  std::set<std::string> failing;
  std::set<std::string> infallible;
  std::set<std::string> silent;
  for (const FaultCase& fault_case : AllCases()) {
    auto& names = fault_case.platform == Platform::kFails        ? failing
                  : fault_case.platform == Platform::kInfallible ? infallible
                                                                 : silent;
    names.insert(fault_case.call);
  }
  for (const std::string& name : failing) infallible.erase(name), silent.erase(name);
  for (const std::string& name : infallible) silent.erase(name);
  EXPECT_EQ(infallible, kOnlyWhatCannotFail);
  EXPECT_EQ(silent, kNever);
}

}  // namespace
}  // namespace callfaults
