"""Compares the kit's list of settings without an effect with the operators' guide and with what the
sources use."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def keys_not_acted_on():
    source = (ROOT / "kit/config_lines.cpp").read_text("utf-8")
    return re.findall(r'"(\w+)"', re.search(r"kNotActedOn\[\] = \{(.*?)\};", source, re.DOTALL)[1])


def all_keys():
    return re.findall(r'\{"(\w+)", &', (ROOT / "src/config/config_keys.cpp").read_text("utf-8"))


def keys_in_sources():
    texts = [path.read_text("utf-8") for folder in ("src", "uninstaller")
             for path in sorted((ROOT / folder).rglob("*.cpp")) if path.name != "config_keys.cpp"]
    return set(re.findall(r"[.>](\w+)", "\n".join(texts))) & set(all_keys())


def keys_of_the_build():
    source = (ROOT / "cmake/brand_version.py").read_text("utf-8")
    suffixes = re.findall(r'program \+ "(\w+)"', source)
    return ({program + suffix for program in ("repair", "uninstaller") for suffix in suffixes}
            | set(re.findall(r'values\["(\w+)"\]', source)) & set(all_keys()))


class ActedOnTest(unittest.TestCase):
    def test_the_sources_use_exactly_the_other_keys(self):
        acted_on = keys_in_sources() | keys_of_the_build()
        self.assertEqual(keys_not_acted_on(), [key for key in all_keys() if key not in acted_on])

    def test_the_guide_says_the_same(self):
        guide = (ROOT / "docs/operators-guide.md").read_text("utf-8")
        self.assertEqual(re.findall(r"^\| `(\w+)` \| - \|", guide, re.MULTILINE), keys_not_acted_on())


if __name__ == "__main__":
    unittest.main()
