"""The desktop's portal on the session bus: its settings, and its dialog for folders."""
import threading

from gi.repository import Gio, GLib

from .accessibility import connect

_SERVICE, _PATH = 'org.freedesktop.portal.Desktop', '/org/freedesktop/portal/desktop'
_INTERFACES = '''<node><interface name="org.freedesktop.portal.Settings">
  <method name="Read"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/></method>
  <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface><interface name="org.freedesktop.portal.FileChooser">
  <method name="OpenFile"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/>
  <arg type="o" direction="out"/></method><property name="version" type="u" access="read"/>
</interface></node>'''


class Portal(threading.Thread):
    """`settings` maps (group, key) to a GLib.Variant. `answer` is what the dialog does: a list of addresses, or None for giving up.
    `asked` holds (parent window, title, options) of each dialog. `stop` must be called last."""

    def __init__(self, address, settings=None, answer=None, chooser_version=3):
        super().__init__(daemon=True)
        self._address, self._version = address, chooser_version
        self.settings, self.answer, self.asked = dict(settings or {}), answer, []
        self._ready = threading.Event()

    def begin(self):
        self.start()
        if not self._ready.wait(5):
            raise RuntimeError('the portal did not start')
        return self

    def run(self):
        self._context = GLib.MainContext()
        self._context.push_thread_default()
        self._loop = GLib.MainLoop(self._context)
        self._bus = connect(self._address)
        for interface in Gio.DBusNodeInfo.new_for_xml(_INTERFACES).interfaces:
            self._bus.register_object(_PATH, interface, self._called, self._property, None)
        self._bus.call_sync('org.freedesktop.DBus', '/', 'org.freedesktop.DBus', 'RequestName',
                            GLib.Variant('(su)', (_SERVICE, 4)), None, 0, 3000, None)
        self._ready.set()
        self._loop.run()
        self._bus.close_sync(None)

    def change(self, group, key, value):
        """The person changes a setting of the desktop."""
        self.settings[group, key] = value
        self._bus.emit_signal(None, _PATH, 'org.freedesktop.portal.Settings', 'SettingChanged', GLib.Variant('(ssv)', (group, key, value)))

    def _property(self, *_):
        return GLib.Variant('u', self._version)

    def _called(self, _connection, sender, _path, _interface, method, arguments, invocation):
        if method == 'Read':
            value = self.settings.get(arguments.unpack())
            if value is None:
                invocation.return_dbus_error('org.freedesktop.portal.Error.NotFound', 'no such setting')
            else:
                invocation.return_value(GLib.Variant('(v)', (GLib.Variant('v', value),)))
            return
        parent, title, options = arguments.unpack()
        self.asked.append((parent, title, options))
        request = f'{_PATH}/request/{sender[1:].replace(".", "_")}/{options["handle_token"]}'
        invocation.return_value(GLib.Variant('(o)', (request,)))
        results = {} if self.answer is None else {'uris': GLib.Variant('as', self.answer)}
        self._bus.emit_signal(sender, request, 'org.freedesktop.portal.Request', 'Response',
                              GLib.Variant('(ua{sv})', (1 if self.answer is None else 0, results)))

    def stop(self):
        if self._ready.is_set():
            self._loop.quit()
            self.join(2)
