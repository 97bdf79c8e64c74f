#!/usr/bin/env python3
"""Synthetic NU-COFF relocatable objects for the benchmarks.

object_bytes(index, version, big) returns one object: a ".text" section
(a long-named ".text_<index>_impl" one from format version 1 on, so that
the string table names it), a file symbol with its aux entry, a few global
definitions in the section (storage class C_EXT), one of them named through
the string table, a static and an undefined reference.

    python3 bench/nucoff_members.py DIR COUNT [VERSION] [big|little]

writes COUNT such objects into DIR as coff_<index>.o.
"""
import os
import struct
import sys

TARGET_WREN = 0x009C            # COFF target ID of the WREN family
VERSION_MAGIC = {1: 0x00C1, 2: 0x00C2}
F_LITTLE, F_BIG = 0x0100, 0x0200
C_EXT, C_STAT, C_FILE = 2, 3, 103
SYMESZ = 18


class _Strings:
    """The string table: a 4-byte length (counting itself), then names."""

    def __init__(self):
        self.data = b""

    def name_field(self, name, order):
        raw = name.encode()
        if len(raw) <= 8:
            return raw.ljust(8, b"\0")
        offset = 4 + len(self.data)
        self.data += raw + b"\0"
        return struct.pack(order + "II", 0, offset)

    def table(self, order):
        return struct.pack(order + "I", 4 + len(self.data)) + self.data if self.data else b""


def object_bytes(index, version=2, big=False, code_words=8):
    """One NU-COFF object of format version 0, 1 or 2 in either byte order,
    with code_words 4-byte words of section data."""
    order = ">" if big else "<"
    strings = _Strings()
    code = struct.pack(order + "%dI" % code_words, *range(index, index + code_words))
    header_size = 20 if version == 0 else 22
    section_header_size = 40 if version == 0 else 48
    data_offset = header_size + section_header_size
    symptr = data_offset + len(code)

    section_name = ".text" if version == 0 else ".text_%d_impl" % index
    name = section_name.encode()[:8].ljust(8, b"\0") if version == 0 else strings.name_field(section_name, order)
    if version == 0:
        section = name + struct.pack(order + "6i3H2B", 0, 0, len(code), data_offset, 0, 0, 0, 0, 0x20, 0, 0)
    else:
        section = name + struct.pack(order + "6i3I2sH", 0, 0, len(code), data_offset, 0, 0, 0, 0, 0x20, b"\0\0", 0)

    entries = [
        strings.name_field(".file", order) + struct.pack(order + "ihHBB", 0, -2, 0, C_FILE, 1),
        ("module_%d.c" % index).encode()[:18].ljust(SYMESZ, b"\0"),
    ]
    symbols = [
        ("fn%d_a" % index, 0x00, 1, 0x24, C_EXT),
        ("fn%d_b" % index, 0x08, 1, 0x24, C_EXT),
        ("table_%d_with_a_long_name" % index, 0x10, 1, 0x04, C_EXT),
        ("local%d" % index, 0x18, 1, 0x04, C_STAT),
        ("extern%d" % index, 0, 0, 0, C_EXT),
    ]
    for sym_name, value, scnum, sym_type, sclass in symbols:
        entries.append(strings.name_field(sym_name, order) +
                       struct.pack(order + "ihHBB", value, scnum, sym_type, sclass, 0))

    flags = F_BIG if big else F_LITTLE
    first = TARGET_WREN if version == 0 else VERSION_MAGIC[version]
    header = struct.pack(order + "HHiiiHH", first, 1, 0, symptr, len(entries), 0, flags)
    if version != 0:
        header += struct.pack(order + "H", TARGET_WREN)
    return header + section + code + b"".join(entries) + strings.table(order)


def main(argv):
    directory, count = argv[1], int(argv[2])
    version = int(argv[3]) if len(argv) > 3 else 2
    big = len(argv) > 4 and argv[4] == "big"
    os.makedirs(directory, exist_ok=True)
    for index in range(count):
        with open(os.path.join(directory, "coff_%d.o" % index), "wb") as out:
            out.write(object_bytes(index, version, big))


if __name__ == "__main__":
    main(sys.argv)
