// Making the file of an empty volume. The file appears under its name whole, or not at all.
#pragma once

#include "file_identity.h"

namespace objectstore {

// A file that a mount has made goes with the mount, if that fails, unless somebody else has got hold of it.
class NewFile {
 public:
  explicit NewFile(const FilePath& path) : path_(path) {}
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();
  void Made() { kept_ = false; }
  void Keep() { kept_ = true; }

 private:
  const FilePath& path_;
  bool kept_ = true;
};

enum class Existing { kRefuse, kReplace };

// With kRefuse a file that is there already is an error (already exists), whoever made it and whenever. With kReplace
// it gives way, unless another process has it mounted (sharing violation); a failure or a power cut meanwhile leaves the
// new volume or the old one. A file that was not there before is told to new_file as soon as it has its name.
Status CreateVolumeFile(const FilePath& path, Existing existing, NewFile& new_file);

// Gives a whole volume, written out under another name in the same folder and not mounted, its name. Already exists when
// something stands there. The directory entry is durable afterwards.
Status PublishVolumeFile(const std::string& made, const FilePath& path);

}  // namespace objectstore
