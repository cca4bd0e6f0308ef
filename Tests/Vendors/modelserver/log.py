"""What was asked of the server, one line of JSON each."""
import datetime
import json
import threading


class Log:
    """Written by any thread; each line is in the file before `write` returns. Without a path nothing is kept."""

    def __init__(self, path):
        self._lock = threading.Lock()
        self._file = open(path, 'a', encoding='utf-8') if path else None

    def write(self, **line):
        if self._file is None:
            return
        line = {'at': datetime.datetime.now(datetime.timezone.utc).isoformat(timespec='milliseconds'), **line}
        with self._lock:
            self._file.write(json.dumps(line, ensure_ascii=False) + '\n')
            self._file.flush()
