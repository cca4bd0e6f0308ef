"""Pairing: the link that a computer shows, and the file in which a device keeps it. Both are secrets: whoever has one is paired."""
import base64
import json
import os
import re
import stat
import tempfile
from typing import NamedTuple
from urllib.parse import unquote

SCHEME = 'tessarin://pair?'
KEY_TEXT = re.compile(r'[A-Za-z0-9_-]{43}')
PORT_TEXT = re.compile(r'[0-9]{1,5}')


class PairingError(Exception):
    """A sentence for the person. It never holds the key."""


class Pairing(NamedTuple):
    host: str
    port: int
    key: bytes
    name: str

    def __repr__(self):
        return f'Pairing({self.host}:{self.port}, {self.name})'  # without the key

    @property
    def address(self):
        return f'[{self.host}]:{self.port}' if ':' in self.host else f'{self.host}:{self.port}'


def key_from_text(text):
    """The 32 bytes in Base64 with the letters - and _, without padding; None for anything else."""
    if not KEY_TEXT.fullmatch(text):
        return None
    return base64.urlsafe_b64decode(text + '=')


def text_from_key(key):
    return base64.urlsafe_b64encode(key).decode('ascii').rstrip('=')


def _values(query):
    """A plus sign is a plus sign here: only forms of web pages take it for a blank."""
    values = {}
    for item in query.split('&'):
        name, _, value = item.partition('=')
        if name in values:
            raise PairingError(f'The link names "{name}" twice.' if name.isalnum() else 'The link is damaged.')
        try:
            values[name] = unquote(value, errors='strict')
        except UnicodeDecodeError:
            raise PairingError('The link is damaged.') from None
    return values


def pairing_from_link(link):
    link = link.strip()
    if link[:len(SCHEME)].lower() != SCHEME:
        raise PairingError(f'This is no pairing link: one begins with "{SCHEME}".')
    values = _values(link[len(SCHEME):])
    missing = [name for name in ('host', 'port', 'key', 'name') if not values.get(name)]
    if missing:
        raise PairingError(f'The link has no {missing[0]}. Copy the whole link.')
    if not PORT_TEXT.fullmatch(values['port']) or not 1 <= int(values['port']) <= 65535:
        raise PairingError('The port of the link is no port.')
    key = key_from_text(values['key'])
    if key is None:
        raise PairingError('The key of the link is damaged. Copy the whole link.')
    host = values['host']
    host = host[1:-1] if host.startswith('[') and host.endswith(']') else host
    if not host or any(character.isspace() or not character.isprintable() for character in host):
        raise PairingError('The address of the link is none.')
    return Pairing(host, int(values['port']), key, values['name'])


def default_path():
    folder = os.environ.get('XDG_CONFIG_HOME') or os.path.join(os.path.expanduser('~'), '.config')
    return os.path.join(folder, 'tessarin-device', 'pairing.json')


def save(pairing, path):
    """Replaces the file whole. Nobody but this account can read it, at no moment."""
    folder = os.path.dirname(path)
    os.makedirs(folder, mode=0o700, exist_ok=True)
    values = {'host': pairing.host, 'port': pairing.port, 'key': text_from_key(pairing.key), 'name': pairing.name}
    descriptor, temporary = tempfile.mkstemp(dir=folder)  # mode 0600
    try:
        with os.fdopen(descriptor, 'w', encoding='utf-8') as file:
            json.dump(values, file)
            file.flush()
            os.fsync(file.fileno())
        os.replace(temporary, path)
    except BaseException:
        os.unlink(temporary)
        raise


def load(path):
    try:
        with open(path, encoding='utf-8') as file:
            if stat.S_IMODE(os.fstat(file.fileno()).st_mode) & 0o077:
                raise PairingError(f'Others on this computer can read {path}. Make it private (chmod 600), or pair again with a new key.')
            values = json.load(file)
        key = key_from_text(values['key'])
        if key is None or not isinstance(values['host'], str) or not isinstance(values['port'], int):
            raise ValueError
        return Pairing(values['host'], values['port'], key, str(values['name']))
    except FileNotFoundError:
        raise PairingError('This device is not paired yet. Copy the link from the settings of tessarin and run: tessarin-device pair') from None
    except OSError as error:
        raise PairingError(f'{path} can\'t be read: {error.strerror}.') from None
    except (ValueError, KeyError, TypeError):
        raise PairingError(f'{path} is damaged. Pair again.') from None


def forget(path):
    """Whether there was something to forget."""
    try:
        os.unlink(path)
        return True
    except FileNotFoundError:
        return False
