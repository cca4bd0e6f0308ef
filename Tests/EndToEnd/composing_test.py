"""From the keys to the prompt."""
from acp import opening, says, script, turn, until
from window_case import WindowCase, main


class Composing(WindowCase):
    def setUp(self):
        super().setUp()
        self.project = self.desk.project()

    def start(self, *steps):
        self.desk.install('grok', script(*steps))
        self.open_project(self.project)
        self.reads('What should we build?')

    def test_ReturnSendsAndShiftReturnAddsALine(self):
        self.start(opening(), turn(says('Understood.')))
        composer = self.write('first line\nsecond line')
        self.window.wait(lambda: composer.text == 'first line\nsecond line', what='both lines in the composer')
        self.assertEqual(self.desk.sessions('grok'), [])
        self.window.key('Return')
        self.reads('Understood.')
        self.assertEqual(self.desk.prompts('grok'), ['first line\nsecond line'])
        self.assertEqual(composer.text, '')

    def test_TheSendButtonSends(self):
        self.start(opening(), turn(says('Understood.')))
        self.write('by button')
        self.window.click_on('~button', '=Send')
        self.reads('Understood.')
        self.assertEqual(self.desk.prompts('grok'), ['by button'])

    def test_TheSendButtonSendsForAScreenReader(self):
        self.start(opening(), turn(says('Understood.')))
        self.composer.set_text('by reader')
        self.window.press('~button', '=Send')
        self.reads('Understood.')
        self.assertEqual(self.desk.prompts('grok'), ['by reader'])

    def test_ReturnInAnEmptyComposerSendsNothing(self):
        self.start(opening(), turn(says('Understood.')))
        self.write('')
        self.window.key('Return', 'space', 'Return')
        self.write('x')
        self.window.wait(lambda: self.composer.text == ' x', what='only what was typed after Return')
        self.assertEqual(self.desk.sessions('grok'), [])

    def test_TheDraftStaysWhileARuntimeConnects(self):
        self.start(opening()[:1], until('go'), opening()[1:], turn(says('First.')), turn(says('Second.', 'answer-2')))
        self.prompt('one')
        self.await_status('Connecting')
        self.write('two')
        self.window.key('Return')
        self.assertEqual(self.composer.text, 'two')
        self.window.find('~button', '=Send')
        self.desk.release('go')
        self.reads('First.')
        self.await_status('Ready')
        self.assertEqual(self.composer.text, 'two')
        self.window.key('Return')
        self.reads('Second.')
        self.assertEqual(self.desk.prompts('grok'), ['one', 'two'])

    def test_TheDraftStaysWhileTheAgentWorks(self):
        self.start(opening(), turn(says('First.'), until('go')))
        self.prompt('one')
        self.await_status('Grok is working')
        self.write('two')
        self.window.key('Return')
        self.desk.release('go')
        self.await_status('Ready')
        self.assertEqual(self.composer.text, 'two')
        self.assertEqual(self.desk.prompts('grok'), ['one'])

    def test_TheDraftStaysWhileThePersonLooksAtAnotherTask(self):
        self.start(opening(), turn(says('Understood.')))
        self.write('half a thought')
        self.window.key('Ctrl+N')
        self.window.wait(lambda: len(self.window.find_all('list item', '=New task')) == 2, what='the second task')
        self.assertEqual(self.composer.text, 'half a thought')
        self.window.click_on('list item', '=New task', index=1)
        self.assertEqual(self.composer.text, 'half a thought')

    def test_ThePersonCanTypeAtOnceAfterAButtonHasSent(self):
        self.start(opening(), turn(says('Understood.')))
        self.window.click_on('~button', '=Explain this project')
        self.reads('Understood.')
        self.window.type('and now')
        self.window.wait(lambda: self.composer.text == 'and now', what='the words in the composer')

    def test_WhatIsTypedArrivesAsItIs(self):
        text = 'Grüße an "日本" <b>& \\n `code` 😀'
        self.start(opening(), turn(says('Understood.')))
        self.prompt(text)
        self.reads('Understood.')
        self.assertEqual(self.desk.prompts('grok'), [text])
        self.reads('=' + text)

    def test_APromptChipSendsItsText(self):
        self.start(opening(), turn(says('Understood.')))
        for chip in ('Explain this project', 'Find and fix a bug', 'Add a new feature'):
            self.window.find('~button', '=' + chip)
        self.window.click_on('~button', '=Find and fix a bug')
        self.reads('Understood.')
        self.assertEqual(self.desk.prompts('grok'), ['Find and fix a bug'])

    def test_TheFirstLineOfTheFirstPromptNamesTheTask(self):
        self.start(opening(), turn(says('Understood.')))
        self.prompt('Tidy the notes\nand nothing else')
        self.reads('Understood.')
        self.reads('=Tidy the notes')


if __name__ == '__main__':
    main()
