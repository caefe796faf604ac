// The records and constants of the object store's calls: their sizes, offsets and numbers are the same wherever clients
// are compiled, apart from pointers, which have the host's own size.
#include <stddef.h>

#include "store_test.h"

namespace {

constexpr size_t kPointer = sizeof(void*);

// What holds a pointer is 8-byte aligned on a 64-bit host, so its size follows the pointer's.
constexpr size_t kBlob = 2 * kPointer;
constexpr size_t kPropertyHeader = 8 + kBlob;

TEST(StoreTypes, SizesAndOffsetsAreFixed) {
  const struct {
    const char* what;
    size_t actual;
    size_t expected;
  } kLayouts[] = {
      {"CEOID", sizeof(CEOID), 4},
      {"CEPROPID", sizeof(CEPROPID), 4},
      {"CEGUID", sizeof(CEGUID), 16},
      {"CEGUID.Data2", offsetof(CEGUID, Data2), 4},
      {"CEGUID.Data3", offsetof(CEGUID, Data3), 8},
      {"CEGUID.Data4", offsetof(CEGUID, Data4), 12},
      {"FILETIME", sizeof(FILETIME), 8},
      {"FILETIME.dwLowDateTime", offsetof(FILETIME, dwLowDateTime), 0},
      {"FILETIME.dwHighDateTime", offsetof(FILETIME, dwHighDateTime), 4},
      {"CEBLOB", sizeof(CEBLOB), kBlob},
      {"CEBLOB.lpb", offsetof(CEBLOB, lpb), kPointer},
      {"CEVALUNION", sizeof(CEVALUNION), kBlob},
      {"CEPROPVAL", sizeof(CEPROPVAL), kPropertyHeader},
      {"CEPROPVAL.wLenData", offsetof(CEPROPVAL, wLenData), 4},
      {"CEPROPVAL.wFlags", offsetof(CEPROPVAL, wFlags), 6},
      {"CEPROPVAL.val", offsetof(CEPROPVAL, val), 8},
      {"SORTORDERSPEC", sizeof(SORTORDERSPEC), 8},
      {"SORTORDERSPEC.dwFlags", offsetof(SORTORDERSPEC, dwFlags), 4},
      {"CEDBASEINFO", sizeof(CEDBASEINFO), 120},
      {"CEDBASEINFO.dwFlags", offsetof(CEDBASEINFO, dwFlags), 0},
      {"CEDBASEINFO.szDbaseName", offsetof(CEDBASEINFO, szDbaseName), 4},
      {"CEDBASEINFO.dwDbaseType", offsetof(CEDBASEINFO, dwDbaseType), 68},
      {"CEDBASEINFO.wNumRecords", offsetof(CEDBASEINFO, wNumRecords), 72},
      {"CEDBASEINFO.wNumSortOrder", offsetof(CEDBASEINFO, wNumSortOrder), 74},
      {"CEDBASEINFO.dwSize", offsetof(CEDBASEINFO, dwSize), 76},
      {"CEDBASEINFO.ftLastModified", offsetof(CEDBASEINFO, ftLastModified), 80},
      {"CEDBASEINFO.rgSortSpecs", offsetof(CEDBASEINFO, rgSortSpecs), 88},
      {"CERECORDINFO", sizeof(CERECORDINFO), 4},
      {"CEFILEINFO", sizeof(CEFILEINFO), 540},
      {"CEFILEINFO.szFileName", offsetof(CEFILEINFO, szFileName), 8},
      {"CEFILEINFO.ftLastChanged", offsetof(CEFILEINFO, ftLastChanged), 528},
      {"CEFILEINFO.dwLength", offsetof(CEFILEINFO, dwLength), 536},
      {"CEDIRINFO", sizeof(CEDIRINFO), 528},
      {"CEOIDINFO", sizeof(CEOIDINFO), 544},
      {"CEOIDINFO.wPad", offsetof(CEOIDINFO, wPad), 2},
      {"CEOIDINFO.infDatabase", offsetof(CEOIDINFO, infDatabase), 4},
      {"CEOIDINFO.infRecord", offsetof(CEOIDINFO, infRecord), 4},
  };
  for (const auto& row : kLayouts) EXPECT_EQ(row.actual, row.expected) << row.what;
}

TEST(StoreTypes, ConstantsHaveThePlatformsNumbers) {
  const struct {
    const char* what;
    DWORD actual;
    DWORD expected;
  } kNumbers[] = {
      {"I2", CEVT_I2, 2},
      {"I4", CEVT_I4, 3},
      {"R8", CEVT_R8, 5},
      {"BOOL", CEVT_BOOL, 0x0B},
      {"UI2", CEVT_UI2, 0x12},
      {"UI4", CEVT_UI4, 0x13},
      {"LPWSTR", CEVT_LPWSTR, 0x1F},
      {"FILETIME", CEVT_FILETIME, 0x40},
      {"BLOB", CEVT_BLOB, 0x41},
      {"seek to an identifier", CEDB_SEEK_CEOID, 0x01},
      {"seek from the beginning", CEDB_SEEK_BEGINNING, 0x02},
      {"seek from the end", CEDB_SEEK_END, 0x04},
      {"seek from here", CEDB_SEEK_CURRENT, 0x08},
      {"seek smaller", CEDB_SEEK_VALUESMALLER, 0x10},
      {"seek first equal", CEDB_SEEK_VALUEFIRSTEQUAL, 0x20},
      {"seek greater", CEDB_SEEK_VALUEGREATER, 0x40},
      {"seek next equal", CEDB_SEEK_VALUENEXTEQUAL, 0x80},
      {"descending", CEDB_SORT_DESCENDING, 0x0001},
      {"case insensitive", CEDB_SORT_CASEINSENSITIVE, 0x0002},
      {"unknown first", CEDB_SORT_UNKNOWNFIRST, 0x0004},
      {"generic order", CEDB_SORT_GENERICORDER, 0x0008},
      {"ignore non-space", CEDB_SORT_IGNORENONSPACE, 0x0010},
      {"ignore symbols", CEDB_SORT_IGNORESYMBOLS, 0x0020},
      {"ignore kana type", CEDB_SORT_IGNOREKANATYPE, 0x0040},
      {"ignore width", CEDB_SORT_IGNOREWIDTH, 0x0080},
      {"string sort", CEDB_SORT_STRINGSORT, 0x0100},
      {"unique", CEDB_SORT_UNIQUE, 0x0200},
      {"non-null", CEDB_SORT_NONNULL, 0x0400},
      {"valid name", CEDB_VALIDNAME, 0x0001},
      {"valid type", CEDB_VALIDTYPE, 0x0002},
      {"valid sort orders", CEDB_VALIDSORTSPEC, 0x0004},
      {"valid time", CEDB_VALIDMODTIME, 0x0008},
      {"valid flags", CEDB_VALIDDBFLAGS, 0x0010},
      {"valid for creation", CEDB_VALIDCREATE, 0x0017},
      {"no compression", CEDB_NOCOMPRESS, 0x00010000},
      {"system database", CEDB_SYSTEMDB, 0x00020000},
      {"property not found", CEDB_PROPNOTFOUND, 0x0100},
      {"property delete", CEDB_PROPDELETE, 0x0200},
      {"automatic step", CEDB_AUTOINCREMENT, 1},
      {"reallocation", CEDB_ALLOWREALLOC, 1},
      {"characters of a name", CEDB_MAXDBASENAMELEN, 32},
      {"sort orders", CEDB_MAXSORTORDER, 4},
      {"bytes of a property", CEDB_MAXPROPDATASIZE, 65471},
      {"bytes of a record", CEDB_MAXRECORDSIZE, 131072},
      {"records of a database", CEDB_MAXNUMRECORDS, 65535},
      {"invalid object", OBJTYPE_INVALID, 0},
      {"file", OBJTYPE_FILE, 1},
      {"directory", OBJTYPE_DIRECTORY, 2},
      {"database", OBJTYPE_DATABASE, 3},
      {"record", OBJTYPE_RECORD, 4},
      {"CREATE_NEW", CREATE_NEW, 1},
      {"CREATE_ALWAYS", CREATE_ALWAYS, 2},
      {"OPEN_EXISTING", OPEN_EXISTING, 3},
      {"OPEN_ALWAYS", OPEN_ALWAYS, 4},
      {"TRUNCATE_EXISTING", TRUNCATE_EXISTING, 5},
      {"file not found", ERROR_FILE_NOT_FOUND, 2},
      {"path not found", ERROR_PATH_NOT_FOUND, 3},
      {"access denied", ERROR_ACCESS_DENIED, 5},
      {"invalid handle", ERROR_INVALID_HANDLE, 6},
      {"not enough memory", ERROR_NOT_ENOUGH_MEMORY, 8},
      {"out of memory", ERROR_OUTOFMEMORY, 14},
      {"seek", ERROR_SEEK, 25},
      {"sharing violation", ERROR_SHARING_VIOLATION, 32},
      {"duplicate name", ERROR_DUP_NAME, 52},
      {"invalid parameter", ERROR_INVALID_PARAMETER, 87},
      {"disk full", ERROR_DISK_FULL, 112},
      {"insufficient buffer", ERROR_INSUFFICIENT_BUFFER, 122},
      {"already exists", ERROR_ALREADY_EXISTS, 183},
      {"no data", ERROR_NO_DATA, 232},
      {"no more items", ERROR_NO_MORE_ITEMS, 259},
      {"key deleted", ERROR_KEY_DELETED, 1018},
      {"file corrupt", ERROR_FILE_CORRUPT, 1392},
  };
  for (const auto& row : kNumbers) EXPECT_EQ(row.actual, row.expected) << row.what;
}

// The macro is written for C, too.
#pragma GCC diagnostic ignored "-Wold-style-cast"

TEST(StoreTypes, TypeOfAPropertyIsTheLowWordOfItsIdentifier) {
  EXPECT_EQ(TypeFromPropID(0x0002001Fu), CEVT_LPWSTR);
  EXPECT_EQ(TypeFromPropID(0xFFFF0041u), CEVT_BLOB);
}

}  // namespace
