"""The end of a desktop's session: a session manager over XSMP, played by the X libraries in a process of its own, because they end the
process where a connection breaks.

As a program it prints its address, then a line for what each program does, and ends the session when it reads "any" or "none": whether a
program may ask its person. With "in vain" nobody may, and the session goes on when the programs have saved what they have."""
import ctypes
import select
import subprocess
import sys
import threading
from ctypes import CFUNCTYPE, POINTER, Structure, c_char_p, c_int, c_ulong, c_void_p

_PENDING = 0  # a state of a connection
_STYLES = {'none': 0, 'any': 2, 'in vain': 0}


class SessionManager:
    """`address` goes into SESSION_MANAGER, `heard` grows with what the programs say. `stop` must be called last."""

    def __init__(self, env):
        self._process = subprocess.Popen([sys.executable, '-B', __file__], env=env, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.address, self.heard = self._process.stdout.readline().strip(), []
        threading.Thread(target=self._listen, daemon=True).start()

    def _listen(self):
        for line in self._process.stdout:
            self.heard.append(line.strip())

    def log_out(self, interaction):
        self._process.stdin.write(interaction + '\n')
        self._process.stdin.flush()

    def stop(self):
        self._process.stdin.close()
        self._process.wait(5)
        self._process.stdout.close()


class _Callback(Structure):
    _fields_ = [('call', c_void_p), ('data', c_void_p)]


# In the order of SmsCallbacks: what they return and take, after the connection and the data.
_KINDS = [('register', c_int, [c_char_p]), ('interact', None, [c_int]), ('interact_done', None, [c_int]),
          ('save_request', None, [c_int] * 5), ('second_phase', None, []), ('saved', None, [c_int]),
          ('close', None, [c_int, c_void_p]), ('set', None, [c_int, c_void_p]), ('delete', None, [c_int, c_void_p]), ('get', None, [])]


class _Manager:
    def __init__(self):
        self.ice, self.sm = ctypes.CDLL('libICE.so.6'), ctypes.CDLL('libSM.so.6')
        for name in ('IceAcceptConnection', 'IceComposeNetworkIdList'):
            getattr(self.ice, name).restype = c_void_p
        self.ice.IceSetIOErrorHandler.restype = c_void_p
        self.sm.SmsGenerateClientID.restype = c_void_p
        self.clients, self.connections, self.is_ending, self.is_in_vain = [], [], False, False
        self._kept = [CFUNCTYPE(result, c_void_p, c_void_p, *takes)(getattr(self, name)) for name, result, takes in _KINDS]
        self._trust = CFUNCTYPE(c_int, c_char_p)(lambda host: 1)
        self._lost = CFUNCTYPE(None, c_void_p)(lambda connection: None)  # the reader of the connection is told as well
        self._new = CFUNCTYPE(c_int, c_void_p, c_void_p, POINTER(c_ulong), POINTER(_Callback), c_void_p)(self.begin)

    def begin(self, _client, _data, mask, callbacks, _reason):
        mask[0] = (1 << len(_KINDS)) - 1
        for index, kept in enumerate(self._kept):
            callbacks[index].call = ctypes.cast(kept, c_void_p)
        return 1

    def register(self, client, _data, previous):
        if previous:
            return 0
        self.sm.SmsRegisterClientReply(c_void_p(client), c_void_p(self.sm.SmsGenerateClientID(c_void_p(client))))
        self.clients.append(client)
        print('registered', flush=True)
        return 1

    def interact(self, client, _data, _kind):
        print('asks', flush=True)
        self.sm.SmsInteract(c_void_p(client))

    def interact_done(self, client, _data, is_cancelled):
        print('cancelled' if is_cancelled else 'asked', flush=True)
        if is_cancelled:
            self.is_ending = False
            self.sm.SmsShutdownCancelled(c_void_p(client))

    def saved(self, client, _data, _success):
        print('saved', flush=True)
        if self.is_in_vain:
            self.sm.SmsShutdownCancelled(c_void_p(client))
        elif self.is_ending:
            self.sm.SmsDie(c_void_p(client))
        else:
            self.sm.SmsSaveComplete(c_void_p(client))

    def close(self, client, _data, _count, _reasons):
        self.clients.remove(client)
        self.sm.SmsCleanUp(c_void_p(client))
        print('closed', flush=True)

    def second_phase(self, client, _data):
        self.sm.SmsSaveYourselfPhase2(c_void_p(client))

    def get(self, client, _data):
        self.sm.SmsReturnProperties(c_void_p(client), 0, None)

    def save_request(self, *_):
        pass

    set = delete = save_request

    def run(self):
        self.ice._IceTransNoListen(b'tcp')
        self.ice.IceSetIOErrorHandler(self._lost)
        self.sm.SmsInitialize(b'tests', b'1', self._new, None, self._trust, 0, None)
        count, listening = c_int(), POINTER(c_void_p)()
        self.ice.IceListenForConnections(ctypes.byref(count), ctypes.byref(listening), 0, None)
        sockets = {}
        for index in range(count.value):
            self.ice.IceSetHostBasedAuthProc(c_void_p(listening[index]), self._trust)
            sockets[self.ice.IceGetListenConnectionNumber(c_void_p(listening[index]))] = listening[index]
        print(ctypes.string_at(self.ice.IceComposeNetworkIdList(count, listening)).decode(), flush=True)
        while True:
            numbers = {self.ice.IceConnectionNumber(c_void_p(one)): one for one in self.connections}
            for number in select.select([sys.stdin, *sockets, *numbers], [], [])[0]:
                if number is sys.stdin:
                    line = sys.stdin.readline()
                    if not line:
                        return
                    self.end_session(line.strip())
                elif number in sockets:
                    self.accept(sockets[number])
                elif self.ice.IceProcessMessages(c_void_p(numbers[number]), None, None):
                    self.connections.remove(numbers[number])

    def accept(self, listening):
        connection = self.ice.IceAcceptConnection(c_void_p(listening), ctypes.byref(c_int()))
        while self.ice.IceConnectionStatus(c_void_p(connection)) == _PENDING:
            self.ice.IceProcessMessages(c_void_p(connection), None, None)
        self.connections.append(connection)

    def end_session(self, way):
        self.is_ending, self.is_in_vain = True, way == 'in vain'
        for client in self.clients:
            self.sm.SmsSaveYourself(c_void_p(client), 2, 1, _STYLES[way], 0)


if __name__ == '__main__':
    _Manager().run()
