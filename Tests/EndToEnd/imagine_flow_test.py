"""Imagine from end to end: what Grok really said, said again; and what becomes of files and processes when the program ends."""
import json
import os
import signal

from acp import opening, script, turn
from library import Library, png
from window_case import WindowCase, main

RECORDINGS = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), 'Services', 'Recordings')
CARD = 'list item'


def made(path):
    """A tool says that it has made the file."""
    return {'update': {'sessionUpdate': 'tool_call_update', 'toolCallId': 'call-1', 'status': 'completed', 'rawOutput': {'path': path}}}


class Flow(WindowCase):
    def setUp(self):
        super().setUp()
        self.library = Library(self.desk)

    def to_imagine(self):
        self.window.click_on('~button', '=Imagine')
        self.reads('Generate images and videos with your Grok subscription')

    def generate(self, text):
        field = self.window.find('~input', '=Prompt')
        self.window.click_on('~input', '=Prompt')
        self.window.wait(lambda: field.focused, what='the focus in the prompt')
        self.window.type(text)
        self.window.key('Return')

    def quit(self):
        self.app.must_live = False
        self.window.close_window('tessarin')
        self.app.wait(30)

    def end(self):
        """As the desktop ends a program, which asks nothing."""
        self.app.must_live = False
        self.app.process.send_signal(signal.SIGTERM)

    def await_creation(self):
        """Opens the program and waits for the one creation that is left."""
        self.open()
        self.to_imagine()
        self.reads('1 creation')

    def await_ends(self, *starts):
        for start in starts:
            self.desk.await_end('grok', start)

    def recorded(self, name):
        """A script that plays the recording, and the messages that the program wrote in it."""
        places = {'{WS}': self.library.folder, '{WS-enc}': self.library.folder.replace('/', '%2F'), '{HOME}': self.desk.home}
        steps, written = [], []
        with open(os.path.join(RECORDINGS, name + '.jsonl')) as file:
            for line in file:
                for place, value in places.items():
                    line = line.replace(place, value)
                line = json.loads(line)
                if 'in' in line:
                    steps.append({'send': line['in']})
                else:
                    written.append(line['out'])
                    steps.append({'expect': line['out'].get('method', {'response': line['out']['id']})})
        return steps, written

    def test_AnImageThatGrokMadeIsAllowedShownAndStillThereAfterARestart(self):
        steps, written = self.recorded('grok-a-generated-image')
        folder = os.path.join(self.desk.home, '.grok', 'sessions', self.library.folder.replace('/', '%2F'),
                              '01a1fa3a-7343-71a3-a61c-19459e80acff', 'images')
        os.makedirs(folder)
        content = png(480, 320, lambda x, y: (255 * x, 40, 40))
        with open(os.path.join(folder, '1.jpg'), 'wb') as file:
            file.write(content)
        self.desk.install('grok', script(steps))
        self.open()
        self.to_imagine()
        self.generate('a red cube')
        self.reads('imagine: a red cube')
        self.window.still(of=self.window.find('~button', '=Yes, send once'), timeout=3)
        self.window.click_on('~button', '=Yes, send once')
        self.window.find(CARD, '=a red cube, Image, just now')
        self.window.find('~button', '=Generate')
        self.assertEqual(self.desk.received('grok', self.desk.sessions('grok')[0]), written)
        self.quit()
        self.await_creation()
        self.window.find(CARD, 'a red cube, Image')
        item, = self.library.stored()
        self.assertEqual([item['prompt'], item['kind'], item['fileName'][-4:]], ['a red cube', 'image', '.jpg'])
        with open(item['localPath'], 'rb') as file:
            self.assertEqual(file.read(), content)

    def test_QuittingDuringAnImportKeepsTheCreation(self):
        film = os.path.join(self.desk.folder, 'film.mp4')
        size = 400 * 1024 * 1024
        with open(film, 'wb') as file:
            file.truncate(size)
        self.desk.install('grok', script(opening(), turn(made(film), {'expect': 'what never comes'})))
        self.open()
        self.to_imagine()
        self.generate('A slow flight')
        self.window.wait(lambda: [name for name in os.listdir(self.library.folder) if name.endswith('.mp4.part')], what='the copy', every=0.002)
        self.end()
        self.app.wait(30)
        item, = self.library.stored()
        self.assertEqual(os.path.getsize(item['localPath']), size)
        self.await_creation()

    def test_QuittingDuringAVeryLongImportGivesItUp(self):
        film = os.path.join(self.desk.folder, 'film.mp4')
        with open(film, 'wb') as file:
            file.truncate(8 << 30)
        self.desk.install('grok', script(opening(), turn(made(film), {'expect': 'what never comes'})))
        self.open()
        self.to_imagine()
        self.generate('A flight around the world')
        self.window.wait(lambda: [name for name in os.listdir(self.library.folder) if name.endswith('.part')], what='the copy', every=0.002)
        self.end()
        self.app.wait(30)
        self.assertEqual([name for name in os.listdir(self.library.folder) if name != 'history.json'], [])

    def test_ASignalEndsAProgramThatWaitsForItsCopies(self):
        films = [os.path.join(self.desk.folder, f'{number}.mp4') for number in range(2)]
        for film in films:
            with open(film, 'wb') as file:
                file.truncate(1000 << 20)
        self.desk.install('grok', script(opening(), turn(*map(made, films), {'expect': 'what never comes'})))
        self.open()
        self.to_imagine()
        self.generate('Two slow flights')
        self.window.wait(lambda: len([name for name in os.listdir(self.library.folder) if name.endswith('.part')]) == 2, what='the copies',
                         every=0.002)
        self.end()
        process = self.app.process
        self.window.wait(lambda: process.poll() is not None or not self.is_caught(process.pid, signal.SIGTERM), what='closing', every=0.002)
        process.send_signal(signal.SIGTERM)
        self.assertEqual(self.app.wait(5), -signal.SIGTERM)
        self.assertEqual([name for name in os.listdir(self.library.folder) if name.endswith('.mp4')], [])

    @staticmethod
    def is_caught(process, number):
        """Whether the process has a handler of its own for the signal."""
        with open(f'/proc/{process}/status') as file:
            caught = next(line for line in file if line.startswith('SigCgt:'))
        return bool(int(caught.split()[1], 16) >> number - 1 & 1)

    def start_both(self):
        """A task and Imagine, both at work."""
        self.desk.install('grok', script(opening(), turn({'expect': 'what never comes'})))
        self.open_project(self.desk.project())
        self.reads('What should we build?')
        self.prompt('hi')
        self.reads('Grok is working')
        self.to_imagine()
        self.generate('A harbour')
        self.window.wait(lambda: len(self.desk.prompts('grok')) == 2, what='both prompts')
        self.assertEqual(self.desk.prompts('grok'), ['hi', '/imagine A harbour'])

    def test_WithTheProgramBothRuntimesEnd(self):
        self.start_both()
        self.window.close_window('tessarin')
        self.window.find('dialog', 'Quit tessarin?')
        self.quit()
        self.await_ends(*self.desk.sessions('grok'))

    def test_WithAProgramThatIsKilledBothRuntimesEnd(self):
        self.start_both()
        self.app.kill_alone()
        self.await_ends(*self.desk.sessions('grok'))


if __name__ == '__main__':
    main()
