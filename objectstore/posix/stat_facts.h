// What the system says of a file, as the store has it.
#pragma once

#include <sys/stat.h>

#include "file_identity.h"

namespace objectstore {

inline FileFacts FactsOf(const struct stat& found) {
  return {S_ISREG(found.st_mode) ? FileKind::kRegular : FileKind::kOther,
          {static_cast<uint64_t>(found.st_dev), static_cast<uint64_t>(found.st_ino)},
          static_cast<uint64_t>(found.st_size)};
}

}  // namespace objectstore
