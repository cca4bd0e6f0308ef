"""The settings window with the remote host: pairing by the code on the screen and by the pasteboard, and where the key may be found."""
import base64
import os
import re
import socket
import stat
import subprocess
import sys
import urllib.parse

from acp import opening, says, script, turn
from settings_case import SettingsCase
from window_case import LEAST, SCREENSHOTS, TITLE, main

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'Platform'))
from secret_service import FakeService, Keyring, NAME, connect, wait_for  # noqa: E402

PORT = 43765
ALLOW, CODE = 'Allow paired Android devices to control this Mac', 'Android pairing QR code'
SECRET_FILE = 'tessarin/secrets/com.local.Ombrelan.remote.pairing-secret'
KEY = bytes(range(100, 132))
SERVICE = '''<node><interface name="org.freedesktop.Secret.Service"><method name="OpenSession"><arg type="s" direction="in"/>
  <arg type="v" direction="in"/><arg type="v" direction="out"/><arg type="o" direction="out"/></method></interface></node>'''


class SessionBus:
    """The bus of the window's session, for a keyring."""

    def __init__(self, address):
        self.address, self.connection = address, connect(address)

    def call(self, name, path, interface, method, arguments=None):
        return self.connection.call_sync(name, path, interface, method, arguments, None, 0, 10000, None).unpack()

    def has(self, name):
        return name in self.call('org.freedesktop.DBus', '/', 'org.freedesktop.DBus', 'ListNames')[0]


class RemoteSettingsCase(SettingsCase):
    def open_settings(self):
        super().open_settings()
        self.see('check box', '=' + ALLOW)

    def turn_on(self):
        self.open_settings()
        self.window.click_on('check box', '=' + ALLOW)
        self.await_host()

    def await_host(self):
        self.window.find(says=f'=Available on port {PORT}', showing=False)
        return self.see('image', '=' + CODE)

    def scanned(self):
        """What a camera reads on the screen."""
        code = self.window.find('image', '=' + CODE)
        picture = self.window.shot(os.path.join(self.desk.home, 'seen.png'), of=code.rect)
        read = subprocess.run(['zbarimg', '--quiet', '--raw', '-Sdisable', '-Sqrcode.enable', picture], capture_output=True, text=True,
                              timeout=30, check=False)
        os.remove(picture)
        return read.stdout.rstrip('\n')

    def link(self):
        self.window.wait(lambda: self.scanned().startswith('tessarin://'), what='a code that can be read')
        return self.scanned()

    @staticmethod
    def parts(link):
        parsed = urllib.parse.urlsplit(link)
        return parsed.scheme, parsed.netloc, urllib.parse.parse_qsl(parsed.query, strict_parsing=True, keep_blank_values=True)

    def key_of(self, link):
        return base64.urlsafe_b64decode(dict(self.parts(link)[2])['key'] + '=')

    @property
    def secret_file(self):
        return os.path.join(self.window.env['XDG_DATA_HOME'], SECRET_FILE)

    def stored_file(self):
        with open(self.secret_file, 'rb') as file:
            return file.read()

    def end(self):
        self.app.must_live = False
        self.window.activate(TITLE)
        self.window.key('Ctrl+Q')
        self.assertEqual(0, self.app.wait())

    def keyring(self):
        bus = SessionBus(self.window.env['DBUS_SESSION_BUS_ADDRESS'])
        keyring = Keyring(bus, os.path.join(self.desk.home, 'keyring'))
        self.addCleanup(keyring.stop)
        return keyring


class TheWindow(RemoteSettingsCase):
    def test_ItOpensByKeyMenuAndSidebarAndIsOnlyOne(self):
        self.open()
        self.open_settings()
        self.window.activate(TITLE)
        self.window.click_on('~menu bar item', '=File')
        self.window.click_on('menu item', '=Settings…')
        self.window.await_front('=Settings')
        self.window.activate(TITLE)
        self.window.press('~button', '=Settings')
        self.window.await_front('=Settings')
        self.assertEqual(1, sum(name == 'Settings' for name, _ in self.window.xwindows().values()))
        self.assertEqual((660, 780), next(place[2:] for name, place in self.window.xwindows().values() if name == 'Settings'))

    def test_ItClosesByEscapeAndByTheKeyOfWindows(self):
        self.open()
        for key in ('Escape', 'Ctrl+W'):
            self.open_settings()
            self.window.key(key)
            self.window.wait(lambda: 'Settings' not in dict(self.window.xwindows().values()), what='the settings to go')
        self.window.await_front('=' + TITLE)
        self.window.key('Ctrl+,')
        self.window.wait_window('=Settings')

    def test_ItGoesWithTheMainWindow(self):
        self.open()
        self.open_settings()
        self.app.must_live = False
        self.window.close_window(TITLE)
        self.assertEqual(0, self.app.wait())

    def test_TheKeyThatQuitsWorksInIt(self):
        self.open()
        self.open_settings()
        self.app.must_live = False
        self.window.key('Ctrl+Q')
        self.assertEqual(0, self.app.wait())

    def test_AScreenReaderFindsAndPressesEverything(self):
        self.open()
        self.open_settings()
        switch = self.window.find('check box', '=' + ALLOW)
        self.assertTrue(switch.has('focusable', 'enabled'))
        self.assertFalse(switch.checked)
        self.window.find('heading', '=Android Remote')
        self.window.find('panel', '=Android Remote')
        self.window.press('check box', '=' + ALLOW)
        self.await_host()
        self.window.wait(lambda: self.window.find('check box', '=' + ALLOW).checked, what='the switch to be on')
        self.assertEqual([], self.window.audit())
        field = self.window.find('~input', '=Mac address or Tailscale IP')
        field.set_text('10.1.2.3')
        self.window.wait(lambda: 'host=10.1.2.3&' in self.scanned(), what='the address in the code')
        before = self.scanned()
        self.window.press('~button', '=Rotate Access Key')
        self.window.wait(lambda: self.scanned() not in ('', before), what='another code')
        self.window.press('check box', '=' + ALLOW)
        self.window.find(says='=Off')
        self.window.wait_gone('image', '=' + CODE)


class Pairing(RemoteSettingsCase):
    def test_TheCodeOnTheScreenIsTheLinkWithTheStoredKey(self):
        self.open()
        self.turn_on()
        scheme, host, query = self.parts(self.link())
        self.assertEqual(('tessarin', 'pair', ['host', 'port', 'key', 'name']), (scheme, host, [key for key, _ in query]))
        query = dict(query)
        self.assertRegex(query['host'], r'^\d+\.\d+\.\d+\.\d+$')
        self.assertEqual((str(PORT), 43), (query['port'], len(query['key'])))
        self.assertEqual(self.stored_file(), self.key_of(self.link()))
        self.assertEqual(self.name_of_this_computer(), query['name'])
        self.assertIn(self.window.find('~input', '=Mac address or Tailscale IP').text, query['host'])

    @staticmethod
    def name_of_this_computer():
        try:
            with open('/etc/machine-info') as file:
                found = re.search(r'^PRETTY_HOSTNAME="?([^"\n]*)"?$', file.read(), re.MULTILINE)
                return found.group(1) if found else socket.gethostname()
        except OSError:
            return socket.gethostname()

    def test_AnAddressWithSignsIsReadBackAsItWasTyped(self):
        self.open()
        self.turn_on()
        field = self.window.find('~input', '=Mac address or Tailscale IP')
        typed = 'a b+c&d=e#f%20ü/ö?日本'
        self.window.focus(field)
        self.window.key('Ctrl+A')
        self.window.type(typed)
        self.window.wait(lambda: self.scanned() and dict(self.parts(self.scanned())[2])['host'] == typed, what='the address in the code')

    def test_TheLinkIsCopiedAsASecret(self):
        self.open()
        self.turn_on()
        link = self.link()
        self.window.click_on('~button', '=Copy Pairing Link')
        self.window.find(says='=Copied')
        self.window.wait(lambda: self.window.clipboard() == link, what='the link on the pasteboard')
        self.window.wait_gone(says='=Copied')
        hint = subprocess.run(['xclip', '-o', '-selection', 'clipboard', '-t', 'x-kde-passwordManagerHint'], env=self.window.env,
                              capture_output=True, timeout=10, check=True)
        self.assertEqual(b'secret', hint.stdout)

    def test_RotatingMakesAnotherKeyAndStoresIt(self):
        self.open()
        self.turn_on()
        before = self.link()
        self.window.click_on('~button', '=Rotate Access Key')
        self.window.wait(lambda: self.scanned() not in ('', before), what='another code')
        self.assertEqual(self.stored_file(), self.key_of(self.link()))
        self.await_host()

    def test_TheNextStartHasTheSameLinkAndIsOn(self):
        self.open()
        self.turn_on()
        before = self.link()
        self.end()
        self.open()
        self.open_settings()
        self.await_host()
        self.assertEqual(before, self.link())

    def test_ADeviceThatIsThereIsCounted(self):
        self.open()
        self.turn_on()
        self.assertFalse(self.window.exists(says=' connected'))
        with socket.create_connection(('127.0.0.1', PORT), 5), socket.create_connection(('::1', PORT), 5):
            self.window.find(says='=2 connected')
        self.window.wait_gone(says=' connected')

    def test_ATakenPortIsToldInWords(self):
        with socket.create_server(('::', PORT), family=socket.AF_INET6):
            self.open()
            self.open_settings()
            self.window.click_on('check box', '=' + ALLOW)
            self.window.find(says='=Needs attention')
            self.window.find(says='port')
            self.assertEqual([], self.window.audit())
        self.window.click_on('check box', '=' + ALLOW)
        self.window.find(says='=Off')
        self.window.click_on('check box', '=' + ALLOW)
        self.await_host()


class Custody(RemoteSettingsCase):
    def test_WithoutAServiceAFileForThePersonAloneHasTheKeyAndNothingElseHas(self):
        self.desk.install('grok', script(opening(), turn(says('Working on it.'))))
        self.open_project(self.desk.project())
        self.turn_on()
        self.window.key('Escape')
        self.window.await_front('=' + TITLE)
        self.prompt('Hi')
        self.reads('Working on it.')
        key = self.stored_file()
        self.assertEqual((32, 0o600, 0o700), (len(key), self.mode(self.secret_file), self.mode(os.path.dirname(self.secret_file))))
        forms = (key, key.hex().encode(), base64.b64encode(key).rstrip(b'='), base64.urlsafe_b64encode(key).rstrip(b'='))
        children = self.window.children_of(self.app)
        self.assertTrue(children)
        for pid in [self.app.pid, *children]:
            for name in ('cmdline', 'environ'):
                with open(f'/proc/{pid}/{name}', 'rb') as file:
                    self.assertHasNone(forms, file.read(), f'{name} of {pid}')
        self.assertHasNone(forms, self.app.output.encode(), 'the output')
        self.end()
        self.assertEqual([self.secret_file], [path for path in self.files() if any(form in self.content(path) for form in forms)])

    def assertHasNone(self, forms, content, where):
        self.assertFalse(any(form in content for form in forms), where)

    @staticmethod
    def mode(path):
        return stat.S_IMODE(os.stat(path).st_mode)

    @staticmethod
    def content(path):
        with open(path, 'rb') as file:
            return file.read()

    def files(self):
        for top in {self.desk.home, self.window.dir, self.desk.scripts}:
            for folder, _, names in os.walk(top):
                paths = (os.path.join(folder, name) for name in names)
                yield from (path for path in paths if os.path.isfile(path) and not os.path.islink(path))

    def test_AKeyringHasTheKeyAndNoFileHas(self):
        keyring = self.keyring()
        self.open()
        self.turn_on()
        link = self.link()
        self.assertEqual(self.key_of(link), keyring.stored())
        self.assertFalse(os.path.exists(os.path.dirname(self.secret_file)))
        self.end()
        self.open()
        self.open_settings()
        self.await_host()
        self.assertEqual(link, self.link())

    def test_AKeyOfThePreferencesMovesIntoTheKeyring(self):
        keyring = self.keyring()
        old = os.path.join(self.window.env['XDG_DATA_HOME'], 'tessarin', 'remoteHostSecret.v1')
        os.makedirs(os.path.dirname(old))
        with open(old, 'wb') as file:
            file.write(KEY)
        self.open()
        self.turn_on()
        self.assertEqual(KEY, self.key_of(self.link()))
        self.assertEqual(KEY, keyring.stored())
        wait_for('the preference to go', lambda: not os.path.exists(old))

    def test_ALockedKeyringLeavesAKeyForThisRun(self):
        keyring = self.keyring()
        keyring.lock()
        self.open()
        self.turn_on()
        self.assertEqual(32, len(self.key_of(self.link())))
        self.assertTrue(keyring.is_locked)
        self.assertEqual(([], []), keyring.items())
        self.assertFalse(os.path.exists(os.path.dirname(self.secret_file)))

    def test_AServiceThatNeverAnswersHoldsUpNeitherTheWindowNorTheEnd(self):
        bus = SessionBus(self.window.env['DBUS_SESSION_BUS_ADDRESS'])
        service = FakeService(bus, {'/org/freedesktop/secrets': SERVICE}, lambda *_: None)
        self.addCleanup(service.stop)
        wait_for('the service', lambda: bus.has(NAME))
        self.open()
        self.open_settings()
        self.window.click_on('check box', '=' + ALLOW)
        self.window.find(says='=Starting…')
        self.assertFalse(self.window.exists('image', '=' + CODE))
        self.assertFalse(self.window.find('~button', '=Copy Pairing Link').has('enabled'))
        self.app.must_live = False
        self.window.key('Ctrl+Q')
        self.assertEqual(0, self.app.wait(8))


class OnAWideScreen(RemoteSettingsCase):
    def test_TheWholeFormIsSeen(self):
        self.open()
        self.keep('settings-off', self.open_settings)
        self.window.click_on('check box', '=' + ALLOW)
        self.await_host()
        self.keep('settings-on')
        x, y, width, height = self.place()
        for element in self.window.find_all(name='/./', showing=False, within=self.window.find('panel', '=Android Remote')):
            left, top, across, down = element.rect
            self.assertTrue(x <= left and y <= top and left + across <= x + width and top + down <= y + height, element)

    def test_TooMuchStaysWithinItsPlace(self):
        self.desk.prefer(remoteAdvertisedHost_v1='a-very-long-name-of-a-computer.' * 20)
        self.open()
        self.turn_on()
        self.keep('settings-long')
        copy, field = self.window.find('~button', '=Copy Pairing Link').rect, self.window.find('~input', '=Mac address or Tailscale IP').rect
        self.assertLessEqual(field[0] + field[2], copy[0])
        before = self.window.image(of=copy)
        self.window.click_on('~input', '=Mac address or Tailscale IP')
        self.window.key('End')
        self.window.move(*self.window.find('heading', '=Android Remote').point())
        self.window.still(timeout=3)
        self.assertEqual(before, self.window.image(of=copy))

    def keep(self, state, bring=lambda: None):
        bring()
        self.window.still(timeout=3)
        self.window.shot(os.path.join(SCREENSHOTS, f'{state}-{self.appearance}-{self.screen[0]}x{self.screen[1]}.png'))


class OnAWideScreenInTheDark(OnAWideScreen):
    appearance = 'dark'


class OnALowScreen(OnAWideScreen):
    screen = LEAST

    def test_TheWholeFormIsSeen(self):
        super().test_TheWholeFormIsSeen()
        self.assertLessEqual(self.place()[3], LEAST[1])


if __name__ == '__main__':
    main()
