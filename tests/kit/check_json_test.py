"""Judges the JSON of `repair_kit check` with another reader of JSON.

usage: check_json_test.py REPAIR_KIT_EXE
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
RUN_IN_PREFIX = ROOT / "tests" / "bench_parts" / "run_in_prefix"
DEFAULT_BRAND = ROOT / "resources" / "karvoth"
REPAIR_KIT = sys.argv.pop(1)

CLEAN = b"archiveUrl=https://example.com/client-1.0.zip\narchiveSha256=" + b"5" * 64 + b"\n"
CONFIGURATIONS = {
    "clean": CLEAN,
    "empty": b"",
    "hostile": CLEAN + bytes(byte for byte in range(1, 256) if byte not in b"\n=#\\") + b"=1\n"
    + "\u202e\u2066\u0085\"\u2028\U0001f600=x\nwebsiteUrl=\u009b\"\n".encode() + b"\xff\xc3=\xed\xa0\x80\n",
    "many": CLEAN + b"".join(b"key%d=1\n" % number for number in range(100)),
}


def check(config):
    """Exit code and the document that `check --json` writes for a brand."""
    with tempfile.TemporaryDirectory() as folder:
        brand = pathlib.Path(folder, "brand")
        shutil.copytree(DEFAULT_BRAND, brand)
        (brand / "config.txt").write_bytes(config)
        result = subprocess.run(
            [RUN_IN_PREFIX, REPAIR_KIT, "check", "--json", "Z:" + str(brand).replace("/", "\\")],
            stdout=subprocess.PIPE, env={**os.environ, "BENCH_EXPECT_MARKER": "0"})
    return result.returncode, json.loads(result.stdout.decode("utf-8", "strict"))


class CheckJsonTest(unittest.TestCase):
    def test_every_document_has_the_same_shape(self):
        for name, config in CONFIGURATIONS.items():
            with self.subTest(name):
                code, document = check(config)
                self.assertEqual(list(document), ["findings", "facts"])
                self.assertEqual(document["facts"], {})
                for finding in document["findings"]:
                    self.assertEqual(list(finding), ["rule", "severity", "where", "message", "hint"])
                    self.assertIn(finding["severity"], ("error", "warning", "note"))
                    self.assertTrue(all(isinstance(text, str) and text for text in finding.values()))
                errors = [each for each in document["findings"] if each["severity"] == "error"]
                self.assertEqual(code, 1 if errors else 0)

    def test_texts_from_outside_arrive_unchanged(self):
        messages = [each["message"] for each in check(CONFIGURATIONS["hostile"])[1]["findings"]]
        self.assertTrue(any("\u202e\u2066\u0085\"\u2028\U0001f600" in message for message in messages))
        self.assertTrue(any("\u009b\"" in message for message in messages))

    def test_more_than_twenty_findings_of_a_rule_are_counted(self):
        findings = check(CONFIGURATIONS["many"])[1]["findings"]
        self.assertEqual([each["where"] for each in findings],
                         [f"config.txt:{line}" for line in range(3, 24)])
        self.assertEqual({each["rule"] for each in findings}, {"config.unknown-key"})
        self.assertIn("100", findings[-1]["message"])
        self.assertIn("80", findings[-1]["message"])


if __name__ == "__main__":
    unittest.main()
