// repair_campaign [--count N | --all] [--seconds N] [--seed S]: damages volumes, checks and repairs them. The promises:
//
//   the damaged file and its log are not written, by not a byte
//   check finds something in every volume that the store refuses
//   what repair makes opens, with the engine too, and every record in it is one that was flushed, bit for bit
//   every record is in it whose row's bytes were not touched
//   "everything is saved" is said only when that is so, and always of a volume that is sound
//
// The damage is that of damage_campaign.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "file_damage.h"
#include "random_history.h"
#include "repair_trial.h"
#include "sample_volumes.h"
#include "temporary_directory.h"
#include "volume_content.h"
#include "xkrvolume.h"

namespace {

using namespace damage;
using Number = unsigned long long;

struct Options {
  uint64_t count = 1000;  // of each family; 0: all
  uint64_t seconds = 0;
  uint64_t seed = 1;
};

constexpr unsigned kLongestStepSeconds = 120;

class Campaign {
 public:
  Campaign(const Options& options, const TemporaryDirectory& folder)
      : options_(options), bench_(folder.path()), random_(options.seed) {}

  void Systematic(const Original& original, bool of_log);
  void Drawn(const Original& original, bool of_log, uint64_t count);
  void Sound(const TemporaryDirectory& folder, uint64_t count);
  void Print() const;

 private:
  void Step(const Original& original, const Damaged& damaged, bool of_log, uint64_t number);

  const Options options_;
  Bench bench_;
  Random random_;
  uint64_t steps_ = 0;
  uint64_t sound_ = 0;
  uint64_t checked_[3] = {};
  uint64_t repaired_[3] = {};
  uint64_t saved_ = 0;
  uint64_t loose_ = 0;
};

void Campaign::Step(const Original& original, const Damaged& damaged, bool of_log, uint64_t number) {
  alarm(kLongestStepSeconds);
  const Subject& subject = original.subject();
  const RepairTrial trial =
      TryRepair(original, bench_, of_log ? subject.file : damaged.bytes, of_log ? damaged.bytes : subject.log, of_log);
  if (!trial.why.empty()) {
    std::printf("broken promise: %s%s, damage %llu (%s), seed %llu: %s\n", subject.name.c_str(),
                of_log ? ", its log" : "", static_cast<Number>(number), damaged.what.c_str(),
                static_cast<Number>(options_.seed), trial.why.c_str());
    std::exit(1);
  }
  ++steps_;
  ++checked_[trial.check];
  ++repaired_[trial.repair];
  saved_ += trial.saved;
  loose_ += trial.loose;
}

void Campaign::Systematic(const Original& original, bool of_log) {
  const std::string& bytes = of_log ? original.subject().log : original.subject().file;
  const uint64_t all = SystematicCount(bytes);
  const uint64_t count = options_.count == 0 ? all : std::min(all, options_.count);
  for (uint64_t i = 0; i < count; ++i) {
    const uint64_t number = count == all ? i : (i * all / count + options_.seed) % all;
    Step(original, DoSystematic(bytes, number), of_log, number);
  }
  const uint64_t of_pages = all - 9 * bytes.size();
  if (count == all || of_pages > 2 * count) return;
  for (uint64_t number = all - of_pages; number < all; ++number) {
    Step(original, DoSystematic(bytes, number), of_log, number);
  }
}

void Campaign::Drawn(const Original& original, bool of_log, uint64_t count) {
  const Subject& subject = original.subject();
  for (uint64_t i = 0; i < count; ++i)
    Step(original, DoRandom(of_log ? subject.log : subject.file, random_), of_log, i);
}

// Volumes of a long and various past, sound all the time.
void Campaign::Sound(const TemporaryDirectory& folder, uint64_t count) {
  const std::filesystem::path path = folder.path() / "history.vol";
  for (uint64_t i = 0; i < count; ++i, ++sound_) {
    alarm(kLongestStepSeconds);
    if (i % 20 == 0) unlink(path.c_str());
    AddToHistory(path.u16string(), random_);
    const std::string why = TrySoundVolume(path);
    if (why.empty()) continue;
    std::printf("broken promise: history %llu, seed %llu: %s\n", static_cast<Number>(i),
                static_cast<Number>(options_.seed), why.c_str());
    std::exit(1);
  }
}

void Campaign::Print() const {
  std::printf(
      "repair_campaign: seed %llu, %llu sound volumes, %llu damaged ones: check found nothing in %llu, damage in %llu, "
      "no volume in "
      "%llu; repair saved everything of %llu, a part of %llu, nothing of %llu; %llu records, %llu of them loose\n",
      static_cast<Number>(options_.seed), static_cast<Number>(sound_), static_cast<Number>(steps_),
      static_cast<Number>(checked_[0]), static_cast<Number>(checked_[1]), static_cast<Number>(checked_[2]),
      static_cast<Number>(repaired_[0]), static_cast<Number>(repaired_[1]), static_cast<Number>(repaired_[2]),
      static_cast<Number>(saved_), static_cast<Number>(loose_));
}

Options Parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (name == "--all") {
      options.count = 0;
    } else if (i + 1 < argc && (name == "--count" || name == "--seconds" || name == "--seed")) {
      const uint64_t number = std::strtoull(argv[++i], nullptr, 10);
      (name == "--count" ? options.count : name == "--seconds" ? options.seconds : options.seed) = number;
    } else {
      std::fprintf(stderr, "usage: repair_campaign [--count N | --all] [--seconds N] [--seed S]\n");
      std::exit(2);
    }
  }
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = Parse(argc, argv);
  std::printf("repair_campaign: seed %llu\n", static_cast<Number>(options.seed));
  const auto start = std::chrono::steady_clock::now();
  const TemporaryDirectory folder;
  const Subject small = EngineSubject(folder.path(), "small.xdb", 80, 0);
  const Subject types = TypesSubject(folder.path(), "types.vol");
  const Subject list = ListSubject(folder.path(), "list.vol");
  const Subject killed = EngineSubject(folder.path(), "killed.xdb", 12, 5);
  const Subject large = EngineSubject(folder.path(), "large.xdb", 5000, 0);
  const Original originals[] = {Original(small, folder.path()), Original(types, folder.path()),
                                Original(killed, folder.path()), Original(large, folder.path()),
                                Original(list, folder.path())};
  Campaign campaign(options, folder);
  campaign.Sound(folder, options.count == 0 ? 5000 : options.count / 2);
  for (const Original& original : {originals[0], originals[1], originals[2], originals[4]})
    campaign.Systematic(original, false);
  campaign.Systematic(originals[2], true);
  const uint64_t drawn = options.count == 0 ? 20000 : options.count / 4;
  const auto seconds = [start] {
    const auto passed = std::chrono::steady_clock::now() - start;
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(passed).count());
  };
  do {
    campaign.Drawn(originals[0], false, drawn);
    campaign.Drawn(originals[1], false, drawn);
    campaign.Drawn(originals[2], true, drawn);
    campaign.Drawn(originals[3], false, drawn / 20);
    campaign.Drawn(originals[4], false, drawn);
  } while (seconds() < options.seconds);
  campaign.Print();
  std::printf("repair_campaign: %llu seconds\n", static_cast<Number>(seconds()));
  return 0;
}
