"""Media: a file comes in numbered chunks, among those that other devices have asked for."""
import base64
import binascii
import os
import re

CHUNK_SIZE = 192 * 1024
HARMLESS_NAME = re.compile(r'[\w() +,@-][\w() +,.@-]{0,150}')


class MediaError(Exception):
    """A sentence for the person."""


def size_text(size):
    return f'{size / 1e9:.1f} GB' if size >= 1e9 else f'{size / 1e6:.1f} MB' if size >= 1e5 else f'{size / 1e3:.1f} kB'


def file_name(told, media_id):
    """A name that stays in its folder and is no option, whatever the computer says."""
    name = told.replace('\\', '/').rsplit('/', 1)[-1]
    return name if HARMLESS_NAME.fullmatch(name) and not name.startswith(('-', ' ')) else re.sub(r'[^0-9A-Za-z-]', '', media_id)[:36] or 'media'


class MediaAssembly:
    """Takes the chunks of one item out of all messages. `write` gets the bytes, in order, each once.

    Chunks come in order, but those of a file that another device has asked for too come more than once, and the first ones of it may
    have come before this device connected: what was taken already and what is too early is passed over.
    """

    def __init__(self, media_id, write, limit):
        self.media_id = media_id
        self.file_name = None
        self.mime_type = None
        self.size = 0
        self.count = None
        self.taken = 0
        self._write = write
        self._limit = limit

    @property
    def is_complete(self):
        return self.count is not None and self.taken == self.count

    def take(self, message):
        """Whether the message was the next chunk of it."""
        if message['type'] != 'media_chunk' or message.get('mediaID') != self.media_id or self.is_complete:
            return False
        index, count = message.get('chunkIndex'), message.get('chunkCount')
        if index is None or count is None or message.get('data') is None or not 0 <= index < count:
            raise MediaError('The computer has sent a chunk without a number or data.')
        if index != self.taken:
            return False
        if self.count is None:
            self._begin(message, count)
        elif count != self.count:
            raise MediaError('The file has changed on the computer meanwhile.')
        self._append(message['data'])
        return True

    def _begin(self, message, count):
        if (count - 1) * CHUNK_SIZE >= self._limit:
            raise MediaError(f'The file has more than {size_text(self._limit)}. Allow that with --limit.')
        self.count = count
        self.file_name = message.get('fileName') or ''
        self.mime_type = message.get('mimeType') or ''

    def _append(self, text):
        try:
            data = base64.b64decode(text, validate=True)
        except (binascii.Error, ValueError):
            raise MediaError('The computer has sent data that is no Base64.') from None
        is_last = self.taken == self.count - 1
        if len(data) > CHUNK_SIZE or (not is_last and len(data) != CHUNK_SIZE) or (is_last and self.taken and not data):
            raise MediaError('The computer has sent a chunk of a wrong size.')
        if self.size + len(data) > self._limit:
            raise MediaError(f'The file has more than {size_text(self._limit)}. Allow that with --limit.')
        self._write(data)
        self.size += len(data)
        self.taken += 1


class PartialFile:
    """A file that has its name only once it is whole, and never takes the place of another."""

    def __init__(self, folder):
        self._path = os.path.join(folder, f'.tessarin-device-{os.getpid()}.part')
        self._file = open(os.open(self._path, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_NOFOLLOW, 0o600), 'wb')
        self._is_finished = False

    def write(self, data):
        self._file.write(data)

    def finish(self, path):
        self._file.flush()
        os.fsync(self._file.fileno())
        try:
            os.close(os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o600))  # the name is ours now
        except FileExistsError:
            raise MediaError(f'{path} exists already. Choose another name with --output.') from None
        os.replace(self._path, path)
        self._is_finished = True

    def close(self):
        """Must be called last. What has not been finished is gone."""
        self._file.close()
        if not self._is_finished:
            os.unlink(self._path)
