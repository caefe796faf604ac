// Where a client's call enters: it waits for the store, and nothing but a last-error number leaves it.
#pragma once

#include <mutex>
#include <new>

#include "process_threads.h"
#include "store.h"

namespace objectstore {

// The store of the process and the lock that every call takes. Never destroyed: calls may come from anywhere at exit.
struct SharedStore {
  std::mutex lock;
  Store store;
  static SharedStore& Get() {
    static SharedStore* const shared = new SharedStore();
    return *shared;
  }
};

// Runs a call's body. Short memory becomes the given number; nothing is thrown.
template <typename Body>
Status Enter(Body body, Status when_memory_is_short = Status::kNotEnoughMemory) noexcept {
  try {
    SharedStore& shared = SharedStore::Get();
    const HoldAmongThreads guard(shared.lock);
    return body(shared.store);
  } catch (...) {
    return when_memory_is_short;
  }
}

// Leaves the last error as it is on success.
inline bool Report(Status status) {
  if (status != Status::kOk) SetLastError(static_cast<DWORD>(status));
  return status == Status::kOk;
}

}  // namespace objectstore
