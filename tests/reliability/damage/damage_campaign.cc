// damage_campaign [--count N | --all] [--seconds N] [--seed S] [--memory MEGABYTES]: damages volumes and opens them.
// Each has to give exactly the content that was flushed, or to be reported as damaged; no changed content may ever come
// back as data, and no damage may crash the process, hang it, or make it allocate without bound.
//
//   small volumes: cut off at every length, every bit flipped, every page zeroed, swapped, written over another; the
//                  same for one with the log of a killed writer, in its file and in its log
//   a large one:   5000 records, damage drawn
//
// --count N takes N damages of each family of each volume, evenly spread, --all all of them. What opens as if nothing
// had happened is, every few times, changed and opened again, and every few damages are tried by the engine, too.
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "damage_trial.h"
#include "file_damage.h"
#include "sample_volumes.h"
#include "temporary_directory.h"
#include "volume_content.h"

#if defined(__SANITIZE_ADDRESS__)
// An allocation that no sample needs ends the program.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "max_allocation_size_mb=256"; }
#endif

namespace {

using namespace damage;

struct Options {
  uint64_t count = 1000;  // of each family; 0: all
  uint64_t seconds = 0;   // more random damage until they are over
  uint64_t seed = 1;
  uint64_t megabytes = 0;  // that the process may have; 0: as many as there are. Not with a sanitizer or valgrind
};

class Campaign {
 public:
  Campaign(const Options& options, const TemporaryDirectory& folder)
      : options_(options), bench_(folder.path()), random_(options.seed) {}

  void Systematic(const Subject& subject, bool of_log);
  void Drawn(const Subject& subject, bool of_log, uint64_t count);
  void Print(const char* name) const;

 private:
  void Step(const Subject& subject, const Damaged& damaged, bool of_log, uint64_t number);
  void Take(const Subject& subject, const Trial& trial, const char* how, const std::string& what, uint64_t number);

  const Options options_;
  Bench bench_;
  Random random_;
  uint64_t steps_ = 0;
  uint64_t results_[3] = {};
  uint64_t changes_ = 0;
  uint64_t engine_ = 0;
};

// A process that hangs ends by the alarm, one that wants too much memory fails.
constexpr unsigned kLongestStepSeconds = 60;

void Campaign::Take(const Subject& subject, const Trial& trial, const char* how, const std::string& what,
                    uint64_t number) {
  if (trial.result != Result::kWrong) return;
  std::printf("broken promise: %s, %s, damage %llu (%s), seed %llu: %.2000s\n", subject.name.c_str(), how,
              static_cast<unsigned long long>(number), what.c_str(), static_cast<unsigned long long>(options_.seed),
              trial.why.c_str());
  std::exit(1);
}

void Campaign::Step(const Subject& subject, const Damaged& damaged, bool of_log, uint64_t number) {
  alarm(kLongestStepSeconds);
  const std::string& file = of_log ? subject.file : damaged.bytes;
  const std::string& log = of_log ? damaged.bytes : subject.log;
  const Trial trial = bench_.Read(subject, file, log, of_log);
  Take(subject, trial, of_log ? "log read" : "read", damaged.what, number);
  ++results_[static_cast<size_t>(trial.result)];
  // Unused bytes may still be bytes that a later write relies on.
  if (trial.result == Result::kSame && (damaged.bytes.size() < (1u << 18) || steps_ % 8 == 0)) {
    Take(subject, bench_.Change(subject, file, log), "changed", damaged.what, number);
    ++changes_;
  }
  if (subject.of_the_engine && steps_ % 16 == 0) {
    Take(subject, bench_.OpenWithEngine(subject, file, log), "opened by the engine", damaged.what, number);
    ++engine_;
  }
  ++steps_;
}

void Campaign::Systematic(const Subject& subject, bool of_log) {
  const std::string& bytes = of_log ? subject.log : subject.file;
  const uint64_t all = SystematicCount(bytes);
  const uint64_t count = options_.count == 0 ? all : std::min(all, options_.count);
  for (uint64_t i = 0; i < count; ++i) {
    const uint64_t number = count == all ? i : (i * all / count + options_.seed) % all;
    Step(subject, DoSystematic(bytes, number), of_log, number);
  }
  // Pages are few and bits are many: all damage to whole pages is done whatever the count, if there is not too much.
  const uint64_t of_pages = all - 9 * bytes.size();
  if (count == all || of_pages > 2 * count) return;
  for (uint64_t number = 9 * bytes.size(); number < all; ++number)
    Step(subject, DoSystematic(bytes, number), of_log, number);
}

void Campaign::Drawn(const Subject& subject, bool of_log, uint64_t count) {
  for (uint64_t i = 0; i < count; ++i) {
    Step(subject, DoRandom(of_log ? subject.log : subject.file, random_), of_log, i);
  }
}

void Campaign::Print(const char* name) const {
  std::printf(
      "%s: seed %llu, %llu damaged volumes: %llu as they were, %llu as after an earlier flush, %llu refused; "
      "%llu changed and reopened, %llu by the engine\n",
      name, static_cast<unsigned long long>(options_.seed), static_cast<unsigned long long>(steps_),
      static_cast<unsigned long long>(results_[0]), static_cast<unsigned long long>(results_[1]),
      static_cast<unsigned long long>(results_[2]), static_cast<unsigned long long>(changes_),
      static_cast<unsigned long long>(engine_));
}

Options Parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (name == "--all") {
      options.count = 0;
    } else if (i + 1 < argc && (name == "--count" || name == "--seconds" || name == "--seed" || name == "--memory")) {
      const uint64_t number = std::strtoull(argv[++i], nullptr, 10);
      uint64_t& option = name == "--count"     ? options.count
                         : name == "--seconds" ? options.seconds
                         : name == "--seed"    ? options.seed
                                               : options.megabytes;
      option = number;
    } else {
      std::fprintf(stderr,
                   "usage: damage_campaign [--count N | --all] [--seconds N] [--seed S] [--memory MEGABYTES]\n");
      std::exit(2);
    }
  }
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = Parse(argc, argv);
  if (options.megabytes != 0) {
    const rlim_t bytes = rlim_t{options.megabytes} << 20;
    const rlimit memory = {bytes, bytes};
    Require(setrlimit(RLIMIT_AS, &memory) == 0, "limiting memory");
  }
  std::printf("damage_campaign: seed %llu\n", static_cast<unsigned long long>(options.seed));
  const auto start = std::chrono::steady_clock::now();
  const TemporaryDirectory folder;
  const Subject small = EngineSubject(folder.path(), "small.xdb", 80, 0);
  const Subject types = TypesSubject(folder.path(), "types.vol");
  const Subject list = ListSubject(folder.path(), "list.vol");
  const Subject killed = EngineSubject(folder.path(), "killed.xdb", 12, 5);
  const Subject large = EngineSubject(folder.path(), "large.xdb", 5000, 0);
  const Subject large_killed = EngineSubject(folder.path(), "large_killed.xdb", 5000, 40);
  Campaign campaign(options, folder);
  for (const Subject* subject : {&small, &types, &list, &killed}) campaign.Systematic(*subject, false);
  campaign.Systematic(killed, true);
  const uint64_t drawn = options.count == 0 ? 20000 : options.count / 16;
  const auto seconds = [start] {
    const auto passed = std::chrono::steady_clock::now() - start;
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(passed).count());
  };
  do {
    campaign.Drawn(large, false, drawn);
    campaign.Drawn(large_killed, false, drawn / 4);
    campaign.Drawn(large_killed, true, drawn / 4);
    campaign.Drawn(small, false, drawn);
    campaign.Drawn(killed, true, drawn);
  } while (seconds() < options.seconds);
  campaign.Print("damage_campaign");
  std::printf("damage_campaign: %llu seconds\n", static_cast<unsigned long long>(seconds()));
  return 0;
}
