// Every state that becomes durable while a watch lives, in its order: what the volume holds when a flush returns, when
// an unmount writes what was not flushed, and when a new volume has got its name. The program is linked so that these
// three calls of the engine pass through here.
#pragma once

#include <cstdint>
#include <functional>

#include "durable_state.h"

namespace kills {

class FlushWatch {
 public:
  // Called for each state, from inside the call that makes it durable; what it is given reads the state.
  using Note = std::function<void(const std::function<DurableState()>& read)>;
  explicit FlushWatch(Note note);
  ~FlushWatch();
  FlushWatch(const FlushWatch&) = delete;
  FlushWatch& operator=(const FlushWatch&) = delete;

  void Durable(const CEGUID& volume) {
    note_([&volume] { return StateOfVolume(volume); });
  }

 private:
  Note note_;
};

}  // namespace kills
