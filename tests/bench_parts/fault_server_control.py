"""The fault server's port numbers, certificates, start and stop."""

import os
import socket
import subprocess
import sys
import time

LOOPBACK = "127.0.0.1"


def ports_file(folder):
    return os.path.join(folder, "ports")


def read_ports(folder):
    try:
        with open(ports_file(folder), encoding="ascii") as file:
            return [int(port) for port in file.read().split()]
    except (OSError, ValueError):
        return []


def ask_running(folder, order):
    """Whether a server responds there."""
    ports = read_ports(folder)
    if len(ports) != 3:
        return False
    try:
        with socket.create_connection((LOOPBACK, ports[0]), timeout=5) as connection:
            connection.sendall(f"GET /control/{order} HTTP/1.1\r\n\r\n".encode())
            return connection.recv(64).startswith(b"HTTP/1.1 200")
    except OSError:
        return False


def make_certificates(folder):
    """A test authority, a certificate for "localhost" from it, and a self-signed one."""

    def openssl(*arguments):
        subprocess.run(["openssl", *arguments], cwd=folder, check=True, capture_output=True)

    # Not elliptic curves: older versions of Windows know few of them.
    new = ["req", "-x509", "-newkey", "rsa:2048", "-noenc", "-days", "3650"]
    localhost = ["-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost",
                 "-addext", "basicConstraints=critical,CA:FALSE"]  # fmt: skip
    openssl(*new, "-keyout", "authority.key", "-out", "authority.pem",
            "-subj", "/CN=Fault server test authority",
            "-addext", "keyUsage=critical,keyCertSign,cRLSign")  # fmt: skip
    openssl(*new, "-keyout", "server.key", "-out", "server.pem", *localhost,
            "-CA", "authority.pem", "-CAkey", "authority.key")  # fmt: skip
    openssl("x509", "-in", "authority.pem", "-outform", "DER", "-out", "authority.der")
    openssl(*new, "-keyout", "stranger.key", "-out", "stranger.pem", *localhost)


def start(folder, command):
    """Runs `command` with the folder in the background and waits until it responds."""
    if ask_running(folder, "ping"):
        return 0
    os.makedirs(folder, exist_ok=True)
    if os.path.exists(ports_file(folder)):
        os.remove(ports_file(folder))
    # The last of the files to be made.
    if not os.path.exists(os.path.join(folder, "stranger.pem")):
        make_certificates(folder)
    # The server must not inherit the caller's pipes: a test runner waits for their end.
    with open(os.path.join(folder, "log"), "w", encoding="utf-8") as log:
        server = subprocess.Popen(
            [*command, folder],
            stdin=subprocess.DEVNULL, stdout=log, stderr=log, start_new_session=True,
            creationflags=getattr(subprocess, "DETACHED_PROCESS", 0),
        )  # fmt: skip
    deadline = time.monotonic() + 20
    while time.monotonic() < deadline and server.poll() is None:
        if ask_running(folder, "ping"):
            return 0
        time.sleep(0.02)
    print(f"The fault server does not start; see {folder}/log.", file=sys.stderr)
    return 1


def stop(folder):
    ask_running(folder, "stop")
    return 0
