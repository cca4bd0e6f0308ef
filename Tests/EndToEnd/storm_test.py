"""A running tool that sends its whole text again and again, as fast as it can."""
import json

from acp import opening, says, script, turn, until
from window_case import WIDE, WindowCase, main

OUTPUT = 'Output of make'
# A single line in the card, which writes the ends of lines as "\\n".
LINES = ''.join(f'[ 42%] Building object {number}\n' for number in range(5000))  # some 150 KB


def whole(note):
    """An update with all that the tool has printed, and how often it has."""
    return {'update': {'sessionUpdate': 'tool_call_update', 'toolCallId': 'call-1', 'title': 'make', 'status': 'in_progress',
                       'rawInput': {'a': note, 'output': LINES}}}


class Storm(WindowCase):
    screen = WIDE

    def start(self, *steps):
        self.desk.install('grok', script(opening(), turn(whole('first'), until('go'), *steps, says('Done.'))))
        self.open_project(self.desk.project())
        self.prompt('go')
        self.card = self.window.find('~button', 'make, ')

    def output(self):
        return self.window.find('~input', '=' + OUTPUT).text

    def entries(self):
        [project] = self.desk.stored()
        [task] = project['threads']
        return task['entries']

    def end(self):
        self.await_status('Ready')
        self.app.must_live = False
        self.window.key('Ctrl+Q')
        self.assertEqual(0, self.app.wait())

    def test_AThousandWholeTextsAreOneEntryWithTheLast(self):
        self.start({'repeat': 1000, 'steps': [whole('time {n}')]})
        self.desk.release('go')
        self.reads('Done.')
        self.end()
        kinds = [entry['kind'] for entry in self.entries()]
        self.assertEqual(['user', 'tool', 'assistant'], kinds)
        self.assertIn('"a" : "time 999"', self.entries()[1]['text'])
        self.assertLess(len(self.entries()[1]['text']), len(LINES) * 1.1)

    def test_AnOpenCardShowsTheLastAndThePersonWritesMeanwhile(self):
        self.start({'repeat': 500, 'steps': [whole('time {n}')]}, until('typed'), {'repeat': 500, 'steps': [whole('again {n}')]})
        self.card.click()
        self.window.wait(lambda: '"a" : "first"' in self.output(), what='the output')
        self.desk.release('go')
        self.write('one more thing')
        self.desk.release('typed')
        self.reads('Done.')
        self.window.wait(lambda: '"a" : "again 499"' in self.output(), what='the last text')
        self.assertEqual('one more thing', self.composer.text)
        self.assertEqual([], self.window.audit())

    def test_ATextInASingleLineIsCopiedWhole(self):
        self.start({'repeat': 300, 'steps': [whole('time {n}')]})
        self.card.click()
        self.window.wait(lambda: '"a" : "first"' in self.output(), what='the output')
        self.desk.release('go')
        self.reads('Done.')
        self.window.wait(lambda: '"a" : "time 299"' in self.output(), what='the last text')
        self.window.click_on('panel', '=' + OUTPUT)
        self.window.key('Ctrl+A')
        self.window.key('Ctrl+C')
        self.window.wait(lambda: '"a" : "time 299"' in self.window.clipboard(), what='the text on the pasteboard')
        self.assertIn(json.dumps(LINES), self.window.clipboard())

    def test_WhoReadsInTheOutputIsLeftThere(self):
        self.start({'repeat': 300, 'steps': [whole('time {n}')]})
        self.card.click()
        self.window.wait(lambda: '"a" : "first"' in self.output(), what='the output')
        pane = self.window.find('panel', '=' + OUTPUT)
        self.window.scroll(*pane.point(), 10)
        self.window.still(timeout=5)
        left, top, width, height = pane.rect
        words = (left, top, width - 20, height)
        before = self.window.image(of=words)
        self.desk.release('go')
        self.reads('Done.')
        self.window.still(timeout=5)
        pane = self.window.find('panel', '=' + OUTPUT)
        moved = pane.rect[1] - top  # by the answer that has come below
        self.assertEqual(before, self.window.image(of=(left, top + moved, width - 20, height)))


if __name__ == '__main__':
    main()
