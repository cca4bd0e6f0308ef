"""Pictures of all that asks a person: the sheet of a permission, the modes and their confirmation, and the way to a first runtime."""
from acp import opening, says, script, thinks, tool, turn
from asking import ALWAYS, NO, ONCE, answered, asks
from picture_case import Dark, PictureCase, main

COMMAND = 'cmake --build build && ctest --test-dir build --output-on-failure'
LONG_TITLE = 'Run a shell command in /home/ada/projects/line-counter that builds, tests and installs what was changed ' * 5


class AskingScreenshots(PictureCase):
    def start(self, *steps):
        self.desk.install('grok', script(opening(), *steps))
        self.open_project(self.desk.project('line-counter'))
        self.reads('What should we build?')

    def ask(self, *options, then=answered(), **more):
        self.start(turn(thinks('A tab counts as one column.'), tool('call-0', 'Read file', 'completed', path='src/parser.cpp'),
                        says('I found the place. It needs a build to be sure.'), asks(*options, **more), then))
        self.prompt('Find out why the line numbers are off by one.')
        self.reads('Grok needs permission')

    def test_PermissionSheet(self):
        self.ask(ONCE, ALWAYS, NO, title='Run command', command=COMMAND, cwd='/home/ada/projects/line-counter', reason='Build and test')
        self.keep('permission')

    def test_PermissionSheetWithLongTexts(self):
        options = [ONCE, {**ALWAYS, 'name': 'Always allow commands that begin with cmake in this project'},
                   {**ALWAYS, 'optionId': 'more', 'name': 'Always allow everything for the rest of this session, whatever it is'}, NO]
        self.ask(*options, title=LONG_TITLE, script='\n'.join(f'echo step {number} of a long script' for number in range(60)))
        self.keep('permission-long')

    def test_PermissionSheetWhoseAgentIsGone(self):
        self.ask(ONCE, ALWAYS, NO, then={'exit': 3}, title='Run command', command=COMMAND)
        self.reads('The agent is gone. An answer has no effect.')
        self.keep('permission-gone')

    def test_PermissionMenu(self):
        self.start(turn(says('Done.')))
        self.keep('permission-menu', bring=self.open_menu, leave=self.close_menu)

    def open_menu(self):
        self.window.click_on('~button', '=Ask')
        self.window.find('menu item', '=Full access')

    def close_menu(self):
        self.window.key('Escape')
        self.window.wait_gone('menu item', '=Full access')

    def test_FullAccessConfirmation(self):
        self.start(turn(says('Done.')))
        self.open_menu()
        self.window.click_on('menu item', '=Full access')
        self.reads('Enable Full Access?')
        self.keep('full-access')

    def test_FullAccessIsOnInTheMenu(self):
        self.desk.prefer(grokPermissionMode_v1='full_access')
        self.start(turn(says('Done.')))
        self.window.find('~button', '=Full access')
        self.keep('full-access-on')

    def test_InstallScreen(self):
        self.open_project(self.desk.project('line-counter'))
        self.reads('Connect a subscription provider')
        self.keep('install')

    def test_CopiedCommand(self):
        self.open_project(self.desk.project('line-counter'))
        self.window.click_on('~button', '=Copy Command & Open Terminal')
        self.reads('Copied')
        self.keep('copied')


class DarkAskingScreenshots(Dark, AskingScreenshots):
    pass


if __name__ == '__main__':
    main()
