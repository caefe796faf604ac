// After a run: everything closes, and the environment opens the file again and works with it.
#pragma once

#include "call_world.h"

namespace callfaults {

// Closes whatever the run left open, as a client would. stays_mounted: a failed creation left its volume mounted, which
// is undone here past the engine. Nothing of the engine may be open afterwards.
void CloseEverything(World& world, bool stays_mounted);

// Opens the file, which holds volume, with the same environment: the status is the one that its contents ask for. If it
// opens, a query finds, and it closes again; with whole, a full read through the engine gives what the store holds, and a
// record can be added.
void ExpectFileWorks(World& world, const Lines& volume, bool whole);

}  // namespace callfaults
