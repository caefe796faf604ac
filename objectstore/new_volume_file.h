// Making the file of an empty volume. The file appears under its name whole, or not at all.
#pragma once

#include "file_identity.h"

namespace objectstore {

enum class Existing { kRefuse, kReplace };

// With kRefuse a file that is there already is an error (already exists), whoever made it and whenever. With kReplace
// it gives way, unless another process has it mounted (sharing violation); a power cut meanwhile leaves the new volume, or
// the old one without what its side file held.
Status CreateVolumeFile(const FilePath& path, Existing existing);

}  // namespace objectstore
