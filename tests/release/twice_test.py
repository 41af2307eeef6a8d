"""scripts/release makes the same bytes twice: in another folder, at another time, with other jobs.

usage: twice_test.py VERSION KIT_EXE

KIT_EXE is the release build's, which must be the one that is handed out.
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest
import zipfile

from scratch_checkout import clone_checkout, make_checkout

VERSION, KIT = sys.argv.pop(1), pathlib.Path(sys.argv.pop(1))


class TwiceTest(unittest.TestCase):
    def release(self, folder, **environment):
        """Makes a release in this clone. Gives the bytes of its files."""
        result = subprocess.run([folder / "scripts" / "release"], env={**os.environ, **environment},
                                cwd="/", stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.assertEqual(result.returncode, 0, result.stdout[-4000:])
        return {path.name: path.read_bytes() for path in (folder / "dist").iterdir()}

    def test_both_are_equal_and_hand_out_the_tested_kit(self):
        with tempfile.TemporaryDirectory() as scratch:
            scratch = pathlib.Path(scratch)
            first, second = scratch / "first", scratch / "a longer folder" / "second"
            first.mkdir()
            make_checkout(first, VERSION)
            clone_checkout(first, second)
            made = self.release(first, CMAKE_BUILD_PARALLEL_LEVEL="1", TZ="Asia/Tokyo",
                                CXXFLAGS="-O0", SOURCE_DATE_EPOCH="1")
            again = self.release(second, CMAKE_BUILD_PARALLEL_LEVEL="3", TZ="America/Lima",
                                 LC_ALL="C")
            self.assertEqual(set(made), {f"repair-kit-{VERSION}.zip", "SHA256SUMS",
                                         f"repair-kit-{VERSION}-symbols.zip"})
            for name, content in made.items():
                self.assertTrue(again[name] == content, name)
            with zipfile.ZipFile(first / "dist" / f"repair-kit-{VERSION}.zip") as archive:
                kit = archive.read(f"repair-kit-{VERSION}/repair_kit.exe")
            self.assertTrue(kit == KIT.read_bytes())
            self.check_lines(first)

    def check_lines(self, folder):
        """Do the symbols name a source line?"""
        debug = folder / "kit.debug"
        with zipfile.ZipFile(folder / "dist" / f"repair-kit-{VERSION}-symbols.zip") as archive:
            debug.write_bytes(archive.read(f"repair-kit-{VERSION}-symbols/repair_kit.debug"))
        names = subprocess.run(["x86_64-w64-mingw32-nm", debug], check=True, capture_output=True,
                               text=True).stdout
        place, = [line.split()[0] for line in names.splitlines() if line.endswith(" T wmain")]
        line = subprocess.run(["x86_64-w64-mingw32-addr2line", "-e", debug, place], check=True,
                              capture_output=True, text=True).stdout
        self.assertRegex(line, r"^(\./)*kit/entry_point\.cpp:\d+$")


if __name__ == "__main__":
    unittest.main()
