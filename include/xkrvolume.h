/* Volume files that are not sound: what is damaged in one, and a new one made of what can be saved. The object store's
 * other calls refuse a damaged file; these two read whatever is left of it. They are exported by libobjectstore.
 *
 * Neither writes to the file that it examines, nor to its log (the file of the same name with "-wal" at the end), and
 * neither needs permission to. A file that is mounted, by this or by another process, is not examined.
 *
 * Compiles as strict C11 and as C++20. */
#ifndef XKRDB_XKRVOLUME_H
#define XKRDB_XKRVOLUME_H

#include "mdb_types.h"

#define XKR_VOLUME_API MDB_EXPORTED

/* What a call came to. */
enum {
  XKRVolumeSound = 0,    /* check: nothing was found; repair: everything is in the new file */
  XKRVolumeDamaged = 1,  /* check: damage was found; repair: the new file is there, and something is not in it */
  XKRVolumeNone = 2,     /* the file is no volume, or nothing is left of one; repair made no file */
  XKRVolumeMissing = 3,  /* there is no such file, or no such folder */
  XKRVolumeDenied = 4,   /* permission is lacking, or it is no plain file */
  XKRVolumeInUse = 5,    /* it is mounted */
  XKRVolumeExists = 6,   /* repair: something stands where the new file is to be */
  XKRVolumeNoMemory = 7, /* there is not enough memory */
  XKRVolumeFailed = 8,   /* the device refused, there is no room, or the new file may not be made there */
  XKRVolumeStopped = 9   /* a sink asked for it; repair made no file */
};

/* What a finding is about; its text says the same in words. */
enum {
  XKRFindingHeader = 1,       /* the file's header is not that of a volume */
  XKRFindingJournal = 2,      /* a "-journal" stands beside the file, which no volume has, or a log that is no file */
  XKRFindingCut = 3,          /* the file ends before its last page does */
  XKRFindingLog = 4,          /* the log is damaged, and flushes are lost that stood behind the damage */
  XKRFindingPage = 5,         /* a page cannot be read or is not what should stand there */
  XKRFindingPageTwice = 6,    /* a page is used twice */
  XKRFindingRow = 7,          /* a row is damaged: its checksum does not hold */
  XKRFindingOrder = 8,        /* rows are out of order, or one is there twice */
  XKRFindingMissing = 9,      /* records are missing */
  XKRFindingLoose = 10,       /* a row was found outside its table */
  XKRFindingDescription = 11, /* a database's own row is lost */
  XKRFindingVolumeRow = 12,   /* the volume's own row is lost, or it counts other databases than there are */
  XKRFindingColumn = 13,      /* a packed column is lost or does not fit its records */
  XKRFindingSurplus = 14,     /* there is what should not be there: records too many, or of no database */
  XKRFindingStructure = 15,   /* the rows are sound, but the file's structure is not */
  XKRFindingAdded = 16        /* repair: something that had to be there was added, or set */
};

typedef struct XKRVolumeFinding {
  uint32_t damage;         /* 1: damage; 0: a note */
  uint32_t code;           /* XKRFinding... */
  const MDbChar* database; /* its name; empty when it is not known, or the finding is not about one */
  uint32_t databaseOid;    /* 0: none */
  uint32_t record;         /* the record's identifier; 0: none, or not known */
  uint32_t page;           /* counted from 1; 0: none, or not known */
  const char* text;        /* in words, ASCII */
} XKRVolumeFinding;

/* Is told one finding, whose pointers are valid until it returns. Another result than 0 ends the call. */
typedef int (*XKRVolumeFindingSink)(void* context, const XKRVolumeFinding* finding);

#ifdef __cplusplus
extern "C" {
#endif

/* Examines a volume file. Each finding goes to sink, which may be null. */
XKR_VOLUME_API uint32_t XKRVolumeCheck(const MDbChar* path, XKRVolumeFindingSink sink, void* context);

/* What became of one database. */
typedef struct XKRVolumeSaved {
  const MDbChar* database; /* the name that it has in the new file */
  uint32_t databaseOid;
  uint32_t saved;           /* records in the new file */
  uint32_t lost;            /* records that are known to have been there and are not in the new file */
  uint32_t loose;           /* of the saved: found outside their table; they may be earlier states, or deleted ones */
  uint32_t descriptionLost; /* 1: name, type and sort orders could not be read, so that lost is only what was met */
} XKRVolumeSaved;
typedef int (*XKRVolumeSavedSink)(void* context, const XKRVolumeSaved* saved);

/* What an application knows of its databases, for files that do not say it any more. */

/* A property of a record that the application knows. type text: UTF-16 units with their terminator, blob: the bytes,
 * UI4: four bytes in the host's order. */
typedef struct XKRVolumeValue {
  uint32_t property; /* 0: none */
  const void* value;
  uint32_t size; /* bytes */
} XKRVolumeValue;

enum {
  XKRKnownConstant = 0, /* is added when it is missing */
  XKRKnownFixed = 1,    /* and gets this value when it has another */
  XKRKnownCounter = 2,  /* a constant whose first value becomes one more than the greatest countedProperty there is */
  XKRKnownDense = 3     /* stands for key, key + 1, ...: as many as a record of countedDatabase has text properties
                           from countedProperty on, and up to the last that is there; texts get the number added */
};

/* A record that a database cannot be without. It is found by a property of type UI4. */
typedef struct XKRKnownRecord {
  uint32_t kind; /* XKRKnown... */
  uint32_t keyProperty;
  uint32_t key;
  XKRVolumeValue values[2];
  const MDbChar* countedDatabase; /* null: none */
  uint32_t countedProperty;
} XKRKnownRecord;

/* A database. One that has lost its name is recognised by its records: all have the property, and the 16-bit number
 * flagProperty (0: not looked at) has the value flagValue under the mask flagMask. One that is not there is made. */
typedef struct XKRKnownDatabase {
  const MDbChar* name;
  uint32_t type;
  uint32_t sortProperty; /* 0: none */
  uint32_t property;
  uint32_t flagProperty;
  uint16_t flagMask;
  uint16_t flagValue;
  const XKRKnownRecord* records;
  uint32_t recordCount;
} XKRKnownDatabase;

typedef struct XKRVolumeRepairOptions {
  const XKRKnownDatabase* known; /* heeded once one of them is found in the file */
  uint32_t knownCount;
  XKRVolumeFindingSink finding; /* may be null */
  XKRVolumeSavedSink saved;     /* may be null; called for each database after all findings */
  void* context;                /* for both */
} XKRVolumeRepairOptions;

/* Makes a new volume at to, which must not exist, of every record at from whose checksum holds, under its identifier.
 * It is on the disk when the call returns, appears under its name whole or not at all, and belongs to its owner alone.
 * Databases whose names are lost and that are none of the known ones are called LOST_ and their identifier. Sinks are
 * called before anything is written. */
XKR_VOLUME_API uint32_t XKRVolumeRepair(const MDbChar* from, const MDbChar* to, const XKRVolumeRepairOptions* options);

#ifdef __cplusplus
}
#endif

#endif
