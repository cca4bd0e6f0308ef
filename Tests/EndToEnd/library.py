"""A media library as it stands on disk, and pictures to put into it."""
import json
import os
import struct
import time
import zlib

from desk import new_id

SINCE_2001 = 978307200


def png(width, height, colour):
    """A picture; `colour(x, y)` with both from 0 to 1 gives red, green and blue from 0 to 255."""
    def chunk(name, body):
        return struct.pack('>I', len(body)) + name + body + struct.pack('>I', zlib.crc32(name + body))
    rows = b''.join(b'\0' + bytes(int(value) for x in range(width) for value in colour(x / width, y / height)) for y in range(height))
    return b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', width, height, 8, 2, 0, 0, 0)) + chunk(b'IDAT', zlib.compress(rows)) \
        + chunk(b'IEND', b'')


def field(red, green, blue):
    """A picture of one colour."""
    return png(6, 4, lambda x, y: (red, green, blue))


class Library:
    """The library of a desk."""

    def __init__(self, desk):
        self.folder = os.path.join(desk.data, 'Imagine')
        self.items = []

    def add(self, prompt, content, age=0, kind='image', extension='png'):
        """A creation so many seconds old, behind the ones before. `content` are the bytes of its file."""
        os.makedirs(self.folder, exist_ok=True)
        name = f'{new_id()}.{extension}'
        path = os.path.join(self.folder, name)
        with open(path, 'wb') as file:
            file.write(content)
        self.items.append({'id': new_id(), 'kind': kind, 'prompt': prompt, 'localPath': path, 'fileName': name,
                           'createdAt': time.time() - SINCE_2001 - age})
        return path

    def write(self):
        with open(os.path.join(self.folder, 'history.json'), 'w') as file:
            json.dump(self.items, file)

    def stored(self):
        """The history as it stands on disk."""
        with open(os.path.join(self.folder, 'history.json')) as file:
            return json.load(file)
