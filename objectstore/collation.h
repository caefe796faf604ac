// The order of texts: the root order of the Unicode Collation Algorithm, so that case and accents count and canonically
// equivalent texts are equal; the flags of a sort order make it coarser.
#pragma once

#include <cstdint>
#include <vector>

#include "object_store.h"

namespace objectstore {

class Collation {
 public:
  // The collation that the flags of a sort order ask for. Lives as long as the process.
  static const Collation& ForFlags(DWORD sort_flags);

  // Writes the text's key into room and returns its size with the terminating zero. Keys are compared as unsigned
  // bytes. A key that is larger than room is not usable: make room and call again.
  size_t KeyOf(const WCHAR* text, size_t length, uint8_t* room, size_t room_bytes) const;

 private:
  explicit Collation(void* collator) : collator_(collator) {}
  void* collator_;
};

}  // namespace objectstore
