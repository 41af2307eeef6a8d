"""Tests cmake/brand_version.py: which version resource a config.txt gives."""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = ROOT / "cmake" / "brand_version.py"
TOOL_CONFIG = ROOT / "src" / "config" / "tool_config.h"
sys.path.insert(0, str(PROGRAM.parent))
import brand_version  # noqa: E402

COPYRIGHT = '"© 2026 Brennick. Karvoth and its logo belong to their owner."'


def describe(program, config):
    """The file name and the macros that a configuration gives."""
    content = config if isinstance(config, bytes) else config.encode()
    name, text = brand_version.describe(program, content, TOOL_CONFIG.read_text("utf-8"))
    return name, dict(re.findall(r"^#define BRAND_(\w+) (.*)$", text, re.MULTILINE))


def run(config_txt, output):
    return subprocess.run([sys.executable, "-B", PROGRAM, "repair", config_txt, TOOL_CONFIG, output],
                          capture_output=True, encoding="utf-8")


class BrandVersionTest(unittest.TestCase):
    maxDiff = None

    def check_table(self, macro, rows, program="repair"):
        for config, expected in rows:
            with self.subTest(config=config):
                self.assertEqual(describe(program, config)[1][macro], expected)

    def check_refused(self, config, message):
        with self.subTest(config=config), self.assertRaises(brand_version.BrandError) as caught:
            describe("repair", config)
        self.assertEqual(str(caught.exception), message)

    def test_an_empty_configuration_gives_the_defaults(self):
        common = {"COMPANY": '"Brennick"', "PRODUCT_VERSION": '"2.0.0"', "COPYRIGHT": COPYRIGHT,
                  "VERSION_NUMBERS": "2,0,0,0", "LANGUAGE": "9", "SUBLANGUAGE": "1",
                  "LANGUAGE_BLOCK": '"040904B0"', "TRANSLATION": "0x0409"}
        names = {"repair": ("KrvBrennickInstaller.exe", '"KrvBrennickInstaller"'),
                 "uninstaller": ("Uninstall.exe", '"Karvoth Uninstaller"')}
        for program, (file_name, product) in names.items():
            with self.subTest(program=program):
                expected = {**common, "FILE_NAME": f'"{file_name}"', "FILE_DESCRIPTION": product,
                            "PRODUCT_NAME": product}
                self.assertEqual(describe(program, ""), (file_name, expected))

    def test_each_program_reads_its_own_keys(self):
        config = "repairProductName=Tool\nuninstallerProductName=Remover\n"
        self.check_table("PRODUCT_NAME", [(config, '"Tool"')])
        self.check_table("PRODUCT_NAME", [(config, '"Remover"')], "uninstaller")

    def test_lines_are_read_like_in_the_tool(self):
        self.check_table("PRODUCT_NAME", [
            ("repairProductName=a\nrepairProductName=b", '"b"'),
            ("repairProductName=a\r\nx=y", '"a"'),
            ("repairProductName=a=b", '"a=b"'),
            ("repairProductName= a ", '" a "'),
            ("repairProductName=", '""'),
            ("repairProductName", '"KrvBrennickInstaller"'),
            ("repairProductName =a", '"KrvBrennickInstaller"'),
            ("repairproductname=a", '"KrvBrennickInstaller"'),
            (r"repairProductName\=a", '"KrvBrennickInstaller"'),
            ("#\nrepairProductName=a;[b]", '"a;[b]"'),
            (b"repairProductName=\xc3\x84\xff", '"Ä\ufffd"'),
        ])

    def test_escapes_become_those_of_a_resource_script(self):
        self.check_table("PRODUCT_NAME", [
            (r"repairProductName=C:\\Odd", r'"C:\\Odd"'),
            (r"repairProductName=\n\r\t\e", r'"\n\r\t="'),
            (r"repairProductName=\\n\x", r'"\\n\\x"'),
            ("repairProductName=end\\", r'"end\\"'),
            ('repairProductName="q"', '"""q"""'),
        ])

    def test_version_has_one_to_four_numbers_and_a_suffix(self):
        self.check_table("VERSION_NUMBERS", [
            ("repairProductVersion=" + version, numbers) for version, numbers in (
                ("1.08.20.3000-rc4", "1,8,20,3000"), ("2", "2,0,0,0"), (" 1.2\t", "1,2,0,0"),
                ("1.2-beta.7 x", "1,2,0,0"), ("65535.0000065535", "65535,65535,0,0"))])
        self.check_table("PRODUCT_VERSION", [("repairProductVersion= 1.2-a", '" 1.2-a"')])
        for version in ("", " ", "-1", "1.", ".1", "1..2", "1.2.3.4.5", "v2", "2.x", "1.65536", "1 .2",
                        "1.2 beta", "\u0661", "1.2\\n3"):
            self.check_refused("repairProductVersion=" + version,
                               "repairProductVersion must be one to four numbers of at most 65535 with "
                               "dots between, optionally followed by a suffix that begins with -")
        with self.assertRaises(brand_version.BrandError):
            describe("uninstaller", "uninstallerProductVersion=2.0b")

    def test_language_is_split_into_its_two_parts(self):
        config = "repairLanguage=1eFf"
        for macro, expected in (("LANGUAGE", "767"), ("SUBLANGUAGE", "7"), ("TRANSLATION", "0x1eFf"),
                                ("LANGUAGE_BLOCK", '"1eFf04B0"')):
            self.check_table(macro, [(config, expected)])
        self.check_table("LANGUAGE_BLOCK", [("repairLanguage= 0407 ", '"040704B0"')])
        for language in ("", "409", "04090", "04g9", " 409"):
            self.check_refused("repairLanguage=" + language,
                               "repairLanguage must be four hexadecimal digits")

    def test_company_is_the_publisher_of_the_installed_program(self):
        self.check_table("COMPANY", [
            ("programsPublisher= A \t", '"A"'),
            ("programsPublisher= \ncompanyName=B", '"B"'),
            ("programsPublisher=", '"By Brennick"'),
            ("programsPublisher=\ncompanyName= C ", '"C"'),
            ("programsPublisher=\ncompanyName=\nkFallbackPublisher=C", '"Brennick"'),
        ])

    def test_the_tool_names_its_file(self):
        for value, expected in (("Odd [a].exe", "Odd [a].exe"), ("", "KrvBrennickInstaller.exe"),
                                ("Ä.exe", "Ä.exe")):
            with self.subTest(value=value):
                name, macros = describe("repair", "repairToolName=" + value)
                self.assertEqual((name, macros["FILE_NAME"]), (expected, f'"{expected}"'))
        self.assertEqual(describe("uninstaller", "repairToolName=a.exe")[0], "Uninstall.exe")

    def test_the_program_writes_the_header_and_prints_the_name(self):
        with tempfile.TemporaryDirectory() as folder:
            config_txt = pathlib.Path(folder, "config.txt")
            output = pathlib.Path(folder, "new", "brand_version.h")
            config_txt.write_text("repairToolName=Ä.exe", "utf-8")
            self.assertEqual(run(config_txt, output).stdout, "Ä.exe")
            self.assertIn('#define BRAND_FILE_NAME "Ä.exe"\n', output.read_text("utf-8"))
            first_write = output.stat().st_mtime_ns
            run(config_txt, output)
            self.assertEqual(output.stat().st_mtime_ns, first_write)

    def test_the_program_names_the_file_that_is_wrong(self):
        with tempfile.TemporaryDirectory() as folder:
            config_txt = pathlib.Path(folder, "config.txt")
            for content in (None, "repairLanguage=x"):
                if content:
                    config_txt.write_text(content)
                result = run(config_txt, "unused.h")
                self.assertEqual(result.returncode, 1)
                self.assertIn(str(config_txt), result.stderr)
                self.assertNotIn("Traceback", result.stderr)


if __name__ == "__main__":
    unittest.main()
