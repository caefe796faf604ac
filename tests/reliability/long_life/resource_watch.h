// What the process holds of the machine: heap, resident memory, descriptors.
//
// The heap in use is what was allocated and not given back, by anyone in the process. Under the address sanitizer it is
// the sanitizer's own count and exact; otherwise it is the allocator's, which counts freed blocks that it holds ready
// for the next allocation of their size as in use, up to a few of each size.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace longlife {

size_t HeapInUse();
// Bytes; 0 where the system does not tell.
size_t ResidentMemory();
// What each open descriptor stands for, sorted.
std::vector<std::string> OpenDescriptors();
// Under a sanitizer resident memory is mostly the sanitizer's.
bool ResidentMemoryIsOurs();

}  // namespace longlife
