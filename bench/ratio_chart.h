// The ratios of XKRDB to SQLite as a picture: one bar for each row, on a logarithmic scale with a line at 1.
#pragma once

#include <string>

#include "comparison.h"

namespace bench {

// An SVG document.
std::string ChartOf(const Comparison& comparison);

}  // namespace bench
