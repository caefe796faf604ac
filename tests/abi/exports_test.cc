// What each shared library exports: exactly the names of the list that is committed beside it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace {

using Names = std::set<std::string>;

Names Lines(const std::string& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file) << path;
  Names names;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty()) names.insert(line);
  }
  return names;
}

// The defined dynamic symbols, functions and data alike; version nodes, which are absolute, aside.
Names Exported(const std::string& library) {
  const std::string command = std::string(XKRDB_NM) + " -D --defined-only --format=posix '" + library + "'";
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  EXPECT_TRUE(pipe) << command;
  Names names;
  std::array<char, 512> line;
  while (pipe && std::fgets(line.data(), static_cast<int>(line.size()), pipe.get()) != nullptr) {
    std::istringstream words(line.data());
    std::string name;
    std::string type;
    words >> name >> type;
    if (type != "A") names.insert(name.substr(0, name.find('@')));
  }
  return names;
}

Names Without(const Names& names, const Names& others) {
  Names rest;
  std::set_difference(names.begin(), names.end(), others.begin(), others.end(), std::inserter(rest, rest.end()));
  return rest;
}

struct Library {
  const char* path;
  const char* exports;
  size_t count;
};

const Library kLibraries[] = {
    {XKRDB_ENGINE_LIBRARY, XKRDB_SOURCE_DIR "/engine/exports.txt", 122},
    {XKRDB_STORE_LIBRARY, XKRDB_SOURCE_DIR "/objectstore/exports.txt", 19},
    {XKRDB_BREAKER_LIBRARY, XKRDB_SOURCE_DIR "/wordbreaker/exports.txt", 5},
};

TEST(Exports, EveryLibraryExportsItsCommittedListAndNothingElse) {
  for (const Library& library : kLibraries) {
    const Names listed = Lines(library.exports);
    const Names exported = Exported(library.path);
    EXPECT_EQ(listed.size(), library.count) << library.exports;
    EXPECT_EQ(Without(listed, exported), Names()) << "listed and not exported by " << library.path;
    EXPECT_EQ(Without(exported, listed), Names()) << "exported and not listed by " << library.path;
  }
}

// The names that a header declares for export: of each line that begins with the macro, the word before the first
// parenthesis, which a long declaration may have on its next line.
Names Declared(const std::string& path, const std::string& macro) {
  std::ifstream file(path);
  EXPECT_TRUE(file) << path;
  Names names;
  std::string declaration;
  for (std::string line; std::getline(file, line);) {
    if (declaration.empty() && !line.starts_with(macro + " ")) continue;
    declaration += line + " ";
    const size_t end = declaration.find('(');
    if (end == std::string::npos) continue;
    const size_t before = declaration.find_last_of(" *", end);
    names.insert(declaration.substr(before + 1, end - before - 1));
    declaration.clear();
  }
  return names;
}

// The object store exports the platform's calls, whose header is no public one, and two of its own, whose is.
TEST(Exports, TheObjectStoresOwnCallsAreThoseOfItsHeader) {
  Names own;
  for (const std::string& name : Lines(XKRDB_SOURCE_DIR "/objectstore/exports.txt")) {
    if (name.starts_with("XKR")) own.insert(name);
  }
  EXPECT_EQ(Declared(XKRDB_SOURCE_DIR "/include/xkrvolume.h", "XKR_VOLUME_API"), own);
}

TEST(Exports, AHeaderDeclaresExactlyWhatItsListHolds) {
  const struct {
    const char* header;
    const char* macro;
    const char* exports;
  } kRows[] = {
      {XKRDB_SOURCE_DIR "/include/mdb.h", "MDB_API", XKRDB_SOURCE_DIR "/engine/exports.txt"},
      {XKRDB_SOURCE_DIR "/include/xkrwbrk.h", "XKR_WORD_BREAKER_API", XKRDB_SOURCE_DIR "/wordbreaker/exports.txt"},
  };
  for (const auto& row : kRows) {
    const Names listed = Lines(row.exports);
    const Names declared = Declared(row.header, row.macro);
    EXPECT_EQ(Without(listed, declared), Names()) << "not declared in " << row.header;
    EXPECT_EQ(Without(declared, listed), Names()) << "declared in " << row.header << " and not listed";
  }
}

}  // namespace
