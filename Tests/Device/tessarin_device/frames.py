"""Frames: all that travels on a connection, in both directions, one behind the other.

    4 bytes   how many bytes follow, big-endian; the only bytes that are not encrypted
    12 bytes  nonce, random and new for each frame
    n bytes   the message, AES-256 in Galois/Counter Mode, no associated data
    16 bytes  tag
"""
import os
import struct

try:
    from Cryptodome.Cipher import AES  # as Debian names it
except ImportError:
    from Crypto.Cipher import AES  # as the Python package index names it

KEY_SIZE = 32
LENGTH_SIZE = 4
NONCE_SIZE = 12
TAG_SIZE = 16
LEAST_PAYLOAD = NONCE_SIZE + TAG_SIZE
GREATEST_PAYLOAD = 16 * 1024 * 1024


class FrameError(Exception):
    """The bytes are no frame."""


class WrongKey(FrameError):
    """The frame was sealed with another key, or altered on its way."""


def seal(message, key, nonce=None):
    """The frame of these bytes. The nonce is given by tests only: with one key, none may come twice."""
    if len(key) != KEY_SIZE:
        raise FrameError(f'A key has {KEY_SIZE} bytes, not {len(key)}.')
    if len(message) + LEAST_PAYLOAD > GREATEST_PAYLOAD:
        raise FrameError('The message is too large for a frame.')
    nonce = os.urandom(NONCE_SIZE) if nonce is None else nonce
    encrypted, tag = AES.new(key, AES.MODE_GCM, nonce=nonce, mac_len=TAG_SIZE).encrypt_and_digest(message)
    return struct.pack('>I', LEAST_PAYLOAD + len(message)) + nonce + encrypted + tag


def unseal(payload, key):
    """The message in what follows the length of a frame."""
    if len(key) != KEY_SIZE:
        raise FrameError(f'A key has {KEY_SIZE} bytes, not {len(key)}.')
    if not LEAST_PAYLOAD <= len(payload) <= GREATEST_PAYLOAD:
        raise FrameError('The frame has an impossible length.')
    nonce, encrypted, tag = payload[:NONCE_SIZE], payload[NONCE_SIZE:-TAG_SIZE], payload[-TAG_SIZE:]
    try:
        return AES.new(key, AES.MODE_GCM, nonce=nonce, mac_len=TAG_SIZE).decrypt_and_verify(encrypted, tag)
    except ValueError:
        raise WrongKey('The frame does not open with this key.') from None


class FrameReader:
    """Cuts a stream of bytes into frames. An impossible length is found before any of its bytes are waited for."""

    def __init__(self, key):
        self._key = key
        self._buffer = bytearray()

    def feed(self, data):
        self._buffer += data

    def next(self):
        """The next whole message; None while there is none."""
        if len(self._buffer) < LENGTH_SIZE:
            return None
        length, = struct.unpack_from('>I', self._buffer)
        if not LEAST_PAYLOAD <= length <= GREATEST_PAYLOAD:
            raise FrameError('The frame has an impossible length.')
        end = LENGTH_SIZE + length
        if len(self._buffer) < end:
            return None
        payload = bytes(self._buffer[LENGTH_SIZE:end])
        del self._buffer[:end]
        return unseal(payload, self._key)
