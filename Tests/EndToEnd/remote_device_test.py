"""A paired device drives the program: the device is another implementation of the wire, in Tests/Device."""
import os
import subprocess
import sys

from acp import opening, says, script, turn, until
from asking import ALWAYS, NO, ONCE, answered, asks
from desk import entry, new_id, task
from library import Library, png
from settings_case import SettingsCase
from window_case import main

DEVICE = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), 'Device')
sys.path.insert(0, DEVICE)
from tessarin_device.connection import Computer, ConnectionLost, NotPaired  # noqa: E402
from tessarin_device.media import MediaAssembly  # noqa: E402
from tessarin_device.pairing import Pairing, pairing_from_link  # noqa: E402

PORT = 43765
PROGRAM = os.path.join(DEVICE, 'tessarin-device')
FULL_ACCESS = 'Full Access can only be enabled on the Mac after confirmation.'
WAIT_FOR_MODE = 'Wait for the agent to finish before changing permission mode.'
WAIT_FOR_PROVIDER = 'Wait for the agent to finish before changing providers.'
TIMEOUT = 20


class DeviceCase(SettingsCase):
    """The host is on. `device()` is a paired device."""

    def setUp(self):
        super().setUp()
        self.desk.prefer(remoteHostEnabled_v1=True)
        self.library = Library(self.desk)

    def start(self, *steps, projects=None):
        """The program with one runtime that plays these steps, and a device that is connected."""
        if steps:
            self.desk.install('grok', script(opening(), *steps))
        self.open_project(*(projects or [self.desk.project()]))
        return self.device()

    @property
    def secret_file(self):
        return os.path.join(self.desk.data, 'secrets', 'com.local.Ombrelan.remote.pairing-secret')

    def pairing(self):
        self.window.wait(lambda: os.path.exists(self.secret_file), what='a key')
        with open(self.secret_file, 'rb') as file:
            return Pairing('127.0.0.1', PORT, file.read(), 'desk')

    def device(self, pairing=None):
        pairing = pairing or self.pairing()
        made = []

        def connects():
            try:
                made.append(Computer(pairing))
                return True
            except ConnectionLost:
                return False
        self.window.wait(connects, what='the host to listen')
        self.addCleanup(made[0].close)
        self.sees(made[0], lambda: made[0].state is not None, 'a state')
        return made[0]

    def sees(self, device, is_so, what):
        self.assertTrue(device.wait(is_so, TIMEOUT), f'the device waits for {what}: {device.state}')

    def asks_anew(self, device):
        """Waits for a state that was made after all that the device has sent so far."""
        device.refusals.clear()
        device.send('set_permission_mode', permissionMode='full_access')
        device.send('refresh')
        self.sees(device, lambda: device.refusals, 'the refusal')
        device.state = None
        self.sees(device, lambda: device.state is not None, 'a state')

    def texts(self, device, kind, number=0):
        return [each['text'] for each in device.tasks()[number][1]['entries'] if each['kind'] == kind]

    @staticmethod
    def ids(device, number=0):
        project, found = device.tasks()[number]
        return {'workspaceID': project['id'], 'threadID': found['id']}

    def prompt_from(self, device, text, number=0):
        device.send('prompt', text=text, **self.ids(device, number))


class Watching(DeviceCase):
    def test_ADeviceThatConnectsSeesEverythingAtOnce(self):
        first = task('Fix the parser', [entry('user', 'ü "quoted" 🙂'), entry('tool', 'details', title='Edit', status='completed', provider='grok')],
                     sessionId='session-0')
        self.library.add('a red cube', png(8, 8, lambda x, y: (255, 0, 0)))
        self.library.write()
        device = self.start(projects=[(self.desk.project('aurora'), [first, task('Second')]), (self.desk.project('borealis'), [task('Third')])])
        state = device.state
        self.assertEqual([[each['title'] for each in project['threads']] for project in state['workspaces']], [['Fix the parser', 'Second'], ['Third']])
        self.assertEqual([os.path.basename(project['path']) for project in state['workspaces']], ['aurora', 'borealis'])
        told = state['workspaces'][0]['threads'][0]
        self.assertEqual((told['id'], told['sessionID'], told['createdAt']), (first['id'], 'session-0', 780000000 + 978307200))
        self.assertEqual([(each['id'], each['kind'], each['text'], each.get('title'), each.get('status'), each.get('provider'))
                          for each in told['entries']],
                         [(first['entries'][0]['id'], 'user', 'ü "quoted" 🙂', None, None, None),
                          (first['entries'][1]['id'], 'tool', 'details', 'Edit', 'completed', 'grok')])
        self.assertEqual([state[key] for key in ('connectionStatus', 'connectionLabel', 'permissionMode', 'permissionModeLabel', 'providerMode')],
                         ['idle', 'Not connected', 'ask', 'Ask', 'automatic'])
        self.assertEqual([(item['prompt'], item['kind']) for item in state['imagineItems']], [('a red cube', 'image')])
        self.assertNotIn('permission', state)
        self.assertNotIn('localPath', state['imagineItems'][0])

    def test_WhatHappensInTheWindowReachesEveryDevice(self):
        device = self.start(turn(says('Hello '), until('go'), says('world.')))
        other = self.device()
        self.prompt('hi')
        for each in (device, other):
            self.sees(each, lambda: self.texts(each, 'assistant') == ['Hello '] and each.is_busy(), 'the beginning of the answer')
            self.assertEqual(each.state['connectionLabel'], 'Grok is working')
            self.assertEqual(self.texts(each, 'user'), ['hi'])
        self.desk.release('go')
        for each in (device, other):
            self.sees(each, lambda: self.texts(each, 'assistant') == ['Hello world.'] and not each.is_busy(), 'the end of the answer')
            self.assertEqual(each.state['connectionStatus'], 'ready')


class Driving(DeviceCase):
    def test_APromptOfADeviceIsWorkedOnInTheWindow(self):
        device = self.start(turn(says('Hello from here.')), projects=[(self.desk.project(), [task('First'), task('Second')])])
        self.prompt_from(device, 'Hello from afar', 1)
        self.reads('Hello from afar')
        self.reads('Hello from here.')
        self.sees(device, lambda: self.texts(device, 'assistant', 1) == ['Hello from here.'], 'the answer')
        self.assertEqual(device.state['selectedThreadID'], self.ids(device, 1)['threadID'])
        self.assertEqual(self.desk.prompts('grok'), ['Hello from afar'])

    def test_ALowerCaseIdSelectsATaskAndWhatIsNoIdOrNoPromptDoesNothing(self):
        device = self.start(projects=[(self.desk.project(), [task('First'), task('Second')])])
        first, second = self.ids(device), self.ids(device, 1)
        device.send('select_thread', workspaceID=second['workspaceID'], threadID=second['threadID'].replace('-', ''))
        device.send('select_thread', threadID=second['threadID'])
        device.send('prompt', **second)
        self.asks_anew(device)
        self.assertEqual(device.state['selectedThreadID'], first['threadID'])
        device.send('select_thread', **{key: value.lower() for key, value in second.items()})
        self.sees(device, lambda: device.state['selectedThreadID'] == second['threadID'], 'the other task')

    def test_ATaskIsBegunAndModesAreSet(self):
        device = self.start(projects=[(self.desk.project(), [task('First', [entry('user', 'hi')])])])
        device.send('new_thread')
        self.sees(device, lambda: len(device.tasks()) == 2, 'a new task')
        device.send('set_permission_mode', permissionMode='auto')
        device.send('set_provider_mode', providerMode='glm')
        self.sees(device, lambda: (device.state['permissionMode'], device.state['providerMode']) == ('auto', 'glm'), 'the modes')
        self.assertEqual(device.refusals, [])

    def test_AFolderPickerLeavesTheHostAnswering(self):
        device = self.start()
        device.send('new_thread', workspaceID=new_id())
        self.window.find('dialog', 'Choose a project')
        self.asks_anew(device)
        self.prompt_from(device, 'Hello from afar')
        self.reads('Hello from afar')

    def test_AnAgentIsStopped(self):
        device = self.start(turn(says('Working'), {'expect': 'session/cancel'}, stop='cancelled'))
        self.prompt_from(device, 'go')
        self.sees(device, lambda: self.texts(device, 'assistant') == ['Working'], 'the work')
        device.send('cancel', threadID=self.ids(device)['threadID'].lower())
        device.send('cancel', threadID=new_id())
        self.asks_anew(device)
        self.assertTrue(device.is_busy())
        device.send('cancel', threadID=self.ids(device)['threadID'])
        self.sees(device, lambda: not device.is_busy(), 'the end of the work')
        self.assertEqual(len(self.desk.received('grok', self.desk.sessions('grok')[0], 'session/cancel')), 1)


class Asking(DeviceCase):
    def ask(self, *options):
        device = self.start(turn(asks(*options, title='Run make', command='make all'), answered(), says('Going on.')))
        self.prompt_from(device, 'go')
        self.sees(device, lambda: device.state.get('permission'), 'the question')
        return device

    def outcome(self):
        return [message['result']['outcome'] for message in self.desk.received('grok', self.desk.sessions('grok')[0])
                if 'method' not in message and message.get('id') == 7]

    def test_ADeviceSeesTheQuestionWithoutWhatItMayNotAnswer(self):
        permission = self.ask(ONCE, ALWAYS, NO).state['permission']
        self.assertEqual(permission['title'], 'Run make')
        self.assertIn('"command" : "make all"', permission['detail'])
        self.assertEqual([(option['id'], option['name'], option['kind']) for option in permission['options']],
                         [('yes', 'Allow once', 'allow_once'), ('no', 'No', 'reject_once')])

    def test_ItIsAllowedOnce(self):
        device = self.ask(ONCE, ALWAYS, NO)
        device.send('permission_response', requestID=device.state['permission']['requestID'], optionID='yes')
        self.reads('Going on.')
        self.sees(device, lambda: 'permission' not in device.state, 'the end of the question')
        self.window.wait_gone(says='Grok needs permission')
        self.assertEqual(self.outcome(), [{'outcome': 'selected', 'optionId': 'yes'}])

    def test_ItIsRefused(self):
        device = self.ask(ONCE, NO)
        device.send('permission_response', requestID=device.state['permission']['requestID'], optionID='no')
        self.reads('Going on.')
        self.assertEqual(self.outcome(), [{'outcome': 'selected', 'optionId': 'no'}])

    def test_WhatWasNeverOfferedToTheDeviceChangesNothing(self):
        device = self.ask(ONCE, ALWAYS, NO)
        number = device.state['permission']['requestID']
        for wrong in ({'requestID': number, 'optionID': 'ever'}, {'requestID': number, 'optionID': 'none'}, {'requestID': number},
                      {'requestID': number + 1, 'optionID': 'yes'}, {'optionID': 'yes'}):
            device.send('permission_response', **wrong)
        self.asks_anew(device)
        self.assertIn('permission', device.state)
        self.assertEqual(self.outcome(), [])
        self.window.find('~button', '=Reject')
        device.send('permission_response', requestID=number, optionID='yes')
        self.reads('Going on.')
        self.assertEqual(self.outcome(), [{'outcome': 'selected', 'optionId': 'yes'}])


class Refusing(DeviceCase):
    def refusals(self, device, kind, **fields):
        """What comes back, besides states, before the answer to a later question of ours."""
        device.refusals.clear()
        device.send(kind, **fields)
        device.send('set_permission_mode', permissionMode='full_access')
        self.sees(device, lambda: FULL_ACCESS in device.refusals, 'the refusal behind it')
        return device.refusals[:-1]

    def test_FullAccessIsNeverTurnedOnFromADevice(self):
        device = self.start(turn(says('Working'), until('go')))
        self.is_refused_full_access(device)
        self.prompt_from(device, 'go')
        self.sees(device, lambda: self.texts(device, 'assistant') == ['Working'], 'the work')
        self.is_refused_full_access(device)
        self.desk.release('go')

    def is_refused_full_access(self, device):
        self.asks_anew(device)
        self.assertEqual(device.refusals, [FULL_ACCESS])
        self.assertEqual(device.state['permissionMode'], 'ask')

    def test_ModesStayWhileAnAgentWorks(self):
        device = self.start(turn(says('Working'), until('go')))
        self.prompt_from(device, 'go')
        self.sees(device, lambda: self.texts(device, 'assistant') == ['Working'], 'the work')
        self.assertEqual(self.refusals(device, 'set_permission_mode', permissionMode='auto'), [WAIT_FOR_MODE])
        self.assertEqual(self.refusals(device, 'set_provider_mode', providerMode='codex'), [WAIT_FOR_PROVIDER])
        self.assertEqual((device.state['permissionMode'], device.state['providerMode']), ('ask', 'automatic'))
        self.desk.release('go')

    def test_WhatIsNotUnderstoodGetsNoAnswer(self):
        device = self.start()
        for kind, fields in (('set_permission_mode', {'permissionMode': 'everything'}), ('set_permission_mode', {}), ('set_provider_mode', {'providerMode': 'x'}),
                             ('media_request', {'mediaID': new_id()}), ('media_request', {'mediaID': 'x'}), ('snapshot', {}), ('error', {'text': 'x'}),
                             ('delete_everything', {}), ('imagine_generate', {'text': 'x', 'mediaKind': 'song'})):
            self.assertEqual(self.refusals(device, kind, **fields), [])
        self.assertEqual((device.state['permissionMode'], device.state['providerMode']), ('ask', 'automatic'))


class Media(DeviceCase):
    def fetched(self, device, media_id):
        content = bytearray()
        assembly = MediaAssembly(media_id, content.extend, 10 ** 9)
        device.collect(assembly)
        device.send('media_request', mediaID=media_id)
        self.sees(device, lambda: assembly.is_complete, 'the file')
        return assembly, bytes(content)

    def test_FilesComeByteForByte(self):
        picture, film = png(64, 64, lambda x, y: (255 * x, 255 * y, 0)), os.urandom(3_000_001)
        self.library.add('a red cube', picture)
        self.library.add('a flight', film, kind='video', extension='mp4')
        self.library.write()
        device = self.start()
        items = {item['prompt']: item for item in device.state['imagineItems']}
        for prompt, content, kind in (('a red cube', picture, 'image/png'), ('a flight', film, 'video/mp4')):
            assembly, bytes_of_it = self.fetched(device, items[prompt]['id'])
            self.assertEqual((assembly.mime_type, assembly.file_name), (kind, items[prompt]['fileName']))
            self.assertTrue(bytes_of_it == content)

    def test_AnImageIsGeneratedAndFetched(self):
        path, content = os.path.join(self.desk.folder, 'made.png'), png(64, 64, lambda x, y: (255 * x, 0, 0))
        with open(path, 'wb') as file:
            file.write(content)
        made = {'update': {'sessionUpdate': 'tool_call_update', 'toolCallId': 'call-1', 'status': 'completed', 'rawOutput': {'path': path}}}
        device = self.start(turn(made))
        device.send('imagine_generate', text='a red cube', mediaKind='image')
        self.window.find('list item', 'a red cube, Image')
        self.sees(device, lambda: device.state['imagineItems'] and not device.is_imagining(), 'the image')
        self.assertTrue(self.fetched(device, device.state['imagineItems'][0]['id'])[1] == content)

    def test_AGenerationIsStoppedByTheWordForImages(self):
        device = self.start(turn({'expect': 'session/cancel'}, stop='cancelled'))
        device.send('imagine_generate', text='a flight', mediaKind='video')
        self.sees(device, lambda: device.state['imagineStatus'] == 'working', 'the generation')
        device.send('cancel', mediaKind='video')
        self.asks_anew(device)
        self.assertTrue(device.is_imagining())
        device.send('cancel', mediaKind='image')
        self.sees(device, lambda: not device.is_imagining(), 'the end of it')


class Companion(DeviceCase):
    """tessarin-device, as a person runs it."""

    def setUp(self):
        super().setUp()
        self.elsewhere = os.path.join(self.desk.folder, 'elsewhere')
        os.mkdir(self.elsewhere)

    def run_program(self, *arguments, text=None):
        done = subprocess.run([PROGRAM, *arguments], input=text, capture_output=True, text=True, timeout=60, cwd=self.elsewhere, check=False,
                              env={'PATH': '/usr/bin:/bin', 'HOME': self.elsewhere, 'LANG': 'C.UTF-8'})
        self.assertEqual((done.returncode, done.stderr), (0, ''))
        return done.stdout

    def copied_link(self):
        self.open_settings()
        self.see('image', '=Android pairing QR code')
        self.see('~button', '=Copy Pairing Link').click()
        self.window.wait(lambda: self.window.clipboard().startswith('tessarin://'), what='the link on the pasteboard')
        return self.window.clipboard()

    def local(self, link):
        """The address that is suggested may not lead here in a container."""
        host = pairing_from_link(link).host
        return link.replace(f'host={host}&', 'host=127.0.0.1&')

    def test_APersonPairsByTheLinkAndWorksFromAfar(self):
        self.library.add('a red cube', b'bytes')
        self.library.write()
        self.desk.install('grok', script(opening(), turn(asks(ONCE, NO), answered(), says('It is built.'))))
        self.open_project(self.desk.project())
        link = self.local(self.copied_link())
        self.window.key('Escape')
        self.assertIn('Paired with ', self.run_program('pair', text=link + '\n'))
        self.assertIn('aurora', self.run_program('tasks'))
        self.assertEqual(self.run_program('prompt', 'Build it', '--no-wait'), 'Sent.\n')
        self.reads('Grok needs permission')
        self.assertIn('?? Run make', self.run_program('tasks'))
        self.assertEqual(self.run_program('approve'), 'Run make: Allow once\n')
        self.reads('It is built.')
        self.window.wait(lambda: 'It is built.' in self.run_program('show'), what='the answer at the other end')
        self.run_program('media', 'fetch', '1', '--output', 'cube.png')
        with open(os.path.join(self.elsewhere, 'cube.png'), 'rb') as file:
            self.assertEqual(file.read(), b'bytes')

    def test_AWatchingDeviceComesBackAfterARestartAndNotAfterANewKey(self):
        self.open_project(self.desk.project())
        link = self.local(self.copied_link())
        self.run_program('pair', text=link + '\n')
        log = os.path.join(self.elsewhere, 'watch.log')
        with open(log, 'w') as out:
            watching = subprocess.Popen([PROGRAM, 'watch'], stdin=subprocess.DEVNULL, stdout=out, stderr=out, cwd=self.elsewhere,
                                        env={'PATH': '/usr/bin:/bin', 'HOME': self.elsewhere, 'LANG': 'C.UTF-8'})
        self.addCleanup(lambda: (watching.kill(), watching.wait()))
        self.await_in(log, '.. Not connected')
        self.app.must_live = False
        self.window.key('Ctrl+Q')
        self.app.wait()
        self.await_in(log, 'Trying again')
        self.open()
        self.await_in(log, '.. Connected again')
        self.open_settings()
        self.see('~button', '=Rotate Access Key').click()
        self.await_in(log, 'Pair again')
        self.assertEqual(watching.wait(TIMEOUT), 1)

    def await_in(self, log, text):
        def is_there():
            with open(log) as file:
                return text in file.read()
        self.window.wait(is_there, timeout=40, what=f'"{text}" at the other end')


class Keys(DeviceCase):
    def test_ANewKeyDropsEveryDeviceAndTheOldOneOpensNothing(self):
        device = self.start()
        old = self.pairing()
        self.open_settings()
        self.see('~button', '=Rotate Access Key').click()
        with self.assertRaises(ConnectionLost):
            while device.step(TIMEOUT):
                pass
        self.window.wait(lambda: self.pairing().key != old.key, what='another key')
        self.assertIsNotNone(self.device().state)
        with Computer(old) as stranger, self.assertRaises(NotPaired):
            stranger.step(TIMEOUT)

    def test_AHostThatIsOffIsClosed(self):
        device = self.start()
        self.open_settings()
        self.see('check box', '=Allow paired Android devices to control this Mac').click()
        with self.assertRaises(ConnectionLost):
            while device.step(TIMEOUT):
                pass
        with self.assertRaises(ConnectionLost):
            Computer(self.pairing())


if __name__ == '__main__':
    main()
