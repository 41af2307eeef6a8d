"""What a checkout must be like for a release."""

import re
import subprocess

LISTED = 5  # Files that a message names.
PACKED = ("docs", "resources")  # The folders whose files are packed as they are found.


def git(root, *arguments):
    """What Git prints. Raises ValueError with Git's own words."""
    # Names of files need not be UTF-8.
    result = subprocess.run(["git", "-C", root, *arguments], capture_output=True, encoding="utf-8",
                            errors="backslashreplace")
    if result.returncode != 0:
        raise ValueError(result.stderr.strip())
    return result.stdout


def project_version(root):
    """The version in CMakeLists.txt."""
    match = re.search(r"^project\(repair_tool VERSION (\d+\.\d+\.\d+) ",
                      (root / "CMakeLists.txt").read_text("utf-8"), re.MULTILINE)
    if not match:
        raise ValueError("CMakeLists.txt has no project(repair_tool VERSION ...)")
    return match[1]


def commit_seconds(root):
    """The time of the commit that is checked out, in seconds since 1970."""
    return int(git(root, "-c", "log.showSignature=false", "log", "-1", "--format=%ct"))


def names(files):
    more = len(files) - LISTED
    return ", ".join(files[:LISTED]) + (f" and {more} more" if more > 0 else "")


def file_problems(root):
    entries = [entry for entry in git(root, "status", "--porcelain", "-z", "--no-renames",
                                      "--untracked-files=all").split("\0") if entry]
    changed = [entry[3:] for entry in entries if entry[:2] != "??"]
    untracked = [entry[3:] for entry in entries if entry[:2] == "??"]
    if changed:
        yield f"uncommitted changes: {names(changed)}. Commit or revert them."
    if untracked:
        yield f"untracked files: {names(untracked)}. Commit or remove them."
    # The status above leaves these out.
    ignored = [name for name in git(root, "ls-files", "-z", "--others", "--ignored", "--exclude-standard",
                                    "--", *PACKED).split("\0") if name]
    if ignored:
        yield f"ignored files that would be packed: {names(ignored)}. Remove them."


def tag_problems(root, version):
    own = f"v{version}"
    tags = [tag for tag in git(root, "tag", "--points-at", "HEAD").split() if re.match(r"v\d", tag)]
    # A release candidate may have become the release.
    others = [tag for tag in tags if tag != own and not tag.startswith(own + "-")]
    if others:
        yield (f"the commit is tagged {names(others)}, but CMakeLists.txt says {version}. Move the tag, or "
               "change the version.")
    elif own not in tags:
        yield f"the commit has no version tag. Make it: git tag -a {own} -m {version}"


def changelog_problems(root, version):
    heading = re.search(rf"^## {re.escape(version)}(?: (.*))?$",
                        (root / "CHANGELOG.md").read_text("utf-8"), re.MULTILINE)
    if not heading:
        yield f'CHANGELOG.md has no section "## {version}". Write it.'
    elif heading[1] and "not yet released" in heading[1]:
        yield f'CHANGELOG.md calls {version} "not yet released". Remove it from the heading.'


def problems(root, version):
    """Why this checkout cannot be released: one sentence for each reason, with the way out."""
    return [*file_problems(root), *tag_problems(root, version), *changelog_problems(root, version)]
