"""A connection to a computer, and what one sees through it."""
import collections
import socket
import time

from . import frames, messages

CONNECT_TIMEOUT = 10
SEND_TIMEOUT = 30
CLOSE_TIMEOUT = 5
REMEMBERED_IDS = 4096


class DeviceError(Exception):
    """A sentence for the person."""


class ConnectionLost(DeviceError):
    """The connection could not be made, or has ended. Trying again may help."""


class NotPaired(DeviceError):
    """The key is not the computer's. Trying again does not help."""


def _reason(error):
    if isinstance(error, socket.gaierror):
        return 'its address is not known here'
    if isinstance(error, TimeoutError):
        return 'it does not answer'
    if isinstance(error, ConnectionRefusedError):
        return 'nobody listens there; is the remote host turned on?'
    return (error.strerror or str(error)).lower()


class Connection:
    """Messages in, messages out. There is no greeting: it is ready at once. `close` must be called last."""

    def __init__(self, pairing, timeout=CONNECT_TIMEOUT):
        self._pairing = pairing
        self._reader = frames.FrameReader(pairing.key)
        self._seen = collections.OrderedDict()
        try:
            self._socket = socket.create_connection((pairing.host, pairing.port), timeout)
        except OSError as error:
            raise ConnectionLost(f'{pairing.name} can\'t be reached at {pairing.address}: {_reason(error)}.') from None
        self._socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self._notice_a_dead_line()

    def _notice_a_dead_line(self):
        """The computer says nothing while nothing changes, so only the system can tell silence from a line that is gone."""
        self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_KEEPALIVE, 1)
        for name, value in (('TCP_KEEPIDLE', 60), ('TCP_KEEPINTVL', 15), ('TCP_KEEPCNT', 4)):
            if hasattr(socket, name):
                self._socket.setsockopt(socket.IPPROTO_TCP, getattr(socket, name), value)

    def _lost(self, error=None):
        return ConnectionLost(f'The connection to {self._pairing.name} is lost' + (f': {_reason(error)}.' if error else '.'))

    def send(self, kind, **fields):
        self.send_bytes(frames.seal(messages.command(kind, **fields), self._pairing.key))

    def send_bytes(self, data):
        """As they are; for tests."""
        try:
            self._socket.settimeout(SEND_TIMEOUT)
            self._socket.sendall(data)
        except OSError as error:
            raise self._lost(error) from None

    def receive(self, timeout=None):
        """The next message of this version that has not come before on this connection. None when nothing at all came for so many
        seconds: a large message on a slow line takes its time."""
        while True:
            message = self._next()
            if message is not None:
                return message
            try:
                self._socket.settimeout(None if timeout is None else max(timeout, 1e-6))
                data = self._socket.recv(65536)
            except TimeoutError:
                return None
            except OSError as error:
                raise self._lost(error) from None
            if not data:
                raise self._lost()
            self._reader.feed(data)

    def _next(self):
        while True:
            try:
                plaintext = self._reader.next()
                message = None if plaintext is None else messages.read(plaintext)
            except frames.WrongKey:
                raise NotPaired(f'{self._pairing.name} has another key than this device. Pair again.') from None
            except (frames.FrameError, messages.MessageError) as error:
                raise DeviceError(f'{self._pairing.name} says what this device does not understand: {error}') from None
            if plaintext is None:
                return None
            if message is not None and self._is_new(message['id']):
                return message

    def _is_new(self, number):
        if number in self._seen:
            return False
        self._seen[number] = True
        if len(self._seen) > REMEMBERED_IDS:
            self._seen.popitem(last=False)
        return True

    def close(self):
        """What was sent still arrives: a line that is cut while something unread waits in it loses what is under way."""
        try:
            self._socket.shutdown(socket.SHUT_WR)
            end = time.monotonic() + CLOSE_TIMEOUT
            while time.monotonic() < end:
                self._socket.settimeout(max(end - time.monotonic(), 1e-6))
                if not self._socket.recv(65536):
                    break
        except OSError:
            pass  # it was gone already
        self._socket.close()


class Computer:
    """The computer as this device sees it: its latest state, and the texts with which it has refused something."""

    def __init__(self, pairing):
        self.connection = Connection(pairing)
        self.state = None
        self.refusals = []
        self._assemblies = []

    def close(self):
        self.connection.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def send(self, kind, **fields):
        self.connection.send(kind, **fields)

    def collect(self, assembly):
        """Gives each chunk that comes from now on to it."""
        self._assemblies.append(assembly)

    def step(self, timeout=None):
        """Takes the next message; None when none came in time."""
        message = self.connection.receive(timeout)
        if message is None:
            return None
        if message['type'] == 'snapshot' and message.get('snapshot') is not None:
            self.state = message['snapshot']
        elif message['type'] == 'error':
            self.refusals.append(message.get('text') or 'The computer has refused it.')
        for assembly in self._assemblies:
            assembly.take(message)
        return message

    def wait(self, is_reached, timeout):
        """Takes messages until it is so; whether it came so in time. Is asked before the first message too."""
        end = time.monotonic() + timeout
        while not is_reached():
            left = end - time.monotonic()
            if left <= 0 or self.step(left) is None:
                return False
        return True

    def greet(self, timeout=CONNECT_TIMEOUT):
        """Waits for a state. The computer sends its latest one at once, and a fresh one when asked."""
        try:
            self.send('hello')
            is_told = self.wait(lambda: self.state is not None, timeout)
        except ConnectionLost:
            raise ConnectionLost('The computer hangs up at once. Has its key been replaced? Then pair again.') from None
        if not is_told:
            raise DeviceError('The computer is there, but does not say what it is doing. Its history may be too large to be sent.')
        return self.state

    # The state, as one looks things up in it.
    def tasks(self):
        return [(project, task) for project in self.state['workspaces'] for task in project['threads']]

    def selected(self):
        """The project and the task that the window shows; (None, None) without."""
        wanted = self.state.get('selectedThreadID')
        return next(((project, task) for project, task in self.tasks() if task['id'] == wanted), (None, None))

    def is_busy(self):
        return self.state['connectionStatus'] in ('connecting', 'working')

    def is_imagining(self):
        return self.state['imagineStatus'] in ('connecting', 'working')
