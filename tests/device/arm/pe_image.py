"""A PE file, read with no regard for the processor that it is for: headers, imports, exports, relocations.

Everything that this loader does not know is refused, so that nothing it passes over can matter."""

import struct

IMAGE_FILE_MACHINE_ARM = 0x1C0
SUBSYSTEM_WINDOWS_CE = 9

_DIRECTORY_EXPORTS = 0
_DIRECTORY_IMPORTS = 1
_DIRECTORY_RELOCATIONS = 5
_RELOCATION_NONE = 0
_RELOCATION_HIGHLOW = 3
_SECTION_WRITABLE = 0x80000000


class PeImage:
    def __init__(self, path):
        with open(path, "rb") as file:
            self._file = file.read()
        header = self._u32_in_file(0x3C)
        if self._file[:2] != b"MZ" or self._file[header : header + 4] != b"PE\0\0":
            raise ValueError(f"{path}: not a PE file")
        self.machine, section_count = struct.unpack_from("<HH", self._file, header + 4)
        optional_size = struct.unpack_from("<H", self._file, header + 20)[0]
        optional = header + 24
        if struct.unpack_from("<H", self._file, optional)[0] != 0x10B:
            raise ValueError(f"{path}: not an image of 32 bits")
        self.entry = self._u32_in_file(optional + 16)
        self.preferred_base = self._u32_in_file(optional + 28)
        self.size = self._u32_in_file(optional + 56)
        self.subsystem = struct.unpack_from("<H", self._file, optional + 68)[0]
        self._directories = [struct.unpack_from("<II", self._file, optional + 96 + 8 * i) for i in range(16)]
        self.writable = []
        self._lay_out(optional + optional_size, section_count)

    def _u32_in_file(self, offset):
        return struct.unpack_from("<I", self._file, offset)[0]

    def _lay_out(self, table, count):
        self._memory = bytearray(self.size)
        for i in range(count):
            name, _, address, raw_size, raw = struct.unpack_from("<8sIIII", self._file, table + 40 * i)
            flags = self._u32_in_file(table + 40 * i + 36)
            self._memory[address : address + raw_size] = self._file[raw : raw + raw_size]
            if flags & _SECTION_WRITABLE:
                self.writable.append(name.rstrip(b"\0").decode())
        self._memory = self._memory[: self.size].ljust(self.size, b"\0")

    def u32(self, address):
        return struct.unpack_from("<I", self._memory, address)[0]

    def _u16(self, address):
        return struct.unpack_from("<H", self._memory, address)[0]

    def _text(self, address):
        return self._memory[address : self._memory.index(0, address)].decode("ascii")

    def exports(self):
        """Name to address within the image."""
        table = self._directories[_DIRECTORY_EXPORTS][0]
        functions, names, ordinals = (self.u32(table + 28 + 4 * i) for i in range(3))
        return {
            self._text(self.u32(names + 4 * i)): self.u32(functions + 4 * self._u16(ordinals + 2 * i))
            for i in range(self.u32(table + 24))
        }

    def imports(self):
        """(module, name, address of the slot within the image)."""
        found = []
        entry = self._directories[_DIRECTORY_IMPORTS][0]
        while entry and self.u32(entry + 12):
            module = self._text(self.u32(entry + 12))
            names, slots = self.u32(entry), self.u32(entry + 16)
            while self.u32(names):
                if self.u32(names) >> 31:
                    raise ValueError(f"{module}: a call by number")
                found.append((module, self._text(self.u32(names) + 2), slots))
                names, slots = names + 4, slots + 4
            entry += 20
        return found

    def loaded_at(self, base, import_addresses):
        """The image's bytes as they stand at base, the slot of each import filled from (module, name) to address."""
        memory = bytearray(self._memory)
        for place in self._relocated_places():
            moved = (self.u32(place) + base - self.preferred_base) & 0xFFFFFFFF
            struct.pack_into("<I", memory, place, moved)
        for module, name, slot in self.imports():
            struct.pack_into("<I", memory, slot, import_addresses[module, name])
        return bytes(memory)

    def _relocated_places(self):
        block, size = self._directories[_DIRECTORY_RELOCATIONS]
        end = block + size
        while block < end:
            page, length = self.u32(block), self.u32(block + 4)
            for entry in range(block + 8, block + length, 2):
                kind, offset = self._u16(entry) >> 12, self._u16(entry) & 0xFFF
                if kind == _RELOCATION_HIGHLOW:
                    yield page + offset
                elif kind != _RELOCATION_NONE:
                    raise ValueError(f"a relocation of kind {kind}")
            block += length
