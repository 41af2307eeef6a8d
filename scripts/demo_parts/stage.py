"""The things that the acts of a demo share: the scratch Windows, the package, its server, the tool."""

import os
import shutil

import acts
import client_package
from package_server import PackageServer
from player import DemoFailure
from scratch_windows import ScratchWindows

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
DEFAULT_BRAND = os.path.join(ROOT, "resources", "karvoth")


def with_values(text, values):
    """A configuration text with other values for some of its keys."""
    missing = dict(values)
    lines = []
    for line in text.splitlines():
        key, equals, _ = line.partition("=")
        if equals and key in missing:
            line = f"{key}={missing.pop(key)}"
        lines.append(line)
    if missing:
        raise DemoFailure(f"The brand's configuration lacks {', '.join(missing)}.")
    return "\n".join(lines) + "\n"


class Stage:
    def __init__(self, demo, build):
        self.pictures = demo
        self.programs = os.path.join(build, "bin")
        self.startup_program = os.path.join(self.programs, "demo_patcher.exe")
        self.windows = ScratchWindows(os.path.join(demo, "prefix"), self.programs)
        self.windows.begin()

    def introduce_package(self, report):
        package = self.package
        report.line(f"Package:   {len(package.files)} files, {package.state.size:,} bytes,")
        report.line(f"           SHA-256 {package.state.digest}")
        report.line("Unpacking: Wine has no tar.exe, so a substitute that calls 7-Zip replaces the one")
        report.line("           that is part of Windows")


class LinkedStage(Stage):
    """With the tool that the build links with the default brand, and a package made by Python."""

    def __init__(self, demo, build):
        super().__init__(demo, build)
        self.tool = os.path.join(self.programs, "karvoth_repair", acts.TOOL_NAME)
        self.config_path = os.path.join(demo, "config.txt")
        package_path = os.path.join(demo, "karvoth-2.0.0.zip")
        client_package.make_package(package_path, self.startup_program)
        self.package = client_package.Package(package_path)
        self.server = PackageServer(package_path, [acts.FIRST_SERVER, acts.SECOND_SERVER])
        with open(os.path.join(DEFAULT_BRAND, "config.txt"), encoding="utf-8") as text:
            self.brand_text = text.read()
        (accent,) = (
            line.partition("=")[2]
            for line in self.brand_text.splitlines()
            if line.startswith("accentHex=")
        )
        self.accent = tuple(bytes.fromhex(accent))

    def introduce(self, report):
        size = os.path.getsize(self.tool)
        report.line(f"Tool:      {os.path.relpath(self.tool, ROOT)}, {size:,} bytes,")
        report.line("           the file that operators ship; the demo's copies differ only in the")
        report.line("           embedded configuration text")
        self.introduce_package(report)

    def provide_tool(self, path, settings):
        """Puts the tool there, with the demo's settings and these."""
        values = {
            "archiveUrl": self.server.url(acts.FIRST_SERVER),
            "archiveSha256": self.package.state.digest,
            "websiteUrl": "https://www.karvoth.example.invalid/",
            "discordUrl": "https://community.karvoth.example.invalid/",
            **settings,
        }
        with open(self.config_path, "w", encoding="utf-8", newline="\n") as file:
            file.write(with_values(self.brand_text, values))
        shutil.copyfile(self.tool, path)
        code, _ = self.windows.run_demo_program("demo_stamp", path, self.config_path)
        if code != 0:
            raise DemoFailure("The configuration could not be embedded in the tool's copy.")
