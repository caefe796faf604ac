// The volumes that damage is done to and of which golden ones are kept: made by today's engine and store through their
// calls. A step that fails ends the program: without its sample no test of this folder means anything.
#pragma once

#include <string>
#include <vector>

#include "object_store.h"

namespace damage {

// Ends the program with the words and the last error unless the condition holds.
void Require(bool condition, const char* what);

// No database in it.
void MakeEmptyVolume(const std::u16string& path);

// Two databases without the engine: properties of every type with their extreme values, records that lack some, a
// record that takes several pages, all kinds of sort orders.
void MakeEveryTypeVolume(const std::u16string& path);

// A database of numbers alone, such as a list of what is shown: a block of records, rows of some of them, records deleted
// from it, and a packed column over all. What it held after each flush, one text each.
std::vector<std::string> MakeListVolume(const std::u16string& path);

// A database of the engine with fields of every type, settings and value lists. From 65 records on its sort by number
// leaves a packed column; every seventh record is then deleted and stands in the log.
void MakeEngineDatabase(const std::u16string& path, int records);

// Changes a file of MakeEngineDatabase in a process that then dies without unmounting, so that a log stays beside the
// file. Each step is one flush. What the file held before, and after each flush, one text each.
std::vector<std::string> LeaveKilledWriter(const std::u16string& path, int steps);

}  // namespace damage
