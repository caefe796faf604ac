// What a mounted volume holds, as one number for comparison, and whether its parts agree with each other.
#pragma once

#include <cstdint>
#include <string>

#include "object_store.h"

namespace powercut {

struct VolumeState {
  uint64_t digest = 0;  // of every database's description and every record, identifiers and times included
  uint32_t live = 0;
  uint32_t logged = 0;
  // Empty when counts, creation counters, deletion log and catalogue agree; else what does not.
  std::string disagreement;
};

VolumeState StateOf(const CEGUID& volume);

}  // namespace powercut
