"""The scratch Windows of the demo: a Wine prefix that nothing else uses."""

import glob
import os
import re
import shutil
import subprocess

PROGRAM_TIME_LIMIT_S = 60
QUIET = dict.fromkeys(("stdin", "stdout", "stderr"), subprocess.DEVNULL)
# Wine draws the default font of message boxes coarsely and measures it too narrow, so that lines
# are truncated.
FONT_SETTINGS = r"""
[Software\\Wine\\Fonts\\Replacements]
"Tahoma"="Open Sans"

[Control Panel\\Desktop]
"FontSmoothing"="2"
"FontSmoothingType"=dword:00000002
"""
UNINSTALL_KEY = r"HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall"


def launcher():
    """Without address space randomization, where the container allows that: with it, Debian's Wine
    sometimes fails to start a program."""
    wine = "/usr/lib/wine/wine64"
    command = [wine if os.access(wine, os.X_OK) else "wine"]
    fixed = ["setarch", "--addr-no-randomize"]
    if subprocess.run([*fixed, "true"], stderr=subprocess.DEVNULL).returncode == 0:
        return fixed + command
    return command


class ScratchWindows:
    def __init__(self, prefix, programs):
        self.registry = os.path.join(prefix, "user.reg")
        self.drive = os.path.join(prefix, "drive_c")
        self.programs = programs
        self.launcher = launcher()
        (self.user,) = (
            folder
            for folder in glob.glob(os.path.join(self.drive, "users", "*"))
            if os.path.basename(folder) != "Public"
        )

    def begin(self):
        """Adds what this Windows lacks, then starts its services."""
        tar = os.path.join(self.drive, "windows", "system32", "tar.exe")
        shutil.copyfile(os.path.join(self.programs, "tar_stand_in.exe"), tar)
        # Debian's Wine does not find the font with the symbols of the caption's buttons.
        for font in glob.glob("/usr/share/wine/fonts/marlett.ttf"):
            shutil.copy(font, os.path.join(self.drive, "windows", "Fonts"))
        # Wine's server reads this file when it starts.
        with open(self.registry, "a", encoding="utf-8") as registry:
            registry.write(FONT_SETTINGS)
        subprocess.run(["wineserver", "-p"], check=True, **QUIET)
        # Services inherit the open files of the first program, so start one without the caller's.
        self.start(["cmd", "/c", "exit"], self.drive).wait(PROGRAM_TIME_LIMIT_S)

    def path(self, windows_path):
        """The path on this machine of a path on drive C:."""
        return os.path.join(self.drive, *windows_path.split("\\")[1:])

    def start(self, command, folder):
        return subprocess.Popen([*self.launcher, *command], cwd=folder, **QUIET)

    def run(self, *command, folder=None, errors=False):
        """The exit code and what the program printed, with `errors` also those on stderr."""
        result = subprocess.run(
            [*self.launcher, *command],
            cwd=folder,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT if errors else subprocess.DEVNULL,
            timeout=PROGRAM_TIME_LIMIT_S,
        )
        return result.returncode, result.stdout.decode("utf-8", "replace")

    def run_demo_program(self, name, *arguments):
        return self.run(os.path.join(self.programs, name + ".exe"), *arguments)

    def installed_programs_entry(self, name):
        """A game's entry in the list of installed programs; empty when there is none."""
        code, text = self.run("reg", "query", rf"{UNINSTALL_KEY}\Quellstone.{name}")
        values = {}
        if code == 0:
            for line in text.splitlines():
                parts = re.fullmatch(r"\s+(\w+)\s+REG_(\w+)\s+(.*)", line.rstrip())
                if parts:
                    values[parts[1]] = parts[3]
        return values

    def temporary_files(self):
        return sorted(os.listdir(os.path.join(self.user, "Temp")))

    def desktop_files(self):
        return sorted(os.listdir(os.path.join(self.user, "Desktop")))
