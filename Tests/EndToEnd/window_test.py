"""The frame around the conversation: menus, shortcuts, sidebar, size."""
from acp import opening, says, script, turn
from desk import entry, task
from window_case import LEAST, TITLE, WIDE, WindowCase, main


class Window(WindowCase):
    screen = WIDE

    def start(self):
        self.desk.install('grok', script(opening(), turn(says('A word to copy.'))))
        self.open_project((self.desk.project(), [task('First task', [entry('user', 'In the first task.')]),
                                                 task('Second task', [entry('user', 'In the second task.')])]))
        self.reads('In the first task.')

    def test_TheMenusOpenByPointerAndCloseByEscape(self):
        self.start()
        for menu, item in (('File', 'Open Project…'), ('View', 'idebar'), ('Help', 'Keyboard Shortcuts')):
            self.window.click_on('~menu bar item', '=' + menu)
            self.window.find('menu item', item)
            self.assertEqual(self.window.audit(), [])
            self.window.key('Escape')
            self.window.wait_gone('menu item', item)

    def test_APressOnAnotherMenuIsNotEatenByTheOneThatCloses(self):
        self.start()
        menus = (('File', 'Open Project…'), ('View', 'idebar'), ('Help', 'Keyboard Shortcuts'))
        places = {name: self.window.find('~menu bar item', '=' + name).point() for name, _ in menus}
        for menu, item in 3 * menus:
            self.window.click(*places[menu])
            self.window.find('menu item', item)
            self.window.key('Escape')
        for menu, item in menus:
            self.window.click(*places[menu])
            self.window.find('menu item', item)

    def test_AMenuEntryActs(self):
        self.start()
        self.window.click_on('~menu bar item', '=File')
        self.window.click_on('menu item', '=Open Project…')
        self.window.find('dialog', 'Choose a project')

    def test_TheMenusAreReachedByKeyboard(self):
        self.start()
        self.window.key('F10', 'Down')
        self.window.find('menu item', '=New Task')

    def test_TheKeysAreListed(self):
        self.start()
        self.window.key('Ctrl+Shift+?')
        sheet = self.window.find('dialog', 'Keyboard Shortcuts')
        self.window.find(says='Add a line to the message', within=sheet)
        self.assertEqual(self.window.audit(), [])
        self.window.key('Escape')
        self.window.wait_gone('dialog', 'Keyboard Shortcuts')

    def test_TheSidebarGoesAndComesBack(self):
        self.start()
        self.window.key('F9')
        self.window.wait_gone('list', 'Projects and tasks')
        self.window.click_on('~button', '=Show the sidebar')
        self.window.find('list', 'Projects and tasks')

    def test_SelectingATaskShowsItsConversation(self):
        self.start()
        self.window.click_on('list item', '=Second task')
        self.reads('In the second task.')
        self.window.wait_gone(says='In the first task.')
        self.window.press('list item', '=First task')
        self.reads('In the first task.')

    def test_AShortcutWorksWhileAMessageHasTheFocus(self):
        self.start()
        self.window.click_on('text', '=You')
        self.window.key('Ctrl+N')
        self.reads('What should we build?')

    def test_PartOfAMessageCanBeCopied(self):
        self.start()
        message = self.window.find('text', '=You')
        message.click(count=2, across=0.05)
        self.window.wait(lambda: message.selection == 'In', what='the first word to be selected')
        self.window.key('Ctrl+C')
        self.window.wait(lambda: self.window.clipboard() == 'In', what='the word in the clipboard')

    def test_AFirstStartHasItsUsualSize(self):
        self.open()
        self.reads('Subscription-first')
        self.window.wait(lambda: self.window.xwindows()[self.window.xwindow(TITLE)][1][2:] == (1180, 760), what='the usual size')

    def test_TheWindowComesBackInItsSize(self):
        self.start()
        self.window.place(TITLE, 20, 30, 1100, 700)
        self.app.must_live = False
        self.window.close_window(TITLE)
        self.assertEqual(self.app.wait(15), 0)
        self.open()
        self.window.wait(lambda: self.window.xwindows()[self.window.xwindow(TITLE)][1][2:] == (1100, 700), what='the size of before')

    def test_TheWindowIsNeverSmallerThanItsLeastSize(self):
        self.start()
        window = self.window.xwindow(TITLE)
        self.window.xdotool('windowsize', window, 400, 300)
        self.window.wait(lambda: self.window.xwindows()[window][1][2:] == LEAST, what='the least size')

    def test_VeryLongTextsStayInsideTheWindow(self):
        word = 'unbreakable' * 40
        self.desk.install('grok', script(opening()))
        project = self.desk.project('a-project-with-a-name-that-goes-on-and-on-beyond-every-reasonable-width-of-a-sidebar')
        self.open_project((project, [task(word, [entry('user', word), entry('assistant', word), entry('system', word),
                                                 entry('tool', '', title=word, status='completed')])]), size=LEAST)
        self.reads(word)
        for element in self.window.find_all(('push button', 'label', 'text', 'list item')):
            x, _, width, _ = element.rect
            self.assertGreaterEqual(x, 0, element)
            self.assertLessEqual(x + width, LEAST[0], element)


if __name__ == '__main__':
    main()
