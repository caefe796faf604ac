// The operations whose instructions are counted, one at a time: what makes an operation ready, and the work itself.
//
// Always holds: the work is that of the benchmark's row of the same kind and nothing else. Whatever can be made before
// it (texts, positions, what has to come out) is made before it, and everything was done once already, so that no
// library loads its tables within it. Afterwards what the store holds or has found is compared with what it should.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "measured_store.h"

namespace bench {

inline constexpr size_t kCountedCommits = 100;

// What an operation works on. The file at path holds the first records of the table, and is closed.
struct Stage {
  // Loads the file. There are records left in the table for the commits of an operation, and for one before them.
  Stage(Store& measured, size_t records, const std::string& folder);

  std::span<const Record> Loaded() const { return std::span(table).first(loaded); }

  Store& store;
  std::vector<Record> table;
  size_t loaded;
  std::string path;
  Copies copies;
  Views views;

  std::vector<Record> wanted;  // what reading has to give afterwards, in this order
  std::vector<uint32_t> positions;
  std::vector<Text> cities;
  Text number;
  Text word;
};

enum class Unit { kOperation, kRecord, kCommit };

struct Operation {
  const char* name;
  Unit unit;
  void (*prepare)(Stage& stage);
  void (*work)(Stage& stage);
  void (*check)(Stage& stage);  // throws when not all is as wanted
};

std::span<const Operation> Operations();

// "record", and how many of them the work is done for.
const char* NameOf(Unit unit);
size_t UnitsOf(const Operation& operation, const Stage& stage);

}  // namespace bench
