"""The operator's part of the demo: from a client folder to a branded tool with repair_kit."""

import glob
import os
import re
import shutil
import subprocess

import acts
import client_package
from package_server import PackageServer
from player import DemoFailure
from stage import DEFAULT_BRAND, ROOT, Stage, with_values

GAME = "Kestrel Bay"
PACKAGE = "kestrel-bay-2.0.0.zip"
ADDRESS = "/" + PACKAGE
TOOL_NAME = GAME + " Repair.exe"
ACCENT = "5FD0C5"
# Of the default brand's pictures, in percent of half the color circle.
HUE = 183
DESK = r"C:\Operator"
STATES = ["ready", "download", "verify", "unpack", "files", "done", "failed", "servers"]
SHEET = "contact-sheet.png"


class KitStage(Stage):
    """With a tool and a package that repair_kit makes from a client folder. The folder is one that
    was played in, so it holds files that are not for all players."""

    def __init__(self, demo, build):
        super().__init__(demo, build)
        self.kit = os.path.join(self.programs, "repair_kit.exe")
        self.desk = self.windows.path(DESK)
        self.client = os.path.join(self.desk, "Client")
        self.brand = os.path.join(self.desk, "brand")
        self.package_path = os.path.join(self.desk, PACKAGE)
        self.tool = os.path.join(self.desk, "release", TOOL_NAME)
        self.accent = tuple(bytes.fromhex(ACCENT))
        self.server = PackageServer(self.package_path, [ADDRESS])
        client_package.write_client(self.client, self.startup_program)
        client_package.add_players_files(self.client)

    def introduce(self, report):
        """Runs the five commands. Checks what they have made."""
        size = os.path.getsize(self.kit)
        report.line(f"Kit:       {os.path.relpath(self.kit, ROOT)}, {size:,} bytes")
        report.heading("From a client folder to a branded tool")
        before = client_package.look_at_folder(self.client)
        excludes = []
        for name in client_package.PLAYERS_OWN:
            excludes += ["--exclude", name.split("/")[0]]
        self.run_kit(report, "new", "brand", "--name", GAME)
        self.fill_in(report)
        self.run_kit(report, "pack", "Client", "-o", PACKAGE, "--brand", "brand", *excludes)
        self.run_kit(report, "check", "brand", "--package", PACKAGE)
        self.run_kit(report, "preview", "brand", "-o", "pictures")
        shutil.copy(os.path.join(self.desk, "pictures", SHEET), self.pictures)
        self.run_kit(report, "build", "brand", "-o", "release", "--package", PACKAGE)
        self.package = client_package.Package(self.package_path)
        self.judge(report, before)
        report.print_checks()
        report.line()
        self.introduce_package(report)

    def run_kit(self, report, *arguments):
        words = [f'"{word}"' if " " in word else word for word in arguments]
        report.line(f"{DESK}> repair_kit {' '.join(words)}")
        code, output = self.windows.run(self.kit, *arguments, folder=self.desk, errors=True)
        for line in output.splitlines():
            report.line("    " + line)
        report.line()
        if code != 0:
            raise DemoFailure(f"repair_kit {arguments[0]} ended with exit code {code}.")

    def fill_in(self, report):
        """What an operator does between "new" and "pack"."""
        values = {
            "archiveUrl": self.server.url(ADDRESS),
            "accentHex": ACCENT,
            "websiteUrl": "https://www.kestrel-bay.example.invalid/",
            "discordUrl": "https://community.kestrel-bay.example.invalid/",
            "companyName": "By the Kestrel Bay team",
            "programsPublisher": "The Kestrel Bay team",
            "uninstallerCopyright": "© 2026 The Kestrel Bay team",
            "repairCopyright": "© 2026 The Kestrel Bay team",
        }
        path = os.path.join(self.brand, "config.txt")
        with open(path, encoding="utf-8") as file:
            text = with_values(file.read(), values)
        with open(path, "w", encoding="utf-8", newline="\n") as file:
            file.write(text)
        report.line("The operator fills in config.txt and gives the pictures other colors:")
        for key, value in values.items():
            report.line(f"    {key}={value}")
        for name in ("background.jpg", "logo.png"):
            source = os.path.join(DEFAULT_BRAND, name)
            target = os.path.join(self.brand, name)
            subprocess.run(["convert", source, "-modulate", f"100,100,{HUE}", target], check=True)
        report.line()

    def judge(self, report, before):
        check = report.check
        after = client_package.look_at_folder(self.client)
        check(after == before, "the client folder is unchanged")
        expected = {name for name in before if name not in client_package.PLAYERS_OWN}
        complete = set(self.package.files) == expected and not self.package.differences(self.client)
        check(complete, "Python reads each file of the client in the package, without the excluded ones")
        with open(os.path.join(self.brand, "config.txt"), encoding="utf-8") as file:
            digest = re.search(r"^archiveSha256=(.*)$", file.read(), re.MULTILINE)[1]
        check(digest == self.package.state.digest, "config.txt has the package's SHA-256")
        pictures = os.listdir(os.path.join(self.desk, "pictures"))
        wanted = sorted([SHEET, *(state + ".png" for state in STATES)])
        check(sorted(pictures) == wanted, "there is a picture of each state of the window")
        built = glob.glob(os.path.join(self.desk, "release", "**"), recursive=True)
        files = [path for path in built if os.path.isfile(path)]
        check(files == [self.tool], "the tool is the only file in the release folder")

    def provide_tool(self, path, settings):
        """Puts the tool there as it is: its settings are the brand's."""
        if settings:
            raise DemoFailure("A finished tool takes no other settings.")
        shutil.copyfile(self.tool, path)


class RepairWithBuiltTool(acts.Repair):
    title = "A player repairs a broken client with the built tool"
    game = GAME
    folder = "C:\\Games\\" + GAME
    tool_name = TOOL_NAME
    address = ADDRESS
