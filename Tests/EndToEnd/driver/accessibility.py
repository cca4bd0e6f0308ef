"""The accessibility bus: calls, and snapshots of the tree. Spoken directly, because libatspi caches values that are no longer true."""
from gi.repository import Gio, GLib

from .element import INTERFACE, PROPERTIES, Element
from .errors import Gone, UiError
from .vocabulary import ROLES, STATES

ACCESSIBLE = INTERFACE + 'Accessible'
_NO_LONGER_THERE = ('UnknownObject', 'ServiceUnknown', 'NoReply', 'Disconnected', 'closed', 'No such object', 'NameHasNoOwner')


def connect(address):
    flags = Gio.DBusConnectionFlags
    connection = Gio.DBusConnection.new_for_address_sync(
        address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)
    connection.set_exit_on_close(False)
    return connection


class Accessibility:
    """Part of a session; `self.a11y` is the connection to the accessibility bus."""
    a11y = None

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

    def _calls(self, calls):
        """Many calls at once; each is (bus, path, interface, method, variant). None stands for a failure."""
        context = GLib.MainContext.default()
        results, left = [None] * len(calls), [len(calls)]

        def done(connection, result, index):
            try:
                results[index] = connection.call_finish(result).unpack()
            except GLib.Error:
                results[index] = None
            left[0] -= 1
        for index, (bus, path, interface, method, variant) in enumerate(calls):
            self.a11y.call(bus, path, interface, method, variant, None, 0, 5000, None, done, index)
        while left[0] > 0:
            context.iteration(True)
        return results

    def load(self, elements):
        """Reads what each element says of itself; those that still exist."""
        calls = []
        for element in elements:
            place = (element.bus, element.path)
            calls += [(*place, ACCESSIBLE, 'GetRole', None), (*place, ACCESSIBLE, 'GetState', None),
                      (*place, ACCESSIBLE, 'GetInterfaces', None),
                      (*place, PROPERTIES, 'Get', GLib.Variant('(ss)', (ACCESSIBLE, 'Name'))),
                      (*place, PROPERTIES, 'Get', GLib.Variant('(ss)', (ACCESSIBLE, 'Description')))]
        answers, there = self._calls(calls), []
        for index, element in enumerate(elements):
            role, state, interfaces, name, description = answers[index * 5:index * 5 + 5]
            if role is None or state is None:
                element.states = frozenset(['defunct'])
                continue
            element.role = ROLES[role[0]] if role[0] < len(ROLES) else 'unknown'
            bits = state[0][0] | (state[0][1] << 32 if len(state[0]) > 1 else 0)
            element.states = frozenset(word for bit, word in enumerate(STATES) if bits >> bit & 1)
            element.interfaces = tuple(text.rpartition('.')[2] for text in (interfaces[0] if interfaces else ()))
            element.name = (name[0] if name else '') or ''
            element.description = (description[0] if description else '') or ''
            there.append(element)
        return there

    def applications(self):
        children = self.accessibility_call('org.a11y.atspi.Registry', '/org/a11y/atspi/accessible/root', ACCESSIBLE, 'GetChildren')[0]
        elements = self.load([Element(self, bus, path) for bus, path in children])
        for element in elements:
            try:
                element.application_pid = self.a11y.call_sync(
                    'org.freedesktop.DBus', '/org/freedesktop/DBus', 'org.freedesktop.DBus', 'GetConnectionUnixProcessID',
                    GLib.Variant('(s)', (element.bus,)), None, 0, 2000, None).unpack()[0]
            except GLib.Error:
                pass  # it left the bus meanwhile, and the next snapshot has it no more
        return elements

    def tree(self, root=None):
        """A fresh snapshot: the applications, or the one root, with `children` filled."""
        roots = [root.reload()] if root is not None else self.applications()
        for element in roots:
            element.children = []
        level, seen = list(roots), set(roots)
        while level:
            answers = self._calls([(element.bus, element.path, ACCESSIBLE, 'GetChildren', None) for element in level])
            pairs = []
            for element, answer in zip(level, answers):
                for bus, path in (answer[0] if answer else ()):
                    child = Element(self, bus, path)
                    if path.endswith('/null') or child in seen:
                        continue
                    seen.add(child)
                    child.parent, child.depth = element, element.depth + 1
                    pairs.append((element, child))
            there, level = set(self.load([child for _, child in pairs])), []
            for parent, child in pairs:
                if child in there:
                    parent.children.append(child)
                    level.append(child)
        return roots
