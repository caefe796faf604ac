"""The exported calls as include/mdb.h declares them: what each returns and takes."""

import re

# Bytes and sign of what is passed by value; everything else is a pointer.
_BY_VALUE = {
    "uint8_t": (1, False),
    "int16_t": (2, True),
    "uint16_t": (2, False),
    "int32_t": (4, True),
    "uint32_t": (4, False),
    "MDbStatus": (4, False),
    "MDbHandle": (4, False),
}
POINTER = None


class Prototype:
    def __init__(self, returned, parameters):
        self.returned = returned  # (bytes, signed), or None for nothing
        self.parameters = parameters  # (bytes, signed) or POINTER each


def _parameter(text):
    if "*" in text:
        return POINTER
    return _BY_VALUE[text.split()[0]]


def read_prototypes(header):
    with open(header, encoding="utf-8") as file:
        source = re.sub(r"/\*.*?\*/", " ", file.read(), flags=re.DOTALL)
    calls = {}
    for returned, name, parameters in re.findall(r"MDB_API\s+(\w+)\s+(\w+)\(([^)]*)\);", source):
        listed = [] if parameters.strip() == "void" else [_parameter(one) for one in parameters.split(",")]
        calls[name] = Prototype(_BY_VALUE.get(returned), listed)
    return calls
