"""Small programs of other systems: as much of one as tells what it was made for."""

import struct

X86_64, SPARCV9, I386 = 62, 43, 3
SYSTEM_V, GNU, SOLARIS, FREEBSD = 0, 3, 6, 9
RELOCATABLE, PROGRAM, INDEPENDENT = 1, 2, 3

LOAD, DYNAMIC, INTERPRETER, NOTE = 1, 2, 3, 4
NEEDED, STRING_TABLE, STRING_SIZE = 1, 5, 10
LINUX_NOTE = struct.pack("<III4sIIII", 4, 16, 1, b"GNU\0", 0, 3, 2, 0)

LINUX_LOADER, LINUX_C = "/lib64/ld-linux-x86-64.so.2", "libc.so.6"
SOLARIS_LOADER, SOLARIS_C = "/lib/amd64/ld.so.1", "libc.so.1"


def elf_program(loader=None, needed=(), *, abi=SYSTEM_V, machine=X86_64, bits=64,
                kind=INDEPENDENT, note=b""):
    """The bytes of a program that asks for the loader and the needed libraries."""
    word = "Q" if bits == 64 else "I"
    wide = bits == 64
    header_size, entry_size = (64, 56) if wide else (52, 32)
    interpreter = loader.encode() + b"\0" if loader else b""
    strings = b"\0" + b"".join(name.encode() + b"\0" for name in needed)

    pieces = [(INTERPRETER, interpreter), (NOTE, note), (DYNAMIC, None)]
    pieces = [piece for piece in pieces
              if piece[1] or (piece[0] == DYNAMIC and needed)]
    at = header_size + (len(pieces) + 1) * entry_size
    strings_at = at
    body, table = strings.ljust(-(-len(strings) // 8) * 8, b"\0"), []
    for piece, content in pieces:
        if piece == DYNAMIC:
            rows = [(NEEDED, strings.index(b"\0" + name.encode() + b"\0") + 1) for name in needed]
            rows += [(STRING_TABLE, strings_at), (STRING_SIZE, len(strings)), (0, 0)]
            content = b"".join(struct.pack(f"<{word}{word}", *row) for row in rows)
        table.append((piece, at + len(body), len(content)))
        body += content.ljust(-(-len(content) // 8) * 8, b"\0")
    table.insert(0, (LOAD, 0, at + len(body)))

    identity = b"\x7fELF" + bytes([2 if wide else 1, 1, 1, abi]) + bytes(8)
    header = identity + struct.pack(f"<HHI{word}{word}{word}IHHHHHH", kind, machine, 1, 0,
                                    header_size, 0, 0, header_size, entry_size, len(table), 0, 0, 0)
    entries = b""
    for piece, offset, size in table:
        if wide:
            entries += struct.pack("<IIQQQQQQ", piece, 4, offset, offset, offset, size, size, 8)
        else:
            entries += struct.pack("<IIIIIIII", piece, offset, offset, offset, size, size, 4, 8)
    return header + entries + body
