// Volumes with a past: databases made and deleted, records written, grown, shrunk and deleted over many flushes and
// mounts, so that their pages have free room of every kind.
#pragma once

#include <string>

#include "file_damage.h"

namespace damage {

// Mounts the volume, which is made if it is not there, changes it a few times and unmounts it.
void AddToHistory(const std::u16string& path, Random& random);

}  // namespace damage
