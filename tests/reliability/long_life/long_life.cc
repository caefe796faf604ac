// One process, one environment, one session after another for as long as one likes: every answer is compared with a
// model, and whatever the process holds of the machine must not grow.
//
//   long_life [--sessions N | --seconds N] [--seed S] [--leak BYTES]
//
// A session makes a database, works on it as the stream of calls of the record sets' model does, with calls about
// settings, files, dates and times between them, closes and opens it as it goes, and deletes it; makes another one
// through table handles of its own and deletes that; then visits a file that stays. At the end of every
// session everything is closed, and
//   no descriptor is open that was not open before the first session,
//   the folder holds the file that stays and nothing else,
//   the heap in use is not above its highest value during the first sessions by more than kHeapSlack,
//   resident memory is not above its highest value then by more than kResidentSlack,
//   the file that stays, whose content is the same each time, is not larger than kSizeFactor times its first size.
// --leak loses so many bytes in every session, to show that the watch on the heap is not blind.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <list>

#include "call_counter.h"
#include "call_stream.h"
#include "file_and_text_calls.h"
#include "resource_watch.h"
#include "scratch_file.h"
#include "settings_calls.h"
#include "steady_file.h"
#include "temporary_directory.h"

namespace {

using longlife::FileAndTextCalls;
using longlife::SettingsCalls;
using longlife::SteadyFile;

constexpr uint64_t kWarmUpSessions = 16;
constexpr size_t kHeapSlack = size_t{64} << 10;
constexpr size_t kResidentSlack = size_t{1} << 20;
constexpr double kSizeFactor = 1.5;

struct Options {
  uint64_t sessions = 100;
  uint64_t seconds = 0;  // 0: as many sessions as said
  uint32_t seed = 1;
  size_t leak = 0;
};

double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

class LongLife {
 public:
  explicit LongLife(const Options& options) : options_(options) {
    MDbEnvInitialize(&env_);
    EXPECT_EQ(MDbStatusOk, MDbInit(&env_, "", 0));
    descriptors_ = longlife::OpenDescriptors();
  }
  ~LongLife() { EXPECT_EQ(MDbStatusOk, MDbShutdown(&env_, 0, 0)); }
  LongLife(const LongLife&) = delete;
  LongLife& operator=(const LongLife&) = delete;

  void Run();

 private:
  bool Goes() const {
    if (::testing::Test::HasFailure()) return false;
    return options_.seconds > 0 ? SecondsSince(start_) < static_cast<double>(options_.seconds)
                                : sessions_ < options_.sessions;
  }
  void Session(SteadyFile& steady);
  void Work(uint32_t seed);
  void WatchResources(const SteadyFile& steady);
  void Tell(const char* when, const SteadyFile& steady) const;

  Options options_;
  TemporaryDirectory folder_;
  MDbEnv env_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::vector<std::string> descriptors_;
  std::list<std::string> lost_;
  uint64_t sessions_ = 0;
  size_t heap_ = 0;      // the highest of the first sessions
  size_t resident_ = 0;  // the same
  size_t highest_heap_ = 0;
  size_t highest_resident_ = 0;
  uint64_t first_size_ = 0;
  uint64_t highest_size_ = 0;
};

void LongLife::Work(uint32_t seed) {
  const std::u16string path = folder_ / u"session.xdb";
  std::mt19937 random(seed);
  {
    plain::CallStream stream(path, seed, &env_);
    SettingsCalls settings(env_, path, seed);
    FileAndTextCalls texts(env_, folder_.path(), seed);
    for (auto part = random() % 12; part > 0 && !::testing::Test::HasFailure(); --part) {
      stream.Run(static_cast<int>(random() % 60));
      for (auto step = random() % 6; step > 0; --step) settings.Step();
      for (auto step = random() % 6; step > 0; --step) texts.Step();
    }
  }
  EXPECT_EQ(MDbStatusOk, MDbDelete(&env_, path.c_str()));
}

void LongLife::Session(SteadyFile& steady) {
  const auto seed = static_cast<uint32_t>(options_.seed * 1000003u + sessions_);
  SCOPED_TRACE("session " + std::to_string(sessions_) + " of seed " + std::to_string(options_.seed));
  Work(seed);
  if (!::testing::Test::HasFailure()) longlife::ScratchFile(env_, folder_ / u"scratch.xdb", seed).Live();
  if (!::testing::Test::HasFailure()) steady.Visit();
  if (options_.leak > 0) lost_.emplace_back(options_.leak, 'x');
  ++sessions_;
  WatchResources(steady);
}

void LongLife::WatchResources(const SteadyFile& steady) {
  EXPECT_EQ(descriptors_, longlife::OpenDescriptors()) << "descriptors at the end of a session";
  size_t entries = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
    EXPECT_EQ("steady.xdb", entry.path().filename().string()) << "left in the folder";
    ++entries;
  }
  EXPECT_EQ(1u, entries);
  if (sessions_ == 1) first_size_ = steady.Size();
  highest_size_ = std::max(highest_size_, steady.Size());
  EXPECT_LE(static_cast<double>(steady.Size()), kSizeFactor * static_cast<double>(first_size_))
      << "the file grows though its content does not";
  const size_t heap = longlife::HeapInUse();
  const size_t resident = longlife::ResidentMemory();
  if (sessions_ <= kWarmUpSessions) {
    heap_ = std::max(heap_, heap);
    resident_ = std::max(resident_, resident);
  }
  highest_heap_ = std::max(highest_heap_, heap);
  highest_resident_ = std::max(highest_resident_, resident);
  EXPECT_LE(heap, heap_ + kHeapSlack) << "bytes of heap are lost";
  if (longlife::ResidentMemoryIsOurs()) {
    EXPECT_LE(resident, resident_ + kResidentSlack) << "resident memory grows";
  }
}

void LongLife::Tell(const char* when, const SteadyFile& steady) const {
  const double seconds = SecondsSince(start_);
  const double calls = static_cast<double>(longlife::CallsMade());
  std::printf(
      "%s: %llu sessions, %.0f calls (%zu different), %.1f s, %.0f calls/s; heap %zu (warm %zu, highest %zu), "
      "resident %zu (warm %zu, highest %zu), descriptors %zu, steady file %llu (first %llu, highest %llu)\n",
      when, static_cast<unsigned long long>(sessions_), calls, longlife::DifferentCallsMade(), seconds, calls / seconds,
      longlife::HeapInUse(), heap_, highest_heap_, longlife::ResidentMemory(), resident_, highest_resident_,
      longlife::OpenDescriptors().size(), static_cast<unsigned long long>(steady.Size()),
      static_cast<unsigned long long>(first_size_), static_cast<unsigned long long>(highest_size_));
  std::fflush(stdout);
}

void LongLife::Run() {
  SteadyFile steady(env_, folder_.path() / "steady.xdb", options_.seed);
  double next_word = 60;
  while (Goes()) {
    Session(steady);
    if (SecondsSince(start_) < next_word) continue;
    next_word += 60;
    Tell("so far", steady);
  }
  Tell(::testing::Test::HasFailure() ? "FAILED" : "done", steady);
}

Options Parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i + 1 < argc; i += 2) {
    const uint64_t value = std::strtoull(argv[i + 1], nullptr, 10);
    if (std::strcmp(argv[i], "--sessions") == 0) options.sessions = value;
    if (std::strcmp(argv[i], "--seconds") == 0) options.seconds = value;
    if (std::strcmp(argv[i], "--seed") == 0) options.seed = static_cast<uint32_t>(value);
    if (std::strcmp(argv[i], "--leak") == 0) options.leak = value;
  }
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    ::testing::InitGoogleTest(&argc, argv);
    const Options options = Parse(argc, argv);
    std::printf("long_life: seed %u\n", options.seed);
    std::fflush(stdout);
    LongLife(options).Run();
    return ::testing::Test::HasFailure() ? 1 : 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "long_life: %s\n", failure.what());
    return 2;
  }
}
