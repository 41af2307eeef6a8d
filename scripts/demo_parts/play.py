#!/usr/bin/env python3
"""Plays the demo's acts in a scratch Windows and reports. Called by scripts/demo.

usage: play.py ACTS DEMO_FOLDER BUILD_FOLDER

ACTS is "default", "reinstall", "fail", "servers" or "kit". DEMO_FOLDER holds the scratch Windows in
`prefix` and receives the pictures and the report. Succeeds when every check passed.
"""

import os
import subprocess
import sys

# No __pycache__ beside the sources.
sys.dont_write_bytecode = True

import acts
from kit_stage import KitStage, RepairWithBuiltTool
from player import DemoFailure
from report import Report
from stage import ROOT, LinkedStage

PLAYS = {
    "default": (LinkedStage, [acts.Repair, acts.Failure]),
    "reinstall": (LinkedStage, [acts.Reinstall]),
    "fail": (LinkedStage, [acts.Failure]),
    "servers": (LinkedStage, [acts.RepairFromSecondServer]),
    "kit": (KitStage, [RepairWithBuiltTool]),
}


def attempt(report, action):
    """True if it came to its end."""
    try:
        action()
        return True
    except (DemoFailure, subprocess.SubprocessError) as failure:
        report.check(False, str(failure))
        return False
    finally:
        report.print_checks()


def play(stage_type, act_types, demo, build):
    stage = stage_type(demo, build)
    report = Report(os.path.join(demo, "report.txt"))
    if attempt(report, lambda: stage.introduce(report)):
        for act_type in act_types:
            attempt(report, act_type(stage, report).play)
    pictures = sorted(name for name in os.listdir(demo) if name.endswith(".png"))
    report.heading("Results")
    where = os.path.relpath(demo, ROOT)
    client = os.path.relpath(stage.windows.path(act_types[0].folder), ROOT)
    report.line(f"Client:     {client}")
    if pictures:
        report.line(f"Pictures:   {where}/{{{','.join(name[:-4] for name in pictures)}}}.png")
    report.line(f"Report:     {where}/report.txt")
    report.line(f"Result:     {'FAILED' if report.failures else 'all checks passed'}")
    return 1 if report.failures else 0


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in PLAYS:
        print(__doc__, file=sys.stderr)
        return 2
    return play(*PLAYS[sys.argv[1]], os.path.abspath(sys.argv[2]), os.path.abspath(sys.argv[3]))


if __name__ == "__main__":
    sys.exit(main())
