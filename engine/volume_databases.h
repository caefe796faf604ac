// What the tables share about the platform databases inside a mounted volume.
#pragma once

#include "mdb_types.h"
#include "object_store.h"

namespace mdb {

// Copies a database's name into a platform structure; the rest of the array is 0.
void CopyDatabaseName(const MDbChar* name, WCHAR (&destination)[CEDB_MAXDBASENAMELEN]);

// Deletes a database by its name. 1 when the volume or the database cannot be opened, or something else has it open.
MDbStatus DeleteDatabaseByName(const MDbEnv* env, const MDbRef* ref, const MDbChar* name);

// Sets *found to 1 when the volume holds a database of this type and name, case aside, else to 0.
MDbStatus FindDatabaseByName(const MDbEnv* env, const MDbRef* ref, const MDbChar* name, DWORD type, uint8_t* found);

// Moves a handle to a position in its order. A position of -1 is refused before the platform is asked.
MDbStatus SeekRecordByPosition(HANDLE database, uint32_t position, CEOID* oid);

// The information of a database. 1 when the identifier is not a database's.
MDbStatus ReadDatabaseInfo(const CEGUID& volume, CEOID database, CEDBASEINFO* info);

MDbStatus GetDatabaseRecordCount(const CEGUID& volume, CEOID database, uint16_t* count);

// Moves a handle to a record and answers its position in the handle's order.
MDbStatus GetRecordPosition(HANDLE database, CEOID record, uint16_t* position);

}  // namespace mdb
