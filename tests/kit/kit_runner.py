"""Runs repair_kit as an operator does, and reads what it makes, for the tests on the build machine."""

import os
import pathlib
import struct
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]
RUN_IN_PREFIX = ROOT / "tests" / "bench_parts" / "run_in_prefix"
DEFAULT_BRAND = ROOT / "resources" / "karvoth"


def windows_path(path):
    """How Windows programs name a file of this machine."""
    return "Z:" + str(path).replace("/", "\\")


def run_windows(exe, *arguments):
    """Exit code (its low 8 bits) and output (both streams) of a console program."""
    result = subprocess.run([RUN_IN_PREFIX, exe, *map(str, arguments)], capture_output=True,
                            encoding="utf-8", errors="replace",
                            env={**os.environ, "BENCH_EXPECT_MARKER": "0"})
    return result.returncode, result.stdout.replace("\r\n", "\n")


class Program:
    """The headers, sections and resources of a 64-bit program, read without the kit's code."""

    def __init__(self, content):
        self.content = content
        self.header = struct.unpack_from("<I", content, 60)[0]
        self.optional = self.header + 24
        count, = struct.unpack_from("<H", content, self.header + 6)
        size, = struct.unpack_from("<H", content, self.header + 20)
        self.sections = []
        for index in range(count):
            fields = struct.unpack_from("<8sIIIIIIHHI", content, self.optional + size + index * 40)
            name = fields[0].rstrip(b"\0").decode()
            self.sections.append((name, *fields[1:5], fields[9]))

    def number(self, field):
        """A 32-bit number of the optional header."""
        return struct.unpack_from("<I", self.content, self.optional + field)[0]

    def directory(self, index):
        return struct.unpack_from("<II", self.content, self.optional + 112 + index * 8)

    def data(self, name):
        """The bytes of the only section with this name."""
        (size, _, raw_size, offset, _), = [each[1:] for each in self.sections if each[0] == name]
        return self.content[offset:offset + min(size, raw_size)]

    def expected_checksum(self):
        """What the header's checksum must be, computed word by word as published."""
        field = self.optional + 64
        content = self.content[:field] + bytes(4) + self.content[field + 4:]
        total = 0
        for word, in struct.iter_unpack("<H", content + b"\0" * (len(content) % 2)):
            total += word
            total = (total & 0xFFFF) + (total >> 16)
        return total + len(content)

    def resources(self):
        """Bytes by (type, number, language)."""
        address, _ = self.directory(2)
        (base, tree), = [(each[2], each[4]) for each in self.sections if each[2] == address]

        def entries(place):
            named, numbered = struct.unpack_from("<HH", self.content, tree + place + 12)
            assert named == 0
            for index in range(numbered):
                yield struct.unpack_from("<II", self.content, tree + place + 16 + index * 8)

        found = {}
        for kind, ids in entries(0):
            for number, languages in entries(ids & 0x7FFFFFFF):
                for language, leaf in entries(languages & 0x7FFFFFFF):
                    data, size = struct.unpack_from("<II", self.content, tree + leaf)
                    start = data - base + tree
                    assert (kind, number, language) not in found
                    found[kind, number, language] = self.content[start:start + size]
        return found
