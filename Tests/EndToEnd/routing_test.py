"""The routing menu, and the move of a task from one runtime to the next."""
import json
import os

from acp import failing_turn, opening, says, script, turn, until
from window_case import WindowCase, main

MODES = ('Auto', 'Grok', 'Codex', 'Kimi', 'GLM', 'Claude')


class RoutingMenu(WindowCase):
    def start(self, *steps):
        self.desk.install('grok', script(opening(), *steps))
        self.desk.install('kimi', script(opening('kimi-session'), turn(says('Kimi here.'))))
        self.open_project(self.desk.project())
        self.reads('What should we build?')

    def open_menu(self):
        self.window.click_on('~button', self.menu_button)
        self.window.find('~menu item', '=Auto  ✓' if self.menu_button == 'Auto' else 'Auto')

    menu_button = 'Auto'

    def routing_mode(self):
        path = os.path.join(self.desk.home, '.config', 'tessarin', 'preferences.json')
        if not os.path.exists(path):
            return None
        with open(path) as file:
            return json.load(file).get('providerRoutingMode.v1')

    def test_TheMenuListsEveryModeAndMarksTheCurrentOne(self):
        self.start()
        self.open_menu()
        for mode in MODES:
            self.window.find('~menu item', '=' + mode + ('  ✓' if mode == 'Auto' else ''))
        self.assertEqual(self.window.audit(), [])

    def test_ChoosingByPointerPinsTheProvider(self):
        self.start()
        self.open_menu()
        self.window.click_on('~menu item', '=Kimi')
        self.window.wait(lambda: self.routing_mode() == 'kimi', what='the stored mode')
        self.prompt('who is there')
        self.reads('Kimi here.')
        self.assertEqual(self.desk.prompts('grok'), [])

    def test_ChoosingByKeyboardPinsTheProvider(self):
        self.start()
        self.window.focus(self.window.find('~button', self.menu_button))
        self.window.key('space')
        self.window.find('~menu item', '=Kimi')
        for _ in range(len(MODES) + 1):
            focused = self.window.focused()
            if focused is not None and focused.name == 'Kimi':
                break
            self.window.key('Down')
        self.window.key('Return')
        self.window.wait(lambda: self.routing_mode() == 'kimi', what='the stored mode')

    def test_EscapeClosesTheMenuAndChangesNothing(self):
        self.start()
        self.open_menu()
        self.window.key('Escape')
        self.window.wait_gone('~menu item', '=Claude')
        self.assertIsNone(self.routing_mode())

    def test_TheMenuIsDisabledWhileTheAgentWorks(self):
        self.start(turn(says('First.'), until('go')))
        self.prompt('one')
        self.await_status('Grok is working')
        self.window.click_on('~button', self.menu_button)
        self.assertFalse(self.window.exists('~menu item', '=Claude'))
        self.desk.release('go')
        self.await_status('Ready')
        self.open_menu()


class Handoff(WindowCase):
    def test_AnExhaustedAllowanceMovesTheTaskToTheNextRuntime(self):
        project = self.desk.project(git=True)
        self.desk.install('grok', script(opening(), failing_turn('Usage limit reached for this week.', says('I had begun. '))))
        self.desk.install('kimi', script(opening('kimi-session'), turn(says('I go on from there.'))))
        self.open_project(project)
        self.prompt('Tidy the notes')
        self.reads('Grok allowance reached. Automatically handed this task to Kimi.')
        self.reads('I go on from there.')
        self.await_status('Ready')
        self.reads('I had begun.')
        capsule = self.desk.prompts('kimi')[0]
        for text in ('automatic provider handoff from Grok to Kimi', 'ORIGINAL USER REQUEST\nTidy the notes\n',
                     'ASSISTANT [Grok]: I had begun.', 'WORKSPACE\n' + project, '?? notes.txt'):
            self.assertIn(text, capsule)
        self.desk.await_end('grok', self.desk.sessions('grok')[0])

    def test_WithoutASuccessorTheFailureIsShown(self):
        self.desk.install('grok', script(opening(), failing_turn('Usage limit reached for this week.')))
        self.open_project(self.desk.project())
        self.prompt('Tidy the notes')
        self.reads('Error from Grok: Usage limit reached for this week.')
        self.await_status('Needs attention')


if __name__ == '__main__':
    main()
