#!/usr/bin/env python3
"""stackframes.py IMAGE MAP OUTPUT: writes a section .debug_frame for the image, in assembly.

A debugger finds the caller of a function by it. For this target the compiler describes stack frames
by tables that would be loaded with the image, or not at all. But all functions of the driver address
their stack by its pointer alone, so its instructions tell where the return address and the saved
registers lie: this program follows them along every way through each function. It fails if a way
ends with something left on the stack, or if an instruction does to the stack what it does not know.
"""
import re
import subprocess
import sys
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parent.parent.parent / 'scripts/lib'))
from hosttests import version  # noqa: E402

# The registers that a function hands back as it got them, by their numbers in DWARF.
SAVED = {'rbx': 3, 'rbp': 6, 'rsi': 4, 'rdi': 5, 'r12': 12, 'r13': 13, 'r14': 14, 'r15': 15}
RETURN_ADDRESS = 8
HEAD = """\
  .section .debug_frame, "dr"
Common:
  .long CommonEnd - CommonStart
CommonStart:
  .long 0xFFFFFFFF
  .byte 4, 0, 8, 0            # version, no augmentation, bytes of an address, none of a segment
  .uleb128 1                  # unit of code
  .sleb128 -8                 # unit of data
  .uleb128 16                 # the return address
  .byte 0x0C, 7, 8            # DW_CFA_def_cfa: rsp + 8
  .byte 0x80 | 16, 1          # DW_CFA_offset: the return address at CFA - 8
  .balign 8, 0
CommonEnd:
"""


class Frame:
    """What lies on the stack below the return address: bytes, and saved registers by their depth."""

    def __init__(self, size=0, saved=()):
        self.size = size
        self.saved = saved

    def after(self, name, operands):
        """The frame behind an instruction."""
        register = operands.lstrip('%')
        if name == 'pushq':
            size = self.size + 8
            known = any(register == other for other, _ in self.saved)
            is_saved = register in SAVED and not known
            return Frame(size, self.saved + (((register, size),) if is_saved else ()))
        if name == 'popq':
            return self.shrunk(8)
        if name in ('subq', 'addq') and operands.endswith(', %rsp'):
            size = int(operands.split(',')[0].lstrip('$'), 0)
            return Frame(self.size + size, self.saved) if name == 'subq' else self.shrunk(size)
        if operands.endswith('%rsp') and name not in ('cmpq', 'testq') or name in ('leave', 'enter'):
            return None
        return self

    def shrunk(self, size):
        left = self.size - size
        return Frame(left, tuple(entry for entry in self.saved if entry[1] <= left))


def instructions(image, start):
    """Address: (name, operands, next address) of the code from start on. Behind a table of addresses
    it may be out of step."""
    text = subprocess.run(['llvm-objdump', '-d', '--no-show-raw-insn', f'--start-address={start}',
                           image], check=True, capture_output=True, text=True).stdout
    found = re.findall(r'^ *([0-9a-f]+):\s+(\S+)[ \t]*([^#<\n]*)', text, re.MULTILINE)
    code = {}
    for (address, name, operands), following in zip(found, found[1:] + [('0', '', '')]):
        code[int(address, 16)] = (name, operands.strip(), int(following[0], 16))
    return code


def functions(map_file):
    """(start, end, name) of each function, by the linker's map."""
    starts = {}
    with open(map_file, encoding='ascii') as lines:
        for line in lines:
            match = re.match(r'([0-9a-f]{8}) ([0-9a-f]{8}) +\d+ (\.\w+)?\s*(\S*)', line)
            if match and match[3]:
                if starts:
                    break
                end = int(match[1], 16) + int(match[2], 16)
            elif match and ':(' not in match[4]:
                starts.setdefault(int(match[1], 16), match[4])
    ordered = sorted(starts)
    return [(start, stop, starts[start]) for start, stop in zip(ordered, ordered[1:] + [end])]


def frames(code, start, end, function):
    """(address, frame) wherever the frame changes, in the order of the addresses."""
    known = {}
    body = Frame()
    ways = [(start, Frame())]
    while ways:
        address, frame = ways.pop()
        while address not in known:
            known[address] = frame
            name, operands, following = code[address]
            target = re.match('0x([0-9a-f]+)', operands)
            place = int(target[1], 16) if target and name[0] == 'j' else start
            inside = start <= place < end
            if name[0] == 'j' and target and inside:
                ways.append((place, frame))
            leaves = name == 'retq' or (name[0] == 'j' and target and not inside)
            if leaves and frame.size:
                sys.exit(f'{function}: {frame.size} bytes on the stack at 0x{address:x}: {name}')
            if name in ('retq', 'jmp', 'jmpq', 'ud2', 'int3'):
                break
            after = frame.after(name, operands)
            if after is None:
                # Only a long jump takes another stack, and it does not come back to this one.
                if function != 'InternalLongJump':
                    sys.exit(f'{function}: 0x{address:x}: unknown: {name} {operands}')
                after = frame
            frame = after
            if frame.size > body.size:
                body = frame
            address = following
            if not start <= address < end:
                sys.exit(f'{function}: it goes on behind its end')
    # What only a table of addresses leads to belongs to the body.
    rows = []
    for address in sorted(known):
        rows.append((address, known[address]))
        following = code[address][2]
        if following not in known and following < end:
            rows.append((following, body))
    return rows


def description(start, end, rows):
    """The entry of one function."""
    label = f'Function{start:x}'
    lines = [f'  .long {label}End - {label}Start', f'{label}Start:', '  .secrel32 Common',
             f'  .quad 0x{start:x}, 0x{end - start:x}']
    place, frame = start, Frame()
    for address, wanted in rows:
        if (wanted.size, wanted.saved) == (frame.size, frame.saved):
            continue
        if address > place:
            lines.append(f'  .byte 4\n  .long {address - place}')            # DW_CFA_advance_loc4
            place = address
        if wanted.size != frame.size:
            lines.append(f'  .byte 0x0E\n  .uleb128 {RETURN_ADDRESS + wanted.size}')
        for register, depth in wanted.saved:
            if (register, depth) not in frame.saved:                         # DW_CFA_offset
                lines.append(f'  .byte 0x80 | {SAVED[register]}\n'
                             f'  .uleb128 {(RETURN_ADDRESS + depth) // 8}')
        for register, _ in frame.saved:
            if all(register != other for other, _ in wanted.saved):          # DW_CFA_restore
                lines.append(f'  .byte 0xC0 | {SAVED[register]}')
        frame = wanted
    return '\n'.join(lines + ['  .balign 8, 0', f'{label}End:', ''])


def main():
    if sys.argv[1:] == ['--version']:
        sys.exit(print('stackframes.py', version()))
    if len(sys.argv) != 4:
        sys.exit('usage: stackframes.py IMAGE MAP OUTPUT\n       stackframes.py --version')
    image, map_file, output = sys.argv[1:]
    text = HEAD
    code = {}
    for start, end, name in functions(map_file):
        if start not in code:
            code = instructions(image, start)
        text += description(start, end, frames(code, start, end, name))
    with open(output, 'w', encoding='ascii') as file:
        file.write(text)


main()
