"""The sample game: its package, a client installed from it, and the damage to that client."""

import calendar
import dataclasses
import hashlib
import os
import random
import shutil
import struct
import time
import zipfile

# The package's only top folder, which the tool flattens.
TOP_FOLDER = "Karvoth 2.0.0/"
PACKED_AT = (2026, 3, 14, 12, 0, 0)
PACKED_SECONDS = calendar.timegm(PACKED_AT)
OLD_SECONDS = PACKED_SECONDS - 400 * 86400

# Name to size in bytes.
LARGE_FILES = {
    "Data/models.pak": 13_000_000,
    "Data/sounds.pak": 7_000_000,
    "Data/terrain.pak": 12_500_000,
    "Data/textures.pak": 10_250_000,
}
# Pattern of the name, number of files, sizes from and to.
SMALL_FILES = [
    ("Interface/icon_{:03}.dds", 160, 4_000, 20_000),
    ("Maps/map_{:03}.map", 120, 20_000, 60_000),
    ("Sounds/effect_{:03}.ogg", 90, 6_000, 24_000),
    ("Text/chapter_{:02}.txt", 40, 1_000, 9_000),
]

MISSING = "Data/textures.pak"
CHANGED = "Maps/map_042.map"
OLDER = "readme.txt"
PLAYERS_OWN = {
    "settings.ini": b"[video]\r\nwidth=2560\r\nheight=1440\r\n",
    "Screenshots/first_victory.png": random.Random("victory").randbytes(80_000),
}
STARTUP_PROGRAM = "patcher.exe"
# Written by the sample client's startup program.
STARTUP_LOG = "patcher_started.txt"


@dataclasses.dataclass(frozen=True)
class FileState:
    """Size, digest and date of a file, if there is one."""

    size: int = -1
    digest: str = ""
    seconds: float = 0

    @property
    def present(self):
        return self.size >= 0

    def same_bytes(self, other):
        return self.present and (self.size, self.digest) == (other.size, other.digest)

    def __str__(self):
        if not self.present:
            return "missing"
        date = time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(self.seconds))
        return f"{self.size:>10,} bytes   SHA-256 {self.digest[:8]}   {date}"


def look_at(path):
    if not os.path.isfile(path):
        return FileState()
    with open(path, "rb") as file:
        digest = hashlib.file_digest(file, "sha256").hexdigest()
    status = os.stat(path)
    return FileState(status.st_size, digest, status.st_mtime)


def look_at_folder(folder):
    """Each file below `folder`, by its relative path with forward slashes."""
    states = {}
    for place, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(place, name)
            states[os.path.relpath(path, folder).replace(os.sep, "/")] = look_at(path)
    return states


def sample_files(startup_program):
    """Yields name and content of each file of the game, always the same."""
    with open(startup_program, "rb") as file:
        yield STARTUP_PROGRAM, file.read()
    yield "readme.txt", b"Karvoth, a sample client. Its files hold random numbers.\r\n" * 20
    yield "version.txt", b"2.0.0\r\n"
    for name, size in LARGE_FILES.items():
        yield name, random.Random(name).randbytes(size)
    for pattern, count, smallest, largest in SMALL_FILES:
        for number in range(count):
            name = pattern.format(number)
            dice = random.Random(name)
            yield name, dice.randbytes(dice.randint(smallest, largest))


def make_package(path, startup_program):
    """Writes a ZIP file with the whole client."""
    with zipfile.ZipFile(path, "w") as archive:
        for name, content in sample_files(startup_program):
            entry = zipfile.ZipInfo(TOP_FOLDER + name, PACKED_AT)
            # Random bytes cannot be compressed, and storing them is fast.
            entry.compress_type = zipfile.ZIP_STORED
            # A ZIP file's own dates are local times; this field holds UTC.
            entry.extra = struct.pack("<HHBl", 0x5455, 5, 1, PACKED_SECONDS)
            archive.writestr(entry, content)


def write_file(folder, name, content):
    path = os.path.join(folder, name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)
    return path


def write_client(folder, startup_program):
    for name, content in sample_files(startup_program):
        path = write_file(folder, name, content)
        os.utime(path, (PACKED_SECONDS, PACKED_SECONDS))


class Package:
    """A ZIP file with the whole client, perhaps in a top folder, and its contents."""

    def __init__(self, path):
        self.path = path
        self.files = {}
        with zipfile.ZipFile(path) as archive:
            for entry in archive.infolist():
                content = archive.read(entry)
                name = entry.filename.removeprefix(TOP_FOLDER)
                digest = hashlib.sha256(content).hexdigest()
                self.files[name] = FileState(len(content), digest, PACKED_SECONDS)
        self.state = look_at(path)

    def install(self, folder):
        """Installs a client in a new folder, as the game's installer would."""
        with zipfile.ZipFile(self.path) as archive:
            for entry in archive.infolist():
                target = os.path.join(folder, entry.filename.removeprefix(TOP_FOLDER))
                os.makedirs(os.path.dirname(target), exist_ok=True)
                with archive.open(entry) as source, open(target, "wb") as file:
                    shutil.copyfileobj(source, file)
                os.utime(target, (PACKED_SECONDS, PACKED_SECONDS))

    def differences(self, folder):
        """Names of the package's files that are missing or different in `folder`."""
        return [
            name
            for name, state in self.files.items()
            if not look_at(os.path.join(folder, name)).same_bytes(state)
        ]


def break_client(folder):
    """Deletes one file, changes a byte of another and the date of a third; adds player's files."""
    os.remove(os.path.join(folder, MISSING))
    with open(os.path.join(folder, CHANGED), "r+b") as file:
        file.seek(5000)
        byte = file.read(1)[0]
        file.seek(5000)
        file.write(bytes([byte ^ 0xFF]))
    os.utime(os.path.join(folder, OLDER), (OLD_SECONDS, OLD_SECONDS))
    add_players_files(folder)


def add_players_files(folder):
    for name, content in PLAYERS_OWN.items():
        write_file(folder, name, content)
