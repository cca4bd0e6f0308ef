"""One person's machine for a test: a HOME, project folders, the runtimes that are installed, and what the program has stored."""
import json
import os
import shutil
import subprocess
import tempfile
import time
import uuid

# Programs that the tests themselves need stand in these folders; no vendor's program does.
SYSTEM_PATH = '/usr/bin:/bin'


class Desk:
    """`close` must be called last: it removes everything. within: a folder to stand in, instead of the system's temporary one."""

    def __init__(self, runtimes, prefix='tessarin-desk-', within=None):
        self._programs = runtimes
        self.folder = tempfile.mkdtemp(prefix=prefix, dir=within)
        self.home = self._made('home')
        self.runtimes = self._made('runtimes')
        self.scripts = self._made('scripts')

    def close(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    def _made(self, name):
        path = os.path.join(self.folder, name)
        os.makedirs(path)
        return path

    @property
    def path(self):
        return self.runtimes + ':' + SYSTEM_PATH

    # Projects.
    def project(self, name='aurora', git=False):
        path = self._made(os.path.join('projects', name))
        with open(os.path.join(path, 'notes.txt'), 'w') as file:
            file.write('aurora\n')
        if git:
            subprocess.run(['git', 'init', '--quiet', '--initial-branch=main', path], check=True, env={'PATH': SYSTEM_PATH, 'HOME': self.home})
        return path

    # Runtimes.
    def install(self, name, script=None, start=None):
        """Puts the scripted runtime on PATH under a vendor's name, with what it plays at every start, or at the one of that number."""
        link = os.path.join(self.runtimes, name)
        if not os.path.lexists(link):
            os.symlink(os.path.join(self._programs, name), link)
        if script is not None:
            file = f'{name}.json' if start is None else f'{name}.{start}.json'
            with open(os.path.join(self.scripts, file), 'w') as out:
                json.dump(script, out)

    def release(self, name):
        """Lets a runtime go on that waits for the file of that name."""
        with open(os.path.join(self.scripts, name), 'w'):
            pass

    def record(self, name, start=1):
        """All lines that the start of that number has written down so far."""
        path = os.path.join(self.scripts, f'{name}.{start}.record.jsonl')
        if not os.path.exists(path):
            return []
        with open(path) as file:
            return [json.loads(line) for line in file if line.endswith('\n')]

    def sessions(self, name):
        """The numbers of the starts that were sessions and not probes, in order."""
        numbers = []
        for file in os.listdir(self.scripts):
            if file.startswith(name + '.') and file.endswith('.record.jsonl'):
                number = int(file.split('.')[1])
                if any('initialize' in (message.get('method'), message.get('request', {}).get('subtype'))
                       for message in self.received(name, number)):
                    numbers.append(number)
        return sorted(numbers)

    def received(self, name, start=1, method=None):
        messages = [line['received'] for line in self.record(name, start) if 'received' in line]
        return [message for message in messages if method is None or message.get('method') == method]

    def prompts(self, name):
        """The texts of all prompts that the runtime of that name got, in order."""
        return [message['params']['prompt'][0]['text'] for start in self.sessions(name)
                for message in self.received(name, start, 'session/prompt')]

    def await_end(self, name, start, timeout=15):
        """Waits until that start has written down its end; the lines of it."""
        end = time.monotonic() + timeout
        while time.monotonic() < end:
            lines = [line for line in self.record(name, start) if 'exit' in line or 'signal' in line]
            if lines:
                return lines
            time.sleep(0.05)
        raise AssertionError(f'{name}.{start} has not ended after {timeout} s')

    # Stores.
    @property
    def data(self):
        return os.path.join(self.home, '.local', 'share', 'tessarin')

    @property
    def tree_file(self):
        return os.path.join(self.data, 'savedWorkspaces.v1')

    def store(self, *projects):
        """Writes a tree with these projects. A project is a path, or a (path, list of tasks) as `task` makes them."""
        tree = []
        for project in projects:
            path, tasks = (project, [task()]) if isinstance(project, str) else project
            tree.append({'id': new_id(), 'name': os.path.basename(path), 'path': path, 'threads': tasks})
        os.makedirs(self.data, exist_ok=True)
        with open(self.tree_file, 'w') as file:
            json.dump(tree, file)

    def stored(self):
        """The tree as it stands on disk."""
        with open(self.tree_file) as file:
            return json.load(file)

    def prefer(self, **values):
        """Writes preferences, their keys with "_v1" for ".v1"."""
        folder = os.path.join(self.home, '.config', 'tessarin')
        os.makedirs(folder, exist_ok=True)
        with open(os.path.join(folder, 'preferences.json'), 'w') as file:
            json.dump({key.replace('_v1', '.v1'): value for key, value in values.items()}, file)


def new_id():
    return str(uuid.uuid4()).upper()


def task(title='New task', entries=(), **more):
    return {'id': new_id(), 'title': title, 'entries': list(entries), 'createdAt': 780000000.0, 'updatedAt': 780000000.0, **more}


def entry(kind, text, **more):
    return {'id': new_id(), 'kind': kind, 'text': text, 'createdAt': 780000000.0, **more}
