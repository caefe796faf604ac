/* XKRDB: an embedded database of small typed tables, one file per database. This header is the manual of its interface.
 *
 * How a program uses it
 *   MDbEnvInitialize, MDbInit                       once, before anything else
 *   MDbCreate, the table creation calls,            to make a database: fields, attributes, options, lists, data;
 *     MDbWriteChecksome(1), MDbClose                the mark 1 says that the database is whole
 *   MDbAgentOpenDb ... MDbAgentCloseDb              to open a database with all its tables, and close it
 *   MDbAgentQuery, MDbRecset... , MDbRecsetDestroy  to walk, sort, search and edit its records
 *   MDbShutdown                                     at the end
 *
 * Conventions
 *   Status    Every call returns an MDbStatus, 0 for success, unless it says otherwise. Where a call lists statuses,
 *             they stand in the order in which they are tested; "1" alone stands for MDbStatusFailed. A failure of the
 *             file or of memory is 1 as well. On failure outputs are as they were, unless the call says otherwise.
 *   Text      UTF-16, zero-terminated. Buffer sizes are in bytes. A copy takes at most size / 2 - 1 characters, cuts
 *             what is longer without notice, and always terminates; a size below 2 must not be passed. Size queries
 *             answer in bytes including the terminator.
 *   Index     Fields, value lists and positions count from 0.
 *   Pointers  Arguments are trusted: a null pointer is allowed only where a call says so. No pointer is kept after the
 *             call returns, except MDbQuery.text and the blocks behind MDbDataRec and MDbFieldOpTbl, which the library
 *             allocates itself and frees when the record or table is closed.
 *   Lenient   Reads of stored text first ask for its size. When memory runs out between the two steps, or the second
 *             read fails, they answer 0 and leave the caller's buffer as it was: pre-set it where certainty is needed.
 *   Durable   Calls that create, change or delete a record return when the change is on stable storage, provided that
 *             the database is the one in the environment (opened with MDbAgentOpenDb). Everything else is durable at
 *             MDbClose. A crash leaves the state of the last such call that returned, or of the one under way.
 *   Threads   Calls on one environment must not overlap. Different environments may be used from different threads.
 *             One process at a time opens a file; a second one gets MDbStatusCannotOpen.
 *
 * Where a call takes (env, ref, table): env is an initialised environment, ref an open database, table one of its table
 * handle records. Programs that use the agent calls pass &env, &env.agentRef and, say, &env.schemaTbl.
 *
 * Compiles as strict C11 and as C++20. */
#ifndef XKRDB_MDB_H
#define XKRDB_MDB_H

#include "mdb_types.h"

#define MDB_API MDB_EXPORTED

#ifdef __cplusplus
extern "C" {
#endif

/* ---- initialisers of handle records ---------------------------------------------------------------------------
 * Each puts one record of the caller's own into its reset state: not open, no cursor, no cache. MDbEnvInitialize does
 * the same for the records inside an environment. No call resets a record that was never initialised. */

static inline void MDbSchemaTblInitialize(MDbSchemaTbl* table) { table->opened = 0; }
static inline void MDbAttrTblInitialize(MDbAttrTbl* table) { table->opened = 0; }
static inline void MDbValListTblInitialize(MDbValListTbl* table) { table->opened = 0; }

static inline void MDbFieldOpTblInitialize(MDbFieldOpTbl* table) {
  table->opened = 0;
  table->flags = 0;
  table->cache = NULL;
  table->cacheCount = 0;
}

static inline void MDbDataTblInitialize(MDbDataTbl* table) {
  table->opened = 0;
  table->dataHandle = 0;
  table->dataOid = 0;
  table->cursor = -1;
  table->deleteHandle = 0;
  table->deleteOid = 0;
  table->creationSeqCache = 0xFFFFFFFFu;
}

static inline void MDbRefInitialize(MDbRef* ref) {
  static const MDbChar name[] = MDB_TEXT("OBJG_0");
  size_t i;
  ref->opened = 0;
  for (i = 0; i < sizeof(name) / sizeof(name[0]); ++i) ref->catalog.name[i] = name[i];
  ref->catalog.oid = 0;
  ref->catalog.isOpen = 0;
  ref->volume.Data1 = ref->volume.Data2 = ref->volume.Data3 = ref->volume.Data4 = 0;
}

/* ---- environment ---------------------------------------------------------------------------------------------- */

/* Puts an environment into its reset state: not initialised, nothing open. Required once before MDbInit. Closes
 * nothing: an environment with an open database must be closed first. */
MDB_API void MDbEnvInitialize(MDbEnv* env);

/* Makes the path empty. */
MDB_API void MDbVolFSpecInitialize(MDbVolFSpec* path);

/* Marks the environment as initialised and starts the word breaker.
 * wordBreaker  null: the word breaker is not started and words follow its built-in rules. Otherwise a pointer that the
 *              word-breaker module understands; ours takes a zero-terminated char string that names a locale ("de",
 *              "th_TH"; empty: no particular one).
 * flags        passed on to the module; ours ignores them.
 * 1  env is null or initialised already (the word breaker is not started again)
 * 7  the word breaker refused; the environment is initialised all the same */
MDB_API MDbStatus MDbInit(MDbEnv* env, const void* wordBreaker, uint32_t flags);

/* Stops the word breaker and puts the environment into its reset state. Closes nothing: close the database first.
 * first, second  passed on to the word-breaker module; ours ignores them
 * 1  env is null or was never initialised; the word breaker is stopped all the same */
MDB_API MDbStatus MDbShutdown(MDbEnv* env, uint32_t first, uint32_t second);

/* ---- database files ------------------------------------------------------------------------------------------- */

/* Creates a database file that must not exist, with an empty catalogue, and leaves it open in ref. Tables and the
 * integrity mark are the caller's next steps.
 * 1  the file exists or cannot be made; or the catalogue or header could not be written: the file is then left mounted
 *    with ref->opened 0 until the process ends */
MDB_API MDbStatus MDbCreate(MDbEnv* env, const MDbChar* path, MDbRef* ref);

/* Opens a database file and checks its header. Opens no table.
 * 6  the file cannot be mounted (missing, damaged, not a database, used by another process), or its catalogue cannot be
 *    opened: ref stays closed
 * 6  the header is missing; 5 the header is not this library's: ref is left open, close it with MDbClose */
MDB_API MDbStatus MDbOpen(MDbEnv* env, const MDbChar* path, MDbRef* ref);

/* Closes a database file and writes what was not written yet. Closes no table: close those first.
 * 1  not open, or the file could not be written: ref stays open */
MDB_API MDbStatus MDbClose(MDbEnv* env, MDbRef* ref);

/* Deletes a database file, which must not be open.  1 the file is missing or cannot be deleted */
MDB_API MDbStatus MDbDelete(MDbEnv* env, const MDbChar* path);

/* 1 while ref is open, else 0. */
MDB_API uint8_t MDbRefIsOpened(const MDbRef* ref);

/* 1 while env is initialised and ref is open, else 0. */
MDB_API uint8_t MDbIsOpened(const MDbEnv* env, const MDbRef* ref);

/* ---- integrity mark -------------------------------------------------------------------------------------------
 * One 32-bit value of the client's choice. Store 1 when the database is in a good state, another value while changing
 * it: MDbAgentOpenDb refuses a database whose mark is not 1. A new database has no mark. The spelling is the linkers'.
 */

/* 1  ref or its catalogue not open, or the write failed */
MDB_API MDbStatus MDbWriteChecksome(MDbEnv* env, MDbRef* ref, uint32_t value);

/* 1  ref or its catalogue not open, no mark stored, or it cannot be read;  12 the mark is not 1 */
MDB_API MDbStatus MDbVerifyChecksome(MDbEnv* env, MDbRef* ref);

/* ---- files and folders ---------------------------------------------------------------------------------------- */

/* Lists the files that match a pattern ("/data/book*.xdb"; * and ? in the last part), one name per call.
 * handle  receives the listing's handle, MDB_INVALID_HANDLE when nothing matches
 * name    receives the first file's name without its folder; size in bytes
 * 1  nothing matches, or the folder cannot be read */
MDB_API MDbStatus MDbFindFirstFile(MDbHandle* handle, const MDbChar* pattern, MDbChar* name, uint32_t size);

/* 1  *handle is 0, or the listing failed: the handle stays open
 * 4  no more files: the handle has been closed and *handle is 0; do not call MDbFindClose */
MDB_API MDbStatus MDbFindNextFile(MDbHandle* handle, MDbChar* name, uint32_t size);

/* Ends a listing early. Does not clear *handle.  1 *handle is 0 or unknown */
MDB_API MDbStatus MDbFindClose(MDbHandle* handle);

/* Creates a folder.  1 it exists, its parent is missing, or it cannot be made */
MDB_API MDbStatus MDbCreateDirectory(const MDbChar* path);

/* ---- agent calls: the one database of the environment --------------------------------------------------------- */

/* Both do nothing and return 0. */
MDB_API MDbStatus MDbAgentInit(void);
MDB_API MDbStatus MDbAgentShutdown(void);

/* Opens a database file with its five tables into the environment. On failure everything is closed again.
 * 6, 5  as MDbOpen;  1 no integrity mark;  12 the mark is not 1;  13 no fields;  1 a table cannot be opened */
MDB_API MDbStatus MDbAgentOpenDb(MDbEnv* env, const MDbChar* path);

/* Closes whatever of the environment's database is open: data, value lists, attributes, field options, schema, file.
 * Returns the first failure and goes on with the rest; 0 when nothing was open. */
MDB_API MDbStatus MDbAgentCloseDb(MDbEnv* env);

/* Reads setting 0 to 3 of the attributes. Any other selector: *value is 0 and the status 0.  1 not open */
MDB_API MDbStatus MDbAgentGetAttr(MDbEnv* env, int16_t selector, uint32_t* value);

/* Changes setting 0 to 3 of the attributes.  1 not open, or any other selector: nothing is written */
MDB_API MDbStatus MDbAgentSetAttr(MDbEnv* env, int16_t selector, uint32_t value);

/* Copies the database's display name.  1 not open, or no attributes */
MDB_API MDbStatus MDbAgentGetDbName(MDbEnv* env, MDbChar* name, uint32_t size);

/* Copies one value list's text.  1 not open, or no such list */
MDB_API MDbStatus MDbAgentGetValList(MDbEnv* env, int16_t index, MDbChar* text, uint32_t size);

/* The size in bytes of one value list's text.  1 not open, or no such list */
MDB_API MDbStatus MDbAgentGetValListSize(MDbEnv* env, int16_t index, uint32_t* size);

/* Makes a record set valid.
 * criteria  null: every record, in the data table's current order (direct mode). Otherwise the records whose field
 *           matches, in a view: by value where the mode is MDbQueryByValue and the field is a number, date or time and
 *           both texts convert, else by words. Copied into the record set, its text pointer included.
 * A criteria text of no value (letters for a number field) is searched for by words. When the word breaker refuses the
 * text the view stays empty and the status is 0.
 * 1  the database is not open, or the record set is valid already, or the view could not be built: it then holds what
 *    was found so far, the record set stays invalid, and the database must be closed before it is queried again */
MDB_API MDbStatus MDbAgentQuery(MDbEnv* env, MDbRecset* recset, const MDbQuery* criteria);

/* ---- schema: the fields --------------------------------------------------------------------------------------- */

/* Defines the fields, once: count definitions and count names.
 * 1  not open, fields exist already, or a write failed: the fields before it stay */
MDB_API MDbStatus MDbSchemaTblCreateEx(MDbEnv* env, MDbRef* ref, const MDbFldInfo* definitions,
                                       const MDbChar* const* names, int16_t count);
/* Removes every field definition; 0 when nothing is open, 1 when a removal fails. */
MDB_API MDbStatus MDbSchemaTblDelete(MDbEnv* env, MDbRef* ref);
/* 1  ref not open, or table open already */
MDB_API MDbStatus MDbSchemaTblOpen(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table);
/* Always 0. */
MDB_API MDbStatus MDbSchemaTblClose(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table);
/* 1 while ref and table are open, else 0. */
MDB_API uint8_t MDbSchemaTblIsOpened(const MDbEnv* env, const MDbRef* ref, const MDbSchemaTbl* table);

/* The number of fields.  1 the catalogue is not open; the table handle is not looked at */
MDB_API MDbStatus MDbSchemaTblGetCount(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table, int16_t* count);
/* Each reads one field's definition, type or name; 1 table not open, or no field of that index. */
MDB_API MDbStatus MDbSchemaTblRead(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table, int16_t index, MDbFldInfo* info,
                                   MDbChar* name, uint32_t size);
MDB_API MDbStatus MDbSchemaTblReadFldInfo(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table, int16_t index,
                                          MDbFldInfo* info);
MDB_API MDbStatus MDbSchemaTblReadFldType(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table, int16_t index, uint8_t* type);
MDB_API MDbStatus MDbSchemaTblReadFldName(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table, int16_t index, MDbChar* name,
                                          uint32_t size);
/* The size in bytes of a field's name: 12 for 5 characters. */
MDB_API MDbStatus MDbSchemaTblGetNameSize(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table, int16_t index, uint32_t* size);

/* ---- attributes: the settings and the name of the database ---------------------------------------------------- */

/* Stores the settings and the display name, once.  1 not open, stored already, or the write failed */
MDB_API MDbStatus MDbAttrTblCreateEx(MDbEnv* env, MDbRef* ref, const MDbAttrs* attrs, const MDbChar* name);
/* As the schema's calls of the same names. */
MDB_API MDbStatus MDbAttrTblDelete(MDbEnv* env, MDbRef* ref);
MDB_API MDbStatus MDbAttrTblOpen(MDbEnv* env, MDbRef* ref, MDbAttrTbl* table);
MDB_API MDbStatus MDbAttrTblClose(MDbEnv* env, MDbRef* ref, MDbAttrTbl* table);
MDB_API uint8_t MDbAttrTblIsOpened(const MDbEnv* env, const MDbRef* ref, const MDbAttrTbl* table);

/* index is 0: a database has one set of attributes.  1 table not open, or no attributes */
MDB_API MDbStatus MDbAttrTblReadAttrs(MDbEnv* env, MDbRef* ref, MDbAttrTbl* table, int16_t index, MDbAttrs* attrs);
MDB_API MDbStatus MDbAttrTblReadDbName(MDbEnv* env, MDbRef* ref, MDbAttrTbl* table, int16_t index, MDbChar* name,
                                       uint32_t size);

/* ---- field options and display orders ------------------------------------------------------------------------- */

/* Stores one pair of options per field, once.  1 not open, stored already, or a write failed: those before it stay */
MDB_API MDbStatus MDbFieldOpTblCreateEx(MDbEnv* env, MDbRef* ref, const MDbFldOptionPair* options, int16_t count);
/* As the schema's calls of the same names. */
MDB_API MDbStatus MDbFieldOpTblDelete(MDbEnv* env, MDbRef* ref);
/* flags  MDbFieldOptionsCached: every option read stays in memory until the table is closed; 0: none */
MDB_API MDbStatus MDbFieldOpTblOpen(MDbEnv* env, MDbRef* ref, MDbFieldOpTbl* table, uint32_t flags);
/* Frees what was kept in memory. Always 0, also on a closed table. */
MDB_API MDbStatus MDbFieldOpTblClose(MDbEnv* env, MDbRef* ref, MDbFieldOpTbl* table);
MDB_API uint8_t MDbFieldOpTblIsOpened(const MDbEnv* env, const MDbRef* ref, const MDbFieldOpTbl* table);

/* The number of fields that have options.  1 the catalogue is not open */
MDB_API MDbStatus MDbFieldOpTblGetCount(MDbEnv* env, MDbRef* ref, MDbFieldOpTbl* table, int16_t* count);
/* 1  table not open, or the field has no options */
MDB_API MDbStatus MDbFieldOpTblReadOption(MDbEnv* env, MDbRef* ref, MDbFieldOpTbl* table, int16_t index,
                                          MDbFldOption* option);
MDB_API MDbStatus MDbFieldOpTblReadOptionEx(MDbEnv* env, MDbRef* ref, MDbFieldOpTbl* table, int16_t index,
                                            MDbFldOptionEx* option);
/* 1  table not open, the field has no options, or the write failed; with a cached table also when the field was not
 *    read before: the value is stored then. Read before writing. */
MDB_API MDbStatus MDbFieldOpTblWriteOption(MDbEnv* env, MDbRef* ref, MDbFieldOpTbl* table, int16_t index,
                                           const MDbFldOption* option);
MDB_API MDbStatus MDbFieldOpTblWriteOptionEx(MDbEnv* env, MDbRef* ref, MDbFieldOpTbl* table, int16_t index,
                                             const MDbFldOptionEx* option);
/* Fills an extended option with the defaults for a database of fieldCount fields (at least 1): the width share, setting
 * 1, and order as its display order. setting8 is left as it was. Always 0. */
MDB_API MDbStatus MDbFieldOpTblGetDefOptionEx(MDbFldOptionEx* option, uint8_t order, int16_t fieldCount);
/* The display order of every field. orders has room for count entries or for the number of fields with options,
 * whichever is greater; fields without options keep their own index.
 * 1  table not open, or an option cannot be read: the orders up to it are written */
MDB_API MDbStatus MDbFieldOpTblGetDisplayOrders(MDbEnv* env, MDbRef* ref, MDbFieldOpTbl* table, int16_t* orders,
                                                int16_t count);

/* ---- value lists ---------------------------------------------------------------------------------------------- */

/* Stores count lists, once, each one text whose inner structure is the application's.
 * 1  not open, lists exist already, or a write failed: those before it stay */
MDB_API MDbStatus MDbValListTblCreateEx(MDbEnv* env, MDbRef* ref, const MDbChar* const* lists, int16_t count);
/* As the schema's calls of the same names. */
MDB_API MDbStatus MDbValListTblDelete(MDbEnv* env, MDbRef* ref);
MDB_API MDbStatus MDbValListTblOpen(MDbEnv* env, MDbRef* ref, MDbValListTbl* table);
MDB_API MDbStatus MDbValListTblClose(MDbEnv* env, MDbRef* ref, MDbValListTbl* table);
MDB_API uint8_t MDbValListTblIsOpened(const MDbEnv* env, const MDbRef* ref, const MDbValListTbl* table);
MDB_API MDbStatus MDbValListTblGetCount(MDbEnv* env, MDbRef* ref, MDbValListTbl* table, int16_t* count);
/* 1  table not open, or no list of that index */
MDB_API MDbStatus MDbValListTblRead(MDbEnv* env, MDbRef* ref, MDbValListTbl* table, int16_t index, MDbChar* text,
                                    uint32_t size);
MDB_API MDbStatus MDbValListTblGetSize(MDbEnv* env, MDbRef* ref, MDbValListTbl* table, int16_t index, uint32_t* size);

/* ---- data table ----------------------------------------------------------------------------------------------- */

/* Creates the live records and the deletion log and sets their counters to 0.
 * options  may be null; bit 0 of *options set: the live records only, the log is left as it is
 * 1  a step failed; what was created before it stays */
MDB_API MDbStatus MDbDataTblCreate(MDbEnv* env, MDbRef* ref, const uint16_t* options);
/* Deletes them, tables closed. options as above. Returns the first failure. */
MDB_API MDbStatus MDbDataTblDelete(MDbEnv* env, MDbRef* ref, const uint16_t* options);
/* Opens them. sortProperty may be null: creation order.
 * 1  open already, or missing; a half-opened table is left with opened 0 */
MDB_API MDbStatus MDbDataTblOpen(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, const uint32_t* sortProperty);
/* 1  not open, or closing failed */
MDB_API MDbStatus MDbDataTblClose(MDbEnv* env, MDbRef* ref, MDbDataTbl* table);
MDB_API uint8_t MDbDataTblIsOpened(const MDbEnv* env, const MDbRef* ref, const MDbDataTbl* table);
/* The number of live records, 0 to 5000.  1 not open */
MDB_API MDbStatus MDbDataTblGetRecCount(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, uint32_t* count);
/* The cursor: the position that MDbDataTblOpenRec opens at, 0xFFFF for none. Neither call checks a range; always 0. */
MDB_API MDbStatus MDbDataTblCursGetInx(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, uint16_t* index);
MDB_API MDbStatus MDbDataTblCursSetInx(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, int16_t index);

/* Between these two the creation counter is kept in the table handle instead of being stored with every new record. The
 * cache stays in force after EndCreationSeqCache until the table is closed.  1 the counter cannot be read or written */
MDB_API MDbStatus StartCreationSeqCache(MDbEnv* env, MDbRef* ref, MDbDataTbl* table);
MDB_API MDbStatus EndCreationSeqCache(MDbEnv* env, MDbRef* ref, MDbDataTbl* table);

/* Creates a record whose fields are all empty, state 5 (touched, new).
 * oid, position  may be null; receive its identifier and its position in the current order
 * 1  not open;  8 the table holds 5000 records;  1 a step failed: the record may exist all the same */
MDB_API MDbStatus MDbDataTblNewRec(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema, uint32_t* oid,
                                   uint16_t* position);
/* Creates a record from count field texts. stateZero non-zero: state 0 (known to the host), zero: state 5.
 * Statuses as MDbDataTblNewRec. */
MDB_API MDbStatus MDbDataTblAddRec(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, const MDbRecInfo* info,
                                   const MDbChar* const* fieldTexts, int16_t count, uint8_t stateZero, uint32_t* oid,
                                   uint16_t* position);
/* Opens a record by its identifier, or at the cursor when oid is null.
 * 1  table not open, rec open already, or no such record */
MDB_API MDbStatus MDbDataTblOpenRec(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbDataRec* rec, const uint32_t* oid);
/* Closes a record, of the live ones or of the log; pointers into it end.  1 rec not open */
MDB_API MDbStatus MDbDataTblCloseRec(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbDataRec* rec);

/* ---- deletion log --------------------------------------------------------------------------------------------- */

/* The number of logged deletions, 0 to 65535.  1 not open
 * With 65535 entries the log is full: a deletion that would be logged answers 1 and the record stays in the table. */
MDB_API MDbStatus MDbDeleteTblGetRecCount(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, uint32_t* count);
/* Opens a logged record by its identifier, or at position when oid is null. All reads of records work on it.
 * A position has 16 bits with a sign: entries from the 32769th on can be opened by their identifiers only.
 * 1  table not open, rec open already, or no such entry */
MDB_API MDbStatus MDbDeleteTblOpenRec(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbDataRec* rec, int16_t position,
                                      const uint32_t* oid);

/* ---- records: reading -----------------------------------------------------------------------------------------
 * A record is read where its table stands, and opening it put the table there. Adding a record through the same table,
 * or opening another one, moves the table: reads of the first answer 1 then, and sizes are the other record's. Field
 * pointers taken before stay right. Close the record and open it again. */

/* Puts a record handle into its reset state. Required once before it is opened. */
MDB_API void MDbDataRecInitialize(MDbDataRec* rec);
/* 1 while rec is open, else 0. */
MDB_API uint8_t MDbDataRecIsOpened(const MDbDataRec* rec);
/* Points *text at a field's text inside the record, valid until the record is closed. The first call loads all fields.
 * A field that does not exist: 0 and *text as it was.  1 table or rec not open, or the record cannot be loaded */
MDB_API MDbStatus MDbDataRecGetFieldPtr(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema,
                                        MDbDataRec* rec, int16_t field, const MDbChar** text);
/* Copies a field's text. A field that the record lacks: 0 and text as it was.  1 table or rec not open, or the record
 * cannot be read. Once MDbDataRecGetFieldPtr has loaded rec, this call and MDbDataRecGetFieldSize answer from what was
 * loaded, as it was then, without a look at the table; a field that is not there is looked for as before. */
MDB_API MDbStatus MDbDataRecReadField(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbDataRec* rec, int16_t field,
                                      MDbChar* text, uint32_t size);
/* The size in bytes of a field's text; 2 for an empty one, 0 for one that the record lacks.  1 as above */
MDB_API MDbStatus MDbDataRecGetFieldSize(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbDataRec* rec, int16_t field,
                                         uint32_t* size);
/* The record's state, RecState... bits.  1 table or rec not open, or the read failed */
MDB_API MDbStatus MDbDataRecGetState(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbDataRec* rec, uint8_t* state);
/* The record's info block.  1 as above */
MDB_API MDbStatus MDbDataRecGetRecInfo(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbDataRec* rec, MDbRecInfo* info);

/* ---- record sets ----------------------------------------------------------------------------------------------
 * A record set walks the records of the environment's database in an order and, if it likes, through a filter. It is
 * made valid by MDbAgentQuery. In direct mode it reads the data table in the table's order; in view mode (after a query
 * with criteria, or any sort) it owns a scratch database inside the file. One record set per open database can be in
 * view mode. Every call below returns 1 while the record set is not valid, unless it says otherwise. */

/* Puts a record set into its reset state. Required once before MDbAgentQuery. */
MDB_API void MDbRecsetInitialize(MDbRecset* recset);
/* Closes the open record, deletes the view, frees what the record set holds, and resets it; the criteria stay in place
 * unused. Returns the first failure and goes on with the rest. 0 when the record set is not valid. */
MDB_API MDbStatus MDbRecsetDestroy(MDbEnv* env, MDbRecset* recset);

MDB_API MDbStatus MDbRecsetGetRecCount(MDbEnv* env, MDbRecset* recset, uint32_t* count);
/* The cursor, 0xFFFF for none. Setting it checks no range: MDbRecsetOpenRec does. */
MDB_API MDbStatus MDbRecsetGetInx(MDbEnv* env, MDbRecset* recset, uint16_t* index);
MDB_API MDbStatus MDbRecsetSetInx(MDbEnv* env, MDbRecset* recset, int16_t index);
/* Opens the record at the cursor.  1 a record is open already, or no record there */
MDB_API MDbStatus MDbRecsetOpenRec(MDbEnv* env, MDbRecset* recset);
/* 1  no record is open */
MDB_API MDbStatus MDbRecsetCloseRec(MDbEnv* env, MDbRecset* recset);

/* *filtered is 1 when the record set has criteria. */
MDB_API MDbStatus MDbRecsetIsFiltered(MDbEnv* env, MDbRecset* recset, uint8_t* filtered);
/* *dirty is 1 when the record set has criteria and records were added through it since they were applied. */
MDB_API MDbStatus MDbRecsetIsFilteredDirty(MDbEnv* env, MDbRecset* recset, uint8_t* dirty);
/* The last successful sort. Works on a record set that is not valid.  1 recset is null */
MDB_API MDbStatus MDbRecsetGetSortDef(MDbEnv* env, MDbRecset* recset, MDbSortDef* sort);

/* Sorts on one field. mode: MDbSortDescending, MDbSortToggle (the other direction when the field is the one last sorted
 * on, else ascending), anything else ascending. Text sorts in the platform's order, case counting; numbers, dates and
 * times by value, texts without one first. The criteria and the records kept in view stay; the cursor is -1 afterwards
 * and the data table is back in creation order.
 * 9  field is negative or greater than the field count;  1 a step failed. After a failure past the range check the
 *    record set is destroyed. */
MDB_API MDbStatus MDbRecsetSort(MDbEnv* env, MDbRecset* recset, int16_t field, uint32_t mode);

/* The schema, through the record set. */
MDB_API MDbStatus MDbRecsetGetFldCount(MDbEnv* env, MDbRecset* recset, uint16_t* count);
MDB_API MDbStatus MDbRecsetGetFldType(MDbEnv* env, MDbRecset* recset, int16_t field, uint8_t* type);
MDB_API MDbStatus MDbRecsetGetFldNameSize(MDbEnv* env, MDbRecset* recset, int16_t field, uint32_t* size);
MDB_API MDbStatus MDbRecsetGetFldName(MDbEnv* env, MDbRecset* recset, int16_t field, MDbChar* name, uint32_t size);
/* The largest value that an application should store: 2049 for text with up to 20 fields, 1537 with up to 30, else
 * 1025; 256 for numbers, dates and times. The library itself does not enforce it.  1 any other type: *size is 0 */
MDB_API MDbStatus MDbRecsetGetFieldMaxSize(MDbEnv* env, MDbRecset* recset, int16_t field, uint32_t* size);

/* Fields of the open record: as MDbDataRecGetFieldPtr, MDbDataRecReadField and MDbDataRecGetFieldSize. */
MDB_API MDbStatus MDbRecsetGetFieldPtr(MDbEnv* env, MDbRecset* recset, int16_t field, const MDbChar** text);
MDB_API MDbStatus MDbRecsetGetField(MDbEnv* env, MDbRecset* recset, int16_t field, MDbChar* text, uint32_t size);
MDB_API MDbStatus MDbRecsetGetFieldSize(MDbEnv* env, MDbRecset* recset, int16_t field, uint32_t* size);
/* Writes a field of the open record and sets its touched bit. In a filtered view, writing the filtered field keeps the
 * record in view.  1 no record open, the write failed, or (written all the same) memory ran out */
MDB_API MDbStatus MDbRecsetSetField(MDbEnv* env, MDbRecset* recset, int16_t field, const MDbChar* text);

/* Adds an empty record; *index receives its index in the record set.
 * 8  5000 records;  1 a step failed; *index is written when only memory for keeping it in view was missing */
MDB_API MDbStatus MDbRecsetNewRec(MDbEnv* env, MDbRecset* recset, uint16_t* index);
/* Adds a copy of the record at source; *index receives the copy's index. The cursor is as before.  Statuses as above;
 * 1 also when a record is open, or none is at source */
MDB_API MDbStatus MDBRecsetDupRec(MDbEnv* env, MDbRecset* recset, int16_t source, uint16_t* index);
/* Deletes the record at index; noLog non-zero: without a log entry. The cursor is -1 afterwards.
 * 1  a record is open, none is at index, or a step failed */
MDB_API MDbStatus MDbRecsetDelRec(MDbEnv* env, MDbRecset* recset, int16_t index, uint32_t noLog);
/* Deletes every record of the record set, one by one; in direct mode with noLog all at once. The cursor is -1
 * afterwards.
 * 1  a record is open, or a step failed: the records before it are gone */
MDB_API MDbStatus MDbRecsetDelAllRec(MDbEnv* env, MDbRecset* recset, uint8_t noLog);

/* Field options, as the calls of the field option table. */
MDB_API MDbStatus MDbRecsetGetFldOption(MDbEnv* env, MDbRecset* recset, int16_t field, MDbFldOption* option);
MDB_API MDbStatus MDbRecsetGetFldOptionEx(MDbEnv* env, MDbRecset* recset, int16_t field, MDbFldOptionEx* option);
MDB_API MDbStatus MDbRecsetSetFldOption(MDbEnv* env, MDbRecset* recset, int16_t field, const MDbFldOption* option);
MDB_API MDbStatus MDbRecsetSetFldOptionEx(MDbEnv* env, MDbRecset* recset, int16_t field, const MDbFldOptionEx* option);
MDB_API MDbStatus MDbRecsetGetDefOptionEx(MDbEnv* env, MDbRecset* recset, MDbFldOptionEx* option, uint8_t order);
MDB_API MDbStatus MDbRecsetGetDisplayOrders(MDbEnv* env, MDbRecset* recset, uint16_t* orders, int16_t count);
/* orders has one entry per field.  The first failure ends it; the fields before it are changed */
MDB_API MDbStatus MDbRecsetSetDisplayOrders(MDbEnv* env, MDbRecset* recset, const uint16_t* orders);

/* ---- dates and times under the database's formats: environment only, no record set ----------------------------- */

/* Reads a date text.
 * base1900  non-zero: a year of one or two digits is 1900 + it; 0: it falls into the century around the current year
 * format    may be null; receives the database's date format
 * 2  not open, or the date's status is MDbDateBlank or more (the record is filled then);  1 no attributes */
MDB_API MDbStatus MDbRecsetDateStrToDateRec(MDbEnv* env, const MDbChar* text, DateRec* date, uint32_t base1900,
                                            DateFormat* format);
/* Writes a date as text, at most 11 characters with the terminator.  1 not open, or no attributes */
MDB_API MDbStatus MDbRecsetDRecToDateStr(MDbEnv* env, const DateRec* date, MDbChar* text);
/* Reads a time text.
 * normalize  non-zero: 1:75 becomes 2:15 and 7 PM becomes 19; 0: the numbers as typed
 * format     may be null; receives the database's time format
 * digits     may be null; three buffers of 256 characters in a row that receive the digits typed
 * 3  not open, or the time's state is MDbTimeEmpty or more (the record is filled then);  1 no attributes */
MDB_API MDbStatus MDbRecsetTimeStrToTRec(MDbEnv* env, const MDbChar* text, TimeRec* time, uint32_t normalize,
                                         TimeFormat* format, uint16_t* digits);
/* Writes a time as text, at most 24 characters with the terminator.  1 not open, or no attributes */
MDB_API MDbStatus MDbRecsetTRecToTimeStr(MDbEnv* env, const TimeRec* time, MDbChar* text);

#ifdef __cplusplus
}
#endif

#endif
