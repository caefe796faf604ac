#include "session_table.h"

#include <utility>

namespace wordbreaker {

SessionTable::SessionTable() : slots_(16) {
  Table& table = tables_.emplace_back();
  for (Slot& slot : slots_) table.push_back(&slot);
  table_.store(&table, std::memory_order_release);
}

uint32_t SessionTable::Add(std::unique_ptr<WordSearch> search) {
  const std::lock_guard<std::mutex> hold(lock_);
  if (2 * open_ >= tables_.back().size()) Grow();
  // The numbers come round again in the end; one whose place is taken is passed over.
  for (;;) {
    const uint32_t number = ++last_number_;
    Slot& slot = SlotOf(number);
    const HoldAmongThreads hold_slot(slot.lock);
    if (number == 0 || slot.number != 0) continue;
    slot.number = number;
    slot.search = std::move(search);
    ++open_;
    return number;
  }
}

bool SessionTable::Remove(uint32_t number) {
  std::unique_ptr<WordSearch> search;  // destroyed outside the locks
  const std::lock_guard<std::mutex> hold(lock_);
  Slot& slot = SlotOf(number);
  const HoldAmongThreads hold_slot(slot.lock);
  if (number == 0 || slot.number != number) return false;
  slot.number = 0;
  search = std::move(slot.search);
  --open_;
  return true;
}

void SessionTable::Grow() {
  const Table& old = tables_.back();
  const size_t size = old.size();
  while (slots_.size() < 2 * size) slots_.emplace_back();
  Table table(2 * size);
  // Numbers with the same place differ in one more bit now: a slot goes where its session's number says.
  for (size_t i = 0; i < size; ++i) {
    const size_t place = i + (old[i]->number & size);
    table[place] = old[i];
    table[place ^ size] = &slots_[size + i];
  }
  table_.store(&tables_.emplace_back(std::move(table)), std::memory_order_release);
}

}  // namespace wordbreaker
