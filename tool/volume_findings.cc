// See volume_findings.h.
#include "volume_findings.h"

#include <fmt/format.h>

#include "database_session.h"
#include "safe_text.h"

namespace xkrdb {

VolumeFinding InWords(const XKRVolumeFinding& finding) {
  std::string where;
  if (finding.databaseOid == 0) {
    where = "file";
  } else if (finding.database[0] != 0) {
    where = fmt::format("database {}", SafeText(finding.database));
  } else {
    where = fmt::format("database number {}", finding.databaseOid);
  }
  if (finding.record != 0) where += fmt::format(", record {}", finding.record);
  if (finding.page != 0) where += fmt::format(", page {}", finding.page);
  return {finding.damage != 0, where, finding.text};
}

uint32_t CheckVolume(const std::string& path, std::vector<VolumeFinding>& findings) {
  const std::u16string wide = WidePath(path);
  const auto take = [](void* context, const XKRVolumeFinding* finding) {
    static_cast<std::vector<VolumeFinding>*>(context)->push_back(InWords(*finding));
    return 0;
  };
  return XKRVolumeCheck(wide.c_str(), take, &findings);
}

}  // namespace xkrdb
