"""A file manager on the session bus that records what it is asked to show."""
import threading

from gi.repository import Gio, GLib

from .accessibility import connect

_INTERFACES = '''<node><interface name="org.freedesktop.FileManager1">
  <method name="ShowItems"><arg type="as" direction="in"/><arg type="s" direction="in"/></method>
  <method name="ShowFolders"><arg type="as" direction="in"/><arg type="s" direction="in"/></method>
</interface></node>'''


class FileManager(threading.Thread):
    """`shown` holds (method, list of URIs) in the order of the calls. `stop` must be called last."""

    def __init__(self, address):
        super().__init__(daemon=True)
        self._address = address
        self.shown = []
        self.ready = threading.Event()

    def run(self):
        self._context = GLib.MainContext()
        self._context.push_thread_default()
        self._loop = GLib.MainLoop(self._context)
        bus = connect(self._address)
        interface = Gio.DBusNodeInfo.new_for_xml(_INTERFACES).interfaces[0]
        bus.register_object('/org/freedesktop/FileManager1', interface, self._called, None, None)
        bus.call_sync('org.freedesktop.DBus', '/', 'org.freedesktop.DBus', 'RequestName',
                      GLib.Variant('(su)', (interface.name, 4)), None, 0, 3000, None)
        self.ready.set()
        self._loop.run()
        bus.close_sync(None)

    def _called(self, _connection, _sender, _path, _interface, method, arguments, invocation):
        self.shown.append((method, arguments.unpack()[0]))
        invocation.return_value(None)

    def stop(self):
        if self.ready.is_set():
            self._loop.quit()
            self.join(2)
