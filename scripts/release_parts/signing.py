"""Signs the kit's program with a command that is given."""

import shlex
import struct
import subprocess

CHECKSUM, SIGNATURE = 64, 144  # Places in the optional header: its checksum, the security directory.


class SigningFailed(Exception):
    pass


def without_signature_fields(content):
    """The program's bytes with the two fields that signing changes set to zero."""
    optional = struct.unpack_from("<I", content, 60)[0] + 24
    content = bytearray(content)
    content[optional + CHECKSUM:optional + CHECKSUM + 4] = bytes(4)
    content[optional + SIGNATURE:optional + SIGNATURE + 8] = bytes(8)
    return content


def is_signed(content):
    optional = struct.unpack_from("<I", content, 60)[0] + 24
    return struct.unpack_from("<II", content, optional + SIGNATURE)[1] > 0


def command_words(command):
    """The words of a signing command. Raises SigningFailed if it cannot be one."""
    try:
        words = shlex.split(command)
    except ValueError as error:
        raise SigningFailed(f"the signing command is not complete: {error}") from error
    if not any("{file}" in word for word in words):
        raise SigningFailed("the signing command does not name the file. Write {file} where it belongs.")
    return words


def sign(exe, words):
    """Runs a signing command without a shell on `exe`, whose path replaces {file} in it.

    The symbols must remain those of the signed program, so it may change nothing but what belongs to a
    signature. Raises SigningFailed.
    """
    before = exe.read_bytes()
    try:
        result = subprocess.run([word.replace("{file}", str(exe)) for word in words])
    except OSError as error:
        raise SigningFailed(f"the signing command cannot be started: {error}") from error
    if result.returncode != 0:
        raise SigningFailed(f"the signing command ended with code {result.returncode}")
    after = exe.read_bytes()
    try:
        signed = is_signed(after)
    except struct.error as error:
        raise SigningFailed("the signing command has damaged the program") from error
    if not signed:
        raise SigningFailed("the signing command ended with code 0, but has not signed the program")
    if without_signature_fields(after)[:len(before)] != without_signature_fields(before):
        raise SigningFailed("the signing command changed more than the signature")
