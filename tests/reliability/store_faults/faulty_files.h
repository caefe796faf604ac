// SQLite's files with faults: a layer over its file system for this host, through which every connection of this
// program opens. Syncs reach no disk: what a power cut would leave is not the question here.
#pragma once

namespace faults {

// False when the layer could not be put in place. Comes after MemoryMayFail, since it sets SQLite up.
bool FilesMayFail();

}  // namespace faults
