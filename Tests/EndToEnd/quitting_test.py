"""Quitting: asked once while an agent works, and then whatever was started ends and whatever was shown is there the next time."""
import json
import os
import signal
import time

from acp import opening, says, script, thinks, turn, until
from asking import NO, ONCE, asks
from begun import Begun
from desk import task
from dialects import codex_opening, codex_script
from driver.session_manager import SessionManager
from settings_case import SettingsCase
from window_case import TITLE, WindowCase, main

QUESTION = 'Quit tessarin?'
WORKING = 'Grok is still working in “Mend it”. Quitting stops it; what it has written stays.'


class QuittingCase(Begun, WindowCase):
    def open_working(self, *happenings, prefix=(), hold=until('go'), project='aurora'):
        """A turn that says half of something and goes on for ever."""
        self.open_begun('Mend it', turn(says('Half an answ'), *happenings, hold), project=project, prefix=prefix)
        self.prompt('mend it')
        self.reads('Half an answ')

    def await_question(self):
        return self.window.find('dialog', QUESTION)

    def await_no_question(self):
        self.window.wait_gone('dialog', QUESTION)
        self.assertTrue(self.app.running)

    def expect_end(self):
        self.app.must_live = False

    def ends(self):
        self.assertEqual(self.app.wait(15), 0)

    def shown_texts(self):
        return [one['text'] for one in self.desk.stored()[0]['threads'][0]['entries']]

    def ended(self, pid):
        """Gone, or a zombie that this test has adopted."""
        try:
            with open(f'/proc/{pid}/stat', 'rb') as file:
                return file.read().rpartition(b')')[2].split()[0] in (b'Z', b'X')
        except OSError:
            return True

    def runtime_pid(self, name='grok'):
        return self.desk.record(name, self.desk.sessions(name)[-1])[0]['start']['pid']


class Question(QuittingCase):
    def test_CtrlQAsksOnceAndAgainSaysYes(self):
        self.open_working()
        self.window.key('Ctrl+Q')
        dialog = self.await_question()
        self.window.find(says=WORKING, within=dialog)
        self.assertEqual(self.window.audit(), [])
        self.window.wait(lambda: self.window.find('~button', '=Cancel').focused, what='the focus on Cancel')
        self.expect_end()
        self.window.key('Ctrl+Q')
        self.ends()

    def test_EscapeAndCancelKeepTheProgramAndItsAgent(self):
        self.open_working(until('on'), says('er.'))
        self.window.key('Ctrl+Q')
        self.await_question()
        self.window.key('Escape')
        self.await_no_question()
        self.window.key('Ctrl+Q')
        self.await_question()
        self.window.wait(lambda: self.window.find('~button', '=Cancel').focused, what='the focus on Cancel')
        self.window.key('Return')
        self.await_no_question()
        self.desk.release('on')
        self.reads('Half an answer.')
        self.window.type('the keys are in the message again')
        self.reads('the keys are in the message again')

    def test_TheMenuAsksAndTheButtonQuits(self):
        self.open_working()
        self.window.click_on('~menu bar item', '=File')
        self.window.click_on('~menu item', '=Quit')
        self.await_question()
        self.expect_end()
        self.window.click_on('~button', '=Quit')
        self.ends()

    def test_TheButtonQuitsForAScreenReader(self):
        self.open_working()
        self.window.key('Ctrl+Q')
        self.await_question()
        self.expect_end()
        self.window.press('~button', '=Quit')
        self.ends()

    def test_ClosingTheWindowAsksAndClosingItAgainSaysYes(self):
        self.open_working()
        self.window.close_window(TITLE)
        self.await_question()
        self.expect_end()
        self.window.close_window(TITLE)
        self.ends()

    def test_AMinimisedWindowComesBackToAsk(self):
        self.open_working()
        window = self.window.xwindow(TITLE)
        self.window.minimise(TITLE)
        self.window.screen.ask_to_close(window)
        self.window.await_front('=' + TITLE)
        self.await_question()

    def test_ClosingTheSettingsIsNoQuit(self):
        self.open_working()
        self.window.key('Ctrl+,')
        self.window.wait_window('Settings')
        self.window.close_window('Settings')
        self.window.wait_gone('frame', 'Settings')
        self.assertFalse(self.window.exists('dialog', QUESTION))
        self.assertTrue(self.app.running)

    def test_OverTheSettingsTheQuestionStandsInThem(self):
        self.open_working()
        self.window.key('Ctrl+,')
        self.window.await_front('=Settings')
        self.window.key('Ctrl+Q')
        dialog = self.await_question()
        self.assertTrue(self.window.still(timeout=5))
        self.assertEqual(self.window.active_title(), 'Settings')
        x, y, width, height = self.window.xwindows()[self.window.xwindow('Settings')][1]
        left, top, across, down = self.window.find('~button', '=Cancel', within=dialog).rect
        self.assertTrue(x <= left and left + across <= x + width and y <= top and top + down <= y + height)
        self.window.key('Escape')
        self.await_no_question()
        self.window.find('frame', 'Settings')
        self.window.key('Ctrl+Q')
        self.await_question()
        self.expect_end()
        self.window.key('Ctrl+Q')
        self.ends()

    def test_WhileAnAgentAsksOnlyOneQuestionStands(self):
        self.open_working(asks(ONCE, NO, title='Run make'))
        self.window.find('dialog', 'Grok needs permission')
        self.window.key('Ctrl+Q')
        self.await_question()
        self.window.wait_gone('dialog', 'Grok needs permission')
        self.window.key('Escape')
        self.await_no_question()
        self.window.find('dialog', 'Grok needs permission')
        self.assertEqual([message for message in self.desk.received('grok', self.desk.sessions('grok')[-1]) if message.get('id') == 7], [])

    def test_TheQuestionGoesWhenTheTurnEndsAndTheProgramStays(self):
        self.open_working()
        self.window.key('Ctrl+Q')
        self.await_question()
        self.desk.release('go')
        self.await_no_question()
        self.await_status('Ready')
        self.expect_end()
        self.window.key('Ctrl+Q')
        self.ends()

    def test_WhereNothingWorksNothingIsAsked(self):
        self.desk.install('grok', script(opening(), turn(says('Done.'))))
        self.open_project(self.desk.project())
        self.prompt('hello')
        self.await_status('Ready')
        self.expect_end()
        self.window.key('Ctrl+Q')
        self.ends()

    def test_ASignalNeverAsks(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(number):
                self.open_working(project=f'project {number}')
                self.expect_end()
                os.kill(self.app.pid, number)
                self.ends()
                self.assertIn('Half an answ', self.shown_texts())


class End(QuittingCase):
    def quit(self):
        self.expect_end()
        self.window.key('Ctrl+Q')
        self.await_question()
        self.window.key('Ctrl+Q')
        self.ends()

    def test_WhatWasShownIsThereTheNextTime(self):
        self.open_working()
        self.quit()
        self.assertEqual(self.shown_texts(), ['Earlier.', 'mend it', 'Half an answ'])
        self.open()
        self.reads('Half an answ')

    def test_ARuntimeIsAskedToEndOnce(self):
        self.open_working()
        start = self.desk.sessions('grok')[-1]
        self.quit()
        self.assertEqual(len(self.desk.await_end('grok', start)), 1)

    def test_ARuntimeThatIgnoresTheSignalEndsWithItsInput(self):
        self.open_working(prefix=[{'ignoreTerm': True}], hold={'expect': 'never'})
        start, pid = self.desk.sessions('grok')[-1], self.runtime_pid()
        began = time.monotonic()
        self.quit()
        self.assertLess(time.monotonic() - began, 10)
        self.window.wait(lambda: self.ended(pid), what='the end of the runtime')
        self.assertIn({'stdinClosed': True}, self.desk.record('grok', start))

    def test_AGrandchildThatKeepsTheStreamsHoldsUpNothing(self):
        self.open_working({'grandchild': 'let-go'})
        pid = self.runtime_pid()
        self.quit()
        self.window.wait(lambda: self.ended(pid), what='the end of the runtime')
        self.desk.release('let-go')

    def test_CodexIsAskedToEndToo(self):
        self.desk.install('codex', codex_script(codex_opening(), [{'expect': 'turn/start'}, until('go')]))
        self.open_project((self.desk.project(), [task('Mend it')]))
        self.prompt('mend it')
        self.reads('Codex is working…')
        pid, start = self.runtime_pid('codex'), self.desk.sessions('codex')[-1]
        self.quit()
        self.window.wait(lambda: self.ended(pid), what='the end of the runtime')
        self.desk.await_end('codex', start)

    def test_AProgramThatHangsInItsVersionEndsWithASignal(self):
        self.hanging_probe_ends_with(lambda: os.kill(self.app.pid, signal.SIGTERM))

    def test_AProgramThatHangsInItsVersionEndsWithTheKey(self):
        self.hanging_probe_ends_with(lambda: self.window.key('Ctrl+Q'))

    def hanging_probe_ends_with(self, quit):
        self.desk.install('grok', {'commands': {'--version': {'steps': [until('never')]}}})
        self.open_project(self.desk.project())
        self.window.wait(lambda: self.desk.record('grok-command'), what='the question for the version')
        pid = self.desk.record('grok-command')[0]['start']['pid']
        self.expect_end()
        quit()
        self.ends()
        self.window.wait(lambda: self.ended(pid), what='the end of the program that hangs')

    def test_AKillInTheMiddleOfQuittingTearsNothing(self):
        for delay in (0, 0.01, 0.03, 0.1):
            with self.subTest(delay):
                self.open_working(project=f'project {delay}')
                self.window.key('Ctrl+Q')
                self.await_question()
                self.window.key('Ctrl+Q')
                time.sleep(delay)  # wherever it is then
                self.app.kill_alone()
                texts = self.shown_texts()
                self.assertIn(texts, (['Earlier.', 'mend it', 'Half an answ'], ['Earlier.', 'mend it'], ['Earlier.']))
                preferences = os.path.join(self.desk.home, '.config', 'tessarin', 'preferences.json')
                if os.path.exists(preferences):
                    with open(preferences) as file:
                        json.load(file)

    def test_AGenerationIsAskedAbout(self):
        self.desk.install('grok', script(opening(), turn(thinks('Hm.'), until('go'))))
        self.open_project((self.desk.project(), [task('Mend it')]))
        self.window.key('Ctrl+2')
        prompt = self.window.find('~input', '=Prompt')
        self.window.wait(lambda: prompt.focused, what='the focus in the prompt')
        self.window.type('a wheel')
        self.window.key('Return')
        self.reads('Grok is generating an image…')
        self.window.key('Ctrl+Q')
        dialog = self.await_question()
        self.window.find(says='Grok is still generating in Imagine. Quitting stops it; what is in the library stays.', within=dialog)
        self.expect_end()
        self.window.key('Ctrl+Q')
        self.ends()


class SignIns(SettingsCase, QuittingCase):
    BUTTONS = {'grok': 'Log in with SuperGrok', 'codex': 'Log in with ChatGPT', 'kimi': 'Log in with Kimi'}

    def begin(self, name):
        """Signs in from the settings; the number of the process, and the record that it writes."""
        self.see('push button', '=' + self.BUTTONS[name]).click()

        def sign_in():
            starts = [(start, self.desk.record(name + '-command', start)) for start in range(1, 10)]
            return next(((lines[0]['start']['pid'], start) for start, lines in starts
                         if lines and lines[0]['start']['argv'][1:] == ['login']), None)
        return self.window.wait(sign_in, what=f'the sign-in of {name}')

    def open_person_terminal(self):
        """With the command to sign in to Claude; its number."""
        place = os.path.join(self.desk.home, 'terminal')
        terminal = os.path.join(self.desk.runtimes, 'xdg-terminal-exec')
        with open(terminal, 'w') as file:
            file.write(f'#!/bin/sh\necho $$ > "{place}.new"\nmv "{place}.new" "{place}"\nexec sleep 600\n')
        os.chmod(terminal, 0o755)
        self.see('push button', '=Log in with Claude').click()
        self.window.wait(lambda: os.path.exists(place), what='the terminal')
        with open(place) as file:
            return int(file.read())

    def test_SignInsEndWithTheProgramAndAreNotAskedAboutButThePersonsTerminalStays(self):
        for name in self.BUTTONS:
            self.desk.install(name, {'commands': {'--version': {'output': '1'}, 'login status': {'output': 'Not logged in', 'status': 1},
                                                  'login': {'steps': [{'raw': 'Open your browser.\n'}, until('never')]}}})
        self.desk.install('claude', {'commands': {'--version': {'output': '1'}, 'auth status': {'output': '{}', 'status': 1}}})
        self.open()
        self.open_settings()
        begun = {name: self.begin(name) for name in self.BUTTONS}
        terminal = self.open_person_terminal()
        self.addCleanup(lambda: self.ended(terminal) or os.kill(terminal, signal.SIGTERM))
        self.assertLessEqual({pid for pid, _ in begun.values()}, self.window.children_of(self.app))
        self.expect_end()
        self.window.key('Ctrl+Q')
        self.ends()
        for name, (pid, start) in begun.items():
            self.window.wait(lambda pid=pid: self.ended(pid), what=f'the end of the sign-in of {name}')
            self.assertEqual(len(self.desk.await_end(name + '-command', start)), 1, 'asked to end, once')
        self.assertFalse(self.ended(terminal))

    def test_ASignInEndsWithASignalToo(self):
        self.desk.install('grok', {'commands': {'--version': {'output': '1'}, 'login': {'steps': [until('never')]}}})
        self.open()
        self.open_settings()
        pid, start = self.begin('grok')
        self.expect_end()
        os.kill(self.app.pid, signal.SIGTERM)
        self.ends()
        self.window.wait(lambda: self.ended(pid), what='the end of the sign-in')
        self.desk.await_end('grok-command', start)


class SessionEnd(QuittingCase):
    """The person logs out of the desktop."""

    def setUp(self):
        super().setUp()
        self.manager = SessionManager(self.window.env)
        self.addCleanup(self.manager.stop)
        self.window.env['SESSION_MANAGER'] = self.manager.address

    def await_heard(self, what):
        self.window.wait(lambda: what in self.manager.heard, what=f'the program to have {what}, after {self.manager.heard}')

    def log_out(self, interaction):
        self.await_heard('registered')
        self.manager.log_out(interaction)

    def test_WhereItMayBeAskedTheLogoutIsCalledOffForTheQuestion(self):
        self.open_working()
        self.log_out('any')
        self.await_heard('cancelled')
        self.await_question()
        self.expect_end()
        self.window.key('Ctrl+Q')
        self.ends()

    def test_ASecondLogoutSaysYesWhileTheQuestionStands(self):
        self.open_working()
        self.log_out('any')
        self.await_heard('cancelled')
        self.await_question()
        self.expect_end()
        self.log_out('any')
        self.ends()
        self.assertEqual(self.manager.heard.count('asks'), 1)
        self.assertIn('Half an answ', self.shown_texts())

    def test_WhoSaysNoToTheQuestionOfALogoutIsAskedByTheNext(self):
        self.open_working()
        self.log_out('any')
        self.await_heard('cancelled')
        self.await_question()
        self.window.key('Escape')
        self.await_no_question()
        self.log_out('any')
        self.window.wait(lambda: self.manager.heard.count('cancelled') == 2, what='the second logout to be called off')
        self.await_question()

    def test_WhoUsesTheSettingsAfterALogoutInVainIsAskedWhenTheyCloseTheWindow(self):
        self.open_working()
        self.window.key('Ctrl+,')
        self.window.wait_window('Settings')
        self.window.wait(lambda: self.window.active_title() == 'Settings', what='the settings in front')
        self.log_out('in vain')
        self.await_heard('saved')
        self.window.key('Tab')
        self.window.close_window(TITLE)
        self.await_question()

    def test_WhereItMayNotNothingHoldsTheLogoutUp(self):
        self.open_working()
        self.expect_end()
        self.log_out('none')
        self.ends()
        self.assertNotIn('asks', self.manager.heard)
        self.assertIn('Half an answ', self.shown_texts())

    def test_WhereNothingWorksALogoutAsksNothing(self):
        self.desk.install('grok', script(opening()))
        self.open_project(self.desk.project())
        self.reads('What should we build?')
        self.expect_end()
        self.log_out('any')
        self.ends()
        self.assertNotIn('asks', self.manager.heard)


if __name__ == '__main__':
    main()
