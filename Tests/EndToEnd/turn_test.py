"""One turn as a person sees it."""
from acp import opening, plan, says, script, thinks, tool, turn, until
from window_case import WindowCase, main


class Turn(WindowCase):
    def start(self, *steps):
        self.project = self.desk.project()
        self.desk.install('grok', script(opening(), *steps))
        self.open_project(self.project)
        self.reads('What should we build?')
        self.await_status('Not connected')

    def test_TheAnswerGrowsAsItIsStreamed(self):
        self.start(turn(says('The first half, '), until('go'), says('and the second.')))
        self.prompt('speak')
        self.reads('The first half,')
        self.await_status('Grok is working')
        self.reads('Grok is working…')
        self.assertFalse(self.is_read('and the second.'))
        self.desk.release('go')
        self.reads('The first half, and the second.')
        self.await_status('Ready')
        self.window.wait_gone(says='Grok is working…')

    def test_MarkdownIsLaidOutAndCodeCanBeCopied(self):
        answer = '# Findings\n\nTwo **bold** words and `inline`.\n\n- one\n- two\n\n| file | why |\n|---|---|\n| notes.txt | tidied |\n\n```cpp\nint answer = 42;\n```\n'
        self.start(turn(says(answer)))
        self.prompt('markdown')
        self.await_status('Ready')
        self.reads('Findings')
        self.reads('Two bold words and inline.')
        self.reads('int answer = 42;')
        for cell in ('file', 'why', 'notes.txt', 'tidied'):
            self.reads('=' + cell)
        self.assertFalse(self.is_read('**bold**'))
        self.window.click_on('~button', 'Copy')
        self.window.wait(lambda: self.window.clipboard().strip() == 'int answer = 42;', what='the code in the clipboard')

    def test_ABlockThatBecomesAnotherKindWhileItIsStreamedIsShownAsThat(self):
        self.start(turn(says('Before.\n\n| file'), until('table'), says(' | why |\n|---|---|\n| notes.txt | tidied |\n\nAn end'), until('end')))
        self.prompt('stream a table')
        self.reads('| file')
        self.desk.release('table')
        for cell in ('file', 'why', 'notes.txt', 'tidied'):
            self.reads('=' + cell)
        self.reads('An end')
        self.desk.release('end')

    def test_ThoughtsAreCollapsedUntilThePersonLooks(self):
        self.start(turn(thinks('Weighing the options.'), says('Done.')))
        self.prompt('think')
        self.reads('Done.')
        self.reads('Reasoning')
        self.assertFalse(self.is_read('Weighing the options.'))
        self.window.click_on('~button', 'Reasoning')
        self.reads('Weighing the options.')
        self.window.click_on('~button', 'Reasoning')
        self.window.wait_gone(says='Weighing the options.')

    def test_AToolCardTellsItsStatusAndOpensOnRequest(self):
        self.start(turn(tool('call-1', 'Read file', 'in_progress', path='notes.txt'), until('go'),
                        tool('call-1', 'Read file', 'completed'), tool('call-2', 'Odd thing', 'weird_state'),
                        tool('call-3', 'Run command', 'failed', command='make'), says('Done.')))
        self.prompt('use tools')
        self.reads('Read file')
        self.reads('In Progress')
        self.assertFalse(self.is_read('"path" : "notes.txt"'))
        self.desk.release('go')
        self.reads('Done.')
        for status in ('Completed', 'Weird State', 'Failed'):
            self.reads(status)
        self.window.click_on('~button', 'Read file')
        self.reads('"path" : "notes.txt"')
        self.assertFalse(self.is_read('"command" : "make"'))
        self.window.click_on('~button', 'Read file')
        self.window.wait_gone(says='"path" : "notes.txt"')

    def test_AToolCardOpensByKeyboard(self):
        self.start(turn(tool('call-1', 'Read file', 'completed', path='notes.txt'), says('Done.')))
        self.prompt('use a tool')
        self.reads('Done.')
        self.window.focus(self.window.find('~button', 'Read file'))
        self.window.key('space')
        self.reads('"path" : "notes.txt"')

    def test_ThePlanStripCountsWhatIsDone(self):
        steps = ('Read the notes', 'Change them', 'Test', 'Write it down', 'Rest')
        first = plan(*[(step, 'completed' if number < 2 else 'in_progress' if number == 2 else 'pending')
                       for number, step in enumerate(steps)])
        self.start(turn(first, until('go'), plan(*[(step, 'completed') for step in steps]), until('clear'), plan(), says('Done.')))
        self.prompt('plan')
        self.reads('Plan · 2/5')
        self.assertFalse(self.is_read('Write it down'))
        self.window.click_on('~button', 'Plan')
        for step in steps:
            self.reads(step)
        self.desk.release('go')
        self.reads('Plan · 5/5')
        self.desk.release('clear')
        self.reads('Done.')
        self.window.wait_gone(says='Plan ·')

    def test_StoppingEndsTheTurnAndSaysSo(self):
        self.start([{'expect': 'session/prompt'}, says('Starting.'), {'expect': 'session/cancel'},
                    {'reply': {'stopReason': 'cancelled'}, 'to': 'session/prompt'}], turn(says('Again.', 'answer-2')))
        self.prompt('work')
        self.reads('Starting.')
        self.window.wait_gone('~button', '=Send')
        self.window.click_on('~button', '=Stop agent')
        self.reads('Stopped by you.')
        self.await_status('Ready')
        self.window.wait(lambda: self.desk.received('grok', self.desk.sessions('grok')[0], 'session/cancel'), what='the cancellation')
        self.window.wait_gone('~button', '=Stop agent')
        self.prompt('again')
        self.reads('Again.')
        self.assertEqual(len(self.desk.sessions('grok')), 1)

    def test_TwoPromptsUseOneRuntime(self):
        self.start(turn(says('First.')), turn(says('Second.', 'answer-2')))
        self.prompt('one')
        self.reads('First.')
        self.await_status('Ready')
        self.prompt('two')
        self.reads('Second.')
        self.assertEqual(self.desk.prompts('grok'), ['one', 'two'])
        self.assertEqual(len(self.desk.sessions('grok')), 1)

    def test_EveryControlOfATurnHasANameAndCanBePressed(self):
        self.start(turn(thinks('Hm.'), tool('call-1', 'Read file', 'completed', path='a'), plan(('One', 'pending')),
                        says('```py\nx = 1\n```'), until('go')))
        self.prompt('everything')
        self.reads('x = 1')
        self.assertEqual(self.window.audit(), [])
        self.desk.release('go')
        self.await_status('Ready')
        self.assertEqual(self.window.audit(), [])

    def test_TheFolderButtonRevealsTheProject(self):
        self.start(turn(says('Done.')))
        self.window.click_on('~button', '=Reveal project in Finder')
        self.window.wait(lambda: self.window.file_manager.shown, what='a call of the file manager')
        self.assertEqual(self.window.file_manager.shown, [('ShowItems', ['file://' + self.project])])


if __name__ == '__main__':
    main()
