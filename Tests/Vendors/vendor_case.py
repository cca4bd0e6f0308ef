"""A person with one or more of the vendors' real programs, their homes set up for the model on this machine, and the window."""
import contextlib
import os
import shutil
import sys
import tempfile
import uuid

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'EndToEnd'))
from desk import Desk, task  # noqa: E402
from driver import Session  # noqa: E402
from driver.processes import ProcessGroup  # noqa: E402
from loopback import NOWHERE  # noqa: E402
from server import ModelServer  # noqa: E402
from vendors import VENDORS  # noqa: E402
from window_case import WindowCase  # noqa: E402

# A real program on a busy machine: the slowest takes eight seconds for its first answer on an idle one.
PATIENCE = 60
TITLE = 'tessarin'
# In place of a program: it writes down with what it is started, and becomes the program.
NOTES_ITS_START = '''#!/bin/sh
printf '%s\\n' "$*" >> '{notes}'
exec '{program}' "$@"
'''


def repository_of(folder):
    """The folder of the Git repository that a folder lies in, or None."""
    folder = os.path.realpath(folder)
    while not os.path.lexists(os.path.join(folder, '.git')):
        if os.path.dirname(folder) == folder:
            return None
        folder = os.path.dirname(folder)
    return folder


def remove_if_empty(folder):
    with contextlib.suppress(OSError):
        os.rmdir(folder)


class VendorCase(WindowCase):
    """One case of one vendor. `act` is a function of this object, which is the person, and does all of it."""

    screen = (1280, 900)

    def __init__(self, name, vendor, act, programs, folder, outside):
        """programs: where they are installed. folder: of the desks. outside: a folder that lies in no repository."""
        setattr(self, name, self._play)
        super().__init__(name)
        self.vendor, self._act, self._programs, self._folder, self._outside = vendor, act, programs, folder, outside
        self._preferences = {}
        self._mark = 'TESSARIN_VENDOR_CHILD=' + uuid.uuid4().hex

    def setUp(self):
        os.makedirs(self._folder, exist_ok=True)
        # Codex lets an agent write below the system's temporary folder unasked.
        self.desk = Desk(self._programs, prefix=self.vendor.program + '-', within=self._folder)
        self.addCleanup(self.desk.close)
        self.server = ModelServer(self.desk.folder)
        self.addCleanup(self.server.close)
        self.window = Session(size=self.screen, home=self.desk.home, path=self.desk.path, timeout=PATIENCE,
                              env={'TESSARIN_APPEARANCE': 'light', 'TESSARIN_VENDORS_RUN': os.environ.get('TESSARIN_VENDORS_RUN', ''),
                                   **NOWHERE})
        self.addCleanup(self.window.close)
        self.window.start()
        # From here on: only the program and what it starts bears the mark.
        self.window.env.update([self._mark.split('=')])
        # Each has a repository of its own: programs take what is above it for the project, and Kimi asks less inside of one.
        self.project = self.desk.project(git=True)

    def _play(self):
        self._act(self)
        self.leave()

    # What the person has.
    def has(self, *programs, signed_in=True, young_node=True, **settings):
        """Installs these programs, or the one the case is about, with their homes; settings go to the function of homes.py. Without a
        young Node.js there is that of the system."""
        if young_node:
            self._put_node_first()
        for program in programs or (self.vendor.program,):
            vendor = VENDORS[program]
            self.desk.install(program)
            vendor.configure(self.desk.home, self.server.address, signed_in, **settings)

    def _put_node_first(self):
        """Where Kimi's environment looks before the system's folders: there the Node.js of many systems is too old for it."""
        folder = os.path.join(self.desk.home, '.local', 'bin')
        if not os.path.isdir(folder):
            os.makedirs(folder)
            os.symlink(os.path.join(self._programs, 'node'), os.path.join(folder, 'node'))

    def notes_the_starts(self):
        """From now on it is written down with what the program is started. Its path is chosen in the settings: Grok puts a copy of itself
        where it is looked for first."""
        path = os.path.join(self.desk.folder, self.vendor.program)
        self._prefers(**{self.vendor.path_setting: path})
        with open(path, 'w') as file:
            file.write(NOTES_ITS_START.format(notes=self._starts_file, program=os.path.join(self._programs, self.vendor.program)))
        os.chmod(path, 0o755)

    def sessions_started(self):
        """The words of each start for a session since this was asked last, in order; the settings ask for other things."""
        if not os.path.exists(self._starts_file):
            return []
        with open(self._starts_file) as file:
            starts = [line.split() for line in file]
        os.remove(self._starts_file)
        return [words for words in starts if self.vendor.session_word in words]

    @property
    def _starts_file(self):
        return os.path.join(self.desk.folder, 'starts')

    def settings_of_the_program(self):
        """All files of the home. Requires: the program has not run yet."""
        texts = []
        for folder, _, names in os.walk(self.desk.home):
            for path in (os.path.join(folder, name) for name in names):
                if os.path.isfile(path) and not os.path.islink(path):
                    with open(path) as file:
                        texts.append(file.read())
        return '\n'.join(texts)

    def works_outside_of_a_repository(self):
        os.makedirs(self._outside, exist_ok=True)
        self.assertIsNone(repository_of(self._outside), 'the folder that is said to be outside lies in a repository')
        self.project = tempfile.mkdtemp(prefix=self.vendor.program + '-', dir=self._outside)
        self.addCleanup(remove_if_empty, self._outside)
        self.addCleanup(shutil.rmtree, self.project)

    def allows(self, mode):
        """Has chosen an approval mode before."""
        self._prefers(grokPermissionMode_v1=mode)

    def _prefers(self, **values):
        self._preferences.update(values)
        self.desk.prefer(**self._preferences)

    def had_session(self, identifier):
        """Had a task in a session of that vendor before."""
        self._projects = (self.project, [task('An old task', providerSessionIDs={self.vendor.provider: identifier},
                                              lastProvider=self.vendor.provider,
                                              **({'sessionId': identifier} if self.vendor.provider == 'grok' else {}))])

    _projects = None

    # What the person does.
    def begin(self):
        """Starts the program, with the one project when it is for the first time."""
        if not os.path.exists(self.desk.tree_file):
            self.desk.store(self._projects or self.project)
        self.open()
        self.window.find('~input', '=Message')

    def asks_for(self, scenario, *words):
        """Sends a prompt that chooses what the model does, and returns it."""
        text = ' '.join([f'SCENARIO:{scenario}', *words, f'PROBE_CWD={self.project}'])
        self.prompt(text)
        return text

    def allows_once(self):
        self.answers_with('Return')

    def refuses(self):
        self.answers_with('Escape')

    def answers_with(self, key):
        self.reads(self.question)
        # What is pressed before the sheet stands gives no permission.
        self.window.still(of=self.window.find('~button', '=Reject'), timeout=3)
        self.window.key(key)
        self.window.wait_gone(says=self.question)

    def leave(self):
        """Ends the program, and waits until nothing that it has started is left."""
        self.app.must_live = False
        if self.app.running:
            self.window.activate(TITLE)
            self.window.key('Ctrl+Q')
        self.assertEqual(self.app.wait(30), 0)
        left = ProcessGroup(self._mark)
        self.window.wait(lambda: not left.marked(), 20, 'the end of all that the program has started')

    # What the person sees.
    @property
    def question(self):
        return f'{self.vendor.label} needs permission'

    def finished(self):
        self.await_status('Ready')

    def finished_after(self, text, number=1):
        """The end of a turn that has said this. number: so often it has been said by then."""
        self.window.find(says=text, role='text', index=number - 1)
        self.finished()

    def fails_with(self, pattern):
        """What is told in the banner, a pattern."""
        self.await_status('Needs attention')
        self.window.find('alert', f'/{pattern}/')

    def told_the_model_no_key(self):
        """Whoever asks the model without being signed in has nothing to show."""
        told = {line['auth'] for line in self.server.requests() if 'auth' in line}
        self.assertEqual(told, {'none'} if self.vendor.asks_the_model_signed_out else set())

    def reads_in_the_settings(self, text):
        """In the section of the vendor."""
        self.window.key('Ctrl+,')
        self.window.wait_window('=Settings')
        section = self.window.find('panel', '=' + self.vendor.heading, showing=False)
        self.window.find('label', text, showing=False, within=section)

    def version(self):
        """Of the installed program."""
        return self.vendor.version(self._programs)

    def made(self, name):
        """The content of a file in the project, or None."""
        path = os.path.join(self.project, name)
        if not os.path.exists(path):
            return None
        with open(path) as file:
            return file.read()

    def makes(self, name):
        with open(os.path.join(self.project, name), 'w'):
            pass

    def unmake(self, name):
        os.remove(os.path.join(self.project, name))

    def task(self):
        """The one task as it is stored."""
        return self.desk.stored()[0]['threads'][0]

    def session(self):
        """The session that is stored for the vendor."""
        return self.task().get('providerSessionIDs', {}).get(self.vendor.provider)
