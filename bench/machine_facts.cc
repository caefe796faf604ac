// See machine_facts.h.
#include "machine_facts.h"

#include <fmt/format.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace bench {
namespace {

std::string CpuName() {
  std::ifstream cpuinfo("/proc/cpuinfo");
  for (std::string line; std::getline(cpuinfo, line);) {
    const size_t colon = line.find(": ");
    if (line.starts_with("model name") && colon != std::string::npos) return line.substr(colon + 2);
  }
  return "unknown";
}

std::string Kernel() {
  utsname name{};
  if (uname(&name) != 0) return "unknown";
  return fmt::format("{} {} {}", name.sysname, name.release, name.machine);
}

bool LiesBelow(const std::string& path, const std::string& folder) {
  return folder == "/" || path == folder || path.starts_with(folder + "/");
}

}  // namespace

std::string FileSystemOf(const std::string& path) {
  const std::string whole = std::filesystem::canonical(path).string();
  std::ifstream mounts("/proc/self/mounts");
  std::string kind = "unknown";
  size_t longest = 0;
  for (std::string line; std::getline(mounts, line);) {
    std::istringstream words(line);
    std::string device;
    std::string folder;
    std::string file_system;
    words >> device >> folder >> file_system;
    if (!LiesBelow(whole, folder) || folder.size() < longest) continue;
    longest = folder.size();
    kind = file_system;
  }
  return kind;
}

Facts MachineFacts(const std::string& folder) {
  return {{"cpu", CpuName()},
          {"cores", std::to_string(sysconf(_SC_NPROCESSORS_ONLN))},
          {"kernel", Kernel()},
          {"file_system", FileSystemOf(folder)},
          {"compiler", "gcc " __VERSION__}};
}

}  // namespace bench
