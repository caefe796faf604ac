// Counting calls: one number for each place in the list of exports. The program has one thread.
#include "call_counter.h"

#include <algorithm>
#include <array>

namespace longlife {
namespace {

std::array<uint64_t, 256> g_calls{};

}  // namespace

void CountCall(size_t number) { ++g_calls.at(number); }

uint64_t CallsMade() {
  uint64_t sum = 0;
  for (const uint64_t count : g_calls) sum += count;
  return sum;
}

size_t DifferentCallsMade() {
  return static_cast<size_t>(std::count_if(g_calls.begin(), g_calls.end(), [](uint64_t count) { return count > 0; }));
}

}  // namespace longlife
