"""Sees whether something is fetched: a web server on this machine, and files that notice when they are opened."""
import ctypes
import os
import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

_IN_ACCESS, _IN_OPEN, _IN_NONBLOCK = 0x1, 0x20, 0o4000


class WebServer(ThreadingHTTPServer):
    """`requests` holds the paths that were asked for. `close` must be called last."""

    def __init__(self):
        asked = self.requests = []

        class Handler(BaseHTTPRequestHandler):
            def do_GET(self):
                asked.append(self.path)
                self.send_response(404)
                self.end_headers()

            do_HEAD = do_GET

            def log_message(self, *_):
                pass

        super().__init__(('127.0.0.1', 0), Handler)
        self.address = f'http://127.0.0.1:{self.server_port}'
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def close(self):
        self.shutdown()
        self.server_close()


class OpenWatch:
    """Whether one of these files has been opened since. `close` must be called last."""

    def __init__(self, *paths):
        self._libc = ctypes.CDLL(None, use_errno=True)
        self._descriptor = self._libc.inotify_init1(_IN_NONBLOCK)
        for path in paths:
            if self._libc.inotify_add_watch(self._descriptor, os.fsencode(path), _IN_ACCESS | _IN_OPEN) < 0:
                raise OSError(ctypes.get_errno(), path)

    def was_opened(self):
        try:
            return len(os.read(self._descriptor, 65536)) > 0
        except BlockingIOError:
            return False

    def close(self):
        os.close(self._descriptor)
