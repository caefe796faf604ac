// See handle_table.h.
#include "handle_table.h"

#include <new>

#include "growth.h"

namespace objectstore {

namespace {

constexpr size_t kMostPlaces = 0xFFFF;  // so that no number is 0xFFFFFFFF

// Closed places rest until there are so many of them.
constexpr size_t kRestingPlaces = 16;

}  // namespace

HANDLE HandleTable::Add(std::unique_ptr<OpenDatabase> database) {
  const size_t index = FreePlace();
  database->Join();
  OpenDatabase* const added = database.get();
  places_[index].database = std::move(database);
  const HANDLE handle = Occupy(index, Use::kDatabase);
  if (!added->auto_increment()) at_hand_[handle % kMostAtHand] = {handle, added};
  return handle;
}

HANDLE HandleTable::Add(std::unique_ptr<Enumeration> enumeration) {
  const size_t index = FreePlace();
  places_[index].enumeration = std::move(enumeration);
  return Occupy(index, Use::kEnumeration);
}

Enumeration* HandleTable::FindEnumeration(HANDLE handle) const {
  const Place* place = Find(handle);
  return place != nullptr ? place->enumeration.get() : nullptr;
}

bool HandleTable::WasTakenAway(HANDLE handle) const {
  const Place* place = Find(handle);
  return place != nullptr && place->use == Use::kTakenAway;
}

bool HandleTable::Close(HANDLE handle) {
  const Place* place = Find(handle);
  if (place == nullptr || (place->use != Use::kDatabase && place->use != Use::kEnumeration)) return false;
  Empty(IndexOf(handle), Use::kFree);
  return true;
}

void HandleTable::TakeAway(const Volume& volume) {
  for (size_t index = 0; index < places_.size(); ++index) {
    const Place& place = places_[index];
    const bool of_volume = (place.database != nullptr && &place.database->volume() == &volume) ||
                           (place.enumeration != nullptr && place.enumeration->only_volume == &volume);
    if (of_volume) Empty(index, Use::kTakenAway);
  }
}

void HandleTable::BreakEnumerations(const Volume& volume) {
  for (const Place& place : places_) {
    if (place.enumeration == nullptr) continue;
    const Volume* only = place.enumeration->only_volume;
    if (only == nullptr || only == &volume) place.enumeration->broken = true;
  }
}

// A place to occupy, still free.
size_t HandleTable::FreePlace() {
  if (free_.size() <= kRestingPlaces && places_.size() < kMostPlaces) {
    ReserveOneMore(places_);
    free_.reserve(places_.capacity());
    places_.emplace_back();
    free_.push_back(static_cast<uint16_t>(places_.size() - 1));
    return places_.size() - 1;
  }
  if (free_.empty()) throw std::bad_alloc();
  return free_.front();
}

HANDLE HandleTable::Occupy(size_t index, Use use) {
  if (free_.back() == index) {
    free_.pop_back();
  } else {
    free_.erase(free_.begin());
  }
  Place& place = places_[index];
  if (++place.generation == 0) place.generation = 1;
  place.use = use;
  return static_cast<HANDLE>(uint32_t{place.generation} << 16 | static_cast<uint32_t>(index));
}

void HandleTable::Empty(size_t index, Use use) {
  Place& place = places_[index];
  const size_t at_hand = index % kMostAtHand;
  if (at_hand_[at_hand].database == place.database.get()) at_hand_[at_hand] = NoneAt(at_hand);
  place.database.reset();
  place.enumeration.reset();
  place.use = use;
  free_.push_back(static_cast<uint16_t>(index));
}

}  // namespace objectstore
