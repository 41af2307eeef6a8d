"""The release's archives, made of the build at hand: bytes, contents, licenses, symbols, signature.

usage: archives_test.py BUILD_FOLDER
"""

import functools
import hashlib
import json
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import zipfile

from release_bench import ROOT, SECONDS, write_release

import archives
import linked_software
import signing
from kit_runner import Program, run_windows

BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
KIT = BUILD / archives.PROGRAMS["repair_kit"]
TOOL_ID, UNINSTALLER_ID = 301, 302


@functools.cache
def release_folder():
    """A release of the build, made once for all tests."""
    scratch = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(scratch.cleanup)
    write_release(BUILD, pathlib.Path(scratch.name))
    return pathlib.Path(scratch.name)


class Scratch(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)

    def output_of(self, *command):
        return subprocess.run(command, cwd=self.folder, check=True, capture_output=True, text=True).stdout


class WriteZipTest(Scratch):
    def write(self, name, files, seconds=SECONDS):
        path = self.folder / name
        archives.write_zip(path, "top", files, seconds)
        return path.read_bytes()

    def test_order_zone_and_moment_do_not_matter(self):
        first = self.write("first.zip", {"b": b"B" * 1000, "a/c": b"", "a": b"x"})
        self.addCleanup(time.tzset)
        self.addCleanup(os.environ.pop, "TZ")
        os.environ["TZ"] = "Asia/Tokyo"
        time.tzset()
        self.assertEqual(self.write("second.zip", {"a": b"x", "a/c": b"", "b": b"B" * 1000}), first)

    def test_time_is_the_commits_in_utc(self):
        self.write("first.zip", {"a": b""}, 1700000000)
        entry, = zipfile.ZipFile(self.folder / "first.zip").infolist()
        self.assertEqual(entry.date_time, (2023, 11, 14, 22, 13, 20))

    def test_entries_are_stored_as_explorer_reads_them(self):
        self.write("first.zip", {"a": b"A" * 1000})
        entry, = zipfile.ZipFile(self.folder / "first.zip").infolist()
        self.assertEqual((entry.filename, entry.compress_type, entry.flag_bits, entry.extract_version),
                         ("top/a", zipfile.ZIP_DEFLATED, 0, 20))


class ReleaseTest(Scratch):
    @classmethod
    def setUpClass(cls):
        cls.release = release_folder()
        cls.kit = cls.contents(cls.release / "repair-kit-1.2.3.zip", "repair-kit-1.2.3/")
        cls.symbols = cls.contents(cls.release / "repair-kit-1.2.3-symbols.zip",
                                   "repair-kit-1.2.3-symbols/")
        cls.document = json.loads(cls.kit["repair-kit.spdx.json"])

    @staticmethod
    def contents(path, top):
        with zipfile.ZipFile(path) as archive:
            return {name.removeprefix(top): archive.read(name) for name in archive.namelist()}


class WholeTest(ReleaseTest):
    def test_a_second_run_replaces_the_archives_by_the_same_bytes(self):
        again = self.folder / "elsewhere" / "again"
        again.mkdir(parents=True)
        for path in self.release.iterdir():
            (again / path.name).write_text("old")
        write_release(BUILD, again)
        self.assertEqual(sorted(path.name for path in again.iterdir()),
                         sorted(path.name for path in self.release.iterdir()))
        for path in self.release.iterdir():
            self.assertTrue((again / path.name).read_bytes() == path.read_bytes(), path.name)

    def test_a_failure_leaves_earlier_archives(self):
        (self.folder / "repair-kit-1.2.3.zip").write_text("old")
        with self.assertRaises(FileNotFoundError):
            write_release(BUILD / "nothing", self.folder, exe=KIT)
        self.assertEqual([path.name for path in self.folder.iterdir()], ["repair-kit-1.2.3.zip"])
        self.assertEqual((self.folder / "repair-kit-1.2.3.zip").read_text(), "old")

    def test_a_failure_between_the_archives_leaves_no_old_sums(self):
        (self.folder / "SHA256SUMS").write_text("old")
        # A file cannot replace a folder.
        (self.folder / "repair-kit-1.2.3-symbols.zip").mkdir()
        with self.assertRaises(IsADirectoryError):
            write_release(BUILD, self.folder)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()),
                         ["repair-kit-1.2.3-symbols.zip", "repair-kit-1.2.3.zip"])

    def test_other_programs_accept_them(self):
        for path in self.release.iterdir():
            shutil.copy(path, self.folder)
        self.assertEqual(self.output_of("sha256sum", "--check", "SHA256SUMS"),
                         "repair-kit-1.2.3.zip: OK\nrepair-kit-1.2.3-symbols.zip: OK\n")
        for name in ("repair-kit-1.2.3.zip", "repair-kit-1.2.3-symbols.zip"):
            self.output_of("unzip", "-tq", name)
            self.assertIn("Everything is Ok", self.output_of("7z", "t", name))


class ContentTest(ReleaseTest):
    def test_the_kit_is_the_one_that_was_built(self):
        self.assertTrue(self.kit["repair_kit.exe"] == KIT.read_bytes())

    def test_the_sample_brand_is_the_default_brand(self):
        brand = ROOT / "resources" / "karvoth"
        self.assertEqual({name for name in self.kit if name.startswith("sample-brand/")},
                         {f"sample-brand/{path.name}" for path in brand.iterdir()})
        for path in brand.iterdir():
            self.assertTrue(self.kit[f"sample-brand/{path.name}"] == path.read_bytes(), path.name)

    def test_nothing_else_is_at_the_top(self):
        self.assertEqual({name.split("/")[0] for name in self.kit},
                         {"docs", "index.html", "licenses", "repair-kit.spdx.json", "repair_kit.exe",
                          "sample-brand"})
        self.assertEqual(set(self.symbols), {"repair_kit.debug", "tool.debug", "uninstaller.debug",
                                             "symbols.txt"})


class LinkedSoftwareTest(ReleaseTest):
    # Functions that show that the kit contains the software.
    TRACES = {
        "libgcc": "_Unwind_RaiseException",
        "libssp": "__stack_chk_fail",
        "libstdc++": "_ZSt9terminatev",
        "mingw-w64-runtime": "_pei386_runtime_relocator",
        "nlohmann-json": "_ZN8nlohmann",
        "winpthreads": "pthread_mutex_lock",
        "zlib": "inflate",
    }

    def packages(self):
        linked = {each["relatedSpdxElement"] for each in self.document["relationships"]
                  if each["relationshipType"] == "STATIC_LINK"}
        return {each["name"]: each for each in self.document["packages"] if each["SPDXID"] in linked}

    def test_lists_what_the_program_shows_to_contain(self):
        self.assertEqual(set(self.packages()), set(self.TRACES))
        (self.folder / "kit.debug").write_bytes(self.symbols["repair_kit.debug"])
        names = self.output_of("x86_64-w64-mingw32-nm", "kit.debug")
        for name, trace in self.TRACES.items():
            self.assertTrue(re.search(rf" [tT] {trace}", names), name)

    def test_versions_are_those_of_the_machine(self):
        packages = self.packages()
        compiler = self.output_of("x86_64-w64-mingw32-g++-posix", "-dumpversion").partition("-")[0]
        defines = (BUILD / "json_include/nlohmann/detail/abi_macros.hpp").read_text()
        zlib = re.search(rb" inflate (\d+\.\d+\.\d+) Copyright", self.kit["repair_kit.exe"])[1].decode()
        self.assertTrue(packages["zlib"]["versionInfo"].startswith(zlib + "+"))
        for name in ("libgcc", "libssp", "libstdc++"):
            # Debian's compiler says 12-posix for all of release 12.
            self.assertEqual(packages[name]["versionInfo"].split(".")[0], compiler)
        numbers = re.findall(r"#define NLOHMANN_JSON_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", defines)
        self.assertTrue(packages["nlohmann-json"]["versionInfo"].startswith(".".join(numbers) + "-"))

    def test_every_license_text_is_there(self):
        for name, wording in {
            "gcc.txt": b"GCC RUNTIME LIBRARY EXCEPTION",
            "GPL-3.txt": b"Version 3, 29 June 2007",
            "libstdc++-headers.txt": b"Hewlett-Packard Company makes no\nrepresentations",
            "mingw-w64.txt": b"Names of the copyright holders must not be used to endorse",
            "nlohmann-json.txt": b"Permission is hereby granted, free of charge",
            "zlib.txt": b"This software is provided 'as-is'",
        }.items():
            self.assertIn(wording, self.kit["licenses/" + name])
        self.assertEqual(sum(name.startswith("licenses/") for name in self.kit), 6)
        for package in self.packages().values():
            named = re.search(r"licenses/\S+\.txt", package["comment"])[0]
            self.assertIn(named, self.kit)

    def test_lists_the_archives_files(self):
        self.assertEqual({each["fileName"] for each in self.document["files"]},
                         {"./" + name for name in self.kit if name != "repair-kit.spdx.json"})
        for each in self.document["files"]:
            content = self.kit[each["fileName"].removeprefix("./")]
            self.assertEqual({sum["algorithm"]: sum["checksumValue"] for sum in each["checksums"]},
                             {"SHA1": hashlib.sha1(content).hexdigest(),
                              "SHA256": hashlib.sha256(content).hexdigest()})

    def test_is_whole(self):
        elements = [self.document["SPDXID"]] + [each["SPDXID"] for each in
                                                [*self.document["packages"], *self.document["files"]]]
        self.assertEqual(len(elements), len(set(elements)))
        for each in elements:
            self.assertRegex(each, r"^SPDXRef-[A-Za-z0-9.-]+$")
        for each in self.document["relationships"]:
            self.assertIn(each["spdxElementId"], elements)
            self.assertIn(each["relatedSpdxElement"], elements)
        known = {each["licenseId"] for each in self.document["hasExtractedLicensingInfos"]}
        for package in self.document["packages"]:
            self.assertLessEqual(set(re.findall(r"LicenseRef-\S+", package["licenseConcluded"])), known)
        self.assertEqual(self.document["creationInfo"]["created"], "2023-11-14T22:13:21Z")
        self.assertEqual(self.document["packages"][0]["versionInfo"], "1.2.3")

    def check_library_refused(self, library, reason):
        text = KIT.with_name(KIT.name + ".map").read_text()
        planted = self.folder / "planted.map"
        planted.write_text(text.replace("\nDiscarded input sections\n",
                                        f"\n{library}(part.o)\n              (needed)\n"
                                        "\nDiscarded input sections\n"))
        with self.assertRaisesRegex(ValueError, f"the library {library} {reason}"):
            linked_software.linked_components(BUILD, ROOT, archives.PROGRAMS["repair_kit"], [planted])

    def test_unknown_libraries_are_refused(self):
        self.check_library_refused("/usr/lib/libunknown.a", "is of unknown software")

    def test_libraries_of_another_origin_are_refused(self):
        self.check_library_refused("/usr/local/lib/libz.a",
                                   "does not come from Debian's package libz-mingw-w64-dev")

    def test_unknown_headers_are_refused(self):
        with self.assertRaisesRegex(ValueError, "the header /usr/include/other.h is of unknown software"):
            linked_software.header_components({pathlib.Path("/usr/include/other.h")}, BUILD)

    def test_a_map_without_libraries_is_no_map(self):
        with self.assertRaisesRegex(ValueError, "not a linker map"):
            linked_software.linked_libraries("")


def function_starts(content):
    """Where functions begin, by the table that the system unwinds the stack with."""
    program = Program(content)
    base, = struct.unpack_from("<Q", content, program.optional + 24)
    table = program.data(".pdata")
    return {base + begin for begin, _, _ in struct.iter_unpack("<III", table[:len(table) // 12 * 12])
            if begin}


class SymbolsTest(ReleaseTest):
    def check_match(self, name, content):
        """Do the symbols name a function at nearly every place where the program has one?"""
        path = self.folder / name
        path.write_bytes(self.symbols[name])
        lines = self.output_of("x86_64-w64-mingw32-nm", "--defined-only", path).splitlines()
        named = {int(line.split()[0], 16) for line in lines if line.split()[1] in "tT"}
        starts = function_starts(content)
        self.assertGreater(len(starts), 500)
        # The compiler's own libraries come without the names of their internal functions.
        self.assertGreater(len(starts & named), 0.9 * len(starts))

    def test_match_the_programs(self):
        kit = self.kit["repair_kit.exe"]
        embedded = {key[1]: content for key, content in Program(kit).resources().items()
                    if content.startswith(b"MZ")}
        self.check_match("repair_kit.debug", kit)
        self.check_match("tool.debug", embedded[TOOL_ID])
        self.check_match("uninstaller.debug", embedded[UNINSTALLER_ID])

    def test_a_debugger_finds_the_entry_point(self):
        content = self.kit["repair_kit.exe"]
        program = Program(content)
        base, = struct.unpack_from("<Q", content, program.optional + 24)
        (self.folder / "kit.debug").write_bytes(self.symbols["repair_kit.debug"])
        found = self.output_of("x86_64-w64-mingw32-addr2line", "-f", "-e", "kit.debug",
                               hex(base + program.number(16)))
        self.assertEqual(found.splitlines()[0], "mainCRTStartup")

    def test_carry_no_time(self):
        for content in (self.kit["repair_kit.exe"], *(self.symbols[name] for name in self.symbols
                                                      if name.endswith(".debug"))):
            header, = struct.unpack_from("<I", content, 60)
            self.assertEqual(struct.unpack_from("<I", content, header + 8), (0,))

    def test_the_kit_itself_has_none(self):
        (self.folder / "kit.exe").write_bytes(self.kit["repair_kit.exe"])
        result = subprocess.run(["x86_64-w64-mingw32-nm", self.folder / "kit.exe"], capture_output=True,
                                text=True)
        self.assertIn("no symbols", result.stderr)
        self.assertNotIn("debug_", self.output_of("x86_64-w64-mingw32-objdump", "-h", "kit.exe"))

    def test_name_the_program_that_they_belong_to(self):
        self.assertIn(hashlib.sha256(self.kit["repair_kit.exe"]).hexdigest(),
                      self.symbols["symbols.txt"].decode())

    def test_name_no_folder_of_the_build_machine(self):
        for name, content in self.symbols.items():
            self.assertNotIn(str(ROOT).encode(), content, name)


class SigningTest(ReleaseTest):
    SIGN = """sh -c 'osslsigncode sign -certs cert.pem -key key.pem -in "$1" -out "$1.signed" &&
              mv "$1.signed" "$1"' sh {file}"""

    def setUp(self):
        super().setUp()
        # The commands below name their files without a folder.
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)
        (self.folder / "a folder").mkdir()
        self.exe = self.folder / "a folder" / "kit.exe"
        shutil.copy(KIT, self.exe)

    def make_certificate(self):
        self.output_of("openssl", "req", "-x509", "-newkey", "rsa:2048", "-noenc", "-subj", "/CN=Test",
                       "-addext", "extendedKeyUsage=codeSigning", "-keyout", "key.pem", "-out", "cert.pem")

    def test_the_signed_kit_is_packed_and_its_symbols_match(self):
        self.make_certificate()
        signing.sign(self.exe, signing.command_words(self.SIGN))
        write_release(BUILD, self.folder / "dist", exe=self.exe)
        signed = self.contents(self.folder / "dist" / "repair-kit-1.2.3.zip", "repair-kit-1.2.3/")
        (self.folder / "packed.exe").write_bytes(signed["repair_kit.exe"])
        self.assertIn("Signature verification: ok", self.output_of(
            "osslsigncode", "verify", "-CAfile", "cert.pem", "-in", "packed.exe"))
        self.assertEqual(function_starts(signed["repair_kit.exe"]),
                         function_starts(self.kit["repair_kit.exe"]))
        subprocess.run(["sha256sum", "--check", "--quiet", "SHA256SUMS"], cwd=self.folder / "dist",
                       check=True)
        symbols = zipfile.ZipFile(self.folder / "dist" / "repair-kit-1.2.3-symbols.zip")
        self.assertIn(hashlib.sha256(signed["repair_kit.exe"]).hexdigest(),
                      symbols.read("repair-kit-1.2.3-symbols/symbols.txt").decode())
        code, output = run_windows(self.folder / "packed.exe", "--version")
        self.assertEqual((code, output.split()[0]), (0, "repair_kit"))

    def check_refused(self, command, reason):
        with self.assertRaisesRegex(signing.SigningFailed, reason):
            signing.sign(self.exe, signing.command_words(command))

    def test_a_command_that_fails(self):
        self.check_refused("sh -c 'exit 7' {file}", "ended with code 7")

    def test_a_command_that_cannot_be_started(self):
        self.check_refused("/nothing/signer {file}", "cannot be started: .*/nothing/signer")

    def test_a_command_that_signs_nothing(self):
        self.check_refused("true {file}", "ended with code 0, but has not signed the program")

    def test_a_command_that_empties_the_program(self):
        self.check_refused("""sh -c ': > "$1"' sh {file}""", "has damaged the program")

    def test_a_command_without_the_file(self):
        self.check_refused("true", "does not name the file")
        self.check_refused("", "does not name the file")

    def test_a_command_with_an_open_quote(self):
        self.check_refused("sh -c 'true {file}", "is not complete")

    def test_a_command_that_changes_the_program(self):
        self.make_certificate()
        (self.folder / "change.py").write_text(
            "import sys\n"
            "with open(sys.argv[1], 'r+b') as file:\n"
            "    file.seek(0x1000)\n"
            "    byte = file.read(1)[0]\n"
            "    file.seek(0x1000)\n"
            "    file.write(bytes([byte ^ 1]))\n")
        self.check_refused(self.SIGN.replace("sh -c '", f"sh -c '{sys.executable} change.py \"$1\" && "),
                           "changed more than the signature")


if __name__ == "__main__":
    unittest.main()
