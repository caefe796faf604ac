// make_golden_volumes FOLDER: makes volumes of the current format and the texts of what they hold. It is run once for
// each version of the format; what it made is committed and never made again (golden/README.md says why).
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "sample_volumes.h"
#include "volume_content.h"

namespace {

using std::filesystem::path;

// The text is read from a copy: reading takes up a log that a killed writer has left.
void WriteText(const path& folder, const char* name) {
  const path copy = folder / "copy";
  for (const char* end : {"", "-wal"}) {
    const path from = folder / (std::string(name) + end);
    if (exists(from)) std::filesystem::copy_file(from, copy.string() + end);
  }
  const damage::VolumeText text = damage::TextOfFile(copy.u16string(), damage::Times::kWith);
  damage::Require(text.error == 0, "reading a volume");
  std::ofstream(folder / (path(name).stem().string() + ".txt"), std::ios::binary) << text.text;
  std::filesystem::remove(copy);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_golden_volumes FOLDER\n");
    return 2;
  }
  const path folder = argv[1];
  damage::MakeEmptyVolume((folder / "empty.vol").u16string());
  damage::MakeEveryTypeVolume((folder / "every_type.vol").u16string());
  damage::MakeListVolume((folder / "list.vol").u16string());
  damage::MakeEngineDatabase((folder / "missions.xdb").u16string(), 80);
  damage::MakeEngineDatabase((folder / "killed.xdb").u16string(), 12);
  damage::LeaveKilledWriter((folder / "killed.xdb").u16string(), 1);
  for (const char* name : {"empty.vol", "every_type.vol", "list.vol", "missions.xdb", "killed.xdb"}) {
    WriteText(folder, name);
  }
  return 0;
}
