#!/usr/bin/python3
"""The companion as a person runs it, against a computer that the test plays."""
import base64
import os
import signal
import stat
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
from fake_host import FakeHost, creation, entry, snapshot, task  # noqa: E402

PROGRAM = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'tessarin-device')
TIMEOUT = 30


class Running:
    """The program, its output line by line."""

    def __init__(self, arguments, environment, folder):
        self.process = subprocess.Popen([PROGRAM, *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                        env=environment, cwd=folder)

    def read_until(self, text):
        seen = ''
        while text not in seen:
            character = self.process.stdout.read(1)
            if not character:
                raise AssertionError(f'no "{text}" in: {seen}\n{self.process.stderr.read()}')
            seen += character
        return seen

    def end(self, number=None):
        """The status, after that signal."""
        if number is not None:
            self.process.send_signal(number)
        out, error = self.process.communicate(timeout=TIMEOUT)
        return self.process.returncode, out, error


class ProgramCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.environment = {'PATH': '/usr/bin:/bin', 'HOME': self.folder, 'XDG_CONFIG_HOME': os.path.join(self.folder, 'config'), 'LANG': 'C.UTF-8'}
        self.host = FakeHost()
        self.addCleanup(self.host.close)

    @property
    def pairing_file(self):
        return os.path.join(self.folder, 'config', 'tessarin-device', 'pairing.json')

    def run_program(self, *arguments, text=None):
        done = subprocess.run([PROGRAM, *arguments], input=text, capture_output=True, text=True, timeout=TIMEOUT, env=self.environment,
                              cwd=self.folder)
        return done.returncode, done.stdout, done.stderr

    def start(self, *arguments):
        running = Running(arguments, self.environment, self.folder)
        self.addCleanup(self.finish, running.process)
        return running

    @staticmethod
    def finish(process):
        if process.poll() is None:
            process.kill()
        process.wait()
        process.stdout.close()
        process.stderr.close()

    def pair(self, link=None):
        self.assertEqual(self.run_program('pair', text=(link or self.host.link) + '\n')[0], 0)

    def succeeds(self, *arguments):
        status, out, error = self.run_program(*arguments)
        self.assertEqual((status, error), (0, ''))
        return out

    def fails(self, *arguments, **more):
        """In one plain sentence."""
        status, _, error = self.run_program(*arguments, **more)
        self.assertEqual(status, 1, error)
        self.assertRegex(error, r'\Atessarin-device: [^\n]+\n\Z')
        self.assertNotIn('Traceback', error)
        return error

    def shows(self, state):
        """What a device gets at once, and whenever it asks."""
        self.state = state
        self.host.greeting = [self.host.state(state)]

    def answers(self, kind, **change):
        """The computer does what it is told: its next state differs so."""
        self.host.answers[kind] = lambda message: [self.host.state({**self.state, **change})]


class PairingIt(ProgramCase):
    def test_TheLinkIsReadFromTheInputAndKeptForThisAccountAlone(self):
        status, out, _ = self.run_program('pair', text=self.host.link + '\n')
        self.assertEqual((status, out), (0, f'Paired with Ada at 127.0.0.1:{self.host.port}. Try: tessarin-device watch\n'))
        self.assertEqual(stat.S_IMODE(os.stat(self.pairing_file).st_mode), 0o600)
        self.assertEqual(stat.S_IMODE(os.stat(os.path.dirname(self.pairing_file)).st_mode), 0o700)

    def type_link(self, typed):
        """Runs `pair` in a terminal; the status, and what stands in the terminal."""
        terminal, end = os.openpty()
        self.addCleanup(os.close, terminal)
        process = subprocess.Popen([PROGRAM, 'pair'], stdin=end, stdout=end, stderr=end, env=self.environment, cwd=self.folder, start_new_session=True)
        os.close(end)
        seen = b''
        while b'not shown' not in seen:
            seen += os.read(terminal, 1024)
        os.write(terminal, typed)
        try:
            while more := os.read(terminal, 1024):
                seen += more
        except OSError:
            pass  # so a terminal says that nobody is at its other end
        return process.wait(TIMEOUT), seen.decode()

    def test_ALinkThatIsTypedIsNotShown(self):
        status, seen = self.type_link(self.host.link.encode() + b'\n')
        self.assertEqual(status, 0, seen)
        self.assertIn('Paired with Ada', seen)
        self.assertNotIn('key=', seen)
        self.assertNotIn('Warning', seen)

    def test_TheEndOfTheInputIsNoLink(self):
        status, seen = self.type_link(b'\x04')
        self.assertEqual(status, 1)
        self.assertIn('This is no pairing link', seen)

    def test_TheLinkMayStandOnTheCommandLine(self):
        self.succeeds('pair', self.host.link)
        self.assertTrue(os.path.exists(self.pairing_file))

    def test_ABadLinkIsRefusedAndTheEarlierPairingStays(self):
        self.pair()
        self.fails('pair', self.host.link[:40])
        self.fails('pair', text='')
        self.shows(snapshot())
        self.succeeds('tasks')

    def test_WithoutAPairingThereIsASentence(self):
        self.assertIn('not paired yet', self.fails('tasks'))
        self.assertEqual(self.succeeds('unpair'), 'There was no pairing.\n')
        self.pair()
        self.assertEqual(self.succeeds('unpair'), 'Forgotten.\n')
        self.assertIn('not paired yet', self.fails('watch'))

    def test_HelpIsThereForEveryCommand(self):
        commands = ['pair', 'unpair', 'watch', 'tasks', 'show', 'select', 'new', 'prompt', 'approve', 'reject', 'stop', 'mode', 'provider', 'generate',
                    'media']
        top = self.succeeds('--help')
        for command in commands:
            self.assertIn(f'    {command} ', top)
            self.assertIn('usage: ', self.succeeds(command, '--help'))
        self.assertIn('--output', self.succeeds('media', 'fetch', '--help'))


class Connecting(ProgramCase):
    def test_NobodyThere(self):
        link = self.host.link
        self.host.close()
        self.pair(link)
        self.assertIn('is the remote host turned on?', self.fails('tasks'))

    def test_AnotherKey(self):
        self.pair()
        self.host.key = bytes(32)
        self.shows(snapshot())
        self.assertIn('another key', self.fails('tasks'))
        self.assertIn('another key', self.fails('watch'))

    def test_AnotherKeyOfAComputerThatHasNothingToShow(self):
        self.pair()
        self.host.key = bytes(32)
        self.assertIn('Has its key been replaced?', self.fails('tasks'))

    def test_BytesThatAreNoFrames(self):
        self.pair()
        for greeting in (b'HTTP/1.1 400 Bad Request\r\n\r\n', b'\0\0\0\0', self.host.frame('snapshot', snapshot=7), self.host.frame('x', data=1)):
            self.host.greeting = [greeting]
            self.assertIn('does not understand', self.fails('tasks'))

    def test_MessagesOfOtherKindsAndVersionsArePassedOver(self):
        self.pair()
        state = self.host.state(snapshot(tasks=[task('Mine')]))
        self.host.greeting = [self.host.frame('news', version=2), self.host.frame('news', text='?'), state, state]
        self.assertIn('Mine', self.succeeds('tasks'))

    def test_TheFirstWordIsHello(self):
        self.pair()
        self.shows(snapshot())
        self.succeeds('tasks')
        self.assertEqual(sorted(self.host.next_message()), ['id', 'type', 'version'])


class Looking(ProgramCase):
    def setUp(self):
        super().setUp()
        self.pair()

    def test_TasksAreListedWithTheSelectedOneMarked(self):
        self.shows(snapshot(tasks=[task('One'), task('Two')], selected=1))
        out = self.succeeds('tasks')
        self.assertIn('Ada: Ready, Ask, Auto\n\naurora  (/home/ada/aurora)\n', out)
        self.assertRegex(out, r'\n   1  One +\S.*\n\*  2  Two ')

    def test_ATaskIsPrinted(self):
        self.shows(snapshot(tasks=[task('One', entry('user', 'hi'), entry('assistant', 'Hello.', provider='codex'))]))
        for wanted in ([], ['1'], [self.state['selectedThreadID'][:8].lower()]):
            self.assertEqual(self.succeeds('show', *wanted), '== One ==\n-- You\nhi\n-- Codex\nHello.\n')
        self.assertEqual(self.succeeds('show', '--last', '1'), '== One ==\n   (1 earlier)\n-- Codex\nHello.\n')
        for wanted in ('2', '0', 'x', '', '٣'):
            self.assertIn('There is no task', self.fails('show', wanted))

    def test_NothingThatTheComputerSaysSteersTheTerminal(self):
        evil = 'a\x1b]0;owned\x07\x1b[2J\x9b2J\rb\x08\u202e\ud800'
        state = snapshot(tasks=[task(evil, entry('user', evil), entry('tool', '', title=evil, status=evil), entry(evil, evil, provider=evil))],
                         creations=[creation(evil, name=evil)], hostName=evil, connectionLabel=evil, permissionModeLabel=evil, providerModeLabel=evil,
                         permission={'requestID': 1, 'title': evil, 'detail': evil, 'options': []},
                         providerUsages=[{'provider': evil, 'label': evil, 'exhausted': True}])
        state['workspaces'][0].update(name=evil, path=evil)
        self.shows(state)
        self.host.answers['set_permission_mode'] = lambda _: [self.host.frame('error', text=evil)]
        outputs = [self.succeeds(*arguments) for arguments in (['tasks'], ['show'], ['media', 'list'], ['mode'], ['provider'])]
        outputs += [self.run_program('mode', 'auto')[2], self.run_program('approve')[2], self.run_program('media', 'fetch', evil[:-1])[2]]
        watching = self.start('watch')
        outputs.append(watching.read_until('on the computer only'))
        for out in outputs:
            self.assertIn('a', out)
            self.assertNotRegex(out, '[\x00-\x08\x0b-\x1f\x7f-\x9f\u202e\ud800]')

    def test_AReaderThatGoesAwayIsNoError(self):
        self.shows(snapshot(tasks=[task(f'Task {number}') for number in range(5000)]))
        running = self.start('tasks')
        running.process.stdout.readline()
        running.process.stdout.close()
        self.assertEqual(running.process.wait(TIMEOUT), 128 + signal.SIGPIPE)
        self.assertEqual(running.process.stderr.read(), '')


class Watching(ProgramCase):
    def setUp(self):
        super().setUp()
        self.pair()
        self.work = task('Work', entry('user', 'hi'))
        self.shows(snapshot(tasks=[self.work]))

    def test_WhatIsNewIsSaidUntilCtrlC(self):
        watching = self.start('watch')
        watching.read_until('-- You\nhi')
        self.work['entries'].append(entry('assistant', 'Hel', provider='grok'))
        self.host.send(self.host.state({**self.state, 'connectionLabel': 'Grok is working'}))
        watching.read_until('-- Grok\nHel\n.. Grok is working\n')
        self.work['entries'][1]['text'] = 'Hello.'
        self.host.send(self.host.state({**self.state, 'connectionLabel': 'Grok is working'}))
        watching.read_until('-- Grok (continued)\nlo.')
        status, _, error = watching.end(signal.SIGINT)
        self.assertEqual((status, error), (130, '\n'))

    def test_ALostConnectionIsMadeAgain(self):
        watching = self.start('watch')
        watching.read_until('.. Ready\n')
        self.host.drop()
        watching.read_until('.. Connected again\n')
        self.host.send(self.host.state({**self.state, 'connectionLabel': 'Still here'}))
        watching.read_until('.. Still here\n')
        status, _, error = watching.end(signal.SIGINT)
        self.assertEqual(status, 130)
        self.assertEqual(error.count('is lost. Trying again'), 1)

    def test_AKeyThatWasReplacedEndsIt(self):
        watching = self.start('watch')
        watching.read_until('.. Ready\n')
        self.host.key = bytes(32)
        self.shows(self.state)
        self.host.drop()
        status, _, error = watching.end()
        self.assertEqual(status, 1)
        self.assertIn('Pair again', error)

    def test_AQuestionIsShownWithWhatCanBeAnswered(self):
        options = [{'id': 'y', 'name': 'Yes', 'kind': 'allow_once'}, {'id': 'n', 'name': 'No', 'kind': 'reject_once'}]
        watching = self.start('watch')
        watching.read_until('.. Ready\n')
        self.host.send(self.host.state({**self.state, 'permission': {'requestID': 7, 'title': 'Run make', 'detail': 'make all', 'options': options}}))
        seen = watching.read_until('tessarin-device reject --request 7\n')
        self.assertIn('?? Run make\n   make all\n   Allow it once: tessarin-device approve --request 7\n', seen)
        self.host.send(self.host.state(self.state))
        watching.read_until('The question is answered.\n')
        self.host.send(self.host.frame('error', text='Not now.'))
        watching.read_until('!! Not now.\n')


class Driving(ProgramCase):
    def setUp(self):
        super().setUp()
        self.pair()
        self.work = task('Work')
        self.shows(snapshot(tasks=[self.work, task('Other')]))

    def sent(self, kind):
        message = self.host.next_message(kind)
        return {key: value for key, value in message.items() if key not in ('version', 'id', 'type')}

    def ids(self, number=0):
        project = self.state['workspaces'][0]
        return {'workspaceID': project['id'], 'threadID': project['threads'][number]['id']}

    def test_APromptIsSentAndItsAnswerFollowed(self):
        def answer(message):
            self.work['entries'] += [entry('user', message['text'])]
            working = {**self.state, 'connectionStatus': 'working', 'connectionLabel': 'Grok is working'}
            first = self.host.state(working)
            self.work['entries'] += [entry('assistant', 'Done.', provider='grok')]
            return [first, self.host.state(working), self.host.state(self.state)]
        self.host.answers['prompt'] = answer
        out = self.succeeds('prompt', 'build it\nnow')
        self.assertEqual(self.sent('prompt'), {**self.ids(), 'text': 'build it\nnow'})
        self.assertEqual(out, '== Work ==\n-- You\nbuild it\nnow\n.. Grok is working\n-- Grok\nDone.\n.. Ready\n')

    def test_APromptGoesToTheTaskThatIsNamed(self):
        self.answers('prompt', connectionStatus='working')
        self.assertEqual(self.succeeds('prompt', 'go', '--task', '2', '--no-wait'), 'Sent.\n')
        self.assertEqual(self.sent('prompt'), {**self.ids(1), 'text': 'go'})

    def test_APromptThatCanNotBeTakenIsNotSent(self):
        self.assertIn('empty prompt', self.fails('prompt', ' \n'))
        self.assertIn('There is no task', self.fails('prompt', 'go', '--task', '9'))
        self.shows({**self.state, 'connectionStatus': 'working'})
        self.assertIn('at work', self.fails('prompt', 'go'))
        self.shows({**self.state, 'selectedThreadID': None})
        self.assertIn('--task', self.fails('prompt', 'go'))

    def test_AQuestionIsAnsweredForOnceOrRefused(self):
        options = [{'id': 'y', 'name': 'Yes', 'kind': 'allow_once'}, {'id': 'never', 'name': 'Never', 'kind': 'reject_always'}]
        self.assertIn('No agent is asking', self.fails('approve'))
        self.shows({**self.state, 'permission': {'requestID': 7, 'title': 'Run make', 'detail': '', 'options': options}})
        self.answers('permission_response', permission=None)
        self.assertEqual(self.succeeds('approve'), 'Run make: Yes\n')
        self.assertEqual(self.sent('permission_response'), {'requestID': 7, 'optionID': 'y'})
        self.assertEqual(self.succeeds('reject', '--request', '7'), 'Run make: Never\n')
        self.assertEqual(self.sent('permission_response'), {'requestID': 7, 'optionID': 'never'})
        self.assertIn('has the number 7', self.fails('approve', '--request', '6'))
        self.shows({**self.state, 'permission': {'requestID': 8, 'title': 'Run make', 'detail': '', 'options': []}})
        self.assertIn('on the computer only', self.fails('approve'))
        self.assertIn('on the computer only', self.fails('reject'))

    def test_WhatIsRefusedIsToldInTheComputersWords(self):
        self.host.answers['set_permission_mode'] = lambda _: [self.host.frame('error', text='Only at the computer.')]
        self.assertEqual(self.fails('mode', 'full_access'), 'tessarin-device: Only at the computer.\n')
        self.assertEqual(self.sent('set_permission_mode'), {'permissionMode': 'full_access'})

    def test_ModesAndProvidersAreSetAndShown(self):
        self.answers('set_permission_mode', permissionMode='auto', permissionModeLabel='Auto-approve')
        self.assertEqual(self.succeeds('mode', 'auto'), 'Approvals: Auto-approve\n')
        self.answers('set_provider_mode', providerMode='glm', providerModeLabel='GLM', providerUsages=[
            {'provider': 'glm', 'label': 'GLM plan', 'exhausted': False, 'primaryUsedPercent': 12.4, 'secondaryUsedPercent': 70},
            {'provider': 'kimi', 'label': 'Kimi', 'exhausted': True}])
        self.assertEqual(self.succeeds('provider', 'glm'), 'Providers: GLM\n  GLM plan: used 12 % and 70 %\n  Kimi: used up\n')
        self.assertEqual(self.sent('set_provider_mode'), {'providerMode': 'glm'})
        self.assertEqual(self.succeeds('mode'), 'Approvals: Ask\n')

    def test_TasksAreSelectedAndMade(self):
        self.answers('select_thread', selectedThreadID=self.ids(1)['threadID'])
        self.assertEqual(self.succeeds('select', '2'), 'Selected: Other\n')
        self.assertEqual(self.sent('select_thread'), self.ids(1))
        self.answers('new_thread', selectedThreadID='A')
        self.assertEqual(self.succeeds('new', '--project', 'aurora'), 'A new task is selected.\n')
        self.assertEqual(self.sent('new_thread'), {'workspaceID': self.ids()['workspaceID']})
        self.assertIn('There is no project', self.fails('new', '--project', 'x'))

    def test_WorkIsStopped(self):
        self.assertIn('No agent is at work', self.fails('stop'))
        self.assertIn('Nothing is being generated', self.fails('stop', '--imagine'))
        self.shows({**self.state, 'connectionStatus': 'working', 'imagineStatus': 'working'})
        self.answers('cancel', connectionStatus='ready', imagineStatus='ready')
        self.assertEqual(self.succeeds('stop'), 'Stopped.\n')
        self.assertEqual(self.sent('cancel'), {'threadID': self.ids()['threadID']})
        self.assertEqual(self.succeeds('stop', '--imagine'), 'Stopped.\n')
        self.assertEqual(self.sent('cancel'), {'mediaKind': 'image'})

    def test_AnImageIsGenerated(self):
        made = creation('a cube')
        self.host.answers['imagine_generate'] = lambda _: [
            self.host.state({**self.state, 'imagineStatus': 'working', 'imagineLabel': 'Drawing…'}),
            self.host.state({**self.state, 'imagineStatus': 'ready', 'imagineItems': [made]})]
        self.assertEqual(self.succeeds('generate', 'image', 'a cube'), f'.. Drawing…\nMade: {made["id"]}  a.png\n')
        self.assertEqual(self.sent('imagine_generate'), {'text': 'a cube', 'mediaKind': 'image'})


class Fetching(ProgramCase):
    def setUp(self):
        super().setUp()
        self.pair()
        self.item = creation('a cube')
        self.shows(snapshot(creations=[self.item]))
        self.content = bytes(range(256)) * 1000

    def chunk(self, index, content, **more):
        return self.host.frame('media_chunk', **{'mediaID': self.item['id'], 'mediaKind': 'image', 'mimeType': 'image/png', 'fileName': 'a.png',
                                                 'chunkIndex': index, 'chunkCount': 2, 'data': base64.b64encode(content).decode(), **more})

    def serve(self, *chunks):
        self.host.answers['media_request'] = lambda _: list(chunks)

    def test_AFileIsFetchedByteForByteAmongChunksForOthers(self):
        first, second = self.content[:196608], self.content[196608:]
        self.serve(self.chunk(0, b'x', mediaID='other'), self.chunk(1, second), self.chunk(0, first), self.chunk(0, first), self.chunk(1, second))
        self.assertEqual(self.succeeds('media', 'fetch', '1'), 'a.png: 0.3 MB\n')
        self.assertEqual(self.host.next_message('media_request')['mediaID'], self.item['id'])
        with open(os.path.join(self.folder, 'a.png'), 'rb') as file:
            self.assertEqual(file.read(), self.content)
        self.assertIn('exists already', self.fails('media', 'fetch', '1'))
        self.assertIn('a cube', self.succeeds('media', 'list'))

    def test_AFileThatIsGoneLeavesNothing(self):
        self.assertIn('may be gone', self.fails('media', 'fetch', '1', '--wait', '1'))
        self.assertIn('no creation', self.fails('media', 'fetch', '2'))
        self.assertEqual([name for name in os.listdir(self.folder) if name != 'config'], [])

    def test_AFileBeyondTheLimitLeavesNothing(self):
        self.serve(self.chunk(0, self.content[:196608], chunkCount=1000))
        self.assertIn('--limit', self.fails('media', 'fetch', '1', '--limit', '1'))
        self.assertEqual([name for name in os.listdir(self.folder) if name != 'config'], [])

    def test_CtrlCLeavesNothing(self):
        self.serve(self.chunk(0, self.content[:196608]))
        fetching = self.start('media', 'fetch', '1')
        self.host.next_message('media_request')
        self.assertEqual(fetching.end(signal.SIGINT)[0], 130)
        self.assertEqual([name for name in os.listdir(self.folder) if name != 'config'], [])

    def test_WhereToIsTheirChoice(self):
        self.serve(self.chunk(0, b'x', chunkCount=1))
        self.succeeds('media', 'fetch', self.item['id'], '-o', 'b.png')
        self.assertIn('No such file or directory', self.fails('media', 'fetch', '1', '-o', 'nowhere/b.png'))
        self.assertEqual(sorted(os.listdir(self.folder)), ['b.png', 'config'])


if __name__ == '__main__':
    unittest.main()
