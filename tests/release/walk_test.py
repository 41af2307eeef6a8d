"""Follows the archive's first page to the letter, from the download to the branded tool.

usage: walk_test.py BUILD_FOLDER VERSION
"""

import html.parser
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

from release_bench import ROOT, write_release

import archives
from kit_runner import Program, run_windows

BUILD, VERSION = pathlib.Path(sys.argv.pop(1)).resolve(), sys.argv.pop(1)
COMMAND_PROMPT = ROOT / "build/bench/template/drive_c/windows/system32/cmd.exe"
# What the Command Prompt and PowerShell read alike.
PLAIN = re.compile(r'[A-Za-z0-9 ._:"\\-]+')


class CodeBlocks(html.parser.HTMLParser):
    """The lines of a page's code blocks, in order."""

    def __init__(self, text):
        super().__init__()
        self.inside, self.lines = False, []
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.inside = self.inside or tag == "pre"

    def handle_endtag(self, tag):
        self.inside = self.inside and tag != "pre"

    def handle_data(self, data):
        if self.inside:
            self.lines.extend(data.splitlines())


class WalkTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        write_release(BUILD, self.folder, VERSION)
        subprocess.run(["unzip", "-q", self.folder / f"repair-kit-{VERSION}.zip", "-d", self.folder],
                       check=True)
        self.unpacked = self.folder / f"repair-kit-{VERSION}"
        self.lines = CodeBlocks((self.unpacked / "index.html").read_text("utf-8")).lines
        self.client = self.folder / "client"
        self.client.mkdir()
        for name in ("MyGame.exe", "data.pak", "settings.ini", "logs/1.log"):
            (self.client / name).parent.mkdir(exist_ok=True)
            (self.client / name).write_text(name)

    def run_command(self, line):
        """Runs a line of the page as if typed in the unpacked folder."""
        line = line.replace(r"C:\Games\MyGame", "Z:" + str(self.client).replace("/", "\\"))
        batch = self.folder / "typed.cmd"
        batch.write_text(f'@cd /d "Z:{self.unpacked}"\n@{line}\n')
        code, output = run_windows(COMMAND_PROMPT, "/c", "Z:" + str(batch).replace("/", "\\"))
        return code, output

    def change_settings(self, settings):
        config = self.unpacked / "mygame" / "config.txt"
        text = config.read_text("utf-8")
        for line in settings:
            key = line.partition("=")[0]
            text, count = re.subn(f"^{key}=.*$", lambda _: line, text, flags=re.MULTILINE)
            self.assertEqual(count, 1, key)
        config.write_text(text, "utf-8", newline="\n")

    def test_the_page_leads_to_a_branded_tool(self):
        settings = [line for line in self.lines if re.match(r"[A-Za-z]+=", line)]
        # The others need Windows, a certificate or a server.
        commands = [line for line in self.lines if line.startswith(".\\repair_kit")
                    and "--sign" not in line and "--online" not in line]
        self.assertEqual([line.split()[1] for line in commands],
                         ["--version", "new", "preview", "pack", "pack", "check", "build", "show"])
        outputs = []
        for line in commands:
            self.assertRegex(line, rf"^{PLAIN.pattern}$")
            code, output = self.run_command(line)
            self.assertEqual(code, 0, f"{line}\n{output}")
            outputs.append(output)
            if line.split()[1] == "new":
                self.change_settings(settings)
        self.assertIn(f"repair_kit {VERSION}", outputs[0])
        self.assertIn("No findings.", outputs[5])
        self.assertTrue((self.unpacked / "pictures" / "contact-sheet.png").exists())
        tool = self.unpacked / "release" / "My Game Repair.exe"
        texts = Program(tool.read_bytes()).resources()[10, 201, 0].decode("utf-8")
        for line in settings:
            self.assertIn(line, texts.splitlines())
        self.assertRegex(texts, r"(?m)^archiveSha256=[0-9a-f]{64}$")
        self.check_code_is_unchanged(tool.read_bytes())

    def check_code_is_unchanged(self, tool):
        """The symbols are those of the program that the kit brands: the tool must have its code."""
        unbranded = (BUILD / archives.PROGRAMS["tool"]).read_bytes()
        for name, size, address, _, _, _ in Program(unbranded).sections:
            # No symbol is in these two, whose places the kit changes.
            if name not in (".rsrc", ".reloc"):
                self.assertIn((name, size, address), [each[:3] for each in Program(tool).sections])
                self.assertTrue(Program(tool).data(name) == Program(unbranded).data(name), name)

    def test_the_other_commands_are_plain_too(self):
        others = [line for line in self.lines if not re.match(r"[A-Za-z0-9]+=", line)
                  and "--sign" not in line]
        for line in others:
            self.assertRegex(line, rf"^{PLAIN.pattern}$")
        self.assertEqual({line.split()[0] for line in others},
                         {"certutil", ".\\repair_kit", "notepad", "explorer"})

    def test_the_sample_brand_can_be_painted_and_built(self):
        page = (self.unpacked / "index.html").read_text("utf-8")
        lines = re.findall(r"<code>(\.\\repair_kit [a-z]+ sample-brand [^<]*)</code>", page)
        for line in lines:
            code, output = self.run_command(line)
            self.assertEqual(code, 0, output)
        self.assertTrue((self.unpacked / "sample-pictures" / "contact-sheet.png").exists())
        self.assertTrue((self.unpacked / "sample" / "KrvBrennickInstaller.exe").exists())


if __name__ == "__main__":
    unittest.main()
