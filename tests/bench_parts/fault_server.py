#!/usr/bin/env python3
"""A web server on loopback that behaves as the request asks, well or badly, and logs requests.

  fault_server.py start FOLDER    starts one in the background unless one is running for FOLDER
  fault_server.py stop FOLDER     stops it
  fault_server.py run FOLDER      runs one in the foreground

FOLDER/ports then holds four ports: of HTTP, of HTTPS with a certificate for "localhost" (not for
"127.0.0.1") from the authority in FOLDER/authority.der, of HTTPS with a certificate for
"localhost" that is self-signed, and one that accepts no connections. The server ends after 15
minutes without a request, and when FOLDER/ports is missing or belongs to another server.

A request's path is /PREFIX/BEHAVIOR/ARGUMENTS..., its query is ignored. Each test has its own
prefix, under which the server appends requests to FOLDER/requests/PREFIX.log: for each, the
scheme, the request line, the headers, and an empty line. The file FOLDER/requests/PREFIX.release
ends every wait under that prefix, also later ones.
The behaviors are the functions below whose names begin with "serve_".
"""

import http.server
import os
import shutil
import socket
import socketserver
import ssl
import struct
import subprocess
import sys
import threading
import time

LOOPBACK = "127.0.0.1"
IDLE_LIMIT_S = 15 * 60
# The longest time that a connection stays silent.
WAIT_LIMIT_S = 60
PATTERN = bytes(range(251))
BLOCK = PATTERN * 4177  # About 1 MB.
# The format of SO_LINGER.
LINGER = "HH" if os.name == "nt" else "ii"


def ports_file(folder):
    return os.path.join(folder, "ports")


def read_ports(folder):
    try:
        with open(ports_file(folder), encoding="ascii") as file:
            return [int(port) for port in file.read().split()]
    except OSError:
        return []


def wait_until(condition):
    deadline = time.monotonic() + WAIT_LIMIT_S
    while time.monotonic() < deadline and not condition():
        time.sleep(0.005)


def unread_bytes(connection):
    """Unread bytes on both sides of the connection according to the Linux kernel; elsewhere 0."""
    ends = [connection.getsockname()[1], connection.getpeername()[1]]
    try:
        with open("/proc/net/tcp", encoding="ascii") as table:
            rows = [line.split() for line in table][1:]
    except OSError:
        return 0
    queues = 0
    for row in rows:
        ports = [int(address.split(":")[1], 16) for address in row[1:3]]
        if ports in (ends, ends[::-1]):
            # "SENT:RECEIVED" in hexadecimal. Nothing arrives from the client after its request.
            queues += sum(int(queue, 16) for queue in row[4].split(":"))
    return queues


class Exchange(http.server.BaseHTTPRequestHandler):
    """One connection with its only request."""

    timeout = 60
    last_request = time.monotonic()  # Of all connections.

    def handle(self):
        self.raw_requestline = self.rfile.readline()
        if not self.parse_request():
            return
        Exchange.last_request = time.monotonic()
        path = self.path.partition("?")[0]
        self.prefix, behavior, *arguments = path.removeprefix("/").split("/")
        self.note_request()
        globals()["serve_" + behavior](self, *arguments)

    def file_of_prefix(self, extension):
        return os.path.join(self.server.folder, "requests", self.prefix + extension)

    def note_request(self):
        headers = [f"{name}: {value}" for name, value in self.headers.items()]
        lines = [self.server.scheme, self.requestline, *headers, "", ""]
        # In one step, for readers and for other connections.
        with open(self.file_of_prefix(".log"), "ab", buffering=0) as file:
            file.write("\n".join(lines).encode("latin-1"))

    def send_head(self, status, *headers):
        lines = [f"HTTP/1.1 {status} Reason", "Connection: close", *headers]
        self.wfile.write("\r\n".join(lines + ["", ""]).encode("latin-1"))

    def send_pattern(self, size, start=0):
        """Sends the pattern 0, 1, ... 250, 0, 1, ... from byte `start` on, up to byte `size`."""
        while start < size:
            offset = start % len(PATTERN)
            piece = BLOCK[offset : offset + size - start]
            self.wfile.write(piece)
            start += len(piece)

    def wait(self):
        """Sends nothing until the test releases it."""
        wait_until(lambda: os.path.exists(self.file_of_prefix(".release")))


def serve_body(exchange, size):
    exchange.send_head(200, f"Content-Length: {size}")
    exchange.send_pattern(int(size))


def serve_without_length(exchange, size):
    exchange.send_head(200)
    exchange.send_pattern(int(size))


def serve_chunked(exchange, size):
    exchange.send_head(200, "Transfer-Encoding: chunked")
    for start in range(0, int(size), 30000):
        end = min(start + 30000, int(size))
        exchange.wfile.write(b"%x\r\n" % (end - start))
        exchange.send_pattern(end, start)
        exchange.wfile.write(b"\r\n")
    exchange.wfile.write(b"0\r\n\r\n")


def serve_encoded(exchange, size):
    """Claims that the uncompressed body is compressed."""
    exchange.send_head(200, f"Content-Length: {size}", "Content-Encoding: gzip")
    exchange.send_pattern(int(size))


def serve_status(exchange, status, size="6"):
    """Any status, without the headers that usually come with it."""
    if status == "204":
        exchange.send_head(status)
        return
    exchange.send_head(status, f"Content-Length: {size}")
    exchange.send_pattern(int(size))


def serve_redirect(exchange, target, *rest):
    """Sends the client to /PREFIX/rest... of another address, as `target` names it."""
    path = "/".join(["", exchange.prefix, *rest])
    http_port, https_port, *_ = read_ports(exchange.server.folder)
    locations = {
        "absolute": f"{exchange.server.scheme}://{exchange.headers['host']}{path}",
        "relative": path,
        "named": f"http://localhost:{http_port}{path}",
        "http": f"http://{LOOPBACK}:{http_port}{path}",
        "https": f"https://localhost:{https_port}{path}",
        "query": f"{path}?mirror=2",
    }
    exchange.send_head(302, f"Location: {locations[target]}", "Content-Length: 0")


def serve_loop(exchange):
    exchange.send_head(302, f"Location: /{exchange.prefix}/loop", "Content-Length: 0")


def serve_short(exchange, announced, sent):
    """Ends in the middle of the body."""
    exchange.send_head(200, f"Content-Length: {announced}")
    exchange.send_pattern(int(sent))


def serve_reset(exchange, announced, sent):
    """Breaks the connection in the middle of the body."""
    exchange.send_head(200, f"Content-Length: {announced}")
    exchange.send_pattern(int(sent))
    reset_when_read(exchange)


def reset_when_read(exchange):
    # A reset discards what the client has not read yet, and a client that is not waiting in a read
    # may mistake it for the end.
    wait_until(lambda: not unread_bytes(exchange.connection))
    time.sleep(0.2)
    # Without lingering, closing resets.
    exchange.connection.setsockopt(
        socket.SOL_SOCKET, socket.SO_LINGER, struct.pack(LINGER, 1, 0)
    )
    exchange.connection.close()


def serve_package(exchange, announced, sent, end="close"):
    """Begins like a ZIP and continues like the others. An announced size of 0 is left out. At the end of
    what is sent comes a close, a reset or a wait."""
    exchange.send_head(200, *([] if announced == "0" else [f"Content-Length: {announced}"]))
    exchange.wfile.write(b"PK\x03\x04")
    exchange.send_pattern(int(sent), start=4)
    if end == "reset":
        reset_when_read(exchange)
    elif end == "wait":
        exchange.wait()


def serve_stall(exchange, announced, sent):
    """Waits in the middle of the body, then continues."""
    exchange.send_head(200, f"Content-Length: {announced}")
    exchange.send_pattern(int(sent))
    exchange.wait()
    exchange.send_pattern(int(announced), start=int(sent))


def serve_stall_late(exchange, announced, sent):
    """The same, but the last byte before the wait comes late enough to be published, because the
    tool publishes at most every 0.35 seconds."""
    exchange.send_head(200, f"Content-Length: {announced}")
    exchange.send_pattern(int(sent) - 1)
    time.sleep(0.5)
    exchange.send_pattern(int(sent), start=int(sent) - 1)
    exchange.wait()
    exchange.send_pattern(int(announced), start=int(sent))


def serve_drip(exchange, size, piece, pause_ms):
    """Sends the body in pieces with pauses between them."""
    exchange.send_head(200, f"Content-Length: {size}")
    for start in range(0, int(size), int(piece)):
        exchange.send_pattern(min(start + int(piece), int(size)), start)
        time.sleep(int(pause_ms) / 1000)


def serve_silence(exchange):
    """Waits without a response, then closes."""
    exchange.wait()


def serve_garbage(exchange):
    exchange.wfile.write(b"\x00\xff not a response\n\n" * 4)


def serve_close(exchange):
    """Closes without a response."""


# Where the name in the URL matters, such as "pkg.zip".
def serve_file(exchange, *_names):
    serve_body(exchange, "1000")


def serve_archive(exchange, name):
    """A package that make_archives.py wrote into the folder beside the server's."""
    build_folder = os.path.dirname(exchange.server.folder)
    path = os.path.join(build_folder, "bench_archives", os.path.basename(name))
    with open(path, "rb") as file:
        exchange.send_head(200, f"Content-Length: {os.fstat(file.fileno()).st_size}")
        exchange.connection.sendfile(file)


class Listener(socketserver.ThreadingTCPServer):
    daemon_threads = True
    request_queue_size = 64

    def __init__(self, folder, certificate=None):
        super().__init__((LOOPBACK, 0), Exchange)
        self.folder = folder
        self.scheme = "https" if certificate else "http"
        if certificate:
            base = os.path.join(folder, certificate)
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(base + ".pem", base + ".key")
            # The handshake comes with the first read, in the connection's thread.
            self.socket = context.wrap_socket(
                self.socket, server_side=True, do_handshake_on_connect=False
            )


def run(folder):
    shutil.rmtree(os.path.join(folder, "requests"), ignore_errors=True)
    os.makedirs(os.path.join(folder, "requests"))
    listeners = [Listener(folder), Listener(folder, "server"), Listener(folder, "stranger")]
    for listener in listeners:
        threading.Thread(target=listener.serve_forever, daemon=True).start()
    # Takes a port without listening there.
    closed = socket.socket()
    closed.bind((LOOPBACK, 0))
    ports = [end.getsockname()[1] for end in [*(each.socket for each in listeners), closed]]
    # In one step, so that a reader of the file finds all numbers.
    temporary = f"{ports_file(folder)}.{os.getpid()}"
    with open(temporary, "w", encoding="ascii") as file:
        file.write(" ".join(map(str, ports)))
    os.replace(temporary, ports_file(folder))
    while time.monotonic() - Exchange.last_request < IDLE_LIMIT_S:
        if read_ports(folder) != ports:
            return 0
        time.sleep(0.2)
    return stop(folder)


def is_running(folder):
    try:
        socket.create_connection((LOOPBACK, read_ports(folder)[0]), timeout=5).close()
        return True
    except (OSError, IndexError):
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


def start(folder):
    if is_running(folder):
        return 0
    os.makedirs(folder, exist_ok=True)
    stop(folder)
    # The last of the files to be made.
    if not os.path.exists(os.path.join(folder, "stranger.pem")):
        make_certificates(folder)
    # The server must not inherit the caller's pipes: a test runner waits for their end.
    with open(os.path.join(folder, "log"), "w", encoding="utf-8") as log:
        server = subprocess.Popen(
            [sys.executable, os.path.abspath(__file__), "run", folder],
            stdin=subprocess.DEVNULL, stdout=log, stderr=log, start_new_session=True,
            creationflags=getattr(subprocess, "DETACHED_PROCESS", 0),
        )  # fmt: skip
    wait_until(lambda: is_running(folder) or server.poll() is not None)
    if is_running(folder):
        return 0
    print(f"The fault server does not start; see {folder}/log.", file=sys.stderr)
    return 1


def stop(folder):
    if os.path.exists(ports_file(folder)):
        os.remove(ports_file(folder))
    return 0


def main():
    commands = {"start": start, "stop": stop, "run": run}
    if len(sys.argv) != 3 or sys.argv[1] not in commands:
        print(__doc__, file=sys.stderr)
        return 2
    return commands[sys.argv[1]](os.path.abspath(sys.argv[2]))


if __name__ == "__main__":
    sys.exit(main())
