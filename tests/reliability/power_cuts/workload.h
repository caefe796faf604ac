// A life of one database file, drawn from a seed, under the eyes of a disk journal: created, loaded in one go, added to,
// edited, deleted from with and without a log, sorted and edited, emptied, closed and opened again, deleted and created
// anew. Every flush of the object store on the way is a milestone: what it was asked to make durable, and when it said
// that it had.
#pragma once

#include <memory>
#include <vector>

#include "disk_journal.h"
#include "volume_state.h"

namespace powercut {

// What the file holds, or is to hold, from some flush on.
struct Milestone {
  size_t begun = 0;          // operations in the journal when the flush was asked for
  size_t returned = 0;       // and when it returned; 0: it did not promise anything
  bool absent = false;       // there is no file
  VolumeState state = {};    // of the volume at that moment
  uint32_t open_status = 0;  // what the engine answers when it opens such a file
};

inline constexpr char kFileName[] = "book.xdb";

struct History {
  std::unique_ptr<DiskJournal> journal;  // not watching any more
  std::vector<Milestone> milestones;     // the first is what there was before: no file
};

// Runs the workload in an empty directory. Throws when a call of it fails.
History RunWorkload(const std::string& directory, uint64_t seed, Forgotten forgotten);

// What a user does after a power cut: opens the database that was found in these files, works a little, and closes it.
// The first milestone is what was found.
History RunAfterCut(const std::string& directory, const std::vector<std::string>& files, const Milestone& found,
                    uint64_t seed, Forgotten forgotten);

}  // namespace powercut
