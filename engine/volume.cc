// One database file: created, opened and closed as a mounted volume with a catalogue and a header.
#include "catalog_store.h"
#include "files.h"
#include "mdb.h"
#include "mdb_try.h"

namespace mdb {

constexpr VolumeHeader kOurHeader = {0x43465254 /* "TRFC" */, 2, 1};

static bool IsOurs(const VolumeHeader& header) {
  return header.magic == kOurHeader.magic && header.major_version == kOurHeader.major_version &&
         header.minor_version == kOurHeader.minor_version;
}

static MDbStatus FillNewVolume(MDbRef* ref) {
  CatalogReset(&ref->catalog);
  MDB_TRY(CatalogCreateDb(*ref));
  MDB_TRY(CatalogOpen(ref));
  return CatalogWriteHeader(*ref, kOurHeader);
}

}  // namespace mdb

using namespace mdb;

// A failed creation asks for a close and a deletion, yet ref is not open at that point: the close answers at once, the
// volume stays mounted, and the deletion meets a mounted file. Callers see one status and no further work is done on
// the volume. Pinned by Volume.AFailedCreationAsksForTheDeletion….
MDbStatus MDbCreate(MDbEnv* env, const MDbChar* path, MDbRef* ref) {
  if (!CeMountDBVol(&ref->volume, path, CREATE_NEW)) return MDbStatusFailed;
  const MDbStatus status = FillNewVolume(ref);
  if (status != MDbStatusOk) {
    (void)MDbClose(env, ref);  // the failure that is reported is the creation's
    (void)MDbDelete(env, path);
    return status;
  }
  ref->opened = 1;
  return MDbStatusOk;
}

MDbStatus MDbOpen(MDbEnv* env, const MDbChar* path, MDbRef* ref) {
  ref->opened = CeMountDBVol(&ref->volume, path, OPEN_EXISTING) == TRUE;
  if (ref->opened == 0) return MDbStatusCannotOpen;
  if (CatalogOpen(ref) != MDbStatusOk) {
    (void)MDbClose(env, ref);  // the failure that is reported is the catalogue's
    return MDbStatusCannotOpen;
  }
  // From here on the volume stays mounted on failure, so that the caller may look at it before closing.
  VolumeHeader header{};
  if (CatalogReadHeader(*ref, &header) != MDbStatusOk) return MDbStatusCannotOpen;
  return IsOurs(header) ? MDbStatusOk : MDbStatusBadFormat;
}

// A closed reference names the system's own store again: the flush after a write through another reference goes to the
// environment's volume, and would fail on one that is not mounted any more.
MDbStatus MDbClose(MDbEnv*, MDbRef* ref) {
  if (ref->opened == 0) return MDbStatusFailed;
  (void)CatalogClose(ref);  // an open handle does not keep a volume mounted
  if (!CeUnmountDBVol(&ref->volume)) return MDbStatusFailed;
  CatalogReset(&ref->catalog);  // a handle that did not close went with the volume, and must not bar the next open
  ref->volume = {};
  ref->opened = 0;
  return MDbStatusOk;
}

MDbStatus MDbDelete(MDbEnv*, const MDbChar* path) { return StatusOf(DeleteFileW(path) != FALSE); }
