"""The dialog for a program in the settings: the desktop's own where it has one, else that of the window."""
import os

from driver.portal import Portal
from settings_test import GROK, KIMI, CLAUDE, RuntimesCase
from window_case import SCREENSHOTS, main


class Choosing(RuntimesCase):
    def portal(self, **more):
        portal = Portal(self.window.env['DBUS_SESSION_BUS_ADDRESS'], **more).begin()
        self.addCleanup(portal.stop)
        return portal

    def test_TheDesktopsOwnDialogChoosesOneFile(self):
        path = self.tool('my claude', 'echo chosen')
        portal = self.portal(answer=['file://' + path.replace(' ', '%20')], chooser_version=1)
        self.open()
        self.open_settings()
        self.button(CLAUDE, 'Choose…').click()
        self.await_stored('claudeExecutablePath', path)
        self.await_state(CLAUDE, 'chosen')
        self.assertEqual(path, self.field(CLAUDE).text)
        parent, title, options = portal.asked[0]
        self.assertEqual('Choose the claude executable', title)
        self.assertEqual((False, True, False), (options['directory'], options['modal'], options.get('multiple', False)))
        self.assertEqual('x11:%x' % self.window.xwindow('Settings'), parent)

    def test_GivingUpTheDesktopsDialogChangesNothing(self):
        portal = self.portal(answer=None)
        self.open()
        self.open_settings()
        self.button(GROK, 'Choose…').click()
        self.window.wait(lambda: portal.asked, what='the dialog')
        self.field(GROK)
        self.assertIsNone(self.stored('grokExecutablePath'))
        self.assertFalse(self.window.exists('dialog'))

    def test_WhileTheDialogOfTheDesktopStandsNoOtherIsAskedFor(self):
        path = self.tool('grok', 'echo chosen')
        portal = self.portal(holds=True)
        self.open()
        self.open_settings()
        for heading in (GROK, GROK, KIMI):
            self.button(heading, 'Choose…').click()
        self.window.wait(lambda: portal.asked, what='the dialog')
        portal.choose(['file://' + path])
        self.await_state(GROK, 'chosen')
        self.button(KIMI, 'Choose…').click()
        self.window.wait(lambda: portal.asked[-1][1] == 'Choose the kimi executable', what='the next dialog')
        self.assertEqual(['Choose the grok executable', 'Choose the kimi executable'], [title for _, title, _ in portal.asked])

    def test_APortalThatDiesUnderItsDialogLeavesTheNextToOurs(self):
        portal = self.portal(holds=True)
        self.open()
        self.open_settings()
        self.button(GROK, 'Choose…').click()
        self.window.wait(lambda: portal.asked, what='the dialog')
        portal.stop()

        def is_ours():
            self.button(GROK, 'Choose…').click()
            return self.window.exists('dialog', '=Choose the grok executable')
        self.window.wait(is_ours, what='our dialog')

    def test_APortalThatIsSilentIsNotWaitedForAsLongAsTheBusWould(self):
        portal = self.portal()
        self.open()
        self.open_settings()
        portal.fall_silent()
        self.button(GROK, 'Choose…').click()
        self.window.find('dialog', '=Choose the grok executable', timeout=10)

    def test_WithoutADialogOfTheDesktopOursStandsOverTheSettings(self):
        path = self.tool('grok', 'echo found by hand')
        os.makedirs(os.path.join(self.tools, '.hidden'))
        self.open()
        self.open_settings()
        self.button(GROK, 'Choose…').click()
        sheet = self.window.find('dialog', '=Choose the grok executable', within=self.window.find('frame', '=Settings'))
        field = self.window.find('~input', '=Path', within=sheet)
        self.window.wait(lambda: field.focused, what='the focus in the path')
        self.paste_folder()
        self.window.key('Return')
        self.window.find('list item', '=.hidden', within=sheet)
        self.window.still(timeout=3)
        self.window.shot(os.path.join(SCREENSHOTS, f'settings-choose-{self.appearance}.png'))
        self.window.place('Settings', 100, 40, 520, 320)
        self.keep('settings-choose', (520, 320))
        for name in ('Cancel', 'Choose'):
            x, y, across, down = self.window.find('push button', '=' + name, within=sheet).rect
            self.assertTrue(100 <= x and y + down <= 360 and x + across <= 620, name)
        self.window.click_on('list item', '=grok', within=sheet)
        self.window.wait(lambda: self.window.find('~input', '=Path').text == path, what='the path of the file')
        self.window.click_on('push button', '=Choose', within=sheet)
        self.window.wait_gone('dialog')
        self.await_stored('grokExecutablePath', path)
        self.await_state(GROK, 'found by hand')

    def test_OurDialogWorksByTheKeysAloneAndEscapeClosesItFirst(self):
        path = self.tool('kimi', 'echo by keys')
        self.open()
        self.open_settings()
        self.window.focus(self.button(KIMI, 'Choose…'))
        self.window.key('space')
        self.window.find('dialog', '=Choose the kimi executable')
        self.window.key('Escape')
        self.window.wait_gone('dialog')
        self.assertEqual('Settings', self.window.active_title())
        self.window.key('space')
        self.window.find('dialog', '=Choose the kimi executable')
        self.window.type('/nowhere/at all')
        self.window.key('Return')
        self.reads('There is no file “/nowhere/at all”.')
        self.window.key('Ctrl+A')
        self.paste_folder()
        self.window.key('Return')
        self.window.find('list item', '=kimi')
        self.window.key('Tab', 'Return')
        self.window.wait_gone('dialog')
        self.await_stored('kimiExecutablePath', path)


if __name__ == '__main__':
    main()
