"""The first start, and the ways to a project."""
import os

from acp import opening, script
from desk import task
from window_case import TITLE, WindowCase, main


class Welcome(WindowCase):
    def test_AFirstStartShowsWhatTheProgramIsFor(self):
        self.open()
        self.reads('One native project workspace for Grok, ChatGPT/Codex, and Kimi')
        for text in ('Subscription-first', 'Local tools', 'Approval controls'):
            self.reads(text)
        self.window.find('~button', '=Open a Project')
        self.assertEqual(self.window.audit(), [])

    def test_ThePersonOpensAProjectInTheDialog(self):
        project = self.desk.project()
        self.desk.install('grok', script(opening()))
        self.open()
        self.window.click_on('~button', '=Open a Project')
        self.choose_in_dialog(project)
        self.reads('What should we build?')
        self.reads(project)
        self.window.wait(lambda: os.path.exists(self.desk.tree_file), what='the stored tree')
        self.assertEqual([one['path'] for one in self.desk.stored()], [project])

    def test_GivingUpInTheDialogLeavesTheWelcomeScreen(self):
        self.open()
        self.window.key('Ctrl+O')
        self.window.find('dialog', 'Choose a project')
        self.window.key('Escape')
        self.window.wait_gone('dialog', 'Choose a project')
        self.window.find('~button', '=Open a Project')
        self.assertFalse(os.path.exists(self.desk.tree_file))

    def test_TheButtonWorksForAScreenReader(self):
        self.open()
        self.window.press('~button', '=Open a Project')
        self.window.find('dialog', 'Choose a project')

    def test_TheButtonWorksByKeyboardAlone(self):
        self.open()
        self.window.wait(self.tab_reaches_the_button, what='the focus on the button')
        self.window.key('space')
        self.window.find('dialog', 'Choose a project')

    def tab_reaches_the_button(self):
        self.window.key('Tab')
        focused = self.window.focused()
        return focused is not None and focused.name == 'Open a Project'

    def choose_in_dialog(self, path):
        field = self.window.find('~input', '=Path')
        self.window.wait(lambda: field.focused and field.selection == field.text, what='the path to be selected')
        self.window.type(path)
        self.window.key('Return')
        self.window.click_on('~button', '=Open Project', under={'role': 'dialog', 'name': 'Choose a project'})


class Menu(WindowCase):
    def test_NewTaskWithoutAProjectAsksForOne(self):
        self.open()
        self.window.key('Ctrl+N')
        self.window.find('dialog', 'Choose a project')

    def test_NewTaskAddsATaskToTheSelectedProject(self):
        self.desk.install('grok', script(opening()))
        project = self.desk.project()
        self.open_project((project, [task('An older task')]))
        self.reads('An older task')
        self.window.key('Ctrl+N')
        self.window.wait(lambda: [one['title'] for one in self.desk.stored()[0]['threads']] == ['New task', 'An older task'],
                         what='the new task in the stored tree')
        self.assertEqual(self.window.active_title().split(' ')[0], TITLE)


if __name__ == '__main__':
    main()
