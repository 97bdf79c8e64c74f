"""Synthetic ELF32 relocatable objects, the kind of member a library holds.

Each object has a .text section, a symbol table with a null symbol, a local
section symbol and two or three global function definitions in .text, its
string table and the section-name table; about 640 bytes. Byte order and
processor family alternate with the index, so both byte orders are read.

    member_bytes(index) -> bytes     the object for member number index
    member_name(index) -> str        its file name; one in eight is longer
                                     than 15 characters (long-name table)
"""
import struct

ET_REL = 1
EV_CURRENT = 1
SHT_PROGBITS, SHT_SYMTAB, SHT_STRTAB = 1, 2, 3
SHF_ALLOC, SHF_EXECINSTR = 0x2, 0x4
STB_LOCAL, STB_GLOBAL = 0, 1
STT_FUNC, STT_SECTION = 2, 3

EHDR_SIZE, SHDR_SIZE, SYM_SIZE = 52, 40, 16

# e_machine values the archiver knows as families (WREN, HERON, KITE) and ARM.
MACHINES = (0xA1B1, 0xA1B2, 0xA1B3, 40)


def _strtab(names):
    """The table bytes and each name's offset; offset 0 is the empty name."""
    data = b"\0"
    offsets = []
    for name in names:
        offsets.append(len(data))
        data += name.encode() + b"\0"
    return data, offsets


def _align(data, n=4):
    return data + b"\0" * (-len(data) % n)


def member_bytes(index):
    order = ">" if index % 2 else "<"
    machine = MACHINES[index % len(MACHINES)]
    globals_ = ["wren_fn_%05d_%s" % (index, s) for s in ("init", "run", "stop")[:2 + index % 2]]
    text = bytes((index + i) & 0xFF for i in range(144 + 32 * (index % 7)))

    strtab, name_offsets = _strtab(globals_)
    shstrtab, sh_names = _strtab([".text", ".symtab", ".strtab", ".shstrtab"])

    syms = struct.pack(order + "IIIBBH", 0, 0, 0, 0, 0, 0)
    syms += struct.pack(order + "IIIBBH", 0, 0, 0, (STB_LOCAL << 4) | STT_SECTION, 0, 1)
    step = len(text) // len(globals_)
    for i, off in enumerate(name_offsets):
        syms += struct.pack(order + "IIIBBH", off, i * step, step,
                            (STB_GLOBAL << 4) | STT_FUNC, 0, 1)
    first_global = 2

    body = b"\0" * EHDR_SIZE
    placed = []
    for data in (text, syms, strtab, shstrtab):
        body = _align(body)
        placed.append((len(body), len(data)))
        body += data
    body = _align(body)
    shoff = len(body)

    def shdr(name, typ, flags, where, link=0, info=0, align=1, entsize=0):
        return struct.pack(order + "10I", name, typ, flags, 0, where[0], where[1],
                           link, info, align, entsize)

    shdrs = b"\0" * SHDR_SIZE
    shdrs += shdr(sh_names[0], SHT_PROGBITS, SHF_ALLOC | SHF_EXECINSTR, placed[0], align=4)
    shdrs += shdr(sh_names[1], SHT_SYMTAB, 0, placed[1], link=3, info=first_global,
                  align=4, entsize=SYM_SIZE)
    shdrs += shdr(sh_names[2], SHT_STRTAB, 0, placed[2])
    shdrs += shdr(sh_names[3], SHT_STRTAB, 0, placed[3])

    ident = b"\x7fELF" + bytes((1, 2 if order == ">" else 1, EV_CURRENT)) + b"\0" * 9
    ehdr = ident + struct.pack(order + "HHIIIIIHHHHHH", ET_REL, machine, EV_CURRENT, 0, 0,
                               shoff, 0, EHDR_SIZE, 0, 0, SHDR_SIZE, 5, 4)
    return ehdr + body[EHDR_SIZE:] + shdrs


def member_name(index):
    if index % 8 == 7:
        return "wren_module_%05d.o" % index
    return "m%05d.o" % index
