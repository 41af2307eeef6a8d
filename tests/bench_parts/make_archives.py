#!/usr/bin/env python3
"""Writes the packages that the tests unpack, and what they hold.

make_archives.py FOLDER

Each NAME.zip or NAME.rar that can be unpacked has a NAME.contents: for each entry a line of its
path, a tab and its size, then its bytes. The files are the same each time.
"""

import io
import os
import random
import struct
import sys
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


def write_zip(path, items, method=zipfile.ZIP_DEFLATED):
    with zipfile.ZipFile(path, "w") as archive:
        for name, data in items:
            entry = zipfile.ZipInfo(name, TIME)
            entry.compress_type = zipfile.ZIP_STORED if name.endswith("/") else method
            entry.create_system = 0  # Windows
            entry.external_attr = 0x10 if name.endswith("/") else 0x20
            archive.writestr(entry, data)


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
    """A file that only a password opens, if any: its bytes are noise."""
    data = b"the secret"
    body = noise(3, 12 + len(data))
    write_single_zip(path, b"secret.dat", body, len(data), zlib.crc32(data), flags=1)


def write_huge_zip(path):
    """4 GiB of zeros and a few more bytes; zlib.crc32 takes long for so many."""
    packer = zlib.compressobj(9, zlib.DEFLATED, -zlib.MAX_WBITS)
    # Complete in itself, so that it can be repeated.
    block = packer.compress(bytes(1 << 20)) + packer.flush(zlib.Z_FULL_FLUSH)
    body = block * 4096 + packer.compress(bytes(2049) + b"end") + packer.flush()
    write_single_zip(path, b"huge.dat", body, (1 << 32) + 2052, 0x8F307BD5, method=zipfile.ZIP_DEFLATED)


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


def write_packages(folder, names_and_items, extension, write):
    for name, items in names_and_items.items():
        base = os.path.join(folder, name)
        write(base + extension, items)
        write_contents(base + ".contents", items)


def main():
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    zips = {
        "zip_deflated": CLIENT,
        "zip_unicode": UNICODE,
        "zip_many": many(1_000),
        # More than a ZIP archive held before ZIP64. For the slow tests.
        "zip_100000": many(100_000),
        "zip_lone_folder": under("Client", CLIENT),
        "zip_own_name": under("Client", under("client", TWO_FILES)),
        "zip_small_client": SMALL_CLIENT,
        "zip_small_client_lone_folder": under("Client", SMALL_CLIENT),
    }
    rars = {
        "rar5_plain": CLIENT,
        "rar5_unicode": UNICODE,
        "rar5_lone_folder": under("Client", CLIENT),
        "rar5_small_client": SMALL_CLIENT,
        "rar5_small_client_lone_folder": under("Client", SMALL_CLIENT),
    }
    write_packages(folder, zips, ".zip", write_zip)
    write_packages(folder, rars, ".rar", lambda path, items: write_bytes(path, write_rar.rar5(items)))
    write_locked_zip(os.path.join(folder, "zip_password.zip"))
    write_huge_zip(os.path.join(folder, "zip_huge.zip"))
    whole = io.BytesIO()
    write_zip(whole, TWO_FILES, zipfile.ZIP_STORED)
    write_broken(folder, "zip.zip", whole.getvalue())
    write_broken(folder, "rar5.rar", write_rar.rar5(TWO_FILES))


if __name__ == "__main__":
    main()
