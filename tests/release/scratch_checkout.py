"""Scratch checkouts of this repository for the tests of scripts/release."""

import re
import shutil
import subprocess

from release_bench import ROOT


def git(folder, *arguments):
    # The user's own settings could sign commits or convert line ends.
    return subprocess.run(["git", "-C", folder, "-c", "user.name=Test", "-c", "user.email=test@example.com",
                           *arguments],
                          check=True, capture_output=True, text=True,
                          env={"PATH": "/usr/bin:/bin", "GIT_CONFIG_GLOBAL": "/dev/null",
                               "GIT_CONFIG_SYSTEM": "/dev/null", "HOME": str(folder)}).stdout


def make_checkout(folder, version, left_out=()):
    """A repository with this checkout's files, as they are now, in one commit, ready for a release.

    `left_out` are the beginnings of names that are not copied.
    """
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            cwd=ROOT, check=True, capture_output=True, text=True).stdout
    for name in filter(None, listed.split("\0")):
        if (ROOT / name).is_file() and not name.startswith(tuple(left_out)):
            target = folder / name
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, target)
    changes = folder / "CHANGELOG.md"
    heading = rf"^## {re.escape(version)} .*$"
    changes.write_text(re.sub(heading, f"## {version}", changes.read_text("utf-8"), flags=re.MULTILINE),
                       "utf-8")
    git(folder, "init", "--quiet")
    git(folder, "add", "--all")
    git(folder, "commit", "--quiet", "--message", "Release")
    git(folder, "tag", f"v{version}")


def clone_checkout(origin, folder):
    git(origin, "clone", "--quiet", origin, folder)
