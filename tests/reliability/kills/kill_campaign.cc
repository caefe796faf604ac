// Kills a writer at a random moment, again and again, and looks at what it left.
//
//   kill_campaign [--kills N | --seconds N] [--seed S] [--break-promises]
//
// A writer (writer_script.h) tells before each exported call that it begins and after each that it has returned. It is
// killed, and then
//   the file holds what was durable when the last acknowledged call had returned, or one of the states that the call
//     under way makes durable, in full: what they are is found by making the same calls here (reference_run.h);
//   it opens with the agent calls, and every record, live and logged, is the plain model's;
//   counters, log, catalogue and records agree with each other;
//   beside it stands nothing but what the description of the format names;
//   the next writer goes on from that state, every second time without anybody having opened the file in between.
// Every so often the next writer begins with no file at all, so that the making of a file is cut off as well.
//
// A kill takes nothing from the system's memory: what the process had written is there although nobody synced it. So
// this shows that calls are whole and in order, and that recovery works, not that a flush reaches the disk; losing what
// was not synced is what the simulated power cuts are for.
//
// --break-promises lets the writer acknowledge each call before it is made, which must be noticed.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>

#include "broken_promise.h"
#include "file_check.h"
#include "mdb.h"
#include "reference_run.h"
#include "temporary_directory.h"
#include "writer_process.h"
#include "writer_script.h"

namespace {

using kills::BrokenPromise;
using kills::DurableState;
using kills::Moment;
using kills::Reference;
using kills::WriterEnd;
using kills::WriterTask;
namespace fs = std::filesystem;

constexpr uint32_t kMostKillsOfAFile = 60;
constexpr size_t kMostRecords = 150;
constexpr int64_t kWatchedCalls = 4;  // before the last acknowledged one; nearly always one of them is durable

struct Options {
  uint64_t kills = 100;
  uint64_t seconds = 0;  // 0: as many kills as said
  uint32_t seed = 1;
  bool break_promises = false;
};

struct Tally {
  uint64_t kills = 0;
  uint64_t files = 0;
  uint64_t acknowledged = 0;
  uint64_t quiet = 0;    // no call was under way
  uint64_t before = 0;   // the call under way had made nothing durable
  uint64_t between = 0;  // a part of what it makes durable, as documented
  uint64_t after = 0;    // all of it
  uint64_t unfinished = 0;
  uint64_t recovered_by_writer = 0;
  uint64_t side_files = 0;
  uint64_t new_files = 0;
  std::map<std::string, uint64_t> under_way;
};

class Campaign {
 public:
  explicit Campaign(const Options& options) : options_(options), random_(options.seed) {
    for (const char* name : {"book", "copy", "start", "reference"}) fs::create_directory(folder_.path() / name);
    StartAfresh();
  }

  void Run() {
    while (options_.seconds > 0 ? Seconds() < static_cast<double>(options_.seconds) : tally_.kills < options_.kills) {
      OneLife();
      if (tally_.kills % 1000 == 0) TellProgress();
    }
  }
  void Tell() const;
  void TellProgress() const {
    std::printf("so far %llu kills, %.0f s\n", static_cast<unsigned long long>(tally_.kills), Seconds());
    std::fflush(stdout);
  }
  const Tally& tally() const { return tally_; }

 private:
  static std::u16string Wide(const fs::path& path) { return path.u16string(); }
  double Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_time_).count();
  }
  uint32_t Draw(uint32_t below) { return static_cast<uint32_t>(random_()) % below; }

  void OneLife();
  kills::KillPlan DrawPlan();
  // The file as it is now: read in place, or from a copy that leaves the file itself as the writer left it.
  fs::path FileToLookAt();
  Reference MakeTheSameCalls(const WriterTask& task, const WriterEnd& end);
  const Moment& Judge(const Reference& reference, const WriterEnd& end, const DurableState& found);
  void GoOnFrom(const Moment& moment, const DurableState& found, const fs::path& file);
  void StartAfresh();
  void RemoveUnfinished();

  Options options_;
  std::mt19937 random_;
  TemporaryDirectory folder_;
  std::chrono::steady_clock::time_point start_time_ = std::chrono::steady_clock::now();
  const fs::path book_ = folder_.path() / "book" / "book.xdb";
  const fs::path copy_ = folder_.path() / "copy" / "book.xdb";
  const fs::path at_start_ = folder_.path() / "start" / "book.xdb";  // as the writer found it, and closed properly
  const fs::path reference_ = folder_.path() / "reference" / "book.xdb";
  Moment start_;
  uint32_t kills_left_ = 0;  // of this file
  Tally tally_;
};

void CopyVolume(const fs::path& from, const fs::path& to) {
  for (const char* suffix : {"", "-wal"}) {
    fs::remove(to.string() + suffix);
    if (fs::exists(from.string() + suffix)) fs::copy_file(from.string() + suffix, to.string() + suffix);
  }
}

void Campaign::StartAfresh() {
  for (const auto& entry : fs::directory_iterator(book_.parent_path())) fs::remove(entry.path());
  fs::remove(at_start_);
  start_ = {-1, DurableState(), std::make_shared<plain::Database>(kills::WriterScript::FieldTypes())};
  kills_left_ = 1 + Draw(kMostKillsOfAFile);
  ++tally_.files;
}

// Mostly some messages after the writer's start, and then at once or a little later; sometimes while it starts. A file
// that is to be made is often cut off in its making, which takes the first 16 messages.
kills::KillPlan Campaign::DrawPlan() {
  constexpr uint32_t kDelays[] = {1, 40, 200, 1500};
  kills::KillPlan plan;
  if (!start_.state.exists && Draw(4) != 0) return {1 + Draw(Draw(2) == 0 ? 1 : 16), Draw(kDelays[Draw(4)])};
  if (Draw(10) == 0) {
    plan.delay_us = Draw(20000);
    return plan;
  }
  plan.messages = 1 + Draw(Draw(3) == 0 ? 120 : 24);
  plan.delay_us = Draw(kDelays[Draw(4)]);
  return plan;
}

fs::path Campaign::FileToLookAt() {
  tally_.side_files += fs::exists(book_.string() + "-wal") ? 1u : 0u;
  if (Draw(2) == 0) return book_;
  CopyVolume(book_, copy_);
  return copy_;
}

Reference Campaign::MakeTheSameCalls(const WriterTask& task, const WriterEnd& end) {
  const int64_t last_call = std::max(end.acknowledged, end.under_way);
  for (int64_t first_watched = std::max<int64_t>(0, end.acknowledged - kWatchedCalls);; first_watched = 0) {
    CopyVolume(at_start_, reference_);
    Reference reference = kills::RunReference(Wide(reference_), task, start_, first_watched, last_call);
    const bool knows_acknowledged = reference.moments.size() > 1 && reference.moments[1].call <= end.acknowledged;
    if (!reference.skipped || knows_acknowledged) return reference;
  }
}

const Moment& Campaign::Judge(const Reference& reference, const WriterEnd& end, const DurableState& found) {
  const Moment* before = nullptr;
  const Moment* last = &reference.moments.back();
  for (const Moment& moment : reference.moments) {
    if (moment.call <= end.acknowledged) before = &moment;
  }
  if (end.under_way < 0) ++tally_.quiet;
  if (before->state == found) {
    if (end.under_way >= 0) ++tally_.before;
    return *before;
  }
  for (const Moment* moment = before + 1; end.under_way >= 0 && moment <= last; ++moment) {
    if (moment->state != found) continue;
    moment == last ? ++tally_.after : ++tally_.between;
    return *moment;
  }
  throw BrokenPromise(
      "the file holds neither what was acknowledged nor what was under way; against what was "
      "acknowledged: " +
      kills::Difference(before->state, found));
}

// A file whose making was cut off is deleted as a client would; its side file may stay behind.
void Campaign::RemoveUnfinished() {
  MDbEnv env;
  MDbEnvInitialize(&env);
  if (fs::exists(book_) && MDbDelete(&env, Wide(book_).c_str()) != MDbStatusOk) {
    throw BrokenPromise("an unfinished file cannot be deleted");
  }
  start_ = {-1, DurableState(), std::make_shared<plain::Database>(kills::WriterScript::FieldTypes())};
}

void Campaign::GoOnFrom(const Moment& moment, const DurableState& found, const fs::path& file) {
  if (!kills::IsWhole(found)) {
    ++tally_.unfinished;
    kills::CheckRefused(Wide(file));
    RemoveUnfinished();
    fs::remove(at_start_);
    return;
  }
  kills::CheckAgreement(found);
  auto read = std::make_shared<const plain::Database>(kills::CheckThroughCalls(Wide(file), moment.model.get()));
  if (fs::exists(file.string() + "-wal")) throw BrokenPromise("a side file stands beside a file at rest");
  start_ = {-1, found, moment.model != nullptr ? moment.model : read};
  CopyVolume(file, at_start_);
  if (file == copy_ && fs::exists(book_.string() + "-wal")) ++tally_.recovered_by_writer;
}

void Campaign::OneLife() {
  if (kills_left_ == 0 || start_.model->live().size() > kMostRecords) StartAfresh();
  const WriterTask task = {book_.string(), static_cast<uint32_t>(random_()), !start_.state.exists,
                           options_.break_promises};
  const WriterEnd end = kills::RunWriterAndKill(task, DrawPlan());
  ++tally_.kills;
  --kills_left_;
  tally_.acknowledged += static_cast<uint64_t>(end.acknowledged + 1);
  kills::CheckLeftovers(book_, end.process);
  const fs::path new_file = book_.string() + ".new-" + std::to_string(end.process);
  tally_.new_files += fs::remove(new_file) ? 1u : 0u;
  const fs::path file = FileToLookAt();
  const DurableState found = kills::StateOfFile(Wide(file));
  const Reference reference = MakeTheSameCalls(task, end);
  if (end.under_way >= 0) ++tally_.under_way[reference.names.at(static_cast<size_t>(end.under_way))];
  GoOnFrom(Judge(reference, end, found), found, file);
}

void Campaign::Tell() const {
  const auto number = [](uint64_t value) { return static_cast<unsigned long long>(value); };
  std::printf("%llu kills of writers on %llu files, %llu calls acknowledged, %.1f s\n", number(tally_.kills),
              number(tally_.files), number(tally_.acknowledged), Seconds());
  std::printf("no call under way %llu; under way: nothing of it durable %llu, a documented part %llu, all %llu\n",
              number(tally_.quiet), number(tally_.before), number(tally_.between), number(tally_.after));
  std::printf(
      "file absent or unfinished %llu, with a side file %llu (opened next by a writer %llu), new file left %llu\n",
      number(tally_.unfinished), number(tally_.side_files), number(tally_.recovered_by_writer),
      number(tally_.new_files));
  for (const auto& [name, count] : tally_.under_way) std::printf("  %6llu in %s\n", number(count), name.c_str());
}

bool Parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const auto value = [&] { return i + 1 < argc ? std::strtoull(argv[++i], nullptr, 10) : 0; };
    if (std::strcmp(argv[i], "--kills") == 0) {
      options.kills = value();
    } else if (std::strcmp(argv[i], "--seconds") == 0) {
      options.seconds = value();
    } else if (std::strcmp(argv[i], "--seed") == 0) {
      options.seed = static_cast<uint32_t>(value());
    } else if (std::strcmp(argv[i], "--break-promises") == 0) {
      options.break_promises = true;
    } else {
      return false;
    }
  }
  return true;
}

// The program's exit code.
int RunCampaign(const Options& options) {
  Campaign campaign(options);
  try {
    campaign.Run();
    campaign.Tell();
    return 0;
  } catch (const BrokenPromise& broken) {
    campaign.Tell();
    std::printf("broken promise at kill %llu of seed %u: %s\n", static_cast<unsigned long long>(campaign.tally().kills),
                options.seed, broken.what());
    return 1;
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc > 1 && std::strcmp(argv[1], kills::kWriterArgument) == 0) return kills::WriterMain(argc, argv);
    Options options;
    if (!Parse(argc, argv, options)) {
      std::fprintf(stderr, "kill_campaign [--kills N | --seconds N] [--seed S] [--break-promises]\n");
      return 2;
    }
    std::printf("kill_campaign: seed %u\n", options.seed);
    std::fflush(stdout);
    return RunCampaign(options);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "kill_campaign: %s\n", failure.what());
    return 2;
  }
}
