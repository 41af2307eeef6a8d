"""A web server on loopback for the sample package."""

import dataclasses
import http.server
import os
import threading
import time

LOOPBACK = "127.0.0.1"
PIECE_BYTES = 64 * 1024
# Slow enough to take a screenshot of the download.
SLOW_BYTES_PER_SECOND = 11_000_000
# Where a slow download waits for its screenshot, and the longest wait.
PHOTOGRAPH_SHARE = 0.75
CAPTURE_LIMIT_S = 20


@dataclasses.dataclass
class Request:
    line: str
    user_agent: str
    status: int = 0
    bytes_sent: int = 0

    def __str__(self):
        return f"{self.line}, {self.user_agent}: {self.status}, {self.bytes_sent:,} bytes sent"


class PackageServer(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def __init__(self, package_path, paths):
        super().__init__((LOOPBACK, 0), Handler)
        self.package_path = package_path
        self.paths = paths
        self.requests = []
        self.slow = False
        # Whether one byte of the package is changed.
        self.damages = False
        self.captured = threading.Event()
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def url(self, path):
        return f"http://{LOOPBACK}:{self.server_address[1]}{path}"

    def prepare(self, slow, damages):
        """Resets the server for the next act."""
        self.slow = slow
        self.damages = damages
        self.requests = []
        self.captured.clear()


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        request = Request(self.requestline, self.headers.get("User-Agent", "no user agent"))
        self.server.requests.append(request)
        request.status = 200 if self.path in self.server.paths else 404
        self.send_response(request.status)
        if request.status == 404:
            self.send_header("Content-Length", "0")
            self.end_headers()
            return
        self.send_header("Content-Type", "application/zip")
        self.send_header("Content-Length", str(os.path.getsize(self.server.package_path)))
        self.end_headers()
        self.send_package(request)

    def send_package(self, request):
        size = os.path.getsize(self.server.package_path)
        started = time.monotonic()
        with open(self.server.package_path, "rb") as file:
            while piece := file.read(PIECE_BYTES):
                if self.server.damages and request.bytes_sent <= size // 2 < file.tell():
                    piece = bytes([piece[0] ^ 0xFF]) + piece[1:]
                self.wfile.write(piece)
                request.bytes_sent += len(piece)
                if self.server.slow:
                    self.slow_down(request.bytes_sent, started, size)

    def slow_down(self, bytes_sent, started, size):
        due = started + bytes_sent / SLOW_BYTES_PER_SECOND
        time.sleep(max(0, due - time.monotonic()))
        if bytes_sent > size * PHOTOGRAPH_SHARE:
            self.server.captured.wait(CAPTURE_LIMIT_S)

    def log_message(self, format, *args):
        """Logs nothing: the demo's report lists the requests."""
