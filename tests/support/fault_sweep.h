// Fails the n-th platform call of an exported call, for n = 0, 1, 2, ... until the call gets through; once that call
// alone, once that one and every later one. After each failure
//   the status is one that the call documents,
//   no heap block is lost,
//   everything that is open can be closed and the file opens again,
//   and the file holds what it held before the call, or what it holds after it.
#pragma once

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "engine_fixture.h"
#include "volume_snapshot.h"

namespace enginetest {

enum class Opened { kNothing, kVolume, kAgent };

enum class Effect {
  kNone,      // the call changes nothing in the file
  kWhole,     // all of it or nothing, and a status of 0 means all of it
  kStepwise,  // several objects, each of which may be as before or as after
};

struct SweptCall {
  const char* name;
  Opened opened;
  Effect effect;
  std::set<uint32_t> failures;  // the statuses besides 0
  std::function<MDbStatus()> act;
  std::function<void()> before = [] {};  // what is to be done first, with the platform intact
  std::function<void()> after = [] {};   // and what last
  // Failures that the engine takes for an answer, such as an object that is not there: the file may hold anything then.
  std::function<bool(const seam::Call&)> is_answer = [](const seam::Call&) { return false; };
};

class FaultSweepTest : public EngineTest {
 protected:
  // The file that every run starts from.
  void MakeTemplate(const Recipe& recipe) {
    CreateDatabase(recipe);
    std::filesystem::copy_file(path, folder.path() / "template");
  }

  void Sweep(const SweptCall& call) {
    SCOPED_TRACE(call.name);
    if (!Start(call)) return;
    const Lines before = seam::SnapshotOfFile(path_of_template_);
    EXPECT_EQ(call.act(), MDbStatusOk) << "with nothing failing";
    call.after();
    Finish();
    const Lines after = seam::SnapshotOfFile(path);
    for (const bool and_later : {false, true}) {
      size_t n = 0;
      while (n < kMostCalls && RunOnce(call, n, and_later, before, after)) ++n;
      EXPECT_LT(n, kMostCalls) << "the call never gets through";
      if (::testing::Test::HasFatalFailure()) return;
    }
  }

 private:
  using Lines = std::vector<std::string>;
  static constexpr size_t kMostCalls = 300;

  bool Start(const SweptCall& call) {
    std::filesystem::copy_file(folder.path() / "template", path, std::filesystem::copy_options::overwrite_existing);
    MDbStatus status = MDbStatusOk;
    if (call.opened == Opened::kVolume) status = MDbOpen(&env, path.c_str(), ref());
    if (call.opened == Opened::kAgent) status = MDbAgentOpenDb(&env, path.c_str());
    EXPECT_EQ(status, MDbStatusOk) << "the file to start from does not open";
    if (status != MDbStatusOk) return false;
    call.before();
    return true;
  }

  // Closes whatever is open. A data table of which one handle is closed cannot be closed any more, but it does not keep
  // the volume mounted; a creation that failed leaves its volume mounted under a reference that is not open.
  void Finish() {
    (void)MDbAgentCloseDb(&env);
    EXPECT_EQ(env.agentRef.opened, 0) << "the volume cannot be closed";
    if (seam::LiveMounts() > 0) {
      const seam::Unseen unseen;
      EXPECT_TRUE(CeUnmountDBVol(&env.agentRef.volume));
      seam::ForgetMounts();
    }
    EXPECT_EQ(seam::LiveHandles(), 0u) << "handles are left";
    MDbEnvInitialize(&env);
    EXPECT_EQ(MDbInit(&env, nullptr, 0), MDbStatusOk);
  }

  // False when no call was left to fail.
  bool RunOnce(const SweptCall& call, size_t n, bool and_later, const Lines& before, const Lines& after) {
    SCOPED_TRACE((and_later ? "calls failing from number " : "call failing: number ") + std::to_string(n));
    const size_t blocks = seam::LiveBlocks();
    if (!Start(call)) return false;
    bool happened = false;
    bool answered = false;
    MDbStatus status = MDbStatusOk;
    {
      seam::PlatformSeam seam;
      and_later ? seam.FailAnyFrom(n) : seam.FailAny(n);
      status = call.act();
      happened = seam.FaultHappened();
      for (const seam::Call& made : seam.calls()) answered = answered || (made.injected && call.is_answer(made));
      EXPECT_TRUE(status == MDbStatusOk || call.failures.contains(status)) << "undocumented status " << status;
      EXPECT_TRUE(happened || status == MDbStatusOk) << "status " << status << " though nothing failed";
    }
    call.after();
    Finish();
    EXPECT_EQ(seam::LiveBlocks(), blocks) << "heap blocks are left";
    if (!answered) ExpectBeforeOrAfter(call, status, before, after);
    return happened && !::testing::Test::HasFatalFailure();
  }

  void ExpectBeforeOrAfter(const SweptCall& call, MDbStatus status, const Lines& before, const Lines& after) {
    const Lines now = seam::SnapshotOfFile(path);
    switch (call.effect) {
      case Effect::kNone:
        EXPECT_EQ(now, before);
        break;
      case Effect::kWhole:
        EXPECT_TRUE(now == after || (status != MDbStatusOk && now == before))
            << "status " << status << ", and the file holds " << ::testing::PrintToString(now);
        break;
      case Effect::kStepwise:
        ExpectBetween(now, before, after);
        break;
    }
  }

  static void ExpectBetween(const Lines& now, const Lines& before, const Lines& after) {
    const auto holds = [](const Lines& lines, const std::string& line) {
      return std::find(lines.begin(), lines.end(), line) != lines.end();
    };
    for (const std::string& line : now) {
      EXPECT_TRUE(holds(before, line) || holds(after, line)) << "neither before nor after: " << line;
      EXPECT_EQ(std::count(now.begin(), now.end(), line), 1) << "twice: " << line;
    }
    for (const std::string& line : before) {
      EXPECT_TRUE(!holds(after, line) || holds(now, line)) << "lost: " << line;
    }
  }

  std::u16string path_of_template_ = folder / u"template";
};

}  // namespace enginetest
