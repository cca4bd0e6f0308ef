"""One accessible object."""
import time

from gi.repository import GLib

from .errors import UiError

INTERFACE = 'org.a11y.atspi.'
PROPERTIES = 'org.freedesktop.DBus.Properties'


class Element:
    """What an accessible object said when it was read, and what can be done with it. Names, roles and states are of that moment
    (`reload` asks again); text, value, place and actions are asked for each time."""
    __slots__ = ('session', 'bus', 'path', 'name', 'role', 'states', 'description', 'interfaces',
                 'depth', 'parent', 'children', 'application_pid')

    def __init__(self, session, bus, path):
        self.session, self.bus, self.path = session, bus, path
        self.name = self.description = ''
        self.role, self.states, self.interfaces = 'unknown', frozenset(), ()
        self.depth, self.parent, self.children, self.application_pid = 0, None, [], None

    def __repr__(self):
        return f'<{self.role} {self.name!r} {self.path.rpartition("/")[2]}>'

    def __eq__(self, other):
        return isinstance(other, Element) and (self.bus, self.path) == (other.bus, other.path)

    def __hash__(self):
        return hash((self.bus, self.path))

    def _call(self, interface, method, args=None, signature=None):
        return self.session.accessibility_call(self.bus, self.path, INTERFACE + interface, method, args, signature)

    def _property(self, interface, name):
        return self.session.accessibility_call(self.bus, self.path, PROPERTIES, 'Get', (INTERFACE + interface, name), '(ss)')[0]

    # Reading.
    def reload(self):
        self.session.load([self])
        return self

    def has(self, *states):
        return all(state in self.states for state in states)

    @property
    def showing(self):
        return 'showing' in self.states

    @property
    def checked(self):
        return 'checked' in self.reload().states

    @property
    def focused(self):
        return 'focused' in self.reload().states

    @property
    def text(self):
        """The content through the Text interface, or None when there is none."""
        if 'Text' not in self.interfaces:
            return None
        return self._plain(self._call('Text', 'GetText', (0, -1), '(ii)')[0])

    @property
    def selection(self):
        """The selected part of the text."""
        if not self._call('Text', 'GetNSelections')[0]:
            return ''
        first, last = self._call('Text', 'GetSelection', (0,), '(i)')
        return self._plain(self._call('Text', 'GetText', (first, last), '(ii)')[0])

    @staticmethod
    def _plain(text):
        # A text document has separators of lines and paragraphs of its own.
        return text.replace('\u2028', '\n').replace('\u2029', '\n')

    @property
    def value(self):
        return self._property('Value', 'CurrentValue') if 'Value' in self.interfaces else None

    @property
    def rect(self):
        """(x, y, width, height) on the screen."""
        return tuple(self._call('Component', 'GetExtents', (0,), '(u)')[0])

    @property
    def actions(self):
        """Names of what can be done, in the order in which DoAction counts them."""
        if 'Action' not in self.interfaces:
            return []
        return [action[0] for action in self._call('Action', 'GetActions')[0]]

    def walk(self):
        yield self
        for child in self.children:
            yield from child.walk()

    # Acting.
    def do(self, action):
        """Runs an action by its name, in any case."""
        names = self.actions
        hits = [index for index, name in enumerate(names) if name.lower() == action.lower()]
        if not hits:
            raise UiError(f'{self!r} has no action {action!r}, only {names}')
        # Qt runs an action by its name: its own entry and the control's handler of the same name are one.
        if not self._call('Action', 'DoAction', (hits[0],), '(i)')[0]:
            raise UiError(f'{self!r} refused action {action}')

    def press(self):
        """Through accessibility: Press, else Toggle, else ShowMenu."""
        names = [name.lower() for name in self.actions]
        for wanted in ('press', 'toggle', 'showmenu'):
            if wanted in names:
                return self.do(wanted)
        raise UiError(f'{self!r} cannot be pressed through accessibility, it offers {names}')

    def point(self, across=0.5, down=0.5):
        """A place on the screen, as fractions of the width and height."""
        x, y, width, height = self.rect
        if width <= 0 or height <= 0:
            raise UiError(f'{self!r} has no extent on the screen: {(x, y, width, height)}')
        return int(x + width * across), int(y + height * down)

    def click(self, button=1, count=1, across=0.5, down=0.5):
        """With the real pointer."""
        self.session.click(*self.point(across, down), button, count)

    def hover(self):
        x, y = self.point()
        self.session.move(x - 3, y - 2)
        time.sleep(0.05)
        self.session.move(x, y)

    def set_value(self, value):
        self.session.accessibility_call(self.bus, self.path, PROPERTIES, 'Set',
                                        (INTERFACE + 'Value', 'CurrentValue', GLib.Variant('d', float(value))), '(ssv)')

    def set_text(self, text):
        """Through the EditableText interface: no key events are produced."""
        if not self._call('EditableText', 'SetTextContents', (text,), '(s)')[0]:
            raise UiError(f'{self!r} refused the text')
