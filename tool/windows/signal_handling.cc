// See signal_handling.h. The runtime forgets a handler when it calls it, which ends the process at a second signal.
#include "signal_handling.h"

#include <signal.h>

namespace xkrdb {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGBREAK};

}  // namespace

void HandleSignals(SignalHandler* handler) {
  for (const int one : kSignals) {
    if (signal(one, handler) == SIG_IGN) (void)signal(one, SIG_IGN);
  }
}

void LeaveSignals(SignalHandler*) {
  for (const int one : kSignals) {
    if (signal(one, SIG_DFL) == SIG_IGN) (void)signal(one, SIG_IGN);
  }
}

}  // namespace xkrdb
