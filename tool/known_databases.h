// What the tool knows of the databases inside a file of this library, so that a repair can put back what a file has lost
// of them: docs/architecture.md shows the same layout.
#ifndef XKRDB_TOOL_KNOWN_DATABASES_H
#define XKRDB_TOOL_KNOWN_DATABASES_H

#include <span>
#include <string>

#include "mdb_types.h"
#include "xkrvolume.h"

namespace xkrdb {

// title, attrs: the name shown to people and the settings, for a file that has lost its own. Valid until the next call.
std::span<const XKRKnownDatabase> KnownDatabases(const std::u16string& title, const MDbAttrs& attrs);

}  // namespace xkrdb

#endif
