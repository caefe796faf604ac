// The machine and the file system that figures come from, in words for a report.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace bench {

// Names and what they are, in the order in which they are to be read.
using Facts = std::vector<std::pair<std::string, std::string>>;

// cpu, cores, kernel, file_system of the folder, compiler.
Facts MachineFacts(const std::string& folder);

// The kind of file system that a path lies on: "ext4", "tmpfs".
std::string FileSystemOf(const std::string& path);

}  // namespace bench
