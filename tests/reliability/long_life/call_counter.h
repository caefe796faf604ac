// How many exported calls this program has made, each counted before it is made. The header that puts the counter in
// front of every name is made from the list of exports.
#pragma once

#include <cstddef>
#include <cstdint>

namespace longlife {

// number is the call's place in the list of exports.
void CountCall(size_t number);

uint64_t CallsMade();
// Of the exported calls, those that were made at least once.
size_t DifferentCallsMade();

}  // namespace longlife
