// The recorder itself: what it sees, what it does not see, and how its faults count.
#include "platform_seam.h"

#include "engine_fixture.h"
#include "seam_lines.h"

namespace {

using seam::Lines;

class Seam : public enginetest::EngineTest {
 protected:
  void SetUp() override {
    CreateDatabase({{MDbFieldText, u"Name"}});
    OpenDatabase();
  }
  MDbStatus Count() {
    int16_t count = 0;
    return MDbSchemaTblGetCount(&env, ref(), &env.schemaTbl, &count);
  }
};

TEST_F(Seam, SeesNoneOfTheCallsThatThePlatformMakesItself) {
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
  EXPECT_EQ(seam.calls().size(), 4u);
}

TEST_F(Seam, SeesNothingWhileItIsStoppedOrToldNotToLook) {
  seam::PlatformSeam seam;
  seam.Stop();
  EXPECT_EQ(Count(), MDbStatusOk);
  seam.Start();
  {
    const seam::Unseen unseen;
    EXPECT_EQ(Count(), MDbStatusOk);
  }
  EXPECT_TRUE(seam.calls().empty());
  EXPECT_EQ(Count(), MDbStatusOk);
  EXPECT_EQ(seam.calls().size(), 2u);
}

TEST_F(Seam, KnowsHandlesThatWereOpenedBeforeItStarted) {
  seam::PlatformSeam seam;
  EXPECT_EQ(Count(), MDbStatusOk);
  EXPECT_EQ(seam.calls()[0].text, seam::Find(0x30000));
}

TEST_F(Seam, MarksFailedCallsAndKeepsTheirLastError) {
  seam::PlatformSeam seam;
  EXPECT_EQ(Count(), MDbStatusOk);
  EXPECT_FALSE(seam.calls()[0].failed);
  EXPECT_NE(seam.calls()[0].result, 0u);
  EXPECT_TRUE(seam.calls()[1].failed);
  EXPECT_EQ(seam.calls()[1].error, DWORD{ERROR_SEEK});
  EXPECT_FALSE(seam.calls()[1].injected);
}

TEST_F(Seam, FailsTheNthCallOfANameCountedFromWhereItWasAsked) {
  seam::PlatformSeam seam;
  EXPECT_EQ(Count(), MDbStatusOk);
  seam.Fail("CeSeekDatabase", 1, ERROR_KEY_DELETED);
  EXPECT_EQ(Count(), MDbStatusOk);
  ASSERT_EQ(seam.calls().size(), 4u);
  EXPECT_FALSE(seam.calls()[2].injected);
  EXPECT_TRUE(seam.calls()[3].injected);
  EXPECT_EQ(seam.calls()[3].error, DWORD{ERROR_KEY_DELETED});
  EXPECT_TRUE(seam.FaultHappened());
}

TEST_F(Seam, FailsTheNthCallOfAnyNameAndAllLaterOnesWhenAsked) {
  seam::PlatformSeam seam;
  seam.FailAnyFrom(1);
  MDbFldOption option;
  EXPECT_EQ(MDbFieldOpTblReadOption(&env, ref(), &env.fieldOpTbl, 0, &option), MDbStatusFailed);
  EXPECT_EQ(seam.Texts(), (Lines{seam::Find(0), seam::Probe("0x20041, 0x30041"), "GetLastError()"}));
  EXPECT_EQ(seam.FallibleCalls(), 2u);
  seam.Disarm();
  EXPECT_EQ(MDbFieldOpTblReadOption(&env, ref(), &env.fieldOpTbl, 0, &option), MDbStatusOk);
}

TEST_F(Seam, CountsTheBlocksAndHandlesThatTheEngineHolds) {
  const size_t blocks = seam::LiveBlocks();
  EXPECT_EQ(seam::LiveHandles(), 3u);
  EXPECT_EQ(seam::LiveMounts(), 1u);
  MDbFldOption option;
  EXPECT_EQ(MDbFieldOpTblReadOption(&env, ref(), &env.fieldOpTbl, 0, &option), MDbStatusOk);
  EXPECT_EQ(seam::LiveBlocks(), blocks + 2) << "the cache's array and its one entry";
}

TEST_F(Seam, NamesASecondHandleOfOneDatabase) {
  MDbRef second;
  MDbRefInitialize(&second);
  ASSERT_EQ(MDbOpen(&env, path.c_str(), &second), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbVerifyChecksome(&env, &second), MDbStatusOk);
  EXPECT_EQ(MDbClose(&env, &second), MDbStatusOk);
  EXPECT_EQ(seam.calls()[0].text, "CeSeekDatabase(OBJG_0/2, VALUEFIRSTEQUAL, 0x10013=0x60000)");
  EXPECT_EQ(seam.calls()[2].text, "CloseHandle(OBJG_0/2)");
}

}  // namespace
