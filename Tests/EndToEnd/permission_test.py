"""An agent asks, a person answers; the approval modes; the way to a first runtime."""
import json
import os

from acp import opening, says, script, turn
from window_case import LEAST, SCREENSHOTS, TITLE, WindowCase, main

ONCE = {'optionId': 'yes', 'name': 'Allow once', 'kind': 'allow_once'}
ALWAYS = {'optionId': 'ever', 'name': 'Always allow', 'kind': 'allow_always'}
NO = {'optionId': 'no', 'name': 'No', 'kind': 'reject_once'}
HEADING = 'Grok needs permission'


def asks(*options, number=7, title='Run make', **raw_input):
    tool = {'toolCallId': 'call-1', 'title': title, **({'rawInput': raw_input} if raw_input else {})}
    return {'send': {'jsonrpc': '2.0', 'id': number, 'method': 'session/request_permission',
                     'params': {'sessionId': 'session-1', 'toolCall': tool, 'options': list(options)}}}


def answered(number=7):
    return {'expect': {'response': number}}


class Permission(WindowCase):
    def start(self, *steps):
        self.desk.install('grok', script(opening(), *steps))
        self.open_project(self.desk.project())
        self.reads('What should we build?')

    def ask(self, *options, **more):
        self.start(turn(asks(*options, **more), answered(), says('Going on.')))
        self.prompt('go')
        self.reads(HEADING)

    def answers(self, number=7):
        return [message['result']['outcome'] for message in self.desk.received('grok', self.desk.sessions('grok')[0])
                if 'method' not in message and message.get('id') == number]

    def await_answer(self, outcome):
        self.reads('Going on.')
        self.window.wait_gone(says=HEADING)
        self.assertEqual(self.answers(), [outcome])

    def test_TheSheetShowsTitleAndDetailInFull(self):
        command = 'make ' + ' '.join(f'target-{number}' for number in range(400))
        self.ask(ONCE, ALWAYS, NO, title='Run ' + 'a very long title ' * 20, command=command)
        self.reads('Run ' + 'a very long title ' * 20)
        detail = self.window.find('~readable', '=Detail')
        self.assertIn('target-399', detail.text)
        self.assertIn('"command" : "make', detail.text)
        buttons = [element.name for element in self.window.find_all('~button') if element.name in ('Reject', 'Allow once', 'Always allow', 'No')]
        self.assertEqual(buttons, ['Reject', 'Allow once', 'Always allow'])
        self.assertEqual(self.window.audit(), [])

    def test_ReturnAllowsOnce(self):
        self.ask(ALWAYS, ONCE, NO)
        self.window.still(timeout=3)
        self.window.key('Return')
        self.await_answer({'outcome': 'selected', 'optionId': 'yes'})

    def test_EscapeRejects(self):
        self.ask(ONCE, NO)
        self.window.still(timeout=3)
        self.window.key('Escape')
        self.await_answer({'outcome': 'selected', 'optionId': 'no'})

    def test_ReturnDoesNothingWhereNothingIsOfferedForOnce(self):
        self.ask(ALWAYS, NO)
        self.window.still(timeout=3)
        self.window.key('Return')
        self.window.key('Return')
        self.assertEqual(self.answers(), [])
        self.window.click_on('~button', '=Always allow')
        self.await_answer({'outcome': 'selected', 'optionId': 'ever'})

    def test_AButtonAnswersByPointerOnce(self):
        self.ask(ONCE, ALWAYS, NO)
        self.window.click_on('~button', '=Allow once')
        self.await_answer({'outcome': 'selected', 'optionId': 'yes'})

    def test_AButtonAnswersThroughTheAccessibilityTree(self):
        self.ask(ONCE, NO)
        self.window.press('~button', '=Reject')
        self.await_answer({'outcome': 'selected', 'optionId': 'no'})

    def test_WithoutAnyPermissionThereIsOnlyReject(self):
        self.ask(NO)
        self.assertFalse(self.window.exists('~button', '=No'))
        self.window.click_on('~button', '=Reject')
        self.await_answer({'outcome': 'selected', 'optionId': 'no'})

    def test_ASecondRequestTakesThePlaceOfTheFirst(self):
        self.start(turn(asks(ONCE, NO, title='First'), asks(ONCE, NO, number=8, title='Second'), answered(8), says('Going on.')))
        self.prompt('go')
        self.reads('Second')
        self.window.click_on('~button', '=Allow once')
        self.reads('Going on.')
        self.assertEqual(self.answers(7), [])
        self.assertEqual(self.answers(8), [{'outcome': 'selected', 'optionId': 'yes'}])

    def test_ASheetWhoseAgentIsGoneSaysSo(self):
        self.start([{'expect': 'session/prompt'}, asks(ONCE, NO), {'exit': 3}])
        self.prompt('go')
        self.reads(HEADING)
        self.reads('The agent is gone. An answer has no effect.')
        self.window.click_on('~button', '=Reject')
        self.window.wait_gone(says=HEADING)

    def test_Pictures(self):
        self.ask(ONCE, ALWAYS, NO, command='ninja -C build && ctest --test-dir build', description='Build and test')
        self.window.place(TITLE, 0, 0, *LEAST)
        self.window.still(timeout=3)
        self.window.shot(os.path.join(SCREENSHOTS, f'permission-{self.appearance}.png'), of=(0, 0, *LEAST))


class PermissionInTheDark(Permission):
    appearance = 'dark'


for name in [name for name in dir(Permission) if name.startswith('test_') and name != 'test_Pictures']:
    setattr(PermissionInTheDark, name, None)


class Modes(WindowCase):
    def start(self):
        self.desk.install('grok', script(opening(), turn(says('Done.'))))
        self.open_project(self.desk.project())
        self.reads('What should we build?')

    def mode(self):
        path = os.path.join(self.desk.home, '.config', 'tessarin', 'preferences.json')
        if not os.path.exists(path):
            return None
        with open(path) as file:
            return json.load(file).get('grokPermissionMode.v1')

    def choose(self, button, entry):
        self.window.click_on('~button', '=' + button)
        self.window.click_on('menu item', '=' + entry)

    def test_AskAndAutoAreChosenAtOnce(self):
        self.start()
        self.choose('Ask', 'Auto')
        self.window.wait(lambda: self.mode() == 'auto', what='the stored mode')

    def test_FullAccessIsConfirmedFirst(self):
        self.start()
        self.choose('Ask', 'Full access')
        self.reads('Enable Full Access?')
        self.reads("The active provider will skip ordinary approval prompts. Shell commands run with your macOS account's access unless "
                   'deny rules, hooks, or a configured sandbox block them.')
        self.assertIsNone(self.mode())
        self.window.still(timeout=3)
        self.window.shot(os.path.join(SCREENSHOTS, 'full-access-light.png'))
        self.window.click_on('~button', '=Enable Full Access')
        self.window.wait(lambda: self.mode() == 'full_access', what='the stored mode')
        self.window.find('~button', '=Full access')

    def test_CancelLeavesTheMode(self):
        self.start()
        self.choose('Ask', 'Full access')
        self.reads('Enable Full Access?')
        self.window.click_on('~button', '=Cancel')
        self.window.wait_gone(says='Enable Full Access?')
        self.assertIsNone(self.mode())
        self.window.find('~button', '=Ask')

    def test_EscapeLeavesTheMode(self):
        self.start()
        self.choose('Ask', 'Full access')
        self.reads('Enable Full Access?')
        self.window.still(timeout=3)
        self.window.key('Escape')
        self.window.wait_gone(says='Enable Full Access?')
        self.assertIsNone(self.mode())

    def test_TheModeSurvivesARestart(self):
        self.start()
        self.choose('Ask', 'Auto')
        self.window.wait(lambda: self.mode() == 'auto', what='the stored mode')
        self.app.stop()
        self.open()
        self.window.wait(lambda: len(self.window.find_all('~button', '=Auto')) == 2, what='both menus to say Auto')


class Install(WindowCase):
    def test_TheScreenShowsTheCommandAndFindsARuntimeThatWasInstalled(self):
        self.open_project(self.desk.project())
        self.reads('Connect a subscription provider')
        command = self.window.find('~readable', '=Command')
        self.assertTrue(command.text.startswith('curl -fsSL https://') and command.text.endswith(' | bash'), command.text)
        self.assertEqual(self.window.audit(), [])
        self.window.still(timeout=3)
        self.window.shot(os.path.join(SCREENSHOTS, f'install-{self.appearance}.png'))
        self.desk.install('grok', script(opening(), turn(says('Done.'))))
        self.window.click_on('~button', '=Check Again')
        self.reads('What should we build?')

    def test_TheCommandIsCopiedAndShownWhereThereIsNoTerminal(self):
        self.open_project(self.desk.project())
        self.window.click_on('~button', '=Copy Command & Open Terminal')
        self.reads('Copied')
        self.window.wait(lambda: self.window.clipboard().startswith('curl -fsSL https://'), what='the command in the clipboard')
        self.window.click_on('~button', '=Close')
        self.window.wait_gone(says='Copied')


if __name__ == '__main__':
    main()
