"""Databases and words for the ARM library: its calls, passed on to the object store and the word breaker for this
machine. Handles and identifiers are the same numbers on both sides; what holds pointers is taken over piece by piece.

A property has 16 bytes there: identifier, two words, and a value of 8. Here a value has 16."""

import ctypes
import struct

_TEXT, _BLOB = 31, 65
_NOT_FOUND = 0x0100
_INSUFFICIENT_BUFFER = 122
_SEEK_BY_VALUE = 0x10 | 0x20 | 0x40 | 0x80
_THEIR_PROPERTY = 16


class _Blob(ctypes.Structure):
    _fields_ = [("count", ctypes.c_uint32), ("bytes", ctypes.c_void_p)]


class _Value(ctypes.Union):
    _fields_ = [("plain", ctypes.c_uint8 * 8), ("text", ctypes.c_void_p), ("blob", _Blob)]


class _Property(ctypes.Structure):
    _fields_ = [("id", ctypes.c_uint32), ("length", ctypes.c_uint16), ("flags", ctypes.c_uint16), ("value", _Value)]


class HostStore:
    def __init__(self, objectstore, wordbreaker):
        self._store = ctypes.CDLL(objectstore)
        self._words = ctypes.CDLL(wordbreaker)
        for name in ("FWOpenSession", "FWFindWord", "FWCloseSession"):
            getattr(self._words, name).restype = ctypes.c_uint16

    def set_last_error(self, error):
        self._store.SetLastError(error)

    def GetLastError(self, machine, argument):
        return self._store.GetLastError() & 0xFFFFFFFF

    @staticmethod
    def _text(machine, address):
        if address == 0:
            return None
        return ctypes.create_string_buffer(machine.text(address).encode("utf-16-le", "surrogatepass") + b"\0\0")

    @staticmethod
    def _bytes(machine, address, size):
        return None if address == 0 else ctypes.create_string_buffer(machine.read(address, size), size)

    # ---- volumes and databases, whose records are the same on both sides

    def CeMountDBVol(self, machine, argument):
        guid = self._bytes(machine, argument(0), 16)
        result = self._store.CeMountDBVol(guid, self._text(machine, argument(1)), ctypes.c_uint32(argument(2)))
        machine.write(argument(0), guid.raw)
        return result

    def _of_volume(self, call, machine, argument):
        return getattr(self._store, call)(self._bytes(machine, argument(0), 16))

    def CeUnmountDBVol(self, machine, argument):
        return self._of_volume("CeUnmountDBVol", machine, argument)

    def CeFlushDBVol(self, machine, argument):
        return self._of_volume("CeFlushDBVol", machine, argument)

    def CeCreateDatabaseEx(self, machine, argument):
        return self._store.CeCreateDatabaseEx(
            self._bytes(machine, argument(0), 16), self._bytes(machine, argument(1), 120)
        )

    def CeSetDatabaseInfoEx(self, machine, argument):
        return self._store.CeSetDatabaseInfoEx(
            self._bytes(machine, argument(0), 16), ctypes.c_uint32(argument(1)), self._bytes(machine, argument(2), 120)
        )

    def CeDeleteDatabaseEx(self, machine, argument):
        return self._store.CeDeleteDatabaseEx(self._bytes(machine, argument(0), 16), ctypes.c_uint32(argument(1)))

    def CeOidGetInfoEx(self, machine, argument):
        info = self._bytes(machine, argument(2), 544)
        result = self._store.CeOidGetInfoEx(
            self._bytes(machine, argument(0), 16), ctypes.c_uint32(argument(1)), info
        )
        machine.write(argument(2), info.raw)
        return result

    def CeOpenDatabaseEx(self, machine, argument):
        oid = self._bytes(machine, argument(1), 4)
        result = self._store.CeOpenDatabaseEx(
            self._bytes(machine, argument(0), 16),
            oid,
            self._text(machine, argument(2)),
            ctypes.c_uint32(argument(3)),
            ctypes.c_uint32(argument(4)),
            None,
        )
        machine.write(argument(1), oid.raw)
        return result

    def CeFindFirstDatabaseEx(self, machine, argument):
        return self._store.CeFindFirstDatabaseEx(self._bytes(machine, argument(0), 16), ctypes.c_uint32(argument(1)))

    def CeFindNextDatabaseEx(self, machine, argument):
        guid = self._bytes(machine, argument(1), 16)
        result = self._store.CeFindNextDatabaseEx(ctypes.c_uint32(argument(0)), guid)
        if guid is not None:
            machine.write(argument(1), guid.raw)
        return result

    def CloseHandle(self, machine, argument):
        return self._store.CloseHandle(ctypes.c_uint32(argument(0)))

    # ---- records

    def _ours(self, machine, address, keep):
        """One property of theirs; what it points to is appended to keep."""
        ours = _Property()
        ours.id, ours.length, ours.flags = struct.unpack("<IHH", machine.read(address, 8))
        kind = ours.id & 0xFFFF
        if kind == _TEXT:
            pointed = self._text(machine, machine.u32(address + 8))
            ours.value.text = ctypes.addressof(pointed) if pointed else None
        elif kind == _BLOB:
            ours.value.blob.count = machine.u32(address + 8)
            pointed = self._bytes(machine, machine.u32(address + 12), ours.value.blob.count)
            ours.value.blob.bytes = ctypes.addressof(pointed) if pointed else None
        else:
            pointed = None
            ours.value.plain[:] = machine.read(address + 8, 8)
        keep.append(pointed)
        return ours

    def CeSeekDatabase(self, machine, argument):
        keep = []
        value = ctypes.c_uint64(argument(2))
        if argument(1) & _SEEK_BY_VALUE:
            wanted = self._ours(machine, argument(2), keep)
            value = ctypes.byref(wanted)
        index = ctypes.c_uint32(machine.u32(argument(3))) if argument(3) else None
        result = self._store.CeSeekDatabase(
            ctypes.c_uint32(argument(0)),
            ctypes.c_uint32(argument(1)),
            value,
            ctypes.byref(index) if index is not None else None,
        )
        if index is not None:
            machine.write(argument(3), struct.pack("<I", index.value))
        return result

    def CeWriteRecordProps(self, machine, argument):
        keep = []
        count = argument(2) & 0xFFFF
        properties = (_Property * count)()
        for i in range(count):
            properties[i] = self._ours(machine, argument(3) + _THEIR_PROPERTY * i, keep)
        return self._store.CeWriteRecordProps(
            ctypes.c_uint32(argument(0)), ctypes.c_uint32(argument(1)), ctypes.c_uint16(count), properties
        )

    def CeDeleteRecord(self, machine, argument):
        return self._store.CeDeleteRecord(ctypes.c_uint32(argument(0)), ctypes.c_uint32(argument(1)))

    def _read(self, database, ids, buffer, size):
        found = ctypes.c_uint16(len(ids))
        return 0xFFFFFFFF & self._store.CeReadRecordPropsEx(
            ctypes.c_uint32(database), 0, ctypes.byref(found), ids, ctypes.byref(buffer), ctypes.byref(size), 0
        )

    def CeReadRecordPropsEx(self, machine, argument):
        count = machine.u16(argument(2))
        if argument(1) != 0 or argument(6) != 0 or argument(3) == 0:
            raise ValueError("a read that the store's stand-in does not know")
        ids = (ctypes.c_uint32 * count)(*struct.unpack(f"<{count}I", machine.read(argument(3), 4 * count)))
        size = ctypes.c_uint32(0)
        oid = self._read(argument(0), ids, ctypes.c_void_p(None), size)
        if oid != 0 or self.GetLastError(None, None) != _INSUFFICIENT_BUFFER:
            return oid
        needed = size.value - (ctypes.sizeof(_Property) - _THEIR_PROPERTY) * count
        buffer, room = machine.u32(argument(4)), machine.u32(argument(5))
        machine.write(argument(5), struct.pack("<I", needed))
        if buffer == 0 or room < needed:
            return 0
        memory = ctypes.create_string_buffer(size.value)
        oid = self._read(argument(0), ids, ctypes.c_void_p(ctypes.addressof(memory)), size)
        if oid == 0:
            return 0
        properties = (_Property * count).from_buffer(memory)
        # Texts and bytes stand behind the properties, as they do here.
        start = ctypes.addressof(memory) + ctypes.sizeof(properties)
        rest = buffer + _THEIR_PROPERTY * count
        machine.write(rest, ctypes.string_at(start, needed - _THEIR_PROPERTY * count))
        for i, one in enumerate(properties):
            value = bytes(one.value.plain)
            kind = 0 if one.flags & _NOT_FOUND else one.id & 0xFFFF
            if kind == _TEXT:
                value = struct.pack("<II", rest + one.value.text - start, 0)
            elif kind == _BLOB:
                place = rest + one.value.blob.bytes - start if one.value.blob.count else 0
                value = struct.pack("<II", one.value.blob.count, place)
            header = struct.pack("<IHH", one.id, one.length, one.flags)
            machine.write(buffer + _THEIR_PROPERTY * i, header + value)
        machine.write(argument(2), struct.pack("<H", count))
        return oid

    # ---- words

    def XKRWbrInit(self, machine, argument):
        locale = None
        if argument(1):
            locale = machine.read(argument(1), 16).split(b"\0")[0]
        return self._words.XKRWbrInit(argument(0), locale, ctypes.c_uint32(argument(2)))

    def XKRWbrShutdown(self, machine, argument):
        return self._words.XKRWbrShutdown(*(ctypes.c_uint32(argument(i)) for i in range(3)))

    def FWOpenSession(self, machine, argument):
        session = ctypes.c_uint32(0)
        result = self._words.FWOpenSession(self._text(machine, argument(0)), ctypes.byref(session))
        machine.write(argument(1), struct.pack("<I", session.value))
        return result

    def FWFindWord(self, machine, argument):
        return self._words.FWFindWord(ctypes.c_uint32(argument(0)), self._text(machine, argument(1)))

    def FWCloseSession(self, machine, argument):
        return self._words.FWCloseSession(ctypes.c_uint32(argument(0)))
