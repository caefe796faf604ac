// What calls take of memory: how much of it is still held afterwards, and the largest piece that was asked for at once.
#pragma once

#include <cstddef>

namespace places {

// Bytes that this program holds now, whoever asked for them. The sanitizers count them to the last one; the C heap counts
// some that it keeps for the next request.
size_t HeldBytes();
#if defined(__SANITIZE_ADDRESS__)
inline constexpr size_t kUncertainBytes = 0;
#else
inline constexpr size_t kUncertainBytes = 4096;
#endif

// From here on the largest request through operator new is remembered, and the most that SQLite holds at a time.
void StartWatchingRequests();
size_t LargestRequest();
size_t MostHeldBySqlite();

}  // namespace places
