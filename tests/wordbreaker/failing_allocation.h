// Memory that runs short on request: the allocations of C++ and of ICU in this program and thread.
#pragma once

#include <limits>

constexpr long kAllAllocations = std::numeric_limits<long>::max();

// From now on this thread's allocations succeed count times and then fail.
void AllowAllocations(long count);

// How many are left.
long AllowedAllocations();

// False when ICU was in use before this program could put itself in between.
bool IcuAllocationsMayFail();
