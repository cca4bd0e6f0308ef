"""The desktop's portal on the session bus: its settings, and its dialog for folders and files."""
import threading

from gi.repository import GLib

from .service import Service

_SERVICE, _PATH = 'org.freedesktop.portal.Desktop', '/org/freedesktop/portal/desktop'
_INTERFACES = '''<node><interface name="org.freedesktop.portal.Settings">
  <method name="Read"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/></method>
  <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface><interface name="org.freedesktop.portal.FileChooser">
  <method name="OpenFile"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/>
  <arg type="o" direction="out"/></method><property name="version" type="u" access="read"/>
</interface></node>'''


class Portal(Service):
    """`settings` maps (group, key) to a GLib.Variant. `answer` is what the dialog does: a list of addresses, or None for giving up. With
    `holds` it stands until `choose`. `asked` holds (parent window, title, options) of each dialog. After `fall_silent` nothing is answered
    any more."""

    service, path, description = _SERVICE, _PATH, _INTERFACES

    def __init__(self, address, settings=None, answer=None, chooser_version=3, holds=False):
        super().__init__(address)
        self._holds, self._standing = holds, []
        self._may_speak = threading.Event()
        self._may_speak.set()
        self._version = chooser_version
        self.settings, self.answer, self.asked = dict(settings or {}), answer, []

    def change(self, group, key, value):
        """The person changes a setting of the desktop."""
        self.settings[group, key] = value
        self.emit('org.freedesktop.portal.Settings', 'SettingChanged', '(ssv)', (group, key, value))

    def choose(self, answer):
        """The person answers the dialog that stands first."""
        self._respond(*self._standing.pop(0), answer)

    def fall_silent(self):
        self._may_speak.clear()

    def stop(self):
        self._may_speak.set()
        super().stop()

    def property(self, _name):
        self._may_speak.wait()
        return GLib.Variant('u', self._version)

    def called(self, sender, method, arguments, invocation):
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
        if self._holds:
            self._standing.append((sender, request))
        else:
            self._respond(sender, request, self.answer)

    def _respond(self, sender, request, answer):
        results = {} if answer is None else {'uris': GLib.Variant('as', answer)}
        self.emit('org.freedesktop.portal.Request', 'Response', '(ua{sv})', (1 if answer is None else 0, results), sender, request)
