"""Pictures of what is to be seen."""
import struct
import sys
import time
import zlib

from .element import Element
from .errors import UiError


def write_png(file, width, height, rgb):
    def chunk(tag, body):
        return struct.pack('>I', len(body)) + tag + body + struct.pack('>I', zlib.crc32(tag + body))
    lines = b''.join(b'\0' + rgb[row * width * 3:(row + 1) * width * 3] for row in range(height))
    with open(file, 'wb') as out:
        out.write(b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', width, height, 8, 2, 0, 0, 0)) +
                  chunk(b'IDAT', zlib.compress(lines, 1)) + chunk(b'IEND', b''))


class Pictures:
    """Part of a session; `self.screen` is the connection to the display."""

    def image(self, of=None, window=None):
        """(width, height, RGB) of the whole screen, of an Element, or of an X window by its id. A window is asked for its own
        picture, since on some desktops the screen as a whole has none."""
        if window is not None:
            _, (_, _, width, height) = self.xwindows()[window]
            return self.screen.picture(window, 0, 0, width, height)
        return self.screen.picture(self.screen.root, *self._part(of))

    def _part(self, of):
        """(x, y, width, height) of what is on the screen of it."""
        width, height = self.screen_size()
        if of is None:
            return 0, 0, width, height
        x, y, across, down = of.rect if isinstance(of, Element) else of
        left, top, right, bottom = max(0, x), max(0, y), min(width, x + across), min(height, y + down)
        if right <= left or bottom <= top:
            raise UiError(f'nothing of {of!r} is on the screen')
        return left, top, right - left, bottom - top

    def screen_size(self):
        return self.screen.size

    def shot(self, file, of=None, window=None):
        """A PNG file of that."""
        write_png(file, *self.image(of, window))
        return file

    def colours(self, of=None):
        """How many different colours are to be seen: 1 means blank."""
        points, blue_is_first = self.screen.points(self.screen.root, *self._part(of))
        meaning = 0xFFFFFF if blue_is_first == (sys.byteorder == 'little') else 0xFFFFFF00
        return len({point & meaning for point in set(memoryview(points).cast('I'))})

    def brightness(self, of=None):
        """The mean of all samples, 0 to 255."""
        _, _, rgb = self.image(of)
        return sum(rgb) / len(rgb)

    def still(self, of=None, timeout=5, every=0.15):
        """Waits until two pictures in a row are the same: animations are over. False when that never comes."""
        last, end = None, time.monotonic() + timeout
        while time.monotonic() < end:
            part = self._part(of)
            now = part, self.screen.points(self.screen.root, *part)
            if now == last:
                return True
            last = now
            time.sleep(every)
        return False
