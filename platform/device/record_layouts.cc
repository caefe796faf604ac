// The records that cross over to the operating system, held to the layouts that it gives them on a 32-bit processor.
// Nothing here is code: a layout that differs does not compile.
#include <cstddef>

#include "clock.h"
#include "files.h"
#include "object_store.h"

static_assert(sizeof(WCHAR) == 2 && sizeof(HANDLE) == sizeof(void*) && sizeof(DWORD_PTR) == 4);

static_assert(sizeof(CEGUID) == 16);
static_assert(sizeof(CEBLOB) == 8 && offsetof(CEBLOB, lpb) == 4);
static_assert(sizeof(CEVALUNION) == 8 && alignof(CEPROPVAL) == 8);
static_assert(sizeof(CEPROPVAL) == 16 && offsetof(CEPROPVAL, wFlags) == 6 && offsetof(CEPROPVAL, val) == 8);
static_assert(sizeof(SORTORDERSPEC) == 8);

static_assert(sizeof(CEDBASEINFO) == 120);
static_assert(offsetof(CEDBASEINFO, szDbaseName) == 4 && offsetof(CEDBASEINFO, dwDbaseType) == 68);
static_assert(offsetof(CEDBASEINFO, wNumRecords) == 72 && offsetof(CEDBASEINFO, wNumSortOrder) == 74);
static_assert(offsetof(CEDBASEINFO, dwSize) == 76 && offsetof(CEDBASEINFO, ftLastModified) == 80);
static_assert(offsetof(CEDBASEINFO, rgSortSpecs) == 88);

static_assert(sizeof(CEFILEINFO) == 540 && sizeof(CEDIRINFO) == 528);
static_assert(sizeof(CEOIDINFO) == 544 && offsetof(CEOIDINFO, infDatabase) == 4);

static_assert(sizeof(SYSTEMTIME) == 16 && sizeof(FILETIME) == 8);
static_assert(sizeof(WIN32_FIND_DATAW) == 560);
static_assert(offsetof(WIN32_FIND_DATAW, dwOID) == 36 && offsetof(WIN32_FIND_DATAW, cFileName) == 40);
