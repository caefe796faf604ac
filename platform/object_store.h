/* The platform's object store: volumes that hold databases, databases that hold records, records that are bags of typed
 * properties. The engine calls these functions and nothing else to keep its data; on a handheld device the operating
 * system has them, everywhere else our own store in objectstore/. */
#ifndef XKRDB_PLATFORM_OBJECT_STORE_H
#define XKRDB_PLATFORM_OBJECT_STORE_H

#include "platform_types.h"

typedef DWORD CEOID;    /* names a database or a record within its volume; 0 is none */
typedef DWORD CEPROPID; /* high word: the application's identifier, low word: the type */

/* Names a mounted volume by four words, Data1 to Data4. All 0: the system's own store; all 0xFFFFFFFF: no volume. */
typedef MDbVolumeId CEGUID;

typedef struct CEBLOB {
  DWORD dwCount; /* bytes */
  BYTE* lpb;
} CEBLOB;

typedef union CEVALUNION {
  int16_t iVal;
  uint16_t uiVal;
  int32_t lVal;
  uint32_t ulVal;
  FILETIME filetime;
  WCHAR* lpwstr;
  CEBLOB blob;
  BOOL boolVal;
  double dblVal __attribute__((aligned(8))); /* on every processor, whatever its compiler's own habit */
} CEVALUNION;

typedef struct CEPROPVAL {
  CEPROPID propid;
  WORD wLenData; /* not used */
  WORD wFlags;   /* CEDB_PROPNOTFOUND or CEDB_PROPDELETE */
  CEVALUNION val;
} CEPROPVAL;

enum {
  CEVT_I2 = 2,
  CEVT_I4 = 3,
  CEVT_R8 = 5,
  CEVT_BOOL = 11,
  CEVT_UI2 = 18,
  CEVT_UI4 = 19,
  CEVT_LPWSTR = 31,
  CEVT_FILETIME = 64,
  CEVT_BLOB = 65
};

#define TypeFromPropID(propid) ((WORD)(propid))

enum { CEDB_PROPNOTFOUND = 0x0100, CEDB_PROPDELETE = 0x0200 };

enum {
  CEDB_MAXDBASENAMELEN = 32, /* characters, terminator included */
  CEDB_MAXSORTORDER = 4,
  CEDB_MAXPROPDATASIZE = 65471, /* bytes of one string or blob */
  CEDB_MAXRECORDSIZE = 131072,  /* bytes of one record */
  CEDB_MAXNUMRECORDS = 65535
};

enum {
  CEDB_SORT_DESCENDING = 0x0001,
  CEDB_SORT_CASEINSENSITIVE = 0x0002,
  CEDB_SORT_UNKNOWNFIRST = 0x0004, /* records without the property first; last by default */
  CEDB_SORT_GENERICORDER = 0x0008,
  CEDB_SORT_IGNORENONSPACE = 0x0010,
  CEDB_SORT_IGNORESYMBOLS = 0x0020,
  CEDB_SORT_IGNOREKANATYPE = 0x0040,
  CEDB_SORT_IGNOREWIDTH = 0x0080,
  CEDB_SORT_STRINGSORT = 0x0100,
  CEDB_SORT_UNIQUE = 0x0200, /* implies NONNULL */
  CEDB_SORT_NONNULL = 0x0400
};

typedef struct SORTORDERSPEC {
  CEPROPID propid;
  DWORD dwFlags; /* CEDB_SORT_... */
} SORTORDERSPEC;

enum {
  CEDB_VALIDNAME = 0x0001,
  CEDB_VALIDTYPE = 0x0002,
  CEDB_VALIDSORTSPEC = 0x0004,
  CEDB_VALIDMODTIME = 0x0008,
  CEDB_VALIDDBFLAGS = 0x0010,
  CEDB_VALIDCREATE = 0x0017,
  CEDB_NOCOMPRESS = 0x00010000,
  CEDB_SYSTEMDB = 0x00020000
};

typedef struct CEDBASEINFO {
  DWORD dwFlags; /* low word: CEDB_VALID...; high word: the database's own flags */
  WCHAR szDbaseName[CEDB_MAXDBASENAMELEN];
  DWORD dwDbaseType;
  WORD wNumRecords;
  WORD wNumSortOrder;
  DWORD dwSize;
  FILETIME ftLastModified;
  SORTORDERSPEC rgSortSpecs[CEDB_MAXSORTORDER];
} CEDBASEINFO;

typedef struct CERECORDINFO {
  CEOID oidParent; /* the database that holds the record */
} CERECORDINFO;

typedef struct CEFILEINFO {
  DWORD dwAttributes;
  CEOID oidParent;
  WCHAR szFileName[MAX_PATH];
  FILETIME ftLastChanged;
  DWORD dwLength;
} CEFILEINFO;

typedef struct CEDIRINFO {
  DWORD dwAttributes;
  CEOID oidParent;
  WCHAR szDirName[MAX_PATH];
} CEDIRINFO;

enum { OBJTYPE_INVALID = 0, OBJTYPE_FILE = 1, OBJTYPE_DIRECTORY = 2, OBJTYPE_DATABASE = 3, OBJTYPE_RECORD = 4 };

typedef struct CEOIDINFO {
  WORD wObjType;
  WORD wPad;
  union {
    CEFILEINFO infFile;
    CEDIRINFO infDirectory;
    CEDBASEINFO infDatabase;
    CERECORDINFO infRecord;
  };
} CEOIDINFO;

typedef struct CENOTIFYREQUEST CENOTIFYREQUEST; /* always passed as null: no notifications */

enum { CREATE_NEW = 1, CREATE_ALWAYS = 2, OPEN_EXISTING = 3, OPEN_ALWAYS = 4, TRUNCATE_EXISTING = 5 };

enum {
  CEDB_SEEK_CEOID = 0x01,
  CEDB_SEEK_BEGINNING = 0x02,
  CEDB_SEEK_END = 0x04,
  CEDB_SEEK_CURRENT = 0x08,
  CEDB_SEEK_VALUESMALLER = 0x10,
  CEDB_SEEK_VALUEFIRSTEQUAL = 0x20,
  CEDB_SEEK_VALUEGREATER = 0x40,
  CEDB_SEEK_VALUENEXTEQUAL = 0x80
};

enum { CEDB_AUTOINCREMENT = 0x1, CEDB_ALLOWREALLOC = 0x1 };

#ifdef __cplusplus
extern "C" {
#endif

/* Volumes. A mount adds a reference and an unmount takes one; the last one writes what was not flushed. */
PLATFORM_API BOOL CeMountDBVol(CEGUID* guid, const WCHAR* path, DWORD disposition);
PLATFORM_API BOOL CeUnmountDBVol(const CEGUID* guid);
PLATFORM_API BOOL CeFlushDBVol(const CEGUID* guid);

/* Databases. */
PLATFORM_API CEOID CeCreateDatabaseEx(const CEGUID* guid, const CEDBASEINFO* info);
PLATFORM_API HANDLE CeOpenDatabaseEx(const CEGUID* guid, CEOID* oid, const WCHAR* name, CEPROPID sort_property,
                                     DWORD flags, const CENOTIFYREQUEST* notify);
PLATFORM_API BOOL CeDeleteDatabaseEx(const CEGUID* guid, CEOID oid);
PLATFORM_API HANDLE CeFindFirstDatabaseEx(const CEGUID* guid, DWORD type);
PLATFORM_API CEOID CeFindNextDatabaseEx(HANDLE find, CEGUID* guid);
PLATFORM_API BOOL CeOidGetInfoEx(const CEGUID* guid, CEOID oid, CEOIDINFO* info);
PLATFORM_API BOOL CeSetDatabaseInfoEx(const CEGUID* guid, CEOID oid, const CEDBASEINFO* info);

/* Records. A seek's value is an identifier, a signed 32-bit count, or the address of a CEPROPVAL, by its type. */
PLATFORM_API CEOID CeSeekDatabase(HANDLE database, DWORD type, DWORD_PTR value, DWORD* index);
PLATFORM_API CEOID CeReadRecordPropsEx(HANDLE database, DWORD flags, WORD* count, const CEPROPID* ids, BYTE** buffer,
                                       DWORD* size, HANDLE heap);
PLATFORM_API CEOID CeWriteRecordProps(HANDLE database, CEOID oid, WORD count, const CEPROPVAL* values);
PLATFORM_API BOOL CeDeleteRecord(HANDLE database, CEOID oid);

/* Closes an open database or an enumeration of databases. */
PLATFORM_API BOOL CloseHandle(HANDLE handle);

#ifdef __cplusplus
}
#endif

#endif
