#!/usr/bin/env python3
"""usage: make_packages.py FOLDER

Writes packages with one fault each, and others that are close to a fault but clean. expected.json says
for each:

  file, settings  the package, and lines of the configuration that differ from the test's
  findings        what `repair_kit check --package` finds, as rule@place
  neighbor        the rule that a clean one is close to
  noticed         whether any of the other programs notices the damage: yes, no, or - if none can tell
"""

import hashlib
import json
import pathlib
import random
import struct
import sys
import zlib

from zip_builder import Entry, build, deflate, descriptor

TEXT = b"".join(b"line %d of a file that deflates well\n" % i for i in range(200))
NOISE = random.Random(1).randbytes(3000)
GAME = Entry("game.exe", TEXT)


def game(**fields):
    return Entry("game.exe", TEXT, **fields)


class Packages:
    def __init__(self):
        self.rows = []

    def add(self, name, content, findings=(), settings=(), neighbor="", noticed="-"):
        assert name not in [row[0] for row in self.rows], name
        self.rows.append((name, content, list(findings), list(settings), neighbor, noticed))

    def fault(self, rule, name, content, place=None, settings=(), noticed="-"):
        name = f"{rule}.{name}.zip"
        self.add(name, content, [f"package.{rule}@{name if place is None else place}"], settings, "",
                 noticed)

    def clean(self, rule, name, content, settings=()):
        self.add(f"clean.{rule}.{name}.zip", content, [], settings, f"package.{rule}")

    def write(self, folder):
        folder.mkdir(parents=True, exist_ok=True)
        rows = []
        for name, content, findings, settings, neighbor, noticed in self.rows:
            (folder / name).write_bytes(content)
            rows.append({"file": name, "findings": sorted(findings), "settings": settings,
                         "neighbor": neighbor, "noticed": noticed})
        (folder / "expected.json").write_text(json.dumps(rows, indent=1), encoding="utf-8")


def add_kinds(p):
    p.fault("kind", "text", b"<html>no archive</html>")
    p.fault("kind", "nothing", b"")
    p.fault("kind", "seven_zip", b"7z\xBC\xAF\x27\x1C\x00\x04" + NOISE)
    p.clean("kind", "zip", build([GAME]))
    p.fault("type", "says_rar", build([GAME]), settings=["archiveType=rar"])
    p.clean("type", "upper_case", build([GAME]), ["archiveType=ZIP"])
    p.fault("rar", "rar5", b"Rar!\x1A\x07\x01\x00" + NOISE, settings=["archiveType=rar"])
    p.clean("rar", "zip", build([GAME]))


def add_damage(p):
    whole = build([GAME, Entry("b.bin", NOISE, 0)])
    two = lambda **fields: build([GAME, Entry("b.bin", NOISE, 0, **fields)])

    def directory(name, content, noticed="yes"):
        p.fault("damaged", name, content, noticed=noticed)

    def entry(name, content, place="b.bin", noticed="yes"):
        p.fault("damaged", name, content, place, noticed=noticed)

    directory("no_end", whole[:-22])
    directory("cut_end", whole[:-5])
    directory("cut_data", whole[:2000])
    directory("too_many_claimed", build([GAME], end=dict(count=2, disk_count=2)))
    directory("too_few_claimed", build([GAME, Entry("b.bin", NOISE)], end=dict(count=1, disk_count=1)))
    directory("directory_too_large", build([GAME], end=dict(directory_size=0x7FFFFFFF)))
    directory("directory_elsewhere", build([GAME], shift=-10))
    directory("directory_behind_end", build([GAME], shift=10_000))
    directory("gap_behind_directory", build([GAME], behind_directory=bytes(7)))
    directory("gap_before_zip64_end", build([GAME], zip64={}, behind_directory=b"12345"))
    directory("no_room", build([GAME], in_directory=b"".join(
        Entry(f"{i}").directory_header(0) for i in range(99)), end=dict(count=100)), "-")
    directory("several_disks", build([GAME], end=dict(disk=1, directory_disk=1)))
    directory("entries_on_other_disks", build([GAME], end=dict(disk_count=0)))
    directory("huge_directory", build([GAME], zip64=dict(directory_size=1 << 60)))
    directory("thousand_million_entries",
              build([GAME], zip64=dict(count=1_000_000_000, disk_count=1_000_000_000)))
    directory("most_entries", build([GAME], zip64=dict(count=(1 << 64) - 1)))
    directory("zip64_elsewhere", build([GAME], zip64=dict(position=5)))
    directory("zip64_on_disks", build([GAME], zip64=dict(disks=3)))
    directory("zip64_record_size", build([GAME], zip64=dict(record_size=1 << 63)))
    directory("zip64_contradicts", build([GAME], zip64={}, end=dict(count=2)))
    directory("prefix_shifts_all", b"PK\x03\x04" + NOISE[:100] + whole)
    inner = build([])
    directory("two_ends", build([GAME], comment=b"x" * 20 + inner), "no")
    directory("directory_with_more", build([GAME], in_directory=b"PK\x05\x06" + NOISE[:50]))
    broken = bytearray(whole)
    broken[whole.rindex(b"PK\x01\x02")] = 0
    directory("directory_signature", bytes(broken))

    entry("same_place", build([GAME, Entry("b.bin", b"12", 0), Entry("b.bin2", b"", offset=0)]), "game.exe")
    p.rows[-1][2][:] = ["package.damaged@b.bin2", "package.damaged@game.exe"]
    entry("listed_twice", build([GAME, Entry("b.bin", NOISE, 0), Entry("b.bin", NOISE, 0, gap=b"", offset=len(
        GAME.local_header()) + len(GAME.packed))]))
    p.rows[-1][2][:] = ["package.case-clash@b.bin", "package.damaged@b.bin", "package.damaged@b.bin"]
    entry("data_overlaps", build([GAME, Entry("b.bin", NOISE[:100], 0, size=150, packed_size=150),
                                  Entry("c.bin", NOISE, 0)]))
    entry("data_reaches_directory", two(size=3010, packed_size=3010))
    entry("begins_behind_directory", two(offset=100_000))
    entry("no_header", two(offset=3))
    p.rows[-1][2][:] = ["package.damaged@b.bin", "package.damaged@game.exe"]
    entry("header_signature", two(local_signature=0x04034B51))
    entry("other_name", two(local_name=b"c.bin"))
    entry("other_name_length", two(local_name=b"b.bin2"))
    entry("other_method", two(local_method=8))
    entry("other_flags", two(local_flags=0x800), noticed="no")
    entry("other_size", two(local_size=5))
    entry("other_checksum", two(local_crc=5))
    entry("wrong_checksum", two(crc=5))
    entry("wrong_descriptor", two(descriptor=lambda e: descriptor(e, crc=7)), noticed="no")
    entry("wrong_descriptor_size", two(descriptor=lambda e: descriptor(e, size=7)), noticed="no")
    entry("no_descriptor", two(descriptor=lambda e: NOISE[:16]), noticed="no")
    entry("entry_on_other_disk", two(disk=2))
    entry("stored_sizes_differ", two(size=2999), noticed="yes")
    packed = deflate(TEXT)

    def deflated(name, data, **fields):
        entry(name, build([GAME, Entry("b.bin", TEXT, packed=data, **fields)]))

    deflated("bad_block", b"\x07" + packed[1:])
    deflated("broken_data", packed[:200] + bytes(20) + packed[220:])
    deflated("data_ends_early", packed[:-10])
    deflated("inflates_to_more", packed, size=len(TEXT) - 1, crc=zlib.crc32(TEXT[:-1]))
    deflated("inflates_to_less", packed, size=len(TEXT) + 1)
    entry("unused_data", build([GAME, Entry("b.bin", TEXT, packed=packed + b"left over")]))
    bomb = deflate(bytes(5_000_000))
    entry("bomb", build([GAME, Entry("b.bin", b"a" * 100, packed=bomb)]))

    p.clean("damaged", "stored_and_deflated", whole)
    p.clean("damaged", "zip64", build([game(zip64=True), Entry("e/", zip64=True)], zip64={}))
    p.clean("damaged", "zip64_sizes_only", build([game(zip64=True)]))
    for signature in (True, False):
        for wide in (True, False):
            describe = lambda e, s=signature, w=wide: descriptor(e, s, w)
            name = f"descriptor_{'signed' if signature else 'bare'}_{8 if wide else 4}"
            p.clean("damaged", name, build([game(descriptor=describe), Entry("b.bin", TEXT,
                                                                          descriptor=describe)]))
    p.clean("damaged", "descriptor_of_nothing",
            build([GAME, Entry("a.txt", b"", 8, packed=b"\x03\x00", descriptor=descriptor)]))
    p.clean("damaged", "empty_files", build([GAME, Entry("a", b""), Entry("b", b"", 8, packed=b"\x03\x00")]))
    p.clean("damaged", "extra_fields", build([game(extra=struct.pack("<HH9s", 0x9999, 9, b"unknown!!"))]))
    p.clean("damaged", "aligned_data", build([game(extra=b"\0\0\0")]))
    p.clean("damaged", "comment", build([GAME], comment=b"PK is not the end " * 100))
    p.clean("damaged", "longest_comment", build([GAME], comment=b"x" * 0xFFFF))
    p.clean("damaged", "many", build([GAME] + [Entry(f"d{i % 7}/{i:05}", b"%d" % i, 0) for i in range(3000)]))
    p.clean("damaged", "large", build([game(), Entry("large.bin", TEXT * 400), Entry("l2.bin", NOISE * 300, 0)]))


def add_extra_bytes(p):
    second = Entry("b.bin", NOISE, 0)
    rule = "extra-bytes"
    p.fault(rule, "behind_archive", build([GAME], tail=b"appended"), noticed="-")
    p.fault(rule, "between_entries", build([GAME, Entry("b.bin", NOISE, 0, gap=b"gap!")]))
    p.fault(rule, "before_directory", build([GAME, second], before_directory=bytes(100)))
    p.fault(rule, "unlisted_entry", build([GAME, Entry("old.bin", NOISE, listed=False), second]))
    p.fault(rule, "unlisted_first", build([Entry("old.bin", NOISE, listed=False), GAME]))
    p.clean(rule, "order_of_its_own", build([second, GAME]))
    add_extra_bytes_beside_damage(p)
    reordered = [Entry("b.bin", NOISE, 0), game()]
    content = bytearray(build(reordered))
    start = content.index(b"PK\x01\x02")
    split = content.index(b"PK\x01\x02", start + 4)
    end = content.rindex(b"PK\x05\x06")
    p.clean(rule, "directory_in_other_order",
            bytes(content[:start] + content[split:end] + content[start:split] + content[end:]))


def add_extra_bytes_beside_damage(p):
    """The package's rows that expect both findings, or none of extra bytes where they are uncertain."""
    def add(name, content, is_extra, place="b.bin"):
        file = f"extra-bytes.{name}.zip"
        extra = [f"package.extra-bytes@{file}"] if is_extra else []
        p.add(file, content, [f"package.damaged@{place}", *extra], (), "", "-")

    def before_gap(**fields):
        return build([GAME, Entry("b.bin", NOISE, 0, **fields), Entry("c.bin", TEXT, gap=b"gap!")])

    for name, fields in (("wrong_checksum", dict(crc=5)), ("other_size", dict(local_size=5)),
                         ("other_method", dict(local_method=8)), ("other_name", dict(local_name=b"c.bin2"))):
        add(f"behind_{name}", before_gap(**fields), True)
    add("behind_wrong_checksum_and_descriptor", before_gap(crc=5, descriptor=descriptor), True)
    add("behind_wrong_descriptor", before_gap(descriptor=lambda e: descriptor(e, crc=7)), False)
    lost = Entry("b.bin", NOISE, 0, offset=100_000)
    add("gap_beside_lost_entry", build([GAME, lost, Entry("c.bin", TEXT, gap=b"gap!")]), False)
    add("gap_before_lost_entry", build([GAME, Entry("c.bin", TEXT, gap=b"gap!"), lost]), True)
    add("before_lost_header", build([GAME, Entry("b.bin", NOISE, 0, gap=b"gap!", local_signature=0)]), True)


def add_methods(p):
    p.fault("encrypted", "flag", build([GAME, Entry("b.bin", NOISE, 0, flags=1, packed=NOISE + b"x" * 12)]), "b.bin")
    p.fault("encrypted", "strong", build([GAME, Entry("b.bin", NOISE, 0, flags=0x41)]), "b.bin")
    p.fault("encrypted", "aes", build([GAME, Entry("b.bin", NOISE, 99, flags=1)]), "b.bin")
    p.clean("encrypted", "none", build([GAME]))
    for method in (1, 9, 12, 14, 93, 98):
        p.fault("method", str(method), build([GAME, Entry("b.bin", TEXT, method, packed=NOISE)]), "b.bin")
    p.clean("method", "stored", build([game(method=0)]))


def add_names(p):
    def bad(label, name):
        # As the kit shows it.
        place = "".join(c if c >= " " else f"\\x{ord(c):02X}" for c in name)
        p.fault("bad-name", label, build([GAME, Entry(name, b"x")]), place)

    bad("empty", "")
    bad("absolute", "/etc/a.txt")
    bad("share", "//server/a.txt")
    bad("drive", "C:/a.txt")
    bad("drive_relative", "C:a.txt")
    bad("parent", "../a.txt")
    bad("parent_inside", "data/../../a.txt")
    bad("dot", "data/./a.txt")
    bad("backslash", "data\\a.txt")
    bad("stream", "a.txt:stream")
    bad("control", "a\x01b.txt")
    bad("escape", "a\x1b[31mb.txt")
    bad("question", "a?.txt")
    bad("star", "a*.txt")
    bad("pipe", "a|b")
    bad("quote", 'a"b')
    bad("device", "data/con")
    bad("device_extension", "Nul.tar.gz")
    bad("device_superscript", "data/com\u00B9.txt")
    bad("device_conout", "CONOUT$")
    bad("trailing_dot", "data./a.txt")
    bad("trailing_blank", "a.txt ")
    bad("long_component", "d/" + "a" * 256)
    p.rows[-1][2].append("package.long-path@d/" + "a" * 256)
    bad("double_slash", "data//a.txt")
    p.clean("bad-name", "close", build([GAME] + [Entry(n, b"x") for n in (
        "...a", "COM0", "COM10.txt", "CONSOLE", "NULL.txt", "lpt", ".git", "a b/c d", "x/com\u00B4",
        "~$a", "data/aux1")]))
    p.clean("bad-name", "many_dots", build([GAME, Entry("a..b/c...d", b"x")]))

    rule = "name-encoding"
    p.fault(rule, "dos", build([GAME, Entry(b"d/\x84.txt", b"x", flags=0)]), "d/\\x84.txt")
    p.fault(rule, "no_flag", build([GAME, Entry("d/\u00e4.txt", b"x", flags=0)]), "d/\u00e4.txt")
    unicode_path = "d/\u00e4.txt".encode()
    extra = struct.pack("<HHBI", 0x7075, 5 + len(unicode_path), 1, zlib.crc32(b"d/\x84.txt")) + unicode_path
    p.fault(rule, "unicode_extra", build([GAME, Entry(b"d/\x84.txt", b"x", flags=0, extra=extra)]), "d/\\x84.txt")
    p.fault(rule, "no_utf8", build([GAME, Entry(b"d/\xE4.txt", b"x", flags=0x800)]), "d/\\xE4.txt")
    p.fault(rule, "overlong", build([GAME, Entry(b"d/\xC0\xAF.txt", b"x", flags=0x800)]), "d/\\xC0\\xAF.txt")
    p.fault(rule, "outside", build([GAME, Entry(b"../\x84.txt", b"x", flags=0)]), "../\\x84.txt")
    p.rows[-1][2].append("package.bad-name@../\\x84.txt")
    p.clean(rule, "utf8", build([GAME, Entry("d/\u00e4\u8aad\U0001F600.txt", b"x")]))
    p.clean(rule, "ascii_with_flag", build([game(flags=0x800)]))

    p.fault("non-ascii", "file", build([GAME, Entry("\u00e4.txt", b"x")]), "\u00e4.txt")
    p.fault("non-ascii", "folder", build([GAME, Entry("\u00fc/a", b"x"), Entry("\u00dc/b", b"x")]), "\u00fc/a")
    p.clean("non-ascii", "deeper", build([GAME, Entry("d/\u00fc/a", b"x")]))

    clash = "case-clash"
    p.fault(clash, "files", build([GAME, Entry("d/a.txt", b"x"), Entry("D/A.TXT", b"y")]), "D/A.TXT")
    p.fault(clash, "twice", build([GAME, Entry("d/a.txt", b"x"), Entry("d/a.txt", b"y")]), "d/a.txt")
    p.fault(clash, "umlauts", build([GAME, Entry("d/\u00e4", b"x"), Entry("d/\u00c4", b"y")]), "d/\u00c4")
    p.fault(clash, "file_and_folder", build([GAME, Entry("d/a", b"x"), Entry("D/A/")]), "D/A/")
    p.fault(clash, "file_and_implied_folder", build([GAME, Entry("d/a/b/c", b"x"), Entry("d/A", b"x")]), "d/a/b/c")
    p.clean(clash, "folders", build([GAME, Entry("data/"), Entry("DATA/x/"), Entry("Data/X/a", b"x")]))
    p.clean(clash, "not_one_letter", build([GAME, Entry("d/stra\u00dfe", b"x"), Entry("d/STRASSE", b"y")]))


def add_content(p):
    for label, mode in (("symbolic", 0o120777), ("pipe", 0o010644), ("device", 0o060644), ("socket", 0o140755)):
        p.fault("link", label, build([GAME, Entry("d/a", b"game.exe", 0, attributes=mode << 16, host=3)]), "d/a")
    p.clean("link", "modes", build([game(attributes=0o100755 << 16, host=3),
                                    Entry("d/", attributes=(0o040755 << 16) | 0x10, host=3)]))
    p.clean("link", "no_unix", build([game(attributes=0o120777 << 16, host=0)]))

    inside = lambda *names: build([Entry("Client/game.exe", TEXT)] + [Entry(n, b"x") for n in names])
    p.fault("own-name", "file", inside("Client/CLIENT"), "Client/CLIENT")
    p.fault("own-name", "folder", inside("Client/client/a"), "Client/client/a")
    p.clean("own-name", "deeper", inside("Client/data/Client"))
    p.clean("own-name", "not_lone", build([GAME, Entry("Client/Client", b"x")]))

    no_startup = ["startupExe="]
    p.fault("empty", "nothing", build([]), settings=no_startup)
    p.fault("empty", "folders", build([Entry("a/"), Entry("a/b/")]), settings=no_startup)
    p.clean("empty", "empty_file", build([Entry("a", b"")]), no_startup)

    p.fault("holds-tool", "top", build([GAME, Entry("REPAIR.exe", b"x")]), "REPAIR.exe")
    p.fault("holds-tool", "lone", inside("Client/repair.exe"), "Client/repair.exe")
    p.clean("holds-tool", "deeper", build([GAME, Entry("bin/repair.exe", b"x")]))
    p.fault("holds-uninstaller", "top", build([GAME, Entry("uninstall.EXE", b"x")]), "uninstall.EXE")
    p.clean("holds-uninstaller", "deeper", build([GAME, Entry("bin/Uninstall.exe", b"x")]))
    p.fault("holds-unpacker", "tar", build([GAME, Entry("Tar.exe", b"x")]), "Tar.exe")
    p.fault("holds-unpacker", "powershell", inside("Client/powershell.exe"), "Client/powershell.exe")
    p.clean("holds-unpacker", "deeper", build([GAME, Entry("tools/tar.exe", b"x"), Entry("tar", b"x")]))

    p.fault("no-startup", "missing", build([Entry("a.exe", b"x")]))
    p.fault("no-startup", "folder", build([Entry("game.exe/", b""), Entry("a", b"x")]))
    p.fault("no-startup", "in_two_folders", build([Entry("C/C2/game.exe", b"x")]))
    p.fault("no-startup", "other_folder", build([Entry("bin/game.exe", b"x"), Entry("a", b"x")]))
    p.clean("no-startup", "lone_folder", build([Entry("Client/GAME.exe", b"x"), Entry("client/a", b"x")]))
    p.clean("no-startup", "path", build([Entry("Client/Bin/Game.exe", b"x"), Entry("Client/a", b"x")]),
            ["startupExe=.\\bin/..\\BIN\\game.exe"])
    p.clean("no-startup", "absolute", build([Entry("a", b"x")]), ["startupExe=C:\\game.exe"])
    p.clean("no-startup", "none", build([Entry("a", b"x")]), no_startup)

    p.fault("read-only", "dos", build([GAME, Entry("a", b"x", attributes=1)]), "a")
    p.fault("read-only", "hidden", build([GAME, Entry("a", b"x", attributes=2)]), "a")
    p.fault("read-only", "mode", build([GAME, Entry("a", b"x", attributes=0o100444 << 16, host=3)]), "a")
    p.fault("read-only", "folder", build([GAME, Entry("a/", attributes=(0o040555 << 16) | 16, host=3)]), "a/")
    p.clean("read-only", "archive_bit", build([game(attributes=0x20), Entry("s", b"x", attributes=4)]))
    p.clean("read-only", "no_mode", build([game(attributes=0, host=3)]))

    for label, name in (("log", "d/error.LOG"), ("logs", "Logs/a.txt"), ("settings", "settings.ini"),
                        ("keys", "d/MyKeyBindings.xml"), ("whole", "UserSettings"), ("save", "d/a.sav"),
                        ("saves", "d/Saves/x/1"), ("shot", "Screenshots/a.png"), ("dump", "crash.dmp")):
        p.fault("player-files", label, build([GAME, Entry(name, b"x")]), name)
    p.clean("player-files", "close", build([GAME] + [Entry(n, b"x") for n in (
        "catalog.txt", "logs", "save.dat", "d/settings.png", "logsheet/a", "a.log.txt", "keyboard.xml")]))
    p.clean("player-files", "folders", build([GAME, Entry("saves/"), Entry("logs/")]))

    folder = "d" * 100 + "/"
    p.fault("long-path", "file", build([GAME, Entry(folder + "a" * 90, b"x")]), folder + "a" * 90)
    p.fault("long-path", "lone_folder", build([Entry("Client/game.exe", b"x"),
                                               Entry("Client/" + folder + "a" * 83, b"x")]),
            "Client/" + folder + "a" * 83)
    p.clean("long-path", "just_fits", build([GAME, Entry(folder + "a" * 89, b"x")]))
    p.clean("long-path", "folder", build([GAME, Entry(folder + "a" * 89 + "/", b"")]))

    content = build([GAME])
    digest = hashlib.sha256(content).hexdigest()
    p.fault("digest", "other", content, settings=["archiveSha256=" + "0" * 64])
    p.clean("digest", "same", content, ["archiveSha256=" + digest])
    p.clean("digest", "grouped", content,
            ["archiveSha256=" + "-".join(digest[i:i + 8].upper() for i in range(0, 64, 8))])
    p.clean("digest", "malformed", content, ["archiveSha256=" + "0" * 63])


def main():
    packages = Packages()
    add_kinds(packages)
    add_damage(packages)
    add_extra_bytes(packages)
    add_methods(packages)
    add_names(packages)
    add_content(packages)
    packages.write(pathlib.Path(sys.argv[1]))


if __name__ == "__main__":
    main()
