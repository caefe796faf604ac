// The bounded copy of text into a caller's buffer.
#pragma once

#include <cstddef>

#include "mdb_types.h"

namespace mdb {

// Copies at most size_bytes / 2 - 1 characters of source and always terminates. The limit is signed: a size below 2
// must not be passed.
void CopyWideTruncated(uint32_t size_bytes, const MDbChar* source, MDbChar* destination);

// The same for whoever knows how long the text is, in characters.
void CopyKnownTruncated(uint32_t size_bytes, const MDbChar* source, size_t length, MDbChar* destination);

}  // namespace mdb
