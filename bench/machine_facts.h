// The machine and the file system that figures come from, in words for a report.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace bench {

// cpu, cores, kernel, file_system of the folder, compiler.
nlohmann::ordered_json MachineFacts(const std::string& folder);

// The kind of file system that a path lies on: "ext4", "tmpfs".
std::string FileSystemOf(const std::string& path);

}  // namespace bench
