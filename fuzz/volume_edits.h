// Damage to a volume, as an input tells it: first to its rows, whose bodies get a right checksum again, so that the
// rules behind the checksum are reached; then to the pages of the file and of the side file.
//
// One step of damage is an operation's byte and what it takes. Rows are called by their place in the volume that was
// chosen, whatever was done to them before.
#ifndef XKRDB_FUZZ_VOLUME_EDITS_H
#define XKRDB_FUZZ_VOLUME_EDITS_H

#include <cstdint>
#include <vector>

#include "input_bytes.h"

namespace fuzz {

struct VolumeBytes {
  std::vector<uint8_t> main;
  std::vector<uint8_t> side;  // empty: there is no side file
};

// The volume that the input begins with the number of, damaged by what follows. damaged is false when nothing was done.
VolumeBytes DamagedVolume(InputBytes& input, bool& damaged);

}  // namespace fuzz

#endif
