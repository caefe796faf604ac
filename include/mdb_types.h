/* XKRDB: the records, codes and constants of the public interface.
 *
 * Every record here is declared by the caller, on the stack or wherever the caller likes, initialised once with the
 * initialiser that stands beside it, and then passed by address to the calls of mdb.h. The library keeps no pointer to
 * any of them between calls. Fields are listed so that a debugger shows them by name; callers read them where a comment
 * says so and never write them by hand.
 *
 * Widths are the same on every host. Only pointers have the host's own size, so a record that holds one (MDbFieldOpTbl,
 * MDbDataRec, MDbRecset, MDbQuery, MDbEnv) is larger on a 64-bit host. All fields stand at their natural alignment,
 * except in the records that are stored in files: those are packed and their size is given.
 *
 * Compiles as strict C11 and as C++20. */
#ifndef XKRDB_MDB_TYPES_H
#define XKRDB_MDB_TYPES_H

#include <stddef.h>
#include <stdint.h>

/* Text. MDbChar is one UTF-16 code unit. Every text is zero-terminated; a size is always in bytes and counts the
 * terminator, so that a text of 5 characters has size 12. MDB_TEXT("...") is a literal of this type. On Windows that is
 * wchar_t; whoever would rather have char16_t there as well, for the same units, defines MDB_CHAR16 first. */
#if defined(_WIN32) && !defined(MDB_CHAR16)
typedef wchar_t MDbChar;
#define MDB_TEXT(literal) L##literal
#define MDB_TEXT_IS_WIDE 1
#else
#if !defined(__cplusplus)
#include <uchar.h>
#endif
typedef char16_t MDbChar;
#define MDB_TEXT(literal) u##literal
#endif

/* What a library gives to its callers. Windows libraries name their calls in a list instead. */
#if defined(_WIN32)
#define MDB_EXPORTED
#else
#define MDB_EXPORTED __attribute__((visibility("default")))
#endif

/* A platform handle: 32 bits on every host. Two values are no handle: 0 and MDB_INVALID_HANDLE. */
typedef uint32_t MDbHandle;
#define MDB_INVALID_HANDLE 0xFFFFFFFFu

/* The result of nearly every call. In C++ a dropped status is a compiler warning; write (void) where it is meant. */
#if defined(__cplusplus)
#define MDB_STATUS_TYPE enum [[nodiscard]] MDbStatus : uint32_t
#else
typedef uint32_t MDbStatus;
#define MDB_STATUS_TYPE enum
#endif

MDB_STATUS_TYPE{
    MDbStatusOk = 0,     /* done */
    MDbStatusFailed = 1, /* not initialised, not open, already open, out of range, not found, or the platform refused */
    MDbStatusBadDateText = 2,       /* the date text is blank, a zero date or not a date */
    MDbStatusBadTimeText = 3,       /* the time text is empty or not a time */
    MDbStatusNoMoreItems = 4,       /* the file listing is at its end; its handle has been closed */
    MDbStatusBadFormat = 5,         /* the file is a volume, but its header is not this library's */
    MDbStatusCannotOpen = 6,        /* the file cannot be mounted, or its catalogue or header cannot be read */
    MDbStatusWordBreakerFailed = 7, /* the word-breaker module refused to start */
    MDbStatusRecordLimit = 8,       /* the data table holds 5000 records already; nothing was added */
    MDbStatusFieldOutOfRange = 9,   /* the field index is negative or greater than the field count */
    MDbStatusNumberOutOfRange = 10, /* a number text reaches a limit of 32 bits */
    MDbStatusEmptyNumber = 11,      /* a number text holds no digit */
    MDbStatusChecksumMismatch = 12, /* the integrity mark is not 1 */
    MDbStatusNoFields = 13          /* the database has no fields */
};

#undef MDB_STATUS_TYPE

enum {
  MDB_MAX_PATH = 260,     /* characters of a path, terminator included */
  MDB_MAX_RECORDS = 5000, /* records of one database */
  MDB_DB_NAME_LENGTH = 32 /* characters of a platform database's name, terminator included */
};

/* What a field holds. Every value is stored as text; the type says how the text is compared, sorted and searched. */
enum {
  MDbFieldNone = 0,
  MDbFieldText = 1,   /* compared by words, sorted as text */
  MDbFieldNumber = 2, /* read as a signed 32-bit decimal integer */
  MDbFieldDate = 3,   /* read under the database's DateFormat */
  MDbFieldTime = 4    /* read under the database's TimeFormat */
};

/* Bits of a record's state. */
enum {
  RecStateTouched = 1, /* created or written since the host last cleared the bit */
  RecStateDeleted = 2, /* set in the deletion log's copy */
  RecStateNew = 4      /* created here and unknown to the host: its deletion is not logged */
};

/* Order of the three parts of a date text. */
enum {
  MDbDateOrderMonthDayYear = 0,
  MDbDateOrderDayMonthYear = 1,
  MDbDateOrderYearMonthDay = 2,
  MDbDateOrderMonthYearDay = 3,
  MDbDateOrderDayYearMonth = 4,
  MDbDateOrderYearDayMonth = 5
};

/* DateRec.status. From MDbDateBlank on, month, day and year are 0. */
enum DateStatus {
  MDbDateValid = 0,
  MDbDateThisYear = 1, /* valid; the year was not given and is the current one */
  MDbDateBlank = 2,    /* nothing but spaces */
  MDbDateZero = 3,     /* every part was given as 0 */
  MDbDateInvalid = 4
};

/* TimeRec.state. From MDbTimeEmpty on, hours are -32767, minutes and seconds 0, components 2. */
enum TimeState {
  MDbTimePlain = 0,          /* no suffix: a number of hours, which may be negative or beyond a day */
  MDbTimeTwelveHour = 1,     /* a morning or afternoon suffix was given */
  MDbTimeTwentyFourHour = 2, /* the 24-hour suffix was given */
  MDbTimeEmpty = 3,
  MDbTimeInvalid = 4
};

/* MDbRecsetSort's mode; any other value sorts ascending. */
enum { MDbSortAscending = 0, MDbSortDescending = 1, MDbSortToggle = 2 };

/* MDbQuery.mode; any value but MDbQueryByValue searches by words. */
enum { MDbQueryByValue = 0, MDbQueryByWords = 1 };

/* ---- stored records: packed, little-endian, the same bytes in every file -------------------------------------- */

#pragma pack(push, 1)

/* How dates are read and written: bytes 24 to 29 of MDbAttrs. */
typedef struct DateFormat {
  MDbChar separator;        /* written between the parts */
  uint8_t order;            /* MDbDateOrder... */
  uint8_t monthLeadingZero; /* non-zero: 05, not 5 */
  uint8_t dayLeadingZero;
  uint8_t ownSeparator; /* non-zero: the separator found in the text wins over the one here */
} DateFormat;

/* How times are read and written: bytes 30 to 77 of MDbAttrs. Each suffix holds up to 5 characters and a terminator. */
typedef struct TimeFormat {
  MDbChar separator;
  MDbChar morningSuffix[6];
  MDbChar afternoonSuffix[6];
  MDbChar twentyFourHourSuffix[6];
  uint8_t reserved[8];     /* stored and returned, not interpreted */
  uint8_t hourLeadingZero; /* non-zero: 07, not 7 */
  uint8_t twelveHour;      /* non-zero: show a 12-hour clock */
} TimeFormat;

/* The settings of one database, 78 bytes. */
typedef struct MDbAttrs {
  uint8_t header[8];     /* the creator's own; not interpreted */
  uint32_t attribute[4]; /* four numbered settings of the application */
  DateFormat dateFormat;
  TimeFormat timeFormat;
} MDbAttrs;

/* One field's definition, 18 bytes. */
typedef struct MDbFldInfo {
  uint8_t type;     /* MDbField... */
  uint8_t rest[17]; /* the creator's own; not interpreted */
} MDbFldInfo;

/* How an application presents a field, 6 bytes, not interpreted. */
typedef struct MDbFldOption {
  uint8_t bytes[6];
} MDbFldOption;

/* More of the same, 9 bytes; the library itself reads and writes the display order alone. */
typedef struct MDbFldOptionEx {
  uint8_t widthShare; /* share of a row of 225 units */
  uint8_t setting1;
  uint8_t setting2;
  uint8_t settings3To5[3];
  uint8_t displayOrder;
  uint8_t setting7;
  uint8_t setting8;
} MDbFldOptionEx;

/* What MDbFieldOpTblCreateEx takes for each field, 15 bytes. */
typedef struct MDbFldOptionPair {
  MDbFldOption option;
  MDbFldOptionEx optionEx;
} MDbFldOptionPair;

/* The info block that every record carries for its host, 10 bytes, not interpreted. */
typedef struct MDbRecInfo {
  uint8_t bytes[10];
} MDbRecInfo;

#pragma pack(pop)

/* ---- date and time records ------------------------------------------------------------------------------------ */

typedef struct DateRec {
  int16_t month;         /* 1 to 12 */
  int16_t day;           /* 1 to 31 */
  int16_t year;          /* 1 to 3000 */
  int32_t status;        /* MDbDate... */
  int32_t fourDigitYear; /* 1: the year was written with exactly four digits */
  int32_t separator;     /* the separator met in the text, 0 if none */
} DateRec;

typedef struct TimeRec {
  int16_t hours; /* negative for a negative duration, as are the other two then */
  int16_t minutes;
  int16_t seconds;
  int32_t state;      /* MDbTime... */
  int32_t components; /* parts given after the hours: 0, 1 or 2 */
} TimeRec;

/* ---- handle records ------------------------------------------------------------------------------------------- */

/* The path of a database file. */
typedef struct MDbVolFSpec {
  MDbChar path[MDB_MAX_PATH];
} MDbVolFSpec;

/* Names a mounted volume among all mounted volumes; its words mean nothing to a caller. */
typedef struct MDbVolumeId {
  uint32_t Data1;
  uint32_t Data2;
  uint32_t Data3;
  uint32_t Data4;
} MDbVolumeId;

/* The catalogue of one volume: the store of every descriptive object. */
typedef struct CatalogStore {
  MDbChar name[MDB_DB_NAME_LENGTH]; /* "OBJG_0" */
  uint32_t oid;
  uint32_t isOpen;
  MDbHandle handle; /* valid only while isOpen is set */
} CatalogStore;

/* One database file. */
typedef struct MDbRef {
  uint8_t opened;
  CatalogStore catalog;
  MDbVolumeId volume;
} MDbRef;

/* The live records and the log of deletions. */
typedef struct MDbDataTbl {
  uint32_t opened;
  MDbHandle dataHandle;
  uint32_t dataOid;
  int32_t cursor; /* the position that a record is opened at, -1 for none */
  MDbHandle deleteHandle;
  uint32_t deleteOid;
  uint32_t creationSeqCache; /* the next creation number, 0xFFFFFFFF while not cached */
} MDbDataTbl;

typedef struct MDbSchemaTbl {
  uint8_t opened;
} MDbSchemaTbl;

typedef struct MDbAttrTbl {
  uint8_t opened;
} MDbAttrTbl;

typedef struct MDbValListTbl {
  uint8_t opened;
} MDbValListTbl;

/* MDbFieldOpTblOpen's flag: keep every option that was read in memory until the table is closed. */
enum { MDbFieldOptionsCached = 1 };

typedef struct MDbFieldOpTbl {
  uint8_t opened;
  uint32_t flags;
  void* cache; /* the options read so far */
  int16_t cacheCount;
} MDbFieldOpTbl;

/* One record opened for reading or writing. */
typedef struct MDbDataRec {
  uint32_t flags; /* bit 0: opened; bit 2: opened in the deletion log */
  uint32_t oid;
  uint16_t includesSystem; /* bit 0: the loaded properties begin with the five system properties */
  uint16_t propertyCount;
  void* block;      /* what was loaded; pointers handed out stay valid until the record is closed */
  void* properties; /* the first property within the block */
} MDbDataRec;

/* The library environment: one per client, first argument of nearly every call. It carries the one database that the
 * agent calls, record sets and date and time conversions work on. */
typedef struct MDbEnv {
  uint8_t initialized;
  MDbRef agentRef;
  MDbDataTbl dataTbl;
  MDbSchemaTbl schemaTbl;
  MDbFieldOpTbl fieldOpTbl;
  MDbAttrTbl attrTbl;
  MDbValListTbl valListTbl;
} MDbEnv;

/* What a record set is to hold. The text must stay alive as long as the record set may be sorted. */
typedef struct MDbQuery {
  int16_t field;
  int16_t mode; /* MDbQueryByValue or MDbQueryByWords */
  const MDbChar* text;
} MDbQuery;

typedef struct MDbSortDef {
  uint16_t field;    /* 0xFFFF when never sorted */
  uint8_t ascending; /* 1 ascending, 0 descending */
} MDbSortDef;

/* The scratch database that holds a record set's order. */
typedef struct ViewState {
  uint8_t open;
  uint32_t flagFilter;
  uint32_t viewOid;
  MDbHandle handle;
  int16_t index; /* the cursor, -1 for none */
  uint32_t nextSeq;
} ViewState;

typedef struct MDbRecset {
  uint8_t valid;
  uint8_t hasView;
  int16_t filterField; /* -1: not filtered */
  uint8_t dirty;
  int16_t sortField; /* -1: never sorted */
  uint8_t ascending;
  MDbDataRec record; /* the record opened through the record set */
  ViewState view;
  MDbQuery query;
  uint8_t hasQuery;
  uint32_t* keepList; /* records that stay in the view whatever the query says */
  int16_t keepCount;
  uint32_t keepCapacity; /* bytes */
} MDbRecset;

#endif
