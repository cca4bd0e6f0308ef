"""Requests that come in masses, take each other's place, or outlive the agent that asks: the sheet never answers nothing without saying so."""
from acp import failing_turn, opening, says, script, turn
from asking import ALWAYS, NO, ONCE, answered, asks
from window_case import WindowCase, main

NOBODY_HEARS = 'The agent is gone. An answer has no effect.'
SELECTED = {'outcome': 'selected', 'optionId': 'yes'}


class Asking(WindowCase):
    def start(self, *steps, runtime='grok'):
        self.desk.install(runtime, script(opening(), *steps))
        self.open_project(self.desk.project())
        self.reads('What should we build?')
        self.prompt('go')

    def await_sheet(self, title='Run make'):
        self.reads(title)
        self.window.still(of=self.window.find('~button', '=Reject'), timeout=3)

    def answers(self, runtime='grok'):
        return {message['id']: message['result']['outcome'] for message in self.desk.received(runtime, self.desk.sessions(runtime)[0])
                if 'method' not in message and 'outcome' in message.get('result', {})}

    def await_answers(self, expected):
        self.window.wait(lambda: self.answers() == expected, what=f'the answers {expected}')

    def test_OfAThousandRequestsTheLastIsShownAndAnswered(self):
        flood = [asks(ONCE, NO, number=100 + step, title=f'Step {step}') for step in range(1000)]
        self.start(turn(*flood, answered(1099), says('Going on.')))
        self.await_sheet('=Step 999')
        self.window.key('Return')
        self.reads('Going on.')
        self.window.wait_gone('~button', '=Reject')
        self.assertEqual(self.answers(), {1099: SELECTED})

    def test_AStopAnswersAllOfAFlood(self):
        flood = [asks(ONCE, number=100 + step, title=f'Step {step}') for step in range(1000)]
        self.start([{'expect': 'session/prompt'}, *flood, {'expect': 'session/cancel'}])
        self.await_sheet('=Step 999')
        self.window.key('Escape')
        self.reads('Stopped by you.')
        self.await_answers({100 + step: {'outcome': 'cancelled'} for step in range(1000)})

    def test_ASheetThatAHandoffLeavesBehindSaysThatNobodyHears(self):
        self.desk.install('kimi', script(opening('kimi-session'), turn(says('Kimi here.'))))
        self.start(failing_turn('Usage limit reached for this week', asks(ONCE, NO)))
        self.reads(NOBODY_HEARS)
        self.reads('Kimi here.')
        self.await_sheet()
        self.window.key('Return')
        self.window.wait_gone('~button', '=Reject')
        self.assertEqual(self.answers(), {})
        self.assertEqual(self.answers('kimi'), {})

    def test_ASheetThatAFailedTurnLeavesBehindIsStillHeard(self):
        self.start(failing_turn('The wheel came off.', asks(ONCE, NO)))
        self.await_status('Needs attention')
        self.await_sheet()
        self.assertFalse(self.is_read(NOBODY_HEARS))
        self.window.key('Return')
        self.await_answers({7: SELECTED})

    def test_RejectWithoutARefusalStopsTheWork(self):
        self.start([{'expect': 'session/prompt'}, asks(ONCE, ALWAYS), {'expect': 'session/cancel'}])
        self.await_sheet()
        self.window.click_on('~button', '=Reject')
        self.reads('Stopped by you.')
        self.await_status('Ready')
        self.await_answers({7: {'outcome': 'cancelled'}})

    def test_ALongDetailIsScrolledAndSelectedWhole(self):
        lines = [f'echo step {number} of a long script' for number in range(200)]
        self.start(turn(asks(ONCE, NO, script=lines), answered(), says('Going on.')))
        self.await_sheet()
        x, y, _, _ = self.window.find('~button', '=Reject').rect
        box = (x, y - 200, 480, 150)
        self.assertGreater(self.window.find('~readable', '=Detail').rect[1], y - 300, 'it begins at its beginning')
        before = self.window.image(box)
        self.window.scroll(x + 200, y - 100, 5)
        self.window.wait(lambda: self.window.image(box) != before, what='the detail to scroll')
        self.window.key('Ctrl+A', 'Ctrl+C')
        self.window.wait(lambda: 'step 199 of' in self.window.clipboard(), what='the detail in the clipboard')
        self.assertEqual([line.strip().strip(',').strip('"') for line in self.window.clipboard().split('\n')][2:-2], lines)
        self.window.key('Return')
        self.reads('Going on.')

    def test_TheWindowAnswersWhileACommandPrintsAGigabyte(self):
        line = 'seq 100000000 199999999; until [ -e "$GO" ]; do sleep 0.02; done'
        go = self.desk.home + '/go'
        create = {'command': 'sh', 'args': ['-c', line], 'env': [{'name': 'GO', 'value': go}], 'outputByteLimit': 1000}
        self.start(turn({'send': {'jsonrpc': '2.0', 'id': 5, 'method': 'terminal/create', 'params': create}}, answered(5),
                        {'send': {'jsonrpc': '2.0', 'id': 6, 'method': 'terminal/wait_for_exit',
                                  'params': {'terminalId': '${result.terminalId}'}}},
                        says('It prints. '), answered(6), says('It is done.')))
        self.reads('It prints.')
        self.write('a draft that is typed meanwhile')
        self.assertEqual(self.composer.text, 'a draft that is typed meanwhile')
        self.await_status('Grok is working')
        self.assertFalse(self.is_read('It is done.'))
        with open(go, 'w'):
            pass
        self.window.find(says='It is done.', timeout=60)


if __name__ == '__main__':
    main()
