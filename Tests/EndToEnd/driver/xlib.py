"""The few calls of Xlib that no command-line program of the packages makes: pictures of a window, and the close button."""
import ctypes

from .errors import UiError

_ERROR_HANDLER = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)
_ALL_PLANES = ctypes.c_ulong(0xFFFFFFFF)
_Z_PIXMAP = 2
_CLIENT_MESSAGE = 33
_SUBSTRUCTURE_MASKS = 1 << 20 | 1 << 19


class _Image(ctypes.Structure):
    _fields_ = [('width', ctypes.c_int), ('height', ctypes.c_int), ('xoffset', ctypes.c_int), ('format', ctypes.c_int),
                ('data', ctypes.c_void_p), ('byte_order', ctypes.c_int), ('bitmap_unit', ctypes.c_int),
                ('bitmap_bit_order', ctypes.c_int), ('bitmap_pad', ctypes.c_int), ('depth', ctypes.c_int),
                ('bytes_per_line', ctypes.c_int), ('bits_per_pixel', ctypes.c_int)]


class _ClientMessage(ctypes.Structure):
    _fields_ = [('type', ctypes.c_int), ('serial', ctypes.c_ulong), ('send_event', ctypes.c_int), ('display', ctypes.c_void_p),
                ('window', ctypes.c_ulong), ('message_type', ctypes.c_ulong), ('format', ctypes.c_int),
                ('data', ctypes.c_long * 5), ('pad', ctypes.c_long * 24)]


@_ERROR_HANDLER
def _ignore_errors(_display, _event):
    # Xlib's own handler ends the process; a window that went away meanwhile shows as a missing result instead.
    return 0


def _library():
    x = ctypes.CDLL('libX11.so.6')
    x.XOpenDisplay.restype = ctypes.c_void_p
    x.XDefaultRootWindow.restype = x.XInternAtom.restype = ctypes.c_ulong
    x.XGetImage.restype = ctypes.POINTER(_Image)
    x.XSetErrorHandler(_ignore_errors)
    return x


class Screen:
    """A connection to one X display. `close` ends it."""

    def __init__(self, name):
        self._x = _library()
        self._display = ctypes.c_void_p(self._x.XOpenDisplay(name.encode()))
        if not self._display:
            raise UiError(f'no connection to the display {name}')

    def close(self):
        self._x.XCloseDisplay(self._display)

    @property
    def root(self):
        return self._x.XDefaultRootWindow(self._display)

    def picture(self, window, x, y, width, height):
        """(width, height, RGB bytes) of a part of the window, in its own places. Requires: the part lies inside it."""
        image = self._x.XGetImage(self._display, ctypes.c_ulong(window), x, y, width, height, _ALL_PLANES, _Z_PIXMAP)
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
            red, green, blue = (2, 1, 0) if header.byte_order == 0 else (1, 2, 3)
            rgb = bytearray(width * height * 3)
            rgb[0::3], rgb[1::3], rgb[2::3] = raw[red::4], raw[green::4], raw[blue::4]
            return width, height, bytes(rgb)
        finally:
            self._x.XFree(ctypes.c_void_p(image.contents.data))
            self._x.XFree(image)

    def ask_to_close(self, window):
        """What the close button of a title bar does."""
        message = _ClientMessage(type=_CLIENT_MESSAGE, window=window, format=32,
                                 message_type=self._x.XInternAtom(self._display, b'_NET_CLOSE_WINDOW', 0))
        message.data[1] = 2  # on behalf of a person
        self._x.XSendEvent(self._display, ctypes.c_ulong(self.root), 0, ctypes.c_long(_SUBSTRUCTURE_MASKS), ctypes.byref(message))
        self._x.XSync(self._display, 0)

    def ask_to_maximise(self, window, wanted=True):
        """What a double click on a title bar does."""
        atom = lambda name: self._x.XInternAtom(self._display, name, 0)
        message = _ClientMessage(type=_CLIENT_MESSAGE, window=window, format=32, message_type=atom(b'_NET_WM_STATE'))
        message.data[0] = 1 if wanted else 0
        message.data[1], message.data[2] = atom(b'_NET_WM_STATE_MAXIMIZED_VERT'), atom(b'_NET_WM_STATE_MAXIMIZED_HORZ')
        message.data[3] = 2  # on behalf of a person
        self._x.XSendEvent(self._display, ctypes.c_ulong(self.root), 0, ctypes.c_long(_SUBSTRUCTURE_MASKS), ctypes.byref(message))
        self._x.XSync(self._display, 0)
