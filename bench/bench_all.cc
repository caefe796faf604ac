// The whole benchmark: runs the program of every store in turn, round after round, each in a fresh folder; holds what
// they read against one another; reports.
//
// Always holds: a table, a JSON file or a chart is written only after every store read the same.
#include <fmt/format.h>
#include <sched.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "comparison.h"
#include "machine_facts.h"
#include "ratio_chart.h"

namespace {

namespace fs = std::filesystem;

struct Options {
  size_t rounds = 9;
  size_t records = 5000;
  std::string folder;
  std::string json_path;
  std::string svg_path;
  std::vector<std::string> stores;
  bool quick = false;
  bool real_time = false;
};

// What a program prints; throws when it fails.
std::string OutputOf(const std::string& command) {
  FILE* program = popen(command.c_str(), "r");
  if (program == nullptr) throw std::runtime_error("cannot run " + command);
  std::string output;
  std::array<char, 4096> block{};
  while (const size_t size = fread(block.data(), 1, block.size(), program)) output.append(block.data(), size);
  if (pclose(program) != 0) throw std::runtime_error("failed: " + command);
  return output;
}

// What a program of the benchmark measures, in a folder that is there for it alone.
std::string RunProgram(const std::string& name, const fs::path& folder, const std::string& arguments) {
  const fs::path programs = fs::read_symlink("/proc/self/exe").parent_path();
  const fs::path own = folder / ("round-" + name);
  fs::remove_all(own);
  fs::create_directories(own);
  std::string json =
      OutputOf(fmt::format("'{}' --dir '{}' {}", (programs / ("bench_" + name)).string(), own.string(), arguments));
  fs::remove_all(own);
  return json;
}

std::string RunRound(const std::string& store, const fs::path& folder, size_t records) {
  return RunProgram(store, folder, fmt::format("--records {}", records));
}

// One database of as many records as the engine allows, ten of them, and one that holds as many as the ten.
void MeasureObjectStore(const Options& options, bench::Comparison& result) {
  constexpr size_t kMost = 3;
  const size_t records = options.records;
  for (size_t round = 0; round < std::min(options.rounds, kMost); ++round) {
    for (const auto& [databases, each] :
         {std::pair{size_t{1}, records}, {size_t{10}, records}, {size_t{1}, 10 * records}}) {
      result.object_store.Add(
          RunProgram("object_store", options.folder, fmt::format("--databases {} --records {}", databases, each)));
    }
  }
}

// Every round begins with another store, so that none always runs after the same one.
bench::Comparison Measure(const Options& options) {
  constexpr size_t kFewest = 100;
  bench::Comparison result;
  result.machine = bench::MachineFacts(options.folder);
  result.machine.emplace_back("scheduling", options.real_time ? "real time" : "as any program");
  result.rounds = options.rounds;
  result.records = options.records;
  result.few_records = std::max(options.records / 10, kFewest);
  for (size_t round = 0; round < options.rounds; ++round) {
    for (size_t turn = 0; turn < options.stores.size(); ++turn) {
      const std::string& store = options.stores[(round + turn) % options.stores.size()];
      fmt::print(stderr, "round {} of {}: {:<12}\r", round + 1, options.rounds, store);
      result.full.Add(RunRound(store, options.folder, options.records));
    }
    result.few.Add(RunRound("xkrdb", options.folder, result.few_records));
  }
  fmt::print(stderr, "{:<40}\r", "");
  MeasureObjectStore(options, result);
  result.full.CompareDigests();
  result.few.CompareDigests();
  return result;
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

// For this program and all that it starts. Without it, on a machine that is busy with other things, a program that waits
// for the disk may be let on only at the next tick of the scheduler, 4 ms later.
void AskForRealTime() {
  const sched_param priority = {1};
  if (sched_setscheduler(0, SCHED_FIFO, &priority) != 0) throw std::runtime_error("no real-time priority is granted");
}

void Run(Options options) {
  if (options.real_time) AskForRealTime();
  if (options.quick) {
    options.rounds = 1;
    options.records = 200;
  }
  fs::create_directories(options.folder);
  if (!options.quick && bench::FileSystemOf(options.folder) == "tmpfs") {
    throw std::runtime_error(options.folder + " is in memory, where nothing is ever synced; name another with --dir");
  }
  const bench::Comparison comparison = Measure(options);
  fmt::print("{}", bench::TableOf(comparison));
  if (!options.json_path.empty()) WriteFile(options.json_path, bench::JsonOf(comparison).dump(2) + "\n");
  if (!options.svg_path.empty()) WriteFile(options.svg_path, bench::ChartOf(comparison));
}

}  // namespace

int main(int argc, char** argv) try {
  Options options;
  options.stores = {"xkrdb", "sqlite", "lmdb", "leveldb", "rocksdb", "berkeleydb", "limit"};
  options.folder = (fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "data").string();
  CLI::App app("XKRDB against other stores: the same work, in turns");
  app.add_option("--rounds", options.rounds, "Rounds of every store")->check(CLI::Range(1, 1000));
  app.add_option("--records", options.records, "Records of the table")->check(CLI::Range(100, 5000));
  app.add_option("--dir", options.folder, "Folder for the files, on a disk; made when it is missing");
  app.add_option("--json", options.json_path, "Write all figures to this file");
  app.add_option("--svg", options.svg_path, "Draw the ratios into this file");
  app.add_option("--stores", options.stores, "These stores alone");
  app.add_flag("--quick", options.quick, "A trial: 200 records, one round");
  app.add_flag("--real-time", options.real_time, "With real-time priority, which a busy machine calls for");
  CLI11_PARSE(app, argc, argv);
  Run(options);
  return 0;
} catch (const std::exception& failure) {
  fmt::print(stderr, "bench_all: {}\n", failure.what());
  return 1;
}
