#!/usr/bin/env python3
"""usage: judge_pack.py REPAIR_KIT_EXE WORK_FOLDER

Packs a client with repair_kit and unpacks it with 7-Zip, Info-ZIP's unzip, Python's zipfile and
libarchive's bsdtar: every byte, name and time must arrive. Packs it again with other numbers of
threads, in another time zone and from a copy whose files were made in another order: the package
must be the same in every byte."""

import calendar
import json
import os
import pathlib
import random
import shutil
import subprocess
import sys
import zipfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from kit_runner import RUN_IN_PREFIX, windows_path

BLOCK = 1 << 20


def client_files():
    """Content and time by name; a folder's name ends in a slash."""
    noise = random.Random(7)
    text = b"".join(b"line %d\n" % (i * 7919 % 100_003) for i in range(300_000))
    deep = "/".join(["a folder with a long name %02d" % i for i in range(12)]) + "/deep.txt"
    files = {
        "game.exe": (text[:100_000], 1_000_000_001),
        "data/text.txt": (text, 1_700_000_000.75),
        "data/noise.bin": (noise.randbytes(2 * BLOCK + 77), 1_234_567_890),
        "data/noise_then_text.bin": (noise.randbytes(2 * BLOCK + 5) + text, 1_234_567_891),
        "data/text_then_noise.bin": (text[:2000] + noise.randbytes(3 * BLOCK), 1_234_567_892),
        # Deflate gains less here than its frames cost: stored after all.
        "data/hardly.bin": (noise.randbytes(BLOCK) + bytes(40) + noise.randbytes(BLOCK), 1_234_567_893),
        "data/block.bin": (text[:BLOCK], 1_600_000_000),
        "data/block_and_one.bin": (text[:BLOCK] + b"x", 1_600_000_001),
        "data/zeros.bin": (bytes(5 * BLOCK), 1_600_000_002),
        "data/empty.txt": (b"", 1_500_000_000),
        "data/small noise.bin": (noise.randbytes(100), 1_500_000_001),
        "old/1902.txt": (b"1902", -2_145_916_800),
        "old/1979.txt": (b"1979", 300_000_001),
        "new/2038.txt": (b"2038", 2_147_483_647),
        "new/2050.txt": (b"2050", 2_524_608_000),
        "\u00fcber/\u8aad\u3080 \U0001F600.txt": ("Gr\u00fc\u00dfe".encode(), 1_400_000_000),
        "data/a.b": (b"1", 1_400_000_001),
        "data/a/b": (b"2", 1_400_000_002),
        "data/a-b": (b"3", 1_400_000_003),
        "empty folder/": (None, 1_300_000_000),
        "empty folder 2/inner/": (None, 1_300_000_001),
        deep: (b"deep", 1_300_000_002),
    }
    for i in range(300):
        files[f"many/{i % 7}/{i}.dat"] = (noise.randbytes(i), 1_200_000_000 + i)
    return files


def make_client(folder, files, names):
    for name in names:
        content, time = files[name]
        path = folder / name
        if content is None:
            path.mkdir(parents=True, exist_ok=True)
        else:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)
        os.utime(path, (time, time))


def pack(kit, client, package, *options, **environment):
    result = subprocess.run(
        [RUN_IN_PREFIX, kit, "pack", windows_path(client), "-o", windows_path(package), "--json", *options],
        capture_output=True, text=True, env={**os.environ, "BENCH_EXPECT_MARKER": "0", **environment})
    assert result.returncode == 0, result.stdout + result.stderr
    return json.loads(result.stdout)


def clamped(time):
    return max(0, min((1 << 31) - 1, int(time // 1)))


def tree(folder):
    """Content (none for folders without any) and time by name."""
    found = {}
    for path in folder.rglob("*"):
        name = path.relative_to(folder).as_posix()
        if path.is_file():
            found[name] = (path.read_bytes(), int(path.stat().st_mtime // 1))
        elif not any(path.iterdir()):
            found[name + "/"] = (None, int(path.stat().st_mtime // 1))
    return found


def differences(what, expected, found):
    wrong = [f"{what}: {name} is missing" for name in expected.keys() - found.keys()]
    wrong += [f"{what}: {name} is too much" for name in found.keys() - expected.keys()]
    for name in expected.keys() & found.keys():
        if expected[name][0] != found[name][0]:
            wrong.append(f"{what}: {name} has another content")
        elif expected[name][1] != found[name][1]:
            wrong.append(f"{what}: {name} has the time {found[name][1]}, not {expected[name][1]}")
    return wrong


def judge(work, package, files):
    expected = {name: (content, clamped(time)) for name, (content, time) in files.items()}
    wrong = []
    for name, command in (("7-Zip", ["7zz", "x", "-y", "-o{}"]), ("unzip", ["unzip", "-qq", "-d", "{}"]),
                          ("bsdtar", ["bsdtar", "-C", "{}", "-xf"])):
        target = work / name
        target.mkdir()
        command = [word.replace("{}", str(target)) for word in command]
        command.insert(2 if name == "unzip" else len(command), str(package))
        result = subprocess.run(command, capture_output=True, env={**os.environ, "LC_ALL": "C.UTF-8"})
        if result.returncode != 0:
            wrong.append(f"{name}: {result.stdout + result.stderr}")
        wrong += differences(name, expected, tree(target))
    found = {}
    with zipfile.ZipFile(package) as opened:
        names = [info.filename for info in opened.infolist()]
        for info in opened.infolist():
            content = None if info.is_dir() else opened.read(info)
            found[info.filename] = (content, calendar.timegm((*info.date_time, 0, 0, 0)))
            if info.flag_bits != 0x800 or info.external_attr != (0x10 if info.is_dir() else 0):
                wrong.append(f"{info.filename}: flags {info.flag_bits}, attributes {info.external_attr}")
            smallest = min(info.compress_size, info.file_size)
            if info.compress_type == zipfile.ZIP_STORED and info.compress_size != info.file_size:
                wrong.append(f"{info.filename}: stored, but with another size")
            if info.compress_type == zipfile.ZIP_DEFLATED and smallest == info.file_size:
                wrong.append(f"{info.filename}: deflated, although that is no smaller")
    # Python reads the DOS times: even seconds from 1980 on.
    dos = {name: (content, max(315_532_800, int(time // 2) * 2))
           for name, (content, time) in files.items()}
    wrong += differences("zipfile", dos, found)
    if names != sorted(names, key=lambda name: name.encode()):
        wrong.append("the entries are not sorted by their bytes")
    return wrong


def main():
    kit = sys.argv[1]
    work = pathlib.Path(sys.argv[2])
    shutil.rmtree(work, ignore_errors=True)
    files = client_files()
    names = list(files)
    make_client(work / "client", files, names)
    make_client(work / "copy", files, names[::-1])
    # Folders get another time while they are filled.
    for folder in ("client", "copy"):
        for name, (content, time) in files.items():
            if content is None:
                os.utime(work / folder / name, (time, time))
    one = work / "one.zip"
    result = pack(kit, work / "client", one, "--threads", "1")
    wrong = judge(work, one, files)
    if result["facts"]["files"] != sum(content is not None for content, _ in files.values()):
        wrong.append(f"facts: {result['facts']}")
    for options, environment, folder in ((["--threads", "2"], {}, "client"),
                                         (["--threads", "7"], {"TZ": "Asia/Kolkata"}, "copy"),
                                         ([], {"TZ": "America/St_Johns"}, "copy")):
        pack(kit, work / folder, work / "other.zip", *options, **environment)
        if (work / "other.zip").read_bytes() != one.read_bytes():
            wrong.append(f"another package with {options} and {environment}")
    print("\n".join(wrong))
    print(f"packed {len(files)} entries four times, {len(wrong)} differences")
    if not wrong:
        shutil.rmtree(work)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
