// What the system says of a file, as the store has it.
#pragma once

#include "file_identity.h"
#include "system_calls.h"

namespace objectstore {

inline FileFacts FactsOf(const windows::Facts& found) {
  return {found.is_file ? FileKind::kRegular : FileKind::kOther, {found.volume, found.number}, found.bytes};
}

}  // namespace objectstore
