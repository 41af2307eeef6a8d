#!/usr/bin/env python3
"""usage: judge_packages.py FOLDER

Lets 7-Zip, Info-ZIP's unzip, Python's zipfile and libarchive's bsdtar test the packages of
make_packages.py: all must accept what is clean, and at least one must refuse what is damaged, as far
as expected.json says that they notice."""

import concurrent.futures
import json
import pathlib
import subprocess
import sys
import zipfile

# Faults that only Windows or the tool minds: these packages are whole for the other programs.
WHOLE = {"package." + rule for rule in (
    "type", "non-ascii", "own-name", "holds-tool", "holds-uninstaller", "holds-unpacker", "no-startup",
    "player-files", "long-path", "digest", "read-only", "extra-bytes")}


def runs(*command):
    result = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL)
    return result.returncode


def seven_zip(path):
    return runs("7zz", "t", "-p", str(path)) == 0


def unzip(path):
    # 1 is a warning, which it also gives for bytes that belong to nothing.
    return runs("unzip", "-tqq", "-P", "", str(path)) in (0, 1)


def python(path):
    try:
        with zipfile.ZipFile(path) as package:
            return package.testzip() is None
    except Exception:
        return False


def bsdtar(path):
    return runs("bsdtar", "-xOf", str(path)) == 0


JUDGES = {"7-Zip": seven_zip, "unzip": unzip, "Python": python, "bsdtar": bsdtar}


def wrong_verdicts(path, row):
    rules = {finding.split("@")[0] for finding in row["findings"]}
    verdicts = {name: judge(path) for name, judge in JUDGES.items()}
    refusing = sorted(name for name, accepted in verdicts.items() if not accepted)
    if rules <= WHOLE and refusing:
        return [f"{path.name}: refused by {', '.join(refusing)}"]
    if row["noticed"] == "yes" and not refusing:
        return [f"{path.name}: no program notices the damage"]
    if row["noticed"] == "no" and refusing:
        return [f"{path.name}: noticed by {', '.join(refusing)} after all"]
    return []


def main():
    folder = pathlib.Path(sys.argv[1])
    rows = json.loads((folder / "expected.json").read_text(encoding="utf-8"))
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        wrong = sum(pool.map(lambda row: wrong_verdicts(folder / row["file"], row), rows), [])
    print("\n".join(wrong))
    print(f"judged {len(rows)} packages, {len(wrong)} verdicts are not as expected")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
