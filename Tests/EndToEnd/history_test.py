"""What outlives the program, and what does not."""
from acp import asked, loading, opening, says, script, turn, until
from desk import entry, task
from window_case import TITLE, PROGRAM, WindowCase, main


class History(WindowCase):
    def first_run(self):
        self.desk.install('grok', script(opening('kept-session'), turn(says('Written down.'))))
        self.open_project(self.desk.project())
        self.prompt('write this down')
        self.reads('Written down.')
        self.await_status('Ready')
        self.quit()

    def quit(self):
        self.app.must_live = False
        self.window.close_window(TITLE)
        self.assertEqual(self.app.wait(15), 0)

    def test_ARestartShowsTheTaskAndLoadsItsSession(self):
        self.first_run()
        tree = self.desk.stored()[0]['threads'][0]
        self.assertEqual(tree['sessionId'], 'kept-session')
        self.assertEqual([one['text'] for one in tree['entries']], ['write this down', 'Written down.'])
        self.desk.install('grok', script(loading(asked('write this down'), says('Written down, replayed.')),
                                         turn(says('And again.', 'answer-2'))))
        self.open()
        self.reads('Written down.')
        self.prompt('go on')
        self.reads('And again.')
        self.reads('Written down, replayed.')
        last = self.desk.sessions('grok')[-1]
        loads = self.desk.received('grok', last, 'session/load')
        self.assertEqual([one['params']['sessionId'] for one in loads], ['kept-session'])
        self.assertEqual(self.desk.received('grok', last, 'session/new'), [])

    def test_AReplayThatFailsLeavesWhatWasThere(self):
        self.first_run()
        refused = [{'expect': 'initialize'}, {'reply': {'agentCapabilities': {'loadSession': True}}}, {'expect': 'session/load'},
                   {'replyError': {'code': -32000, 'message': 'no such session'}}, {'expect': 'session/new'},
                   {'reply': {'sessionId': 'new-session'}}]
        self.desk.install('grok', script(refused, turn(says('Fresh start.', 'answer-2'))))
        self.open()
        self.prompt('go on')
        self.reads('Fresh start.')
        self.reads('Written down.')

    def test_ALongTaskOpensAtItsEnd(self):
        entries = [entry('assistant' if number % 2 else 'user', f'Message number {number}.') for number in range(5000)]
        self.desk.install('grok', script(opening()))
        self.open_project((self.desk.project(), [task('A long task', entries)]))
        self.reads('=Message number 4999.')

    def test_AProjectWhoseFolderIsGoneIsNotShown(self):
        self.open_project(self.desk.folder + '/nowhere')
        self.window.find('~button', '=Open a Project')


class Processes(WindowCase):
    def start_working(self):
        self.desk.install('grok', script(opening(), turn(says('Working.'), until('never'))))
        self.open_project(self.desk.project())
        self.prompt('work')
        self.reads('Working.')
        children = self.window.children_of(self.app)
        self.assertTrue(children)
        return children

    def all_gone(self, pids):
        self.window.wait(lambda: not any(self.window.group.alive(pid) for pid in pids), what=f'the end of the processes {pids}')

    def test_ClosingTheWindowLeavesNoChildBehind(self):
        children = self.start_working()
        self.window.close_window(TITLE)
        self.window.find('dialog', 'Quit tessarin?')
        self.app.must_live = False
        self.window.close_window(TITLE)
        self.assertEqual(self.app.wait(15), 0)
        self.desk.release('never')
        self.all_gone(children)

    def test_AKilledProgramLeavesNoChildBehind(self):
        children = self.start_working()
        self.app.kill_alone()
        self.desk.release('never')
        self.all_gone(children)

    def test_ASecondStartRaisesTheFirstWindowAndEnds(self):
        self.open_project(self.desk.project())
        self.window.minimise(TITLE)
        self.window.wait(lambda: not any(name.startswith(TITLE) for name, _ in self.window.xwindows().values()),
                         what='the window to be minimised')
        second = self.window.launch([PROGRAM])
        self.assertEqual(second.wait(15), 0)
        self.window.wait(lambda: (self.window.active_title() or '').startswith(TITLE), what='the first window to be raised')
        self.assertTrue(self.app.running)

    def test_QuitByKeyboardEndsTheProgram(self):
        self.open_project(self.desk.project())
        self.app.must_live = False
        self.window.key('Ctrl+Q')
        self.assertEqual(self.app.wait(15), 0)


if __name__ == '__main__':
    main()
