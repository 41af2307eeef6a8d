"""RAR 5 archives without compression, for the tests."""

import struct
import zlib

UNIX_TIME = 1709528768  # 2024-03-04 05:06:08

FOLDER_ATTRIBUTE = 0x10
ARCHIVE_ATTRIBUTE = 0x20


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
