// The judgement of a directory that a power cut may have left: does the volume in it hold exactly what was promised?
#pragma once

#include <string>
#include <vector>

#include "cut_disk.h"
#include "workload.h"

namespace powercut {

// Makes a directory hold these files and no others.
void WriteImage(const Image& image, const std::string& directory);

struct Found {
  bool absent = false;
  VolumeState state;
  uint32_t open_status = 0;  // of the engine
  std::string broken;        // empty, or the promise that was broken
};

class ImageCheck {
 public:
  // Puts images into a directory that exists and is empty.
  explicit ImageCheck(const std::string& directory);

  // What a client finds: opens the database with the engine, or, where it is none yet, mounts the volume. Afterwards
  // everything is closed again, the side file must be gone, and every goes_on-th time the database has got one record
  // more, durably.
  Found Look(const Image& image, bool goes_on);

  // The milestone among first to last, both included, that was found; -1 for none, and then broken says so.
  int Judge(Found& found, const std::vector<Milestone>& milestones, size_t first, size_t last) const;

 private:
  void OpenDatabase(Found& found, bool goes_on) const;
  void MountVolume(Found& found) const;
  void GoOn(Found& found) const;
  void CheckSideFiles(Found& found) const;

  std::string directory_;
  std::string file_;
  std::u16string path_;
};

}  // namespace powercut
