"""The desktop's notifications on the session bus, and the person who clicks on them."""
import threading
from collections import namedtuple

from gi.repository import Gio, GLib

from .accessibility import connect

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


class Notifications(threading.Thread):
    """`posted` holds every Note in the order of the calls, `standing` those that are on the screen by their ids, `closed` the ids that the
    program has closed. With `answers` false nothing is ever answered; with `refuses` every one is refused; with `holds` one is shown at once
    and answered by `let_go`. `stop` must be called last."""

    def __init__(self, address, capabilities=CAPABILITIES, answers=True, refuses=False, holds=False):
        super().__init__(daemon=True)
        self._address, self._capabilities, self._answers, self._refuses = address, capabilities, answers, refuses
        self._holds, self._held = holds, []
        self.posted, self.standing, self.closed, self.calls, self._last = [], {}, [], [], 0
        self._ready = threading.Event()

    def begin(self):
        self.start()
        if not self._ready.wait(5):
            raise RuntimeError('the notifications did not start')
        return self

    def run(self):
        self._context = GLib.MainContext()
        self._context.push_thread_default()
        self._loop = GLib.MainLoop(self._context)
        self._bus = connect(self._address)
        self._bus.register_object(_PATH, Gio.DBusNodeInfo.new_for_xml(_INTERFACES).interfaces[0], self._called, None, None)
        self._bus.call_sync('org.freedesktop.DBus', '/', 'org.freedesktop.DBus', 'RequestName',
                            GLib.Variant('(su)', (_NAME, 4)), None, 0, 3000, None)
        self._ready.set()
        self._loop.run()
        self._bus.close_sync(None)

    def _called(self, _connection, _sender, _path, _interface, method, arguments, invocation):
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
            self._emit('NotificationClosed', '(uu)', (number, reason))

    def _emit(self, name, signature, values):
        self._bus.emit_signal(None, _PATH, _NAME, name, GLib.Variant(signature, values))

    def click(self, note, token=None, closes=True):
        """The person clicks on it."""
        if token:
            self._emit('ActivationToken', '(us)', (note.id, token))
        self._emit('ActionInvoked', '(us)', (note.id, 'default'))
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

    def stop(self):
        """Also dies, in the middle of a session."""
        if self._ready.is_set():
            self._loop.quit()
            self.join(2)


def forge_click(address, note):
    """Somebody else on the bus says that the person has clicked."""
    bus = connect(address)
    bus.emit_signal(None, _PATH, _NAME, 'ActionInvoked', GLib.Variant('(us)', (note.id, 'default')))
    bus.flush_sync(None)
    bus.close_sync(None)
