"""Codex and Claude Code beside the others: a turn, what they ask, and a task that moves through all five."""
from acp import failing_turn, opening, says, script
from dialects import (RESULT, claude_opening, claude_says, claude_script, claude_turn, codex_fails, codex_opening, codex_says, codex_script,
                      codex_turn)
from window_case import WindowCase, main

LIMIT = {**RESULT, 'is_error': True, 'api_error_status': 429, 'result': 'Wait until five.'}


class Protocols(WindowCase):
    def begin(self, **scripts):
        for program, steps in scripts.items():
            self.desk.install(program, steps)
        self.open_project(self.desk.project())
        self.reads('What should we build?')

    def received(self, program):
        return self.desk.received(program, self.desk.sessions(program)[0])

    def test_ATurnOfCodexIsReadInTheWindow(self):
        self.begin(codex=codex_script(codex_opening(), codex_turn(codex_says('Codex '), codex_says('here.'))))
        self.prompt('who is there')
        self.reads('Codex here.')
        self.await_status('Ready')

    def test_ATurnOfClaudeCodeIsReadInTheWindow(self):
        self.begin(claude=claude_script(claude_opening(), claude_turn(claude_says('Claude '), claude_says('here.'))))
        self.prompt('who is there')
        self.reads('Claude here.')
        self.await_status('Ready')

    def test_WhatCodexAsksIsAllowedOnceByReturn(self):
        question = {'id': 'q-1', 'method': 'item/commandExecution/requestApproval',
                    'params': {'command': 'make all', 'reason': 'It builds.'}}
        self.begin(codex=codex_script(codex_opening(), codex_turn(
            {'send': question}, {'expect': {'response': 'q-1'}}, codex_says('Going on.'))))
        self.prompt('go')
        self.reads('Codex needs permission')
        self.reads('make all\n\nIt builds.')
        self.window.still(of=self.window.find('~button', '=Reject'), timeout=3)
        self.window.key('Return')
        self.reads('Going on.')
        self.assertIn({'decision': 'accept'}, [message.get('result') for message in self.received('codex')])

    def test_WhatClaudeCodeAsksIsDeniedByEscape(self):
        question = {'type': 'control_request', 'request_id': 'q-1',
                    'request': {'subtype': 'can_use_tool', 'tool_name': 'Bash', 'input': {'command': 'make all'}}}
        self.begin(claude=claude_script(claude_opening(), claude_turn(
            {'send': question}, {'expect': {'type': 'control_response'}}, claude_says('Without it, then.'))))
        self.prompt('go')
        self.reads('Claude needs permission')
        self.window.still(of=self.window.find('~button', '=Allow once'), timeout=3)
        self.window.key('Escape')
        self.reads('Without it, then.')
        answers = [message['response']['response'] for message in self.received('claude') if message.get('type') == 'control_response']
        self.assertEqual(answers, [{'behavior': 'deny', 'message': 'Denied by the user in tessarin.'}])

    def test_OnePromptMovesThroughAllFiveAndEndsWithThePlainFailure(self):
        self.begin(grok=script(opening('g'), failing_turn('Usage limit reached.', says('I had begun. '))),
                   codex=codex_script(codex_opening(), codex_turn(
                       codex_says('I went on. '), codex_fails('Come back on Monday.', 'usageLimitExceeded'), status='failed'), used=100),
                   kimi=script(opening('k'), failing_turn('Quota used up.')),
                   opencode=script(opening('o'), failing_turn('Rate limit exceeded.')),
                   claude=claude_script(claude_opening(), claude_turn(claude_says('I came last. '), result=LIMIT)))
        self.prompt('Tidy the notes')
        names = ['Grok', 'Codex', 'Kimi', 'GLM', 'Claude']
        for before, after in zip(names, names[1:]):
            self.reads(f'{before} allowance reached. Automatically handed this task to {after}.')
        self.reads('Error from Claude: Wait until five.')
        self.await_status('Needs attention')
        for program in ('grok', 'codex', 'kimi', 'opencode', 'claude'):
            self.assertEqual(len(self.desk.sessions(program)), 1)


if __name__ == '__main__':
    main()
