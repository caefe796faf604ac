"""What a client and a library say to each other, from the start to the end of a database's life. Each conversation takes
a client and a folder that is its own; together they make the calls that a client makes."""

import os
import struct

TEXT, NUMBER, DATE, TIME = 1, 2, 3, 4
BY_VALUE, BY_WORDS = 0, 1
ASCENDING, DESCENDING, TOGGLE = 0, 1, 2

_DATES = (
    "2/29/2024", "2/29/2023", "2/29/1900", "2/29/2000", "12/31/1999", "31.12.1999", "1999-12-31", "1/2/3", "1/2/03",
    "1/2/49", "1/2/51", "1/2/99", "5/17", "17", "", "   ", "0/0/0", "0/1/2000", "13/1/2000", "1/32/2000", "1/1/3000",
    "1/1/3001", "1/1/32768", "1/1/65537", "1/1/4294967297", "99999999999/1/1", "1/2/3/4", "x", "1/x/2000", "-1/2/2000",
    " 1 / 2 / 2000 ", "07/08/2009x",
)  # fmt: skip

_TIMES = (
    "7:05", "7:05:09", "7:75", "1:99:99", "0", "23:59:59", "24:00", "25:61:61", "-7:05", "-0:00:01", "7 AM", "7 PM",
    "12 AM", "12:30 PM", "13 PM", "7:05h", "", "   ", "x", "7:x", "32767:59:59", "32768", "-32768", "99999999999",
    "1:2:3:4", ":", "7:", ":7", "7.05", "600:00", "-600:75",
)  # fmt: skip


def date_format(separator, order, month_zero=0, day_zero=0, own=0):
    return struct.pack("<H4B", ord(separator), order, month_zero, day_zero, own)


def time_format(separator, hour_zero=0, twelve=0):
    suffixes = b"".join(text.encode("utf-16-le").ljust(12, b"\0") for text in (" AM", " PM", "h"))
    return struct.pack("<H", ord(separator)) + suffixes + bytes(8) + bytes([hour_zero, twelve])


def attributes(dates, times):
    return bytes(range(8)) + struct.pack("<4I", 10, 20, 30, 0x89ABCDEF) + dates + times


def plain_records(client, folder):
    """Calls that need no database, and what they refuse."""
    client.call("MDbEnvInitialize", client.env)
    client.call("MDbInit", client.env, 0, 0)
    client.call("MDbInit", client.env, 0, 0)
    client.call("MDbInit", 0, 0, 0)
    client.call("MDbIsOpened", client.env, client.ref)
    client.call("MDbAgentInit")
    client.call("MDbAgentCloseDb", client.env)
    client.call("MDbAgentShutdown")
    client.call("MDbAgentOpenDb", client.env, client.text(os.path.join(folder, "missing.xdb")))
    client.call("MDbClose", client.env, client.ref)
    client.stop()
    client.stop()
    client.bytes_from("MDbVolFSpecInitialize", 2, None)
    client.call("MDbRecsetInitialize", client.recset)
    record = client.room(64)
    client.call("MDbDataRecInitialize", record)
    client.call("MDbDataRecIsOpened", record)


def default_options(client, folder):
    """The share of a row that a field of so many gets: a division each."""
    for count in (*range(1, 40), 224, 225, 226, 450, 5000, 32767):
        client.bytes_from("MDbFieldOpTblGetDefOptionEx", 9, None, count & 0xFF, count)


def files(client, folder):
    """Folders and listings."""
    inner = os.path.join(folder, "inner")
    client.call("MDbCreateDirectory", client.text(inner))
    client.call("MDbCreateDirectory", client.text(inner))
    client.start()
    for name in ("b.xdb", "a.xdb", "c.txt"):
        client.make(os.path.join(inner, name), [TEXT])
    handle, name = client.room(4), client.room(32)
    for pattern in ("*.xdb", "*.none"):
        client.call("MDbFindFirstFile", handle, client.text(os.path.join(inner, pattern)), name, 32)
        client.notes.append(("found", client.library.text(name)))
    client.call("MDbFindFirstFile", handle, client.text(os.path.join(inner, "?.xdb")), name, 6)
    client.notes.append(("found and cut", client.library.text(name)))
    for _ in range(3):
        client.call("MDbFindNextFile", handle, name, 32)
        client.notes.append(("found", client.library.text(name)))
    client.call("MDbFindFirstFile", handle, client.text(os.path.join(inner, "*")), name, 32)
    client.call("MDbFindClose", handle)
    client.call("MDbDelete", client.env, client.text(os.path.join(inner, "a.xdb")))
    client.call("MDbDelete", client.env, client.text(os.path.join(inner, "a.xdb")))
    client.stop()


def _texts_of_dates(client, record):
    if struct.unpack_from("<i", record, 8)[0] < 2:
        client.bytes_from("MDbRecsetDRecToDateStr", 22, client.env, client.bytes_of(record), None)


def dates(client, folder):
    """Every text under every order of the parts, both ways."""
    client.start()
    for order in range(6):
        form = date_format("/-."[order % 3], order, order & 1, order >> 1 & 1, order % 2)
        path = os.path.join(folder, f"order{order}.xdb")
        client.make(path, [DATE], attributes(form, time_format(":")))
        client.call("MDbAgentOpenDb", client.env, client.text(path))
        for text in _DATES:
            for base1900 in (0, 1):
                form = client.room(6)
                values = (client.env, client.text(text), None, base1900, form)
                record = client.bytes_from("MDbRecsetDateStrToDateRec", 20, *values, unused=(6, 7))
                client.notes.append((text, client.library.read(form, 6).hex()))
                _texts_of_dates(client, record)
        client.call("MDbAgentCloseDb", client.env)
    client.stop()


def times(client, folder):
    """Every text under formats of twelve hours and of twenty-four, both ways."""
    client.start()
    for twelve in (0, 1):
        path = os.path.join(folder, f"hours{twelve}.xdb")
        form = time_format(":", 1 - twelve, twelve)
        client.make(path, [TIME], attributes(date_format("/", 0), form))
        client.call("MDbAgentOpenDb", client.env, client.text(path))
        for text in _TIMES:
            for normalize in (0, 1):
                form, digits = client.room(48), client.bytes_of(bytes(3 * 512))
                values = (client.env, client.text(text), None, normalize, form, digits)
                record = client.bytes_from("MDbRecsetTimeStrToTRec", 16, *values, unused=(6, 7))
                client.notes.append((text, client.library.read(form, 48).hex()))
                if struct.unpack_from("<i", record, 8)[0] < 3:
                    for i in range(3):
                        client.notes.append(("digits", client.library.text(digits + 512 * i)))
                    client.bytes_from("MDbRecsetTRecToTimeStr", 48, client.env, client.bytes_of(record), None)
        client.call("MDbAgentCloseDb", client.env)
    client.stop()


_BOOKS = (
    ("Oak and Ash", "212", "5/17/1998", "7:05"),
    ("A Walk by the Sea", "98", "1/2/2001", "-1:30"),
    ("Sea Birds", "340", "11/30/1987", "12:00 PM"),
    ("", "", "", ""),
    ("élan", "-7", "2/29/2000", "25:61"),
    ("Elan", "1,000", "2/30/2000", "x"),
    ("oak", "99999999999", "1/2/2001", "0"),
)
_KINDS = [TEXT, NUMBER, DATE, TIME]


def _library_of_books(client, folder):
    path = os.path.join(folder, "books.xdb")
    form = attributes(date_format("/", 0), time_format(":", 0, 1))
    client.start()
    client.make(path, _KINDS, form, "Books of the house", ["paper\nebook", "", "a" * 300])
    client.call("MDbAgentOpenDb", client.env, client.text(path))
    client.call("MDbIsOpened", client.env, client.ref)
    for book in _BOOKS:
        client.add(book)


def catalogue(client, folder):
    """Fields, settings, options and lists, read and changed."""
    _library_of_books(client, folder)
    env, ref, schema = client.env, client.ref, client.schema_table
    client.number_from("MDbSchemaTblGetCount", 2, env, ref, schema, None)
    client.call("MDbSchemaTblIsOpened", env, ref, schema)
    for field in (0, 3, 4, -1):
        client.bytes_from("MDbSchemaTblReadFldInfo", 18, env, ref, schema, field, None)
        client.bytes_from("MDbSchemaTblReadFldType", 1, env, ref, schema, field, None)
        client.bytes_from("MDbSchemaTblGetNameSize", 4, env, ref, schema, field, None)
        client.bytes_from("MDbSchemaTblReadFldName", 16, env, ref, schema, field, None, 16)
        client.bytes_from("MDbSchemaTblRead", 18, env, ref, schema, field, None, client.room(8), 8)
    for setting in range(5):
        client.bytes_from("MDbAgentGetAttr", 4, env, setting, None)
        client.call("MDbAgentSetAttr", env, setting, 0xFEDC0000 + setting)
        client.bytes_from("MDbAgentGetAttr", 4, env, setting, None)
    client.bytes_from("MDbAgentGetDbName", 40, env, None, 40)
    client.bytes_from("MDbAgentGetDbName", 10, env, None, 10)
    for index in range(4):
        client.bytes_from("MDbAgentGetValListSize", 4, env, index, None)
        client.bytes_from("MDbAgentGetValList", 24, env, index, None, 24)
    client.query()
    for field in (0, 3, 4, -1):
        option = client.bytes_from("MDbRecsetGetFldOption", 6, env, client.recset, field, None)
        wide = client.bytes_from("MDbRecsetGetFldOptionEx", 9, env, client.recset, field, None)
        client.call("MDbRecsetSetFldOption", env, client.recset, field, client.bytes_of(option[::-1]))
        client.call("MDbRecsetSetFldOptionEx", env, client.recset, field, client.bytes_of(wide[::-1]))
        client.bytes_from("MDbRecsetGetFldOption", 6, env, client.recset, field, None)
        client.bytes_from("MDbRecsetGetFldOptionEx", 9, env, client.recset, field, None)
        client.bytes_from("MDbRecsetGetFldType", 1, env, client.recset, field, None)
        client.bytes_from("MDbRecsetGetFldNameSize", 4, env, client.recset, field, None)
    client.bytes_from("MDbRecsetGetDefOptionEx", 9, env, client.recset, None, 3)
    client.bytes_from("MDbRecsetGetDisplayOrders", 8, env, client.recset, None, 4)
    client.call("MDbRecsetSetDisplayOrders", env, client.recset, client.bytes_of(struct.pack("<4H", 3, 1, 0, 2)))
    client.bytes_from("MDbRecsetGetDisplayOrders", 8, env, client.recset, None, 4)
    client.call("MDbRecsetDestroy", env, client.recset)
    client.call("MDbAgentCloseDb", env)
    client.stop()


def searches(client, folder):
    """Queries by words and by value, and every sort."""
    _library_of_books(client, folder)
    asked = [None, (0, BY_WORDS, "sea"), (0, BY_WORDS, "ELAN"), (0, BY_WORDS, ""), (1, BY_WORDS, "212")]
    asked += [(1, BY_VALUE, "98"), (1, BY_VALUE, "1000"), (2, BY_VALUE, "1/2/2001"), (3, BY_VALUE, "26:01")]
    asked += [(2, BY_VALUE, "none"), (0, BY_VALUE, "oak"), (3, BY_VALUE, "12 pm")]
    for criteria in asked:
        client.query(criteria)
        client.number_from("MDbRecsetIsFiltered", 1, client.env, client.recset, None)
        client.contents(1)
        for field in range(4) if criteria is None else (1,):
            for mode in (ASCENDING, DESCENDING, TOGGLE):
                client.call("MDbRecsetSort", client.env, client.recset, field, mode)
                client.bytes_from("MDbRecsetGetSortDef", 3, client.env, client.recset, None)
                client.contents(4)
        client.call("MDbRecsetDestroy", client.env, client.recset)
    client.call("MDbAgentCloseDb", client.env)
    client.stop()


def edits(client, folder):
    """Records made, changed, doubled and deleted, in a set that is sorted and filtered."""
    _library_of_books(client, folder)
    env, recset = client.env, client.recset
    client.query((0, BY_WORDS, "sea"))
    client.call("MDbRecsetSort", env, recset, 1, ASCENDING)
    position = client.number_from("MDbRecsetNewRec", 2, env, recset, None)
    client.call("MDbRecsetSetInx", env, recset, position)
    client.call("MDbRecsetOpenRec", env, recset)
    for field, text in enumerate(("Tides of the sea", "150", "3/4/2005", "1:02:03", "beyond")):
        client.call("MDbRecsetSetField", env, recset, field, client.text(text))
    client.call("MDbRecsetCloseRec", env, recset)
    client.number_from("MDbRecsetIsFilteredDirty", 1, env, recset, None)
    client.contents(4)
    client.number_from("MDBRecsetDupRec", 2, env, recset, 0, None)
    client.number_from("MDbRecsetGetInx", 2, env, recset, None)
    client.contents(4)
    client.call("MDbRecsetDelRec", env, recset, 1, 0)
    client.call("MDbRecsetDelRec", env, recset, 99, 0)
    client.contents(4)
    client.number_from("MDbRecsetGetFieldMaxSize", 4, env, recset, 0, None)
    client.call("MDbRecsetDestroy", env, recset)
    client.query()
    client.contents(4)
    client.call("MDbRecsetDelAllRec", env, recset, 0)
    client.contents(4)
    client.call("MDbRecsetDestroy", env, recset)
    client.number_from("MDbDataTblGetRecCount", 4, env, client.ref, client.data_table, None)
    client.number_from("MDbDeleteTblGetRecCount", 4, env, client.ref, client.data_table, None)
    client.call("MDbAgentCloseDb", env)
    client.stop()


def records(client, folder):
    """The data table and its records without a record set, and the log of deletions."""
    _library_of_books(client, folder)
    env, ref, table = client.env, client.ref, client.data_table
    client.call("StartCreationSeqCache", env, ref, table)
    client.number_from("MDbDataTblNewRec", 2, env, ref, table, client.schema_table, 0, None)
    client.call("EndCreationSeqCache", env, ref, table)
    record = client.room(64)
    for position in (0, 4, 7, 8):
        client.call("MDbDataRecInitialize", record)
        client.call("MDbDataTblCursSetInx", env, ref, table, position)
        client.number_from("MDbDataTblCursGetInx", 2, env, ref, table, None)
        client.call("MDbDataTblOpenRec", env, ref, table, record, 0)
        client.call("MDbDataRecIsOpened", record)
        client.number_from("MDbDataRecGetState", 1, env, ref, table, record, None)
        client.bytes_from("MDbDataRecGetRecInfo", 10, env, ref, table, record, None)
        for field in (0, 3, 4):
            client.number_from("MDbDataRecGetFieldSize", 4, env, ref, table, record, field, None)
            client.bytes_from("MDbDataRecReadField", 24, env, ref, table, record, field, None, 24)
        pointer = client.bytes_of(bytes(8))
        client.call("MDbDataRecGetFieldPtr", env, ref, table, client.schema_table, record, 1, pointer)
        if client.pointer_at(pointer):
            client.notes.append(("in place", client.library.text(client.pointer_at(pointer))))
        client.call("MDbDataTblCloseRec", env, ref, table, record)
    client.call("MDbDataTblIsOpened", env, ref, table)
    client.call("MDbAgentCloseDb", env)
    client.call("MDbDataTblIsOpened", env, ref, table)
    client.stop()


def tables(client, folder):
    """A database opened and taken apart table by table, with handles of the client's own."""
    path = os.path.join(folder, "tables.xdb")
    client.start()
    client.make(path, _KINDS, attributes(date_format("/", 0), time_format(":")), "Tables", ["one", "two"])
    env, ref = client.env, client.reference()
    client.call("MDbOpen", env, client.text(path), ref)
    _read_catalogue_tables(client, ref)
    data = client.bytes_of(struct.pack("<3Ii2II", 0, 0, 0, -1, 0, 0, 0xFFFFFFFF))
    client.call("MDbDataTblOpen", env, ref, data, 0)
    client.call("MDbDataTblOpen", env, ref, data, 0)
    schema = client.bytes_of(bytes(1))
    client.call("MDbSchemaTblOpen", env, ref, schema)
    for _ in range(3):
        client.call("MDbDataTblNewRec", env, ref, data, schema, 0, 0)
    client.call("MDbSchemaTblClose", env, ref, schema)
    client.call("MDbDataTblClose", env, ref, data)
    client.call("MDbDataTblClose", env, ref, data)
    for what in ("Data", "ValList", "FieldOp", "Attr", "Schema"):
        more = (client.bytes_of(b"\0\0"),) if what == "Data" else ()
        client.call(f"MDb{what}TblDelete", env, ref, *more)
        client.call(f"MDb{what}TblDelete", env, ref, *more)
    client.call("MDbClose", env, ref)
    client.call("MDbAgentOpenDb", env, client.text(path))
    client.stop()


def _read_catalogue_tables(client, ref):
    env = client.env
    settings, lists = client.bytes_of(bytes(1)), client.bytes_of(bytes(1))
    client.call("MDbAttrTblReadAttrs", env, ref, settings, 0, client.room(78))
    for handle, what in ((settings, "Attr"), (lists, "ValList")):
        client.call(f"MDb{what}TblIsOpened", env, ref, handle)
        client.call(f"MDb{what}TblOpen", env, ref, handle)
        client.call(f"MDb{what}TblIsOpened", env, ref, handle)
    client.bytes_from("MDbAttrTblReadAttrs", 78, env, ref, settings, 0, None)
    client.bytes_from("MDbAttrTblReadDbName", 20, env, ref, settings, 0, None, 20)
    client.bytes_from("MDbAttrTblReadDbName", 20, env, ref, settings, 1, None, 20)
    client.number_from("MDbValListTblGetCount", 2, env, ref, lists, None)
    for index in (0, 1, 2):
        client.number_from("MDbValListTblGetSize", 4, env, ref, lists, index, None)
        client.bytes_from("MDbValListTblRead", 12, env, ref, lists, index, None, 12)
    for cached in (0, 1):
        _read_options(client, ref, cached)
    client.call("MDbAttrTblClose", env, ref, settings)
    client.call("MDbValListTblClose", env, ref, lists)


def _read_options(client, ref, cached):
    env, table = client.env, client.bytes_of(bytes(24))
    client.call("MDbFieldOpTblOpen", env, ref, table, cached)
    client.call("MDbFieldOpTblIsOpened", env, ref, table)
    client.number_from("MDbFieldOpTblGetCount", 2, env, ref, table, None)
    for field in (3, 0, 4):
        client.bytes_from("MDbFieldOpTblReadOption", 6, env, ref, table, field, None)
        client.bytes_from("MDbFieldOpTblReadOptionEx", 9, env, ref, table, field, None)
        client.call("MDbFieldOpTblWriteOption", env, ref, table, field, client.bytes_of(bytes(range(60, 66))))
        client.call("MDbFieldOpTblWriteOptionEx", env, ref, table, field, client.bytes_of(bytes(range(70, 79))))
        client.bytes_from("MDbFieldOpTblReadOption", 6, env, ref, table, field, None)
        client.bytes_from("MDbFieldOpTblReadOptionEx", 9, env, ref, table, field, None)
    client.bytes_from("MDbFieldOpTblGetDisplayOrders", 12, env, ref, table, None, 6)
    client.call("MDbFieldOpTblClose", env, ref, table)
    client.call("MDbFieldOpTblIsOpened", env, ref, table)


def deletions(client, folder):
    """The log of deletions: records that the host knows, deleted, and read there."""
    _library_of_books(client, folder)
    env, ref, table = client.env, client.ref, client.data_table
    info = client.bytes_of(bytes(range(10)))
    texts = client.texts(["known", "1", "", ""])
    client.call("MDbDataTblAddRec", env, ref, table, info, texts, 4, 1, 0, 0)
    client.query()
    client.call("MDbRecsetDelRec", env, client.recset, 7, 0)
    client.call("MDbRecsetDelRec", env, client.recset, 0, 1)
    client.number_from("MDbRecsetGetFldCount", 2, env, client.recset, None)
    client.bytes_from("MDbRecsetGetFldName", 16, env, client.recset, 2, None, 16)
    client.call("MDbRecsetDestroy", env, client.recset)
    client.number_from("MDbDeleteTblGetRecCount", 4, env, ref, table, None)
    record = client.room(64)
    client.call("MDbDataRecInitialize", record)
    for position in (1, -1, 0):
        client.call("MDbDeleteTblOpenRec", env, ref, table, record, position, 0)
    client.number_from("MDbDataRecGetState", 1, env, ref, table, record, None)
    client.bytes_from("MDbDataRecGetRecInfo", 10, env, ref, table, record, None)
    client.call("MDbDataTblCloseRec", env, ref, table, record)
    client.call("MDbAgentCloseDb", env)
    client.stop()


ALL = (plain_records, default_options, files, dates, times, catalogue, searches, edits, records, tables, deletions)
