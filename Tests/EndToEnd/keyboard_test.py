"""Everything without a pointer."""
import os
import re

from acp import opening, says, script, turn, until
from desk import entry, task
from window_case import TITLE, WIDE, WindowCase, main

README = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', 'README.md')


class Keyboard(WindowCase):
    screen = WIDE

    def start(self, *steps):
        self.desk.install('grok', script(opening(), *(steps or [turn(says('Understood.'))])))
        self.open_project((self.desk.project('aurora'), [task('First task', [entry('user', 'In the first task.')]),
                                                         task('Second task', [entry('user', 'In the second task.')])]),
                          (self.desk.project('borealis'), [task('Third task', [entry('user', 'In the third task.')])]))
        self.reads('In the first task.')
        self.await_focus('Message')

    def focus(self):
        focused = self.window.focused()
        return focused.name if focused else ''

    def await_focus(self, name):
        self.window.wait(lambda: self.focus() == name, what=f'the focus on {name!r}')

    def test_AWholeTurnNeedsNoPointer(self):
        self.start(turn(says('Understood.')), turn(says('At work.'), until('go')))
        self.window.key('F6')
        self.await_focus('First task')
        self.window.key('End')
        self.await_focus('Third task')
        self.window.key('Return')
        self.reads('In the third task.')
        self.await_focus('Message')
        self.window.type('mend it')
        self.window.key('Return')
        self.reads('Understood.')
        self.await_status('Ready')
        self.window.type('and more')
        self.window.key('Return')
        self.reads('At work.')
        self.window.key('Shift+Escape')
        self.reads('Stopped by you.')

    def test_TheArrowsGoOverHeadingsAndTasks(self):
        self.start()
        self.window.key('F6')
        self.await_focus('First task')
        for key, name in (('Up', 'New task in aurora'), ('Down', 'First task'), ('Down', 'Second task'), ('Down', 'New task in borealis'),
                          ('Down', 'Third task'), ('Home', 'New task in aurora'), ('End', 'Third task')):
            self.window.key(key)
            self.await_focus(name)
        self.assertTrue(self.is_read('In the first task.'), 'the arrows only look')
        self.window.key('space')
        self.reads('In the third task.')
        self.await_focus('Third task')
        self.window.key('F6')
        self.await_focus('Message')

    def test_ATaskIsDeletedAndAProjectRemovedByTwoKeys(self):
        self.start()
        self.window.key('F6', 'End')
        self.await_focus('Third task')
        self.window.key('Delete')
        self.window.find('menu item', '=Delete Task', states=('focused',))
        self.window.key('Escape')
        self.await_focus('Third task')
        self.window.key('Delete')
        self.await_focus('Delete Task')
        self.window.key('Return')
        self.window.wait_gone('list item', '=Third task')
        self.window.key('Home')
        self.await_focus('New task in aurora')
        self.window.key('Shift+F10')
        self.await_focus('Remove Project')
        self.window.key('Return')
        self.window.wait_gone('list item', '=First task')
        self.window.wait(lambda: [one['name'] for one in self.desk.stored()] == ['borealis'], what='the project to go from the store')

    def test_KeysLeadFromTaskToTaskAndFromSectionToSection(self):
        self.start()
        for key, text in (('Ctrl+Page_Down', 'second'), ('Ctrl+Page_Down', 'third'), ('Ctrl+Page_Down', 'third'),
                          ('Ctrl+Page_Up', 'second'), ('Ctrl+Page_Up', 'first')):
            self.window.key(key)
            self.reads(f'In the {text} task.')
        self.window.key('Ctrl+2')
        self.reads('IMAGINE LIBRARY')
        self.window.wait_gone('list', 'Projects and tasks')
        self.window.key('Ctrl+1')
        self.window.find('list', 'Projects and tasks')
        self.window.key('F6')
        self.await_focus('First task')
        self.window.key('Ctrl+L')
        self.await_focus('Message')

    def test_ANewTaskFromImagineShowsCodeAndIsReadyToBeTypedInto(self):
        self.start()
        self.window.click_on('radio button', '=Imagine')
        self.reads('0 creations')
        self.window.click_on('push button', '=New task')
        self.window.find('list', 'Projects and tasks')
        self.reads('What should we build?')
        self.await_focus('Message')

    def test_TheMenusAreWalkedByTheArrowsAndGiveTheFocusBack(self):
        self.start()
        self.window.key('F10', 'Down')
        self.window.find('menu item', '=New Task')
        self.window.key('Right')
        self.window.find('menu item', '=Hide Sidebar')
        self.window.key('Down')
        self.await_focus('Imagine')
        self.window.key('Return')
        self.reads('IMAGINE LIBRARY')
        self.window.key('Ctrl+1', 'F10', 'Escape')
        self.await_focus('Message')

    def test_TheWidthOfTheSidebarIsSetByKeysAndKept(self):
        self.start()
        grip = self.window.find('split pane', 'Width of the sidebar')
        width = self.window.find('list', 'Projects and tasks').rect[2]
        self.window.key('F6')
        self.window.key('Tab', 'Tab', 'Tab')
        self.await_focus(grip.name)
        self.window.key('Right')
        self.window.wait(lambda: self.window.find('list', 'Projects and tasks').rect[2] == width + 12, what='a wider sidebar')
        self.window.key('End')
        self.window.find('split pane', description='=340')
        self.window.key('Home')
        self.window.find('split pane', description='=220')
        self.window.key('Right', 'Right')
        self.window.find('split pane', description='=244')
        self.app.must_live = False
        self.window.key('Ctrl+Q')
        self.assertEqual(self.app.wait(15), 0)
        self.open()
        self.window.find('split pane', description='=244')

    def test_AWideCodeBlockScrollsByKeys(self):
        line = 'word_' * 100
        self.start(turn(says(f'```sh\n{line}\n```\n\n| a | b | c |\n|---|---|---|\n| {"x" * 60} | {"y" * 60} | {"z" * 60} |')))
        self.window.place(TITLE, 0, 0, 980, 640)
        self.prompt('go')
        code = self.window.find('text', 'Code, sh')
        left = code.rect[0]
        self.window.focus(self.window.find('push button', '=Copy'))
        self.window.key('Tab', 'Right', 'Right')
        self.window.wait(lambda: code.rect[0] == left - 72, what='the code to move to the left')
        self.window.key('End')
        self.window.wait(lambda: code.rect[0] < left - 1000, what='the end of the code')
        self.window.key('Home')
        self.window.wait(lambda: code.rect[0] == left, what='the code where it was')
        cell = self.window.find('text', text='x' * 60)
        left = cell.rect[0]
        self.window.key('Tab', 'Right')
        self.window.wait(lambda: cell.rect[0] == left - 36, what='the table to move to the left')

    def test_TabGoesThroughEveryControlAndComesBack(self):
        self.start()
        seen = ['Message']
        for _ in range(40):
            self.window.key('Tab')
            self.window.wait(lambda: self.focus(), what='a focus')
            if self.focus() == seen[0]:
                break
            seen.append(self.focus())
        self.assertEqual(seen, ['Message', 'Auto', 'Ask', 'New task', 'Code', 'First task', 'Open Project', 'Settings',
                                'Width of the sidebar', 'Hide the sidebar', 'Reveal project in Finder', 'Messages'])
        for name in reversed(seen):
            self.window.key('Shift+Tab')
            self.await_focus(name)

    def test_TheSheetAndTheReadMeListTheSameKeys(self):
        self.start()
        self.window.key('Ctrl+Shift+?')
        sheet = self.window.find('dialog', 'Keyboard Shortcuts')
        self.window.find(says='Add a line to the message: Shift+Return', within=sheet)
        listed = [tuple(element.name.split(': ', 1)) for element in self.window.find_all('~readable', within=sheet) if ': ' in element.name]
        with open(README) as file:
            keys = file.read().split('## Keys')[1].split('\n## ')[0]
        rows = [tuple(cell.strip() for cell in line.strip('|\n').split('|')) for line in keys.splitlines() if line.startswith('| ')]
        self.assertEqual([(does, keys) for keys, does in rows if keys != 'keys'], listed)
        for element in self.window.find_all(within=sheet):
            x, y, width, height = element.rect
            self.assertTrue(x >= 0 and y >= 0 and x + width <= WIDE[0] and y + height <= WIDE[1], element)
        self.assertFalse([keys for _, keys in listed if not re.fullmatch(r'[A-Za-z0-9+?, ]+', keys)])
        self.window.key('Return')
        self.window.wait_gone('dialog', 'Keyboard Shortcuts')
        self.await_focus('Message')


if __name__ == '__main__':
    main()
