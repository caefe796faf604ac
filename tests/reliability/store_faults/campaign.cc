// store_fault_campaign [--seconds N | --rounds N] [--seed S] [--every]
//
// Rounds of a workload, half of them drawn by chance, under faults drawn by chance: several of any kind at once, or one,
// once or from then on. With --every, each operation and allocation of each known workload instead, one after another.
// Exits 1 at the first broken promise and says how to see it again.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "fault_run.h"
#include "random_workload.h"
#include "temporary_directory.h"

namespace {

using faults::Failure;

constexpr auto kFailures = static_cast<unsigned>(Failure::kCount);

struct Options {
  long seconds = 0;
  long rounds = 10;
  uint64_t seed = 1;
  bool every = false;
};

struct Counts {
  long runs = 0;
  long struck = 0;
  long strikes = 0;
};

bool Count(const FaultRun& run, const std::string& complaint, const std::string& where, Counts& counts) {
  ++counts.runs;
  counts.struck += run.outcome().struck() ? 1 : 0;
  counts.strikes += run.outcome().strikes;
  if (complaint.empty()) return true;
  std::printf("BROKEN: %s\n%s\n", where.c_str(), complaint.c_str());
  return false;
}

// One failure that is planned, or a shower of any: one, two, or a few of hundred operations.
std::function<void()> DrawFaults(uint64_t seed) {
  std::mt19937_64 chance(seed);
  if (chance() % 3 == 0) {
    const auto failure = static_cast<Failure>(chance() % kFailures);
    const long at = static_cast<long>(chance() % (failure == Failure::kNoMemory ? 3000 : 200));
    const bool lasting = failure != Failure::kInterrupted && chance() % 2 == 0;
    return [=] { faults::Arm({failure, at, lasting}); };
  }
  const uint32_t chances[] = {300, 2000, 10000, 60000};
  const uint32_t likelihood = chances[chance() % 4];
  const auto failures = chance() % 2 == 0 ? ~uint32_t{0} : static_cast<uint32_t>(chance());
  return [=] { faults::ArmAtRandom(seed, likelihood, failures); };
}

bool Round(uint64_t seed, const std::filesystem::path& folder, Counts& counts) {
  constexpr uint64_t kRunsOfOneWorkload = 20;
  std::mt19937_64 chance(seed);
  const auto& known = Workloads();
  const bool at_random = chance() % 2 == 0;
  const Workload workload =
      at_random ? RandomWorkload(seed) : known[chance() % (known.size() - 1)];  // not the long one
  FaultRun run(workload, folder);
  for (uint64_t i = 0; i < kRunsOfOneWorkload; ++i) {
    const std::string where = std::string("--rounds 1 --seed ") + std::to_string(seed) + ", run " + std::to_string(i);
    if (!Count(run, run.Run(DrawFaults(seed * kRunsOfOneWorkload + i)), where, counts)) return false;
  }
  return true;
}

bool EveryFailure(const Workload& workload, const std::filesystem::path& folder, Counts& counts) {
  FaultRun run(workload, folder);
  for (unsigned i = 0; i < kFailures; ++i) {
    const auto failure = static_cast<Failure>(i);
    for (const bool lasting : {false, true}) {
      if (lasting && failure == Failure::kInterrupted) continue;
      const long before = counts.runs;
      for (long at = 0;; ++at) {
        const std::string where = std::string(workload.name) + ": " + faults::NameOf(failure) + " at " +
                                  std::to_string(at) + (lasting ? " and later" : "");
        if (!Count(run, run.Run([&] { faults::Arm({failure, at, lasting}); }), where, counts)) return false;
        if (!run.outcome().struck()) break;
      }
      std::printf("%s: %s%s: %ld runs\n", workload.name, faults::NameOf(failure), lasting ? " from then on" : "",
                  counts.runs - before);
      std::fflush(stdout);
    }
  }
  return true;
}

bool Parse(int count, char** arguments, Options& options) {
  for (int i = 1; i < count; ++i) {
    const bool has_value = i + 1 < count;
    if (std::strcmp(arguments[i], "--every") == 0) {
      options.every = true;
    } else if (std::strcmp(arguments[i], "--seconds") == 0 && has_value) {
      options.seconds = std::atol(arguments[++i]);
    } else if (std::strcmp(arguments[i], "--rounds") == 0 && has_value) {
      options.rounds = std::atol(arguments[++i]);
    } else if (std::strcmp(arguments[i], "--seed") == 0 && has_value) {
      options.seed = std::strtoull(arguments[++i], nullptr, 10);
    } else {
      return false;
    }
  }
  return true;
}

bool Go(const Options& options, const std::filesystem::path& folder, Counts& counts) {
  using Clock = std::chrono::steady_clock;
  if (options.every) {
    for (const Workload& workload : Workloads()) {
      if (!EveryFailure(workload, folder, counts)) return false;
    }
    return true;
  }
  const auto end = Clock::now() + std::chrono::seconds(options.seconds);
  for (long round = 0; options.seconds > 0 ? Clock::now() < end : round < options.rounds; ++round) {
    if (!Round(options.seed + static_cast<uint64_t>(round), folder, counts)) return false;
  }
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  Options options;
  if (!Parse(count, arguments, options)) {
    std::fprintf(stderr, "usage: store_fault_campaign [--seconds N | --rounds N] [--seed S] [--every]\n");
    return 2;
  }
  std::printf("seed %llu\n", static_cast<unsigned long long>(options.seed));
  const TemporaryDirectory folder;
  Counts counts;
  const bool kept = Go(options, folder.path() / "run", counts);
  std::printf("%ld runs, %ld of them with faults, %ld faults, seed %llu: %s\n", counts.runs, counts.struck,
              counts.strikes, static_cast<unsigned long long>(options.seed), kept ? "every promise kept" : "broken");
  return kept ? 0 : 1;
}
