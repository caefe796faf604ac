// What must be true of a file whose writer was killed, whatever the moment. Each function throws BrokenPromise.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

#include "durable_state.h"
#include "plain_model.h"

namespace kills {

// Next to the volume stand at most its side file and what the killed process was making.
void CheckLeftovers(const std::filesystem::path& volume, pid_t writer);

// Creation counters, deletion log, catalogue and records agree with each other.
void CheckAgreement(const DurableState& state);

// Opens the file with the agent calls and reads every live and logged record through exported calls; what it reads must
// be what the model holds, when there is one. Returns what it read.
plain::Database CheckThroughCalls(const std::u16string& path, const plain::Database* model);

// The agent calls must refuse the file, because it is absent or was never finished.
void CheckRefused(const std::u16string& path);

}  // namespace kills
