"""A service of the desktop on the session bus, played by a thread of its own."""
import threading

from gi.repository import Gio, GLib

from .accessibility import connect

_DO_NOT_QUEUE = 4


class Service(threading.Thread):
    """Takes the name `service` and answers at the object `path` for the interfaces of `description` (introspection data): `called` for each
    call, `property` for each question for a property, both on this thread. `begin` starts it, `stop` must be called last."""

    service = path = description = ''

    def __init__(self, address):
        super().__init__(daemon=True)
        self._address, self._ready = address, threading.Event()

    def begin(self):
        self.start()
        if not self._ready.wait(5):
            raise RuntimeError(f'{self.service} did not start')
        return self

    def run(self):
        self._context = GLib.MainContext()
        self._context.push_thread_default()
        self._loop = GLib.MainLoop(self._context)
        self._bus = connect(self._address)
        for interface in Gio.DBusNodeInfo.new_for_xml(self.description).interfaces:
            self._bus.register_object(self.path, interface, self._called, self._asked, None)
        self._bus.call_sync('org.freedesktop.DBus', '/', 'org.freedesktop.DBus', 'RequestName',
                            GLib.Variant('(su)', (self.service, _DO_NOT_QUEUE)), None, 0, 3000, None)
        self._ready.set()
        self._loop.run()
        self._bus.close_sync(None)

    def _called(self, _connection, sender, _path, _interface, method, arguments, invocation):
        self.called(sender, method, arguments, invocation)

    def _asked(self, _connection, _sender, _path, _interface, name):
        return self.property(name)

    def called(self, sender, method, arguments, invocation):
        raise NotImplementedError

    def property(self, name):
        raise NotImplementedError

    def emit(self, interface, signal, signature, values, to=None, path=None):
        self._bus.emit_signal(to, path or self.path, interface, signal, GLib.Variant(signature, values))

    def stop(self):
        """Also dies, in the middle of a session."""
        if self._ready.is_set():
            self._loop.quit()
            self.join(2)
