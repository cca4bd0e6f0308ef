"""The approval modes: the menu, its guards, and the three doors to full access."""
import json
import os

from acp import opening, says, script, turn, until
from asking import ALWAYS, NO, ONCE, answered, asks
from window_case import WindowCase, main


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

    def test_FullAccessSurvivesARestartWithoutAnotherConfirmation(self):
        self.start()
        self.choose('Ask', 'Full access')
        self.window.click_on('~button', '=Enable Full Access')
        self.window.wait(lambda: self.mode() == 'full_access', what='the stored mode')
        self.app.stop()
        self.open()
        self.window.find('~button', '=Full access')
        self.assertFalse(self.is_read('Enable Full Access?'))
        self.prompt('go')
        self.reads('Done.')
        started = self.desk.record('grok', self.desk.sessions('grok')[0])[0]['start']
        self.assertIn('--always-approve', started['argv'])

    def test_LeavingFullAccessNeedsNoConfirmation(self):
        self.desk.prefer(grokPermissionMode_v1='full_access')
        self.start()
        self.choose('Full access', 'Ask')
        self.window.wait(lambda: self.mode() == 'ask', what='the stored mode')
        self.assertFalse(self.is_read('Enable Full Access?'))

    def test_AnAlwaysApproveAnswerOpensTheThirdDoor(self):
        always = {**ALWAYS, 'name': 'Always-Approve for this session'}
        self.desk.install('grok', script(opening(), turn(asks(ONCE, always, NO), answered(), says('Going on.'))))
        self.open_project(self.desk.project())
        self.prompt('go')
        self.reads('Grok needs permission')
        self.window.still(of=self.window.find('~button', '=Reject'), timeout=3)
        self.window.click_on('~button', '=Always-Approve for this session')
        self.reads('Going on.')
        self.window.wait(lambda: self.mode() == 'full_access', what='the stored mode')
        self.window.find('~button', '=Full access')
        self.assertEqual(len(self.desk.sessions('grok')), 1, 'the running client stays')

    def test_TheKeyboardGoesThroughTheMenuAndTheConfirmation(self):
        self.start()
        self.window.focus(self.window.find('~button', '=Ask'))
        self.open_by_key('Full access')
        self.reads('Enable Full Access?')
        self.assertEqual(self.window.wait(self.window.focused, what='the focus').name, 'Cancel')
        self.window.key('Return')
        self.window.wait_gone(says='Enable Full Access?')
        self.assertIsNone(self.mode())
        self.window.focus(self.window.find('~button', '=Ask'))
        self.open_by_key('Full access')
        self.reads('Enable Full Access?')
        self.window.still(of=self.window.find('~button', '=Cancel'), timeout=3)
        self.window.key('Tab', 'Return')
        self.window.wait(lambda: self.mode() == 'full_access', what='the stored mode')

    def open_by_key(self, entry):
        self.window.key('space')
        self.window.find('menu item', '=' + entry)
        for _ in range(5):
            focused = self.window.focused()
            if focused is not None and focused.name == entry:
                break
            self.window.key('Down')
        self.window.key('Return')

    def test_TheAccessibilityTreeGoesThroughTheMenuAndTheConfirmation(self):
        self.start()
        self.window.press('~button', '=Ask')
        self.assertEqual(self.window.audit(), [])
        self.window.press('menu item', '=Auto')
        self.window.wait(lambda: self.mode() == 'auto', what='the stored mode')
        self.window.wait_gone('menu item', '=Full access')
        self.window.wait(lambda: len(self.window.find_all('push button', '=Auto')) == 2, what='both menus to say Auto')
        self.window.press('push button', '=Auto', index=-1)
        self.window.press('menu item', '=Full access')
        self.reads('Enable Full Access?')
        self.assertEqual(self.window.audit(), [])
        self.window.press('~button', '=Enable Full Access')
        self.window.wait(lambda: self.mode() == 'full_access', what='the stored mode')

    def test_NeitherMenuOpensWhileTheAgentWorks(self):
        self.desk.install('grok', script(opening(), turn(until('go'), says('Done.'))))
        self.open_project(self.desk.project())
        self.prompt('go')
        self.await_status('Grok is working')
        for name in ('=Ask', '=Auto'):
            menu = self.window.find('~button', name)
            self.assertFalse(self.window.takes_focus(menu))
            menu.click()
        self.assertFalse(self.window.exists('menu item', '=Full access'))
        self.desk.release('go')
        self.await_status('Ready')
        self.choose('Ask', 'Auto')
        self.window.wait(lambda: self.mode() == 'auto', what='the stored mode')


if __name__ == '__main__':
    main()
