"""The library for this machine, called like the one for ARM: addresses, numbers, names."""

import ctypes


class HostLibrary:
    pointer_size = ctypes.sizeof(ctypes.c_void_p)

    def __init__(self, path, prototypes):
        self._library = ctypes.CDLL(path)
        self._prototypes = prototypes
        self._blocks = []

    def reserve(self, size, fill=0):
        block = ctypes.create_string_buffer(bytes([fill]) * size, size)
        self._blocks.append(block)
        return ctypes.addressof(block)

    def read(self, address, size):
        return ctypes.string_at(address, size)

    def write(self, address, data):
        ctypes.memmove(address, bytes(data), len(data))

    def text(self, address):
        end = address
        while self.read(end, 2) != b"\0\0":
            end += 2
        return self.read(address, end - address).decode("utf-16-le", "surrogatepass")

    def call(self, name, *values):
        prototype = self._prototypes[name]
        passed = []
        for value, kind in zip(values, prototype.parameters, strict=True):
            passed.append(ctypes.c_void_p(value or None) if kind is None else ctypes.c_int64(value))
        function = getattr(self._library, name)
        function.restype = {None: None, 1: ctypes.c_uint8, 2: ctypes.c_uint16, 4: ctypes.c_uint32}[
            prototype.returned and prototype.returned[0]
        ]
        return function(*passed)
