"""Real key and pointer events (the extension XTest), as they come from a keyboard and a mouse."""
import ctypes
from ctypes import c_int, c_uint, c_ulong

from .errors import UiError

_CORE_KEYBOARD = 0x100
_SHIFT = b'Shift_L'
_MODIFIERS = {'ctrl': b'Control_L', 'shift': _SHIFT, 'alt': b'Alt_L', 'super': b'Super_L'}


class Devices:
    """The keyboard and the mouse of a display; the display has taken each event when a call returns."""

    def __init__(self, x, display):
        self._x, self._display = x, display
        self._test = ctypes.CDLL('libXtst.so.6')
        x.XStringToKeysym.restype = x.XkbKeycodeToKeysym.restype = c_ulong
        self._keys = None

    def _places(self):
        """keysym -> (keycode, whether Shift belongs to it), on the layout that is in use."""
        if self._keys is None:
            lowest, highest, state, self._keys = c_int(), c_int(), (ctypes.c_ubyte * 32)(), {}
            self._x.XDisplayKeycodes(self._display, ctypes.byref(lowest), ctypes.byref(highest))
            self._x.XkbGetState(self._display, c_uint(_CORE_KEYBOARD), ctypes.byref(state))
            for level in (0, 1):
                for code in range(lowest.value, highest.value + 1):
                    symbol = self._x.XkbKeycodeToKeysym(self._display, ctypes.c_ubyte(code), c_int(state[0]), c_int(level))
                    self._keys.setdefault(symbol, (code, level == 1))
        return self._keys

    def has(self, letter):
        """Whether a key makes that character of ASCII."""
        return ord(letter) in self._places()

    def _place(self, name):
        # The keysym of a character of ASCII is its code.
        symbol = ord(name) if len(name) == 1 else self._x.XStringToKeysym(name if isinstance(name, bytes) else name.encode())
        if symbol not in self._places():
            raise UiError(f'the keyboard has no key {name!r}')
        return self._places()[symbol]

    def _turn(self, code, is_down):
        self._test.XTestFakeKeyEvent(self._display, c_uint(code), c_int(is_down), c_ulong(0))

    def key(self, name, modifiers=()):
        """Presses a key, by its character or by the name that X has for it, while the modifiers are held down."""
        code, is_shifted = self._place(name)
        names = [_MODIFIERS[modifier] for modifier in modifiers]
        held = [self._place(one)[0] for one in names + ([_SHIFT] if is_shifted and _SHIFT not in names else [])]
        for one in held + [code]:
            self._turn(one, True)
        for one in [code] + held[::-1]:
            self._turn(one, False)
        self._sync()

    def pointer(self):
        """(x, y) on the screen."""
        root, child, mask = c_ulong(), c_ulong(), c_uint()
        x, y, inside_x, inside_y = c_int(), c_int(), c_int(), c_int()
        self._x.XQueryPointer(self._display, c_ulong(self._x.XDefaultRootWindow(self._display)),
                              *map(ctypes.byref, (root, child, x, y, inside_x, inside_y, mask)))
        return x.value, y.value

    def move(self, x, y):
        self._test.XTestFakeMotionEvent(self._display, c_int(-1), c_int(x), c_int(y), c_ulong(0))
        self._sync()

    def button(self, number, is_down):
        self._test.XTestFakeButtonEvent(self._display, c_uint(number), c_int(is_down), c_ulong(0))
        self._sync()

    def _sync(self):
        self._x.XSync(self._display, c_int(0))
