// The agent calls that read and change the settings, the name and the value lists of the environment's database.
#include "engine_fixture.h"
#include "seam_lines.h"

namespace {

using seam::Find;
using seam::Lines;

class AgentSettings : public enginetest::EngineTest {
 protected:
  void SetUp() override {
    enginetest::Recipe recipe;
    recipe.fields = {{MDbFieldText, u"Name"}};
    recipe.name = u"Address book";
    recipe.value_lists = {u"red\ngreen", u""};
    for (uint32_t i = 0; i < 4; ++i) recipe.attrs.attribute[i] = 0x11111111 * (i + 1);
    attrs = recipe.attrs;
    CreateDatabase(recipe);
    OpenDatabase();
  }
  MDbAttrs Stored() {
    MDbAttrs stored;
    EXPECT_EQ(MDbAttrTblReadAttrs(&env, ref(), &env.attrTbl, 0, &stored), MDbStatusOk);
    return stored;
  }
  bool Unchanged() {
    const MDbAttrs stored = Stored();
    return std::memcmp(&stored, &attrs, sizeof attrs) == 0;
  }

  MDbAttrs attrs;
};

TEST_F(AgentSettings, SelectorsZeroToThreeReadTheFourWordsAndEveryOtherReadsZero) {
  const struct {
    int16_t selector;
    uint32_t value;
  } kRows[] = {{0, 0x11111111}, {1, 0x22222222}, {2, 0x33333333}, {3, 0x44444444}, {4, 0},
               {7, 0},          {-1, 0},         {32767, 0},      {-32768, 0}};
  for (const auto& row : kRows) {
    uint32_t value = 0xEEEEEEEE;
    EXPECT_EQ(MDbAgentGetAttr(&env, row.selector, &value), MDbStatusOk) << row.selector;
    EXPECT_EQ(value, row.value) << row.selector;
  }
}

TEST_F(AgentSettings, SettingChangesTheSelectedWordAlone) {
  for (int16_t selector = 0; selector < 4; ++selector) {
    EXPECT_EQ(MDbAgentSetAttr(&env, selector, 0xFFFFFFFF), MDbStatusOk) << selector;
    attrs.attribute[selector] = 0xFFFFFFFF;
    EXPECT_TRUE(Unchanged()) << selector;
    uint32_t value = 0;
    EXPECT_EQ(MDbAgentGetAttr(&env, selector, &value), MDbStatusOk) << selector;
    EXPECT_EQ(value, 0xFFFFFFFFu) << selector;
  }
}

TEST_F(AgentSettings, SettingAnyOtherSelectorIsRefusedAndWritesNothing) {
  for (const int selector : {4, 7, -1, 32767, -32768}) {
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbAgentSetAttr(&env, static_cast<int16_t>(selector), 5), MDbStatusFailed) << selector;
    EXPECT_EQ(seam.CountOf("CeWriteRecordProps"), 0u) << selector;
  }
  EXPECT_TRUE(Unchanged());
}

TEST_F(AgentSettings, SettingReadsTheWholeRecordAndWritesItWholeIntoTheSameObject) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAgentSetAttr(&env, 2, 0xFFFFFFFF), MDbStatusOk);
  const Lines calls = seam.StoreTexts();
  ASSERT_EQ(calls.size(), 5u);
  EXPECT_EQ(Lines(calls.begin(), calls.begin() + 2), (Lines{Find(0x20000), seam::Probe("0x20041")}));
  EXPECT_EQ(calls[2], seam::Read("0x20041", seam.CallsOf("LocalAlloc").at(0).arguments[1]));
  EXPECT_EQ(calls[3], Find(0x20000));
  EXPECT_EQ(calls[4].find("CeWriteRecordProps(OBJG_0, oid=#1, [0x20041={"), 0u);
  attrs.attribute[2] = 0xFFFFFFFF;
  const std::vector<uint8_t> written = seam.CallsOf("CeWriteRecordProps").at(0).properties.at(0).bytes;
  ASSERT_EQ(written.size(), 78u);
  EXPECT_EQ(std::memcmp(written.data(), &attrs, 78), 0);
}

TEST_F(AgentSettings, AnUnreadableRecordIsAFailureOfBothAndNothingIsWritten) {
  for (const char* failing : {"CeSeekDatabase", "CeReadRecordPropsEx"}) {
    uint32_t value = 77;
    {
      seam::PlatformSeam seam;
      seam.Fail(failing);
      EXPECT_EQ(MDbAgentGetAttr(&env, 1, &value), MDbStatusFailed) << failing;
    }
    EXPECT_EQ(value, 77u) << failing;
    seam::PlatformSeam seam;
    seam.Fail(failing);
    EXPECT_EQ(MDbAgentSetAttr(&env, 1, 5), MDbStatusFailed) << failing;
    EXPECT_EQ(seam.CountOf("CeWriteRecordProps"), 0u) << failing;
  }
}

// When memory runs out after the probe there is no record to change. Writing back a block that was never read would
// put zeros in place of every setting.
TEST_F(AgentSettings, ARecordThatWasNotReadIsNeverWrittenBack) {
  const struct {
    const char* failing;
    size_t n;
  } kRows[] = {{"LocalAlloc", 0}, {"CeReadRecordPropsEx", 1}};
  for (const auto& row : kRows) {
    {
      seam::PlatformSeam seam;
      seam.Fail(row.failing, row.n);
      EXPECT_EQ(MDbAgentSetAttr(&env, 1, 5), MDbStatusFailed) << row.failing;
      ASSERT_TRUE(seam.FaultHappened()) << row.failing;
    }
    EXPECT_TRUE(Unchanged()) << row.failing;
  }
}

TEST_F(AgentSettings, ASettingThatWasNotReadLeavesTheCallersValueAsItWas) {
  uint32_t value = 77;
  seam::PlatformSeam seam;
  seam.Fail("LocalAlloc");
  EXPECT_EQ(MDbAgentGetAttr(&env, 1, &value), MDbStatusOk);
  EXPECT_EQ(value, 77u);
}

TEST_F(AgentSettings, ARefusedWriteIsAFailure) {
  {
    seam::PlatformSeam seam;
    seam.Fail("CeWriteRecordProps");
    EXPECT_EQ(MDbAgentSetAttr(&env, 0, 5), MDbStatusFailed);
  }
  EXPECT_TRUE(Unchanged());
}

TEST_F(AgentSettings, TheNameIsCutToTheBuffer) {
  const struct {
    uint32_t size_bytes;
    const char16_t* expected;
  } kRows[] = {{26, u"Address book"}, {25, u"Address boo"}, {10, u"Addr"}, {2, u""}, {200, u"Address book"}};
  for (const auto& row : kRows) {
    MDbChar name[100];
    std::fill(std::begin(name), std::end(name), u'~');
    EXPECT_EQ(MDbAgentGetDbName(&env, name, row.size_bytes), MDbStatusOk) << row.size_bytes;
    EXPECT_EQ(std::u16string(name), row.expected) << row.size_bytes;
    EXPECT_EQ(name[std::u16string(name).size() + 1], u'~') << row.size_bytes;
  }
}

TEST_F(AgentSettings, ValueListsAreReadAndMeasuredByIndex) {
  const struct {
    int16_t index;
    MDbStatus status;
    const char16_t* text;
    uint32_t size;
  } kRows[] = {{0, MDbStatusOk, u"red\ngreen", 20},
               {1, MDbStatusOk, u"", 2},
               {2, MDbStatusFailed, u"~", 77},
               {-1, MDbStatusFailed, u"~", 77}};
  for (const auto& row : kRows) {
    MDbChar text[50] = {u'~'};
    EXPECT_EQ(MDbAgentGetValList(&env, row.index, text, sizeof text), row.status) << row.index;
    EXPECT_EQ(std::u16string(text), row.text) << row.index;
    uint32_t size = 77;
    EXPECT_EQ(MDbAgentGetValListSize(&env, row.index, &size), row.status) << row.index;
    EXPECT_EQ(size, row.size) << row.index;
  }
}

void ExpectRefused(MDbEnv* env, const char* why) {
  uint32_t number = 77;
  MDbChar text[8] = u"before";
  MDbRecset recset;
  MDbRecsetInitialize(&recset);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbAgentGetAttr(env, 0, &number), MDbStatusFailed) << why;
  EXPECT_EQ(MDbAgentGetAttr(env, 7, &number), MDbStatusFailed) << why;
  EXPECT_EQ(MDbAgentSetAttr(env, 0, 1), MDbStatusFailed) << why;
  EXPECT_EQ(MDbAgentGetDbName(env, text, sizeof text), MDbStatusFailed) << why;
  EXPECT_EQ(MDbAgentGetValList(env, 0, text, sizeof text), MDbStatusFailed) << why;
  EXPECT_EQ(MDbAgentGetValListSize(env, 0, &number), MDbStatusFailed) << why;
  EXPECT_EQ(MDbAgentQuery(env, &recset, nullptr), MDbStatusFailed) << why;
  EXPECT_TRUE(seam.calls().empty()) << why;
  EXPECT_EQ(number, 77u) << why;
  EXPECT_EQ(std::u16string(text), u"before") << why;
}

TEST_F(AgentSettings, EveryCallIsRefusedWithoutAPlatformCallWhileNothingIsOpen) {
  env.initialized = 0;
  ExpectRefused(&env, "the environment is not initialised");
  env.initialized = 1;
  ASSERT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
  ExpectRefused(&env, "the database is closed");
}

}  // namespace
