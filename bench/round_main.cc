// The program of one store: one round, its report as one JSON object on standard output.
//
// With --read-only it opens the main file that a round has left, reads all of it, and prints what memory the process had
// before that and at its peak.
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <fstream>
#include <string>

#include "round.h"

namespace {

// The peak of resident memory so far, in KiB. Unlike getrusage's figure it leaves out what the process that started
// this one had.
unsigned long PeakMemoryKib() {
  std::ifstream status("/proc/self/status");
  std::string name;
  unsigned long kib = 0;
  while (status >> name) {
    if (name == "VmHWM:" && status >> kib) return kib;
  }
  throw std::runtime_error("/proc/self/status does not say VmHWM");
}

void ReadOnly(bench::Store& store, const std::string& folder) {
  store.StartLibrary();
  const unsigned long before = PeakMemoryKib();
  bench::Copies copies;
  store.Open(folder + "/main");
  store.ReadFirst(1, copies);
  store.ReadAll(copies);
  fmt::print("{} {}\n", before, PeakMemoryKib());
  store.Close();
}

void RunRound(bench::Store& store, const std::string& folder, size_t records) {
  const std::vector<bench::Record> table = bench::MakeTable(records);
  bench::RoundReport report(store.Name(), store.Version(), records);
  store.StartLibrary();
  bench::Round(store, table, folder).Run(report);
  fmt::print("{}\n", report.Json());
}

}  // namespace

int main(int argc, char** argv) try {
  CLI::App app("One round of the benchmark for one store");
  std::string folder;
  size_t records = 5000;
  bool read_only = false;
  app.add_option("--dir", folder, "An empty folder for the files")->required()->check(CLI::ExistingDirectory);
  app.add_option("--records", records, "Records of the table")->check(CLI::Range(100, 5000));
  app.add_flag("--read-only", read_only, "Read the main file and print the memory that it took");
  CLI11_PARSE(app, argc, argv);
  const std::unique_ptr<bench::Store> store = bench::MakeStore();
  if (read_only) {
    ReadOnly(*store, folder);
  } else {
    RunRound(*store, folder, records);
  }
  return 0;
} catch (const std::exception& failure) {
  fmt::print(stderr, "{}: {}\n", argv[0], failure.what());
  return 1;
}
