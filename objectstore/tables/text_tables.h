// What the store knows of characters where it has no ICU: the tables that write_tables makes on the machine that builds.
#pragma once

#include <cstdint>
#include <span>

#include "collation_table.h"

namespace objectstore {

// A run of characters, each so many behind the one before it, whose case folding is as far from each.
struct FoldingRun {
  char16_t first;
  char16_t last;
  uint16_t step;
  uint16_t distance;  // added as a 16-bit number
};

CollationTable::StoredKeys StoredCollationKeys();
CollationTable::Compositions StoredCompositions();
std::span<const FoldingRun> StoredFoldings();

}  // namespace objectstore
