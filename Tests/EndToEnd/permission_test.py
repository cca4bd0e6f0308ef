"""An agent asks, a person answers; the way to a first runtime."""
import os

from acp import opening, says, script, turn
from asking import ALWAYS, NO, ONCE, answered, asks
from window_case import WindowCase, main

HEADING = 'Grok needs permission'


class Permission(WindowCase):
    def start(self, *steps):
        self.desk.install('grok', script(opening(), *steps))
        self.open_project(self.desk.project())
        self.reads('What should we build?')

    def ask(self, *options, **more):
        self.start(turn(asks(*options, **more), answered(), says('Going on.')))
        self.prompt('go')
        self.reads(HEADING)
        self.await_sheet()

    def await_sheet(self):
        """Until it stands: what is pressed before gives no permission."""
        self.window.still(of=self.window.find('~button', '=Reject'), timeout=3)

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
        self.window.key('Return')
        self.await_answer({'outcome': 'selected', 'optionId': 'yes'})

    def test_EscapeRejects(self):
        self.ask(ONCE, NO)
        self.window.key('Escape')
        self.await_answer({'outcome': 'selected', 'optionId': 'no'})

    def test_ReturnDoesNothingWhereNothingIsOfferedForOnce(self):
        self.ask(ALWAYS, NO)
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

    def test_HoweverManyPermissionsAreOfferedAllAreReachedAndTheSheetStaysInTheWindow(self):
        many = [{'optionId': f'allow-{number}', 'name': f'Allow in the folder of number {number}', 'kind': 'allow_always'} for number in range(40)]
        self.ask(*many, NO, script=['line'] * 100)
        last = self.window.find('~button', '=Allow in the folder of number 39', showing=False)
        self.window.focus(last)
        self.window.still(of=self.window.find('~button', '=Reject'), timeout=3)
        _, top, _, height = self.window.find('~button', '=Reject').rect
        _, y, _, _ = last.rect
        self.assertTrue(top <= y <= top + 4 * height + 24, (top, y))
        last.click()
        self.await_answer({'outcome': 'selected', 'optionId': 'allow-39'})

    def test_WithoutAnyPermissionThereIsOnlyReject(self):
        self.ask(NO)
        self.assertFalse(self.window.exists('~button', '=No'))
        self.window.click_on('~button', '=Reject')
        self.await_answer({'outcome': 'selected', 'optionId': 'no'})

    def test_ASecondRequestTakesThePlaceOfTheFirst(self):
        self.start(turn(asks(ONCE, NO, title='First'), asks(ONCE, NO, number=8, title='Second'), answered(8), says('Going on.')))
        self.prompt('go')
        self.reads('Second')
        self.await_sheet()
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


class Install(WindowCase):
    def test_TheScreenShowsTheCommandAndFindsARuntimeThatWasInstalled(self):
        self.open_project(self.desk.project())
        self.reads('Connect a subscription provider')
        command = self.window.find('~readable', '=Command')
        self.assertTrue(command.text.startswith('curl -fsSL https://') and command.text.endswith(' | bash'), command.text)
        self.assertEqual(self.window.audit(), [])
        self.desk.install('grok', script(opening(), turn(says('Done.'))))
        self.window.click_on('~button', '=Check Again')
        self.reads('What should we build?')

    def test_ThePersonsTerminalIsOpenedWithTheCommandInTheClipboard(self):
        opened = os.path.join(self.desk.home, 'opened')
        terminal = os.path.join(self.desk.runtimes, 'xdg-terminal-exec')
        with open(terminal, 'w') as file:
            file.write(f'#!/bin/sh\nprintf "%s in %s" "$#" "$PWD" > "{opened}.new"\nmv "{opened}.new" "{opened}"\n')
        os.chmod(terminal, 0o755)
        self.open_project(self.desk.project())
        self.window.click_on('~button', '=Copy Command & Open Terminal')
        self.window.wait(lambda: os.path.exists(opened), what='the terminal')
        with open(opened) as file:
            self.assertEqual(file.read(), '0 in ' + self.desk.home, 'nothing is typed into it')
        self.window.wait(lambda: self.window.clipboard().endswith(' | bash'), what='the command in the clipboard')
        self.assertFalse(self.is_read('Copied'))

    def test_TheScreenIsWorkedByTheAccessibilityTreeAndTheKeyboard(self):
        self.open_project(self.desk.project())
        self.window.press('~button', '=Copy Command & Open Terminal')
        self.reads('Copied')
        self.window.still(of=self.window.find('~button', '=Close'), timeout=3)
        self.assertEqual(self.window.audit(), [])
        self.window.key('Escape')
        self.window.wait_gone('~button', '=Close')
        self.desk.install('kimi', script(opening(), turn(says('Done.'))))
        self.window.focus(self.window.find('~button', '=Copy Command & Open Terminal'))
        self.window.key('Tab', 'space')
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
