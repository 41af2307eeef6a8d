"""Writes brand_version.h, which fills the version resource of one program of a brand.

usage: brand_version.py repair|uninstaller CONFIG_TXT TOOL_CONFIG_H OUTPUT

The values come from the keys of CONFIG_TXT that begin with the program's name. Missing keys take the
defaults in TOOL_CONFIG_H, like in the program itself. Prints the program's file name.
"""

import pathlib
import re
import sys

LITERALS = r'(?:L"(?:\\.|[^"\\])*"\s*)+'
CONSTANT = re.compile(r"inline constexpr std::wstring_view (\w+)\s*=\s*(" + LITERALS + ");")
FIELD = re.compile(r"std::wstring (\w+)(?:\s*=\s*(" + LITERALS + r")|\{(\w+)\})?;")
ESCAPES = {"\\\\": "\\", "\\e": "=", "\\n": "\n", "\\r": "\r", "\\t": "\t"}
WHITESPACE = " \t\r\n"


class BrandError(Exception):
    pass


def literal_text(literals):
    """The value of adjacent C++ string literals."""
    inner = "".join(re.findall(r'L"((?:\\.|[^"\\])*)"', literals))
    escape = r'\\(?:u([0-9A-Fa-f]{4})|([\\"]))'
    return re.sub(escape, lambda m: chr(int(m[1], 16)) if m[1] else m[2], inner)


def read_defaults(source):
    """The constants in tool_config.h and the initial values of the record's texts, both by name."""
    constants = {name: literal_text(literals) for name, literals in CONSTANT.findall(source)}
    record = source[source.index("struct ToolConfig"):]
    fields = {name: constants[constant] if constant else literal_text(literals)
              for name, literals, constant in FIELD.findall(record)}
    return constants, fields


def read_config(content):
    """The unescaped values in the bytes of a config.txt by the rules of src/config/config_text.h."""
    values = {}
    for line in content.split(b"\n"):
        # In the tool a backslash protects an = from splitting the line, but no key has a backslash.
        key, separator, value = line.removesuffix(b"\r").decode("utf-8", "replace").partition("=")
        if separator:
            values[key] = re.sub(r"\\[\\enrt]", lambda match: ESCAPES[match[0]], value)
    return values


def version_numbers(version, key):
    """ "2.08.1-beta3" gives "2,8,1,0": up to four numbers, before the suffix."""
    numbers = version.strip(WHITESPACE).partition("-")[0].split(".")
    if (len(numbers) > 4 or not all(re.fullmatch("[0-9]+", number) for number in numbers)
            or any(int(number) > 65535 for number in numbers)):
        raise BrandError(f"{key} must be one to four numbers of at most 65535 with dots between, "
                         "optionally followed by a suffix that begins with -")
    return ",".join(str(int(number)) for number in (numbers + ["0"] * 3)[:4])


def language_id(text, key):
    digits = text.strip(WHITESPACE)
    if not re.fullmatch("[0-9A-Fa-f]{4}", digits):
        raise BrandError(f"{key} must be four hexadecimal digits")
    return digits


def quoted(text):
    """A string of a resource script."""
    for old, new in (("\\", "\\\\"), ('"', '""'), ("\n", "\\n"), ("\r", "\\r"), ("\t", "\\t")):
        text = text.replace(old, new)
    return f'"{text}"'


def company(values):
    """The publisher, as the list of installed programs shows it."""
    return (values["programsPublisher"].strip(WHITESPACE) or values["companyName"].strip(WHITESPACE)
            or values["kFallbackPublisher"])


def file_name(program, values):
    if program == "uninstaller":
        return "Uninstall.exe"
    return values["repairToolName"] or values["kDefaultRepairToolName"]


def version_header(program, values):
    """The text of brand_version.h."""
    version = values[program + "ProductVersion"]
    language = language_id(values[program + "Language"], program + "Language")
    macros = {
        "COMPANY": quoted(company(values)),
        "FILE_NAME": quoted(file_name(program, values)),
        "FILE_DESCRIPTION": quoted(values[program + "FileDescription"]),
        "PRODUCT_NAME": quoted(values[program + "ProductName"]),
        "PRODUCT_VERSION": quoted(version),
        "COPYRIGHT": quoted(values[program + "Copyright"]),
        "VERSION_NUMBERS": version_numbers(version, program + "ProductVersion"),
        # The primary language is in the low ten bits. Plain numbers, because resource compilers differ
        # in the operators that they know.
        "LANGUAGE": int(language, 16) & 0x3FF,
        "SUBLANGUAGE": int(language, 16) >> 10,
        "LANGUAGE_BLOCK": quoted(language + "04B0"),
        "TRANSLATION": "0x" + language,
    }
    lines = [f"#define BRAND_{name} {value}\n" for name, value in macros.items()]
    return "// Generated from the brand's config.txt, for version_info.rc.\n" + "".join(lines)


def describe(program, config, tool_config_source):
    """The program's file name and the text of its brand_version.h."""
    constants, fields = read_defaults(tool_config_source)
    values = fields | read_config(config) | constants
    return file_name(program, values), version_header(program, values)


def main(arguments):
    if len(arguments) != 4 or arguments[0] not in ("repair", "uninstaller"):
        sys.exit(__doc__)
    program, config_txt, tool_config_h, output = arguments
    try:
        name, text = describe(program, pathlib.Path(config_txt).read_bytes(),
                              pathlib.Path(tool_config_h).read_text("utf-8"))
    except BrandError as error:
        sys.exit(f"{config_txt}: {error}")
    except OSError as error:
        sys.exit(str(error))
    # An unchanged file keeps its time, so that nothing is compiled again.
    output = pathlib.Path(output)
    if not output.is_file() or output.read_bytes() != text.encode():
        output.parent.mkdir(parents=True, exist_ok=True)
        output.write_bytes(text.encode())
    sys.stdout.buffer.write(name.encode())


if __name__ == "__main__":
    main(sys.argv[1:])
