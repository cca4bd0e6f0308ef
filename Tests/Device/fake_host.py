"""A computer as a device sees it, for tests of the device alone: it says what a test has told it to, also what no computer should."""
import json
import queue
import socket
import threading
import time
import uuid

from tessarin_device import frames
from tessarin_device.pairing import Pairing, text_from_key

KEY = bytes(range(32))
TIMEOUT = 10


def new_id():
    return str(uuid.uuid4()).upper()


def entry(kind, text, **more):
    return {'id': new_id(), 'kind': kind, 'text': text, 'createdAt': 1.5e9, **more}


def task(title, *entries):
    return {'id': new_id(), 'title': title, 'createdAt': 1.5e9, 'updatedAt': 1.5e9, 'entries': list(entries)}


def creation(prompt, kind='image', name='a.png'):
    return {'id': new_id(), 'kind': kind, 'prompt': prompt, 'fileName': name, 'createdAt': 1.5e9}


def snapshot(tasks=(), creations=(), selected=0, **more):
    """The first task is selected, unless another number or None is."""
    project = {'id': new_id(), 'name': 'aurora', 'path': '/home/ada/aurora', 'threads': list(tasks)}
    state = {'hostName': 'Ada', 'generatedAt': 1.5e9, 'connectionStatus': 'ready', 'connectionLabel': 'Ready', 'workspaces': [project],
             'permissionMode': 'ask', 'permissionModeLabel': 'Ask', 'providerMode': 'automatic', 'providerModeLabel': 'Auto',
             'activeProviderLabel': 'Auto', 'providerUsages': [], 'imagineStatus': 'idle', 'imagineLabel': 'Not connected',
             'imagineItems': list(creations)}
    if tasks and selected is not None:
        state.update(selectedWorkspaceID=project['id'], selectedThreadID=tasks[selected]['id'])
    state.update(more)
    return state


class FakeHost:
    """Listens on loopback. `close` must be called last."""

    def __init__(self, key=KEY):
        self.key = key
        self._listener = socket.create_server(('127.0.0.1', 0))
        self.port = self._listener.getsockname()[1]
        self.received = queue.Queue()
        self._connections = []
        self.greeting = []  # what each connection gets at once
        self.answers = {}  # a type of message to the function of a message that says what is sent back
        self._thread = threading.Thread(target=self._accept, daemon=True)
        self._thread.start()

    @property
    def pairing(self):
        return Pairing('127.0.0.1', self.port, self.key, 'Ada')

    @property
    def link(self):
        return f'tessarin://pair?host=127.0.0.1&port={self.port}&key={text_from_key(self.key)}&name=Ada'

    def frame(self, kind, **fields):
        message = {'version': 1, 'id': new_id(), 'type': kind, **fields}
        return frames.seal(json.dumps(message).encode('utf-8', 'surrogatepass'), self.key)

    def state(self, state):
        return self.frame('snapshot', snapshot=state)

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            self._connections.append(connection)
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        reader = frames.FrameReader(self.key)
        try:
            for frame in list(self.greeting):
                connection.sendall(frame)
            while data := connection.recv(65536):
                reader.feed(data)
                while (message := reader.next()) is not None:
                    message = json.loads(message)
                    self.received.put(message)
                    for frame in self.answers.get(message['type'], lambda _: [])(message):
                        connection.sendall(frame)
        except (OSError, frames.FrameError):
            pass  # as the computer does: the end of that connection
        connection.close()

    def send(self, *sent):
        """To all that are connected."""
        for connection in self._connections:
            try:
                for frame in sent:
                    connection.sendall(frame)
            except OSError:
                pass

    def drop(self):
        """Ends all connections."""
        for connection in self._connections:
            try:
                connection.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
        self._connections.clear()

    def next_message(self, kind=None):
        end = time.monotonic() + TIMEOUT
        while True:
            message = self.received.get(timeout=max(0.01, end - time.monotonic()))
            if kind is None or message['type'] == kind:
                return message

    def close(self):
        try:
            self._listener.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass  # it is closed already
        self._listener.close()
        self.drop()
