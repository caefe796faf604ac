// What a mounted volume holds, as text that two states can be compared by. Reads through the store's calls alone.
#pragma once

#include <string>

#include "object_store.h"

struct VolumeText {
  std::string content;  // databases, sort orders, records with every value; the same for the same history
  std::string times;    // of last changes, which no two runs share

  bool operator==(const VolumeText&) const = default;
};

// What cannot be read is part of the text, with its last error.
VolumeText TextOf(const CEGUID& volume);

// The record that a handle stands on, or the last error that says why there is none. The handle is not one that steps
// by itself.
std::string PlaceOf(HANDLE handle);
