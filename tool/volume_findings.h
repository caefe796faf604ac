// What the object store says of a database's file, in the words of check and repair.
#ifndef XKRDB_TOOL_VOLUME_FINDINGS_H
#define XKRDB_TOOL_VOLUME_FINDINGS_H

#include <string>
#include <vector>

#include "xkrvolume.h"

namespace xkrdb {

struct VolumeFinding {
  bool damage = true;
  std::string where;  // "database DATA_0, record 17, page 6"
  std::string what;
};

VolumeFinding InWords(const XKRVolumeFinding& finding);

// XKRVolume..., and what was found.
uint32_t CheckVolume(const std::string& path, std::vector<VolumeFinding>& findings);

}  // namespace xkrdb

#endif
