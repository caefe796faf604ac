// The handler stores the signal's number and nothing else.
#include "interruption.h"

#include <signal.h>

namespace xkrdb {
namespace {

volatile sig_atomic_t noted_signal = 0;
int nested = 0;
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

extern "C" void NoteSignal(int signal) { noted_signal = signal; }

}  // namespace

Interruption::Interruption() {
  if (nested++ > 0) return;
  for (const int signal : kSignals) {
    struct sigaction current {};
    (void)sigaction(signal, nullptr, &current);
    if (current.sa_handler == SIG_IGN) continue;  // started with nohup: stays ignored
    struct sigaction action {};
    action.sa_handler = NoteSignal;
    (void)sigaction(signal, &action, nullptr);
  }
}

Interruption::~Interruption() {
  if (--nested > 0) return;
  for (const int signal : kSignals) {
    struct sigaction current {};
    (void)sigaction(signal, nullptr, &current);
    if (current.sa_handler != NoteSignal) continue;
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    (void)sigaction(signal, &action, nullptr);
  }
}

void Interruption::Check() {
  if (noted_signal != 0) throw Interrupted{noted_signal};
}

}  // namespace xkrdb
