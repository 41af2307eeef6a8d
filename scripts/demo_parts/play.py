#!/usr/bin/env python3
"""Plays the demo's acts in a scratch Windows and reports. Called by scripts/demo.

usage: play.py ACTS DEMO_FOLDER BUILD_FOLDER

ACTS is "default", "reinstall", "fail" or "servers". DEMO_FOLDER holds the scratch Windows in
`prefix` and receives the pictures and the report. Succeeds when every check passed.
"""

import os
import subprocess
import sys

# No __pycache__ beside the sources.
sys.dont_write_bytecode = True

import acts
import client_package
from package_server import PackageServer
from player import DemoFailure
from report import Report
from scratch_windows import ScratchWindows

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PLAYS = {
    "default": [acts.Repair, acts.Failure],
    "reinstall": [acts.Reinstall],
    "fail": [acts.Failure],
    "servers": [acts.RepairFromSecondServer],
}


class Stage:
    """The things that the acts share."""

    def __init__(self, demo, build):
        self.pictures = demo
        self.tool = os.path.join(build, "bin", "karvoth_repair", acts.TOOL_NAME)
        self.uninstaller = os.path.join(build, "karvoth_repair_brand", "Uninstall.exe")
        self.config_path = os.path.join(demo, "config.txt")
        programs = os.path.join(build, "bin")
        self.windows = ScratchWindows(os.path.join(demo, "prefix"), programs)
        startup_program = os.path.join(programs, "demo_patcher.exe")
        package_path = os.path.join(demo, "karvoth-2.0.0.zip")
        self.package = client_package.Package(package_path, startup_program)
        self.server = PackageServer(package_path, [acts.FIRST_SERVER, acts.SECOND_SERVER])
        self.accent = None

    def write_config(self, settings):
        """The default brand's configuration text with the demo's settings; returns its path."""
        values = {
            "archiveUrl": self.server.url(acts.FIRST_SERVER),
            "archiveSha256": self.package.state.digest,
            "websiteUrl": "https://www.karvoth.example.invalid/",
            "discordUrl": "https://community.karvoth.example.invalid/",
            **settings,
        }
        lines = []
        brand_text = os.path.join(ROOT, "resources", "karvoth", "config.txt")
        with open(brand_text, encoding="utf-8") as text:
            for line in text.read().splitlines():
                key, equals, value = line.partition("=")
                if equals and key in values:
                    line = f"{key}={values.pop(key)}"
                elif equals and key == "accentHex":
                    self.accent = tuple(bytes.fromhex(value))
                lines.append(line)
        if values:
            raise DemoFailure(f"The brand's configuration lacks {', '.join(values)}.")
        with open(self.config_path, "w", encoding="utf-8", newline="\n") as file:
            file.write("\n".join(lines) + "\n")
        return self.config_path


def introduce(report, stage):
    size = os.path.getsize(stage.tool)
    package = stage.package
    report.line(f"Tool:      {os.path.relpath(stage.tool, ROOT)}, {size:,} bytes,")
    report.line("           the file that operators ship; the demo's copies differ only in the")
    report.line("           embedded configuration text")
    report.line(f"Package:   {len(package.files)} files, {package.state.size:,} bytes,")
    report.line(f"           SHA-256 {package.state.digest}")
    report.line("Unpacking: Wine has no tar.exe, so a substitute that calls 7-Zip replaces the one")
    report.line("           that is part of Windows")


def play(act_types, demo, build):
    stage = Stage(demo, build)
    stage.windows.begin()
    stage.write_config({})
    report = Report(os.path.join(demo, "report.txt"))
    introduce(report, stage)
    for act_type in act_types:
        act = act_type(stage, report)
        try:
            act.play()
        except (DemoFailure, subprocess.SubprocessError) as failure:
            report.check(False, str(failure))
        report.print_checks()
    pictures = sorted(name for name in os.listdir(demo) if name.endswith(".png"))
    report.heading("Results")
    where = os.path.relpath(demo, ROOT)
    client = os.path.relpath(stage.windows.path(act_types[0].folder), ROOT)
    report.line(f"Client:     {client}")
    report.line(f"Pictures:   {where}/{{{','.join(name[:-4] for name in pictures)}}}.png")
    report.line(f"Report:     {where}/report.txt")
    report.line(f"Result:     {'FAILED' if report.failures else 'all checks passed'}")
    return 1 if report.failures else 0


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in PLAYS:
        print(__doc__, file=sys.stderr)
        return 2
    return play(PLAYS[sys.argv[1]], os.path.abspath(sys.argv[2]), os.path.abspath(sys.argv[3]))


if __name__ == "__main__":
    sys.exit(main())
