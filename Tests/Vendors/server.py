"""The model that the vendors' programs talk to, as a child of the tests."""
import json
import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'EndToEnd'))
from driver.processes import die_with_the_parent  # noqa: E402

_PROGRAM = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'model_server.py')
# It ends with the tests, also when they were killed, and after that in any case.
_SECONDS_TO_LIVE = 600


class ModelServer:
    """Listens when it is made. `close` must be called last."""

    def __init__(self, folder, *arguments):
        self._log = os.path.join(folder, 'model.jsonl')
        command = [sys.executable, '-B', _PROGRAM]
        self._process = subprocess.Popen([*command, '--port', '0', '--log', self._log, '--ttl', str(_SECONDS_TO_LIVE), *arguments],
                                         stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True, preexec_fn=die_with_the_parent)
        line = self._process.stdout.readline().split()
        if len(line) != 2 or line[0] != 'PORT':
            self.close()
            raise RuntimeError(f'the model server did not start: {line}')
        self.address = f'http://127.0.0.1:{line[1]}'

    def close(self):
        self._process.terminate()
        try:
            self._process.wait(5)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        self._process.stdout.close()

    def requests(self):
        """What it was asked until now, in order."""
        if not os.path.exists(self._log):
            return []
        with open(self._log) as file:
            return [json.loads(line) for line in file if line.endswith('\n')]

    def turns(self, scenario):
        """The requests that the prompt of a scenario has led to."""
        return [line for line in self.requests() if line.get('scenario') == scenario]

    def told_of_the_tool(self, scenario):
        """What a program has told the model, by the last request of a scenario, of the tool that it wanted last."""
        told = self.turns(scenario)[-1]['told']
        return told[-1] if told else ''

    def await_abandoned(self, scenario, timeout=20):
        """Waits until a program has closed its connection before the answer of that scenario was whole."""
        end = time.monotonic() + timeout
        while time.monotonic() < end:
            if any('aborted' in line and line['of'] == scenario for line in self.requests()):
                return
            time.sleep(0.05)
        raise AssertionError('the program has read the whole answer although it was stopped')
