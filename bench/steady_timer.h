// Time spent in one piece of work, by the steady clock, and medians of such times.
#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

namespace bench {

template <typename Work>
double MicrosecondsOf(Work&& work) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point begin = Clock::now();
  work();
  return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

// The value below which the given share of all values lies, between two values by their distance; values is not empty.
inline double Quantile(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  const double place = share * static_cast<double>(values.size() - 1);
  const auto below = static_cast<size_t>(place);
  const size_t above = std::min(below + 1, values.size() - 1);
  return values[below] + (place - static_cast<double>(below)) * (values[above] - values[below]);
}

inline double Median(std::vector<double> values) { return Quantile(std::move(values), 0.5); }

}  // namespace bench
