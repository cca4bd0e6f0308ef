"""What a screen reader gets: words without being asked, and states and texts when it asks."""
from acp import failing_turn, opening, plan, says, script, thinks, tool, turn, until
from asking import NO, ONCE, answered, asks
from desk import entry, task
from driver.events import Events, Reader
from window_case import WIDE, WindowCase, main

LIMIT = 'Usage limit reached for this week.'


class Announcements(WindowCase):
    def start(self, *steps):
        self.desk.install('grok', script(opening(), *steps))
        self.open_project(self.desk.project())
        self.reads('What should we build?')
        self.reader = Reader(self.window)
        self.addCleanup(self.reader.close)

    def test_TheEndOfATurnIsSaid(self):
        self.start(turn(says('Understood.')), turn(says('Again.', 'answer-2')))
        self.prompt('mend it')
        self.reader.hears('Grok has finished.')
        self.prompt('once more')
        self.window.wait(lambda: self.reader.spoken() == 2 * ['Grok has finished.'], what='the same words again')
        self.window.wait_gone('notification')

    def test_AFailureIsSaidOnce(self):
        self.start(failing_turn('The wheel came off.'))
        self.prompt('roll')
        self.reader.hears('The wheel came off.')
        self.await_status('Needs attention')
        self.window.wait_gone('notification')
        self.assertEqual(self.reader.spoken(), ['The wheel came off.'])

    def test_AQuestionIsSaidAndItsSheetHasTheFocus(self):
        self.start(turn(asks(ONCE, NO, title='Run make'), answered(), says('Going on.')))
        self.prompt('go')
        self.reader.hears('Grok needs permission: Run make')
        sheet = self.window.find('dialog', 'Grok needs permission')
        self.window.find(within=sheet, states=('focused',))
        self.window.still(of=sheet, timeout=3)
        self.window.key('Return')
        self.reader.hears('Grok has finished.')

    def test_AHandoffIsSaid(self):
        self.desk.install('kimi', script(opening('kimi-session'), turn(until('go'), says('I go on.'))))
        self.start(failing_turn(LIMIT))
        self.prompt('mend it')
        self.window.wait(lambda: any('Kimi' in words for words in self.reader.spoken()), what='who goes on')
        self.desk.release('go')
        self.reader.hears('Kimi has finished.')

    def test_ChunksAreNotSaid(self):
        self.start(turn(*[says(f'word {number} ') for number in range(50)], thinks('hm'), until('go')))
        self.prompt('talk')
        self.reads('word 49')
        self.assertEqual(self.reader.spoken(), [])
        self.desk.release('go')
        self.reader.hears('Grok has finished.')


class States(WindowCase):
    screen = WIDE

    def start(self, *steps):
        self.desk.install('grok', script(opening(), turn(*steps)))
        self.open_project((self.desk.project('aurora'), [task('First task', [entry('user', 'In the first task.')]), task('Second task')]))
        self.reads('In the first task.')

    def test_WhatIsOpenAndWhatIsClosedIsTold(self):
        self.start(thinks('Weighing it.'), tool('c', 'Read file', 'completed', path='x'), tool('d', 'Search', 'completed'),
                   plan(('one', 'completed'), ('two', 'pending')), says('Done.'))
        self.prompt('go')
        self.await_status('Ready')
        events = Events(self.window, 'state-changed:expanded')
        self.addCleanup(events.close)
        for name in ('=Reasoning', '=Read file, Completed', 'Plan · 1/2'):
            head = self.window.find('push button', name, states=('expandable', 'collapsed', '!expanded'))
            for opened, detail in ((True, 1), (False, 0)):
                head.press()
                self.window.wait(lambda: (detail, head) in [(event.detail, event.element) for event in events.heard()],
                                 what=f'the word that {name} is {"open" if opened else "closed"}')
                self.assertEqual(head.reload().has('expanded'), opened)
                self.assertEqual(head.has('collapsed'), not opened)
        self.assertFalse(self.window.find('push button', '=Search, Completed').has('expandable'), 'there is nothing in it')

    def test_WhatIsOutOfReachIsTold(self):
        self.start(says('Done.'))
        send = self.window.find('push button', '=Send')
        self.assertFalse(send.has('sensitive'))
        self.write('hello')
        self.window.wait(lambda: send.reload().has('sensitive', 'enabled'), what='a button in reach')
        self.window.click_on('~menu bar item', '=File')
        self.assertFalse(self.window.find('menu item', '=Stop Agent').has('sensitive'))
        self.assertTrue(self.window.find('menu item', '=New Task').has('sensitive'))

    def test_WhatIsChosenIsTold(self):
        self.start()
        self.assertTrue(self.window.find('list item', '=First task').has('selectable', 'selected'))
        self.assertFalse(self.window.find('list item', '=Second task').has('selected'))
        self.window.find('radio button', '=Code', states=('checked',), under={'role': 'panel', 'name': 'Section'})
        self.window.press('radio button', '=Imagine')
        self.window.find('radio button', '=Imagine', states=('checked',))
        self.window.find('radio button', '=Code', states=('!checked',))
        self.assertEqual(self.window.audit(), [])

    def test_WhatOpensAMenuIsTold(self):
        self.start()
        for name in ('=Auto', '=File', '=View', '=Help'):
            self.window.find('push button', name, description='=Menu')

    def test_TheTextOfAnAnswerIsReadPieceByPiece(self):
        self.start(says('The first line.\n\n## A heading\n\nThe **last** line, 日本 😀.'))
        self.prompt('go')
        answer = self.window.find('text', text='The last line, 日本 😀.')
        self.assertTrue(answer.has('read only', 'multi line'))
        self.assertEqual(answer._property('Text', 'CharacterCount'), len(answer.text.encode('utf-16-le')) // 2)
        self.assertEqual(answer._call('Text', 'GetText', (4, 8), '(ii)')[0], 'last')
        self.assertEqual(answer._call('Text', 'GetTextAtOffset', (5, 1), '(iu)')[0].strip(), 'last')
        self.assertTrue(answer._call('Text', 'SetCaretOffset', (4,), '(i)')[0])
        self.assertEqual(answer._property('Text', 'CaretOffset'), 4)
        self.reads('A heading')


if __name__ == '__main__':
    main()
