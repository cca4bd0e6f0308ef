"""One accessible object."""
import time

from gi.repository import GLib

from .errors import UiError

INTERFACE = 'org.a11y.atspi.'
PROPERTIES = 'org.freedesktop.DBus.Properties'


class Element:
    """What an accessible object said when it was read, and what can be done with it. Names, roles and states are of that moment
    (`reload` asks again), the description and the interfaces of the first time that they are asked for after it; text, value, place and
    actions are asked for each time."""
    __slots__ = ('session', 'bus', 'path', 'name', 'role', 'states', '_description', '_interfaces',
                 'depth', 'parent', 'children', '_kept')

    def __init__(self, session, bus, path):
        self.session, self.bus, self.path = session, bus, path
        self.name, self.role, self.states = '', 'unknown', frozenset()
        self.forget()
        self.depth, self.parent, self.children = 0, None, []

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

    def forget(self):
        self._description = self._interfaces = None
        self._kept = {}

    def keep(self, what, value):
        """What was read of many at once is told the next time that it is asked for, and only then; None is not kept."""
        if value is not None:
            self._kept[what] = value

    @property
    def description(self):
        if self._description is None:
            self._description = self._property('Accessible', 'Description') or ''
        return self._description

    @description.setter
    def description(self, text):
        self._description = text

    @property
    def interfaces(self):
        if self._interfaces is None:
            self._interfaces = tuple(text.rpartition('.')[2] for text in self._call('Accessible', 'GetInterfaces')[0])
        return self._interfaces

    @interfaces.setter
    def interfaces(self, names):
        self._interfaces = names

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
        if 'text' in self._kept:
            return self._kept.pop('text')
        return self.plain(self._call('Text', 'GetText', (0, -1), '(ii)')[0])

    @property
    def selection(self):
        """The selected part of the text."""
        if not self._call('Text', 'GetNSelections')[0]:
            return ''
        first, last = self._call('Text', 'GetSelection', (0,), '(i)')
        return self.plain(self._call('Text', 'GetText', (first, last), '(ii)')[0])

    @staticmethod
    def plain(text):
        # A text document has separators of lines and paragraphs of its own.
        return text.replace('\u2028', '\n').replace('\u2029', '\n')

    @property
    def value(self):
        return self._property('Value', 'CurrentValue') if 'Value' in self.interfaces else None

    @property
    def rect(self):
        """(x, y, width, height) on the screen."""
        return tuple(self._kept.pop('rect', None) or self._call('Component', 'GetExtents', (0,), '(u)')[0])

    @property
    def actions(self):
        """Names of what can be done, in the order in which DoAction counts them."""
        if 'Action' not in self.interfaces:
            return []
        if 'actions' in self._kept:
            return self._kept.pop('actions')
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
