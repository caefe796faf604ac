// The three calls that make something durable, wrapped at link time. One watch lives at a time, on one thread.
#include "flush_watch.h"

namespace kills {
namespace {

FlushWatch* g_watch = nullptr;

bool IsSystemStore(const CEGUID& guid) { return (guid.Data1 | guid.Data2 | guid.Data3 | guid.Data4) == 0; }

}  // namespace

FlushWatch::FlushWatch(Note note) : note_(std::move(note)) { g_watch = this; }
FlushWatch::~FlushWatch() { g_watch = nullptr; }

}  // namespace kills

extern "C" {

BOOL __real_CeFlushDBVol(const CEGUID* guid);
BOOL __real_CeUnmountDBVol(const CEGUID* guid);
BOOL __real_CeMountDBVol(CEGUID* guid, const WCHAR* path, DWORD disposition);
BOOL __wrap_CeFlushDBVol(const CEGUID* guid);
BOOL __wrap_CeUnmountDBVol(const CEGUID* guid);
BOOL __wrap_CeMountDBVol(CEGUID* guid, const WCHAR* path, DWORD disposition);

// A flush of the system's own store writes nothing.
BOOL __wrap_CeFlushDBVol(const CEGUID* guid) {
  const BOOL flushed = __real_CeFlushDBVol(guid);
  if (flushed && kills::g_watch != nullptr && !kills::IsSystemStore(*guid)) {
    kills::g_watch->Durable(*guid);
  }
  return flushed;
}

// Read before: afterwards there is nothing to read from. A script never fails to unmount, or the campaign ends.
BOOL __wrap_CeUnmountDBVol(const CEGUID* guid) {
  if (kills::g_watch != nullptr) kills::g_watch->Durable(*guid);
  return __real_CeUnmountDBVol(guid);
}

BOOL __wrap_CeMountDBVol(CEGUID* guid, const WCHAR* path, DWORD disposition) {
  const BOOL mounted = __real_CeMountDBVol(guid, path, disposition);
  if (mounted && disposition == CREATE_NEW && kills::g_watch != nullptr) {
    kills::g_watch->Durable(*guid);
  }
  return mounted;
}

}  // extern "C"
