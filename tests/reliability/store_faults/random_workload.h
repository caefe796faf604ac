// A workload that is drawn by chance: valid steps in any order, so that none fails but by a fault.
#pragma once

#include <cstdint>

#include "fault_workload.h"

// The same for the same seed.
Workload RandomWorkload(uint64_t seed);
