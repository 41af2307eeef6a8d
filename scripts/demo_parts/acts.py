"""The acts of the demo: what the player does in each, and the expected result."""

import os
import shutil

import client_package
from client_package import FileState, look_at_folder
from player import DemoFailure, Player, wait_until

TOOL_NAME = "KrvBrennickInstaller.exe"
UNINSTALLER = "Uninstall.exe"
SHORTCUT = "Karvoth.lnk"
FIRST_SERVER = "/asia/karvoth-2.0.0.zip"
SECOND_SERVER = "/eu/karvoth-2.0.0.zip"

# The window's buttons, by their control ids.
REPAIR, REINSTALL, SHORTCUT_BUTTON, PATCHER, WEBSITE, COMMUNITY = range(4001, 4007)
CLOSE_MARK, RETRY, CLOSE, FIRST_CHOICE, SECOND_CHOICE = range(4008, 4013)

CLOSE_QUESTION = "Close Repair Tool"
REINSTALL_QUESTION = "Confirm Reinstall"
SHORTCUT_QUESTION = "Create Game Shortcut"

JOB_LIMIT_S = 90
# How full the bar is in the screenshot of a download.
DURING_SHARE = (0.5, 0.95)


class Act:
    """One run of the tool in a client folder of its own, from the broken client to the report."""

    title = ""
    game = "Karvoth"
    folder = r"C:\Games\Karvoth"
    tool_name = TOOL_NAME
    address = FIRST_SERVER  # Of the package on the server.
    settings = {}
    slow = True
    damages = False

    def __init__(self, stage, report):
        self.stage = stage
        self.report = report
        self.windows = stage.windows
        self.server = stage.server
        self.package = stage.package
        self.client = self.windows.path(self.folder)
        self.player = Player(self.windows, stage.pictures, stage.accent)
        self.exit_code = None

    def play(self):
        self.server.prepare(self.slow, self.damages)
        self.prepare_client()
        self.before = look_at_folder(self.client)
        self.report.heading(self.title)
        self.report.line(f"Client: {self.folder}")
        tool = self.windows.start([self.tool_name], self.client)
        try:
            self.player.note(f"started {self.tool_name}")
            self.perform()
            self.exit_code = tool.wait(60)
            self.player.note(f"saw the tool end with exit code {self.exit_code}")
        except Exception:
            self.player.capture_screen("unexpected")
            raise
        finally:
            # Does nothing when the tool has ended normally.
            tool.kill()
            tool.wait()
            self.report.notes(self.player.notes)
        self.after = look_at_folder(self.client)
        self.report_files()
        self.report_system()
        self.judge()

    def prepare_client(self):
        shutil.rmtree(self.client, ignore_errors=True)
        self.package.install(self.client)
        client_package.break_client(self.client)
        self.stage.provide_tool(os.path.join(self.client, self.tool_name), self.settings)

    def perform(self):
        raise NotImplementedError

    def judge(self):
        raise NotImplementedError

    # Steps shared by the acts.

    def wait_until_ready(self):
        view = self.player.find_window()
        self.player.wait_for_view("the tool is ready", lambda view: view.usable(REPAIR))
        shown = view.usable(WEBSITE) and view.usable(COMMUNITY) and view.usable(PATCHER)
        self.report.check(shown, '"Website", "Discord" and "Run Patcher" are shown')

    def capture_download(self):
        def under_way():
            share = self.player.bar_share()
            return share if DURING_SHARE[0] <= share <= DURING_SHARE[1] else 0

        share = wait_until("the bar is partly filled", under_way, JOB_LIMIT_S)
        self.player.capture("during")
        self.player.note(f"saw the bar at {share:.0%}")
        self.server.captured.set()

    def wait_for_success(self):
        self.player.wait_for_view("the job is done", lambda view: view.usable(REPAIR), JOB_LIMIT_S)
        wait_until("the bar is full", lambda: self.player.bar_share() == 1, 10)
        self.player.note("saw the job done")

    def finish(self):
        """Waits for the success and its startup program, and closes the tool."""
        self.wait_for_success()
        log = os.path.join(self.client, client_package.STARTUP_LOG)
        wait_until("the startup program runs", lambda: os.path.exists(log), 20)
        self.player.capture_settled("after")
        self.close(CLOSE_MARK, "close_question")

    def close(self, control_id, picture):
        self.player.press(control_id)
        self.player.read_question(CLOSE_QUESTION)
        self.player.capture_settled(picture, whole_screen=True)
        self.player.answer("Yes")

    def refuse_reinstall(self):
        self.player.press(REINSTALL)
        self.player.read_question(REINSTALL_QUESTION)
        self.player.capture_settled("reinstall_question", whole_screen=True)
        self.player.answer("No")
        self.player.wait_for_view(
            "the question is closed", lambda view: not view.question and view.usable(REINSTALL)
        )
        untouched = look_at_folder(self.client) == self.before and not self.server.requests
        self.report.check(untouched, "the refused reinstall changed and requested nothing")

    # Reported and checked at the end.

    def report_files(self):
        names = [
            client_package.MISSING,
            client_package.CHANGED,
            client_package.OLDER,
            *client_package.PLAYERS_OWN,
            client_package.STARTUP_LOG,
            UNINSTALLER,
            self.tool_name,
        ]
        none = FileState()
        self.report.files(
            (name, self.before.get(name, none), self.after.get(name, none)) for name in names
        )

    def report_system(self):
        self.entry = self.windows.installed_programs_entry(self.game)
        self.report.entry(self.game, self.entry)
        self.report.list("Requests received by the server", self.server.requests)
        self.report.list("Left in the temporary folder", self.windows.temporary_files())
        self.report.list("On the Desktop", self.windows.desktop_files())

    def startup_count(self):
        path = os.path.join(self.client, client_package.STARTUP_LOG)
        if not os.path.exists(path):
            return 0
        with open(path, encoding="utf-8") as file:
            return file.read().count("started in " + self.folder)

    def uninstaller_is_embedded(self):
        path = os.path.join(self.client, UNINSTALLER)
        if not os.path.exists(path):
            return False
        with open(path, "rb") as written, open(os.path.join(self.client, self.tool_name), "rb") as tool:
            uninstaller = written.read()
            return uninstaller.startswith(b"MZ") and uninstaller in tool.read()

    def judge_end(self):
        check = self.report.check
        check(self.exit_code == 0, "the tool ended with exit code 0")
        check(not self.windows.temporary_files(), "nothing is left in the temporary folder")
        kept = self.after.get(self.tool_name) == self.before[self.tool_name]
        check(kept, "the tool's own file is unchanged")

    def judge_success(self):
        check = self.report.check
        different = self.package.differences(self.client)
        check(
            not different,
            f"all {len(self.package.files)} files of the package are in the client, byte for byte"
            + "".join(f"; not {name}" for name in different[:5]),
        )
        date = self.after[client_package.OLDER].seconds
        check(date == client_package.PACKED_SECONDS, "the older file has the package's date")
        check(self.uninstaller_is_embedded(), f"{UNINSTALLER} is the embedded one")
        check(
            self.entry.get("DisplayName") == self.game
            and self.entry.get("InstallLocation") == self.folder
            and self.entry.get("UninstallString") == rf'"{self.folder}\{UNINSTALLER}"',
            "the game is registered with its folder and its uninstaller",
        )
        lines = [request.line for request in self.server.requests]
        check(lines == [f"GET {self.address} HTTP/1.1"], "the package was requested once")
        check(self.startup_count() == 1, "the startup program was started once, in its folder")
        self.judge_end()

    def judge_players_files(self, kept):
        for name in client_package.PLAYERS_OWN:
            if kept:
                same = self.after.get(name) == self.before[name]
                self.report.check(same, f"the player's own {name} is kept")
            else:
                self.report.check(name not in self.after, f"the player's own {name} is deleted")


class Repair(Act):
    title = "A repair"

    def perform(self):
        self.wait_until_ready()
        self.player.capture_settled("before")
        self.refuse_reinstall()
        self.player.press(REPAIR)
        self.capture_download()
        self.finish()

    def judge(self):
        self.judge_success()
        self.judge_players_files(kept=True)


class RepairFromSecondServer(Act):
    title = "A repair from the second server"
    address = SECOND_SERVER

    def __init__(self, stage, report):
        super().__init__(stage, report)
        self.settings = {
            "multiRepairTool": "1",
            "archiveMirrorUrls": self.server.url(SECOND_SERVER),
        }

    def perform(self):
        self.wait_until_ready()
        self.player.capture_settled("before")
        self.player.press(SECOND_CHOICE)
        self.player.capture_settled("second_server")
        self.player.press(REPAIR)
        self.capture_download()
        self.finish()

    def judge(self):
        self.judge_success()
        self.judge_players_files(kept=True)


class Reinstall(Act):
    title = "A reinstall"

    def perform(self):
        self.wait_until_ready()
        self.player.capture_settled("before")
        self.player.press(REINSTALL)
        self.player.read_question(REINSTALL_QUESTION)
        self.player.capture_settled("reinstall_question", whole_screen=True)
        self.player.answer("Yes")
        self.capture_download()
        wait_until("the offer of a shortcut", self.shortcut_is_offered, JOB_LIMIT_S)
        self.player.read_question(SHORTCUT_QUESTION)
        self.player.capture_settled("shortcut_question", whole_screen=True)
        self.player.answer("Yes")
        self.finish()

    def shortcut_is_offered(self):
        view = self.player.look()
        return view and view.question

    def judge(self):
        self.judge_success()
        self.judge_players_files(kept=False)
        created = SHORTCUT in self.windows.desktop_files()
        self.report.check(created, "the shortcut is on the Desktop")


class Failure(Act):
    title = "A repair that fails because the server damages the package"
    folder = r"C:\Games\Karvoth damaged"
    slow = False
    damages = True

    def perform(self):
        self.wait_until_ready()
        self.player.press(REPAIR)
        self.wait_for_failure()
        self.player.capture_settled("failure")
        self.player.press(RETRY)
        self.player.wait_for_view("the tool is ready again", lambda view: view.usable(REPAIR))
        self.player.note("saw the tool ready again")
        self.player.capture_settled("ready_again")
        self.player.press(REPAIR)
        self.wait_for_failure()
        self.close(CLOSE, "close_question_after_failure")

    def wait_for_failure(self):
        self.player.wait_for_view(
            "the failure is shown",
            lambda view: view.usable(RETRY) and view.usable(CLOSE) and not view.usable(REPAIR),
            JOB_LIMIT_S,
        )
        wait_until("the bar is empty", lambda: self.player.bar_share() == 0, 10)
        self.player.note('saw the failure with "Retry" and "Close"')

    def judge(self):
        check = self.report.check
        check(self.after == self.before, "every byte and date of the client is unchanged")
        lines = [request.line for request in self.server.requests]
        check(lines == [f"GET {self.address} HTTP/1.1"] * 2, "the second attempt downloaded the package again")
        registered = self.entry.get("InstallLocation") == self.folder
        check(not registered, "the failed repair registered nothing")
        check(self.startup_count() == 0, "the startup program was not started")
        self.judge_end()
