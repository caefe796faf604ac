// Everything that a volume holds, as text: every database with what its catalogue says of it, every record with its
// identifier and its properties in the order in which they were first written. Two volumes with the same text hold the
// same; a text is also what a golden volume is compared with.
#pragma once

#include <string>

#include "object_store.h"

namespace damage {

// The time of the last change is the one thing that differs between two volumes made by the same calls.
enum class Times { kWithout, kWith };

// What reading a volume came to: error 0 and its text, or the last error of the first call that failed.
struct VolumeText {
  DWORD error = 0;
  std::string text;

  bool operator==(const VolumeText&) const = default;
};

// Of a mounted volume.
VolumeText TextOf(const CEGUID& volume, Times times = Times::kWithout);

// Mounts the file, reads it and unmounts it.
VolumeText TextOfFile(const std::u16string& path, Times times = Times::kWithout);

}  // namespace damage
