"""What the tests of a release share: the parts of scripts/release, and the archive of the build at hand."""

import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "scripts" / "release_parts"), str(ROOT / "tests" / "kit")]

import archives

SECONDS = 1700000001  # An odd number: times in a ZIP are even.


def write_release(build, output, version="1.2.3", exe=None, seconds=SECONDS):
    build = pathlib.Path(build)
    return archives.write_release(ROOT, build, exe or build / archives.PROGRAMS["repair_kit"], output,
                                  version, seconds)
