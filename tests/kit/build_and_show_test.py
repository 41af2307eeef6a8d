"""The commands `build` and `show` as an operator meets them: refusals, failures, what stays.

usage: build_and_show_test.py REPAIR_KIT_EXE BARE_TOOL_EXE CHILD_PROGRAM_EXE
"""

import hashlib
import json
import pathlib
import re
import shutil
import sys
import tempfile
import unittest

from kit_runner import DEFAULT_BRAND, Program, run_windows, windows_path

KIT, BARE_TOOL, CHILD = sys.argv[1:4]
TOOL_NAME = "KrvBrennickInstaller.exe"
DONE, REFUSED, FAILED = 0, 1, 4


class CommandTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        self.brand = self.folder / "brand"
        shutil.copytree(DEFAULT_BRAND, self.brand)
        self.set_keys(archiveUrl="https://example.com/client-1.zip", archiveSha256="0" * 64)
        self.release = self.folder / "release"
        self.tool = self.release / TOOL_NAME

    def set_keys(self, **values):
        """Changes settings that the default brand has."""
        config = self.brand / "config.txt"
        text = config.read_text("utf-8")
        for key, value in values.items():
            text, count = re.subn(f"^{key}=.*$", lambda _: f"{key}={value}", text, flags=re.MULTILINE)
            self.assertEqual(count, 1, key)
        config.write_text(text, "utf-8")

    def run_kit(self, expected, *arguments):
        """Runs the kit and gives its output's lines. The bench's own line about the code is not one."""
        code, output = run_windows(KIT, *(windows_path(each) if isinstance(each, pathlib.Path) else each
                                          for each in arguments))
        self.assertEqual(code, expected, output)
        return output.splitlines()

    def build(self, expected, *options):
        return self.run_kit(expected, "build", self.brand, "-o", self.release, *options)

    def digest(self):
        return hashlib.sha256(self.tool.read_bytes()).hexdigest()

    def listing(self):
        return sorted(each.name for each in self.release.iterdir()) if self.release.exists() else None


class BuildTest(CommandTest):
    def test_a_finding_stops_it_unless_forced(self):
        (self.brand / "tool.ico").unlink()
        lines = self.build(REFUSED)
        self.assertIn("tool.ico", lines[0])
        self.assertIn("nothing was built", lines[-1])
        self.assertIsNone(self.listing())
        lines = self.build(DONE, "--force")
        self.assertIn("tool.ico", lines[0])
        self.assertTrue(any(line.startswith("Built in spite of errors") for line in lines), lines)
        resources = Program(self.tool.read_bytes()).resources()
        self.assertEqual({key[0] for key in resources}, {10, 16, 24})

    def test_a_warning_stops_it_only_with_strict(self):
        (self.brand / "logo.png").unlink()
        self.assertIn("--strict", self.build(REFUSED, "--strict")[-1])
        self.assertIsNone(self.listing())
        self.build(DONE, "--strict", "--force")
        self.build(DONE)
        self.assertNotIn((10, 202, 0), Program(self.tool.read_bytes()).resources())

    def test_force_cannot_make_what_no_program_can_be(self):
        self.set_keys(repairToolName="..\\\\escaped.exe")
        self.assertIn("no file name", self.build(REFUSED, "--force")[-1])
        self.assertIsNone(self.listing())
        self.assertFalse((self.folder / "escaped.exe").exists())
        self.set_keys(repairToolName="uninstall.EXE")
        self.assertIn("the uninstaller", self.build(REFUSED, "--force")[-1])
        self.assertIsNone(self.listing())
        self.set_keys(repairToolName="Tool.exe", repairProductName="x" * 40000)
        self.assertIn("too long", self.build(REFUSED, "--force")[-1])
        (self.brand / "config.txt").unlink()
        self.assertIn("no config.txt", self.build(REFUSED, "--force")[-1])
        self.assertIsNone(self.listing())

    def test_names_and_folders_of_any_kind(self):
        self.set_keys(repairToolName="Werkzeug \u00c4\u4e2d [x] & y.exe")
        self.release = self.folder / ("long name" * 12) / ("\u00e9" * 100) / ("x" * 100)
        self.build(DONE)
        self.assertEqual(self.listing(), ["Werkzeug \u00c4\u4e2d [x] & y.exe"])

    def test_an_older_tool_is_replaced(self):
        self.release.mkdir()
        self.tool.write_text("an older tool")
        self.build(DONE)
        self.assertEqual(self.tool.read_bytes()[:2], b"MZ")
        self.assertEqual(self.listing(), [TOOL_NAME])

    def test_a_tool_that_cannot_be_replaced_stays(self):
        self.release.mkdir()
        self.tool.mkdir()
        self.build(FAILED)
        self.assertEqual(self.listing(), [TOOL_NAME])

    def test_the_summary_is_that_of_the_finished_file(self):
        self.assertEqual(self.build(DONE), [
            "No findings.",
            f"Built {windows_path(self.tool)}",
            f"  size       {self.tool.stat().st_size} bytes",
            f"  SHA-256    {self.digest()}",
            "  signature  none",
            "Put it into the client's folder: it repairs the folder that it is in."])

    def test_json_is_one_document(self):
        document = json.loads("\n".join(self.build(DONE, "--json")))
        self.assertEqual(list(document), ["findings", "facts", "tool"])
        self.assertEqual(document["tool"]["size"], self.tool.stat().st_size)
        self.assertEqual(document["tool"]["sha256"], self.digest())
        self.assertFalse(document["tool"]["signed"])
        self.assertEqual(document["tool"]["file"], windows_path(self.tool))

    def test_what_fails_outside(self):
        missing = self.folder / "missing"
        self.run_kit(FAILED, "build", missing, "-o", self.release)
        self.run_kit(FAILED, "build", self.brand / "config.txt", "-o", self.release)
        self.run_kit(FAILED, "build", self.brand, "-o", self.brand.parent / "brand.txt" / "x",
                     "--sign", "no_such_program.exe {file}")
        self.assertIsNone(self.listing())

    def test_the_signing_command_runs_hidden_with_the_file_in_place(self):
        record = self.folder / "record"
        command = f'"{windows_path(CHILD)}" args "{windows_path(record)}" "{{file}}" x{{file}}'
        lines = self.build(DONE, "--sign", command)
        # It does not sign.
        self.assertEqual(sum("has not signed" in line for line in lines), 2, lines)
        command_line, _, show = record.read_text("utf-8").splitlines()
        file = re.search(r'"([^"]*)" x', command_line)[1]
        self.assertTrue(command_line.endswith(f'"{file}" x{file}'), command_line)
        self.assertRegex(file, r"\\release\\\.KrvBrennickInstaller\.\d+\.tmp\.exe$")
        self.assertEqual(show.split(",")[1], "0")
        self.assertEqual(self.listing(), [TOOL_NAME])


class ShowTest(CommandTest):
    def refused(self, path, *options):
        lines = self.run_kit(REFUSED, "show", path, *options)
        self.assertTrue(lines[-1].startswith("repair_kit: cannot "), lines)
        return lines[-1]

    def test_what_is_none_of_ours_is_refused(self):
        text = self.folder / "text.exe"
        text.write_text("MZ and no more")
        empty = self.folder / "empty.exe"
        empty.touch()
        for path in (text, empty, pathlib.Path(KIT), pathlib.Path(BARE_TOOL), pathlib.Path(CHILD)):
            self.refused(path)

    def test_a_cut_or_damaged_tool_is_refused(self):
        self.build(DONE)
        content = self.tool.read_bytes()
        for size in (1, 100, 0x400, len(content) // 2, len(content) - 1):
            cut = self.folder / "cut.exe"
            cut.write_bytes(content[:size])
            self.refused(cut)

    def test_what_is_too_large_for_a_tool_is_refused(self):
        large = self.folder / "large.exe"
        with open(large, "wb") as file:
            file.truncate(0x4000_0001)
        self.assertIn("too large", self.refused(large))

    def test_what_cannot_be_read_fails(self):
        self.run_kit(FAILED, "show", self.folder / "missing.exe")
        self.run_kit(FAILED, "show", self.folder)

    def test_extraction_needs_a_new_or_empty_folder(self):
        self.build(DONE)
        file = self.folder / "file"
        file.touch()
        self.refused(self.tool, "--extract", file)
        self.refused(self.tool, "--extract", self.brand)
        self.assertEqual(len(list(self.brand.iterdir())), 4)
        empty = self.folder / "empty"
        empty.mkdir()
        for target in (empty, self.folder / "new" / "deep"):
            self.run_kit(DONE, "show", self.tool, "--extract", target)
            self.assertEqual((target / "config.txt").read_bytes(),
                             (self.brand / "config.txt").read_bytes())

    def test_settings_that_differ_are_shown_and_cannot_upset_the_console(self):
        self.set_keys(shortcutName="\x1b[31mred\x07", archiveMirrorUrls="https://a\\nhttps://b",
                      showLogo="0")
        self.build(DONE, "--force")
        text = "\n".join(self.run_kit(DONE, "show", self.tool))
        self.assertNotIn("\x1b", text)
        self.assertNotIn("\x07", text)
        self.assertIn("  shortcutName=\\x1B[31mred\\x07\n", text)
        self.assertIn("  archiveMirrorUrls=https://a\\nhttps://b\n", text)
        self.assertIn("  showLogo=0", text)
        self.assertNotIn("accentHex", text)
        self.assertIn("accentHex=FFA640", "\n".join(self.run_kit(DONE, "show", self.tool, "--all")))
        settings = json.loads("\n".join(self.run_kit(DONE, "show", self.tool, "--json")))["configuration"]
        self.assertEqual(settings["shortcutName"], "\x1b[31mred\x07")
        self.assertEqual(settings["showLogo"], "0")

    def test_quiet_leaves_the_facts(self):
        self.build(DONE)
        shown = self.run_kit(DONE, "show", self.tool, "--quiet")
        lines = self.run_kit(DONE, "show", self.tool, "--extract", self.folder / "new")
        self.assertEqual(lines[:-1], shown)
        self.assertEqual(lines[-1], "Wrote the brand to " + windows_path(self.folder / "new"))
        self.assertEqual(self.run_kit(DONE, "show", self.tool, "--quiet", "--extract",
                                      self.folder / "other"), shown)

    def test_an_uninstaller_of_another_configuration_is_noticed(self):
        self.build(DONE)
        content = self.tool.read_bytes()
        # The tool's own configuration comes first, and the uninstaller's within the embedded one.
        setting = b"accentHex=FFA640"
        self.assertEqual(content.count(setting), 2)
        changed = self.folder / "changed.exe"
        changed.write_bytes(content.replace(setting, b"accentHex=FFA641", 1))
        text = "\n".join(self.run_kit(DONE, "show", changed))
        self.assertIn("DIFFERS", text)
        facts = json.loads("\n".join(self.run_kit(DONE, "show", changed, "--json")))
        self.assertFalse(facts["uninstaller"]["configurationAgrees"])

    def test_an_uninstaller_alone_is_shown_too(self):
        self.build(DONE)
        uninstaller = self.folder / "Uninstall.exe"
        uninstaller.write_bytes(Program(self.tool.read_bytes()).resources()[10, 203, 0])
        facts = json.loads("\n".join(self.run_kit(DONE, "show", uninstaller, "--json")))
        self.assertIsNone(facts["uninstaller"])
        self.assertEqual(facts["versionTexts"]["OriginalFilename"], "Uninstall.exe")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
