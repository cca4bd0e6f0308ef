"""Software updates, from the settings and the menu to the bytes that are installed, against a server of HTTPS on this machine. The program
trusts its authority by SSL_CERT_FILE, and verifies with the key of debug builds."""
import json
import os
import subprocess
import sys
import tempfile

from settings_case import SettingsCase
from window_case import PROGRAM, SCREENSHOTS, TITLE, main

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, '..', 'Views'))
import https_server  # noqa: E402

SIGN = os.path.join(HERE, '..', '..', 'Packaging', 'scripts', 'sign-release')
KEY = os.path.join(HERE, '..', 'Updates', 'key-of-debug-builds.pem')
AUTOMATIC = 'Automatically check for updates'
FIELD = 'Update feed address'
USABLE = 'Sparkle will read the HTTPS appcast and verify the EdDSA-signed update archive before installing.'
UNUSABLE = 'Add an HTTPS appcast URL to enable updates.'
UPDATE = 'Software Update'
OLD, NEW = (b'\177ELF\2\1\1\0AI\2' + rest * 100_000 for rest in (b'old ', b'new '))
NOTES = '<h2>New</h2><ul><li>Faster</li><li>Smaller <img src="https://127.0.0.1/pixel.png"></li></ul>'


class UpdateCase(SettingsCase):
    """`self.folder` is what the server serves, `self.home` an installation from an AppImage."""

    @classmethod
    def setUpClass(cls):
        cls._folder = tempfile.TemporaryDirectory(prefix='tessarin-releases-')
        cls.addClassCleanup(cls._folder.cleanup)
        cls.folder = https_server.Paths.folder = cls._folder.name
        authority = https_server.Authority(cls.folder, 'authority')
        https_server.serve('good', authority.certify('good', 'IP:127.0.0.1'))
        https_server.serve('plain')
        cls.authority = authority.place + '.pem'

    def setUp(self):
        super().setUp()
        https_server.requests.clear()
        self.program = os.path.join(self.desk.home, 'Applications', 'tessarin.AppImage')
        self.downloads = os.path.join(self.desk.home, 'Downloads')
        for folder in (os.path.dirname(self.program), self.downloads):
            os.makedirs(folder)
        with open(self.program, 'wb') as file:
            file.write(OLD)
        self.window.env.update(SSL_CERT_FILE=self.authority, APPIMAGE=self.program, APPDIR=os.path.dirname(PROGRAM))

    def address(self, path, server='good'):
        return f'{"http" if server == "plain" else "https"}://127.0.0.1:{https_server.Paths.ports[server]}{path}'

    def publish(self, version='99.0', archive=NEW, name='tessarin-99.0.AppImage', url=None, key=KEY):
        """A feed with one release, as its publisher makes it."""
        place, feed, notes = (os.path.join(self.folder, file) for file in (name, 'appcast.xml', 'notes.html'))
        for file, content in ((place, archive), (notes, NOTES.encode())):
            with open(file, 'wb') as out:
                out.write(content)
        if os.path.exists(feed):
            os.remove(feed)
        subprocess.run([SIGN, 'add', '--key', key, '--version', version, '--url', url or self.address('/files/' + name), '--feed', feed,
                        '--notes', notes, place], check=True, capture_output=True, timeout=30)
        return feed

    def start(self, feed=None, **preferences):
        self.desk.prefer(updateFeedURL_v1=self.address('/files/appcast.xml') if feed is None else feed, **preferences)
        self.open()

    def preference(self, key):
        with open(os.path.join(self.window.env['XDG_CONFIG_HOME'], 'tessarin', 'preferences.json')) as file:
            return json.load(file).get(key)

    def open_settings(self):
        self.window.find('~menu bar item', '=File')
        super().open_settings()
        self.see('~button', '=Check Now')

    def ask(self):
        self.window.click_on('~menu bar item', '=Help')
        self.window.click_on('menu item', '=Check for Updates…')
        self.window.wait_window('=' + UPDATE)

    def end(self):
        self.app.must_live = False
        self.window.activate(TITLE)
        self.window.key('Ctrl+Q')
        self.assertEqual(0, self.app.wait())

    def content(self, path):
        with open(path, 'rb') as file:
            return file.read()

    def assert_nothing_was_installed(self):
        self.assertEqual(OLD, self.content(self.program))
        self.assertEqual(['tessarin.AppImage'], os.listdir(os.path.dirname(self.program)))
        self.assertEqual([], os.listdir(self.downloads))
        self.assertEqual([], self.window.file_manager.shown)
        incoming = os.path.join(self.window.env['XDG_DATA_HOME'], 'tessarin', 'updates', 'incoming')
        self.assertEqual([], os.listdir(incoming) if os.path.exists(incoming) else [])


class TheSection(UpdateCase):
    def controls(self):
        return self.window.find('check box', '=' + AUTOMATIC), self.window.find('~button', '=Check Now')

    def test_AnAddressThatIsNotUsableDisablesAllButTheFieldWhichRepairsIt(self):
        self.start('http://127.0.0.1/appcast.xml')
        self.open_settings()
        self.window.find('heading', '=Software Updates')
        self.window.find(says='=' + UNUSABLE)
        for control in self.controls():
            self.assertFalse(control.has('enabled'), control)
        field = self.window.find('~input', '=' + FIELD)
        self.assertEqual('http://127.0.0.1/appcast.xml', field.text)
        self.window.focus(field)
        self.window.key('Home', 'Right', 'Right', 'Right', 'Right')
        self.window.type('s')
        self.window.find(says='=' + USABLE)
        self.assertEqual('https://127.0.0.1/appcast.xml', field.text)
        self.window.wait(lambda: all(control.has('enabled') for control in self.controls()), what='the controls to be enabled')
        self.window.wait(lambda: self.preference('updateFeedURL.v1') == 'https://127.0.0.1/appcast.xml', what='it to be stored')
        self.assertEqual([], self.window.audit())

    def test_EachLetterIsStoredAndTheCaretStaysWhereAPersonTypes(self):
        self.start('https://127.0.0.1/ab')
        self.open_settings()
        field = self.window.find('~input', '=' + FIELD)
        self.window.focus(field)
        self.window.key('Home')
        self.window.type('  ')
        self.window.key('End', 'Left')
        self.window.type('1 2')
        self.assertEqual('  https://127.0.0.1/a1 2b', field.text)
        self.window.wait(lambda: self.preference('updateFeedURL.v1') == 'https://127.0.0.1/a1 2b', what='it to be stored without blanks')
        self.window.key('Tab')
        self.window.wait(lambda: field.text == 'https://127.0.0.1/a1 2b', what='what is stored to be shown')

    def test_TheMenuIsGreyedOutWhileTheFeedIsNotUsable(self):
        self.start('http://127.0.0.1/appcast.xml')
        self.window.click_on('~menu bar item', '=Help')
        self.assertFalse(self.window.find('menu item', '=Check for Updates…').has('enabled'))
        self.window.key('Escape')
        self.end()
        self.start()
        self.window.click_on('~menu bar item', '=Help')
        self.assertTrue(self.window.find('menu item', '=Check for Updates…').has('enabled'))

    def test_TheSwitchIsStoredAndTurnedOnALookFollows(self):
        self.publish('0.1')
        self.start()
        self.open_settings()
        self.assertFalse(self.controls()[0].checked)
        self.window.press('check box', '=' + AUTOMATIC)
        self.window.wait(lambda: self.controls()[0].checked, what='the switch to be on')
        self.window.wait(lambda: '/files/appcast.xml' in https_server.requests, what='a look at the feed')
        self.window.wait(lambda: self.preference('automaticallyChecksForUpdates') is True, what='it to be stored')

    def test_CheckNowIsToldInAWindowOfItsOwn(self):
        self.publish('0.1')
        self.start()
        self.open_settings()
        self.window.press('~button', '=Check Now')
        self.window.find('heading', "=You're up to date")
        self.window.await_front('=' + UPDATE)
        self.window.key('Escape')
        self.window.wait_gone('heading', "=You're up to date")


class AskedFor(UpdateCase):
    def test_WhatRunsIsTheNewestIsToldWithItsVersion(self):
        self.publish('0.1')
        self.start()
        self.ask()
        self.window.find('heading', "=You're up to date")
        self.window.find(says=r'/^tessarin [0-9.]+ is the newest version\.$/')
        self.window.wait(lambda: self.window.find('~button', '=Close').focused, what='the focus on the button')
        self.assertEqual([], self.window.audit())
        self.window.key('Return')
        self.window.wait_gone('heading', "=You're up to date")

    def test_ItsWindowGrowsAroundTheMiddleOfTheMainOne(self):
        self.publish()
        https_server.Paths.may_serve.clear()
        self.addCleanup(https_server.Paths.may_serve.set)
        self.start()
        self.ask()

        def top_and_height(title):
            return self.window.xwindows()[self.window.xwindow('=' + title)][1][1::2]

        def middle(title):
            top, height = top_and_height(title)
            return top + height / 2
        self.window.find('~button', '=Cancel')
        small = top_and_height(UPDATE)[1]
        self.assertLess(abs(middle(UPDATE) - middle(TITLE)), 12)
        https_server.Paths.may_serve.set()
        self.window.find('heading', '=tessarin 99.0 is available')
        self.window.wait(lambda: top_and_height(UPDATE)[1] > small + 48, what='a window that has grown')
        self.window.wait(lambda: abs(middle(UPDATE) - middle(TITLE)) < 12, what='the window in the middle')

    def test_AReleaseIsInstalledAndTheOldOneGoesWithTheNextStart(self):
        self.publish()
        self.start()
        self.ask()
        self.window.find('heading', '=tessarin 99.0 is available')
        notes = self.window.find('~input', '=Release notes')
        self.assertEqual('New\n\n• Faster\n• Smaller', notes.text)
        self.assertEqual([], self.window.audit())
        self.assertEqual(['/files/appcast.xml'], https_server.requests, 'nothing else is fetched before the person says so')
        self.window.click_on('~button', '=Install')
        self.window.find('heading', '=tessarin 99.0 is installed')
        self.assertEqual([], self.window.audit())
        self.assertEqual(NEW, self.content(self.program))
        self.assertEqual(OLD, self.content(self.program + '.previous'))
        self.window.key('Escape')
        self.end()
        self.open()
        self.window.wait(lambda: not os.path.exists(self.program + '.previous'), what='the version before to be removed')
        self.assertEqual(NEW, self.content(self.program))

    def test_AFileOfThePersonBesideTheProgramIsLeftAlone(self):
        own = self.program + '.previous'
        with open(own, 'wb') as file:
            file.write(b'mine')
        self.publish()
        self.start()
        self.ask()
        self.window.click_on('~button', '=Install')
        self.window.find('heading', '=tessarin 99.0 is installed')
        self.assertEqual(b'mine', self.content(own))
        self.assertEqual(OLD, self.content(own + '-2'))
        self.window.key('Escape')
        self.end()
        self.open()
        self.window.wait(lambda: not os.path.exists(own + '-2'), what='the version before to be removed')
        self.assertEqual(b'mine', self.content(own))

    def test_KeysAloneLeadFromTheMenuToTheInstall(self):
        self.publish()
        self.start()
        self.window.find('~menu bar item', '=Help')
        self.window.key('F10', 'Left', 'Down')
        item = self.window.find('menu item', '=Check for Updates…')
        for _ in range(5):
            if item.focused:
                break
            self.window.key('Down')
        self.window.key('Return')
        self.window.find('heading', '=tessarin 99.0 is available')
        self.window.await_front('=' + UPDATE)
        install = self.window.find('~button', '=Install')
        for _ in range(6):
            if install.focused:
                break
            self.window.key('Tab')
            self.window.wait(lambda: self.window.focused() is not None, what='a focus')
        self.window.wait(lambda: install.focused, what='the focus on the button')
        self.window.key('space')
        self.window.find('heading', '=tessarin 99.0 is installed')

    def test_WhatIsSignedByAnotherKeyIsNotInstalled(self):
        other = os.path.join(self.folder, 'other.pem')
        if not os.path.exists(other):
            subprocess.run([SIGN, 'make-key', other], check=True, capture_output=True, timeout=30)
        self.publish(key=other)
        self.start()
        self.ask()
        self.window.click_on('~button', '=Install')
        self.window.find(says='=The update was not installed. Its signature is not valid.')
        self.assertEqual([], self.window.audit())
        self.assert_nothing_was_installed()
        self.publish()
        self.window.click_on('~button', '=Try Again')
        self.window.find('heading', '=tessarin 99.0 is available')

    def test_AnOldReleaseUnderANewVersionIsNotInstalled(self):
        """It is genuine, and whoever has the server but not the key can say anything else of it."""
        feed = self.publish('0.1')
        with open(feed, encoding='utf-8') as file:
            told = file.read()
        self.assertEqual(1, told.count('<sparkle:version>0.1<'))
        with open(feed, 'w', encoding='utf-8') as file:
            file.write(told.replace('<sparkle:version>0.1<', '<sparkle:version>99.0<'))
        self.start()
        self.ask()
        self.window.click_on('~button', '=Install')
        self.window.find(says='=The update was not installed. Its signature is not valid.')
        self.assertEqual(['/files/appcast.xml'], https_server.requests, 'it is not even fetched')
        self.assert_nothing_was_installed()

    def test_BytesThatWereChangedAfterwardsAreNotInstalled(self):
        self.publish()
        with open(os.path.join(self.folder, 'tessarin-99.0.AppImage'), 'r+b') as file:
            file.seek(1000)
            file.write(b'x')
        self.start()
        self.ask()
        self.window.click_on('~button', '=Install')
        self.window.find(says='=The update was not installed. Its signature is not valid.')
        self.assert_nothing_was_installed()

    def test_AFeedThatLeadsToPlainHttpIsNotFollowed(self):
        self.start(self.address('/to-plain'))
        self.ask()
        self.window.find(says="=The update feed can't be fetched. The server led to an address that is not HTTPS.")
        self.assertEqual([], https_server.plain_requests)

    def test_AServerThatIsNotKnownIsNotTrusted(self):
        self.publish()
        del self.window.env['SSL_CERT_FILE']
        self.start()
        self.ask()
        self.window.find(says="The update feed can't be fetched. The server could not be verified")

    def test_ASlowDownloadIsCancelledAndLeavesNothing(self):
        self.publish(url=self.address('/slow'))
        self.start()
        self.ask()
        self.window.click_on('~button', '=Install')
        self.window.find('progress bar', '=Progress')
        self.window.find(says='=10 bytes of 400.0 kB')
        self.assertEqual([], self.window.audit())
        self.window.click_on('~button', '=Cancel')
        self.window.wait(lambda: UPDATE not in dict(self.window.xwindows().values()), what='the window to go')
        self.assert_nothing_was_installed()

    def test_WithoutAnAppImageTheVerifiedArchiveIsShownInTheFileManager(self):
        self.window.env.pop('APPIMAGE')
        self.publish(archive=b'!<arch>\n', name='tessarin_99.0_amd64.deb')
        self.start()
        self.ask()
        self.window.click_on('~button', '=Download')
        self.window.find('heading', '=tessarin 99.0 is verified')
        kept = os.path.join(self.downloads, 'tessarin_99.0_amd64.deb')
        self.assertEqual(b'!<arch>\n', self.content(kept))
        self.window.wait(lambda: self.window.file_manager.shown == [('ShowItems', ['file://' + kept])], what='the file manager')
        self.assertEqual([], self.window.audit())
        self.assertEqual(OLD, self.content(self.program))

    def test_AnAppImageFromWhichTheProgramDoesNotRunIsLeftAlone(self):
        self.window.env['APPDIR'] = self.desk.home
        self.publish()
        self.start()
        self.ask()
        self.window.click_on('~button', '=Download')
        self.window.find('heading', '=tessarin 99.0 is verified')
        self.assertEqual(OLD, self.content(self.program))


class ByItself(UpdateCase):
    def test_AReleaseIsShownWithoutTakingTheKeysFromAnybody(self):
        self.publish()
        self.start(automaticallyChecksForUpdates=True)
        self.window.wait_window('=' + UPDATE)
        self.window.find('heading', '=tessarin 99.0 is available')
        self.assertEqual(TITLE, self.window.active_title())
        self.window.key('space', 'Return')
        self.assertTrue(self.window.exists('heading', '=tessarin 99.0 is available'))
        self.assertEqual(['/files/appcast.xml'], https_server.requests)
        self.window.activate(UPDATE)
        self.window.key('space', 'Return')
        self.assertTrue(self.window.exists('heading', '=tessarin 99.0 is available'), 'the keyboard begins at the notes')
        self.assert_nothing_was_installed()

    def test_WithoutANewerOneNothingIsShown(self):
        self.publish('0.1')
        self.start(automaticallyChecksForUpdates=True)
        self.window.wait(lambda: https_server.requests == ['/files/appcast.xml'], what='a look at the feed')
        self.window.wait(lambda: self.preference('lastUpdateLook.v1') is not None, what='the look to be stored')
        self.window.still(timeout=3)
        self.assertNotIn(UPDATE, dict(self.window.xwindows().values()))

    def test_ASkippedVersionIsNotShownAgain(self):
        self.publish()
        self.start(automaticallyChecksForUpdates=True)
        self.window.press('~button', '=Skip This Version')
        self.window.wait(lambda: UPDATE not in dict(self.window.xwindows().values()), what='the window to go')
        self.window.wait(lambda: self.preference('skippedUpdateVersion.v1') == '99.0', what='it to be stored')
        self.end()
        https_server.requests.clear()
        self.start(automaticallyChecksForUpdates=True, skippedUpdateVersion_v1='99.0')
        self.window.wait(lambda: https_server.requests == ['/files/appcast.xml'], what='a look at the feed')
        self.window.still(timeout=3)
        self.assertNotIn(UPDATE, dict(self.window.xwindows().values()))

    def test_OffItAsksNobody(self):
        self.publish()
        self.start()
        self.window.find('~menu bar item', '=Help')
        self.ask()
        self.window.find('heading', '=tessarin 99.0 is available')
        self.assertEqual(['/files/appcast.xml'], https_server.requests)


class Pictures(UpdateCase):
    def keep(self, state):
        self.window.move(2, 2)
        self.window.still(timeout=3)
        place = next(place for name, place in self.window.xwindows().values() if name == UPDATE)
        self.window.shot(os.path.join(SCREENSHOTS, f'updates-{state}-{self.appearance}.png'), of=place)
        self.assertGreater(self.window.colours(place), 20)
        for element in self.window.find_all(('push button', 'label', 'heading'), within=self.window.find('frame', '=' + UPDATE)):
            x, y, across, down = element.rect
            self.assertTrue(place[0] <= x and x + across <= place[0] + place[2], element)
            self.assertTrue(place[1] <= y and y + down <= place[1] + place[3], element)

    def test_EveryStage(self):
        self.publish('0.1')
        self.start()
        self.ask()
        self.window.find('heading', "=You're up to date")
        self.keep('newest')
        self.publish(url=self.address('/slow'))
        self.window.key('Escape')
        self.window.wait(lambda: UPDATE not in dict(self.window.xwindows().values()), what='the window to go')
        self.ask()
        self.window.find('heading', '=tessarin 99.0 is available')
        self.keep('found')
        self.window.press('~button', '=Install')
        self.window.find(says='=10 bytes of 400.0 kB')
        self.keep('fetching')
        self.window.press('~button', '=Cancel')
        self.window.wait(lambda: UPDATE not in dict(self.window.xwindows().values()), what='the window to go')
        self.publish(archive=b'no AppImage')
        self.ask()
        self.window.press('~button', '=Install')
        self.window.find('heading', '=The update failed')
        self.keep('failed')

    def test_TheSection(self):
        self.start()
        self.open_settings()
        self.window.still(timeout=3)
        place = self.place()
        self.window.shot(os.path.join(SCREENSHOTS, f'updates-section-{self.appearance}.png'), of=place)
        across = self.window.find('~input', '=' + FIELD).rect[0] + self.window.find('~input', '=' + FIELD).rect[2]
        self.assertLess(across, self.window.find('~button', '=Check Now').rect[0])


class PicturesInTheDark(Pictures):
    appearance = 'dark'


if __name__ == '__main__':
    main()
