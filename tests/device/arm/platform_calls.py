"""What the ARM library takes from its system, answered here: heap, text, clock and files by this program, databases and
words by the libraries for this machine (host_store.py). Each answers as platform/*.h says.

A call gets the machine, and a function that reads its arguments by their position."""

import datetime
import fnmatch
import os
import re
import struct

from host_store import HostStore

_ZERO_INIT = 0x40
_FILE_NOT_FOUND, _PATH_NOT_FOUND, _INVALID_HANDLE, _NO_MORE_FILES, _ALREADY_EXISTS = 2, 3, 6, 18, 183
_NO_HANDLE = 0xFFFFFFFF


def _units(text):
    data = text.encode("utf-16-le", "surrogatepass")
    return struct.unpack(f"<{len(data) // 2}H", data)


def _folded(text):
    """Unit by unit, by the simple mapping."""
    lower = []
    for unit in _units(text):
        mapped = chr(unit).lower()
        lower.append(ord(mapped) if len(mapped) == 1 else unit)
    return lower


def _sign(a, b):
    return (a > b) - (a < b)


class PlatformCalls(HostStore):
    def __init__(self, objectstore, wordbreaker):
        super().__init__(objectstore, wordbreaker)
        self.own_blocks = set()
        self._listings = {}

    # ---- local heap

    def LocalAlloc(self, machine, argument):
        block = machine.take_block(argument(1), 0 if argument(0) & _ZERO_INIT else 0xA5)
        self.own_blocks.add(block)
        return block

    def LocalReAlloc(self, machine, argument):
        old, size, flags = argument(0), argument(1), argument(2)
        block = machine.take_block(size, 0 if flags & _ZERO_INIT else 0xA5)
        machine.write(block, machine.read(old, min(size, machine.block_size(old))))
        machine.give_back(old)
        self.own_blocks.remove(old)
        self.own_blocks.add(block)
        return block

    def LocalSize(self, machine, argument):
        return machine.block_size(argument(0)) if argument(0) else 0

    def LocalFree(self, machine, argument):
        if argument(0):
            self.own_blocks.remove(argument(0))
            machine.give_back(argument(0))
        return 0

    # ---- clock

    def GetSystemTime(self, machine, argument):
        now = datetime.datetime.now(datetime.timezone.utc)
        day_of_week = (now.weekday() + 1) % 7
        fields = (now.year, now.month, day_of_week, now.day, now.hour, now.minute, now.second, now.microsecond // 1000)
        machine.write(argument(0), struct.pack("<8H", *fields))
        return 0

    # ---- text

    def wcslen(self, machine, argument):
        return len(_units(machine.text(argument(0))))

    def _copy(self, machine, to, source):
        machine.write(to, source.encode("utf-16-le", "surrogatepass") + b"\0\0")

    def wcscpy(self, machine, argument):
        self._copy(machine, argument(0), machine.text(argument(1)))
        return argument(0)

    def wcscat(self, machine, argument):
        self._copy(machine, argument(0), machine.text(argument(0)) + machine.text(argument(1)))
        return argument(0)

    def wcscmp(self, machine, argument):
        return _sign(_units(machine.text(argument(0))), _units(machine.text(argument(1))))

    def _wcsicmp(self, machine, argument):
        return _sign(_folded(machine.text(argument(0))), _folded(machine.text(argument(1))))

    def _wcsnicmp(self, machine, argument):
        count = argument(2)
        return _sign(_folded(machine.text(argument(0)))[:count], _folded(machine.text(argument(1)))[:count])

    def iswctype(self, machine, argument):
        character, wanted = chr(argument(0) & 0xFFFF), argument(1) & 0xFFFF
        kind = 4 if "0" <= character <= "9" else 0
        if "!" <= character <= "~" and not character.isalnum():
            kind = 16
        return 1 if kind & wanted else 0

    def wcstol(self, machine, argument):
        text, end, base = machine.text(argument(0)), argument(1), argument(2)
        if base != 10:
            raise ValueError(f"wcstol to base {base}")
        match = re.match(r"[ \t-\r]*([+-]?[0-9]+)", text)
        if end:
            machine.write(end, struct.pack("<I", argument(0) + (2 * match.end() if match else 0)))
        return max(-(2**31), min(2**31 - 1, int(match.group(1)))) if match else 0

    def swprintf(self, machine, argument):
        form, taken, made = machine.text(argument(1)), 2, ""
        for piece in re.split("(%ld)", form):
            if piece == "%ld":
                made += str(struct.unpack("<i", struct.pack("<I", argument(taken)))[0])
                taken += 1
            elif "%" in piece:
                raise ValueError(f"swprintf of {form!r}")
            else:
                made += piece
        self._copy(machine, argument(0), made)
        return len(made)

    # ---- files

    def FindFirstFileW(self, machine, argument):
        folder, pattern = os.path.split(machine.text(argument(0)))
        try:
            names = sorted(name for name in os.listdir(folder or ".") if fnmatch.fnmatchcase(name, pattern))
        except FileNotFoundError:
            self.set_last_error(_PATH_NOT_FOUND)
            return _NO_HANDLE
        if not names:
            self.set_last_error(_FILE_NOT_FOUND)
            return _NO_HANDLE
        handle = 0x7000 + len(self._listings)
        self._listings[handle] = names
        self._give_name(machine, handle, argument(1))
        return handle

    def _give_name(self, machine, handle, found):
        machine.write(found, bytes(560))
        self._copy(machine, found + 40, self._listings[handle].pop(0))

    def FindNextFileW(self, machine, argument):
        if not self._listings.get(argument(0)):
            self.set_last_error(_NO_MORE_FILES if argument(0) in self._listings else _INVALID_HANDLE)
            return 0
        self._give_name(machine, argument(0), argument(1))
        return 1

    def FindClose(self, machine, argument):
        if argument(0) not in self._listings:
            self.set_last_error(_INVALID_HANDLE)
            return 0
        del self._listings[argument(0)]
        return 1

    def _change_file(self, change, path):
        try:
            change(path)
        except FileExistsError:
            self.set_last_error(_ALREADY_EXISTS)
            return 0
        except FileNotFoundError:
            self.set_last_error(_FILE_NOT_FOUND)
            return 0
        return 1

    def CreateDirectoryW(self, machine, argument):
        return self._change_file(os.mkdir, machine.text(argument(0)))

    def DeleteFileW(self, machine, argument):
        return self._change_file(os.unlink, machine.text(argument(0)))
