// The order of texts: the root order of the Unicode Collation Algorithm, so that case and accents count and canonically
// equivalent texts are equal; the flags of a sort order make it coarser. One of two implementations is linked: icu/ has
// that order for all texts, tables/ has it for texts in Latin, Greek and Cyrillic letters.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "collation_table.h"
#include "object_store.h"

namespace objectstore {

class Collation {
 public:
  // The collation that the flags of a sort order ask for. Lives as long as the process. The first call for some flags
  // opens it, which takes a fraction of a millisecond; throws bad_alloc when memory runs short, and opens nothing then.
  static const Collation& ForFlags(DWORD sort_flags);

  // Writes the text's key into room and returns its size with the terminating zero. Keys are compared as unsigned bytes.
  // A key that is larger than room is not usable: make room and call again. Texts of up to 384 Latin, Greek or Cyrillic
  // letters take a fraction of the time of others, if the room has five bytes for each, and some to spare.
  size_t KeyOf(const WCHAR* text, size_t length, uint8_t* room, size_t room_bytes) const;

 private:
  Collation(void* collator, std::unique_ptr<const CollationTable> table)
      : collator_(collator), table_(std::move(table)) {}

  void* collator_;                               // ICU's; null where there is none
  std::unique_ptr<const CollationTable> table_;  // null where every text is left to ICU
};

}  // namespace objectstore
