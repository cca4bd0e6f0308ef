"""A private desktop for one program."""
import atexit
import os
import select
import shutil
import signal
import subprocess
import tempfile
import time
import uuid

from gi.repository import Gio, GLib

from .accessibility import Accessibility, connect
from .bus import Questions
from .errors import UiError
from .inputs import Inputs
from .pictures import Pictures
from .processes import ProcessGroup, descendants
from .reading import Reading
from .recorder import FileManager
from .search import Search
from .windows import Windows
from .xlib import Screen

_HERE = os.path.dirname(os.path.abspath(__file__))
_OPEN = []
# The same fonts on every machine, so that pictures can be compared.
_FONTS = '''<?xml version="1.0"?><!DOCTYPE fontconfig SYSTEM "fonts.dtd"><fontconfig>
<alias binding="same"><family>sans-serif</family><prefer><family>Inter</family></prefer></alias>
<alias binding="same"><family>monospace</family><prefer><family>Hack</family></prefer></alias></fontconfig>'''
# What the caller's environment hands on; everything else stays outside.
_KEPT = ('PATH', 'LANG', 'LC_ALL', 'LC_CTYPE', 'TZ', 'USER', 'LOGNAME', 'LD_LIBRARY_PATH', 'ASAN_OPTIONS', 'UBSAN_OPTIONS',
         'TSAN_OPTIONS')
_BUS = '''<busconfig><type>session</type><listen>unix:dir={folder}</listen><auth>EXTERNAL</auth><servicedir>{services}</servicedir>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>'''


@atexit.register
def _close_all():
    for session in list(_OPEN):
        session.close()


class App:
    """One start of the program. Waiting fails at once when it has crashed, as long as `must_live`."""

    def __init__(self, session, process, log):
        self.session, self.process, self.log = session, process, log
        self.must_live = True

    @property
    def pid(self):
        return self.process.pid

    @property
    def running(self):
        return self.process.poll() is None

    @property
    def output(self):
        with open(self.log, errors='replace') as file:
            return file.read()

    def wait(self, timeout=10):
        """The exit status, once it has ended by itself."""
        try:
            return self.process.wait(timeout)
        except subprocess.TimeoutExpired:
            raise UiError(f'the program still runs after {timeout} s') from None

    def stop(self, timeout=5, number=signal.SIGTERM):
        """Ends the program and what it started; its exit status."""
        self.must_live = False
        return self.session.group.stop([self.process], timeout, number)

    def kill_alone(self):
        """Ends the program without a chance to tidy up, and leaves its children to find out for themselves."""
        self.must_live = False
        self.process.kill()
        self.process.wait()


class Session(Accessibility, Search, Reading, Inputs, Windows, Pictures):
    """A screen, a session bus and an accessibility bus of its own, with its own HOME. `close` ends all of it and whatever was
    started in it.

    size     of the virtual screen.
    display  an X display that exists already, to be used instead of a virtual one and with its own window manager.
    env      additional variables for everything started; None removes one.
    home     HOME of the program; a fresh empty folder when not given. The XDG folders lie below it.
    path     PATH for the program; the caller's when not given.
    """

    def __init__(self, size=(1280, 900), display=None, env=None, home=None, path=None, timeout=15):
        self.size, self.timeout, self._given_display = size, timeout, display
        self.apps, self._helpers = [], []
        self._bus = self.a11y = self.questions = self.screen = self.file_manager = None
        self.dir = tempfile.mkdtemp(prefix='tessarin-window-')
        os.chmod(self.dir, 0o700)
        self.home = home or os.path.join(self.dir, 'home')
        mark = 'tessarin-window-' + uuid.uuid4().hex
        self.group = ProcessGroup('TESSARIN_WINDOW_SESSION=' + mark)
        self.env = self._environment(mark, path, env or {})
        for key in ('HOME', 'XDG_CONFIG_HOME', 'XDG_DATA_HOME', 'XDG_CACHE_HOME', 'XDG_STATE_HOME'):
            os.makedirs(self.env[key], exist_ok=True)

    def _environment(self, mark, path, more):
        runtime = os.path.join(self.dir, 'run')
        os.makedirs(runtime, mode=0o700)
        home = self.home
        env = {key: os.environ[key] for key in _KEPT if key in os.environ}
        env.setdefault('LANG', 'C.UTF-8')
        # AT_SPI_BUS_ADDRESS must not be among these: Qt 6.4 with it never registers on the accessibility bus.
        env.update(HOME=home, XDG_CONFIG_HOME=home + '/.config', XDG_DATA_HOME=home + '/.local/share',
                   XDG_CACHE_HOME=home + '/.cache', XDG_STATE_HOME=home + '/.local/state', XDG_RUNTIME_DIR=runtime,
                   XDG_CURRENT_DESKTOP='', XDG_SESSION_TYPE='x11', TESSARIN_WINDOW_SESSION=mark, QT_QPA_PLATFORM='xcb',
                   QT_LINUX_ACCESSIBILITY_ALWAYS_ON='1', QT_IM_MODULE='none', GTK_USE_PORTAL='0')
        if self._given_display is None:
            # A virtual screen has no graphics card, and its scale is one.
            env.update(QT_QUICK_BACKEND='software', QT_AUTO_SCREEN_SCALE_FACTOR='0', QT_ENABLE_HIGHDPI_SCALING='0')
        elif 'XAUTHORITY' in os.environ or 'HOME' in os.environ:
            env['XAUTHORITY'] = os.environ.get('XAUTHORITY') or os.path.join(os.environ['HOME'], '.Xauthority')
        if path:
            env['PATH'] = path
        for key, value in more.items():
            if value is None:
                env.pop(key, None)
            else:
                env[key] = str(value)
        return env

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *_):
        self.close()

    def start(self):
        _OPEN.append(self)
        self.group.adopt_orphans()
        # The screen takes its time to come; the buses come meanwhile.
        await_screen = self._start_screen() if self._given_display is None else lambda: self._given_display
        await_bus = self._start_bus()
        self.env['DISPLAY'] = await_screen()
        self.screen = Screen(self.env['DISPLAY'])
        if self._given_display is None:
            os.makedirs(self.env['XDG_CONFIG_HOME'] + '/fontconfig', exist_ok=True)
            with open(self.env['XDG_CONFIG_HOME'] + '/fontconfig/fonts.conf', 'w') as file:
                file.write(_FONTS)
            self._helper(['openbox', '--sm-disable', '--config-file', os.path.join(_HERE, 'openbox.xml')], 'window-manager.log')
        self._start_accessibility(await_bus())
        if self._given_display is None:
            self.wait(self.screen.has_manager, 10, 'the window manager', every=0.01)
        return self

    def _helper(self, argv, log, pass_fds=()):
        process = self.group.spawn(argv, os.path.join(self.dir, log), self.env, self.dir, pass_fds)
        self._helpers.append(process)
        return process

    def _start_screen(self):
        reading, writing = os.pipe()
        # Without auto-repeat (-r): on a busy machine a key can seem to be held down long enough to repeat.
        process = self._helper(['Xvfb', '-displayfd', str(writing), '-screen', '0', '%dx%dx24' % self.size, '-r', '-nolisten', 'tcp',
                                '-noreset', '-dpi', '96', '-ac'], 'screen.log', (writing,))
        os.close(writing)
        return lambda: ':' + self._first_line(reading, 'Xvfb', process)

    def _start_bus(self):
        services = os.path.join(self.dir, 'services')
        os.makedirs(services)
        with open(services + '/org.a11y.Bus.service', 'w') as file:
            file.write('[D-BUS Service]\nName=org.a11y.Bus\nExec=/usr/libexec/at-spi-bus-launcher\n')
        configuration = os.path.join(self.dir, 'bus.conf')
        with open(configuration, 'w') as file:
            file.write(_BUS.format(folder=self.env['XDG_RUNTIME_DIR'], services=services))
        reading, writing = os.pipe()
        process = self._helper(['dbus-daemon', '--config-file=' + configuration, '--nofork', '--nopidfile',
                                '--print-address=%d' % writing], 'bus.log', (writing,))
        os.close(writing)
        return lambda: self._first_line(reading, 'dbus-daemon', process)

    def _start_accessibility(self, address):
        """The accessibility service has to be there before the program: Qt looks for it once and does not start it."""
        self.env['DBUS_SESSION_BUS_ADDRESS'] = address
        self._bus = connect(self.env['DBUS_SESSION_BUS_ADDRESS'])
        self.file_manager = FileManager(self.env['DBUS_SESSION_BUS_ADDRESS']).begin()
        address = self._bus.call_sync('org.a11y.Bus', '/org/a11y/bus', 'org.a11y.Bus', 'GetAddress', None,
                                      GLib.VariantType('(s)'), Gio.DBusCallFlags.NONE, 15000, None).unpack()[0]
        self.a11y, self.questions = connect(address), Questions(address)

    @staticmethod
    def _first_line(descriptor, what, process, timeout=15):
        data, end = b'', time.monotonic() + timeout
        while b'\n' not in data:
            left = end - time.monotonic()
            if left <= 0 or (process.poll() is not None and not data):
                raise UiError(f'{what} did not start')
            if select.select([descriptor], [], [], min(left, 0.2))[0]:
                got = os.read(descriptor, 4096)
                if not got:
                    raise UiError(f'{what} did not start')
                data += got
        os.close(descriptor)
        return data.split(b'\n')[0].decode()

    def launch(self, argv, env=None, cwd=None):
        """Starts the program; its output goes to a file (App.output)."""
        merged = dict(self.env)
        merged.update({key: str(value) for key, value in (env or {}).items()})
        log = os.path.join(self.dir, 'program%d.log' % len(self.apps))
        app = App(self, self.group.spawn(argv, log, merged, cwd or self.home), log)
        self.apps.append(app)
        return app

    def children_of(self, app):
        """pids of what the program has started and what these started."""
        got = descendants([app.pid]) - {app.pid}
        self.group.remember(got)
        return got

    def close(self):
        """Ends everything that was started, by pid, and removes the folder."""
        try:
            self.group.remember(descendants([app.pid for app in self.apps] + [helper.pid for helper in self._helpers]))
            self.group.stop([app.process for app in self.apps], 5)
            if self.file_manager:
                self.file_manager.stop()
            for connection in (self.a11y, self._bus):
                if connection is not None and not connection.is_closed():
                    try:
                        connection.close_sync(None)
                    except GLib.Error:
                        pass  # the other end went first
            if self.questions:
                self.questions.close()
            if self.screen:
                self.screen.close()
            self.group.stop(list(reversed(self._helpers)), 3)
            self.group.end_all()
        finally:
            if self in _OPEN:
                _OPEN.remove(self)
            shutil.rmtree(self.dir, ignore_errors=True)
