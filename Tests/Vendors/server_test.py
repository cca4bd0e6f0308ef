#!/usr/bin/python3
"""The model server as a child of the tests."""
import contextlib
import http.client
import json
import os
import select
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
from model_client import ADDRESSES, asking  # noqa: E402
from server import ModelServer  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))
# Tells where it listens, and then does nothing until it is killed.
PARENT = '''
import signal, sys
sys.path.insert(0, sys.argv[1])
from server import ModelServer
print(ModelServer(sys.argv[2]).address, flush=True)
signal.pause()
'''


def listens(port):
    with socket.socket() as one:
        return one.connect_ex(('127.0.0.1', port)) == 0


class Server(unittest.TestCase):
    def test_ItEndsWithTestsThatWereKilled(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        parent = subprocess.Popen([sys.executable, '-B', '-c', PARENT, HERE, folder.name], stdout=subprocess.PIPE, text=True)
        self.addCleanup(parent.stdout.close)
        self.addCleanup(parent.wait)
        self.addCleanup(parent.kill)
        self.assertTrue(select.select([parent.stdout], [], [], 30)[0], 'it did not start')
        port = int(parent.stdout.readline().rpartition(':')[2])
        self.assertTrue(listens(port))
        parent.send_signal(signal.SIGKILL)
        parent.wait()
        end = time.monotonic() + 20
        while listens(port) and time.monotonic() < end:
            time.sleep(0.05)
        self.assertFalse(listens(port))


    def test_AnotherAnswerThatIsGivenUpIsNotTheOneThatWasStopped(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        server = ModelServer(folder.name)
        self.addCleanup(server.close)
        for scenario, other in (('gradual', 'slow'), ('slow', 'gradual')):
            body = json.dumps(asking('kimi', ('user', f'SCENARIO:{scenario}')))
            with contextlib.closing(http.client.HTTPConnection(server.address.removeprefix('http://'), timeout=20)) as connection:
                connection.request('POST', ADDRESSES['kimi'], body)
                connection.getresponse().readline()
            server.await_abandoned(scenario)
            if scenario == 'gradual':
                with self.assertRaisesRegex(AssertionError, 'has read the whole answer'):
                    server.await_abandoned(other, timeout=0.2)


if __name__ == '__main__':
    unittest.main(verbosity=2)
