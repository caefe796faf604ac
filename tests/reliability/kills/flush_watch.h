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
  // Called with each state, from inside the call that made it durable.
  explicit FlushWatch(std::function<void(DurableState)> note);
  ~FlushWatch();
  FlushWatch(const FlushWatch&) = delete;
  FlushWatch& operator=(const FlushWatch&) = delete;

  void Note(DurableState state) { note_(std::move(state)); }

 private:
  std::function<void(DurableState)> note_;
};

}  // namespace kills
