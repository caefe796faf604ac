// One operation of XKRDB, once, in a function of its own, so that a profiler told to collect within CountedOperation sees
// nothing else. Prints for how many records or commits it was done. --list names the operations and their units.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <set>
#include <string>

#include "operations.h"

// Stays a function under this name whatever the compiler and the linker do: scripts/count-instructions knows it by that.
extern "C" [[gnu::noinline, gnu::used]] void CountedOperation(const bench::Operation& operation, bench::Stage& stage) {
  operation.work(stage);
}

namespace {

void ListOperations() {
  for (const bench::Operation& operation : bench::Operations()) {
    fmt::print("{} {}\n", operation.name, bench::NameOf(operation.unit));
  }
}

void Run(const bench::Operation& operation, size_t records, const std::string& folder) {
  const std::unique_ptr<bench::Store> store = bench::MakeStore();
  bench::Stage stage(*store, records, folder);
  operation.prepare(stage);
  CountedOperation(operation, stage);
  operation.check(stage);
  fmt::print("{}\n", bench::UnitsOf(operation, stage));
}

}  // namespace

int main(int argc, char** argv) try {
  CLI::App app("One operation, for a profiler");
  std::string name;
  std::string folder;
  size_t records = 1000;
  bool list = false;
  std::set<std::string> names;
  for (const bench::Operation& operation : bench::Operations()) names.insert(operation.name);
  auto* list_option = app.add_flag("--list", list, "Name the operations");
  app.add_option("--operation", name, "Which one")->check(CLI::IsMember(names))->excludes(list_option);
  app.add_option("--dir", folder, "An empty folder for the file")->check(CLI::ExistingDirectory);
  app.add_option("--records", records, "Records of the file")->check(CLI::Range(500, 4000));
  CLI11_PARSE(app, argc, argv);
  if (list) {
    ListOperations();
    return 0;
  }
  if (name.empty() || folder.empty()) throw std::runtime_error("--operation and --dir, or --list");
  for (const bench::Operation& operation : bench::Operations()) {
    if (operation.name == name) Run(operation, records, folder);
  }
  return 0;
} catch (const std::exception& failure) {
  fmt::print(stderr, "{}: {}\n", argv[0], failure.what());
  return 1;
}
