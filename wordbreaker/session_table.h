// The open sessions by their numbers.
//
// (S1) A session's slot is where its number's low bits say, so that it is found without a lock over all of them.
// (S2) Slots and tables are never freed and a table never changes: a thread that still reads an older table, or a
//      slot whose session has been closed, sees by the slot's number that it is not the one it wants.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "process_threads.h"
#include "word_search.h"

namespace wordbreaker {

class SessionTable {
 public:
  SessionTable();

  // The new session's number, never 0. May throw std::bad_alloc.
  uint32_t Add(std::unique_ptr<WordSearch> search);

  // Lets use have the session's search, for itself alone. False, and nothing is called, for an unknown number.
  template <typename Use>
  bool With(uint32_t number, Use use) {
    Slot& slot = SlotOf(number);
    const HoldAmongThreads hold(slot.lock);
    if (number == 0 || slot.number != number) return false;
    use(*slot.search);
    return true;
  }

  // False for an unknown number. Waits for the session's calls in other threads.
  bool Remove(uint32_t number);

 private:
  struct Slot {
    std::mutex lock;  // over the others
    uint32_t number = 0;
    std::unique_ptr<WordSearch> search;
  };

  using Table = std::vector<Slot*>;  // its size is a power of two

  Slot& SlotOf(uint32_t number) const {
    const Table& table = *table_.load(std::memory_order_acquire);
    return *table[number & (table.size() - 1)];
  }

  // Makes a table of twice the size, in which every open session has its place.
  void Grow();

  std::mutex lock_;  // over what follows; taken before a slot's
  std::atomic<const Table*> table_;
  std::deque<Slot> slots_;
  std::deque<Table> tables_;
  size_t open_ = 0;
  uint32_t last_number_ = 0;
};

}  // namespace wordbreaker
