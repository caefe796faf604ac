// See interruption.h. The handler stores the signal's number and nothing else.
#include "interruption.h"

#include <signal.h>

#include "signal_handling.h"

namespace xkrdb {
namespace {

volatile sig_atomic_t noted_signal = 0;
int nested = 0;

extern "C" void NoteSignal(int signal) { noted_signal = signal; }

}  // namespace

Interruption::Interruption() {
  if (nested++ == 0) HandleSignals(NoteSignal);
}

Interruption::~Interruption() {
  if (--nested == 0) LeaveSignals(NoteSignal);
}

void Interruption::Check() {
  if (noted_signal != 0) throw Interrupted{noted_signal};
}

}  // namespace xkrdb
