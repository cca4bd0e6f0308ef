"""The pill in the header: who has the task, and how much of the allowance is used."""
import time

from acp import failing_turn, loading, opening, says, script, turn, until
from dialects import codex_opening, codex_says, codex_script, codex_turn
from window_case import WindowCase, main

LIMIT = 'Usage limit reached for this week.'
AUTOMATIC = 'Use Grok first, then hand off across the installed subscription runtimes only when an allowance is exhausted.'


class Pill(WindowCase):
    def pill(self, name, description):
        return self.window.find('~readable', '=' + name, description='=' + description)

    def tool_tip(self, pill, text):
        """The tool tip that comes when the pointer rests on the pill."""
        self.window.move(*pill.point())
        return self.window.find(says='=' + text, role=('tool tip', 'label', 'static'))

    def test_ItTellsTheRoutingThenTheProvider(self):
        self.desk.install('grok', script(opening(), turn(says('Done.'))))
        self.open_project(self.desk.project())
        self.tool_tip(self.pill('Auto', AUTOMATIC), AUTOMATIC)
        self.prompt('hello')
        self.reads('Done.')
        self.pill('Grok', AUTOMATIC)
        self.assertEqual(self.window.audit(), [])

    def test_AnExhaustedAllowanceIsToldUntilAReportReplacesIt(self):
        self.desk.install('grok', script(opening(), failing_turn(LIMIT)))
        self.open_project(self.desk.project())
        self.prompt('hello')
        self.await_status('Needs attention')
        pill = self.pill('Grok · Limit reached', 'Grok: Limit reached.')
        self.window.click_on('~button', '=Dismiss')
        self.window.wait_gone('alert')
        self.tool_tip(pill, 'Grok: Limit reached.')

    def report(self, used, resets, *turns):
        """Codex tells how much is used, and when that begins anew."""
        codex = codex_script(codex_opening(), *turns)
        codex['always']['account/rateLimits/read'] = {'result': {'rateLimits': {'primary': {'usedPercent': used, 'resetsAt': resets}}}}
        self.desk.install('codex', codex)
        self.open_project(self.desk.project())
        self.prompt('hello')
        self.await_status('Ready')

    def test_TheToolTipTellsWhenTheAllowanceBeginsAnew(self):
        moment = time.time() + 3 * 24 * 3600
        self.report(42.4, moment, codex_turn(codex_says('Done.')))
        pill = self.window.find('~readable', '/· 42% used$/', description='/: 42% used. Resets /')
        day = time.localtime(moment)
        self.assertIn(str(day.tm_mday), pill.description)
        self.assertIn(str(day.tm_year), pill.description)
        self.assertTrue(pill.description.endswith('.'))
        tip = self.tool_tip(pill, pill.description)
        self.window.still(of=tip)
        self.assertGreater(self.window.colours(tip), 2, 'the tip is on the screen')
        self.assertEqual(tip.rect[1] >= pill.rect[1] + pill.rect[3] or tip.rect[1] + tip.rect[3] <= pill.rect[1], True, 'and not over the pill')
        self.window.move(5, 400)
        self.window.wait_gone('tool tip')

    def test_ExhaustionWhoseResetTimeHasPassedIsForgottenWithTheNextPrompt(self):
        moment = int(time.time()) + 6
        self.report(100, moment, codex_turn(codex_says('Done.')), codex_turn(until('go'), turn='turn-2'))
        pill = self.window.find('~readable', '/· 100% used$/')
        self.assertRegex(pill.description, r': 100% used. Resets ')
        self.window.wait(lambda: time.time() > moment, what='the time of the reset')
        self.assertTrue(pill.reload().name.endswith('100% used'), 'a report stays until something is chosen by it')
        self.prompt('again')
        self.window.wait(lambda: 'used' not in pill.reload().name, what='a pill without the report')
        self.assertNotIn('Resets', pill.description)
        self.desk.release('go')

    def test_AHandoffShowsTheNextProviderWithItsOwnAllowance(self):
        self.desk.install('grok', script(opening(), failing_turn(LIMIT)))
        self.desk.install('kimi', script(opening('kimi-session'), turn(says('I go on.'))))
        self.open_project(self.desk.project())
        self.prompt('hello')
        self.reads('I go on.')
        self.pill('Kimi', AUTOMATIC)

    def test_ARestartForgetsTheExhaustion(self):
        self.desk.install('grok', script(opening(), failing_turn(LIMIT)))
        self.open_project(self.desk.project())
        self.prompt('hello')
        self.pill('Grok · Limit reached', 'Grok: Limit reached.')
        self.app.must_live = False
        self.window.key('Ctrl+Q')
        self.assertEqual(self.app.wait(15), 0)
        self.desk.install('grok', script(loading(), turn(says('Renewed.'))))
        self.open()
        self.pill('Auto', AUTOMATIC)
        self.prompt('again')
        self.reads('Renewed.')
        self.pill('Grok', AUTOMATIC)


if __name__ == '__main__':
    main()
