// A volume that somebody damaged: it opens and reads whole, or it is refused as damaged; looking at it changes nothing;
// and the engine on top of it answers with its statuses whatever it finds.
//
// Input: which volume, then steps of damage (volume_edits.h).
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "input_bytes.h"
#include "mdb.h"
#include "requirement.h"
#include "temporary_directory.h"
#include "volume_edits.h"
#include "whole_volume.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

// One folder for the whole process, gone at its end. A volume that could not be closed keeps its name for itself.
class Place {
 public:
  std::u16string Volume() const { return Main().u16string(); }
  fs::path Main() const { return folder_.path() / ("volume" + std::to_string(number_)); }
  fs::path Side() const { return Main().string() + "-wal"; }
  void TakeAnother() { ++number_; }

  void Put(const fuzz::VolumeBytes& bytes) const {
    Clear();
    Write(Main(), bytes.main);
    if (!bytes.side.empty()) Write(Side(), bytes.side);
  }
  void Clear() const {
    for (const fs::path& path : Files()) fs::remove(path);
  }
  std::vector<fs::path> Files() const {
    std::vector<fs::path> files;
    const std::string name = Main().filename().string();
    for (const auto& entry : fs::directory_iterator(folder_.path())) {
      if (entry.path().filename().string().starts_with(name)) files.push_back(entry.path());
    }
    return files;
  }

 private:
  static void Write(const fs::path& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

  TemporaryDirectory folder_;
  int number_ = 0;
};

Bytes ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) return {};
  Bytes bytes(static_cast<size_t>(file.tellg()));
  file.seekg(0).read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

void CheckUntouched(const Place& place, const fuzz::VolumeBytes& bytes) {
  FUZZ_REQUIRE(ReadFile(place.Main()) == bytes.main, "looking at a volume does not change it");
  FUZZ_REQUIRE(bytes.side.empty() || ReadFile(place.Side()) == bytes.side, "nor what belongs to it");
  FUZZ_REQUIRE(place.Files().size() == (bytes.side.empty() ? 1 : 2), "and leaves nothing beside it");
}

void CheckStore(const Place& place, const fuzz::VolumeBytes& bytes, bool damaged, DWORD& error) {
  std::string contents;
  error = fuzz::ReadThroughStore(place.Volume(), contents);
  FUZZ_REQUIRE(damaged || error == 0, "a volume that nobody damaged is whole");
  if (bytes.side.empty()) CheckUntouched(place, bytes);
  std::string again;
  FUZZ_REQUIRE(fuzz::ReadThroughStore(place.Volume(), again) == error, "a second look finds what the first one found");
  FUZZ_REQUIRE(contents == again, "and reads the same");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto place = std::make_unique<Place>();
  fuzz::InputBytes input(data, size);
  bool damaged = false;
  const fuzz::VolumeBytes bytes = fuzz::DamagedVolume(input, damaged);
  place->Put(bytes);
  DWORD error = 0;
  CheckStore(*place, bytes, damaged, error);
  if (error == 0 && !fuzz::WriteThroughStore(place->Volume())) {
    place->TakeAnother();
    return 0;
  }
  bool closed = false;
  const uint32_t opened = fuzz::UseThroughEngine(place->Volume(), &closed);
  FUZZ_REQUIRE(opened == MDbStatusOk || opened == MDbStatusFailed || opened == MDbStatusBadFormat ||
                   opened == MDbStatusCannotOpen || opened == MDbStatusChecksumMismatch || opened == MDbStatusNoFields,
               "opening answers with one of its statuses");
  if (closed && opened == MDbStatusOk && error == 0) {
    std::string contents;
    FUZZ_REQUIRE(fuzz::ReadThroughStore(place->Volume(), contents) == 0, "a whole volume is whole after its use");
  }
  if (!closed) {
    place->TakeAnother();
    return 0;
  }
  MDbEnv env;
  MDbEnvInitialize(&env);
  FUZZ_REQUIRE(MDbDelete(&env, place->Volume().c_str()) == MDbStatusOk, "nothing holds a volume that was closed");
  return 0;
}
