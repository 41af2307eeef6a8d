"""scripts/release refuses a checkout that is not clean, and says what to do about it.

usage: checkout_test.py VERSION
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from scratch_checkout import clone_checkout, git, make_checkout

VERSION = sys.argv.pop(1)
# Reached when the checkout is in order.
SETUP = "#!/bin/sh\necho all checks passed\nexit 3\n"


class CheckoutTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        cls.origin = pathlib.Path(scratch.name) / "origin"
        cls.origin.mkdir()
        make_checkout(cls.origin, VERSION, ("benchmarks/", "kit/", "resources/", "src/", "tests/"))
        # Ends the script before it builds.
        (cls.origin / "scripts" / "setup").write_text(SETUP)
        git(cls.origin, "commit", "--quiet", "--all", "--message", "Stop before the build")
        git(cls.origin, "tag", "--force", f"v{VERSION}")

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.clone = pathlib.Path(scratch.name) / "clone"
        clone_checkout(self.origin, self.clone)

    def run_release(self, *options, **environment):
        return subprocess.run([self.clone / "scripts" / "release", *options], capture_output=True,
                              text=True, env={**os.environ, **environment})

    def let_it_build(self):
        """Lets the release begin to build, with a program in place of cmake. Gives the program's path."""
        (self.clone / "scripts" / "setup").write_text("#!/bin/sh\n")
        self.commit()
        git(self.clone, "tag", "--force", f"v{VERSION}")
        cmake = self.clone.parent / "programs" / "cmake"
        cmake.parent.mkdir()
        cmake.write_text('#!/bin/sh\nenv > "$0.environment"\nexit 3\n')
        cmake.chmod(0o755)
        return cmake

    def check_refused(self, *messages):
        result = self.run_release()
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertEqual(result.stderr.splitlines(), [f"release: {message}" for message in messages])
        self.assertFalse((self.clone / "dist").exists())

    def change(self, name, old, new):
        path = self.clone / name
        text = path.read_text("utf-8")
        self.assertEqual(text.count(old), 1)
        path.write_text(text.replace(old, new), "utf-8")

    def commit(self):
        git(self.clone, "commit", "--quiet", "--all", "--message", "Change")

    def test_a_clean_checkout_of_the_tag_is_accepted(self):
        self.assertEqual(self.run_release().stdout, "all checks passed\n")

    def test_ignored_files_and_other_tags_do_no_harm(self):
        (self.clone / "build").mkdir()
        (self.clone / "build" / "file").touch()
        git(self.clone, "tag", "nightly")
        self.assertEqual(self.run_release().stdout, "all checks passed\n")

    def test_uncommitted_changes(self):
        self.change("README.md", "# The repair tool", "# A repair tool")
        (self.clone / "SECURITY.md").unlink()
        git(self.clone, "mv", "CONTRIBUTING.md", "docs/contributing.md")
        self.check_refused("uncommitted changes: CONTRIBUTING.md, README.md, SECURITY.md, "
                           "docs/contributing.md. Commit or revert them.")

    def test_untracked_files(self):
        for number in range(7):
            (self.clone / "docs" / f"extra {number}.md").touch()
        self.check_refused("untracked files: docs/extra 0.md, docs/extra 1.md, docs/extra 2.md, "
                           "docs/extra 3.md, docs/extra 4.md and 2 more. Commit or remove them.")

    def test_ignored_files_among_the_documents(self):
        (self.clone / "docs" / ".start.md.swp").touch()
        self.check_refused("ignored files that would be packed: docs/.start.md.swp. Remove them.")

    def test_files_of_the_sample_brand_that_the_user_ignores(self):
        (self.clone / ".git" / "info" / "exclude").write_text("*.bak\n")
        brand = self.clone / "resources" / "karvoth"
        brand.mkdir(parents=True)
        (brand / "config.bak").touch()
        self.check_refused("ignored files that would be packed: resources/karvoth/config.bak. Remove them.")

    def test_names_that_are_not_utf_8(self):
        (self.clone / os.fsdecode(b"docs/\xff.md")).touch()
        self.check_refused(r"untracked files: docs/\xff.md. Commit or remove them.")

    def test_a_folder_without_a_repository(self):
        shutil.rmtree(self.clone / ".git")
        result = self.run_release()
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("release: fatal: not a git repository", result.stderr)
        self.assertNotIn("Traceback", result.stderr)

    def test_a_step_that_fails_is_named(self):
        result = self.run_release()
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, f"release: {self.clone}/scripts/setup --compile ended with code 3\n")

    def test_no_tag(self):
        git(self.clone, "tag", "--delete", f"v{VERSION}")
        self.check_refused("the commit has no version tag. Make it: "
                           f"git tag -a v{VERSION} -m {VERSION}")

    def test_a_tag_on_another_commit(self):
        self.change("README.md", "# The repair tool", "# A repair tool")
        self.commit()
        self.check_refused("the commit has no version tag. Make it: "
                           f"git tag -a v{VERSION} -m {VERSION}")

    def check_tagged(self, others):
        self.check_refused(f"the commit is tagged {others}, but CMakeLists.txt says {VERSION}. Move the "
                           "tag, or change the version.")

    def test_a_tag_of_another_version(self):
        git(self.clone, "tag", "v99.0.0")
        git(self.clone, "tag", "--delete", f"v{VERSION}")
        self.check_tagged("v99.0.0")

    def test_tags_of_several_versions(self):
        git(self.clone, "tag", "v99.0.0")
        git(self.clone, "tag", "-a", f"v{VERSION}0", "-m", "Another")
        self.check_tagged(f"v{VERSION}0, v99.0.0")

    def test_release_candidates_may_be_tagged_too(self):
        git(self.clone, "tag", f"v{VERSION}-rc1")
        self.assertEqual(self.run_release().stdout, "all checks passed\n")
        git(self.clone, "tag", "--delete", f"v{VERSION}")
        self.check_refused("the commit has no version tag. Make it: "
                           f"git tag -a v{VERSION} -m {VERSION}")

    def test_an_annotated_tag_in_a_shallow_clone(self):
        git(self.clone, "tag", "--force", "-a", f"v{VERSION}", "-m", VERSION)
        shallow = self.clone.with_name("shallow")
        git(self.clone, "clone", "--quiet", "--depth=1", f"--branch=v{VERSION}", f"file://{self.clone}",
            shallow)
        self.clone = shallow
        self.assertEqual(self.run_release().stdout, "all checks passed\n")

    def test_no_section_in_the_changelog(self):
        self.change("CHANGELOG.md", f"## {VERSION}\n", f"## {VERSION}.1\n")
        self.commit()
        git(self.clone, "tag", "--force", f"v{VERSION}")
        self.check_refused(f'CHANGELOG.md has no section "## {VERSION}". Write it.')

    def test_a_section_that_is_not_yet_released(self):
        self.change("CHANGELOG.md", f"## {VERSION}\n", f"## {VERSION} (not yet released)\n")
        self.commit()
        git(self.clone, "tag", "--force", f"v{VERSION}")
        self.check_refused(f'CHANGELOG.md calls {VERSION} "not yet released". Remove it from the '
                           "heading.")

    def test_the_build_sees_no_settings_of_the_user(self):
        cmake = self.let_it_build()
        own = {"PATH": f"{cmake.parent}:{os.environ['PATH']}", "CMAKE_BUILD_PARALLEL_LEVEL": "3",
               "HOME": str(self.clone.parent), "TMPDIR": "/tmp"}
        result = self.run_release(**own, CXXFLAGS="-O0", RCFLAGS="-DX", COMPILER_PATH="/", TZ="Asia/Tokyo")
        self.assertEqual(result.stderr, "release: cmake --preset mingw-symbols ended with code 3\n")
        seen = dict(line.split("=", 1) for line in
                    cmake.with_name("cmake.environment").read_text().splitlines())
        for name in ("_", "PWD", "OLDPWD", "SHLVL"):
            seen.pop(name, None)  # The shell's own.
        seconds = git(self.clone, "log", "-1", "--format=%ct").strip()
        self.assertEqual(seen, {**own, "LC_ALL": "C.UTF-8", "TZ": "UTC", "SOURCE_DATE_EPOCH": seconds})

    def test_an_earlier_build_that_cannot_be_removed(self):
        cmake = self.let_it_build()
        (self.clone / "build").mkdir()
        (self.clone / "build" / "mingw-symbols").symlink_to(self.clone.parent)
        result = self.run_release(PATH=f"{cmake.parent}:{os.environ['PATH']}")
        self.assertEqual((result.returncode, result.stderr),
                         (1, "release: Cannot call rmtree on a symbolic link\n"))
        self.assertFalse(cmake.with_name("cmake.environment").exists())

    def test_archives_of_other_versions(self):
        dist = self.clone / "dist"
        dist.mkdir()
        for name in (f"repair-kit-{VERSION}.zip", f"repair-kit-{VERSION}-symbols.zip", "SHA256SUMS"):
            (dist / name).touch()
        self.assertEqual(self.run_release().stdout, "all checks passed\n")
        for name in ("repair-kit-0.9.0.zip", "repair-kit-0.9.0-symbols.zip"):
            (dist / name).touch()
        result = self.run_release()
        self.assertEqual((result.returncode, result.stdout, result.stderr),
                         (1, "", "release: dist has other archives: repair-kit-0.9.0-symbols.zip, "
                                 "repair-kit-0.9.0.zip. Move them away.\n"))

    def test_an_unusable_signing_command_is_refused_before_the_build(self):
        for command in ("", "sign"):
            result = self.run_release("--sign", command)
            self.assertEqual((result.returncode, result.stdout), (1, ""))
            self.assertEqual(result.stderr, "release: the signing command does not name the file. Write "
                                            "{file} where it belongs.\n")

    def test_all_reasons_are_said_at_once(self):
        self.change("CHANGELOG.md", f"## {VERSION}\n", "## 0.9\n")
        (self.clone / "notes.txt").touch()
        git(self.clone, "tag", "--delete", f"v{VERSION}")
        self.check_refused(
            "uncommitted changes: CHANGELOG.md. Commit or revert them.",
            "untracked files: notes.txt. Commit or remove them.",
            f"the commit has no version tag. Make it: git tag -a v{VERSION} -m {VERSION}",
            f'CHANGELOG.md has no section "## {VERSION}". Write it.')


if __name__ == "__main__":
    unittest.main()
