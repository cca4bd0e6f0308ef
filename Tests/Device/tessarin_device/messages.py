"""Messages: one JSON object a frame. What comes from the computer is checked whole before anything of it is used."""
import json
import math
import uuid

VERSION = 1


class MessageError(Exception):
    """The bytes are no message."""


def command(kind, **fields):
    """A message to the computer, with an id of its own. Fields that are None are left out."""
    message = {'version': VERSION, 'id': str(uuid.uuid4()).upper(), 'type': kind}
    message.update({name: value for name, value in fields.items() if value is not None})
    return json.dumps(message, ensure_ascii=False).encode('utf-8', 'replace')


# What a value must be: each check raises MessageError with the path to what is wrong.

def _text(value, path):
    if not isinstance(value, str):
        raise MessageError(f'{path} is no text')


def _integer(value, path):
    if not isinstance(value, int) or isinstance(value, bool):
        raise MessageError(f'{path} is no integer')


def _number(value, path):
    if isinstance(value, bool) or not isinstance(value, (int, float)) or not math.isfinite(value):
        raise MessageError(f'{path} is no number')


def _boolean(value, path):
    if not isinstance(value, bool):
        raise MessageError(f'{path} is neither true nor false')


def _list_of(check):
    def checked(value, path):
        if not isinstance(value, list):
            raise MessageError(f'{path} is no list')
        for place, element in enumerate(value):
            check(element, f'{path}[{place}]')
    return checked


def _record(required, optional=None):
    """An object; keys that nobody knows are passed over, null is the same as absent."""
    def checked(value, path):
        if not isinstance(value, dict):
            raise MessageError(f'{path} is no object')
        for name, check in required.items():
            if value.get(name) is None:
                raise MessageError(f'{path}.{name} is missing')
            check(value[name], f'{path}.{name}')
        for name, check in (optional or {}).items():
            if value.get(name) is not None:
                check(value[name], f'{path}.{name}')
    return checked


ENTRY = _record({'id': _text, 'kind': _text, 'text': _text, 'createdAt': _number}, {'title': _text, 'status': _text, 'provider': _text})
TASK = _record({'id': _text, 'title': _text, 'createdAt': _number, 'updatedAt': _number, 'entries': _list_of(ENTRY)}, {'sessionID': _text})
PROJECT = _record({'id': _text, 'name': _text, 'path': _text, 'threads': _list_of(TASK)})
OPTION = _record({'id': _text, 'name': _text, 'kind': _text})
PERMISSION = _record({'requestID': _integer, 'title': _text, 'detail': _text, 'options': _list_of(OPTION)})
USAGE = _record({'provider': _text, 'label': _text, 'exhausted': _boolean},
                {'primaryUsedPercent': _number, 'secondaryUsedPercent': _number, 'resetsAt': _number})
CREATION = _record({'id': _text, 'kind': _text, 'prompt': _text, 'fileName': _text, 'createdAt': _number})
SNAPSHOT = _record(
    {'hostName': _text, 'generatedAt': _number, 'connectionStatus': _text, 'connectionLabel': _text, 'workspaces': _list_of(PROJECT),
     'permissionMode': _text, 'permissionModeLabel': _text, 'providerMode': _text, 'providerModeLabel': _text, 'activeProviderLabel': _text,
     'providerUsages': _list_of(USAGE), 'imagineStatus': _text, 'imagineLabel': _text, 'imagineItems': _list_of(CREATION)},
    {'selectedWorkspaceID': _text, 'selectedThreadID': _text, 'permission': PERMISSION, 'activeProvider': _text})
ENVELOPE = _record(
    {'version': _integer, 'id': _text, 'type': _text},
    {'text': _text, 'mediaID': _text, 'mediaKind': _text, 'mimeType': _text, 'fileName': _text, 'chunkIndex': _integer,
     'chunkCount': _integer, 'data': _text, 'snapshot': SNAPSHOT})


def _no_constant(name):
    raise MessageError(f'{name} is no JSON')


def read(json_bytes):
    """The message as a dictionary of checked fields; None for one of another version of the protocol."""
    try:
        message = json.loads(json_bytes.decode('utf-8'), parse_constant=_no_constant)
    except (ValueError, RecursionError) as error:
        raise MessageError(f'no JSON: {error}') from None
    if isinstance(message, dict) and message.get('version') != VERSION:
        _integer(message.get('version'), 'message.version')
        return None
    ENVELOPE(message, 'message')
    return message
