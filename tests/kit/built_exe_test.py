"""Judges the exes that `repair_kit build` makes by programs that are not ours.

usage: built_exe_test.py REPAIR_KIT_EXE LINKED_TOOL_EXE SIGN_ON_HOST_EXE RUN_TOOL_EXE OBJDUMP WINDRES
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

from kit_runner import DEFAULT_BRAND, Program, run_windows, windows_path

KIT, LINKED_TOOL, SIGN_ON_HOST, RUN_TOOL, OBJDUMP, WINDRES = sys.argv[1:7]
TOOL_NAME = "KrvBrennickInstaller.exe"
DATA, VERSION, MANIFEST = 10, 16, 24
CONFIG, UNINSTALLER = (DATA, 201, 0), (DATA, 203, 0)

# Signs as root of its own trust. The last line tells sign_on_host the result.
SIGN_SCRIPT = """#!/bin/sh
file=$(printf '%s' "$1" | sed 's/^[A-Za-z]://; s/\\\\/\\//g')
done=$(printf '%s' "$2" | sed 's/^[A-Za-z]://; s/\\\\/\\//g')
basename "$file" >>"{folder}/order"
osslsigncode sign -certs "{folder}/certificate.pem" -key "{folder}/key.pem" -h sha256 \\
    -in "$file" -out "$file.signed" >"{folder}/log" 2>&1 && mv "$file.signed" "$file"
code=$?
echo $code >"$done.part" && mv "$done.part" "$done"
"""


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, encoding="utf-8",
                          errors="replace").stdout


def build(brand, folder, *options):
    return run_windows(KIT, "build", windows_path(brand), "-o", windows_path(folder), *options)


class BuiltExeTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        cls.folder = pathlib.Path(cls.scratch.name)
        cls.code, cls.output = build(DEFAULT_BRAND, cls.folder / "new" / "release", "--force")
        cls.tool = cls.folder / "new" / "release" / TOOL_NAME
        cls.built = Program(cls.tool.read_bytes())
        cls.linked = Program(pathlib.Path(LINKED_TOOL).read_bytes())
        cls.uninstaller = cls.folder / "Uninstall.exe"
        cls.uninstaller.write_bytes(cls.built.resources()[UNINSTALLER])
        cls.linked_uninstaller = cls.folder / "LinkedUninstall.exe"
        cls.linked_uninstaller.write_bytes(cls.linked.resources()[UNINSTALLER])

    def pairs(self):
        """Built and linked programs: paths and what they are."""
        yield self.tool, pathlib.Path(LINKED_TOOL), self.built, self.linked
        yield (self.uninstaller, self.linked_uninstaller, Program(self.uninstaller.read_bytes()),
               Program(self.linked_uninstaller.read_bytes()))

    def test_only_the_tool_is_in_the_folder(self):
        self.assertEqual(self.code, 0, self.output)
        self.assertEqual([each.name for each in self.tool.parent.iterdir()], [TOOL_NAME])

    def test_resources_are_those_that_the_resource_compiler_links(self):
        for _, _, built, linked in self.pairs():
            ours, theirs = built.resources(), linked.resources()
            # The uninstaller's own resources are compared on their own.
            self.assertEqual(ours.pop(UNINSTALLER, None) is None,
                             theirs.pop(UNINSTALLER, None) is None)
            self.assertEqual(list(ours), list(theirs))
            self.assertEqual(ours, theirs)

    def test_code_and_data_are_those_of_the_linked_program(self):
        for _, _, built, linked in self.pairs():
            names = [section[0] for section in built.sections]
            self.assertEqual(sorted(names), sorted(section[0] for section in linked.sections))
            self.assertEqual(names[-2:], [".reloc", ".rsrc"])
            for section in built.sections[:-2]:
                self.assertIn(section, linked.sections)
            for name in names[:-1]:
                self.assertEqual(built.data(name), linked.data(name), name)

    def test_headers_are_sound(self):
        for _, _, built, linked in self.pairs():
            self.assertEqual(built.number(64), built.expected_checksum())
            self.assertEqual(linked.number(64), linked.expected_checksum())
            page, file_page = built.number(32), built.number(36)
            end = built.number(60)
            next_address = page
            for name, size, address, raw_size, offset, _ in built.sections:
                self.assertEqual(address, next_address, name)
                next_address = (address + max(size, 1) + page - 1) // page * page
                if raw_size:
                    self.assertEqual(offset, end, name)
                    self.assertEqual(raw_size % file_page, 0)
                    end = offset + raw_size
            self.assertEqual(built.number(56), next_address)
            self.assertEqual(len(built.content), end)
            # Read-only data.
            self.assertEqual(built.sections[-1][5], 0x40000040)

    def test_objdump_reads_the_same_resources(self):
        def tree(path):
            # Addresses and offsets differ with the section's place.
            text = output_of(OBJDUMP, "-p", path).split("Resource Directory section:")[1]
            return re.sub(r"Addr: 0x\w+", "", text)

        for tool, linked_tool, _, _ in self.pairs():
            self.assertEqual(tree(tool), tree(linked_tool))

    def test_windres_reads_the_same_resources(self):
        # Of the uninstaller: the tool's differ in the embedded uninstaller.
        def script(path):
            return output_of(WINDRES, "-i", path, "-O", "rc")

        self.assertTrue(script(self.uninstaller) == script(self.linked_uninstaller))

    def test_wrestool_reads_the_same_resources(self):
        def listing(path):
            return re.sub(r"offset=0x\w+ ", "", output_of("wrestool", "--list", path))

        def icon(path):
            # It may write more than the file's end.
            return subprocess.run(["wrestool", "--extract", "--type=14", path], check=True,
                                  capture_output=True).stdout[:len(original)]

        original = (DEFAULT_BRAND / "tool.ico").read_bytes()
        for tool, linked_tool, _, _ in self.pairs():
            self.assertEqual(listing(tool), listing(linked_tool))
            self.assertEqual(icon(tool), original)

    def test_the_same_brand_gives_the_same_bytes(self):
        code, output = build(DEFAULT_BRAND, self.folder / "again", "--force")
        self.assertEqual(code, 0, output)
        self.assertTrue((self.folder / "again" / TOOL_NAME).read_bytes() == self.built.content)

    def test_an_extracted_brand_gives_the_same_bytes(self):
        brand = self.folder / "extracted"
        code, output = run_windows(KIT, "show", windows_path(self.tool), "--extract",
                                   windows_path(brand))
        self.assertEqual(code, 0, output)
        for file in DEFAULT_BRAND.iterdir():
            self.assertEqual((brand / file.name).read_bytes(), file.read_bytes(), file.name)
        code, output = build(brand, self.folder / "from_extracted", "--force")
        self.assertEqual(code, 0, output)
        self.assertTrue((self.folder / "from_extracted" / TOOL_NAME).read_bytes() ==
                        self.built.content)

    def test_the_linked_tool_shows_the_same_as_the_built_one(self):
        def shown(path):
            code, output = run_windows(KIT, "show", windows_path(path), "--json", "--all")
            self.assertEqual(code, 0, output)
            facts = json.loads(output)
            facts.pop("file")
            self.assertEqual(facts.pop("sha256"),
                             output_of("sha256sum", path).split()[0].lstrip("\\"))
            return facts

        facts = shown(self.tool)
        self.assertEqual(facts, shown(LINKED_TOOL))
        self.assertEqual(facts["size"], len(self.built.content))
        self.assertTrue(facts["uninstaller"]["configurationAgrees"])
        self.assertFalse(facts["signed"])
        self.assertEqual([each["width"] for each in facts["icon"]],
                         [16, 20, 24, 32, 40, 48, 64, 128, 256])
        self.assertEqual([facts["background"][side] for side in ("width", "height")], [860, 560])
        self.assertEqual(facts["logo"]["bytes"], (DEFAULT_BRAND / "logo.png").stat().st_size)
        self.assertEqual(facts["configuration"]["accentHex"], "FFA640")


class SignedExeTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        cls.folder = pathlib.Path(cls.scratch.name)
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "30",
                        "-subj", "/CN=Test publisher", "-addext", "extendedKeyUsage=codeSigning",
                        "-keyout", cls.folder / "key.pem", "-out", cls.folder / "certificate.pem"],
                       check=True, capture_output=True)
        script = cls.folder / "sign.sh"
        script.write_text(SIGN_SCRIPT.replace("{folder}", str(cls.folder)))
        script.chmod(0o755)
        command = f'"{windows_path(SIGN_ON_HOST)}" "{windows_path(script)}" "{{file}}"'
        cls.release = cls.folder / "release"
        cls.code, cls.output = build(DEFAULT_BRAND, cls.release, "--force", "--sign", command)
        cls.tool = cls.release / TOOL_NAME
        cls.order = (cls.folder / "order").read_text().split()

    def assert_verifies(self, path):
        result = subprocess.run(["osslsigncode", "verify", "-CAfile", self.folder / "certificate.pem",
                                 "-in", path], capture_output=True, encoding="utf-8")
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        self.assertIn("Succeeded", result.stdout)

    def test_uninstaller_is_signed_before_it_is_embedded_and_the_tool_last(self):
        self.assertEqual(self.code, 0, self.output)
        self.assertEqual([re.sub(r"\d+", "N", name) for name in self.order],
                         [".Uninstall.N.tmp.exe", f".{TOOL_NAME[:-4]}.N.tmp.exe"])
        self.assert_verifies(self.tool)
        uninstaller = self.folder / "Uninstall.exe"
        uninstaller.write_bytes(Program(self.tool.read_bytes()).resources()[UNINSTALLER])
        self.assert_verifies(uninstaller)

    def test_only_the_tool_stays(self):
        self.assertEqual([each.name for each in self.release.iterdir()], [TOOL_NAME])

    def test_the_signed_tool_runs(self):
        code, output = run_windows(RUN_TOOL, windows_path(self.tool))
        self.assertEqual((code, output.strip()), (0, TOOL_NAME))

    def test_a_changed_byte_is_noticed(self):
        changed = self.folder / "changed.exe"
        content = bytearray(self.tool.read_bytes())
        content[0x1000] ^= 1
        changed.write_bytes(content)
        result = subprocess.run(["osslsigncode", "verify", "-CAfile", self.folder / "certificate.pem",
                                 "-in", changed], capture_output=True)
        self.assertNotEqual(result.returncode, 0)

    def test_show_tells_signatures_and_extracts_the_brand(self):
        brand = self.folder / "extracted"
        code, output = run_windows(KIT, "show", windows_path(self.tool), "--json", "--extract",
                                   windows_path(brand))
        self.assertEqual(code, 0, output)
        facts = json.loads(output)
        self.assertTrue(facts["signed"])
        self.assertTrue(facts["uninstaller"]["signed"])
        self.assertTrue(facts["uninstaller"]["configurationAgrees"])
        self.assertEqual((brand / "tool.ico").read_bytes(), (DEFAULT_BRAND / "tool.ico").read_bytes())

    def test_a_failed_signature_leaves_nothing(self):
        folder = self.folder / "unsigned"
        key = self.folder / "key.pem"
        hidden = key.rename(self.folder / "hidden.pem")
        try:
            command = (f'"{windows_path(SIGN_ON_HOST)}" '
                       f'"{windows_path(self.folder / "sign.sh")}" "{{file}}"')
            code, output = build(DEFAULT_BRAND, folder, "--force", "--sign", command)
        finally:
            hidden.rename(key)
        self.assertEqual(code, 4, output)
        lines = output.splitlines()
        self.assertIn("signed: ", lines[-2])
        self.assertTrue(lines[-1].startswith("repair_kit: the signing command failed"), output)
        self.assertFalse(folder.exists())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
