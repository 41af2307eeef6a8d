"""Compares version resources and icon groups with those that the resource compiler makes.

usage: resource_compiler_test.py DUMP_RESOURCES_EXE GENERATED_FOLDER WINDRES
"""

import pathlib
import random
import struct
import subprocess
import sys
import tempfile
import unittest

from kit_runner import DEFAULT_BRAND, ROOT, run_windows, windows_path

sys.path.insert(0, str(ROOT / "cmake"))
import brand_version  # noqa: E402

DUMP, GENERATED, WINDRES = sys.argv[1:4]
TOOL_CONFIG = (ROOT / "src" / "config" / "tool_config.h").read_text("utf-8")
BRANDS = 20
ICONS = 12

VERSION_KEYS = [program + key for program in ("repair", "uninstaller")
                for key in ("FileDescription", "ProductName", "ProductVersion", "Copyright",
                            "Language")]
KEYS = VERSION_KEYS + ["repairToolName", "programsPublisher", "companyName"]
PIECES = ["a", "Bc", " ", "\t", "=", "\\\\", "\\n", "\\r", "\\t", "\\e", "\\x", "\"", "\"\"", "'", "%",
          "é", "©", "中文", "🎮", "{", "BEGIN", "#define", "//", "/*", ",", ";", "long " * 30]


def random_brand(chance):
    """A configuration whose texts could trip a resource script."""
    lines = []
    for key in KEYS:
        if chance.random() < 0.2:
            continue
        if key.endswith("Language"):
            value = chance.choice(["0409", "0407", "040C", "1eFf", "0000", " FFFF\t"])
        elif key.endswith("Version"):
            value = ".".join(chance.choice(["0", "7", "65535", "08", "12", "00000065535"])
                             for _ in range(chance.randint(1, 4)))
            value = chance.choice(["", "", " "]) + value + chance.choice(["", "-rc1", "-x.7 y", " "])
        else:
            value = "".join(chance.choice(PIECES) for _ in range(chance.randint(0, 8)))
        lines.append(f"{key}={value}")
    return "\n".join(lines)


def random_icon(chance):
    """An icon file with entries of all kinds."""
    count = chance.randint(1, 12)
    entries, pictures, offset = b"", b"", 6 + 16 * count
    for _ in range(count):
        picture = struct.pack("<I", 40) + chance.randbytes(chance.randint(36, 90))
        entries += struct.pack("<BBBBHHII", chance.choice([0, 16, 32, 48, 255]),
                               chance.choice([0, 16, 24, 32]), chance.choice([0, 1, 2, 3, 16, 255]),
                               0, chance.choice([0, 1, 2]), chance.choice([0, 1, 4, 8, 24, 32]),
                               len(picture), offset)
        pictures += picture
        offset += len(picture)
    return struct.pack("<HHH", 0, 1, count) + entries + pictures


def compiled(script, folder):
    """The resources of a script: bytes by (type, number, language)."""
    source, result = folder / "script.rc", folder / "script.res"
    source.write_text(script, "utf-8")
    subprocess.run([WINDRES, "-O", "res", "-I", folder, "-I", GENERATED, "-I", ROOT / "resources", source,
                    result], check=True)
    content, found, place = result.read_bytes(), {}, 32  # The first header is an empty one.
    while place < len(content):
        size, header, _, kind, _, number = struct.unpack_from("<IIHHHH", content, place)
        language, = struct.unpack_from("<H", content, place + 22 + 0)
        found[kind, number, language] = content[place + header:place + header + size]
        place = (place + header + size + 3) & ~3
    return found


class ResourceCompilerTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.addCleanup(self.scratch.cleanup)
        self.folder = pathlib.Path(self.scratch.name)
        self.chance = random.Random(20261121)

    def dump(self):
        code, output = run_windows(DUMP, windows_path(self.folder))
        self.assertEqual(code, 0, output)

    def expected_version(self, program, config):
        _, header = brand_version.describe(program, config, TOOL_CONFIG)
        (self.folder / "brand_version.h").write_text(header, "utf-8")
        resources = compiled('#pragma code_page(65001)\n#include "brand_version.h"\n'
                             '#include "engine_version.h"\n#include <windows.h>\n'
                             '#include "version_info.rc"\n', self.folder)
        (key, content), = resources.items()
        self.assertEqual(key[:2], (16, 1))
        return content

    def test_version_resources_are_the_same(self):
        configs = [random_brand(self.chance).encode() for _ in range(BRANDS)]
        configs += [b"", (DEFAULT_BRAND / "config.txt").read_bytes()]
        for number, config in enumerate(configs):
            (self.folder / f"{number}.txt").write_bytes(config)
        self.dump()
        for number, config in enumerate(configs):
            for program in ("repair", "uninstaller"):
                with self.subTest(config=config.decode(), program=program):
                    made = (self.folder / f"{number}.{program}").read_bytes()
                    self.assertEqual(made, self.expected_version(program, config))

    def test_icon_groups_are_the_same(self):
        icons = [random_icon(self.chance) for _ in range(ICONS)]
        icons.append((DEFAULT_BRAND / "tool.ico").read_bytes())
        for number, icon in enumerate(icons):
            (self.folder / f"{number}.ico").write_bytes(icon)
        self.dump()
        for number in range(len(icons)):
            with self.subTest(icon=number):
                resources = compiled(f'101 ICON "{self.folder}/{number}.ico"\n', self.folder)
                group, = [content for key, content in resources.items() if key[0] == 14]
                self.assertEqual((self.folder / f"{number}.group").read_bytes(), group)
                ids = sorted(key[1] for key in resources if key[0] == 3)
                self.assertEqual(ids, list(range(1, len(ids) + 1)))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
