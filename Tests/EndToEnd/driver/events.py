"""What the program tells of itself over the accessibility bus, as a screen reader hears it."""
from gi.repository import Gio, GLib

from .element import Element

_REGISTRY = ('org.a11y.atspi.Registry', '/org/a11y/atspi/registry', 'org.a11y.atspi.Registry')


class Event:
    """One event: its kind ("state-changed:showing"), its first number, and the object that it came from, read when it came."""

    def __init__(self, kind, detail, element):
        self.kind, self.detail, self.element = kind, detail, element

    def __repr__(self):
        return f'<{self.kind} {self.detail} {self.element!r}>'


class Events:
    """Hears the events of the class "Object" of these members from now on. The program sends none that nobody has asked for."""

    def __init__(self, session, *members):
        self.session, self._heard = session, []
        for member in members:
            session.a11y.call_sync(*_REGISTRY, 'RegisterEvent', GLib.Variant('(sass)', ('object:' + member, [], '')), None, 0, 5000, None)
        self._subscription = session.a11y.signal_subscribe(
            None, 'org.a11y.atspi.Event.Object', None, None, None, Gio.DBusSignalFlags.NONE, self._receive)

    def _receive(self, _connection, sender, path, _interface, member, arguments):
        kind, detail = arguments.unpack()[:2]
        words = ''.join(('-' if letter.isupper() and at else '') + letter.lower() for at, letter in enumerate(member))
        self._heard.append((words + ':' + kind if kind else words, detail, Element(self.session, sender, path)))

    def heard(self):
        """All events so far, their objects read now."""
        context = GLib.MainContext.default()
        while context.pending():
            context.iteration(False)
        heard, self._heard = self._heard, []
        self.session.load([element for _, _, element in heard])
        return [Event(*event) for event in heard]

    def close(self):
        self.session.a11y.signal_unsubscribe(self._subscription)


class Reader(Events):
    """Speaks what a screen reader speaks by itself: each notification as it comes onto the screen."""

    def __init__(self, session):
        super().__init__(session, 'state-changed:showing')
        self._spoken = []

    def spoken(self):
        self._spoken += [event.element.name for event in self.heard()
                         if event.kind == 'state-changed:showing' and event.detail == 1 and event.element.role == 'notification']
        return self._spoken

    def hears(self, text):
        """Waits until that has been spoken."""
        self.session.wait(lambda: text in self.spoken(), what=f'the words {text!r}, after {self._spoken}')
