// Every exported call on volumes, the integrity mark and the agent's database, with the n-th platform call failing.
#include "fault_sweep.h"

namespace {

using enginetest::Effect;
using enginetest::Opened;
using enginetest::Recipe;

Recipe TwoFields() {
  Recipe recipe;
  recipe.fields = {{MDbFieldText, u"Name"}, {MDbFieldDate, u"Born"}};
  return recipe;
}

class EngineFaultSweep : public enginetest::FaultSweepTest {
 protected:
  void Remove() { std::filesystem::remove(path); }
  MDbChar text[80];
  uint32_t number;
};

TEST_F(EngineFaultSweep, CallsOnAFileThatIsNotOpen) {
  MakeTemplate(TwoFields());
  Sweep({"MDbOpen", Opened::kNothing, Effect::kNone, {MDbStatusCannotOpen, MDbStatusBadFormat}, [this] {
           return MDbOpen(&env, path.c_str(), ref());
         }});
  Sweep({"MDbAgentOpenDb",
         Opened::kNothing,
         Effect::kNone,
         {MDbStatusFailed, MDbStatusCannotOpen, MDbStatusBadFormat, MDbStatusNoFields},
         [this] { return MDbAgentOpenDb(&env, path.c_str()); }});
}

TEST_F(EngineFaultSweep, CallsThatCloseAnOpenFile) {
  MakeTemplate(TwoFields());
  Sweep({"MDbClose", Opened::kVolume, Effect::kNone, {MDbStatusFailed}, [this] { return MDbClose(&env, ref()); }});
  Sweep(
      {"MDbAgentCloseDb", Opened::kAgent, Effect::kNone, {MDbStatusFailed}, [this] { return MDbAgentCloseDb(&env); }});
}

TEST_F(EngineFaultSweep, AFailedAgentOpenLeavesNothingOpen) {
  MakeTemplate(TwoFields());
  std::filesystem::copy_file(folder.path() / "template", path, std::filesystem::copy_options::overwrite_existing);
  bool happened = true;
  for (size_t n = 0; happened; ++n) {
    ASSERT_LT(n, 100u) << "every open fails by now";
    MDbStatus status;
    {
      seam::PlatformSeam seam;
      seam.FailAny(n);
      status = MDbAgentOpenDb(&env, path.c_str());
      happened = seam.FaultHappened();
    }
    if (status == MDbStatusOk) {  // a count that ended early, or nothing failed
      EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk) << "platform call " << n;
      continue;
    }
    EXPECT_EQ(seam::LiveMounts(), 0u) << "platform call " << n;
    EXPECT_EQ(seam::LiveHandles(), 0u) << "platform call " << n;
    EXPECT_EQ(MDbSchemaTblIsOpened(&env, ref(), &env.schemaTbl), 0) << "platform call " << n;
    EXPECT_EQ(env.schemaTbl.opened, 0) << "platform call " << n;
    EXPECT_EQ(env.agentRef.catalog.isOpen, 0u) << "platform call " << n;
    EXPECT_EQ(env.dataTbl.opened, 0u) << "platform call " << n;
  }
}

TEST_F(EngineFaultSweep, TheMark) {
  Recipe recipe = TwoFields();
  recipe.mark = false;
  MakeTemplate(recipe);
  Sweep({"MDbWriteChecksome", Opened::kVolume, Effect::kWhole, {MDbStatusFailed}, [this] {
           return MDbWriteChecksome(&env, ref(), 1);
         }});
}

TEST_F(EngineFaultSweep, VerifyingTheMark) {
  MakeTemplate(TwoFields());
  Sweep({"MDbVerifyChecksome", Opened::kVolume, Effect::kNone, {MDbStatusFailed}, [this] {
           return MDbVerifyChecksome(&env, ref());
         }});
}

TEST_F(EngineFaultSweep, TheAgentsSettings) {
  MakeTemplate(TwoFields());
  const std::set<uint32_t> failed = {MDbStatusFailed};
  Sweep(
      {"MDbAgentGetAttr", Opened::kAgent, Effect::kNone, failed, [this] { return MDbAgentGetAttr(&env, 1, &number); }});
  Sweep({"MDbAgentSetAttr", Opened::kAgent, Effect::kWhole, failed, [this] { return MDbAgentSetAttr(&env, 1, 999); }});
  Sweep({"MDbAgentGetDbName", Opened::kAgent, Effect::kNone, failed,
         [this] { return MDbAgentGetDbName(&env, text, sizeof text); }});
  Sweep({"MDbAgentGetValList", Opened::kAgent, Effect::kNone, failed,
         [this] { return MDbAgentGetValList(&env, 0, text, sizeof text); }});
  Sweep({"MDbAgentGetValListSize", Opened::kAgent, Effect::kNone, failed,
         [this] { return MDbAgentGetValListSize(&env, 0, &number); }});
}

// A creation that fails leaves the volume mounted, and the file as far as it got.
TEST_F(EngineFaultSweep, MDbCreateAnswersOneAndLeavesTheReferenceClosed) {
  for (size_t n = 0;; ++n) {
    ASSERT_LT(n, 100u) << "every creation fails by now";
    MDbRef volume;
    MDbRefInitialize(&volume);
    bool happened = false;
    MDbStatus status;
    {
      seam::PlatformSeam seam;
      seam.FailAny(n);
      status = MDbCreate(&env, path.c_str(), &volume);
      happened = seam.FaultHappened();
      EXPECT_EQ(seam.CountOf("CeUnmountDBVol"), 0u) << n;
    }
    if (!happened) {
      EXPECT_EQ(status, MDbStatusOk);
      EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
      break;
    }
    if (status ==
        MDbStatusOk) {  // only the look-up of the header, which a new catalogue does not have, may fail unseen
      EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk) << n;
      EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), MDbStatusOk) << n;
      EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk) << n;
    } else {
      EXPECT_EQ(status, MDbStatusFailed) << n;
      EXPECT_EQ(volume.opened, 0) << n;
      // Its file may be deleted already: then the second unmount is the one that lets go.
      EXPECT_TRUE(seam::LiveMounts() == 0 || CeUnmountDBVol(&volume.volume) || CeUnmountDBVol(&volume.volume)) << n;
    }
    EXPECT_EQ(seam::LiveBlocks(), 0u) << n;
    Remove();
  }
}

TEST_F(EngineFaultSweep, FilesAndFolders) {
  MDbHandle handle = 0;
  const auto expect_swept = [](const char* name, std::set<uint32_t> failures, auto act, auto undo) {
    for (size_t n = 0;; ++n) {
      ASSERT_LT(n, 100u) << name;
      seam::PlatformSeam seam;
      seam.FailAny(n);
      const MDbStatus status = act();
      const bool happened = seam.FaultHappened();
      seam.Disarm();
      EXPECT_TRUE(happened ? failures.contains(status) : status == MDbStatusOk) << name << " " << n << ": " << status;
      if (!happened) break;
      undo();
    }
  };
  const std::u16string pattern = folder / u"*";
  const std::u16string made = folder / u"made";
  CreateDatabase(TwoFields());
  ASSERT_EQ(MDbCreateDirectory((folder / u"other").c_str()), MDbStatusOk);
  expect_swept(
      "MDbFindFirstFile", {1}, [&] { return MDbFindFirstFile(&handle, pattern.c_str(), text, sizeof text); },
      [&] { EXPECT_EQ(handle, MDB_INVALID_HANDLE); });
  expect_swept(
      "MDbFindNextFile", {1}, [&] { return MDbFindNextFile(&handle, text, sizeof text); },
      [&] { EXPECT_NE(handle, 0u); });
  expect_swept(
      "MDbFindClose", {1}, [&] { return MDbFindClose(&handle); }, [] {});
  expect_swept(
      "MDbCreateDirectory", {1}, [&] { return MDbCreateDirectory(made.c_str()); }, [] {});
  expect_swept(
      "MDbDelete", {1}, [&] { return MDbDelete(&env, path.c_str()); },
      [&] { EXPECT_TRUE(std::filesystem::exists(path)); });
  MDbEnv other;
  expect_swept(
      "MDbInit", {7},
      [&] {
        MDbEnvInitialize(&other);
        return MDbInit(&other, "", 0);
      },
      [&] { EXPECT_EQ(other.initialized, 1); });
  expect_swept(
      "MDbShutdown", {}, [&] { return MDbShutdown(&other, 0, 0); }, [] {});
}

}  // namespace
