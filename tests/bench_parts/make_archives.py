#!/usr/bin/env python3
"""Writes the packages that the tests unpack, and what they hold.

make_archives.py FOLDER

Each NAME.zip or NAME.rar that can be unpacked has a NAME.contents: for each entry a line of its
path, a tab and its size, then its bytes. The files are the same each time.
"""

import os
import random
import struct
import sys
import unittest.mock
import zipfile
import zlib

import write_rar

TIME = (2024, 3, 4, 5, 6, 8)
CRC_BYTES = b"the bytes that one bit is flipped in"


def noise(seed, size):
    return random.Random(seed).randbytes(size)


CLIENT = [
    ("client.exe", b"MZ" + noise(1, 70_001)),
    ("readme.txt", b"line one\r\nline two\r\n"),
    ("empty.dat", b""),
    ("data/", b""),
    ("data/maps/", b""),
    ("data/maps/a.map", b"mountain " * 40_000),
    ("data/maps/b.map", noise(2, 1_500_000)),
    ("data/every byte.bin", bytes(range(256)) * 17),
    ("leer/", b""),
]

UNICODE = [
    ("Gr\u00fc\u00dfe.txt", b"umlauts"),
    ("\u65e5\u672c\u8a9e/", b""),
    ("\u65e5\u672c\u8a9e/\u8aad\u3093\u3067.txt", b"east"),
    ("\u041f\u0440\u0438\u0432\u0435\u0442.dat", b"north"),
    ("smile \U0001f600.bin", b"beyond the first plane"),
    ("it's 100% (a) [b] {c} & $d.txt", b"signs"),
]

TWO_FILES = [("first.dat", b"first"), ("damaged.dat", CRC_BYTES)]

# A bit of everything, for whole jobs; also a file with the tool's name.
SMALL_CLIENT = CLIENT + UNICODE + [
    ("Karvoth Repair.exe", b"the tool of another version"),
    ("data/maps/old/deep/c.map", b"valley " * 1_000),
]


def under(folder, items):
    return [(folder + "/", b"")] + [(folder + "/" + name, data) for name, data in items]


def many(count):
    """Small files, at most 200 in a folder, because Wine lists large folders slowly."""
    return [
        (f"part{i // 200:03}/file{i:05}.dat", b"%d\n" % i * (i % 50)) for i in range(count)
    ]


def write_zip(path, items, method=zipfile.ZIP_DEFLATED, zip64=False):
    with zipfile.ZipFile(path, "w") as archive:
        for name, data in items:
            entry = zipfile.ZipInfo(name, TIME)
            entry.compress_type = zipfile.ZIP_STORED if name.endswith("/") else method
            entry.create_system = 0  # Windows
            entry.external_attr = 0x10 if name.endswith("/") else 0x20
            if name.endswith("/"):
                archive.writestr(entry, b"")
                continue
            with archive.open(entry, "w", force_zip64=zip64) as out:
                out.write(data)


def write_zip64(path, items):
    """Every entry and the directory in the long form, which is otherwise for 4 GiB and more."""
    with unittest.mock.patch.multiple(zipfile, ZIP64_LIMIT=0, ZIP_FILECOUNT_LIMIT=0):
        write_zip(path, items, zip64=True)


def encrypt(data, password):
    """The classic encryption of ZIP: three keys that each byte changes. The format describes it in
    section 6.1 of APPNOTE.TXT."""
    keys = [0x12345678, 0x23456789, 0x34567890]

    def add_to_crc(byte, crc):
        return zlib.crc32(bytes([byte]), crc ^ 0xFFFFFFFF) ^ 0xFFFFFFFF

    def update(byte):
        keys[0] = add_to_crc(byte, keys[0])
        keys[1] = ((keys[1] + (keys[0] & 0xFF)) * 134775813 + 1) & 0xFFFFFFFF
        keys[2] = add_to_crc(keys[1] >> 24, keys[2])

    for byte in password:
        update(byte)
    out = bytearray()
    # Twelve bytes in front, the last of which shows a reader whether its password is right.
    for byte in noise(3, 11) + bytes([zlib.crc32(data) >> 24]) + data:
        mixed = (keys[2] | 2) & 0xFFFF
        out.append(byte ^ ((mixed * (mixed ^ 1) >> 8) & 0xFF))
        update(byte)
    return bytes(out)


def write_single_zip(path, name, body, size, crc, flags=0, method=zipfile.ZIP_STORED):
    """One file, whose bytes in the package are `body`; with the long form of sizes that need it."""
    sizes = struct.pack("<II", len(body), size) if size < 1 << 32 else b"\xff" * 8
    extra = b"" if size < 1 << 32 else struct.pack("<HHQQ", 1, 16, size, len(body))
    common = struct.pack("<HHHHHI", 45, flags, method, 0x2CC0, 0x5864, crc) + sizes
    common += struct.pack("<HH", len(name), len(extra))
    local = b"PK\3\4" + common + name + extra + body
    central = b"PK\1\2" + struct.pack("<H", 45) + common + bytes(14) + name + extra
    end = b"PK\5\6" + struct.pack("<HHHHIIH", 0, 0, 1, 1, len(central), len(local), 0)
    write_bytes(path, local + central + end)


def write_locked_zip(path):
    """A file that only a password opens."""
    data = b"the secret"
    body = encrypt(data, b"secret")
    write_single_zip(path, b"secret.dat", body, len(data), zlib.crc32(data), flags=1)


# 4 GiB of zeros and a few more bytes; zlib.crc32 takes long for so many.
HUGE_MATCHES = ((1 << 32) // 258 // 8 + 1) * 8
HUGE_SIZE = 1 + HUGE_MATCHES * 258 + len(b"end")
HUGE_CRC = 0x8F307BD5


def deflate_bits(bits, value, count, is_code=False):
    """Appends a number, or a Huffman code, whose first bit is its highest."""
    for place in range(count - 1, -1, -1) if is_code else range(count):
        bits.append(value >> place & 1)


def huge_body():
    """That file in the shortest form that the fixed codes allow: eight times the match "258 bytes like
    the last one" are 13 bytes, which repeat."""
    bits = []
    deflate_bits(bits, 1, 1)  # The last block,
    deflate_bits(bits, 1, 2)  # with fixed codes.
    deflate_bits(bits, 0x30, 8, is_code=True)  # A zero.
    period = []
    for _ in range(8):
        deflate_bits(period, 0b11000101, 8, is_code=True)  # 258 bytes
        deflate_bits(period, 0, 5)  # from one byte back.
    start = len(bits) // 8 + 1
    tail = []
    for byte in b"end":
        deflate_bits(tail, 0x30 + byte, 8, is_code=True)
    deflate_bits(tail, 0, 7)  # The block ends.
    bits += period * 2 + tail
    bits += [0] * (-len(bits) % 8)
    packed = bytes(
        sum(bit << place for place, bit in enumerate(bits[i : i + 8])) for i in range(0, len(bits), 8)
    )
    cycle = packed[start : start + 13]
    return packed[:start] + cycle * (HUGE_MATCHES // 8 - 2) + packed[start:]


def write_huge_zip(path):
    write_single_zip(path, b"huge.dat", huge_body(), HUGE_SIZE, HUGE_CRC, method=zipfile.ZIP_DEFLATED)


def write_bytes(path, data):
    with open(path, "wb") as out:
        out.write(data)


def write_contents(path, items):
    out = bytearray()
    for name, data in items:
        out += f"{name}\t{len(data)}\n".encode("utf-8") + data
    write_bytes(path, out)


def flip_a_bit(data):
    position = data.index(CRC_BYTES)
    return data[:position] + bytes([data[position] ^ 1]) + data[position + 1 :]


def write_broken(folder, name, whole):
    """Two of a kind: one with a wrong bit in its last file, one that ends inside that file."""
    base, extension = os.path.splitext(name)
    write_bytes(os.path.join(folder, f"{base}_damaged{extension}"), flip_a_bit(whole))
    cut = whole.index(CRC_BYTES) + len(CRC_BYTES) // 2
    write_bytes(os.path.join(folder, f"{base}_truncated{extension}"), whole[:cut])


def write_zips(folder):
    packages = {
        "zip_stored": (CLIENT, lambda path, items: write_zip(path, items, zipfile.ZIP_STORED)),
        "zip_deflated": (CLIENT, write_zip),
        "zip_64": (CLIENT, write_zip64),
        "zip_unicode": (UNICODE, write_zip),
        "zip_many": (many(1_000), write_zip),
        # More than a ZIP archive held before ZIP64. For the slow tests.
        "zip_100000": (many(100_000), write_zip),
        "zip_lone_folder": (under("Client", CLIENT), write_zip),
        "zip_own_name": (under("Client", under("client", TWO_FILES)), write_zip),
        "zip_small_client": (SMALL_CLIENT, write_zip),
        "zip_small_client_lone_folder": (under("Client", SMALL_CLIENT), write_zip),
    }
    for name, (items, write) in packages.items():
        write(os.path.join(folder, name + ".zip"), items)
        write_contents(os.path.join(folder, name + ".contents"), items)
    write_locked_zip(os.path.join(folder, "zip_password.zip"))
    write_huge_zip(os.path.join(folder, "zip_huge.zip"))
    whole = os.path.join(folder, "zip_whole.zip")
    write_zip(whole, TWO_FILES, zipfile.ZIP_STORED)
    with open(whole, "rb") as archive:
        write_broken(folder, "zip.zip", archive.read())
    os.remove(whole)


def write_rars(folder):
    packages = {
        "plain": CLIENT,
        "unicode": UNICODE,
        "lone_folder": under("Client", CLIENT),
        "small_client": SMALL_CLIENT,
        "small_client_lone_folder": under("Client", SMALL_CLIENT),
    }
    for version, write in (("rar4", write_rar.rar4), ("rar5", write_rar.rar5)):
        for name, items in packages.items():
            base = os.path.join(folder, f"{version}_{name}")
            write_bytes(base + ".rar", write(items))
            write_contents(base + ".contents", items)
        write_broken(folder, version + ".rar", write(TWO_FILES))


def main():
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    write_zips(folder)
    write_rars(folder)


if __name__ == "__main__":
    main()
