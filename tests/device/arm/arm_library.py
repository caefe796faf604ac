"""The device library for ARM, run in an emulator of the processor: one of the oldest kind, ARMv4 without Thumb.

What is asked of the code beside its answers: every access is aligned (such a processor reads something else
otherwise), every access to the heap lies in a block that is there, registers that a call has to keep are kept, and
nothing is expected of registers that a call may change. The library stands at another address than the one it
prefers."""

import struct

import unicorn
from unicorn import arm_const as arm

from pe_image import PeImage

_IMAGE = 0x20000000
_HEAP, _HEAP_SIZE = 0x30000000, 0x04000000
_STACK, _STACK_SIZE = 0x40000000, 0x00040000
_GATES, _GATES_SIZE = 0x50000000, 0x00010000
_RETURN = 0x60000000
_LOOSE_CODE = 0x70000000
_MOV_PC_LR = 0xE1A0F00E

_ARGUMENTS = (arm.UC_ARM_REG_R0, arm.UC_ARM_REG_R1, arm.UC_ARM_REG_R2, arm.UC_ARM_REG_R3)
_KEPT = tuple(arm.UC_ARM_REG_R4 + i for i in range(8))
_LEFT_BY_CALLS = (arm.UC_ARM_REG_R1, arm.UC_ARM_REG_R2, arm.UC_ARM_REG_R3, arm.UC_ARM_REG_R12)
_MOST_INSTRUCTIONS = 50_000_000


class Fault(Exception):
    """The code did what it must not do."""


class ArmLibrary:
    pointer_size = 4

    def __init__(self, path, prototypes, platform):
        self.image = PeImage(path)
        self._prototypes = prototypes
        self._platform = platform
        self._fault = None
        self._next_loose_code = _LOOSE_CODE
        self._next_block = _HEAP
        self._blocks = {}
        self._live = bytearray(_HEAP_SIZE)
        self.called = set()
        # What stands in the upper bits of a narrow argument, which its type does not reach.
        self.beyond_narrow_arguments = 0
        self._make_machine()

    # ---- the machine

    def _make_machine(self):
        machine = unicorn.Uc(unicorn.UC_ARCH_ARM, unicorn.UC_MODE_ARM)
        machine.ctl_set_cpu_model(arm.UC_CPU_ARM_SA1110)
        size = (self.image.size + 0xFFF) & ~0xFFF
        machine.mem_map(_IMAGE, size, unicorn.UC_PROT_READ | unicorn.UC_PROT_EXEC)
        machine.mem_map(_HEAP, _HEAP_SIZE, unicorn.UC_PROT_READ | unicorn.UC_PROT_WRITE)
        machine.mem_map(_STACK, _STACK_SIZE, unicorn.UC_PROT_READ | unicorn.UC_PROT_WRITE)
        machine.mem_map(_GATES, _GATES_SIZE, unicorn.UC_PROT_READ | unicorn.UC_PROT_EXEC)
        machine.mem_map(_RETURN, 0x1000, unicorn.UC_PROT_READ | unicorn.UC_PROT_EXEC)
        machine.mem_map(_LOOSE_CODE, 0x1000, unicorn.UC_PROT_READ | unicorn.UC_PROT_EXEC)
        self._machine = machine
        self._gates = {}
        addresses = {}
        for i, (module, name, _) in enumerate(self.image.imports()):
            addresses[module, name] = _GATES + 4 * i
            self._gates[_GATES + 4 * i] = name
            machine.mem_write(_GATES + 4 * i, struct.pack("<I", _MOV_PC_LR))
        machine.mem_write(_IMAGE, self.image.loaded_at(_IMAGE, addresses))
        self.exports = {name: _IMAGE + place for name, place in self.image.exports().items()}
        machine.hook_add(unicorn.UC_HOOK_CODE, self._at_gate, begin=_GATES, end=_GATES + _GATES_SIZE - 1)
        machine.hook_add(unicorn.UC_HOOK_MEM_READ | unicorn.UC_HOOK_MEM_WRITE, self._at_access)

    def _stop(self, why):
        if self._fault is None:
            self._fault = f"{why}, at image offset {self._machine.reg_read(arm.UC_ARM_REG_PC) - _IMAGE:#x}"
        self._machine.emu_stop()

    def _at_access(self, machine, access, address, size, value, data):
        if address % size != 0:
            self._stop(f"{size} bytes at {address:#x}, not aligned")
        if _HEAP <= address < _HEAP + _HEAP_SIZE:
            place = address - _HEAP
            if self._live[place : place + size].count(1) != size:
                self._stop(f"{size} bytes at {address:#x}, in no block")

    def _at_gate(self, machine, address, size, data):
        name = self._gates[address]
        stack = machine.reg_read(arm.UC_ARM_REG_SP)

        def argument(index):
            return machine.reg_read(_ARGUMENTS[index]) if index < 4 else self.u32(stack + 4 * (index - 4))

        try:
            result = getattr(self._platform, name)(self, argument)
        except Exception as error:  # lets no exception pass through the emulator, which would lose it
            self._stop(f"{name}: {error!r}")
            return
        for register in _LEFT_BY_CALLS:
            machine.reg_write(register, 0xBAD0BAD0)
        machine.reg_write(arm.UC_ARM_REG_R0, result & 0xFFFFFFFF)

    def _run(self, address, values):
        machine = self._machine
        stack = _STACK + _STACK_SIZE - 0x1000
        stacked = [value & 0xFFFFFFFF for value in values[4:]]
        # Four bytes off a multiple of 8: callers keep no larger alignment.
        stack -= 4 * len(stacked)
        stack -= 4 if stack % 8 == 0 else 0
        machine.mem_write(stack, struct.pack(f"<{len(stacked)}I", *stacked))
        for i, register in enumerate(_ARGUMENTS):
            machine.reg_write(register, values[i] & 0xFFFFFFFF if i < len(values) else 0xBAD0BAD0)
        for i, register in enumerate(_KEPT):
            machine.reg_write(register, 0xC0DE0000 + i)
        machine.reg_write(arm.UC_ARM_REG_R12, 0xBAD0BAD0)
        machine.reg_write(arm.UC_ARM_REG_SP, stack)
        machine.reg_write(arm.UC_ARM_REG_LR, _RETURN)
        self._fault = None
        try:
            machine.emu_start(address, _RETURN, count=_MOST_INSTRUCTIONS)
        except unicorn.UcError as error:
            self._stop(f"the processor stops: {error}")
        if self._fault is None and machine.reg_read(arm.UC_ARM_REG_PC) != _RETURN:
            self._fault = "does not return"
        if self._fault is None and machine.reg_read(arm.UC_ARM_REG_SP) != stack:
            self._fault = "the stack is another after the call"
        if self._fault is None and any(machine.reg_read(r) != 0xC0DE0000 + i for i, r in enumerate(_KEPT)):
            self._fault = "a register is not as it was"
        if self._fault is not None:
            raise Fault(self._fault)
        return machine.reg_read(arm.UC_ARM_REG_R0)

    # ---- memory: the client's and the library's blocks lie in one heap, each between bytes that belong to nobody

    def take_block(self, size, fill=0):
        address = self._next_block
        self._next_block += (size + 15) // 8 * 8
        if self._next_block > _HEAP + _HEAP_SIZE:
            raise MemoryError
        self._blocks[address] = size
        self._live[address - _HEAP : address - _HEAP + size] = b"\1" * size
        self._machine.mem_write(address, bytes([fill]) * size)
        return address

    def block_size(self, address):
        return self._blocks[address]

    def give_back(self, address):
        size = self._blocks.pop(address)
        self._live[address - _HEAP : address - _HEAP + size] = bytes(size)

    reserve = take_block

    def read(self, address, size):
        return bytes(self._machine.mem_read(address, size))

    def write(self, address, data):
        self._machine.mem_write(address, bytes(data))

    def u16(self, address):
        return struct.unpack("<H", self.read(address, 2))[0]

    def u32(self, address):
        return struct.unpack("<I", self.read(address, 4))[0]

    def text(self, address):
        end = address
        while self.u16(end) != 0:
            end += 2
        return self.read(address, end - address).decode("utf-16-le", "surrogatepass")

    # ---- calls

    def call_entry_point(self):
        return self._run(_IMAGE + self.image.entry, (_IMAGE, 1, 0))

    def call_plain(self, name, *values):
        """A call of no prototype: 32-bit values, and the two registers of a result of 64 bits."""
        low = self._run(self.exports[name], values)
        return low | self._machine.reg_read(arm.UC_ARM_REG_R1) << 32

    def run_instructions(self, instructions, *values):
        """Code that is in no library, for the test of what this machine finds out."""
        # Each time elsewhere: the emulator remembers what it has translated.
        place = self._next_loose_code
        self._next_loose_code += 4 * len(instructions)
        self.write(place, struct.pack(f"<{len(instructions)}I", *instructions))
        return self._run(place, values)

    def call(self, name, *values):
        prototype = self._prototypes[name]
        if len(values) != len(prototype.parameters):
            raise TypeError(f"{name} takes {len(prototype.parameters)} arguments")
        passed = []
        for value, kind in zip(values, prototype.parameters):
            if kind is not None and kind[0] < 4 and self.beyond_narrow_arguments:
                width = 8 * kind[0]
                value = value & ((1 << width) - 1) | self.beyond_narrow_arguments << width
            passed.append(value)
        self.called.add(name)
        result = self._run(self.exports[name], passed)
        if prototype.returned is None:
            return None
        if prototype.returned[0] < 4 and result >> 8 * prototype.returned[0] != 0:
            raise Fault(f"{name} returns {result:#x}: more than its type holds")
        return result
