// Everything that a volume holds, read through the store's calls and through the engine's, and what must hold of it.
#ifndef XKRDB_FUZZ_WHOLE_VOLUME_H
#define XKRDB_FUZZ_WHOLE_VOLUME_H

#include <string>

#include "platform_types.h"

namespace fuzz {

// Reads every record of every database, in every order. 0, or the last error of what failed, which can only be that the
// file is damaged. contents grows with all that was read.
DWORD ReadThroughStore(const std::u16string& path, std::string& contents);

// Adds a database and a record to a volume that reads whole: under identifiers that nobody has, and it still reads whole.
// False when damage where nobody reads, as in a list of free pages, kept it from being written: it stays mounted then.
bool WriteThroughStore(const std::u16string& path);

// Opens the volume as a database, reads all of it, sorts, searches, changes and deletes. Returns the status of opening.
// *closed is false when the volume could not be closed and stays mounted.
uint32_t UseThroughEngine(const std::u16string& path, bool* closed);

}  // namespace fuzz

#endif
