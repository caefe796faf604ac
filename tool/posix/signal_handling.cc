// See signal_handling.h.
#include "signal_handling.h"

#include <signal.h>

namespace xkrdb {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

}  // namespace

void HandleSignals(SignalHandler* handler) {
  for (const int signal : kSignals) {
    struct sigaction current {};
    (void)sigaction(signal, nullptr, &current);
    if (current.sa_handler == SIG_IGN) continue;
    struct sigaction action {};
    action.sa_handler = handler;
    (void)sigaction(signal, &action, nullptr);
  }
}

void LeaveSignals(SignalHandler* handler) {
  for (const int signal : kSignals) {
    struct sigaction current {};
    (void)sigaction(signal, nullptr, &current);
    if (current.sa_handler != handler) continue;
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    (void)sigaction(signal, &action, nullptr);
  }
}

}  // namespace xkrdb
