#!/usr/bin/python3
"""The device against the real host: what two implementations make of the same wire."""
import hashlib
import json
import os
import queue
import random
import socket
import subprocess
import sys
import tempfile
import threading
import unittest

sys.dont_write_bytecode = True
from fake_host import creation, entry, new_id, snapshot, task  # noqa: E402
from tessarin_device import frames  # noqa: E402
from tessarin_device.connection import Computer, Connection, ConnectionLost, NotPaired  # noqa: E402
from tessarin_device.media import MediaAssembly  # noqa: E402
from tessarin_device.pairing import Pairing, text_from_key  # noqa: E402

HOST = os.environ['DEVICE_HOST']
TIMEOUT = 20


def free_port():
    """One that no outgoing connection is given."""
    while True:
        port = random.randrange(15000, 32000)
        with socket.socket() as probe:
            try:
                probe.bind(('', port))
                return port
            except OSError:
                continue


class RealHost:
    """The host as a process. `close` must be called last."""

    def __init__(self):
        self.key = os.urandom(32)
        self.port = free_port()
        self._process = subprocess.Popen([HOST], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self._lines = queue.Queue()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self._process.stdout:
            self._lines.put(json.loads(line))

    def do(self, what, **more):
        self._process.stdin.write(json.dumps({'do': what, **more}) + '\n')
        self._process.stdin.flush()

    def start(self, key=None):
        self.key = key or self.key
        self.do('start', key=text_from_key(self.key), port=self.port)
        self.await_line('state', f'Available on port {self.port}')

    def update(self, state):
        self.do('update', envelope={'version': 1, 'id': '', 'type': 'snapshot', 'snapshot': state})

    def await_line(self, key, value=None):
        """The value of the next line of that kind, or the next that has that value."""
        while True:
            line = self._lines.get(timeout=TIMEOUT)
            if 'wrong' in line:
                raise AssertionError(line)
            if key in line and value in (None, line[key]):
                return line[key]

    @property
    def pairing(self):
        return Pairing('127.0.0.1', self.port, self.key, 'Ada')

    def close(self):
        """The status that the process ended with."""
        self._process.stdin.close()
        status = self._process.wait(TIMEOUT)
        self._reader.join()
        self._process.stdout.close()
        return status


class InteropCase(unittest.TestCase):
    def setUp(self):
        self.host = RealHost()
        self.addCleanup(lambda: self.assertEqual(self.host.close(), 0))
        self.host.start()

    def connect(self, pairing=None):
        computer = Computer(pairing or self.host.pairing)
        self.addCleanup(computer.close)
        return computer

    def state_of(self, computer):
        self.assertTrue(computer.wait(lambda: computer.state is not None, TIMEOUT))
        return computer.state

    def message(self):
        return self.host.await_line('message')


class States(InteropCase):
    def test_AStateArrivesAsItWasGivenWithEveryField(self):
        text = 'ü "quoted" \\ / \b\f\n\r\t\x00\x1f\u2028 漢 🙂'
        everything = snapshot(
            tasks=[{**task('One', entry('user', text, title=text, status=text, provider='codex'), entry('tool', '')), 'sessionID': 'session'},
                   {**task('Two'), 'createdAt': 1e-6, 'updatedAt': 1732212345.678}],
            creations=[creation(text), creation('film', 'video', 'a.mp4')], activeProvider='kimi',
            permission={'requestID': -(2 ** 63), 'title': text, 'detail': text, 'options': [{'id': 'y', 'name': 'Yes', 'kind': 'allow_once'}]},
            providerUsages=[{'provider': 'glm', 'label': 'GLM', 'exhausted': True, 'primaryUsedPercent': 12.5, 'secondaryUsedPercent': 100,
                             'resetsAt': 1.7e9}])
        self.host.update(everything)
        self.assertEqual(self.state_of(self.connect()), everything)

    def test_WhatIsAbsentIsLeftOut(self):
        plain = snapshot()
        self.host.update(plain)
        told = self.state_of(self.connect())
        self.assertEqual(sorted(told), sorted(plain))

    def test_TheLatestStateIsSentUnaskedUnderOneIdAndNothingBeforeThereIsOne(self):
        first = Connection(self.host.pairing)
        self.addCleanup(first.close)
        self.host.update(snapshot(connectionLabel='one'))
        message = first.receive(TIMEOUT)
        self.assertEqual(message['snapshot']['connectionLabel'], 'one')
        second = Connection(self.host.pairing)
        self.addCleanup(second.close)
        self.assertEqual(second.receive(TIMEOUT), message)

    def test_ALargeStateArrives(self):
        large = snapshot(tasks=[task('Long', *(entry('assistant', 'x' * 1000) for _ in range(15000)))])
        self.host.update(large)
        self.assertEqual(self.state_of(self.connect()), large)


class Commands(InteropCase):
    def test_EveryFieldArrivesAsItWasSent(self):
        computer = self.connect()
        fields = {'workspaceID': new_id(), 'threadID': new_id().lower(), 'requestID': 2 ** 63 - 1, 'text': 'ü 漢 🙂 \n " \\ \x00', 'optionID': '',
                  'permissionMode': 'ask', 'providerMode': 'x', 'mediaID': 'y', 'mediaKind': 'image', 'mimeType': 'm', 'fileName': 'f',
                  'chunkIndex': 0, 'chunkCount': -1, 'data': 'Zg=='}
        computer.send('prompt', **fields)
        told = self.message()
        self.assertEqual({key: value for key, value in told.items() if key not in ('id', 'version', 'type')}, fields)
        self.assertEqual((told['version'], told['type']), (1, 'prompt'))

    def test_CommandsComeInOrderWhenTheyAreSentInOnePieceOrByteByByte(self):
        computer = self.connect()
        stream = b''.join(self.frame(f'command-{number}') for number in range(100))
        computer.connection.send_bytes(stream)
        self.assertEqual([self.message()['type'] for _ in range(100)], [f'command-{number}' for number in range(100)])
        for byte in self.frame('slow'):
            computer.connection.send_bytes(bytes([byte]))
        self.assertEqual(self.message()['type'], 'slow')

    def frame(self, kind, number=None, version=1):
        message = {'version': version, 'id': number or new_id(), 'type': kind, 'unknown': [None]}
        return frames.seal(json.dumps(message).encode(), self.host.key)

    def test_ARepeatedIdAndAnotherVersionAreDroppedAndTheConnectionStays(self):
        one, other = self.connect(), self.connect()
        one.connection.send_bytes(self.frame('first', 'A') + self.frame('again', 'A') + self.frame('newer', version=2))
        self.assertEqual(self.message()['type'], 'first')
        other.connection.send_bytes(self.frame('again', 'A') + self.frame('second', 'B'))
        self.assertEqual(self.message()['type'], 'second')
        one.connection.send_bytes(self.frame('third'))
        self.assertEqual(self.message()['type'], 'third')

    def test_WhatWasSentBeforeHangingUpArrives(self):
        self.host.update(snapshot(tasks=[task('Long', entry('assistant', 'x' * 1000000))]))
        for number in range(20):
            with Computer(self.host.pairing) as computer:
                computer.send(f'last-{number}')
            self.assertEqual(self.message()['type'], f'last-{number}')

    def test_RefusalsReachEveryDevice(self):
        computers = [self.connect(), self.connect()]
        self.host.await_line('clients', 2)
        self.host.do('send', envelope={'version': 1, 'id': 'E', 'type': 'error', 'text': 'Not now.'})
        for computer in computers:
            self.assertTrue(computer.wait(lambda: computer.refusals, TIMEOUT))
            self.assertEqual(computer.refusals, ['Not now.'])


class Keys(InteropCase):
    def test_AnotherKeyOpensNothingAndIsHungUpOn(self):
        self.host.update(snapshot())
        stranger = self.connect(self.host.pairing._replace(key=bytes(32)))
        with self.assertRaises(NotPaired):
            stranger.step(TIMEOUT)
        impostor = Connection(self.host.pairing._replace(key=bytes(32)))
        self.addCleanup(impostor.close)
        impostor.send('hello')
        impostor._reader = frames.FrameReader(self.host.key)
        impostor.receive(TIMEOUT)
        with self.assertRaises(ConnectionLost):
            impostor.receive(TIMEOUT)

    def test_AFrameThatIsNoneEndsTheConnection(self):
        message = json.dumps({'version': 1, 'id': new_id()}).encode()
        altered = bytearray(frames.seal(b'{"version":1,"id":"A","type":"x"}', self.host.key))
        altered[20] ^= 1
        for wrong in (b'\0\0\0\0', b'\1\0\0\1', b'\xff' * 4, frames.seal(message, self.host.key), frames.seal(b'{', self.host.key), bytes(altered)):
            computer = self.connect()
            computer.connection.send_bytes(wrong)
            with self.assertRaises(ConnectionLost):
                computer.step(TIMEOUT)

    def test_ANewKeyDropsEveryDevice(self):
        self.host.update(snapshot())
        computers = [self.connect() for _ in range(3)]
        for computer in computers:
            self.state_of(computer)
        old = self.host.pairing
        self.host.start(os.urandom(32))
        for computer in computers:
            with self.assertRaises(ConnectionLost):
                computer.step(TIMEOUT)
        with self.assertRaises(NotPaired):
            self.connect(old).step(TIMEOUT)
        self.state_of(self.connect())


class Files(InteropCase):
    def setUp(self):
        super().setUp()
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def made(self, content, name='made.png'):
        path = os.path.join(self.folder, name)
        with open(path, 'wb') as file:
            file.write(content)
        return path

    def fetch(self, content, name='made.png', **more):
        computer = self.connect()
        self.host.await_line('clients')
        media_id, digest = new_id(), hashlib.sha256()
        assembly = MediaAssembly(media_id, digest.update, 10 ** 9)
        computer.collect(assembly)
        self.host.do('media', id=media_id, kind='image', path=self.made(content, name), fileName=name, **more)
        self.assertTrue(computer.wait(lambda: assembly.is_complete, TIMEOUT))
        self.assertEqual(digest.digest(), hashlib.sha256(content).digest())
        return assembly

    def test_FilesOfEverySizeComeWhole(self):
        for size, count in ((0, 1), (1, 1), (196607, 1), (196608, 1), (196609, 2), (5_000_000, 26)):
            self.assertEqual(self.fetch(os.urandom(size)).count, count)

    def test_TheTypeFollowsTheName(self):
        for name, kind in (('a.PNG', 'image/png'), ('a.webp', 'image/webp'), ('a.gif', 'image/gif'), ('a.m4v', 'video/mp4'),
                           ('a.mov', 'video/quicktime'), ('a.webm', 'image/jpeg'), ('a', 'image/jpeg')):
            assembly = self.fetch(b'x', name)
            self.assertEqual((assembly.mime_type, assembly.file_name), (kind, name))

    def test_AFileThatIsGoneSendsNothing(self):
        computer = self.connect()
        self.host.await_line('clients')
        self.host.do('media', id=new_id(), kind='image', path=os.path.join(self.folder, 'gone'), fileName='gone')
        self.host.do('send', envelope={'version': 1, 'id': 'E', 'type': 'error', 'text': 'behind it'})
        self.assertEqual(computer.step(TIMEOUT)['type'], 'error')

    def test_AThousandChunksComeToEveryDeviceWhileStatesGoOn(self):
        content = os.urandom(1 << 20) * 192
        path, media_id = self.made(content, 'film.mp4'), new_id()
        computers = [self.connect() for _ in range(3)]
        self.host.await_line('clients', 3)
        self.host.do('media', id=media_id, kind='video', path=path, fileName='film.mp4')
        digests = [hashlib.sha256() for _ in computers]
        assemblies = [MediaAssembly(media_id, digest.update, 10 ** 9) for digest in digests]

        def drain(computer, assembly):
            computer.collect(assembly)
            computer.wait(lambda: assembly.is_complete, 4 * TIMEOUT)
        threads = [threading.Thread(target=drain, args=pair) for pair in zip(computers, assemblies)]
        for thread in threads:
            thread.start()
        for number in range(50):
            self.host.update(snapshot(connectionLabel=str(number)))
        for thread in threads:
            thread.join()
        for computer, assembly, digest in zip(computers, assemblies, digests):
            self.assertEqual((assembly.is_complete, assembly.count), (True, 1024))
            self.assertEqual(digest.digest(), hashlib.sha256(content).digest())
            self.assertTrue(computer.wait(lambda: computer.state and computer.state['connectionLabel'] == '49', TIMEOUT))


if __name__ == '__main__':
    unittest.main()
