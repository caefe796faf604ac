// Cuts the power after every operation that a workload asks of the file system, and looks at the files that may be found
// afterwards.
//
//   power_cut_campaign [--images N] [--per-cut N] [--seed S] [--keep FOLDER] [--broken-sync WHICH]
//
//   --images N         goes on with new workloads until so many different images have been looked at (20000)
//   --per-cut N        at most so many images for one operation (8)
//   --seed S           of the first workload; each further one has the next number (1)
//   --keep FOLDER      in whose folder "broken" the files of a broken promise are left
//   --broken-sync W    off: SQLite's synchronous is OFF; file, directory: the disk forgets syncs of that kind. The
//                      campaign must find a broken promise then: it ends with 0 when it does and with 1 when not
//
// Each 500th image lives on: the database is opened, worked with and closed, and that is cut after every operation too.
//
// Every image is looked at once: an image that equals an earlier one of the same cut's promises is not counted.
#include <sqlite3.h>
#define XXH_INLINE_ALL
#include <xxhash.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <unordered_set>

#include "image_check.h"
#include "temporary_directory.h"

namespace powercut {
namespace {

bool synchronous_is_off = false;

struct Options {
  uint64_t images = 20000;
  uint64_t per_cut = 8;
  uint64_t seed = 1;
  Forgotten forgotten = Forgotten::kNothing;
  bool must_break = false;
  std::string keep;
};

struct Totals {
  uint64_t workloads = 0, operations = 0, flushes = 0, images = 0, before = 0, after = 0, absent = 0, second_lives = 0;
};

uint64_t HashOf(const Image& image, size_t first, size_t last) {
  uint64_t hash = first << 32 | last;
  for (const auto& [name, content] : image) {
    hash = XXH3_64bits_withSeed(name.data(), name.size(), hash);
    hash = XXH3_64bits_withSeed(content.bytes.data(), content.bytes.size(), hash) + content.size;
  }
  return hash;
}

std::string EmptyFolder(const std::filesystem::path& folder, const char* name) {
  const std::filesystem::path path = std::filesystem::canonical(folder) / name;
  std::filesystem::remove_all(path);
  std::filesystem::create_directory(path);
  return path;
}

// One workload and all its cuts. Some of the images live on and are cut a second time.
class Round {
 public:
  Round(const std::filesystem::path& folder, const Options& options, uint64_t seed, Totals& totals)
      : folder_(folder),
        options_(options),
        seed_(seed),
        totals_(totals),
        random_(seed * 0x9E3779B97F4A7C15u),
        per_cut_(options.per_cut),
        life_(EmptyFolder(folder, "life")),
        image_(EmptyFolder(folder, "image")),
        history_(RunWorkload(life_, seed, options.forgotten)),
        check_(image_) {}

  // The second life of what was found after a cut.
  Round(const Round& first, const Image& start, const Milestone& found)
      : folder_(first.folder_),
        options_(first.options_),
        seed_(first.seed_),
        totals_(first.totals_),
        random_(first.seed_ + first.images_),
        per_cut_(2),
        life_(EmptyFolder(first.folder_, "second-life")),
        image_(EmptyFolder(first.folder_, "second-image")),
        start_(start),
        is_second_(true),
        check_(image_) {
    WriteImage(start, life_);
    std::vector<std::string> files;
    for (const auto& file : start) files.push_back(file.first);
    history_ = RunAfterCut(life_, files, found, random_(), options_.forgotten);
  }

  // Throws at the first broken promise.
  void Run() {
    CompareWithDirectory();
    LearnMilestones();
    const std::vector<Operation>& operations = history_.journal->operations();
    CutDisk disk(start_);
    for (size_t cut = 0; cut <= operations.size(); ++cut) {
      if (cut > 0) disk.Apply(operations[cut - 1]);
      Cut(disk, cut);
    }
    if (!is_second_) ++totals_.workloads;
    totals_.operations += operations.size();
    totals_.flushes += history_.milestones.size();
  }

 private:
  // Without a cut, the model of the disk is the directory.
  void CompareWithDirectory() {
    CutDisk disk(start_);
    for (const Operation& operation : history_.journal->operations()) disk.Apply(operation);
    const Image image = disk.With(Fate::kKept, Fate::kKept, random_);
    size_t found = 0;
    for (const auto& entry : std::filesystem::directory_iterator(life_)) {
      ++found;
      const auto modelled = image.find(entry.path().filename());
      if (modelled == image.end() || !SameContent(modelled->second, ContentOf(entry.path()))) {
        throw std::runtime_error("the journal has not seen all of " + entry.path().string());
      }
    }
    if (found != image.size()) throw std::runtime_error("the journal has seen files that are not there");
  }

  static bool SameContent(const Content& content, const Bytes& bytes) {
    Bytes all = content.bytes;
    all.resize(content.size);
    return all == bytes;
  }

  static Bytes ContentOf(const std::filesystem::path& path) {
    Bytes content(std::filesystem::file_size(path));
    const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(path.c_str(), "rb"), fclose);
    if (file == nullptr || fread(content.data(), 1, content.size(), file.get()) != content.size()) {
      throw std::runtime_error("cannot read " + path.string());
    }
    return content;
  }

  // What the engine answers for each milestone, when nothing is cut.
  void LearnMilestones() {
    std::vector<Milestone>& milestones = history_.milestones;
    const std::vector<Operation>& operations = history_.journal->operations();
    CutDisk disk(start_);
    size_t applied = 0;
    for (size_t i = 0; i < milestones.size(); ++i) {
      Milestone& milestone = milestones[i];
      if (milestone.absent) continue;
      const size_t whole = milestone.returned != 0 ? milestone.returned : milestones.at(i + 1).begun;
      for (; applied < whole; ++applied) disk.Apply(operations[applied]);
      Found found = check_.Look(disk.With(Fate::kKept, Fate::kKept, random_), false);
      if (found.broken.empty() && found.state.digest != milestone.state.digest) found.broken = "it holds other things";
      if (!found.broken.empty()) throw std::runtime_error("without a cut, " + found.broken);
      milestone.open_status = found.open_status;
    }
  }

  void Cut(const CutDisk& disk, size_t cut) {
    const auto& milestones = history_.milestones;
    while (last_ + 1 < milestones.size() && milestones[last_ + 1].begun <= cut) ++last_;
    for (size_t i = first_; i <= last_; ++i) {
      if (milestones[i].returned != 0 && milestones[i].returned <= cut) first_ = i;
    }
    const uint64_t most = disk.HasPending() ? per_cut_ : 1;
    for (uint64_t i = 0; i < most; ++i) {
      if (i == 0)
        Judge(disk.With(Fate::kLost, Fate::kLost, random_), cut);
      else if (i == 1)
        Judge(disk.With(Fate::kKept, Fate::kKept, random_), cut);
      else
        Judge(disk.Draw(random_), cut);
    }
  }

  void Judge(Image image, size_t cut) {
    for (auto& file : image) file.second.DropZerosAtEnd();
    if (!seen_.insert(HashOf(image, first_, last_)).second) return;
    ++totals_.images;
    ++images_;
    Found found = check_.Look(image, images_ % 16 == 0);
    const int milestone = check_.Judge(found, history_.milestones, first_, last_);
    if (milestone < 0) {
      if (!options_.keep.empty()) WriteImage(image, EmptyFolder(options_.keep, "broken"));
      throw std::runtime_error(Report(found.broken, image, cut));
    }
    if (found.absent) {
      ++totals_.absent;
    } else if (static_cast<size_t>(milestone) == first_) {
      ++totals_.before;
    } else {
      ++totals_.after;
    }
    if (!is_second_ && found.open_status == 0 && !found.absent && images_ % kImagesPerSecondLife == 0) {
      Milestone start = history_.milestones[static_cast<size_t>(milestone)];
      start.begun = start.returned = 0;
      ++totals_.second_lives;
      Round(*this, image, start).Run();
    }
  }

  // Where it happened, the files as they were found, and the last operations before the cut.
  std::string Report(const std::string& broken, const Image& image, size_t cut) const {
    std::string report = broken + "\n  workload " + std::to_string(seed_) + (is_second_ ? ", a second life" : "") +
                         ", image " + std::to_string(totals_.images) + ", flushes " + std::to_string(first_) + " to " +
                         std::to_string(last_) + "\n";
    for (const auto& [name, content] : image) report += "  " + name + ", " + std::to_string(content.size) + " bytes\n";
    const auto& operations = history_.journal->operations();
    for (size_t i = cut < 12 ? 0 : cut - 12; i < cut; ++i) {
      report += "  operation " + std::to_string(i + 1) + ": " + DescriptionOf(operations[i]) + "\n";
    }
    return report;
  }

  static constexpr uint64_t kImagesPerSecondLife = 500;

  std::filesystem::path folder_;
  const Options& options_;
  uint64_t seed_;
  Totals& totals_;
  std::mt19937_64 random_;
  uint64_t per_cut_;
  std::string life_;
  std::string image_;
  Image start_;  // the files before the journal began
  bool is_second_ = false;
  uint64_t images_ = 0;
  History history_;
  ImageCheck check_;
  size_t first_ = 0, last_ = 0;  // milestones that may be found: the last that was promised, the last that was begun
  std::unordered_set<uint64_t> seen_;
};

Options Parse(int count, char** arguments) {
  Options options;
  for (int i = 1; i + 1 < count; i += 2) {
    const std::string name = arguments[i];
    const std::string value = arguments[i + 1];
    if (name == "--images")
      options.images = std::stoull(value);
    else if (name == "--per-cut")
      options.per_cut = std::stoull(value);
    else if (name == "--keep")
      options.keep = value;
    else if (name == "--seed")
      options.seed = std::stoull(value);
    else if (name == "--broken-sync") {
      options.must_break = true;
      if (value == "off")
        synchronous_is_off = true;
      else if (value == "file")
        options.forgotten = Forgotten::kFileSyncs;
      else if (value == "directory")
        options.forgotten = Forgotten::kDirectorySyncs;
      else
        throw std::invalid_argument(value);
    } else
      throw std::invalid_argument(name);
  }
  if (count % 2 == 0) throw std::invalid_argument(arguments[count - 1]);
  return options;
}

// Where files are memory, if there is such a place: nothing here depends on a real disk.
void PreferMemory() {
  if (getenv("TMPDIR") == nullptr && std::filesystem::is_directory("/dev/shm")) setenv("TMPDIR", "/dev/shm", 0);
}

int Run(const Options& options) {
  PreferMemory();
  const TemporaryDirectory folder;
  const auto started = std::chrono::steady_clock::now();
  Totals totals;
  std::string broken;
  try {
    for (uint64_t seed = options.seed; totals.images < options.images; ++seed) {
      Round(folder.path(), options, seed, totals).Run();
    }
  } catch (const std::runtime_error& promise) {
    broken = promise.what();
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - started;
  std::printf("power cuts: seed %llu, %llu workloads and %llu second lives, %llu operations, %llu flushes\n",
              static_cast<unsigned long long>(options.seed), static_cast<unsigned long long>(totals.workloads),
              static_cast<unsigned long long>(totals.second_lives), static_cast<unsigned long long>(totals.operations),
              static_cast<unsigned long long>(totals.flushes));
  std::printf(
      "%llu different images in %.0f s: %llu hold the last flush that had returned, %llu a later one, %llu no "
      "file yet or any more\n",
      static_cast<unsigned long long>(totals.images), seconds.count(), static_cast<unsigned long long>(totals.before),
      static_cast<unsigned long long>(totals.after), static_cast<unsigned long long>(totals.absent));
  if (!broken.empty()) std::printf("broken: %s\n", broken.c_str());
  if (options.must_break) return broken.empty() ? 1 : 0;
  return broken.empty() ? 0 : 1;
}

}  // namespace
}  // namespace powercut

// Every statement of the object store passes here; a broken store says OFF where the sound one says FULL.
extern "C" int __real_sqlite3_exec(sqlite3* connection, const char* sql, int (*row)(void*, int, char**, char**),
                                   void* argument, char** message);
extern "C" int __wrap_sqlite3_exec(sqlite3* connection, const char* sql, int (*row)(void*, int, char**, char**),
                                   void* argument, char** message);
extern "C" int __wrap_sqlite3_exec(sqlite3* connection, const char* sql, int (*row)(void*, int, char**, char**),
                                   void* argument, char** message) {
  std::string text = sql;
  const std::string sound = "synchronous = FULL";
  const size_t place = text.find(sound);
  if (powercut::synchronous_is_off && place != std::string::npos)
    text.replace(place, sound.size(), "synchronous = OFF");
  return __real_sqlite3_exec(connection, text.c_str(), row, argument, message);
}

int main(int count, char** arguments) {
  try {
    return powercut::Run(powercut::Parse(count, arguments));
  } catch (const std::invalid_argument& argument) {
    std::fprintf(stderr, "power_cut_campaign: what is %s?\n", argument.what());
    return 2;
  }
}
