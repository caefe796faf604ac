// Ctrl-C and its relatives while a new file is being made: the signal is noted, the work stops at the next check and
// cleans up, and the process then ends by that very signal.
#ifndef XKRDB_TOOL_INTERRUPTION_H
#define XKRDB_TOOL_INTERRUPTION_H

namespace xkrdb {

// Thrown by Interruption::Check.
struct Interrupted {
  int signal;
};

// Notes SIGINT, SIGTERM and SIGHUP for as long as it lives; one inside another changes nothing.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  // Throws Interrupted once a signal was noted.
  static void Check();
};

}  // namespace xkrdb

#endif
