"""The accessibility bus: calls, and snapshots of the tree. Spoken directly, because libatspi caches values that are no longer true."""
import functools

from gi.repository import Gio, GLib

from .element import INTERFACE, PROPERTIES, Element
from .errors import Gone, UiError
from .vocabulary import ROLES, STATES

ACCESSIBLE = INTERFACE + 'Accessible'
_OF_ITSELF = ((ACCESSIBLE, 'GetRole'), (ACCESSIBLE, 'GetState'), (PROPERTIES, 'Get', 'ss', (ACCESSIBLE, 'Name')))
_NO_LONGER_THERE = ('UnknownObject', 'ServiceUnknown', 'NoReply', 'Disconnected', 'closed', 'No such object', 'NameHasNoOwner')


def connect(address):
    flags = Gio.DBusConnectionFlags
    connection = Gio.DBusConnection.new_for_address_sync(
        address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)
    connection.set_exit_on_close(False)
    return connection


@functools.lru_cache(None)
def _states(bits):
    return frozenset(word for bit, word in enumerate(STATES) if bits >> bit & 1)


class Accessibility:
    """Part of a session; `self.a11y` is the connection to the accessibility bus, `self.questions` the one for very many calls."""
    a11y = questions = None

    def accessibility_call(self, bus, path, interface, method, args=None, signature=None, timeout=5000):
        try:
            answer = self.a11y.call_sync(bus, path, interface, method, GLib.Variant(signature, args) if signature else None,
                                         None, 0, timeout, None)
            return answer.unpack()
        except GLib.Error as error:
            message = error.message or ''
            if any(text in message for text in _NO_LONGER_THERE):
                raise Gone(f'{path}: {message}') from None
            raise UiError(f'{interface}.{method} on {path}: {message}') from None

    def _read(self, elements, *questions):
        """The answers to (interface, member[, signature, values]) of each of the elements; None stands for a failure."""
        answers = self.questions.ask([(element.bus, element.path, *question) for element in elements for question in questions])
        return [answers[at:at + len(questions)] for at in range(0, len(answers), len(questions))]

    def load(self, elements):
        """Reads what each element says of itself; those that still exist."""
        return [element for element, answers in zip(elements, self._read(elements, *_OF_ITSELF)) if self._fill(element, *answers)]

    @staticmethod
    def _fill(element, role, state, name):
        """Whether it still exists."""
        element.forget()
        if role is None or state is None:
            element.states = frozenset(['defunct'])
            return False
        element.role = ROLES[role[0]] if role[0] < len(ROLES) else 'unknown'
        element.states = _states(state[0][0] | (state[0][1] << 32 if len(state[0]) > 1 else 0))
        element.name = (name[0] if name else '') or ''
        return True

    def load_more(self, elements, *what):
        """Reads `descriptions`, `interfaces`, `rects` or `texts` of all of them at once, which else each is asked for by itself."""
        for each in what:
            getattr(self, '_load_' + each)(elements)

    def _load_descriptions(self, elements):
        for element, (answer,) in zip(elements, self._read(elements, (PROPERTIES, 'Get', 'ss', (ACCESSIBLE, 'Description')))):
            element.description = (answer[0] if answer else '') or ''

    def _load_interfaces(self, elements):
        for element, (answer,) in zip(elements, self._read(elements, (ACCESSIBLE, 'GetInterfaces'))):
            element.interfaces = tuple(text.rpartition('.')[2] for text in (answer[0] if answer else ()))

    def _load_actions(self, elements):
        self._load_interfaces(elements)
        able = [element for element in elements if 'Action' in element.interfaces]
        for element, (answer,) in zip(able, self._read(able, (INTERFACE + 'Action', 'GetActions'))):
            element.keep('actions', None if answer is None else [action[0] for action in answer[0]])

    def _load_texts(self, elements):
        self._load_interfaces(elements)
        able = [element for element in elements if 'Text' in element.interfaces]
        for element, (answer,) in zip(able, self._read(able, (INTERFACE + 'Text', 'GetText', 'ii', (0, -1)))):
            element.keep('text', None if answer is None else element.plain(answer[0]))

    def _load_rects(self, elements):
        for element, (answer,) in zip(elements, self._read(elements, (INTERFACE + 'Component', 'GetExtents', 'u', (0,)))):
            element.keep('rect', None if answer is None else answer[0])

    def applications(self):
        children = self.accessibility_call('org.a11y.atspi.Registry', '/org/a11y/atspi/accessible/root', ACCESSIBLE, 'GetChildren')[0]
        return self.load([Element(self, bus, path) for bus, path in children])

    def tree(self, root=None):
        """A fresh snapshot: the applications, or the one root, with `children` filled."""
        roots = [root.reload()] if root is not None else self.applications()
        for element in roots:
            element.children = []
        level, seen = list(roots), set(roots)
        below = [answer for answer, in self._read(level, (ACCESSIBLE, 'GetChildren'))]
        while level:
            pairs = []
            for element, answer in zip(level, below):
                for bus, path in (answer[0] if answer else ()):
                    child = Element(self, bus, path)
                    if path.endswith('/null') or child in seen:
                        continue
                    seen.add(child)
                    child.parent, child.depth = element, element.depth + 1
                    pairs.append((element, child))
            level, below, answers = [], [], self._read([child for _, child in pairs], *_OF_ITSELF, (ACCESSIBLE, 'GetChildren'))
            for (parent, child), (*itself, children) in zip(pairs, answers):
                if self._fill(child, *itself):
                    parent.children.append(child)
                    level.append(child)
                    below.append(children)
        return roots
