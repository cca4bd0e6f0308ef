"""A connection to a message bus on which many questions are asked at once. One look at a window is some thousand of them, and the bindings
for every purpose take several times as long for each."""
import functools
import os
import re
import socket
import struct
import sys
import time
from urllib.parse import unquote_to_bytes

from .errors import UiError

_ORDER = '<' if sys.byteorder == 'little' else '>'
_HEAD = struct.Struct(_ORDER + 'BBBBIII')
_WORD = struct.Struct(_ORDER + 'I')
_FIXED = {'y': struct.Struct('B'), 'b': _WORD, 'i': struct.Struct(_ORDER + 'i'), 'u': _WORD, 'n': struct.Struct(_ORDER + 'h'),
          'q': struct.Struct(_ORDER + 'H'), 'x': struct.Struct(_ORDER + 'q'), 't': struct.Struct(_ORDER + 'Q'),
          'd': struct.Struct(_ORDER + 'd')}
_CALL, _ANSWER, _ERROR = 1, 2, 3
_NO_AUTO_START = 2
_PATH, _INTERFACE, _MEMBER, _REPLY_TO, _DESTINATION, _SIGNATURE = 1, 2, 3, 5, 6, 8
_AT_ONCE = 2000  # a bus holds a limited number of calls that wait for an answer


def _padded(content, to=8):
    return content + bytes(-len(content) % to)


def _text_field(code, kind, text):
    encoded = text.encode()
    return bytes((code, 1, ord(kind), 0)) + _WORD.pack(len(encoded)) + encoded + b'\0'


@functools.lru_cache(None)
def _fields_but_the_path(bus, interface, member, signature):
    fields = _padded(_text_field(_DESTINATION, 's', bus)) + _padded(_text_field(_INTERFACE, 's', interface))
    fields += _text_field(_MEMBER, 's', member)
    if signature:
        fields = _padded(fields) + bytes((_SIGNATURE, 1, ord('g'), 0, len(signature))) + signature.encode() + b'\0'
    return fields


@functools.lru_cache(None)
def _body(signature, values):
    content = b''
    for kind, value in zip(signature, values):
        if kind == 's':
            encoded = value.encode()
            content = _padded(content, 4) + _WORD.pack(len(encoded)) + encoded + b'\0'
        else:
            content = _padded(content, _FIXED[kind].size) + _FIXED[kind].pack(value)
    return content


def _call(serial, bus, path, interface, member, signature='', values=()):
    body = _body(signature, values)
    fields = _padded(_text_field(_PATH, 'o', path)) + _fields_but_the_path(bus, interface, member, signature)
    return _padded(_HEAD.pack(ord('l' if _ORDER == '<' else 'B'), _CALL, _NO_AUTO_START, 1, len(body), serial, len(fields)) + fields) + body


class _Reader:
    """Takes values out of a message, by their signature."""

    def __init__(self, data, at=0):
        self.data, self.at = data, at

    def _align(self, to):
        self.at += -self.at % to

    def _number(self, form):
        self._align(form.size)
        value, = form.unpack_from(self.data, self.at)
        self.at += form.size
        return value

    def values(self, signature):
        out, rest = [], signature
        while rest:
            value, rest = self._value(rest)
            out.append(value)
        return tuple(out)

    def _value(self, signature):
        """One value, and what is left of the signature."""
        kind, rest = signature[0], signature[1:]
        if kind in _FIXED:
            return self._number(_FIXED[kind]), rest
        if kind in 'sog':
            length = self._number(_FIXED['y'] if kind == 'g' else _WORD)
            text = bytes(self.data[self.at:self.at + length]).decode(errors='replace')
            self.at += length + 1
            return text, rest
        if kind == 'v':
            return self._value(self._value('g')[0])[0], rest
        if kind == '(':
            inside = self._inside(rest)
            self._align(8)
            return self.values(inside), rest[len(inside) + 1:]
        if kind == 'a':
            return self._array(rest)
        raise UiError(f'an answer of the kind {signature!r}')

    @staticmethod
    def _inside(rest):
        depth = 1
        for at, letter in enumerate(rest):
            depth += (letter == '(') - (letter == ')')
            if not depth:
                return rest[:at]
        raise UiError(f'an answer of the kind ({rest!r}')

    def _array(self, signature):
        length = self._number(_WORD)
        self._align(8 if signature[0] in '(xtd' else 1)
        out, end = [], self.at + length
        if not length:
            inside = '(' + self._inside(signature[1:]) + ')' if signature[0] == '(' else signature[0]
            return out, signature[len(inside):]
        while self.at < end:
            value, rest = self._value(signature)
            out.append(value)
        return out, rest


class Questions:
    """`ask` sends calls that take numbers and texts, and gives what came back. `close` must be called last."""

    def __init__(self, address, timeout=5):
        self._timeout, self._serial, self._held = timeout, 0, bytearray()
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._socket.settimeout(timeout)
        self._socket.connect(self._place(address))
        self._socket.sendall(b'\0AUTH EXTERNAL ' + str(os.getuid()).encode().hex().encode() + b'\r\n')
        answer = self._socket.recv(4096)
        if not answer.startswith(b'OK'):
            raise UiError(f'the bus does not let us in: {answer!r}')
        self._socket.sendall(b'BEGIN\r\n')
        self.ask([('org.freedesktop.DBus', '/org/freedesktop/DBus', 'org.freedesktop.DBus', 'Hello')])

    @staticmethod
    def _place(address):
        found = re.search(r'unix:(?:[^;]*,)?(path|abstract)=([^,;]*)', address)
        if not found:
            raise UiError(f'a bus at {address} cannot be reached')
        return (b'\0' if found[1] == 'abstract' else b'') + unquote_to_bytes(found[2])

    def close(self):
        self._socket.close()

    def ask(self, calls):
        """The answers to all calls in their order, each call (bus, path, interface, member[, signature, values]). None stands for a
        failure, and for an answer that did not come in time."""
        answers = []
        for first in range(0, len(calls), _AT_ONCE):
            answers += self._ask(calls[first:first + _AT_ONCE])
        return answers

    def _ask(self, calls):
        first, answers, left = self._serial + 1, [None] * len(calls), len(calls)
        self._serial += len(calls)
        try:
            self._socket.sendall(b''.join(_call(first + index, *call) for index, call in enumerate(calls)))
            end = time.monotonic() + self._timeout
            while left > 0 and time.monotonic() < end:
                for serial, answer in self._messages():
                    if 0 <= serial - first < len(calls):  # else it is one that came too late
                        answers[serial - first] = answer
                        left -= 1
        except OSError:
            pass  # the bus has ended, and with it everybody who could have answered
        return answers

    def _messages(self):
        """What is there now, as (serial of the call, values)."""
        got = self._socket.recv(1 << 18)
        if not got:
            raise ConnectionError('the bus has ended')
        self._held += got
        held, at, out = self._held, 0, []
        while len(held) - at >= _HEAD.size:
            _, kind, _, _, size, _, fields = _HEAD.unpack_from(held, at)
            body = at + (_HEAD.size + fields + 7 & ~7)
            if len(held) < body + size:
                break
            if kind in (_ANSWER, _ERROR):
                serial, signature = self._addressed(held, at + _HEAD.size, at + _HEAD.size + fields)
                # Every message begins at a multiple of eight of its own.
                out.append((serial, _Reader(memoryview(held)[body:body + size]).values(signature) if kind == _ANSWER else None))
            at = body + size
        self._held = held[at:]
        return out

    @staticmethod
    def _addressed(held, at, end):
        """The call that a message answers, and the signature of what it says."""
        serial, signature, begin = 0, '', at
        while at < end:
            code, kind = held[at], held[at + 2]
            at += 4
            if kind == ord('g'):
                length = held[at]
                if code == _SIGNATURE:
                    signature = held[at + 1:at + 1 + length].decode()
                at += length + 2
            elif kind == ord('u'):
                if code == _REPLY_TO:
                    serial, = _WORD.unpack_from(held, at)
                at += 4
            else:
                at += _WORD.unpack_from(held, at)[0] + 5
            at += -(at - begin) % 8
        return serial, signature
