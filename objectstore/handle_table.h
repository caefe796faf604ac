// The handles of clients: open databases and enumerations of databases.
//
// A handle's number is a place in the table and the generation of that place. A closed handle's number comes again only
// after its place has been used 65535 times more, and places that were closed longest ago are used first. 0 and
// 0xFFFFFFFF are never a handle.
#pragma once

#include <array>
#include <memory>
#include <vector>

#include "open_database.h"

namespace objectstore {

// An enumeration of databases: of one volume, or of the system's store and every mounted volume.
struct Enumeration {
  Volume* only_volume = nullptr;  // null: all of them
  DWORD type = 0;                 // 0: every type
  uint32_t sequence = 0;          // of the volume that the last database was in
  CEOID last = 0;                 // that database
  bool broken = false;            // a database was deleted: it must be begun anew
};

class HandleTable {
 public:
  HandleTable() {
    for (size_t i = 0; i < kMostAtHand; ++i) at_hand_[i] = NoneAt(i);
  }
  HANDLE Add(std::unique_ptr<OpenDatabase> database);
  HANDLE Add(std::unique_ptr<Enumeration> enumeration);

  // Null when the number is not such a handle.
  OpenDatabase* FindDatabase(HANDLE handle) const {
    const Place* place = Find(handle);
    return place != nullptr ? place->database.get() : nullptr;
  }
  Enumeration* FindEnumeration(HANDLE handle) const;

  // The same, in one look, for most of the handles whose pointer stays where it is when a record is read. Null may mean
  // that the database has to be looked for.
  OpenDatabase* DatabaseAtHand(HANDLE handle) const {
    const AtHand& place = at_hand_[handle % kMostAtHand];
    if (place.handle != handle) return nullptr;
    if (place.database == nullptr) __builtin_unreachable();  // so that nobody looks again
    return place.database;
  }

  // The handle was taken away together with its volume.
  bool WasTakenAway(HANDLE handle) const;

  bool Close(HANDLE handle);
  void TakeAway(const Volume& volume);

  // A database of the volume was deleted.
  void BreakEnumerations(const Volume& volume);

 private:
  enum class Use : uint8_t { kFree, kDatabase, kEnumeration, kTakenAway };
  struct alignas(32) Place {  // a power of two, so that a number finds its place by a shift
    uint16_t generation = 0;
    Use use = Use::kFree;
    std::unique_ptr<OpenDatabase> database;
    std::unique_ptr<Enumeration> enumeration;
  };

  size_t FreePlace();
  HANDLE Occupy(size_t index, Use use);
  static size_t IndexOf(HANDLE handle) { return handle & 0xFFFF; }
  static uint16_t GenerationOf(HANDLE handle) { return static_cast<uint16_t>(handle >> 16); }

  // The place of this number, in use or just taken away.
  const Place* Find(HANDLE handle) const {
    const size_t index = IndexOf(handle);
    if (index >= places_.size()) return nullptr;
    const Place& place = places_[index];
    return place.use != Use::kFree && place.generation == GenerationOf(handle) ? &place : nullptr;
  }
  void Empty(size_t index, Use use);

  static constexpr size_t kMostAtHand = 32;
  struct AtHand {
    HANDLE handle;
    OpenDatabase* database;
  };

  // No handle that belongs there has this number.
  static constexpr AtHand NoneAt(size_t place) { return {static_cast<HANDLE>(place ^ 1), nullptr}; }

  std::array<AtHand, kMostAtHand> at_hand_;  // by the last bits of their numbers
  std::vector<Place> places_;
  std::vector<uint16_t> free_;  // longest free first; has room for every place, so that closing needs no memory
};

}  // namespace objectstore
