// Memory that runs short on request: every allocation of C++, of ICU, of SQLite and of the platform's local heap in
// this program asks faults.h first.
#pragma once

#include <cstdint>

namespace faults {

// False when ICU or SQLite was in use before this program could put itself in between.
bool MemoryMayFail();

// Bytes that SQLite holds.
int64_t BytesOfSqlite();

}  // namespace faults
