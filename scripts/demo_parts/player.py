"""The player: looks at the tool's window, moves the mouse, clicks and takes screenshots."""

import dataclasses
import os
import subprocess
import time

POLL_S = 0.1
# As fast as a hand; the window needs a moment between moving and pressing.
BEFORE_PRESS_S = 0.25
PRESSED_S = 0.1
PROGRESS_BAR = (115, 329, 630, 24)
# Two pictures this far apart are equal when the window no longer changes.
SETTLED_PAUSE_S = 0.15


class DemoFailure(Exception):
    """Something that the demo waits for did not happen, or has the wrong result."""


@dataclasses.dataclass(frozen=True)
class Button:
    box: tuple
    text: str
    usable: bool  # Visible and enabled.


@dataclasses.dataclass
class View:
    """What is visible at one moment. Boxes are left, top, width, height in screen pixels."""

    box: tuple
    caption: str
    buttons: dict  # Control id to Button.
    question: tuple = None  # Caption and text.
    answers: dict = dataclasses.field(default_factory=dict)  # Text without "&" to Button.

    def usable(self, control_id):
        return self.buttons[control_id].usable


def parse_view(text):
    view = None
    for line in text.splitlines():
        kind, left, top, width, height, *rest = line.split("\t")
        box = (int(left), int(top), int(width), int(height))
        if kind == "window":
            view = View(box, rest[1], {})
        elif kind == "button":
            view.buttons[int(rest[0])] = Button(box, rest[3], rest[1:3] == ["1", "1"])
        elif kind == "question":
            view.question = (rest[0], rest[1])
        elif kind == "answer":
            view.answers[rest[1].replace("&", "")] = Button(box, rest[1], True)
    return view


def run_tool(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, timeout=30).stdout


def grab(box, *output):
    """A picture of a part of the screen; raw, three bytes a pixel, unless `output` names a file."""
    left, top, width, height = box
    crop = f"{width}x{height}+{left}+{top}"
    output = output or ("-depth", "8", "rgb:-")
    return run_tool("import", "-silent", "-window", "root", "-crop", crop, "+repage", *output)


def wait_until(description, condition, seconds):
    """The first true result of `condition`."""
    deadline = time.monotonic() + seconds
    while not (result := condition()):
        if time.monotonic() > deadline:
            raise DemoFailure(f"Not within {seconds} s: {description}.")
        time.sleep(POLL_S)
    return result


def find_on_screen(view):
    """Left and top of the window on the display; None when it is not there."""
    search = ["xdotool", "search", "--onlyvisible", "--name", view.caption]
    found = subprocess.run(search, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=30)
    for window in found.stdout.split():
        geometry = run_tool("xdotool", "getwindowgeometry", "--shell", window).decode()
        values = dict(line.split("=") for line in geometry.split())
        if (int(values["WIDTH"]), int(values["HEIGHT"])) == view.box[2:]:
            return int(values["X"]), int(values["Y"])
    return None


class Player:
    def __init__(self, windows, pictures, accent):
        self.windows = windows
        self.pictures = pictures
        self.accent = accent
        self.notes = []  # Time and text of what happened.
        self.started = time.monotonic()
        self.offset = (0, 0)

    def note(self, text):
        self.notes.append((time.monotonic() - self.started, text))

    def look(self):
        """The window's view; None while there is no window."""
        code, text = self.windows.run_demo_program("demo_window")
        return parse_view(text) if code == 0 else None

    def wait_for_view(self, description, condition, seconds=30):
        def seen():
            view = self.look()
            return view if view and condition(view) else None

        return wait_until(description, seen, seconds)

    def find_window(self):
        """Waits for the window and finds the offset of Wine's screen on the display."""
        view = self.wait_for_view("the window appears", lambda view: True, 60)
        left, top = wait_until("the window is on the screen", lambda: find_on_screen(view), 30)
        self.offset = (left - view.box[0], top - view.box[1])
        self.note(f'saw the window "{view.caption}"')
        return view

    def on_screen(self, box):
        return (box[0] + self.offset[0], box[1] + self.offset[1], box[2], box[3])

    def window_on_screen(self):
        view = self.look()
        if view is None:
            raise DemoFailure("The window is closed.")
        return self.on_screen(view.box)

    def click(self, button):
        left, top, width, height = self.on_screen(button.box)
        run_tool("xdotool", "mousemove", str(left + width // 2), str(top + height // 2))
        time.sleep(BEFORE_PRESS_S)
        run_tool("xdotool", "mousedown", "1")
        time.sleep(PRESSED_S)
        run_tool("xdotool", "mouseup", "1")

    def press(self, control_id):
        """Clicks a button of the window."""
        button = self.wait_for_view(
            f"button {control_id} can be pressed", lambda view: view.usable(control_id)
        ).buttons[control_id]
        self.click(button)
        self.note(f'clicked "{button.text}"')

    def read_question(self, caption):
        view = self.wait_for_view(
            f'the question "{caption}"',
            lambda view: view.question and view.question[0] == caption and view.answers,
        )
        text = " ".join(view.question[1].replace("\\n", " ").split())
        self.note(f'was asked "{caption}":')
        self.note(f'    "{text}"')
        return view

    def answer(self, text):
        """Clicks an answer of the open question."""
        button = self.wait_for_view("a question", lambda view: text in view.answers).answers[text]
        self.click(button)
        self.note(f'answered "{text}"')

    def bar_share(self):
        """The painted share of the progress bar, from 0 to 1."""
        window = self.window_on_screen()
        left, top, width, height = PROGRESS_BAR
        row = grab((window[0] + left, window[1] + top + height // 2, width, 1))
        pixels = [tuple(row[i : i + 3]) for i in range(0, len(row), 3)]
        return pixels.count(self.accent) / width

    def capture(self, name, whole_screen=False):
        """Immediately. Without `whole_screen` only the tool's window."""
        if whole_screen:
            self.capture_screen(name)
            return
        grab(self.window_on_screen(), self.picture(name))
        self.note(f"took the screenshot {name}.png")

    def capture_screen(self, name):
        run_tool("import", "-silent", "-window", "root", self.picture(name))
        self.note(f"took the screenshot {name}.png")

    def picture(self, name):
        return os.path.join(self.pictures, name + ".png")

    def capture_settled(self, name, whole_screen=False):
        """As soon as the window no longer changes."""
        box = self.window_on_screen()

        def settled():
            first = grab(box)
            time.sleep(SETTLED_PAUSE_S)
            return first == grab(box)

        wait_until("the window no longer changes", settled, 20)
        self.capture(name, whole_screen)
