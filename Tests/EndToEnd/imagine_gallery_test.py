"""The gallery of Imagine and its generator, as a person finds them in the window."""
import os
import stat

from acp import opening, says, script, turn, until
from asking import ALWAYS, NO, ONCE, answered, asks
from desk import task
from library import Library, field, png
from window_case import WindowCase, main

PROMPT = 'Prompt'
CARD = 'list item'


def made(path):
    """A tool says that it has made the file."""
    return {'update': {'sessionUpdate': 'tool_call_update', 'toolCallId': 'call-1', 'status': 'completed',
                       'content': [{'type': 'content', 'content': {'type': 'text', 'text': f'Saved to {path}'}}]}}


class Gallery(WindowCase):
    def setUp(self):
        super().setUp()
        self.library = Library(self.desk)

    def picture(self, name='harbour.png'):
        path = os.path.join(self.desk.folder, name)
        with open(path, 'wb') as file:
            file.write(png(480, 320, lambda x, y: (255 * x, 120, 255 * y)))
        return path

    def enter(self, *steps, project=False):
        """The program in the section Imagine, with these creations in its library."""
        if steps:
            self.desk.install('grok', script(opening(), *steps))
        if self.library.items:
            self.library.write()
        if project:
            self.desk.store(self.desk.project())
        self.open()
        self.to_imagine()

    def to_imagine(self):
        self.window.click_on('~button', '=Imagine')
        self.reads('Generate images and videos with your Grok subscription')

    @property
    def field(self):
        return self.window.find('~input', '=' + PROMPT)

    def write_prompt(self, text):
        self.window.click_on('~input', '=' + PROMPT)
        field_ = self.field
        self.window.wait(lambda: field_.focused, what='the focus in the prompt')
        self.window.type(text)
        self.window.wait(lambda: field_.text == text, what='the text in the field')

    def generate(self, text):
        self.write_prompt(text)
        self.window.key('Return')
        self.window.wait(lambda: not self.field.text, what='the field to be empty')

    def await_sheet(self, heading):
        self.reads(heading)
        self.window.still(of=self.window.find('~button', '=Reject'), timeout=3)

    # Rules.
    def test_TheSectionShowsTheGalleryWithNoProjectOpenToo(self):
        self.desk.install('grok', script(opening()))
        self.open()
        self.reads('Subscription-first')
        self.to_imagine()
        self.reads('Create something new')
        self.reads('0 creations')
        self.assertFalse(self.is_read('Subscription-first'))
        self.assertEqual(self.window.audit(), [])
        self.window.click_on('~button', '=Code')
        self.reads('Subscription-first')

    def test_APromptIsGeneratedAllowedAndShownAndIsStillThereAfterARestart(self):
        picture = self.picture()
        self.enter(turn(asks(ONCE, ALWAYS, NO, title='Write harbour.png'), answered(), made(picture), until('go')))
        self.generate('A mosaic harbour at dawn')
        self.await_sheet('Agent needs permission')
        self.reads('Write harbour.png')
        self.window.key('Return')
        self.window.wait_gone(says='Agent needs permission')
        self.window.find(CARD, '=A mosaic harbour at dawn, Image, just now')
        self.reads('1 creation')
        self.reads('Image ready')
        self.window.find('~button', '=Stop generation')
        self.desk.release('go')
        self.window.find('~button', '=Generate')
        self.assertEqual(self.desk.prompts('grok'), ['/imagine A mosaic harbour at dawn'])
        os.unlink(picture)  # the library has a copy
        self.restart()
        card = self.window.find(CARD, 'A mosaic harbour at dawn, Image')
        self.await_picture(card)
        self.assertEqual([item['prompt'] for item in self.library.stored()], ['A mosaic harbour at dawn'])

    def restart(self):
        self.app.must_live = False
        self.window.close_window('tessarin')
        self.app.wait(15)
        self.open()
        self.to_imagine()

    def await_picture(self, card):
        x, y, width, _ = card.rect
        preview = (x + 2, y + 2, width - 4, int(width / 1.5) - 4)
        self.window.wait(lambda: self.window.colours(preview) > 100, what='the picture in the card')

    def test_TheSheetIsTitledByTheProviderOfTheTask(self):
        self.desk.install('grok', script(opening(), turn(says('Done.')), until('go')), start=1)
        self.desk.install('grok', script(opening(), turn(asks(ONCE, NO, title='Write a picture'), answered())), start=2)
        self.desk.store(self.desk.project())
        self.open()
        self.reads('What should we build?')
        self.prompt('hi')
        self.reads('Done.')
        self.to_imagine()
        self.generate('A harbour')
        self.await_sheet('Grok needs permission')
        self.window.key('Escape')
        self.window.wait_gone(says='Grok needs permission')

    def test_AVideoIsAskedForAndAFilmHasNoPicture(self):
        film = os.path.join(self.desk.folder, 'film.mp4')
        with open(film, 'wb') as file:
            file.write(b'film')
        self.enter(turn(made(film)))
        self.window.click_on('~button', '=Video')
        self.generate('A slow flight')
        self.window.find(CARD, '=A slow flight, Video, just now')
        self.reads('Video ready')
        self.assertEqual(self.desk.prompts('grok'), ['/imagine-video A slow flight'])

    def test_TheStopButtonEndsAGeneration(self):
        self.enter(turn(says('Thinking about it'), until('go')))
        self.generate('A harbour')
        self.reads('Thinking about it')
        self.reads('Agent is working')
        self.window.click_on('~button', '=Stop generation')
        self.reads('Stopped')
        self.window.find('~button', '=Generate')
        self.window.wait(lambda: self.desk.received('grok', self.desk.sessions('grok')[0], 'session/cancel'), what='the cancel')

    def test_WhatIsTypedWhileAGenerationRunsStays(self):
        self.enter(turn(until('go')))
        self.generate('A harbour')
        self.window.find('~button', '=Stop generation')
        self.write_prompt('The next one')
        self.window.key('Return')
        self.desk.release('go')
        self.window.find('~button', '=Generate')
        self.assertEqual(self.field.text, 'The next one')
        self.assertEqual(self.desk.prompts('grok'), ['/imagine A harbour'])

    def test_BothSectionsKeepWhatWasTyped(self):
        self.enter(turn(), project=True)
        self.write_prompt('A half')
        self.window.click_on('~button', '=Code')
        self.write('Half a message')
        self.to_imagine()
        self.assertEqual(self.field.text, 'A half')
        self.window.click_on('~button', '=Code')
        self.assertEqual(self.composer.text, 'Half a message')

    def test_NewTaskLeavesTheGalleryForTheNewTask(self):
        self.desk.install('grok', script(opening()))
        self.desk.store((self.desk.project(), [task('An older task')]))
        self.open()
        self.reads('An older task')
        self.to_imagine()
        self.window.click_on('~button', '=New task')
        self.reads('What should we build?')
        self.window.wait(lambda: [one['title'] for one in self.desk.stored()[0]['threads']] == ['New task', 'An older task'],
                         what='the new task')

    def test_WithoutTheRuntimeOnlyTheInstallPanelStands(self):
        self.library.add('A harbour', field(200, 0, 0))
        self.enter()
        self.reads('Connect a subscription provider')
        self.reads('1 creation')
        self.assertFalse(self.window.exists(CARD, 'A harbour'))
        self.assertFalse(self.window.exists('~input', '=' + PROMPT))
        self.desk.install('grok', script(opening()))
        self.window.click_on('~button', '=Check Again')
        self.window.find(CARD, 'A harbour')
        self.window.find('~input', '=' + PROMPT)

    def fake_opener(self):
        """What the desktop would open a file with writes down what it was asked for."""
        opened = os.path.join(self.desk.folder, 'opened')
        opener = os.path.join(self.desk.runtimes, 'xdg-open')
        with open(opener, 'w') as file:
            file.write(f'#!/bin/sh\nprintf "%s\\n" "$1" >> "{opened}"\n')
        os.chmod(opener, os.stat(opener).st_mode | stat.S_IXUSR)
        return opened

    @staticmethod
    def lines(path):
        if not os.path.exists(path):
            return []
        with open(path) as file:
            return file.read().splitlines()

    def test_ACreationIsOpenedByItsPreviewItsButtonTheKeysAndTheMenu(self):
        opened = self.fake_opener()
        path = self.library.add('A harbour', field(0, 200, 0))
        self.enter(turn())
        card = self.window.find(CARD, 'A harbour')
        x, y, width, height = card.rect
        count = 0
        for act in (lambda: self.window.click(x + width // 2, y + 60), lambda: self.window.click_on('~button', '=Open', within=card),
                    lambda: self.window.key('Return'), lambda: self.window.press(CARD, 'A harbour'), self.open_by_menu):
            act()
            count += 1
            self.window.wait(lambda: len(self.lines(opened)) == count, what=f'opening {count}')
        self.assertEqual(set(self.lines(opened)), {'file://' + path})

    def open_by_menu(self):
        self.window.click_on(CARD, 'A harbour', button=3)
        self.window.click_on('~menu item', '=Open', under={'role': 'popup menu'})

    def test_ACreationGoesToTheTrashAndStaysAwayAfterARestart(self):
        path = self.library.add('A harbour', field(0, 200, 0))
        self.library.add('A flight', field(0, 0, 200))
        self.enter(turn())
        self.window.click_on(CARD, 'A harbour', button=3)
        self.window.click_on('~menu item', '=Move to Trash')
        self.window.wait_gone(CARD, 'A harbour')
        self.reads('1 creation')
        trashed = os.path.join(self.desk.home, '.local', 'share', 'Trash', 'files', os.path.basename(path))
        self.window.wait(lambda: os.path.exists(trashed) and not os.path.exists(path), what='the file in the trash')
        self.window.wait(lambda: [item['prompt'] for item in self.library.stored()] == ['A flight'], what='the stored history')
        self.restart()
        self.window.find(CARD, 'A flight')
        self.assertFalse(self.window.exists(CARD, 'A harbour'))

    def test_TheGalleryWorksByTheKeysAlone(self):
        opened = self.fake_opener()
        paths = [self.library.add(f'Creation {number}', field(number * 20, 100, 100)) for number in range(8)]
        self.enter(turn())
        self.window.find(CARD, 'Creation 0')
        self.window.wait(lambda: self.tab_reaches('Creation 0, Image'), what='the focus on the first card')
        self.window.key('Right')
        self.window.key('End')
        self.window.wait(lambda: self.window.focused().name.startswith('Creation 7'), what='the focus on the last card')
        self.window.key('Return')
        self.window.wait(lambda: self.lines(opened) == ['file://' + paths[7]], what='the last one opened')
        self.window.key('Delete')
        entry = self.window.find('~menu item', '=Move to Trash')
        self.window.wait(lambda: entry.showing, what='the menu')
        self.window.still(of=entry, timeout=3)
        self.window.key('Return')
        self.window.wait_gone(CARD, 'Creation 7')
        self.reads('7 creations')
        self.window.wait(lambda: self.window.focused().name.startswith('Creation 6'), what='the focus on the next card')

    def tab_reaches(self, name):
        self.window.key('Tab')
        focused = self.window.focused()
        return focused is not None and focused.name.startswith(name)

    def test_WhatIsNoPictureShowsTheMarkAndHarmsNothing(self):
        whole = png(300, 200, lambda x, y: (255 * x, 255 * y, 0))
        self.library.add('Sound', whole)
        self.library.add('Text', b'no picture at all')
        self.library.add('Cut', whole[:len(whole) // 2])
        self.library.add('Drawing', b'<svg xmlns="http://www.w3.org/2000/svg"><image href="file:///etc/passwd"/></svg>')
        for name, make in (('Pipe', os.mkfifo), ('Folder', os.mkdir)):
            path = self.library.add(name, b'')
            os.unlink(path)
            make(path)
        self.enter(turn())
        self.await_picture(self.window.find(CARD, 'Sound, Image'))
        for name in ('Text', 'Cut', 'Drawing', 'Pipe', 'Folder'):
            self.window.find(CARD, f'{name}, Image')
        self.assertEqual(self.window.audit(), [])
        self.assertTrue(self.app.running)


if __name__ == '__main__':
    main()
