"""A file manager on the session bus that records what it is asked to show."""
from .service import Service

_INTERFACES = '''<node><interface name="org.freedesktop.FileManager1">
  <method name="ShowItems"><arg type="as" direction="in"/><arg type="s" direction="in"/></method>
  <method name="ShowFolders"><arg type="as" direction="in"/><arg type="s" direction="in"/></method>
</interface></node>'''


class FileManager(Service):
    """`shown` holds (method, list of URIs) in the order of the calls."""

    service, path, description = 'org.freedesktop.FileManager1', '/org/freedesktop/FileManager1', _INTERFACES

    def __init__(self, address):
        super().__init__(address)
        self.shown = []

    def called(self, _sender, method, arguments, invocation):
        self.shown.append((method, arguments.unpack()[0]))
        invocation.return_value(None)
