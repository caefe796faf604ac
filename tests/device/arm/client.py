"""A client of the library that writes down everything it is answered. It knows the public records by the offsets that
the interface promises, so that it talks with the library for either processor.

What it writes down holds no address, no identifier of a store's and no size of a record that holds pointers: two
libraries that behave alike give the same notes."""

import struct

_REF_SIZE = 96
_AGENT_REF, _DATA_TABLE, _SCHEMA_TABLE = 4, 100, 128
_FILL = 0xEE


class Client:
    def __init__(self, library):
        self.library = library
        self.notes = []
        self.env = self.room(512)
        self.recset = self.room(256)

    # ---- memory

    def room(self, size):
        return self.library.reserve(size, _FILL)

    def bytes_of(self, data):
        address = self.library.reserve(max(len(data), 1))
        self.library.write(address, data)
        return address

    def text(self, text):
        return self.bytes_of(text.encode("utf-16-le", "surrogatepass") + b"\0\0")

    def texts(self, texts):
        form = "<Q" if self.library.pointer_size == 8 else "<I"
        return self.bytes_of(b"".join(struct.pack(form, self.text(text)) for text in texts))

    def pointer_at(self, address):
        return int.from_bytes(self.library.read(address, self.library.pointer_size), "little")

    # ---- calls

    def call(self, name, *values):
        result = self.library.call(name, *values)
        self.notes.append((name, result))
        return result

    def bytes_from(self, name, size, *values, unused=()):
        """A call whose one None stands for a record of so many bytes that it fills. unused: the bytes between its fields,
        which may hold anything and are noted as 0."""
        place = self.room(size)
        self.call(name, *(place if value is None else value for value in values))
        data = bytes(0 if i in unused else byte for i, byte in enumerate(self.library.read(place, size)))
        self.notes.append((name, "gives", data.hex()))
        return data

    def number_from(self, name, size, *values):
        return int.from_bytes(self.bytes_from(name, size, *values), "little")

    # ---- the environment and its parts

    @property
    def ref(self):
        return self.env + _AGENT_REF

    @property
    def data_table(self):
        return self.env + _DATA_TABLE

    @property
    def schema_table(self):
        return self.env + _SCHEMA_TABLE

    def start(self):
        self.call("MDbEnvInitialize", self.env)
        self.call("MDbInit", self.env, self.bytes_of(b"\0"), 0)

    def stop(self):
        self.call("MDbShutdown", self.env, 0, 0)

    def reference(self):
        """A database file's handle record of the client's own, in its reset state."""
        return self.bytes_of(bytes(4) + "OBJG_0".encode("utf-16-le") + bytes(_REF_SIZE - 16))

    def make(self, path, types, attributes=bytes(78), name="", lists=()):
        """A database of these fields, whose mark says that it is whole."""
        env, ref = self.env, self.reference()
        self.call("MDbCreate", env, self.text(path), ref)
        definitions = b"".join(bytes([kind]) + bytes(range(17)) for kind in types)
        names = [f"Field {i}" for i in range(len(types))]
        self.call("MDbSchemaTblCreateEx", env, ref, self.bytes_of(definitions), self.texts(names), len(types))
        self.call("MDbAttrTblCreateEx", env, ref, self.bytes_of(attributes), self.text(name))
        options = b"".join(bytes(range(i, i + 15)) for i in range(len(types)))
        self.call("MDbFieldOpTblCreateEx", env, ref, self.bytes_of(options), len(types))
        self.call("MDbValListTblCreateEx", env, ref, self.texts(lists), len(lists))
        self.call("MDbDataTblCreate", env, ref, 0)
        self.call("MDbWriteChecksome", env, ref, 1)
        self.call("MDbVerifyChecksome", env, ref)
        self.call("MDbRefIsOpened", ref)
        self.call("MDbClose", env, ref)
        self.call("MDbRefIsOpened", ref)

    def add(self, texts):
        info = self.bytes_of(bytes(range(10)))
        place = self.room(2)
        values = (self.env, self.ref, self.data_table, info, self.texts(texts), len(texts), 0, 0, place)
        self.call("MDbDataTblAddRec", *values)
        self.notes.append(("position", self.library.read(place, 2).hex()))

    # ---- record sets

    def query(self, criteria=None):
        """criteria: field, mode and text."""
        self.call("MDbRecsetInitialize", self.recset)
        asked = 0
        if criteria is not None:
            padding = bytes(self.library.pointer_size - 4)
            text = self.text(criteria[2]).to_bytes(self.library.pointer_size, "little")
            asked = self.bytes_of(struct.pack("<hh", *criteria[:2]) + padding + text)
        self.call("MDbAgentQuery", self.env, self.recset, asked)

    def contents(self, fields):
        """Every record of the set, in its order, as the texts of its fields."""
        rows = []
        count = self.number_from("MDbRecsetGetRecCount", 4, self.env, self.recset, None)
        for position in range(count):
            self.call("MDbRecsetSetInx", self.env, self.recset, position)
            self.call("MDbRecsetOpenRec", self.env, self.recset)
            rows.append(tuple(self.field(field) for field in range(fields)))
            self.call("MDbRecsetCloseRec", self.env, self.recset)
        self.notes.append(("contents", rows))
        return rows

    def field(self, field):
        size = self.number_from("MDbRecsetGetFieldSize", 4, self.env, self.recset, field, None)
        place = self.room(size + 4)
        self.call("MDbRecsetGetField", self.env, self.recset, field, place, size)
        copied = self.library.text(place)
        pointer = self.room(8)
        self.call("MDbRecsetGetFieldPtr", self.env, self.recset, field, pointer)
        self.notes.append(("text in place", self.library.text(self.pointer_at(pointer))))
        return copied
