// The first page of a volume's file, judged without SQLite.
#pragma once

#include <cstdint>

#include "volume_pages.h"

namespace objectstore {

// Whether this is, byte for byte where it matters, what SQLite makes of the first page of a volume that lies at rest in so
// many bytes: its header and the table of tables. A page that is not may be sound all the same; that is for SQLite to say.
bool IsUsualFirstPage(const Page& page, uint64_t file_bytes);

}  // namespace objectstore
