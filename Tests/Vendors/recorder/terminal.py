"""A command that a program wants run for it."""
import os
import signal
import subprocess
import tempfile

PATIENCE = 60  # seconds, after which a command is ended


class Terminal:
    """Runs from the beginning. `close` must be called last."""

    def __init__(self, command, folder, environment):
        # A file and no pipe: nobody reads while the command writes.
        self._output = tempfile.TemporaryFile()
        self._process = subprocess.Popen(command, cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=self._output,
                                         stderr=subprocess.STDOUT, start_new_session=True)

    def wait(self, patience=PATIENCE):
        """Returns when it has ended, by itself or because its time is over."""
        try:
            self._process.wait(patience)
        except subprocess.TimeoutExpired:
            self.end()

    def status(self):
        """As the protocol tells it; None while it runs."""
        code = self._process.poll()
        if code is None:
            return None
        return {'exitCode': code, 'signal': None} if code >= 0 else {'exitCode': None, 'signal': signal.Signals(-code).name}

    def output(self):
        size = os.fstat(self._output.fileno()).st_size
        return os.pread(self._output.fileno(), size, 0).decode('utf-8', 'replace')

    def end(self):
        """With all that it has started."""
        try:
            os.killpg(self._process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass  # nothing is left of it
        self._process.wait()

    def close(self):
        self.end()
        self._output.close()
