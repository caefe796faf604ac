// What a mounted volume holds, as lines of text that two states can be compared by. Reads through the object store
// unseen by the recorder.
#pragma once

#include <string>
#include <vector>

#include "object_store.h"

namespace seam {

// The records of one database in its first order (creation order when it has none), each as its properties in the
// order in which they were first written: "[0x30041={54 52}, 0x10013=0x50000]". Empty when there is no such database.
std::vector<std::string> RecordsOf(const CEGUID& volume, const WCHAR* database);

// Every database with its type and sort orders, each followed by its records. Identifiers are left out.
std::vector<std::string> SnapshotOf(const CEGUID& volume);

// The same of a file that is not mounted.
std::vector<std::string> SnapshotOfFile(const std::u16string& path);

}  // namespace seam
