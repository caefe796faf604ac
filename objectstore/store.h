// The whole store of this process: the system's own volume, the mounted volumes in the order in which they were
// mounted, and the clients' handles. All calls come here, one at a time.
#pragma once

#include <memory>
#include <vector>

#include "handle_table.h"
#include "volume.h"

namespace objectstore {

inline constexpr CEGUID kSystemGuid = {0, 0, 0, 0};
inline constexpr CEGUID kInvalidGuid = {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};
bool SameGuid(const CEGUID& a, const CEGUID& b);

class Store {
 public:
  Store();

  // Mounts a file, or adds a reference to its mount. On success, existed says that a file was found which the
  // disposition would also have created.
  Status Mount(const WCHAR* path, DWORD disposition, CEGUID& guid, bool& existed);
  Status Unmount(const CEGUID* guid);
  Status Flush(const CEGUID* guid);

  // Whether this process has the file mounted. To open it and to close it again would cost the mount its lock.
  bool HasMounted(const FileIdentity& identity) const { return FindMounted(identity) != nullptr; }

  // Null when the name is not that of the system's store or of a mounted volume.
  Volume* FindVolume(const CEGUID* guid) const;

  Status Open(const CEGUID* guid, CEOID* oid, const WCHAR* name, CEPROPID sort_property, bool auto_increment,
              HANDLE& handle);
  Status DeleteDatabase(const CEGUID* guid, CEOID oid);

  Status FindFirst(const CEGUID* guid, DWORD type, HANDLE& handle);
  Status FindNext(HANDLE handle, CEGUID* guid, CEOID& oid);

  HandleTable& handles() { return handles_; }

 private:
  Volume* FindMounted(const FileIdentity& identity) const;
  Status MountAgain(Volume& volume, DWORD disposition, CEGUID& guid);
  Status MountFile(const FilePath& path, DWORD disposition, bool exists, CEGUID& guid);
  Status FindByName(const CEGUID& guid, const WCHAR* text, Volume*& volume, Database*& database) const;

  std::vector<std::unique_ptr<Volume>> volumes_;  // the system's store first
  uint32_t mounts_ = 0;                           // ever made
  HandleTable handles_;
};

}  // namespace objectstore
