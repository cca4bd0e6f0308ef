"""What the desktop tells of the tasks to a person who looks at something else, and how a click leads back."""
import json
import os
import signal

from acp import failing_turn, opening, says, script, turn, until
from asking import NO, ONCE, answered, asks
from begun import Begun
from desk import task
from driver.notifications import Notifications, forge_click
from library import field
from window_case import TITLE, WindowCase, main

LIMIT = 'Usage limit reached for this week.'
SWITCH = 'Notifications'


class NotificationCase(Begun, WindowCase):
    screen = (1280, 900)

    def begin(self, **more):
        self.server = Notifications(self.window.env['DBUS_SESSION_BUS_ADDRESS'], **more).begin()
        self.addCleanup(self.server.stop)

    def open_tasks(self, *scripted):
        """Two tasks, the first of which is shown, and a runtime that waits for "go" within its first turn."""
        self.open_begun('Mend the <wheel>', *scripted, others=[task('Paint it')])

    def look_away(self):
        """Another window gets the keys: here none, because the window of the program is put away."""
        self.hidden = self.window.xwindow(TITLE)
        self.window.minimise(TITLE)
        # Qt takes a moment before it believes that the keys are gone.
        frame = self.window.windows(showing=False)[0]
        self.window.wait(lambda: not frame.reload().has('active'), what='the program to know that')

    def come_back(self):
        self.window.xdotool('windowactivate', '--sync', self.hidden)

    def posted(self, count=1):
        self.window.wait(lambda: len(self.server.posted) >= count, what=f'notification {count}')
        self.assertEqual(len(self.server.posted), count, self.server.posted)
        return self.server.posted[-1]

    def await_closed(self, note):
        self.window.wait(lambda: note.id in self.server.closed, what='the notification to be closed')

    def run_away(self, *happenings):
        """A turn that goes on when the person has looked away."""
        self.open_tasks(turn(until('go'), *happenings))
        self.prompt('mend it')
        self.reads('Grok is working…')
        self.look_away()
        self.desk.release('go')

    def finished(self):
        self.begin()
        self.run_away(says('Mended.'))
        return self.posted()


class Kinds(NotificationCase):
    def test_TheEndOfATurnIsToldOfItsTask(self):
        note = self.finished()
        self.assertEqual((note.summary, note.body), ('Mend the <wheel>', 'Grok has finished.'))
        self.assertEqual((note.program, note.icon, note.hints), ('tessarin', 'tessarin', {'desktop-entry': 'tessarin', 'urgency': 1}))
        self.assertEqual((note.actions, note.timeout), (['default', 'Show'], -1))

    def test_AFailureIsToldWithItsReasonWhichIsNoMarkup(self):
        self.begin()
        self.open_tasks(failing_turn('The <b>wheel</b> & all\ncame off.', until('go')))
        self.prompt('mend it')
        self.look_away()
        self.desk.release('go')
        note = self.posted()
        self.assertEqual((note.summary, note.body), ('Mend the <wheel>', 'The &lt;b&gt;wheel&lt;/b&gt; &amp; all came off.'))

    def test_WhereTheBodyIsNoMarkupNothingIsEscaped(self):
        self.begin(capabilities=('body',))
        self.open_tasks(failing_turn('One < two.', until('go')))
        self.prompt('mend it')
        self.look_away()
        self.desk.release('go')
        note = self.posted()
        self.assertEqual((note.body, note.actions), ('One < two.', []))

    def test_AMoveToAnotherRuntimeIsToldAndThenItsEnd(self):
        self.begin()
        self.desk.install('kimi', script(opening('session-k'), turn(until('finish'), says('I went on.'))))
        self.open_tasks(failing_turn(LIMIT, until('go')))
        self.prompt('mend it')
        self.look_away()
        self.desk.release('go')
        self.assertEqual(self.posted().body, 'Grok allowance reached. Automatically handed this task to Kimi.')
        self.desk.release('finish')
        note = self.posted(2)
        self.assertEqual((note.body, note.replaces), ('Kimi has finished.', self.server.posted[0].id))

    def test_AnAgentThatAsksIsToldByItsTitleAloneUntilItIsAnswered(self):
        self.begin()
        secret = 'hunter2'
        self.open_tasks(turn(until('go'), asks(ONCE, NO, title='Write notes.txt', content=secret), answered(), until('finish')))
        self.prompt('mend it')
        self.look_away()
        self.desk.release('go')
        note = self.posted()
        self.assertEqual((note.summary, note.body, note.timeout), ('Mend the <wheel>', 'Grok needs permission: Write notes.txt', 0))
        self.assertNotIn(secret, str(note))
        self.come_back()
        self.await_closed(note)
        self.window.find('dialog', 'Grok needs permission')

    def test_ARequestThatIsLeftUnansweredIsToldWhenThePersonGoes(self):
        self.begin()
        self.open_tasks(turn(asks(ONCE, NO, title='Write notes.txt'), answered(), until('finish')))
        self.prompt('mend it')
        self.window.find('dialog', 'Grok needs permission')
        self.assertEqual(self.server.posted, [])
        self.look_away()
        note = self.posted()
        self.assertEqual((note.summary, note.body, note.timeout), ('Mend the <wheel>', 'Grok needs permission: Write notes.txt', 0))
        self.come_back()
        self.await_closed(note)

    def test_AGenerationIsToldOfImagineAndAClickLeadsThere(self):
        self.begin()
        picture = os.path.join(self.desk.folder, 'made.png')
        with open(picture, 'wb') as file:
            file.write(field(10, 80, 90))
        self.open_tasks(turn(until('go'), says('Saved ' + picture)))
        self.window.key('Ctrl+2')
        prompt = self.window.find('~input', '=Prompt')
        self.window.wait(lambda: prompt.focused, what='the focus in the prompt')
        self.window.type('a wheel')
        self.window.key('Return')
        self.reads('Grok is generating an image…')
        self.window.key('Ctrl+1')
        self.look_away()
        self.desk.release('go')
        note = self.posted()
        self.assertEqual((note.summary, note.body), ('Imagine', 'Grok has finished.'))
        self.server.click(note)
        self.window.await_front('=' + TITLE)
        self.reads('1 creation')

    def test_ATurnThatThePersonStoppedIsNotTold(self):
        self.begin()
        self.open_tasks(turn(until('go')), turn(until('again'), says('Now.')))
        self.prompt('mend it')
        self.reads('Grok is working…')
        self.window.key('Shift+Escape')
        self.reads('Stopped by you.')
        self.desk.release('go')
        self.prompt('mend it now')
        self.reads('Grok is working…')
        self.look_away()
        self.desk.release('again')
        self.assertEqual(self.posted().body, 'Grok has finished.')


class Manners(NotificationCase):
    def test_NothingIsToldWhileTheWindowHasTheFocus(self):
        self.begin()
        self.open_tasks(turn(says('Seen.')), turn(until('go'), says('Not seen.', 'answer-2')))
        self.prompt('mend it')
        self.reads('Seen.')
        self.await_status('Ready')
        self.prompt('once more')
        self.reads('Grok is working…')
        self.look_away()
        self.desk.release('go')
        self.posted()
        self.assertEqual(self.server.calls, ['GetCapabilities', 'Notify'])

    def test_ComingBackClosesWhatIsSeenThen(self):
        note = self.finished()
        self.come_back()
        self.await_closed(note)

    def test_TheEndOfTheProgramClosesWhatItHasPutUp(self):
        note = self.finished()
        self.assertEqual(self.app.stop(), 0)
        self.await_closed(note)

    def test_TheEndOfTheProgramClosesWhatItsServiceHasNotAnsweredYet(self):
        self.begin(holds=True)
        self.run_away(says('Mended.'))
        note = self.posted()
        self.app.must_live = False
        os.kill(self.app.pid, signal.SIGTERM)
        self.server.let_go(0.4)  # when the program has ended, if it does not wait
        self.assertEqual(self.app.wait(10), 0)
        self.await_closed(note)

    def test_AServiceThatAnswersNoNotificationHoldsUpNoEnd(self):
        self.begin(holds=True)
        self.run_away(says('Mended.'))
        self.posted()
        self.app.must_live = False
        os.kill(self.app.pid, signal.SIGTERM)
        self.assertEqual(self.app.wait(10), 0)
        self.assertEqual(self.server.closed, [])

    def test_AClickBringsTheWindowToTheFrontAndLeadsToTheTask(self):
        self.begin()
        self.run_away(says('Mended.'))
        note = self.posted()
        self.server.click(note, token='token_TIME1')
        self.window.await_front('=' + TITLE)
        self.reads('Mended.')

    def open_another(self):
        """A turn ends in the first task while nobody looks; the person comes back to Imagine and goes on to the other task."""
        self.begin()
        self.open_tasks(turn(until('go'), says('Mended.')))
        self.prompt('mend it')
        self.reads('Grok is working…')
        self.window.key('Ctrl+2')
        self.reads('0 creations')
        self.look_away()
        self.desk.release('go')
        note = self.posted()
        self.come_back()
        self.window.await_front('=' + TITLE)
        self.window.key('Ctrl+Page_Down')
        self.window.wait_gone(says='Mended.')
        self.reads('What should we build?')
        return note

    def test_AClickLeadsToItsTaskFromAnotherOne(self):
        note = self.open_another()
        self.look_away()
        self.server.click(note)
        self.window.await_front('=' + TITLE)
        self.reads('Mended.')
        self.assertEqual(len(self.server.posted), 1)

    def test_AClickThatWouldStopAnAgentIsAnsweredAndCanBeFollowedLater(self):
        note = self.open_another()
        self.desk.install('grok', script(opening('session-2'), turn(until('painted'), says('Painted.'))))
        self.prompt('paint it')
        self.reads('Grok is working…')
        self.server.click(note)
        again = self.posted(2)
        self.assertEqual((again.summary, again.body, again.replaces),
                         (note.summary, 'Grok is at work in another task. Click again when it has finished. ' + note.body, 0))
        self.reads('Grok is working…')
        self.desk.release('painted')
        self.reads('Painted.')
        self.await_status('Ready')
        self.server.click(again)
        self.reads('Mended.')
        self.assertEqual(len(self.server.posted), 2)

    def test_AClickThatTheDesktopDidNotSendIsNone(self):
        note = self.finished()
        forge_click(self.window.env['DBUS_SESSION_BUS_ADDRESS'], note)
        self.server.dismiss(note)
        # What came first has been read when the program knows of what came last: then it has nothing to close.
        self.assertEqual(self.window.xwindows(), {})
        self.come_back()
        self.reads('Mended.')
        self.assertEqual(self.server.closed, [])

    def test_WhatThePersonPutsAwayStaysAway(self):
        note = self.finished()
        self.server.dismiss(note)
        self.come_back()
        self.reads('Mended.')
        self.assertEqual((len(self.server.posted), self.server.closed), (1, []))

    def test_TheSwitchIsInTheViewMenuAndStaysAsItIs(self):
        self.begin()
        self.open_tasks(turn(until('go'), says('Mended.')))
        self.window.click_on('~menu bar item', '=View')
        item = self.window.find('~menu item', '=' + SWITCH)
        self.assertEqual((item.has('checked'), item.description), (True, 'On'))
        item.click()
        self.window.wait_gone('~menu item', '=' + SWITCH)
        self.window.key('F10', 'Right', 'Down')
        item = self.window.find('~menu item', '=' + SWITCH)
        self.assertEqual((item.has('checked'), item.description), (False, 'Off'))
        self.window.key('Escape')
        self.prompt('mend it')
        self.reads('Grok is working…')
        self.look_away()
        self.desk.release('go')
        self.window.wait(lambda: 'Mended.' in json.dumps(self.desk.stored()), what='the end of the turn')
        self.assertEqual(self.app.stop(), 0)
        self.assertEqual(self.server.calls, [])
        self.open()
        self.reads('Mended.')
        self.window.click_on('~menu bar item', '=View')
        self.assertFalse(self.window.find('~menu item', '=' + SWITCH).checked)
        self.window.press('~menu item', '=' + SWITCH)
        self.window.wait_gone('~menu item', '=' + SWITCH)
        self.window.click_on('~menu bar item', '=View')
        self.assertTrue(self.window.find('~menu item', '=' + SWITCH).checked)

    def test_AnotherPromptFromThePersonMakesOldNewsGo(self):
        self.begin()
        self.open_tasks(turn(until('go'), says('Mended.')), turn(until('again'), says('Once more.', 'answer-2')))
        self.prompt('mend it')
        self.look_away()
        self.desk.release('go')
        first = self.posted()
        self.come_back()
        self.await_closed(first)
        self.prompt('again')
        self.look_away()
        self.desk.release('again')
        self.assertEqual(self.posted(2).replaces, 0)


class Servers(NotificationCase):
    def quietly(self, *happenings):
        self.run_away(*happenings)
        self.window.wait(lambda: 'Mended.' in json.dumps(self.desk.stored()), what='the end of the turn')

    def test_WithoutAServiceItIsSaidOnceAndNothingElseHappens(self):
        self.open_tasks(turn(until('go'), says('Mended.')), turn(until('again'), says('Once more.', 'answer-2')))
        for text, name in (('mend it', 'go'), ('again', 'again')):
            self.prompt(text)
            self.reads('Grok is working…')
            self.look_away()
            self.desk.release(name)
            self.window.wait(lambda: 'shows no notifications' in self.app.output, what='the reason in the output')
            self.come_back()
            self.window.wait_gone(says='Grok is working…')
        self.assertEqual(self.app.output.count('shows no notifications'), 1, self.app.output)

    def test_AServiceThatNeverAnswersHoldsUpNothing(self):
        self.begin(answers=False)
        self.quietly(says('Mended.'))
        self.window.wait(lambda: self.server.calls, what='the question')
        self.come_back()
        self.write('still here')
        self.assertEqual(self.server.calls, ['GetCapabilities'])
        self.window.key('Ctrl+A', 'Delete')
        self.app.must_live = False
        self.window.key('Ctrl+Q')
        self.assertEqual(self.app.wait(10), 0)

    def test_AServiceThatRefusesIsAskedAgainOnlyWithTheNextNews(self):
        self.begin(refuses=True)
        self.quietly(says('Mended.'))
        self.window.wait(lambda: 'shows no notifications: too many' in self.app.output, what='the reason in the output')
        self.assertEqual(self.server.calls, ['GetCapabilities', 'Notify'])

    def test_AServiceThatDiesTakesItsNotificationsAndTheNextOneIsUsed(self):
        self.begin()
        self.open_tasks(turn(until('go'), says('Mended.')), turn(until('again'), says('Once more.', 'answer-2')))
        self.prompt('mend it')
        self.look_away()
        self.desk.release('go')
        self.posted()
        self.server.stop()
        self.begin()
        self.come_back()
        self.reads('Mended.')
        self.prompt('again')
        self.reads('Grok is working…')
        self.look_away()
        self.desk.release('again')
        note = self.posted()
        self.assertEqual((note.replaces, self.server.closed), (0, []))


if __name__ == '__main__':
    main()
