"""Writes ZIP files in which every field can be wrong."""

import struct
import zlib

FIXED_TIME = (23 << 11) | (58 << 5) | 28
FIXED_DATE = (41 << 9) | (11 << 5) | 21


class Entry:
    """One entry. Arguments that begin with local_ differ from the directory's on purpose."""

    def __init__(self, name, data=b"", method=None, **fields):
        self.name = name.encode() if isinstance(name, str) else name
        self.data = data
        self.method = (8 if data else 0) if method is None else method
        utf8 = 0x800 if any(byte > 127 for byte in self.name) else 0
        self.flags = fields.pop("flags", utf8)
        self.packed = fields.pop("packed", None)
        if self.packed is None:
            self.packed = deflate(data) if self.method == 8 else data
        self.crc = fields.pop("crc", zlib.crc32(data))
        self.size = fields.pop("size", len(data))
        self.packed_size = fields.pop("packed_size", len(self.packed))
        self.attributes = fields.pop("attributes", 0x10 if self.name.endswith(b"/") else 0)
        self.host = fields.pop("host", 0)
        self.disk = fields.pop("disk", 0)
        self.extra = fields.pop("extra", b"")
        self.zip64 = fields.pop("zip64", False)
        self.descriptor = fields.pop("descriptor", None)
        self.gap = fields.pop("gap", b"")
        self.offset = fields.pop("offset", None)
        self.listed = fields.pop("listed", True)
        self.local_signature = fields.pop("local_signature", 0x04034B50)
        self.local = {key[6:]: fields.pop(key) for key in list(fields) if key.startswith("local_")}
        assert not fields, fields

    def local_header(self):
        get = lambda key, value: self.local.get(key, value)
        crc, packed, size = get("crc", self.crc), get("packed_size", self.packed_size), get(
            "size", self.size)
        extra = self.extra
        if self.descriptor:
            self.flags |= 8
            crc = packed = size = 0
        elif self.zip64:
            extra = struct.pack("<HHQQ", 1, 16, size, packed) + extra
            packed = size = 0xFFFFFFFF
        name = get("name", self.name)
        return struct.pack("<IHHHHHIIIHH", self.local_signature, 45 if self.zip64 else 20,
                           get("flags", self.flags), get("method", self.method), FIXED_TIME,
                           FIXED_DATE, crc, packed, size, len(name), len(extra)) + name + extra

    def directory_header(self, offset):
        packed, size, extra = self.packed_size, self.size, self.extra
        if self.zip64:
            extra = struct.pack("<HHQQQ", 1, 24, size, packed, offset) + extra
            packed = size = offset = 0xFFFFFFFF
        return struct.pack("<IBBHHHHHIIIHHHHHII", 0x02014B50, 20, self.host,
                           45 if self.zip64 else 20, self.flags, self.method, FIXED_TIME, FIXED_DATE,
                           self.crc, packed, size, len(self.name), len(extra), 0, self.disk, 0,
                           self.attributes, offset) + self.name + extra


def deflate(data):
    packer = zlib.compressobj(6, zlib.DEFLATED, -15)
    return packer.compress(data) + packer.flush()


def descriptor(entry, signature=True, wide=False, **wrong):
    crc, packed, size = (wrong.get("crc", entry.crc), wrong.get("packed", entry.packed_size),
                         wrong.get("size", entry.size))
    return (struct.pack("<I", 0x08074B50) if signature else b"") + struct.pack(
        "<IQQ" if wide else "<III", crc, packed, size)


def end_record(count, directory_size, directory_offset, comment=b"", **wrong):
    return struct.pack("<IHHHHIIH", 0x06054B50, wrong.get("disk", 0), wrong.get("directory_disk", 0),
                       wrong.get("disk_count", count), count, directory_size, directory_offset,
                       wrong.get("comment_size", len(comment))) + comment


def zip64_end(count, directory_size, directory_offset, position, **wrong):
    return struct.pack("<IQHHIIQQQQ", 0x06064B50, wrong.get("record_size", 44), 45, 45, 0, 0,
                       wrong.get("disk_count", count), count, directory_size,
                       directory_offset) + struct.pack(
                           "<IIQI", 0x07064B50, 0, wrong.get("position", position),
                           wrong.get("disks", 1))


def build(entries, comment=b"", before_directory=b"", behind_directory=b"", tail=b"", zip64=None,
          in_directory=b"", end=None, shift=0):
    """The file's bytes. `end` replaces fields of the end record, `zip64` those of the ZIP64 one."""
    out = bytearray()
    offsets = {}
    for entry in entries:
        out += entry.gap
        offsets[entry] = len(out)
        out += entry.local_header() + entry.packed
        if entry.descriptor:
            out += entry.descriptor(entry)
    out += before_directory
    start = len(out)
    listed = [entry for entry in entries if entry.listed]
    for entry in listed:
        offset = offsets[entry] if entry.offset is None else entry.offset
        out += entry.directory_header(offset)
    out += in_directory
    size = len(out) - start
    out += behind_directory
    fields = dict(count=len(listed), directory_size=size, directory_offset=start + shift)
    if zip64 is not None:
        large = dict(fields, position=len(out)) | zip64
        out += zip64_end(**large)
        fields = dict(count=0xFFFF, directory_size=0xFFFFFFFF, directory_offset=0xFFFFFFFF)
    out += end_record(comment=comment, **(fields | (end or {})))
    return bytes(out) + tail
