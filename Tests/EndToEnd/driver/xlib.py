"""The calls of Xlib: the windows, their pictures, and what their title bars do."""
import ctypes
import select
import time
from ctypes import c_int, c_long, c_uint, c_ulong, c_void_p

from .errors import UiError
from .xtest import Devices

_ERROR_HANDLER = ctypes.CFUNCTYPE(c_int, c_void_p, c_void_p)
_ALL_PLANES = c_ulong(0xFFFFFFFF)
_Z_PIXMAP = 2
_CLIENT_MESSAGE = 33
_STRUCTURE_NOTIFY = 1 << 17
_SUBSTRUCTURE_MASKS = 1 << 20 | 1 << 19
_VIEWABLE = 2
_LONGEST_PROPERTY = 1 << 16


class _Image(ctypes.Structure):
    _fields_ = [('width', c_int), ('height', c_int), ('xoffset', c_int), ('format', c_int),
                ('data', c_void_p), ('byte_order', c_int), ('bitmap_unit', c_int),
                ('bitmap_bit_order', c_int), ('bitmap_pad', c_int), ('depth', c_int),
                ('bytes_per_line', c_int), ('bits_per_pixel', c_int)]


class _ClientMessage(ctypes.Structure):
    _fields_ = [('type', c_int), ('serial', c_ulong), ('send_event', c_int), ('display', c_void_p),
                ('window', c_ulong), ('message_type', c_ulong), ('format', c_int),
                ('data', c_long * 5), ('pad', c_long * 24)]


class _Attributes(ctypes.Structure):
    _fields_ = [('x', c_int), ('y', c_int), ('width', c_int), ('height', c_int), ('border_width', c_int), ('depth', c_int),
                ('visual', c_void_p), ('root', c_ulong), ('kind', c_int), ('bit_gravity', c_int), ('win_gravity', c_int),
                ('backing_store', c_int), ('backing_planes', c_ulong), ('backing_pixel', c_ulong), ('save_under', c_int),
                ('colormap', c_ulong), ('map_installed', c_int), ('map_state', c_int), ('masks', c_long * 3),
                ('override_redirect', c_int), ('screen', c_void_p)]


@_ERROR_HANDLER
def _ignore_errors(_display, _event):
    # Xlib's own handler ends the process; a window that went away meanwhile shows as a missing result instead.
    return 0


def _library():
    x = ctypes.CDLL('libX11.so.6')
    x.XOpenDisplay.restype = c_void_p
    x.XDefaultRootWindow.restype = x.XInternAtom.restype = x.XGetSelectionOwner.restype = c_ulong
    x.XGetImage.restype = ctypes.POINTER(_Image)
    x.XSetErrorHandler(_ignore_errors)
    return x


class Screen:
    """A connection to one X display, and `devices`, its keyboard and its mouse. `close` ends it."""

    def __init__(self, name):
        self._x = _library()
        self._display = c_void_p(self._x.XOpenDisplay(name.encode()))
        if not self._display:
            raise UiError(f'no connection to the display {name}')
        self.devices, self._pings = Devices(self._x, self._display), 0
        # The answers to pings go to the root window.
        self._x.XSelectInput(self._display, c_ulong(self.root), c_long(_STRUCTURE_NOTIFY))

    def close(self):
        self._x.XCloseDisplay(self._display)

    @property
    def root(self):
        return self._x.XDefaultRootWindow(self._display)

    @property
    def size(self):
        there = self._attributes(self.root)
        return there.width, there.height

    # Windows.
    def _attributes(self, window):
        there = _Attributes()
        return there if self._x.XGetWindowAttributes(self._display, c_ulong(window), ctypes.byref(there)) else None

    def _children(self, window):
        root, parent, children, count = c_ulong(), c_ulong(), ctypes.POINTER(c_ulong)(), c_uint()
        if not self._x.XQueryTree(self._display, c_ulong(window), *map(ctypes.byref, (root, parent, children, count))):
            return []
        try:
            return children[:count.value]
        finally:
            if count.value:
                self._x.XFree(children)

    def _atom(self, name):
        return self._x.XInternAtom(self._display, name, 0)

    def _property(self, window, name):
        """What a property holds: bytes, or a list of numbers; empty where there is none."""
        kind, width, count, more, content = c_ulong(), c_int(), c_ulong(), c_ulong(), c_void_p()
        self._x.XGetWindowProperty(self._display, c_ulong(window), c_ulong(self._atom(name)), c_long(0), c_long(_LONGEST_PROPERTY),
                                   c_int(0), c_ulong(0), *map(ctypes.byref, (kind, width, count, more, content)))
        if not content:
            return b''
        try:
            if width.value == 32:
                return ctypes.cast(content, ctypes.POINTER(c_ulong))[:count.value]
            return ctypes.string_at(content, count.value * width.value // 8)
        finally:
            self._x.XFree(content)

    def title(self, window):
        got = self._property(window, b'_NET_WM_NAME') or self._property(window, b'WM_NAME')
        return got.decode(errors='replace') if isinstance(got, bytes) else ''

    def windows(self):
        """id -> (title, (x, y, width, height)) of all that are on the screen and have a title."""
        out, waiting = {}, self._children(self.root)
        while waiting:
            window = waiting.pop(0)
            there = self._attributes(window)
            if there is None or there.map_state != _VIEWABLE:
                continue
            title, x, y, child = self.title(window), c_int(), c_int(), c_ulong()
            placed = self._x.XTranslateCoordinates(self._display, c_ulong(window), c_ulong(self.root), 0, 0,
                                                   *map(ctypes.byref, (x, y, child)))
            # A window manager keeps windows of its own beyond the edges.
            if title and placed and x.value + there.width > 0 and y.value + there.height > 0:
                out[window] = (title, (x.value, y.value, there.width, there.height))
            waiting += self._children(window)
        return out

    def active(self):
        """The window that has the keys, or None."""
        return next(iter(self._property(self.root, b'_NET_ACTIVE_WINDOW')), 0) or None

    def clipboard_owner(self):
        """The window that has what was copied last, or 0."""
        return self._x.XGetSelectionOwner(self._display, c_ulong(self._atom(b'CLIPBOARD')))

    def has_manager(self):
        return bool(self._property(self.root, b'_NET_NUMBER_OF_DESKTOPS'))

    def await_taken(self, window, timeout=1):
        """Waits until the program of the window has read every event that the display had for it: it answers a ping in its turn. False when
        it does not in time, or has no such window any more."""
        self._pings += 1
        protocols, ping = self._atom(b'WM_PROTOCOLS'), self._atom(b'_NET_WM_PING')
        event = _ClientMessage(type=_CLIENT_MESSAGE, window=window, format=32, message_type=protocols)
        event.data[:3] = ping, self._pings, window
        self._x.XSendEvent(self._display, c_ulong(window), 0, c_long(0), ctypes.byref(event))
        connection, end = self._x.XConnectionNumber(self._display), time.monotonic() + timeout
        while time.monotonic() < end and self._attributes(window):
            while self._x.XPending(self._display):
                self._x.XNextEvent(self._display, ctypes.byref(event))
                if event.type == _CLIENT_MESSAGE and event.message_type == protocols and list(event.data[:2]) == [ping, self._pings]:
                    return True
            select.select([connection], [], [], 0.05)
        return False

    def place(self, window, x, y, width, height):
        """Asks the window manager for it."""
        self._x.XResizeWindow(self._display, c_ulong(window), c_uint(width), c_uint(height))
        self._x.XMoveWindow(self._display, c_ulong(window), c_int(x), c_int(y))
        self._x.XSync(self._display, 0)

    # Pictures.
    def points(self, window, x, y, width, height):
        """Four bytes for each point of a part of the window, in its own places: blue, green, red and one of no meaning, or these turned
        round. Requires: the part lies inside it."""
        image = self._x.XGetImage(self._display, c_ulong(window), x, y, width, height, _ALL_PLANES, _Z_PIXMAP)
        if not image:
            raise UiError(f'no picture of {(x, y, width, height)} of window {window}')
        try:
            header = image.contents
            if header.bits_per_pixel != 32:
                raise UiError(f'unexpected picture: {header.bits_per_pixel} bits per pixel')
            stride = header.bytes_per_line
            raw = ctypes.string_at(header.data, stride * height)
            if stride != width * 4:
                raw = b''.join(raw[row * stride:row * stride + width * 4] for row in range(height))
            return raw, header.byte_order == 0
        finally:
            self._x.XFree(c_void_p(image.contents.data))
            self._x.XFree(image)

    def picture(self, window, x, y, width, height):
        """(width, height, RGB bytes) of that."""
        raw, blue_is_first = self.points(window, x, y, width, height)
        red, green, blue = (2, 1, 0) if blue_is_first else (1, 2, 3)
        rgb = bytearray(width * height * 3)
        rgb[0::3], rgb[1::3], rgb[2::3] = raw[red::4], raw[green::4], raw[blue::4]
        return width, height, bytes(rgb)

    # Title bars.
    def _ask(self, window, message, *data):
        event = _ClientMessage(type=_CLIENT_MESSAGE, window=window, format=32, message_type=self._atom(message))
        event.data[:len(data)] = data
        self._x.XSendEvent(self._display, c_ulong(self.root), 0, c_long(_SUBSTRUCTURE_MASKS), ctypes.byref(event))
        self._x.XSync(self._display, 0)

    def ask_to_close(self, window):
        """What the close button of a title bar does."""
        self._ask(window, b'_NET_CLOSE_WINDOW', 0, 2)  # on behalf of a person

    def ask_to_maximise(self, window, wanted=True):
        """What a double click on a title bar does."""
        both = self._atom(b'_NET_WM_STATE_MAXIMIZED_VERT'), self._atom(b'_NET_WM_STATE_MAXIMIZED_HORZ')
        self._ask(window, b'_NET_WM_STATE', 1 if wanted else 0, *both, 2)  # on behalf of a person
