// See interruption.h. The runtime forgets a handler when it calls it, which ends the process at a second signal.
#include "interruption.h"

#include <signal.h>

namespace xkrdb {
namespace {

volatile sig_atomic_t noted_signal = 0;
int nested = 0;
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGBREAK};

extern "C" void NoteSignal(int signal) { noted_signal = signal; }

}  // namespace

Interruption::Interruption() {
  if (nested++ > 0) return;
  for (const int one : kSignals) {
    if (signal(one, NoteSignal) == SIG_IGN) (void)signal(one, SIG_IGN);
  }
}

Interruption::~Interruption() {
  if (--nested > 0) return;
  for (const int one : kSignals) {
    if (signal(one, SIG_DFL) == SIG_IGN) (void)signal(one, SIG_IGN);
  }
}

void Interruption::Check() {
  if (noted_signal != 0) throw Interrupted{noted_signal};
}

}  // namespace xkrdb
