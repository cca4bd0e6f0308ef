"""A session bus of its own, a real keyring on it, and services that behave badly."""
import os
import subprocess
import threading
import time

from gi.repository import Gio, GLib

NAME, ROOT = 'org.freedesktop.secrets', '/org/freedesktop/secrets'
SERVICE, COLLECTION, ITEM = (f'org.freedesktop.Secret.{name}' for name in ('Service', 'Collection', 'Item'))
ATTRIBUTES = {'service': 'com.local.Ombrelan.remote', 'account': 'pairing-secret'}
_BUS = '''<busconfig><type>session</type><listen>unix:dir={folder}</listen><auth>EXTERNAL</auth><servicedir>{services}</servicedir>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>'''
# What a keyring starts to ask the person. Here it only leaves a mark.
_PROMPTER = '[D-BUS Service]\nName=org.gnome.keyring.SystemPrompter\nExec=/usr/bin/touch {mark}\n'


def wait_for(what, condition, seconds=15):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f'{what} did not come about within {seconds} s')
        time.sleep(0.01)


def connect(address):
    flags = Gio.DBusConnectionFlags
    return Gio.DBusConnection.new_for_address_sync(address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)


def end(process):
    if process.poll() is None:
        process.terminate()
    process.wait(10)


class PrivateBus:
    """`was_asked` says whether anything wanted to ask the person."""

    def __init__(self, folder):
        self.folder, self._mark = folder, os.path.join(folder, 'asked')
        services = os.path.join(folder, 'services')
        os.makedirs(services)
        with open(os.path.join(services, 'prompter.service'), 'w') as file:
            file.write(_PROMPTER.format(mark=self._mark))
        configuration = os.path.join(folder, 'bus.conf')
        with open(configuration, 'w') as file:
            file.write(_BUS.format(folder=folder, services=services))
        self._process = subprocess.Popen(['dbus-daemon', '--nofork', '--print-address=1', '--config-file', configuration],
                                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.address = self._process.stdout.readline().strip()
        self.connection = connect(self.address)

    def add_service(self, name, command):
        with open(os.path.join(self.folder, 'services', name + '.service'), 'w') as file:
            file.write(f'[D-BUS Service]\nName={name}\nExec={command}\n')
        self.call('org.freedesktop.DBus', '/', 'org.freedesktop.DBus', 'ReloadConfig')

    @property
    def was_asked(self):
        return os.path.exists(self._mark)

    def call(self, name, path, interface, method, arguments=None):
        return self.connection.call_sync(name, path, interface, method, arguments, None, 0, 10000, None).unpack()

    def has(self, name):
        return self.call('org.freedesktop.DBus', '/', 'org.freedesktop.DBus', 'NameHasOwner', GLib.Variant('(s)', (name,)))[0]

    def stop(self):
        end(self._process)
        self._process.stdout.close()


class Keyring:
    """A real keyring, unlocked by the password that it is given when it starts. `home` is where its files are."""

    def __init__(self, bus, home):
        self._bus = bus
        runtime = os.path.join(home, 'run')
        os.makedirs(runtime, mode=0o700, exist_ok=True)
        self.env = {'PATH': os.environ['PATH'], 'HOME': home, 'XDG_DATA_HOME': os.path.join(home, 'data'), 'XDG_RUNTIME_DIR': runtime,
                    'DBUS_SESSION_BUS_ADDRESS': bus.address}
        self._process = subprocess.Popen(['gnome-keyring-daemon', '--unlock', '--foreground', '--components=secrets'], env=self.env,
                                         stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self._process.stdin.write(b'a password')
        self._process.stdin.close()
        wait_for('the keyring', lambda: bus.has(NAME) and self.collection != '/')

    @property
    def collection(self):
        return self._bus.call(NAME, ROOT, SERVICE, 'ReadAlias', GLib.Variant('(s)', ('default',)))[0]

    def lock(self):
        self._bus.call(NAME, ROOT, SERVICE, 'Lock', GLib.Variant('(ao)', ([self.collection],)))

    @property
    def is_locked(self):
        return self._bus.call(NAME, self.collection, 'org.freedesktop.DBus.Properties', 'Get',
                              GLib.Variant('(ss)', (COLLECTION, 'Locked')))[0]

    def items(self):
        """(unlocked, locked) paths of the items with our attributes."""
        return self._bus.call(NAME, ROOT, SERVICE, 'SearchItems', GLib.Variant('(a{ss})', (ATTRIBUTES,)))

    def attributes(self, item):
        return self._bus.call(NAME, item, 'org.freedesktop.DBus.Properties', 'Get', GLib.Variant('(ss)', (ITEM, 'Attributes')))[0]

    def tool(self, *arguments, secret=None):
        """What another program does with the keyring; its output as bytes."""
        return subprocess.run(['secret-tool', *arguments], env=self.env, input=secret, capture_output=True, timeout=30, check=False).stdout

    def stored(self):
        """The secret as another program finds it."""
        return self.tool('lookup', 'service', ATTRIBUTES['service'], 'account', ATTRIBUTES['account'])

    def stop(self):
        end(self._process)


class FakeService(threading.Thread):
    """Has the name of the Secret Service and answers by `answer(method, arguments)`: a variant, None for no answer ever, or an exception,
    whose text is the name of the error. `calls` holds the methods that were called."""

    def __init__(self, bus, objects, answer):
        super().__init__(daemon=True)
        self._address, self._objects, self._answer = bus.address, objects, answer
        self.calls, self._waiting, self._ready = [], [], threading.Event()
        self.start()
        if not self._ready.wait(10):
            raise AssertionError('the service did not start')

    def run(self):
        context = GLib.MainContext()
        context.push_thread_default()
        self._loop = GLib.MainLoop(context)
        connection = connect(self._address)
        connection.set_exit_on_close(False)
        for path, xml in self._objects.items():
            for interface in Gio.DBusNodeInfo.new_for_xml(xml).interfaces:
                connection.register_object(path, interface, self._called, self._property, None)
        connection.call_sync('org.freedesktop.DBus', '/', 'org.freedesktop.DBus', 'RequestName', GLib.Variant('(su)', (NAME, 4)),
                             None, 0, 5000, None)
        self._ready.set()
        self._loop.run()

    def _called(self, _connection, _sender, _path, _interface, method, arguments, invocation):
        self.calls.append(method)
        answer = self._answer(method, arguments.unpack())
        if answer is None:
            self._waiting.append(invocation)
        elif isinstance(answer, Exception):
            invocation.return_dbus_error(str(answer), 'no')
        else:
            invocation.return_value(answer)

    def _property(self, _connection, _sender, _path, _interface, name):
        return {'Locked': GLib.Variant('b', False), 'Label': GLib.Variant('s', 'Login')}.get(name, GLib.Variant('ao', []))

    def stop(self):
        self._loop.quit()
        self.join(5)
