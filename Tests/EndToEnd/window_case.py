"""What every scenario begins with: a desk, a screen, and the program's window as a person finds their way in it."""
import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desk import Desk  # noqa: E402
from driver import Session, UiError  # noqa: E402

PROGRAM = os.environ.get('TESSARIN_PROGRAM', '')
SCRIPTED_RUNTIMES = os.environ.get('TESSARIN_SCRIPTED_RUNTIMES', '')
SCREENSHOTS = os.environ.get('TESSARIN_SCREENSHOTS', '')
TITLE = 'tessarin'
LEAST = (980, 640)
WIDE = (1440, 900)


class WindowCase(unittest.TestCase):
    """A test of the window. `self.desk` is the person's machine, `self.window` the session that drives the program."""

    screen = (1280, 900)
    appearance = 'light'

    def setUp(self):
        self.desk = Desk(SCRIPTED_RUNTIMES)
        self.addCleanup(self.desk.close)
        self.window = Session(size=self.screen, home=self.desk.home, path=self.desk.path,
                              env={'SCENARIO_DIR': self.desk.scripts, 'TESSARIN_APPEARANCE': self.appearance})
        self.addCleanup(self.window.close)
        self.window.start()

    def _callTestMethod(self, method):
        # A picture and the tree of the moment say more about a failure than its text.
        try:
            super()._callTestMethod(method)
        except BaseException:
            self._keep_what_is_seen()
            raise

    def _keep_what_is_seen(self):
        name = f'{type(self).__name__}.{self._testMethodName}'
        try:
            os.makedirs(SCREENSHOTS or '.', exist_ok=True)
            print('failed: ' + self.window.shot(os.path.join(SCREENSHOTS, 'failed-' + name + '.png')))
            print(self.window.dump(showing=True))
        except UiError as error:
            print(f'no picture of the failure: {error}')
        for app in self.window.apps:
            print(f'output of the program:\n{app.output[-2000:]}')

    # Starting.
    def open(self, size=None):
        """Starts the program and waits until the keys go to its window."""
        self.app = self.window.launch([PROGRAM])
        self.window.await_front('/^' + TITLE + '/')
        if size:
            self.window.place(TITLE, 0, 0, *size)
        return self.app

    def open_project(self, *projects, **more):
        """The program with these projects in its store."""
        self.desk.store(*projects)
        return self.open(**more)

    # The places of the window.
    @property
    def composer(self):
        return self.window.find('~input', '=' + COMPOSER)

    def write(self, text, newline='Shift+Return'):
        """Types into the composer."""
        composer = self.composer
        if not composer.focused:
            self.window.click_on('~input', '=' + COMPOSER)
            self.window.wait(lambda: composer.focused, what='the focus in the composer')
        self.window.type(text, newline=newline)
        return composer

    def prompt(self, text):
        """Types a prompt and sends it with Return."""
        composer = self.write(text)
        self.window.key('Return')
        self.window.wait(lambda: not composer.text, what='the composer to be empty')

    def reads(self, text, timeout=None):
        """Waits until that can be read somewhere; the element."""
        return self.window.find(says=text, timeout=timeout)

    def is_read(self, text):
        return self.window.exists(says=text)

    def await_status(self, label):
        self.window.find('~readable', '=' + label)


COMPOSER = 'Message'


def main():
    unittest.main(verbosity=2)
