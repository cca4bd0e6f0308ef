"""What the desktop around the window says and gives: light and dark, less motion, its dialog for folders."""
import os

from gi.repository import GLib

from acp import opening, script, turn, until
from driver.portal import Portal
from window_case import TITLE, WindowCase, main

SCHEME = ('org.freedesktop.appearance', 'color-scheme')
MOTION = ('org.freedesktop.appearance', 'reduced-motion')
DARK, LIGHT = GLib.Variant('u', 1), GLib.Variant('u', 2)


class Desktop(WindowCase):
    appearance = None  # as the desktop says

    def begin(self, **more):
        self.portal = Portal(self.window.env['DBUS_SESSION_BUS_ADDRESS'], **more).begin()
        self.addCleanup(self.portal.stop)

    def await_brightness(self, is_so, what):
        x, y, width, height = self.window.xwindows()[self.window.xwindow(TITLE)][1]
        self.window.wait(lambda: is_so(self.window.brightness((x, y, width, height))), what=what)

    def test_TheWindowFollowsTheDesktopIntoTheDarkAndBackWhileItRuns(self):
        self.begin(settings={SCHEME: DARK})
        self.open()
        self.reads('Subscription-first')
        self.await_brightness(lambda mean: mean < 70, 'a dark window')
        self.portal.change(*SCHEME, LIGHT)
        self.await_brightness(lambda mean: mean > 200, 'a light window')
        self.portal.change(*SCHEME, DARK)
        self.await_brightness(lambda mean: mean < 70, 'a dark window again')

    def test_NothingMovesWhereTheDesktopAsksForLessMotion(self):
        self.begin(settings={MOTION: GLib.Variant('u', 1)})
        self.desk.install('grok', script(opening(), turn(until('go'))))
        self.open_project(self.desk.project())
        self.reads('What should we build?')
        self.prompt('wait')
        self.reads('Grok is working…')
        x, y, _, height = self.window.find(says='Grok is working…').rect
        place = (x, y, 30, height)  # where the tesserae stand
        self.window.wait(lambda: self.window.still(place, timeout=2, every=0.4), what='tesserae that stand still')
        self.portal.change(*MOTION, GLib.Variant('u', 0))
        self.window.wait(lambda: not self.window.still(place, timeout=2, every=0.4), what='tesserae that move')

    def test_TheDesktopsOwnDialogChoosesTheFolder(self):
        project = self.desk.project('a folder with blanks')
        self.begin(answer=['file://' + project.replace(' ', '%20')])
        self.desk.install('grok', script(opening()))
        self.open()
        self.window.click_on('~button', '=Open a Project')
        self.reads('What should we build?')
        self.reads(project)
        parent, title, options = self.portal.asked[0]
        self.assertEqual(title, 'Choose a project')
        self.assertEqual((options['directory'], options['modal'], options['accept_label']), (True, True, 'Open Project'))
        self.assertEqual(parent, 'x11:%x' % self.window.xwindow(TITLE))

    def test_WhileTheDesktopsDialogStandsTheKeyAsksForNoOther(self):
        project = self.desk.project('another')
        self.begin(holds=True)
        self.desk.install('grok', script(opening()))
        self.open_project(self.desk.project())
        self.reads('What should we build?')
        self.window.key('Ctrl+O')
        self.window.wait(lambda: self.portal.asked, what='the dialog')
        self.window.key('Ctrl+O', 'F9')
        self.window.find('~button', '=Show the sidebar')  # so that the key before has been taken too
        self.portal.choose(['file://' + project])
        self.reads(project)
        self.assertEqual(1, len(self.portal.asked))
        self.window.key('Ctrl+O')
        self.window.wait(lambda: len(self.portal.asked) == 2, what='the next dialog')

    def size(self):
        return self.window.xwindows()[self.window.xwindow(TITLE)][1][2:]

    def test_AMaximizedWindowComesBackMaximizedAndKnowsItsPlace(self):
        self.begin()
        self.open()
        self.reads('Subscription-first')
        self.window.place(TITLE, 20, 30, 1100, 700)
        self.window.screen.ask_to_maximise(self.window.xwindow(TITLE))
        self.window.wait(lambda: self.size() == self.screen, what='the size of the screen')
        self.app.must_live = False
        self.window.close_window(TITLE)
        self.assertEqual(self.app.wait(15), 0)
        self.open()
        self.window.wait(lambda: self.size() == self.screen, what='the size of the screen again')
        self.window.wait(lambda: self.restored_size() == (1100, 700), what='the size of before')

    def restored_size(self):
        # Asked for again: the window manager may not have known yet that it is maximised.
        self.window.screen.ask_to_maximise(self.window.xwindow(TITLE), wanted=False)
        return self.size()

    def test_AScreenThatGotSmallerHoldsTheWindow(self):
        self.begin()
        self.desk.prefer(windowPlace_v1='1800 900 1600 1300')
        self.open()
        self.window.wait(lambda: self.size() == self.screen, what='a window no larger than the screen')
        x, y, _, _ = self.window.xwindows()[self.window.xwindow(TITLE)][1]
        self.assertEqual((x, y), (0, 0))

    def test_GivingUpInTheDesktopsDialogChangesNothing(self):
        self.begin(answer=None)
        self.open()
        self.window.click_on('~button', '=Open a Project')
        self.window.wait(lambda: self.portal.asked, what='the dialog')
        self.window.find('~button', '=Open a Project')
        self.assertFalse(self.window.exists('dialog'))
        self.assertFalse(os.path.exists(self.desk.tree_file))

    def test_ADesktopWhoseDialogKnowsNoFoldersGivesWayToOurs(self):
        self.begin(chooser_version=2)
        self.open()
        self.window.click_on('~button', '=Open a Project')
        self.window.find('dialog', 'Choose a project')
        self.assertEqual(self.portal.asked, [])


if __name__ == '__main__':
    main()
