// Whether a file is open somewhere that deleting it would take it away from under somebody.
#pragma once

#include <string>

// True when this process has the file open, or another one holds a lock on any part of it, as a mounted volume does. A
// path that leads to no file of its own (a link, a folder, nothing) is not in use.
bool IsFileInUse(const std::string& path);
