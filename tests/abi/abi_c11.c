/* The public headers as strict C11: every layout checked by the compiler, and each inline initialiser used once. */
#include "xkrvolume.h"
#include "xkrwbrk.h"

#define SIZE_ROW(record, bytes) _Static_assert(sizeof(record) == (bytes), "size of " #record);
#define FIELD_ROW(record, field, offset) \
  _Static_assert(offsetof(record, field) == (offset), "offset of " #record "." #field);
#include "layout_rows.h"

_Static_assert(sizeof(MDB_TEXT("OBJG_0")) == 14, "a literal has 16-bit characters");
_Static_assert(MDB_INVALID_HANDLE == 0xFFFFFFFFu, "the other value that is no handle");
_Static_assert(MDB_MAX_PATH == 260 && MDB_MAX_RECORDS == 5000 && MDB_DB_NAME_LENGTH == 32, "limits");
_Static_assert(MDbStatusOk == 0 && MDbStatusFailed == 1 && MDbStatusBadDateText == 2 && MDbStatusBadTimeText == 3 &&
                   MDbStatusNoMoreItems == 4 && MDbStatusBadFormat == 5 && MDbStatusCannotOpen == 6 &&
                   MDbStatusWordBreakerFailed == 7 && MDbStatusRecordLimit == 8 && MDbStatusFieldOutOfRange == 9 &&
                   MDbStatusNumberOutOfRange == 10 && MDbStatusEmptyNumber == 11 && MDbStatusChecksumMismatch == 12 &&
                   MDbStatusNoFields == 13,
               "status codes");
_Static_assert(MDbFieldNone == 0 && MDbFieldText == 1 && MDbFieldNumber == 2 && MDbFieldDate == 3 && MDbFieldTime == 4,
               "field types");

_Static_assert(XKRVolumeSound == 0 && XKRVolumeDamaged == 1 && XKRVolumeNone == 2 && XKRVolumeMissing == 3 &&
                   XKRVolumeDenied == 4 && XKRVolumeInUse == 5 && XKRVolumeExists == 6 && XKRVolumeNoMemory == 7 &&
                   XKRVolumeFailed == 8 && XKRVolumeStopped == 9,
               "what a call on a volume came to");

int abi_c11_initialises_handle_records(void);

int abi_c11_initialises_handle_records(void) {
  MDbRef ref;
  MDbDataTbl data;
  MDbSchemaTbl schema;
  MDbAttrTbl attributes;
  MDbValListTbl lists;
  MDbFieldOpTbl options;
  MDbRefInitialize(&ref);
  MDbDataTblInitialize(&data);
  MDbSchemaTblInitialize(&schema);
  MDbAttrTblInitialize(&attributes);
  MDbValListTblInitialize(&lists);
  MDbFieldOpTblInitialize(&options);
  return ref.opened == 0 && ref.catalog.name[0] == 'O' && ref.catalog.name[5] == '0' && ref.catalog.name[6] == 0 &&
         data.cursor == -1 && data.creationSeqCache == 0xFFFFFFFFu && schema.opened == 0 && attributes.opened == 0 &&
         lists.opened == 0 && options.cache == NULL;
}
