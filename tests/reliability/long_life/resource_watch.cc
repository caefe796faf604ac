// The process asked about itself, through the allocator and the system's folder of processes.
#include "resource_watch.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#if defined(__SANITIZE_ADDRESS__)
extern "C" size_t __sanitizer_get_current_allocated_bytes();  // not every compiler brings a header that declares it
#endif

namespace longlife {

size_t HeapInUse() {
#if defined(__SANITIZE_ADDRESS__)
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
#endif
}

bool ResidentMemoryIsOurs() {
#if defined(__SANITIZE_ADDRESS__)
  return false;
#else
  return true;
#endif
}

size_t ResidentMemory() {
  std::ifstream status("/proc/self/statm");
  size_t whole = 0;
  size_t resident = 0;
  if (!(status >> whole >> resident)) return 0;
  return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

std::vector<std::string> OpenDescriptors() {
  std::vector<std::string> descriptors;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
    const std::string target = std::filesystem::read_symlink(entry.path(), error).string();
    // The listing itself has a descriptor while it lasts.
    if (target.find("/proc/") == std::string::npos) descriptors.push_back(target);
  }
  std::sort(descriptors.begin(), descriptors.end());
  return descriptors;
}

}  // namespace longlife
