"""A vendor's program as a child, and every line between it and us."""
import json
import os
import queue
import signal
import subprocess
import threading

PATIENCE = 150  # OpenCode repeats a refused request for more than a minute, in silence
QUIET = 0.7  # seconds without a line, after which nothing more is to come


class Child:
    """`lines` holds what was said, in order, as {"out": ours}, {"in": its} and {"stderr": text}. `close` must be called last."""

    def __init__(self, command, folder, environment):
        self._process = subprocess.Popen(command, cwd=folder, env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                         start_new_session=True)
        self.lines = []
        self.folder, self.environment = folder, environment
        self._lock, self._sending = threading.Lock(), threading.Lock()
        self._arrived = queue.Queue()
        self._readers = [threading.Thread(target=read, daemon=True) for read in (self._read_messages, self._read_errors)]
        for reader in self._readers:
            reader.start()

    def send(self, message):
        """From any thread; the order of the lines is that in which they are written."""
        with self._sending:
            self._note('out', message)
            try:
                self._process.stdin.write((json.dumps(message) + '\n').encode())
                self._process.stdin.flush()
            except (BrokenPipeError, ValueError):
                pass  # its end is what is recorded then, and what the next `receive` tells; or we have closed it

    def receive(self, seconds=PATIENCE):
        """The next message, or None at the end of the program. Raises TimeoutError."""
        try:
            message = self._arrived.get(timeout=seconds)
        except queue.Empty:
            raise TimeoutError(f'nothing came for {seconds} s behind {self.lines[-1:]}') from None
        if message is None:
            self._arrived.put(None)
        return message

    def rest(self, hear):
        """Lets `hear` have each message that comes until it is quiet."""
        while True:
            try:
                message = self.receive(QUIET)
            except TimeoutError:
                return
            if message is None:
                return
            hear(message)

    def close(self):
        """Ends it and all it has started. A program that has ended by itself has {"exit": status} as its last line."""
        ended = self._process.poll()
        self._process.terminate()
        try:
            self._process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self._process.kill()
        try:
            os.killpg(self._process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass  # nothing is left of it
        self._process.wait()
        for reader in self._readers:
            reader.join(PATIENCE)
        for stream in (self._process.stdin, self._process.stdout, self._process.stderr):
            try:
                stream.close()
            except BrokenPipeError:
                pass  # what was written last has nobody to read it any more
        if ended is not None:
            self._note('exit', ended)

    def _note(self, kind, what):
        with self._lock:
            self.lines.append({kind: what})

    def _read_messages(self):
        for line in self._process.stdout:
            try:
                message = json.loads(line)
            except ValueError:
                self._note('text', line.decode('utf-8', 'replace'))
                continue
            self._note('in', message)
            self._arrived.put(message)
        self._arrived.put(None)

    def _read_errors(self):
        for line in self._process.stderr:
            self._note('stderr', line.decode('utf-8', 'replace'))
