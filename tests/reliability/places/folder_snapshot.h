// A folder as a list of lines, one for each entry below it: kind, mode, owner, names, size, time of change and contents.
// Two lists are equal exactly when nothing that a person could notice has changed. Links are described, never followed.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace places {

using Lines = std::vector<std::string>;

// The folder's own time of change counts only when asked for: a file that came and went changes it.
enum class OwnTime { kLeftOut, kTaken };

Lines SnapshotOfFolder(const std::filesystem::path& folder, OwnTime own_time = OwnTime::kLeftOut);

// What this process has open, as the system names it.
Lines OpenDescriptors();

// Whether this process, or another one, holds a lock on any byte of a file.
bool IsLocked(const std::filesystem::path& file);

}  // namespace places
