// A writer in a process of its own, and its end: it runs this program again, tells over a pipe which call it begins and
// which has returned, and goes on until it is killed.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace kills {

struct WriterTask {
  std::string path;
  uint32_t seed = 0;
  bool make_file = false;
  bool breaks_promises = false;  // acknowledges every call before it is made
};

// When the writer is killed: so many microseconds after so many messages have come, 0 messages being its start.
struct KillPlan {
  uint32_t messages = 0;
  uint32_t delay_us = 0;
};

struct WriterEnd {
  pid_t process = 0;
  int64_t acknowledged = -1;  // the last call that had returned; -1 for none
  int64_t under_way = -1;     // the call that had begun and not returned
};

// Throws BrokenPromise when the writer ended before it was killed.
WriterEnd RunWriterAndKill(const WriterTask& task, const KillPlan& plan);

// What the program does when its first argument is kWriterArgument; does not return before the end of the process.
constexpr const char* kWriterArgument = "--writer";
int WriterMain(int argc, char** argv);

}  // namespace kills
