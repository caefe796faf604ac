// What is wrong with a volume's file, flaw by flaw.
#pragma once

#include "salvage.h"

namespace objectstore {

// Adds what only the file as a whole shows: a journal beside it, and, when nothing else was found, what SQLite says of
// its structure.
Status CheckWholeFile(const FilePath& path, const VolumePages& pages, std::vector<Flaw>& flaws);

}  // namespace objectstore
