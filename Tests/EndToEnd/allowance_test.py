"""The pill in the header: who has the task, and how much of the allowance is used."""
from acp import failing_turn, loading, opening, says, script, turn
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
