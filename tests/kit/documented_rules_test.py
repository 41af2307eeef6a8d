"""Compares the rules and the names of players' files in docs/kit.md with the tables in the sources."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENT = (ROOT / "docs/kit.md").read_text("utf-8")


def table_of(path, name):
    """The rows of a table in a source file, each a list of its words."""
    source = (ROOT / path).read_text("utf-8")
    table = re.search(rf"\b{name}\[\] = \{{(.*?)\n\}};", source, re.DOTALL)[1]
    return re.findall(r'\{"([^"]*)", (?:Severity::)?"?([\w ]+)', table)


def documented_names(heading):
    """Name and kind of what a table in the document lists."""
    table = DOCUMENT.partition(f"| holds | {heading} |\n|---|---|\n")[2].partition("\n\n")[0]
    return sorted((name, kind) for kind, names in re.findall(r"^\| ([\w ]+) \| (.*) \|$", table, re.MULTILINE)
                  for name in re.findall(r"`([^`]+)`", names))


def names_in_sources(table):
    return sorted((name.lower(), kind) for name, kind in table_of("kit/zip/name_rules.cpp", table))


class DocumentedRulesTest(unittest.TestCase):
    def test_lists_every_rule_once_with_its_severity(self):
        rules = sorted((name, severity.lower()) for name, severity in table_of("kit/rules.h", "kRules"))
        self.assertGreater(len(rules), 50)
        rows = re.findall(r"^\| `(\w+\.[\w-]+)` \| (\w+) \| [^|]+ \| [^|]+ \|$", DOCUMENT, re.MULTILINE)
        self.assertEqual(sorted(rows), rules)

    def test_lists_the_files_of_players(self):
        names = names_in_sources("kPlayerFiles")
        self.assertGreater(len(names), 20)
        self.assertEqual(documented_names("files of these names"), names)

    def test_lists_the_folders_of_players(self):
        names = names_in_sources("kPlayerFolders")
        self.assertGreater(len(names), 8)
        self.assertEqual(documented_names("everything in folders of these names"), names)


if __name__ == "__main__":
    unittest.main()
