// The agent calls that open the environment's database with all its tables and close it again.
#include "engine_fixture.h"
#include "seam_lines.h"

namespace {

using enginetest::Recipe;
using seam::Find;
using seam::FindNext;
using seam::Lines;

const char* const kOpenCatalogue = "CeOpenDatabaseEx(vol1, oid=0, name=\"OBJG_0\", sort=0x10013, flags=0, null)";
const char* const kOpenData = "CeOpenDatabaseEx(vol1, oid=0, name=\"DATA_0\", sort=0x40013, flags=0, null)";
const char* const kOpenLog = "CeOpenDatabaseEx(vol1, oid=0, name=\"DELT_0\", sort=0, flags=0, null)";

class Agent : public enginetest::EngineTest {
 protected:
  static Recipe TwoFields() {
    Recipe recipe;
    recipe.fields = {{MDbFieldText, u"Name"}, {MDbFieldNumber, u"Age"}};
    return recipe;
  }
  void ExpectClosed() const {
    EXPECT_EQ(env.agentRef.opened, 0);
    EXPECT_EQ(env.agentRef.catalog.isOpen, 0u);
    EXPECT_EQ(env.dataTbl.opened, 0u);
    EXPECT_EQ(env.schemaTbl.opened, 0);
    EXPECT_EQ(env.fieldOpTbl.opened, 0);
    EXPECT_EQ(env.fieldOpTbl.cache, nullptr);
    EXPECT_EQ(env.attrTbl.opened, 0);
    EXPECT_EQ(env.valListTbl.opened, 0);
    EXPECT_EQ(seam::LiveMounts(), 0u);
    EXPECT_EQ(env.initialized, 1);
  }
};

TEST_F(Agent, InitAndShutdownDoNothing) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAgentInit(), MDbStatusOk);
  EXPECT_EQ(MDbAgentShutdown(), MDbStatusOk);
  EXPECT_TRUE(seam.calls().empty());
}

// ---- opening

TEST_F(Agent, OpeningChecksHeaderMarkAndFieldsAndThenOpensTheDataTable) {
  CreateDatabase(TwoFields());
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbAgentOpenDb(&env, path.c_str()), MDbStatusOk);
  const std::string mount = "CeMountDBVol(\"" + seam::ToUtf8Path(path) + "\", OPEN_EXISTING)";
  EXPECT_EQ(seam.Texts(), seam::Join({{mount, kOpenCatalogue, Find(0x50000)},
                                      seam::ProbedRead("0x30041", seam::kPropertyHeader + 8),
                                      {Find(0x60000), seam::Read("0x40013", seam::kPropertyHeader)},
                                      {Find(0x30000), FindNext(0x30001), FindNext(0x30002)},
                                      {kOpenData, kOpenLog}}));
}

TEST_F(Agent, OpeningOpensEveryTableAndCachesFieldOptions) {
  CreateDatabase(TwoFields());
  OpenDatabase();
  EXPECT_TRUE(MDbIsOpened(&env, ref()));
  EXPECT_TRUE(MDbDataTblIsOpened(&env, ref(), &env.dataTbl));
  EXPECT_TRUE(MDbSchemaTblIsOpened(&env, ref(), &env.schemaTbl));
  EXPECT_TRUE(MDbFieldOpTblIsOpened(&env, ref(), &env.fieldOpTbl));
  EXPECT_TRUE(MDbAttrTblIsOpened(&env, ref(), &env.attrTbl));
  EXPECT_TRUE(MDbValListTblIsOpened(&env, ref(), &env.valListTbl));
  EXPECT_EQ(env.fieldOpTbl.flags, 1u);
}

TEST_F(Agent, AFreshlyCreatedDatabaseWithoutAMarkDoesNotOpenAndNothingStaysOpen) {
  Recipe recipe = TwoFields();
  recipe.mark = false;
  CreateDatabase(recipe);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAgentOpenDb(&env, path.c_str()), MDbStatusFailed);
  ExpectClosed();
  const Lines calls = seam.StoreTexts();
  ASSERT_GE(calls.size(), 3u);
  EXPECT_EQ(Lines(calls.end() - 3, calls.end()), (Lines{Find(0x60000), "CloseHandle(OBJG_0)", "CeUnmountDBVol(vol1)"}));
}

TEST_F(Agent, AMarkThatIsNotOneYieldsTwelveAndUnmounts) {
  Recipe recipe = TwoFields();
  for (const uint32_t mark : {0u, 2u}) {
    recipe.mark_value = mark;
    CreateDatabase(recipe);
    EXPECT_EQ(MDbAgentOpenDb(&env, path.c_str()), MDbStatusChecksumMismatch) << mark;
    ExpectClosed();
    EXPECT_EQ(MDbDelete(&env, path.c_str()), MDbStatusOk);
  }
}

TEST_F(Agent, ADatabaseWithoutFieldsYieldsThirteenAndUnmounts) {
  CreateDatabase(Recipe());
  EXPECT_EQ(MDbAgentOpenDb(&env, path.c_str()), MDbStatusNoFields);
  ExpectClosed();
}

TEST_F(Agent, AFileThatCannotBeMountedYieldsSix) {
  EXPECT_EQ(MDbAgentOpenDb(&env, path.c_str()), MDbStatusCannotOpen);
  ExpectClosed();
}

TEST_F(Agent, AHeaderThatIsNotOursYieldsFiveAndUnmounts) {
  CreateDatabase(TwoFields());
  seam::PlatformSeam seam;
  seam.Alter("CeReadRecordPropsEx", 0, [](void* block) { static_cast<CEPROPVAL*>(block)->val.blob.lpb[6] = 9; });
  EXPECT_EQ(MDbAgentOpenDb(&env, path.c_str()), MDbStatusBadFormat);
  ExpectClosed();
  EXPECT_EQ(seam.CountOf("CeUnmountDBVol"), 1u);
}

TEST_F(Agent, AMissingDataTableYieldsOneAndUnmounts) {
  Recipe recipe = TwoFields();
  recipe.data_table = false;
  CreateDatabase(recipe);
  EXPECT_EQ(MDbAgentOpenDb(&env, path.c_str()), MDbStatusFailed);
  ExpectClosed();
}

TEST_F(Agent, TheCloseAfterAFailedOpenDoesNotChangeItsStatus) {
  Recipe recipe = TwoFields();
  recipe.mark_value = 0;
  CreateDatabase(recipe);
  {
    seam::PlatformSeam seam;
    seam.Fail("CeUnmountDBVol");
    EXPECT_EQ(MDbAgentOpenDb(&env, path.c_str()), MDbStatusChecksumMismatch);
  }
  EXPECT_EQ(env.agentRef.opened, 1);
  EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
}

TEST_F(Agent, AnEnvironmentThatWasNotInitialisedOpensTheVolumeButNoTable) {
  CreateDatabase(TwoFields());
  MDbEnv reset;
  MDbEnvInitialize(&reset);
  EXPECT_EQ(MDbAgentOpenDb(&reset, path.c_str()), MDbStatusFailed);
  EXPECT_EQ(MDbRefIsOpened(&reset.agentRef), 1) << "closing asks for an initialised environment";
  EXPECT_EQ(MDbClose(&reset, &reset.agentRef), MDbStatusOk);
}

// ---- closing

TEST_F(Agent, ClosingClosesDataLogAndCatalogueAndThenUnmounts) {
  CreateDatabase(TwoFields());
  OpenDatabase();
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
  EXPECT_EQ(seam.Texts(),
            (Lines{"CloseHandle(DATA_0)", "CloseHandle(DELT_0)", "CloseHandle(OBJG_0)", "CeUnmountDBVol(vol1)"}));
  ExpectClosed();
}

TEST_F(Agent, ClosingFreesTheCachedOptionsBetweenTheDataTableAndTheVolume) {
  CreateDatabase(TwoFields());
  OpenDatabase();
  MDbFldOption option;
  ASSERT_EQ(MDbFieldOpTblReadOption(&env, ref(), &env.fieldOpTbl, 0, &option), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
  std::vector<std::string> names;
  for (const seam::Call& call : seam.calls()) names.push_back(call.name);
  EXPECT_EQ(names, (Lines{"CloseHandle", "CloseHandle", "LocalFree", "LocalFree", "CloseHandle", "CeUnmountDBVol"}));
}

TEST_F(Agent, TheSecondCloseReturnsZeroAndClosesNothing) {
  CreateDatabase(TwoFields());
  OpenDatabase();
  EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(Agent, TheFirstFailureOfACloseIsReturnedAndTheLaterClosesStillRun) {
  CreateDatabase(TwoFields());
  OpenDatabase();
  {
    seam::PlatformSeam seam;
    seam.Fail("CloseHandle");
    EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusFailed);
    const Lines calls = seam.Texts();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(calls.front(), "CloseHandle(DATA_0)");
    EXPECT_EQ(calls[calls.size() - 2], "CloseHandle(OBJG_0)");
    EXPECT_EQ(calls.back(), "CeUnmountDBVol(vol1)");
  }
  EXPECT_EQ(env.agentRef.opened, 0);
  EXPECT_EQ(env.schemaTbl.opened, 0);
  EXPECT_EQ(env.fieldOpTbl.opened, 0);
  EXPECT_EQ(env.attrTbl.opened, 0);
  EXPECT_EQ(env.valListTbl.opened, 0);
}

TEST_F(Agent, ADataTableThatDidNotCloseIsGoneWithItsVolume) {
  CreateDatabase(TwoFields());
  for (const size_t handle : {0u, 1u}) {  // the live records' and the log's
    OpenDatabase();
    {
      seam::PlatformSeam seam;
      seam.Fail("CloseHandle", handle);
      EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusFailed);
    }
    EXPECT_EQ(env.dataTbl.opened, 0u) << "handle " << handle;
    EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk) << "handle " << handle;
    ExpectClosed();
  }
}

TEST_F(Agent, AFailedUnmountIsReturnedAndLeavesTheReferenceOpen) {
  CreateDatabase(TwoFields());
  OpenDatabase();
  {
    seam::PlatformSeam seam;
    seam.Fail("CeUnmountDBVol");
    EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusFailed);
  }
  EXPECT_EQ(env.agentRef.opened, 1);
  EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
  ExpectClosed();
}

TEST_F(Agent, WhatIsOpenAloneIsClosedAlone) {
  CreateDatabase(TwoFields());
  ASSERT_EQ(MDbOpen(&env, path.c_str(), ref()), MDbStatusOk);
  ASSERT_EQ(MDbSchemaTblOpen(&env, ref(), &env.schemaTbl), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{"CloseHandle(OBJG_0)", "CeUnmountDBVol(vol1)"}));
  ExpectClosed();
}

TEST_F(Agent, ADatabaseOpensAgainAfterItsClose) {
  CreateDatabase(TwoFields());
  for (int i = 0; i < 3; ++i) {
    OpenDatabase();
    EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
  }
}

}  // namespace
