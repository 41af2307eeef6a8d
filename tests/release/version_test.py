"""The version is said once, in CMakeLists.txt, and everything that shows it agrees.

usage: version_test.py VERSION REPAIR_KIT_EXE TOOL_EXE
"""

import pathlib
import re
import struct
import subprocess
import sys
import unittest

from release_bench import ROOT

import checkout
from kit_runner import Program, run_windows

VERSION = sys.argv.pop(1)
KIT, TOOL = pathlib.Path(sys.argv.pop(1)), pathlib.Path(sys.argv.pop(1))


class VersionTest(unittest.TestCase):
    def read(self, name):
        return (ROOT / name).read_text("utf-8")

    def test_the_release_script_reads_what_the_build_says(self):
        self.assertEqual(checkout.project_version(ROOT), VERSION)

    def test_the_newest_changes_are_this_versions(self):
        newest = re.search(r"^## (\S+)", self.read("CHANGELOG.md"), re.MULTILINE)[1]
        self.assertEqual(newest, VERSION)

    def test_the_documents_show_this_engine_version(self):
        shown = re.findall(r'"[eE]ngineVersion": "([^"]*)"', self.read("docs/kit.md"))
        self.assertGreater(len(shown), 0)
        self.assertEqual(set(shown), {VERSION})

    def places(self, before, *paths):
        """For each line that says the version after `before`, and no longer number, its file."""
        pattern = rf"{before}(?<!\d)(?<!\d\.){re.escape(VERSION)}(?!\.?\d)"
        result = subprocess.run(["git", "grep", "--untracked", "--perl-regexp", "-I", "--line-number",
                                 pattern, "--", *paths], cwd=ROOT, capture_output=True, text=True)
        self.assertIn(result.returncode, (0, 1), result.stderr)
        return [line.split(":")[0] for line in result.stdout.splitlines()]

    def test_no_other_source_says_it(self):
        self.assertEqual(self.places("", "*CMakeLists.txt", "cmake", "kit", "resources/*.rc",
                                     "resources/*.in", "scripts", "src", "uninstaller"),
                         ["CMakeLists.txt"])

    def test_no_other_page_says_it(self):
        # Packages and brands in examples may have the same number.
        self.assertEqual(self.places("repair[-_ ]kit[- ]", "README.md", "docs"), [])

    def test_the_kit_prints_it(self):
        code, output = run_windows(KIT, "--version")
        self.assertEqual((code, output.split()), (0, ["repair_kit", VERSION]))

    def check_resource(self, content, engine_only):
        """The version resource, read without the kit's code."""
        (block,) = [data for key, data in Program(content).resources().items() if key[0] == 16]
        text = block.decode("utf-16-le", "replace")
        shown = dict(re.findall(r"(EngineVersion|FileVersion|ProductVersion)\0+([0-9.]+)\0", text))
        self.assertEqual(shown["EngineVersion"], VERSION)
        if not engine_only:
            self.assertEqual(shown, dict.fromkeys(shown, VERSION))
            high, low = struct.unpack_from("<II", block, block.index(b"\xbd\x04\xef\xfe") + 8)
            self.assertEqual(f"{high >> 16}.{high & 0xFFFF}.{low >> 16}", VERSION)

    def test_the_programs_resources_have_it(self):
        self.check_resource(KIT.read_bytes(), False)
        self.check_resource(TOOL.read_bytes(), True)
        uninstaller, = [data for data in Program(TOOL.read_bytes()).resources().values()
                        if data.startswith(b"MZ")]
        self.check_resource(uninstaller, True)


if __name__ == "__main__":
    unittest.main()
