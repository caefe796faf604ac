// Where a client's call enters: it waits for the store, and nothing but a last-error number leaves it.
#pragma once

#include <atomic>
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
    static SharedStore* const shared = made_ = new SharedStore();
    return *shared;
  }

  // Null before the first call.
  static SharedStore* Made() { return made_; }

 private:
  static constinit inline std::atomic<SharedStore*> made_ = nullptr;
};

// The database that a handle is open on, for the calls that are made for every record: they do what is usual at once
// and leave everything else to Enter. Null when a call may have to wait, or when there is no such database.
inline OpenDatabase* DatabaseAtHand(HANDLE handle) noexcept {
  SharedStore* const shared = ProcessHasOneThread() ? SharedStore::Made() : nullptr;
  return shared != nullptr ? shared->store.handles().DatabaseAtHand(handle) : nullptr;
}

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
