// What a fuzzer asserts. A requirement that does not hold ends the program, so that libFuzzer keeps the input.
#ifndef XKRDB_FUZZ_REQUIREMENT_H
#define XKRDB_FUZZ_REQUIREMENT_H

#include <cstdio>
#include <cstdlib>

#define FUZZ_REQUIRE(condition, promise)                                                                  \
  do {                                                                                                    \
    if (!(condition)) {                                                                                   \
      std::fprintf(stderr, "%s:%d: broken promise: %s\n  %s\n", __FILE__, __LINE__, promise, #condition); \
      std::abort();                                                                                       \
    }                                                                                                     \
  } while (false)

#endif
