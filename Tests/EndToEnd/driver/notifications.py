"""The desktop's notifications on the session bus, and the person who clicks on them."""
from collections import namedtuple

from gi.repository import GLib

from .accessibility import connect
from .service import Service

_NAME, _PATH = 'org.freedesktop.Notifications', '/org/freedesktop/Notifications'
_INTERFACES = '''<node><interface name="org.freedesktop.Notifications">
  <method name="GetCapabilities"><arg type="as" direction="out"/></method>
  <method name="Notify"><arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="s" direction="in"/>
  <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="as" direction="in"/><arg type="a{sv}" direction="in"/>
  <arg type="i" direction="in"/><arg type="u" direction="out"/></method>
  <method name="CloseNotification"><arg type="u" direction="in"/></method>
</interface></node>'''
CAPABILITIES = ('actions', 'body', 'body-markup', 'persistence')

Note = namedtuple('Note', 'id replaces program icon summary body actions hints timeout')


class Notifications(Service):
    """`posted` holds every Note in the order of the calls, `standing` those that are on the screen by their ids, `closed` the ids that the
    program has closed. With `answers` false nothing is ever answered; with `refuses` every one is refused; with `holds` one is shown at once
    and answered by `let_go`."""

    service, path, description = _NAME, _PATH, _INTERFACES

    def __init__(self, address, capabilities=CAPABILITIES, answers=True, refuses=False, holds=False):
        super().__init__(address)
        self._capabilities, self._answers, self._refuses = capabilities, answers, refuses
        self._holds, self._held = holds, []
        self.posted, self.standing, self.closed, self.calls, self._last = [], {}, [], [], 0

    def called(self, _sender, method, arguments, invocation):
        self.calls.append(method)
        if not self._answers:
            return
        if method == 'GetCapabilities':
            invocation.return_value(GLib.Variant('(as)', (list(self._capabilities),)))
        elif method == 'CloseNotification':
            invocation.return_value(None)
            self._close(arguments.unpack()[0], 3)
        elif self._refuses:
            invocation.return_dbus_error('org.freedesktop.Notifications.Error.ExcessNotificationGeneration', 'too many')
        else:
            answer = GLib.Variant('(u)', (self._take(*arguments.unpack()),))
            if self._holds:
                self._held.append((invocation, answer))
            else:
                invocation.return_value(answer)

    def _take(self, program, replaces, icon, summary, body, actions, hints, timeout):
        if replaces not in self.standing:
            self._last += 1
        number = replaces if replaces in self.standing else self._last
        note = Note(number, replaces, program, icon, summary, body, actions, hints, timeout)
        self.standing[number] = note
        self.posted.append(note)
        return number

    def _close(self, number, reason):
        if reason == 3:
            self.closed.append(number)
        if self.standing.pop(number, None):
            self.emit(_NAME, 'NotificationClosed', '(uu)', (number, reason))

    def click(self, note, token=None, closes=True):
        """The person clicks on it."""
        if token:
            self.emit(_NAME, 'ActivationToken', '(us)', (note.id, token))
        self.emit(_NAME, 'ActionInvoked', '(us)', (note.id, 'default'))
        if closes:
            self._close(note.id, 2)

    def dismiss(self, note):
        """The person puts it away."""
        self._close(note.id, 2)

    def let_go(self, delay):
        """Answers what is held, after so many seconds."""
        def answer(_):
            for invocation, value in self._held:
                invocation.return_value(value)
            self._held.clear()
        source = GLib.timeout_source_new(int(delay * 1000))
        source.set_callback(answer)
        source.attach(self._context)


def forge_click(address, note):
    """Somebody else on the bus says that the person has clicked."""
    bus = connect(address)
    bus.emit_signal(None, _PATH, _NAME, 'ActionInvoked', GLib.Variant('(us)', (note.id, 'default')))
    bus.flush_sync(None)
    bus.close_sync(None)
