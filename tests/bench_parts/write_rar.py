"""RAR archives without compression, in the format of RAR 4 or of RAR 5, for the tests."""

import struct
import zlib

DOS_TIME = ((2024 - 1980) << 25) | (3 << 21) | (4 << 16) | (5 << 11) | (6 << 5) | 4
UNIX_TIME = 1709528768  # The same moment, 2024-03-04 05:06:08.

FOLDER_ATTRIBUTE = 0x10
ARCHIVE_ATTRIBUTE = 0x20


def rar4_block(block_type, flags, body):
    header = struct.pack("<BHH", block_type, flags, 7 + len(body)) + body
    return struct.pack("<H", zlib.crc32(header) & 0xFFFF) + header


def rar4_name(name):
    """The bytes of a name and the flag for their format.

    A name beyond ASCII is an 8-bit substitute, NUL, and the packed UTF-16 units: one byte of high
    bits (unused here), then for each four units a byte of four 2-bit modes and the units; mode 2
    is a whole unit.
    """
    name = name.replace("/", "\\")
    if name.isascii():
        return name.encode("ascii"), 0
    encoded = name.encode("utf-16-le")
    units = [encoded[i : i + 2] for i in range(0, len(encoded), 2)]
    packed = bytearray([0])
    for first in range(0, len(units), 4):
        group = units[first : first + 4]
        packed.append(sum(2 << (6 - 2 * i) for i in range(len(group))))
        packed += b"".join(group)
    substitute = name.encode("ascii", "replace").replace(b"?", b"_")
    return substitute + b"\0" + bytes(packed), 0x200


def rar4(items):
    """The archive with `items`, pairs of name and bytes."""
    out = b"Rar!\x1a\x07\x00" + rar4_block(0x73, 0, bytes(6))
    for name, data in items:
        is_folder = name.endswith("/")
        name_bytes, name_flag = rar4_name(name.rstrip("/"))
        body = struct.pack(
            "<IIBIIBBHI",
            len(data),
            len(data),
            2,  # Windows
            zlib.crc32(data),
            DOS_TIME,
            20,  # The version needed to unpack.
            0x30,  # Stored.
            len(name_bytes),
            FOLDER_ATTRIBUTE if is_folder else ARCHIVE_ATTRIBUTE,
        )
        flags = 0x8000 | name_flag | (0xE0 if is_folder else 0)
        out += rar4_block(0x74, flags, body + name_bytes) + data
    return out + rar4_block(0x7B, 0x4000, b"")


def vint(number):
    out = bytearray()
    while number >= 0x80:
        out.append(number & 0x7F | 0x80)
        number >>= 7
    out.append(number)
    return bytes(out)


def rar5_block(body):
    sized = vint(len(body)) + body
    return struct.pack("<I", zlib.crc32(sized)) + sized


def rar5(items):
    """The archive with `items`, pairs of name and bytes."""
    out = b"Rar!\x1a\x07\x01\x00" + rar5_block(vint(1) + vint(0) + vint(0))
    for name, data in items:
        is_folder = name.endswith("/")
        name_bytes = name.rstrip("/").encode("utf-8")
        # A file header with a data area, even if it is empty: some programs require it.
        body = vint(2) + vint(2) + vint(len(data))
        # Folder, or file with time and CRC-32.
        body += vint(1 if is_folder else 2 | 4) + vint(len(data))
        body += vint(FOLDER_ATTRIBUTE if is_folder else ARCHIVE_ATTRIBUTE)
        if not is_folder:
            body += struct.pack("<II", UNIX_TIME, zlib.crc32(data))
        # Stored, written on Windows.
        body += vint(0) + vint(0) + vint(len(name_bytes)) + name_bytes
        out += rar5_block(body) + data
    return out + rar5_block(vint(5) + vint(0) + vint(0))
