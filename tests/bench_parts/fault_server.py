#!/usr/bin/env python3
"""A web server on loopback that behaves as the request asks, well or badly, and logs requests.

  fault_server.py start FOLDER    starts one in the background unless one is running for FOLDER
  fault_server.py stop FOLDER     stops it
  fault_server.py serve FOLDER    runs in the foreground

FOLDER/ports then holds three ports: of HTTP, of HTTPS with a certificate for "localhost" (not for
"127.0.0.1") from the authority in FOLDER/authority.der, and of HTTPS with a certificate for
"localhost" that is self-signed. The server ends after 15 minutes without a request, and when
FOLDER/ports is missing or belongs to another server.

A request's path is /PREFIX/BEHAVIOR/ARGUMENTS..., its query is ignored. Each test has its own
prefix, under which the server logs requests: /control/log/PREFIX returns, for each, the scheme and
the head as it arrived, each line ended by a line feed, and an empty line. /control/release/PREFIX
ends every wait under that prefix, also later ones.
The behaviors are the functions below whose names begin with "serve_".
"""

import os
import socket
import ssl
import struct
import sys
import threading
import time

# No __pycache__ beside the sources.
sys.dont_write_bytecode = True

from fault_server_control import LOOPBACK, ports_file, read_ports, start, stop

IDLE_LIMIT_S = 15 * 60
# The longest time that a connection stays silent.
WAIT_LIMIT_S = 10
PATTERN = bytes(range(251))
BLOCK = PATTERN * 4177  # About 1 MB.
# The format of SO_LINGER.
LINGER = "HH" if os.name == "nt" else "ii"


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


class Exchange:
    """One connection with its only request."""

    def __init__(self, server, connection, scheme):
        self.server = server
        self.connection = connection
        self.scheme = scheme
        self.head = b""
        self.prefix = ""
        self.arguments = []

    def header(self, name):
        for line in self.head.decode("latin-1").split("\r\n")[1:]:
            key, _, value = line.partition(":")
            if key.lower() == name:
                return value.strip()
        return ""

    def send_head(self, status, *headers):
        lines = [f"HTTP/1.1 {status} Reason", "Connection: close", *headers]
        self.connection.sendall("\r\n".join(lines + ["", ""]).encode("latin-1"))

    def send_pattern(self, size, start=0):
        """Sends the pattern 0, 1, ... 250, 0, 1, ... from byte `start` on, up to byte `size`."""
        while start < size:
            offset = start % len(PATTERN)
            piece = BLOCK[offset : offset + size - start]
            self.connection.sendall(piece)
            start += len(piece)

    def wait_until_read(self):
        """Returns when the client has read everything that was sent, where that is visible."""
        deadline = time.monotonic() + WAIT_LIMIT_S
        while time.monotonic() < deadline and unread_bytes(self.connection):
            time.sleep(0.005)

    def wait(self):
        """Sends nothing until the test releases it."""
        self.server.release_of(self.prefix).wait(WAIT_LIMIT_S)


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
        exchange.connection.sendall(b"%x\r\n" % (end - start))
        exchange.send_pattern(end, start)
        exchange.connection.sendall(b"\r\n")
    exchange.connection.sendall(b"0\r\n\r\n")


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
    http_port, https_port, _ = exchange.server.ports
    locations = {
        "absolute": f"{exchange.scheme}://{exchange.header('host')}{path}",
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
    exchange.wait_until_read()
    time.sleep(0.2)
    # Without lingering, closing resets.
    exchange.connection.setsockopt(
        socket.SOL_SOCKET, socket.SO_LINGER, struct.pack(LINGER, 1, 0)
    )


def serve_package(exchange, announced, sent, end="close"):
    """Begins like a ZIP and continues like the others. An announced size of 0 is left out. At the end of
    what is sent comes a close, a reset or a wait."""
    exchange.send_head(200, *([] if announced == "0" else [f"Content-Length: {announced}"]))
    exchange.connection.sendall(b"PK\x03\x04")
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
    tool publishes at most every 0.35 seconds. An announced size of 0 is left out."""
    if announced == "0":
        exchange.send_head(200)
    else:
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
    exchange.connection.sendall(b"\x00\xff not a response\n\n" * 4)


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


BEHAVIORS = {
    name.removeprefix("serve_"): function
    for name, function in list(globals().items())
    if name.startswith("serve_")
}


class Server:
    def __init__(self, folder):
        self.folder = folder
        self.lock = threading.Lock()
        self.heads = {}  # prefix -> list of (scheme, head)
        self.releases = {}  # prefix -> Event
        self.last_request = time.monotonic()
        # Each with its TLS context, None for plain HTTP.
        self.listeners = [
            (self.listen(), None),
            (self.listen(), self.certificate("server")),
            (self.listen(), self.certificate("stranger")),
        ]
        self.ports = [listener.getsockname()[1] for listener, _ in self.listeners]

    def certificate(self, name):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(
            os.path.join(self.folder, f"{name}.pem"), os.path.join(self.folder, f"{name}.key")
        )
        return context

    @staticmethod
    def listen():
        return socket.create_server((LOOPBACK, 0), backlog=64)

    def release_of(self, prefix):
        with self.lock:
            return self.releases.setdefault(prefix, threading.Event())

    def log(self, exchange):
        with self.lock:
            self.heads.setdefault(exchange.prefix, []).append((exchange.scheme, exchange.head))

    def log_text(self, prefix):
        with self.lock:
            entries = list(self.heads.get(prefix, []))
        return b"".join(
            scheme.encode() + b"\n" + head.strip(b"\r\n").replace(b"\r\n", b"\n") + b"\n\n"
            for scheme, head in entries
        )

    def control(self, exchange, order, prefix=""):
        answer = b""
        if order == "log":
            answer = self.log_text(prefix)
        elif order == "release":
            self.release_of(prefix).set()
        exchange.send_head(200, f"Content-Length: {len(answer)}")
        exchange.connection.sendall(answer)
        if order == "stop":
            exchange.connection.close()
            self.end()

    def answer(self, exchange):
        while b"\r\n\r\n" not in exchange.head:
            received = exchange.connection.recv(65536)
            if not received:
                return
            exchange.head += received
        target = exchange.head.split(b" ", 2)[1].decode("latin-1")
        exchange.prefix, *parts = target.partition("?")[0].lstrip("/").split("/")
        if exchange.prefix == "control":
            self.control(exchange, *parts)
            return
        self.log(exchange)
        behavior = BEHAVIORS.get(parts[0] if parts else "")
        if behavior is None:
            exchange.send_head(404, "Content-Length: 0")
        else:
            behavior(exchange, *parts[1:])

    def close(self, connection, exchange):
        """Lets the client read everything before the connection is closed."""
        try:
            lingers = connection.getsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.calcsize(LINGER))
            if exchange is not None and not struct.unpack(LINGER, lingers)[0]:
                connection.shutdown(socket.SHUT_WR)
                connection.settimeout(2)
                while connection.recv(65536):
                    pass
        except OSError:
            pass
        connection.close()

    def handle(self, connection, tls):
        exchange = None
        try:
            connection.settimeout(60)
            if tls is not None:
                connection = tls.wrap_socket(connection, server_side=True)
            exchange = Exchange(self, connection, "https" if tls else "http")
            self.answer(exchange)
        except (OSError, ValueError, TypeError, LookupError) as error:
            # The client closed the connection or sent an invalid request.
            print(f"{error!r} {exchange.head[:80] if exchange else b''!r}", flush=True)
        self.close(connection, exchange)
        self.last_request = time.monotonic()

    def accept(self, listener, tls):
        while True:
            connection, _ = listener.accept()
            self.last_request = time.monotonic()
            threading.Thread(target=self.handle, args=(connection, tls), daemon=True).start()

    def is_current(self):
        return read_ports(self.folder) == self.ports

    def end(self):
        if self.is_current():
            os.remove(ports_file(self.folder))
        os._exit(0)

    def run(self):
        for listener in self.listeners:
            threading.Thread(target=self.accept, args=listener, daemon=True).start()
        # In one step, so that a reader of the file finds all numbers.
        temporary = f"{ports_file(self.folder)}.{os.getpid()}"
        with open(temporary, "w", encoding="ascii") as file:
            file.write("{} {} {}\n".format(*self.ports))
        os.replace(temporary, ports_file(self.folder))
        while self.is_current() and time.monotonic() - self.last_request < IDLE_LIMIT_S:
            time.sleep(5)
        self.end()


def serve(folder):
    Server(folder).run()
    return 0


def main():
    command = [sys.executable, os.path.abspath(__file__), "serve"]
    orders = {"start": lambda folder: start(folder, command), "stop": stop, "serve": serve}
    if len(sys.argv) != 3 or sys.argv[1] not in orders:
        print(__doc__, file=sys.stderr)
        return 2
    return orders[sys.argv[1]](os.path.abspath(sys.argv[2]))


if __name__ == "__main__":
    sys.exit(main())
