// The signals by which a user or the system asks a program to end. One that is ignored, as under nohup, stays ignored.
#ifndef XKRDB_TOOL_SIGNAL_HANDLING_H
#define XKRDB_TOOL_SIGNAL_HANDLING_H

namespace xkrdb {

extern "C" using SignalHandler = void(int signal);

void HandleSignals(SignalHandler* handler);

// Signals that have this handler do again what they do by themselves.
void LeaveSignals(SignalHandler* handler);

}  // namespace xkrdb

#endif
