// The runs of one case and what is expected after each.
#include "fault_sweeper.h"

#include "reopened_file.h"

namespace callfaults {
namespace {

constexpr size_t kMostCalls = 400;

// Numbers that a failing platform may give besides the usual one; 122 would say that the buffer was too small.
constexpr DWORD kErrors[] = {0, ERROR_NOT_ENOUGH_MEMORY, ERROR_OUTOFMEMORY, ERROR_FILE_CORRUPT, ERROR_IO_DEVICE};

// '*' stands for any characters.
bool Fits(const char* glob, const char* text) {
  if (*glob == 0) return *text == 0;
  if (*glob == '*') return Fits(glob + 1, text) || (*text != 0 && Fits(glob, text + 1));
  return *glob == *text && Fits(glob + 1, text + 1);
}

// The description with some lines in place of others; "name=*" takes the line out of both.
void Change(const std::vector<std::string>& changes, Description* expected, Description* actual) {
  for (const std::string& change : changes) {
    const size_t sign = change.find('=');
    const std::string name = change.substr(0, sign);
    ASSERT_TRUE(expected->contains(name)) << "there is no " << name;
    if (change.substr(sign + 1) == "*") {
      expected->erase(name);
      actual->erase(name);
    } else {
      (*expected)[name] = change.substr(sign + 1);
    }
  }
}

std::string Differences(const Description& actual, const Description& expected) {
  std::string text;
  for (const auto& [name, value] : expected) {
    const auto found = actual.find(name);
    if (found != actual.end() && found->second != value) {
      text += "  " + name + " is " + found->second.substr(0, 200) + ", not " + value.substr(0, 200) + "\n";
    }
  }
  return text;
}

void ExpectSame(const char* what, Description actual, Description expected, const std::vector<std::string>& changes) {
  Change(changes, &expected, &actual);
  EXPECT_TRUE(actual == expected) << what << ":\n" << Differences(actual, expected);
}

size_t Count(const Lines& lines, const std::string& line) {
  return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
}

// Lines of now that none of the others has as often.
Lines Surplus(const Lines& now, const Lines& others) {
  Lines surplus;
  std::set<std::string> seen;
  for (const std::string& line : now) {
    if (!seen.insert(line).second) continue;
    for (size_t i = Count(others, line); i < Count(now, line); ++i) surplus.push_back(line);
  }
  return surplus;
}

void ExpectBetween(const Lines& now, const Lines& before, const Lines& after) {
  for (const std::string& line : Surplus(now, before)) {
    EXPECT_GT(Count(after, line), Count(before, line)) << "neither before nor after: " << line;
  }
  for (const std::string& line : Surplus(before, now)) {
    EXPECT_LT(Count(after, line), Count(before, line)) << "lost: " << line;
  }
}

void ExpectBeside(const Lines& now, const Lines& before, const Lines& after) {
  EXPECT_EQ(Surplus(after, now), Lines()) << "what was to be written is missing";
  for (const std::string& line : Surplus(now, after)) EXPECT_GE(Count(before, line), 1u) << "from nowhere: " << line;
}

void ExpectPartRecord(const Lines& now, const Lines& before, const Lines& after) {
  EXPECT_EQ(Surplus(before, now), Lines()) << "lost";
  const Lines more = Surplus(now, before);
  ASSERT_EQ(more.size(), 1u) << ::testing::PrintToString(more);
  const std::string beginning = more[0].substr(0, more[0].size() - 1);
  bool found = false;
  for (const std::string& line : Surplus(after, before)) found = found || line.starts_with(beginning + ", ");
  EXPECT_TRUE(found) << "not the beginning of what was to be added: " << more[0];
}

Lines Without(Ignored ignored, Lines lines) {
  if (ignored == Ignored::kNothing) return lines;
  std::erase_if(lines, [](const std::string& line) { return line.starts_with("VTBL_0 "); });
  if (ignored == Ignored::kView) return lines;
  for (std::string& line : lines) {
    const size_t second_order = line.starts_with("DATA_0 name=") ? line.find(", 0x", line.find("sorts=[")) : line.npos;
    if (second_order != line.npos) line = line.substr(0, second_order) + "]";
    const size_t value = line.find(", 0x30003=");
    if (value != std::string::npos) line.erase(value, line.find(", ", value + 1) - value);
  }
  return lines;
}

Lines WithoutLines(Lines lines, const std::string& part) {
  std::erase_if(lines, [&part](const std::string& line) { return line.find(part) != std::string::npos; });
  return lines;
}

// The number of the failed call decides only where the engine looks at it.
bool NumberMatters(const seam::Call& call) {
  return call.name == "FindNextFileW" ||
         (call.name == "CeReadRecordPropsEx" && call.text.find("probe") != std::string::npos);
}

const seam::Call* FirstInjected(const std::vector<seam::Call>& calls) {
  for (const seam::Call& call : calls) {
    if (call.injected) return &call;
  }
  return nullptr;
}

}  // namespace

Lines FaultSweeper::VolumeOf(const World& world) const { return Without(case_.ignored, world.Volume()); }

void FaultSweeper::Run() {
  RunClean();
  if (::testing::Test::HasFailure() || case_.platform != Platform::kFails) return;
  for (const Way way : {Way::kAlone, Way::kOnwards}) {
    size_t n = 0;
    while (n < kMostCalls && RunFaulty(n, way, std::nullopt) && !::testing::Test::HasFailure()) ++n;
    EXPECT_LT(n, kMostCalls) << "the call never gets through";
    if (::testing::Test::HasFailure()) return;
  }
  for (const size_t n : called_again_) RunFaulty(n, Way::kAgain, std::nullopt);
  EXPECT_GT(faulty_runs_, 0u) << "nothing was made to fail";
}

void FaultSweeper::RunClean() {
  SCOPED_TRACE("with nothing failing");
  const size_t blocks = seam::LiveBlocks();
  World world(case_.file);
  case_.before(world);
  if (::testing::Test::HasFatalFailure()) return;
  reference_.volume_before = VolumeOf(world);
  reference_.handles_before = world.Handles();
  reference_.outputs_before = world.out.Describe();
  std::vector<seam::Call> calls;
  {
    seam::PlatformSeam seam;
    EXPECT_EQ(case_.act(world), case_.clean);
    calls = seam.calls();
    EXPECT_EQ(seam.FallibleCalls() > 0, case_.platform == Platform::kFails);
  }
  EXPECT_EQ(calls.empty(), case_.platform == Platform::kUnused) << (calls.empty() ? "no call" : calls[0].text);
  reference_.volume_after = VolumeOf(world);
  reference_.handles_after = world.Handles();
  reference_.outputs_after = world.out.Describe();
  Finish(world, calls, reference_.volume_after, false, Way::kAlone);
  EXPECT_EQ(seam::LiveBlocks(), blocks) << "heap blocks are left";
}

// False when no call was left to fail.
bool FaultSweeper::RunFaulty(size_t n, Way way, std::optional<DWORD> error) {
  static const char* const kWays[] = {"alone", "alone, and once more", "and every later one"};
  const size_t blocks = seam::LiveBlocks();
  World world(case_.file);
  case_.before(world);
  std::vector<seam::Call> calls;
  uint32_t status = 0;
  {
    seam::PlatformSeam seam;
    for (const auto& [name, answer] : case_.failures) seam.FailAs(name, answer);
    if (error) {
      seam.FailAs("CeReadRecordPropsEx", {0, *error});
      seam.FailAs("FindNextFileW", {0, *error});
    }
    way == Way::kOnwards ? seam.FailAnyFrom(n) : seam.FailAny(n);
    status = case_.act(world);
    calls = seam.calls();
  }
  const seam::Call* failed = FirstInjected(calls);
  SCOPED_TRACE("platform call " + std::to_string(n) + " fails " + kWays[static_cast<int>(way)] +
               (error ? ", error " + std::to_string(*error) : "") + ": " +
               (failed == nullptr ? "none was left" : failed->text));
  if (failed != nullptr) {
    ++faulty_runs_;
    const Outcome outcome = Expected(calls, way);
    const Lines held = ExpectOutcome(world, outcome, status, way);
    if (way == Way::kAlone && !error && outcome.again != Again::kNo) called_again_.push_back(n);
    if (way == Way::kAgain) CallAgain(world, outcome);
    Finish(world, calls, held, outcome.stays_mounted, way);
  } else {
    ExpectAsAfter(world, status);
    Finish(world, calls, reference_.volume_after, false, Way::kAlone);
  }
  EXPECT_EQ(seam::LiveBlocks(), blocks) << "heap blocks are left";
  if (failed != nullptr && way == Way::kAlone && !error && NumberMatters(*failed)) {
    for (const DWORD other : kErrors) RunFaulty(n, way, other);
  }
  return failed != nullptr;
}

const Rule* FaultSweeper::RuleFor(const Rules& rules, const std::vector<seam::Call>& calls, size_t failed) const {
  for (const Rule& rule : rules) {
    if (!Fits(rule.call, calls[failed].text.c_str())) continue;
    const auto fits = [&rule](const seam::Call& call) { return Fits(rule.call, call.text.c_str()); };
    const auto before = std::count_if(calls.begin(), calls.begin() + static_cast<ptrdiff_t>(failed), fits);
    if (rule.occurrence < 0 || rule.occurrence == before) return &rule;
  }
  return nullptr;
}

Outcome FaultSweeper::Expected(const std::vector<seam::Call>& calls, Way way) const {
  Outcome expected = GoesOn();
  bool first = true;
  for (size_t i = 0; i < calls.size(); ++i) {
    if (!calls[i].injected) continue;
    const Rule* onwards = first && way == Way::kOnwards ? RuleFor(case_.onwards, calls, i) : nullptr;
    if (onwards != nullptr) return onwards->outcome;
    const Rule* rule = RuleFor(case_.rules, calls, i);
    const Outcome outcome = rule == nullptr ? Fails() : rule->outcome;
    if (first || !outcome.goes_on) expected = outcome;
    if (!outcome.goes_on) break;
    first = false;
  }
  return expected;
}

Lines FaultSweeper::ExpectOutcome(const World& world, const Outcome& outcome, uint32_t status, Way way) const {
  EXPECT_EQ(status, outcome.goes_on ? case_.clean : outcome.status);
  const auto& outputs = outcome.outputs == Held::kAfter ? reference_.outputs_after : reference_.outputs_before;
  ExpectSame("outputs", world.out.Describe(), outputs, outcome.output_changes);
  const auto& handles = outcome.handles == Held::kAfter ? reference_.handles_after : reference_.handles_before;
  const bool onwards = way == Way::kOnwards && outcome.has_onwards_changes;
  ExpectSame("handles", world.Handles(), handles, onwards ? outcome.onwards_changes : outcome.handle_changes);
  Lines now = VolumeOf(world);
  ExpectVolume(now, outcome.volume);
  return now;
}

void FaultSweeper::ExpectVolume(const Lines& now, Held held) const {
  SCOPED_TRACE("the file");
  switch (held) {
    case Held::kBefore:
      EXPECT_EQ(now, reference_.volume_before);
      break;
    case Held::kAfter:
      EXPECT_EQ(now, reference_.volume_after);
      break;
    case Held::kBetween:
      ExpectBetween(now, reference_.volume_before, reference_.volume_after);
      break;
    case Held::kBeside:
      ExpectBeside(now, reference_.volume_before, reference_.volume_after);
      break;
    case Held::kPartRecord:
      ExpectPartRecord(now, reference_.volume_before, reference_.volume_after);
      break;
    case Held::kOneByOne: {
      const std::string counter = "0x10013=0x40001]";
      ExpectBetween(WithoutLines(now, counter), WithoutLines(reference_.volume_before, counter),
                    WithoutLines(reference_.volume_after, counter));
      break;
    }
    case Held::kNoLiveTable:
      EXPECT_EQ(now, WithoutLines(reference_.volume_before, "DATA_0 "));
      break;
    case Held::kAnything:
      break;  // Finish compares what is read with what is there
  }
}

void FaultSweeper::ExpectAsAfter(const World& world, uint32_t status) const {
  EXPECT_EQ(status, case_.clean);
  ExpectSame("outputs", world.out.Describe(), reference_.outputs_after, {});
  ExpectSame("handles", world.Handles(), reference_.handles_after, {});
  ExpectVolume(VolumeOf(world), Held::kAfter);
}

void FaultSweeper::CallAgain(World& world, const Outcome& outcome) {
  SCOPED_TRACE("called again");
  if (outcome.recover) outcome.recover(world);
  world.out = Outputs();
  const uint32_t status = case_.act(world);
  if (outcome.again == Again::kAsNew) return ExpectAsAfter(world, status);
  EXPECT_EQ(status, outcome.again_status);
}

// held is what the file holds; after a second call, which was compared already, it is not looked at.
void FaultSweeper::Finish(World& world, const std::vector<seam::Call>& calls, const Lines& held, bool stays_mounted,
                          Way way) {
  SCOPED_TRACE("closed and opened again");
  // What a failing close of the platform left open in the platform is not the engine's to close any more.
  for (const seam::Call& call : calls) {
    if (!call.injected) continue;
    if (call.name == "FindClose") (void)FindClose(static_cast<HANDLE>(call.arguments[0]));
    if (call.name == "FWCloseSession") (void)FWCloseSession(static_cast<uint32_t>(call.arguments[0]));
  }
  CloseEverything(world, stays_mounted);
  if (way == Way::kAgain) return;
  const Lines at_rest = world.Volume();
  EXPECT_EQ(Without(case_.ignored, at_rest), held) << "closing changed the file";
  ExpectFileWorks(world, at_rest, read_.insert(at_rest).second);
}

}  // namespace callfaults
