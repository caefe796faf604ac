// Reads that answer 0 and leave the caller's buffer as it was, because the platform failed after it had told the size.
#include "attributes.h"
#include "engine_fixture.h"
#include "seam_lines.h"

namespace {

class LenientReads : public enginetest::EngineTest {
 protected:
  void SetUp() override {
    CreateDatabase({{MDbFieldText, u"Name"}});
    OpenDatabase();
    ASSERT_EQ(MDbFieldOpTblOpen(&env, ref(), InitialisedUncached(), 0), MDbStatusOk);
    std::memset(&output, 0x77, sizeof output);
  }
  ~LenientReads() override { (void)MDbFieldOpTblClose(&env, ref(), &uncached); }
  MDbFieldOpTbl* InitialisedUncached() {
    MDbFieldOpTblInitialize(&uncached);
    return &uncached;
  }
  bool OutputUntouched() const {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&output);
    return std::all_of(bytes, bytes + sizeof output, [](uint8_t byte) { return byte == 0x77; });
  }

  struct Output {
    MDbFldInfo info;
    MDbChar text[40];
    uint8_t type;
    MDbAttrs attrs;
    MDbFldOption option;
    MDbFldOptionEx option_ex;
  } output;
  MDbFieldOpTbl uncached;

  struct Row {
    const char* call;
    std::function<MDbStatus()> read;
  };
  std::vector<Row> Rows() {
    return {
        {"MDbSchemaTblRead",
         [this] { return MDbSchemaTblRead(&env, ref(), &env.schemaTbl, 0, &output.info, output.text, 80); }},
        {"MDbSchemaTblReadFldInfo",
         [this] { return MDbSchemaTblReadFldInfo(&env, ref(), &env.schemaTbl, 0, &output.info); }},
        {"MDbSchemaTblReadFldName",
         [this] { return MDbSchemaTblReadFldName(&env, ref(), &env.schemaTbl, 0, output.text, 80); }},
        {"MDbSchemaTblReadFldType",
         [this] { return MDbSchemaTblReadFldType(&env, ref(), &env.schemaTbl, 0, &output.type); }},
        {"MDbAttrTblReadAttrs", [this] { return MDbAttrTblReadAttrs(&env, ref(), &env.attrTbl, 0, &output.attrs); }},
        {"MDbAttrTblReadDbName",
         [this] { return MDbAttrTblReadDbName(&env, ref(), &env.attrTbl, 0, output.text, 80); }},
        {"MDbAttrTblRead",
         [this] { return mdb::MDbAttrTblRead(&env, ref(), &env.attrTbl, 0, &output.attrs, output.text, 80); }},
        {"MDbFieldOpTblReadOption, cached",
         [this] { return MDbFieldOpTblReadOption(&env, ref(), &env.fieldOpTbl, 0, &output.option); }},
        {"MDbFieldOpTblReadOptionEx, cached",
         [this] { return MDbFieldOpTblReadOptionEx(&env, ref(), &env.fieldOpTbl, 0, &output.option_ex); }},
        {"MDbFieldOpTblReadOption",
         [this] { return MDbFieldOpTblReadOption(&env, ref(), &uncached, 0, &output.option); }},
        {"MDbFieldOpTblReadOptionEx",
         [this] { return MDbFieldOpTblReadOptionEx(&env, ref(), &uncached, 0, &output.option_ex); }},
        {"MDbValListTblRead", [this] { return MDbValListTblRead(&env, ref(), &env.valListTbl, 0, output.text, 80); }},
        {"MDbAgentGetDbName", [this] { return MDbAgentGetDbName(&env, output.text, 80); }},
        {"MDbAgentGetValList", [this] { return MDbAgentGetValList(&env, 0, output.text, 80); }},
    };
  }
};

TEST_F(LenientReads, AFailedAllocationAfterTheProbeAnswersZeroAndLeavesTheOutput) {
  for (const Row& row : Rows()) {
    seam::PlatformSeam seam;
    seam.Fail("LocalAlloc");
    EXPECT_EQ(row.read(), MDbStatusOk) << row.call;
    EXPECT_TRUE(seam.FaultHappened()) << row.call;
    EXPECT_TRUE(OutputUntouched()) << row.call;
    EXPECT_EQ(seam.CountOf("CeReadRecordPropsEx"), 1u) << row.call << ": there is no buffer to read into";
  }
}

TEST_F(LenientReads, AFailedReadAfterTheProbeAnswersZeroFreesTheBlockAndLeavesTheOutput) {
  for (const Row& row : Rows()) {
    const size_t blocks = seam::LiveBlocks();
    seam::PlatformSeam seam;
    seam.Fail("CeReadRecordPropsEx", 1);
    EXPECT_EQ(row.read(), MDbStatusOk) << row.call;
    EXPECT_TRUE(seam.FaultHappened()) << row.call;
    EXPECT_TRUE(OutputUntouched()) << row.call;
    EXPECT_EQ(seam::LiveBlocks(), blocks) << row.call;
  }
}

TEST_F(LenientReads, AFailedProbeIsAFailureAndNothingIsAllocated) {
  for (const Row& row : Rows()) {
    for (const DWORD error : {DWORD{ERROR_KEY_DELETED}, DWORD{ERROR_NO_DATA}, DWORD{ERROR_INVALID_HANDLE}}) {
      seam::PlatformSeam seam;
      seam.Fail("CeReadRecordPropsEx", 0, error);
      EXPECT_EQ(row.read(), MDbStatusFailed) << row.call << ", error " << error;
      EXPECT_TRUE(OutputUntouched()) << row.call;
      EXPECT_EQ(seam.CountOf("LocalAlloc"), 0u) << row.call;
    }
  }
}

TEST_F(LenientReads, AFailedLookUpIsAFailureAndNothingIsProbed) {
  for (const Row& row : Rows()) {
    seam::PlatformSeam seam;
    seam.Fail("CeSeekDatabase");
    EXPECT_EQ(row.read(), MDbStatusFailed) << row.call;
    EXPECT_TRUE(OutputUntouched()) << row.call;
    EXPECT_EQ(seam.CountOf("CeReadRecordPropsEx"), 0u) << row.call;
  }
}

TEST_F(LenientReads, AFailedProbeOfASizeIsAFailureToo) {
  uint32_t size = 77;
  seam::PlatformSeam seam;
  seam.Fail("CeReadRecordPropsEx");
  EXPECT_EQ(MDbSchemaTblGetNameSize(&env, ref(), &env.schemaTbl, 0, &size), MDbStatusFailed);
  seam.Fail("CeReadRecordPropsEx");
  EXPECT_EQ(MDbValListTblGetSize(&env, ref(), &env.valListTbl, 0, &size), MDbStatusFailed);
  seam.Fail("CeReadRecordPropsEx");
  EXPECT_EQ(MDbAgentGetValListSize(&env, 0, &size), MDbStatusFailed);
  EXPECT_EQ(size, 77u);
}

}  // namespace
