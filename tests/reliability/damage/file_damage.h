// Ways to damage the bytes of a file. The systematic ones are numbered, so that all of them can be gone through, or
// every n-th, and any one be done again; the others are drawn.
#pragma once

#include <cstdint>
#include <random>
#include <string>

namespace damage {

using Random = std::mt19937_64;

// Below the bound, the same on every machine.
uint64_t Draw(Random& random, uint64_t bound);

struct Damaged {
  std::string bytes;
  std::string what;  // for people: "bit 5 of byte 1234 flipped"
};

// The families of systematic damage, in the order in which they are numbered: the file cut off at every length, every
// bit flipped, every page zeroed, every two pages swapped, every page written over every other.
uint64_t SystematicCount(const std::string& bytes);
Damaged DoSystematic(const std::string& bytes, uint64_t number);

// A few bits, a run of bytes, sectors, pages, the length: drawn.
Damaged DoRandom(const std::string& bytes, Random& random);

}  // namespace damage
