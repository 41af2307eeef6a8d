"""The release's archives: what is in them, and how they are written."""

import hashlib
import shutil
import time
import zipfile

import html_pages
import linked_software

KIT = "repair_kit.exe"
SAMPLE_BRAND = "resources/karvoth"
# The programs in a release build: two of them are what the kit brands.
PROGRAMS = {"repair_kit": "bin/repair_kit.exe", "tool": "kit/unbranded/unbranded_tool.exe",
            "uninstaller": "kit/unbranded/unbranded_uninstaller.exe"}

SYMBOLS_TEXT = """\
Symbols of the repair kit {version}

repair_kit.debug   of repair_kit.exe, signed or not
tool.debug         of every repair tool that this kit has built
uninstaller.debug  of every Uninstall.exe that these tools have written

A crash report of Windows names a fault offset. Add it to 0x140000000 and ask, for the offset 1a2b4:

    x86_64-w64-mingw32-addr2line -f -C -i -e tool.debug 0x14001a2b4

In GDB, after gdb "My Game Repair.exe": symbol-file tool.debug

SHA-256 of repair_kit.exe: {kit}
"""


def write_zip(path, folder, files, seconds):
    """Writes `files` (bytes by name) into one folder of a ZIP. Equal arguments give equal bytes.

    Every entry has the time `seconds` (since 1970) in UTC.
    """
    date = time.gmtime(seconds)[:6]
    with zipfile.ZipFile(path, "w") as archive:
        for name in sorted(files):
            entry = zipfile.ZipInfo(f"{folder}/{name}", date)
            # The default depends on the system.
            entry.create_system = 3
            entry.external_attr = 0o100644 << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, files[name], compresslevel=9)


def kit_files(root, build, exe, version, seconds):
    """What is in the kit's archive, by name. `exe` is the kit's program, signed or not."""
    files = {KIT: exe.read_bytes()}
    for path in sorted((root / SAMPLE_BRAND).iterdir()):
        files[f"sample-brand/{path.name}"] = path.read_bytes()
    files.update(html_pages.Site(root, version).files())
    maps = [build / f"{program}.map" for program in PROGRAMS.values()]
    components = linked_software.linked_components(build, root, PROGRAMS["repair_kit"], maps)
    for name, text in linked_software.license_texts(components).items():
        files[f"licenses/{name}"] = text
    created = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(seconds))
    files["repair-kit.spdx.json"] = linked_software.spdx_document(version, created, components, files)
    return files


def symbol_files(build, exe, version):
    files = {f"{name}.debug": (build / f"{program}.debug").read_bytes()
             for name, program in PROGRAMS.items()}
    digest = hashlib.sha256(exe.read_bytes()).hexdigest()
    files["symbols.txt"] = SYMBOLS_TEXT.format(version=version, kit=digest).encode()
    return files


def check_output(output, version):
    """Raises ValueError if the folder `output` has archives of another version."""
    name = f"repair-kit-{version}"
    others = sorted(path.name for path in output.glob("repair-kit-*.zip")
                    if path.name not in (f"{name}.zip", f"{name}-symbols.zip"))
    if others:
        raise ValueError(f"{output.name} has other archives: {', '.join(others)}. Move them away.")


def write_release(root, build, exe, output, version, seconds):
    """Writes both archives and SHA256SUMS into the folder `output`. Returns their paths.

    They replace earlier ones when all are complete.
    """
    name = f"repair-kit-{version}"
    output.mkdir(parents=True, exist_ok=True)
    work = output / ".incomplete"
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir()
    try:
        archives = [work / f"{name}.zip", work / f"{name}-symbols.zip"]
        write_zip(archives[0], name, kit_files(root, build, exe, version, seconds), seconds)
        write_zip(archives[1], f"{name}-symbols", symbol_files(build, exe, version), seconds)
        sums = work / "SHA256SUMS"
        sums.write_text("".join(f"{hashlib.sha256(path.read_bytes()).hexdigest()}  {path.name}\n"
                                for path in archives))
        # It never describes archives other than those beside it.
        (output / sums.name).unlink(missing_ok=True)
        return [path.replace(output / path.name) for path in [*archives, sums]]
    finally:
        shutil.rmtree(work)
