"""Finds out what third-party software the built programs contain, and lists it as SPDX 2.3.

The linker's maps say which libraries it took code from, the compiler's dependencies which headers were
compiled in, and dpkg which package, in which version, each of these files comes from.
"""

import dataclasses
import functools
import hashlib
import json
import pathlib
import re
import subprocess
import uuid

COPYRIGHTS = pathlib.Path("/usr/share/doc")
GCC_LICENSE = "GPL-3.0-or-later WITH GCC-exception-3.1"
MINGW_LICENSE = "LicenseRef-mingw-w64"


@dataclasses.dataclass(frozen=True)
class Component:
    """Third-party software: its license and which files bring it in."""
    name: str
    license: str
    project: str  # Names the file with its license texts.
    package: str  # Debian's.
    libraries: str  # A pattern for the names of its libraries and start-up objects.


# The first that matches counts.
COMPONENTS = (
    Component("zlib", "Zlib", "zlib", "libz-mingw-w64-dev", r"libz\.a"),
    Component("nlohmann-json", "MIT", "nlohmann-json", "nlohmann-json3-dev", "(?!)"),  # Only headers.
    Component("winpthreads", f"MIT AND BSD-3-Clause AND {MINGW_LICENSE}", "mingw-w64",
              "mingw-w64-x86-64-dev", r"lib(win)?pthread\.a"),
    Component("libstdc++", GCC_LICENSE, "gcc", "g++-mingw-w64-x86-64-posix", r"libstdc\+\+\.a"),
    Component("libssp", GCC_LICENSE, "gcc", "gcc-mingw-w64-x86-64-posix", r"libssp(_nonshared)?\.a"),
    Component("libgcc", GCC_LICENSE, "gcc", "gcc-mingw-w64-x86-64-posix",
              r"libgcc(_eh)?\.a|crtbegin\.o|crtend\.o"),
    Component("mingw-w64-runtime", f"ZPL-2.1 AND {MINGW_LICENSE}", "mingw-w64", "mingw-w64-x86-64-dev",
              r"crt2u?\.o|lib(mingw32|mingwex|msvcrt|moldname|uuid)\.a|"
              # What an import library adds is code of the runtime: a jump to Windows' DLL.
              r"lib(advapi32|bcrypt|comctl32|gdi32|gdiplus|kernel32|ole32|oleaut32|shell32|shlwapi|user32|"
              r"winhttp)\.a"),
)

# Their headers are not listed, because the maps name their libraries.
TOOLCHAIN_PACKAGES = ("gcc-mingw-w64-x86-64-posix", "g++-mingw-w64-x86-64-posix", "mingw-w64-common",
                      "mingw-w64-x86-64-dev")


def unknown_software(what):
    return ValueError(f"{what} is of unknown software: add it with its license to COMPONENTS in "
                      f"{pathlib.Path(__file__).name}")


@functools.cache
def files_of(*packages):
    listing = subprocess.run(["dpkg-query", "--listfiles", *packages], check=True,
                             capture_output=True, text=True).stdout
    return {pathlib.Path(line).resolve() for line in listing.splitlines() if line}


def library_component(path):
    for component in COMPONENTS:
        if re.fullmatch(component.libraries, path.name):
            if path not in files_of(component.package):
                raise ValueError(f"the library {path} does not come from Debian's package "
                                 f"{component.package}. Remove it, and release again.")
            return component
    raise unknown_software(f"the library {path}")


def linked_libraries(map_text):
    """The libraries and start-up objects outside the build folder that the linker took code from."""
    members, _, rest = map_text.partition("\nDiscarded input sections\n")
    if not rest:
        raise ValueError("this is not a linker map")
    found = re.findall(r"^(/[^\n(]*)\(", members, re.MULTILINE)
    found += re.findall(r"^LOAD (/[^\n]*\.o)$", rest, re.MULTILINE)
    return sorted({pathlib.Path(each).resolve() for each in found})


def foreign_headers(build, root, exe):
    """The headers outside the repository that the exe's objects were compiled with."""
    def ninja(*arguments):
        return subprocess.run(["ninja", "-C", build, "-t", *arguments], check=True,
                              capture_output=True, text=True).stdout
    objects = set(ninja("inputs", exe).split())
    found, used = set(), False
    for line in ninja("deps").splitlines():
        if not line.startswith(" "):
            used = line.partition(":")[0] in objects
        elif used:
            found.add(line.strip())
    # One path for each file: the toolchain has several that lead to it.
    paths = {(build / name).resolve() for name in found}
    return sorted(path for path in paths
                  if not path.is_relative_to(root) or path.is_relative_to(build / "json_include"))


def header_components(headers, build):
    """The components that these headers are of, without those of the toolchain."""
    copied = build / "json_include"
    headers = {"/usr/include" / path.relative_to(copied) if path.is_relative_to(copied) else path
               for path in headers} - files_of(*TOOLCHAIN_PACKAGES)
    found = set()
    for component in COMPONENTS:
        own = headers & files_of(component.package)
        if own:
            found.add(component)
        headers -= own
    if headers:
        raise unknown_software(f"the header {min(headers)}")
    return found


def linked_components(build, root, exe, maps):
    """What the programs contain, by name. Raises ValueError for software that is not in COMPONENTS."""
    found = {library_component(path) for each in maps for path in linked_libraries(each.read_text())}
    found |= header_components(foreign_headers(build, root, exe), build)
    return sorted(found, key=lambda component: component.name)


def package_version(package):
    return subprocess.run(["dpkg-query", "--show", "--showformat=${Version}", package], check=True,
                          capture_output=True, text=True).stdout


def copyright_text(package):
    return (COPYRIGHTS / package / "copyright").read_bytes()


def header_notices():
    """Notices in libstdc++'s headers that must appear in documentation and that Debian's text omits."""
    compiler, = (each for each in COMPONENTS if each.name == "libstdc++")
    comments = set()
    for path in files_of(compiler.package):
        if path.parent.name == "bits" and path.is_file():
            comments.update(re.findall(r"/\*.*?\*/", path.read_text("utf-8"), re.DOTALL))
    notices = sorted("\n".join(line.strip(" */") for line in comment.splitlines()).strip()
                     for comment in comments if "appear\n * in supporting documentation" in comment)
    if not notices:
        raise ValueError(f"the headers of {compiler.package} have no notices")
    return "\n\n----\n\n".join(notices) + "\n"


def license_texts(components):
    """The bytes of each license file by its name."""
    texts = {component.project + ".txt": copyright_text(component.package)
             for component in components}
    if any(component.license == GCC_LICENSE for component in components):
        texts["GPL-3.txt"] = pathlib.Path("/usr/share/common-licenses/GPL-3").read_bytes()
    if any(component.name == "libstdc++" for component in components):
        texts["libstdc++-headers.txt"] = header_notices().encode("utf-8")
    return texts


def spdx_document(version, created, components, files):
    """The bytes of the SPDX document for an archive with `files` (bytes by name), made at `created`."""
    def identifier(name):
        return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]", "-", name)

    def checksums(content):
        return [{"algorithm": algorithm.upper(),
                 "checksumValue": hashlib.new(algorithm, content).hexdigest()}
                for algorithm in ("sha1", "sha256")]

    listed = [{"SPDXID": f"SPDXRef-File-{number}", "fileName": f"./{name}",
               "checksums": checksums(content), "licenseConcluded": "NOASSERTION",
               "copyrightText": "NOASSERTION"}
              for number, (name, content) in enumerate(sorted(files.items()))]
    sums = sorted(each["checksums"][0]["checksumValue"] for each in listed)
    verification = hashlib.sha1("".join(sums).encode()).hexdigest()
    kit = {"SPDXID": "SPDXRef-repair-kit", "name": "repair-kit", "versionInfo": version,
           "downloadLocation": "NOASSERTION", "filesAnalyzed": True,
           "packageVerificationCode": {
               "packageVerificationCodeValue": verification,
               "packageVerificationCodeExcludedFiles": ["./repair-kit.spdx.json"]},
           "licenseConcluded": "NOASSERTION", "licenseInfoFromFiles": ["NOASSERTION"],
           "licenseDeclared": "NOASSERTION", "copyrightText": "NOASSERTION"}
    parts = []
    for component in components:
        parts.append({
            "SPDXID": identifier(component.name), "name": component.name,
            "versionInfo": package_version(component.package),
            "supplier": "Organization: Debian", "downloadLocation": "NOASSERTION",
            "filesAnalyzed": False, "licenseConcluded": component.license,
            "licenseDeclared": component.license, "copyrightText": "NOASSERTION",
            "comment": f"Linked statically. From Debian's package {component.package}; its "
                       f"licenses are in licenses/{component.project}.txt."})
    document = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"repair-kit-{version}", "documentNamespace": "",
        "creationInfo": {"created": created, "creators": ["Tool: scripts/release"]},
        "packages": [kit, *parts], "files": listed,
        "hasExtractedLicensingInfos": [{
            "licenseId": MINGW_LICENSE, "name": "Licenses of parts of mingw-w64",
            "extractedText": copyright_text("mingw-w64-x86-64-dev").decode("utf-8")}],
        "relationships": [
            {"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES",
             "relatedSpdxElement": kit["SPDXID"]},
            *({"spdxElementId": kit["SPDXID"], "relationshipType": "CONTAINS",
               "relatedSpdxElement": each["SPDXID"]} for each in listed),
            *({"spdxElementId": kit["SPDXID"], "relationshipType": "STATIC_LINK",
               "relatedSpdxElement": each["SPDXID"]} for each in parts)]}
    content = hashlib.sha1(json.dumps(document).encode()).hexdigest()
    document["documentNamespace"] = uuid.uuid5(uuid.NAMESPACE_OID, content).urn
    return (json.dumps(document, indent=2, ensure_ascii=False) + "\n").encode("utf-8")
