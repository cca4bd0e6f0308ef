"""The runtime log: what the runtimes wrote to their error output, and what a person copies of it."""
import os

from acp import opening, says, script, turn, until
from window_case import LEAST, SCREENSHOTS, TITLE, WIDE, WindowCase, main

LOG, EMPTY = 'Runtime log', 'Nothing has been written yet.'
BAR = 20  # where the scroll bar is, which tells of what has come


def writes(text):
    return {'stderr': text}


def lines(count, word='line'):
    return ''.join(f'{word} {number}\n' for number in range(count))


class LogCase(WindowCase):
    screen = WIDE

    def open_log(self):
        self.window.click_on('~menu bar item', '=Help')
        self.window.click_on('menu item', '=Runtime Log')
        self.window.await_front('=Runtime Log')

    def work(self, *steps):
        """A turn in which the runtime writes."""
        self.desk.install('grok', script(opening(), turn(*steps, says('Done.'))))
        self.open_project(self.desk.project())
        self.prompt('Hi')

    def pages(self):
        return [element.text for element in self.window.find_all('~input', '=' + LOG)]

    def in_sight(self, text):
        """Whether a page that says so is there."""
        return any(text in page for page in self.pages())

    def await_text(self, text):
        self.window.wait(lambda: self.in_sight(text), what=f'the log to say {text!r}')


class TheLog(LogCase):
    def test_ItOpensFromTheMenuIsOnlyOneAndClosesByEscape(self):
        self.open()
        self.open_log()
        self.window.activate(TITLE)
        self.open_log()
        self.assertEqual(1, sum(name == 'Runtime Log' for name, _ in self.window.xwindows().values()))
        self.assertEqual([], self.window.audit())
        for key in ('Escape', 'Ctrl+W'):
            self.window.key(key)
            self.window.wait(lambda: 'Runtime Log' not in dict(self.window.xwindows().values()), what='the log to go')
            self.window.await_front('=' + TITLE)
            self.open_log()

    def test_AnEmptyLogSaysSoAndWhatIsWrittenComesAtOnce(self):
        self.work(until('go'), writes('something is wrong\n'), until('end'))
        self.open_log()
        self.reads(EMPTY)
        self.assertEqual([], self.window.audit())
        self.desk.release('go')
        self.await_text('something is wrong')
        self.window.wait_gone(says=EMPTY)
        self.desk.release('end')

    def test_ItTellsTheVersions(self):
        self.work(writes('x\n'))
        self.open_log()
        self.window.wait(lambda: '9.9.9' in self.window.find('~input', '=Versions').text, what='the version of grok')
        rows = self.window.find('~input', '=Versions').text.split('\n')
        self.assertRegex(rows[0], r'^tessarin +\d+\.\d+')
        self.assertRegex(rows[1], r'^System +\S')
        self.assertRegex(rows[2], r'^Grok +9\.9\.9$')
        self.assertRegex(rows[6], r'^Claude +not found$')

    def test_WhatIsCopiedIsWhatIsShownAndTheButtonSaysSo(self):
        self.work(writes(f'\x1b[31mERROR\x1b[0m in {self.desk.home}/secret-place \x1b]0;owned\x07\u202egnp.exe\n<b>no markup</b> [a](http://b)\n'))
        self.open_log()
        shown = 'ERROR in ~/secret-place ‹ESC›]0;owned‹BEL›‹U+202E›gnp.exe\n<b>no markup</b> [a](http://b)'
        self.await_text(shown)
        self.window.click_on('~button', '=Copy Versions and Log')
        self.window.find(says='=Copied')
        self.window.wait(lambda: self.window.clipboard().endswith('\n\n' + shown + '\n'), what='the log on the pasteboard')
        self.assertTrue(self.window.clipboard().startswith('tessarin '))
        self.assertNotIn(self.desk.home, self.window.clipboard())
        self.window.wait_gone(says='=Copied')

    def test_EverythingIsDoneByKeys(self):
        self.work(writes(lines(2000)))
        self.window.key('F10')
        self.window.key('Left')
        self.window.key('Return')
        item = self.window.find('menu item', '=Runtime Log')
        for _ in range(5):
            if not item.focused:
                self.window.key('Down')
        self.window.wait(lambda: item.focused, what='the focus on the entry')
        self.window.key('Return')
        self.window.await_front('=Runtime Log')
        self.await_text('line 1999')
        self.window.key('Home')
        self.await_text('line 0\n')
        self.window.key('End')
        self.window.key('Tab')
        button = self.window.find('~button', '=Copy Versions and Log')
        self.window.wait(lambda: button.focused, what='the focus on the button')
        self.window.key('space')
        self.window.wait(lambda: self.window.clipboard().endswith('line 1999\n'), what='the log on the pasteboard')

    def test_AScreenReaderFindsAndPressesEverything(self):
        self.work(writes('trouble\n'))
        self.open_log()
        self.await_text('trouble')
        self.assertEqual([], self.window.audit())
        self.window.find('panel', '=' + LOG)
        self.window.press('~button', '=Copy Versions and Log')
        self.window.wait(lambda: self.window.clipboard().endswith('trouble\n'), what='the log on the pasteboard')


class ALargeLog(LogCase):
    def test_WhoIsAtTheEndStaysThereAndWhoReadsElsewhereIsLeft(self):
        self.work(writes(lines(3000)), until('more'), writes(lines(3000, 'later')), until('last'), writes('the very last\n'), until('end'))
        self.open_log()
        self.await_text('line 2999')
        self.desk.release('more')
        self.await_text('later 2999')
        panel = self.window.find('panel', '=' + LOG)
        self.window.scroll(*panel.point(), -4)
        self.window.still(timeout=5)
        left, top, width, height = panel.rect
        words = (left, top, width - BAR, height)
        before = self.window.image(of=words)
        self.desk.release('last')
        self.await_text('the very last')
        self.window.still(timeout=5)
        self.assertEqual(before, self.window.image(of=words))
        self.desk.release('end')

    def test_FiftyMegabytesAreOpenedAndGrowWhileTheWindowAnswers(self):
        self.work({'repeat': 50, 'steps': [{'stderr': ('x' * 119 + '\n') * 8738}]}, until('go'),
                  {'repeat': 300, 'steps': [{'stderr': lines(500)}]}, writes('the very last\n'), until('end'))
        self.open_log()
        self.await_text('xxx')
        self.desk.release('go')
        self.await_text('the very last')
        self.window.key('Home')
        self.window.key('Escape')
        self.window.await_front('=' + TITLE)
        self.desk.release('end')
        self.reads('Done.')


class Looks(LogCase):
    def test_OfALogAndOfNone(self):
        noise = (f'\x1b[2m2026-11-21T20:00:00Z\x1b[0m \x1b[33m WARN\x1b[0m codex_core::config: cannot read {self.desk.home}/.codex/config.toml\n'
                 'Error: connect ECONNREFUSED 127.0.0.1:443\n    at TCPConnectWrap.afterConnect [as oncomplete] (node:net:1611:16)\n')
        self.work(until('go'), writes(noise * 12 + 'x' * 400 + '\n' + 'اختبار ' * 12 + '\n\u202eevil\u202c and \x1b]0;title\x07\n'), until('end'))
        self.open_log()
        self.reads(EMPTY)
        self.keep('runtime-log-empty')
        self.desk.release('go')
        self.await_text('evil')
        self.keep('runtime-log')
        self.desk.release('end')

    def keep(self, state):
        self.window.still(timeout=3)
        self.window.shot(os.path.join(SCREENSHOTS, f'{state}-{self.appearance}-{self.screen[0]}x{self.screen[1]}.png'))


class LooksInTheDark(Looks):
    appearance = 'dark'


class LooksOnALowScreen(Looks):
    screen = LEAST


if __name__ == '__main__':
    main()
