#!/usr/bin/python3
"""What is recorded of a vendor's program: every line, in order, and nothing of the machine on which it was."""
import glob
import json
import os
import sys
import tempfile
import time
import unittest
import unittest.mock
from types import SimpleNamespace

sys.dont_write_bytecode = True
from recorder import acp, claude, codex, neutral  # noqa: E402
from recorder.child import Child  # noqa: E402
from recorder.terminal import Terminal  # noqa: E402

SAYS = 'import json, os, signal, sys\ndef say(**message):\n    print(json.dumps(message), flush=True)\ndef hear():\n    return json.loads(input())\n'
TIMEOUT = 20
TERMINAL = {'sessionId': 's', 'command': 'printf "$WORD"', 'env': [{'name': 'WORD', 'value': 'made'}]}


def runs(pid):
    """Whether there is such a process, other than one that waits for being asked for its end."""
    try:
        with open(f'/proc/{pid}/cmdline', 'rb') as file:
            return bool(file.read())
    except FileNotFoundError:
        return False


class ChildCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def child(self, program):
        return Child([sys.executable, '-c', SAYS + program], self.folder, dict(os.environ))

    def played(self, talk_of, program, **case):
        """The lines of a conversation with a program that is written here."""
        child = self.child(program)
        talk = talk_of(child, SimpleNamespace(**{'allows': True, 'stops_after': 0, 'mode': 'ask', **case}))
        try:
            talk.run('Please go on.')
            child.rest(talk.hear)
        finally:
            talk.close()
            child.close()
        return [line for line in child.lines if 'exit' not in line], talk

    def answers(self, lines):
        return [line['out'].get('result', line['out'].get('error')) for line in lines if 'out' in line and 'method' not in line['out']]


class LinesTest(ChildCase):
    def test_EachLineIsKeptInItsOrderAndErrorsToo(self):
        child = self.child('say(first=1)\nhear()\nprint("no json", flush=True)\nsay(second=2)\nsys.stderr.write("a word\\n")\n')
        self.assertEqual(child.receive(), {'first': 1})
        child.send({'hello': True})
        self.assertEqual(child.receive(), {'second': 2})
        self.assertIsNone(child.receive())
        child._process.wait()
        child.close()
        self.assertEqual([line for line in child.lines if 'stderr' not in line],
                         [{'in': {'first': 1}}, {'out': {'hello': True}}, {'text': 'no json\n'}, {'in': {'second': 2}}, {'exit': 0}])
        self.assertIn({'stderr': 'a word\n'}, child.lines)

    def test_TheEndOfAProgramIsALineOnlyWhereItIsItsOwn(self):
        child = self.child('say(here=1)\nhear()\n')
        child.receive()
        child.close()
        self.assertEqual(child.lines, [{'in': {'here': 1}}])

    def test_NothingThatAProgramHasStartedStays(self):
        child = self.child('import subprocess\nsay(pid=subprocess.Popen(["sleep", "100"]).pid)\nhear()\n')
        pid = child.receive()['pid']
        child.close()
        deadline = time.monotonic() + TIMEOUT
        while runs(pid):
            self.assertLess(time.monotonic(), deadline, 'it still runs')
            time.sleep(0.02)  # until the deadline; the end of a stranger's child is told to nobody here

    def test_SilenceIsAnErrorThatSaysSo(self):
        child = self.child('hear()\n')
        self.addCleanup(child.close)
        with self.assertRaisesRegex(TimeoutError, 'nothing came'):
            child.receive(0.1)


class ProtocolTest(ChildCase):
    # A session and a turn of an agent that asks the client for all it offers.
    AGENT = ('for result in ({}, {"sessionId": "s"}):\n    say(id=hear()["id"], result=result)\nturn = hear()["id"]\n'
             'def ask(number, method, **params):\n    say(id=number, method=method, params=params)\n    return hear()\n'
             'options = [{"optionId": "always", "kind": "allow_always"}, {"optionId": "yes", "kind": "allow_once"},\n'
             '           {"optionId": "no", "kind": "reject_once"}]\n'
             'ask(0, "session/request_permission", options=options)\n')

    def acp(self, program, **case):
        return self.played(lambda child, given: acp.Talk(child, 'grok', given, None), self.AGENT + program + 'say(id=turn, result={})\n', **case)

    def test_APermissionIsGivenOnceOrRefused(self):
        for allows, option in ((True, 'yes'), (False, 'no')):
            lines, talk = self.acp('', allows=allows)
            self.assertEqual(self.answers(lines), [{'outcome': {'outcome': 'selected', 'optionId': option}}])
            self.assertEqual(talk.session, 's')

    def test_FilesAndTerminalsOfTheClientAreServed(self):
        lines, _ = self.acp(f'ask(1, "fs/write_text_file", path="{self.folder}/made/a.txt", content="text")\n'
                            f'ask(2, "fs/read_text_file", path="{self.folder}/made/a.txt")\n'
                            f'ask(3, "fs/read_text_file", path="/nowhere/a.txt")\n'
                            f'terminal = ask(4, "terminal/create", **{TERMINAL!r})["result"]["terminalId"]\n'
                            'ask(5, "terminal/wait_for_exit", terminalId=terminal)\nask(6, "terminal/output", terminalId=terminal)\n'
                            'ask(7, "nowhere/known")\n')
        _, written, read, missing, created, end, output, unknown = self.answers(lines)
        self.assertEqual(end, {'exitCode': 0, 'signal': None})
        self.assertEqual((written, read), ({}, {'content': 'text'}))
        self.assertEqual(missing, {'code': -32603, 'message': '/nowhere/a.txt: No such file or directory'})
        self.assertEqual(output, {'output': 'made', 'truncated': False, 'exitStatus': {'exitCode': 0, 'signal': None}})
        self.assertEqual((created['terminalId'], unknown['code']), ('TERMINAL-1', -32601))

    def test_ACommandThatIsWaitedForCanBeEndedMeanwhile(self):
        lines, _ = self.acp('terminal = ask(1, "terminal/create", command="sleep 1000")["result"]["terminalId"]\n'
                            'say(id=2, method="terminal/wait_for_exit", params={"terminalId": terminal})\n'
                            'ask(3, "terminal/output", terminalId=terminal)\n'
                            'say(id=4, method="terminal/kill", params={"terminalId": terminal})\nhear()\nhear()\n')
        _, _, output, *ends = self.answers(lines)
        self.assertEqual(output, {'output': '', 'truncated': False})
        self.assertCountEqual(ends, [{}, {'exitCode': None, 'signal': 'SIGKILL'}])

    def test_ACommandIsEndedWithAllThatItHasStartedWhenItsTimeIsOver(self):
        terminal = Terminal(['/bin/sh', '-c', 'sleep 1000 & echo $!; wait'], self.folder, dict(os.environ))
        self.addCleanup(terminal.close)
        deadline = time.monotonic() + TIMEOUT
        while not terminal.output().endswith('\n'):
            self.assertLess(time.monotonic(), deadline, 'it says nothing')
            time.sleep(0.02)  # until the deadline; a file tells nobody that it has grown
        self.assertIsNone(terminal.status())
        terminal.wait(0.1)
        self.assertEqual(terminal.status(), {'exitCode': None, 'signal': 'SIGKILL'})
        while runs(int(terminal.output())):
            self.assertLess(time.monotonic(), deadline, 'it still runs')
            time.sleep(0.02)  # until the deadline; the end of a stranger's child is told to nobody here

    def test_WhatIsAskedBehindATurnIsAnsweredToo(self):
        after = 'say(id=turn, result={})\nask(7, "session/request_permission", options=options)\n'
        lines, _ = self.played(lambda child, given: acp.Talk(child, 'grok', given, None), self.AGENT + after)
        self.assertEqual(len(self.answers(lines)), 2)
        agent = ('say(id=hear()["id"], result={})\nhear()\nhear()\nsay(id=hear()["id"], result={"thread": {"id": "t"}})\n'
                 'say(id=hear()["id"], result={"turn": {"id": "u"}})\nsay(method="turn/completed")\nhear()\n'
                 'say(id=0, method="item/fileChange/requestApproval")\nhear()\n')
        lines, _ = self.played(lambda child, case: codex.Talk(child, 'codex', case, None), agent)
        self.assertEqual(self.answers(lines), [{'decision': 'accept'}])
        agent = ('hear()\nsay(type="control_response")\nhear()\nsay(type="result")\n'
                 'say(type="control_request", request_id="r", request={"subtype": "can_use_tool", "input": {}})\nhear()\n')
        lines, _ = self.played(lambda child, case: claude.Talk(child, 'claude', case, 'session'), agent)
        self.assertEqual(lines[-1]['out']['response']['response'], {'behavior': 'allow', 'updatedInput': {}})

    def test_ATurnIsStoppedBehindAsManyPieces(self):
        piece = 'say(method="session/update", params={"update": {"sessionUpdate": "agent_message_chunk"}})\n'
        lines, _ = self.acp(piece * 3 + 'hear()\n', stops_after=2)
        self.assertEqual([line['out'] for line in lines if line.get('out', {}).get('method') == 'session/cancel'],
                         [{'jsonrpc': '2.0', 'method': 'session/cancel', 'params': {'sessionId': 's'}}])

    def test_ASessionThatIsGoneIsFollowedByANewOne(self):
        lines, talk = self.played(lambda child, case: acp.Talk(child, 'grok', case, 'gone'),
                                  'for answer in ({"result": {}}, {"error": {}}, {"result": {"sessionId": "new"}}, {"result": {}}):\n'
                                  '    say(id=hear()["id"], **answer)\n')
        self.assertEqual([line['out']['method'] for line in lines if 'out' in line], ['initialize', 'session/load', 'session/new', 'session/prompt'])
        self.assertEqual(talk.session, 'new')

    def test_TheModeIsToldInEachProgramsWords(self):
        for mode, word, reviewer in (('ask', 'default', 'user'), ('auto', 'auto', 'auto_review')):
            case = SimpleNamespace(mode=mode)
            self.assertEqual(acp.arguments('grok', case, None, False), ['--permission-mode', word, 'agent', 'stdio'])
            self.assertEqual(claude.arguments('claude', case, 'id', True)[9:11], ['--permission-mode', word])
            lines, _ = self.acp('', mode=mode)
            self.assertEqual(lines[2]['out']['params'].get('_meta'), {'autoMode': True} if mode == 'auto' else None)
            opened = 'say(id=hear()["id"], result={})\nhear()\nhear()\nsay(id=hear()["id"], result={})\n'
            lines, _ = self.played(lambda child, given: codex.Talk(child, 'codex', given, None), opened, mode=mode)
            self.assertEqual(lines[-2]['out']['params']['approvalsReviewer'], reviewer)

    def test_CodexIsAnsweredAndItsTurnWaitedFor(self):
        agent = ('say(id=hear()["id"], result={})\nhear()\nhear()\nsay(id=hear()["id"], result={"thread": {"id": "t"}})\n'
                 'say(id=hear()["id"], result={"turn": {"id": "u"}})\nsay(id=0, method="item/fileChange/requestApproval")\nhear()\n'
                 'say(method="turn/completed")\nhear()\n')
        lines, talk = self.played(lambda child, case: codex.Talk(child, 'codex', case, None), agent, allows=False)
        self.assertEqual(self.answers(lines), [{'decision': 'decline'}])
        self.assertEqual((talk.session, lines[-1]['out']['method']), ('t', 'account/rateLimits/read'))

    def test_ClaudeIsAnsweredAndItsTurnWaitedFor(self):
        agent = ('hear()\nsay(type="control_response")\nprompt = hear()\n'
                 'say(type="control_request", request_id="r", request={"subtype": "can_use_tool", "input": {"command": "ls"}})\nhear()\n'
                 'say(type="result")\n')
        for allows, answer in ((True, {'behavior': 'allow', 'updatedInput': {'command': 'ls'}}),
                               (False, {'behavior': 'deny', 'message': 'Denied by the user in tessarin.'})):
            lines, _ = self.played(lambda child, case: claude.Talk(child, 'claude', case, 'session'), agent, allows=allows)
            said = [line['out'] for line in lines if 'out' in line]
            self.assertEqual([said[1]['message']['content'], said[1]['session_id']], ['Please go on.', 'session'])
            self.assertEqual(said[2]['response'], {'subtype': 'success', 'request_id': 'r', 'response': answer})


class NeutralTest(unittest.TestCase):
    PLACES = neutral.places('/home/ada/run', '/opt/programs', 4711)

    def neutral(self, message):
        return json.loads(neutral.neutral([{'in': message}], self.PLACES)[0])['in']

    def test_PlacesOfTheMachineAreNamedForWhatTheyAre(self):
        said = {'cwd': '/home/ada/run/project', 'file': '/home/ada/run/home/.x/y', 'by': '/opt/programs/a', 'at': 'http://127.0.0.1:4711/v1',
                'url': '%2Fhome%2Fada%2Frun%2Fproject%2Fa', 'slug': 'projects/-home-ada-run-project/memory', 'rest': 'home/ada/run/project',
                'socket': '/home/ada/run/tmp/s',
                'beside': '/home/ada/run/outside', os.uname().nodename: os.uname().nodename}
        self.assertEqual(self.neutral(said), {
            'cwd': '{WS}', 'file': '{HOME}/.x/y', 'by': '{INST}/a', 'at': 'http://127.0.0.1:{PORT}/v1', 'url': '{WS-enc}%2Fa',
            'slug': 'projects/{WS-name}/memory', 'rest': '{WS-relative}', 'socket': '{TMP}/s',
            'beside': '{ABOVE}/outside', os.uname().nodename: '{HOST}'})

    def test_OfLongListsTwoAreKeptButAllThatAPermissionOffers(self):
        said = {'tools': ['a', 'b', 'c'], 'commands': [{'name': 'a', 'description': 'long'}] * 3, 'options': [1, 2, 3]}
        self.assertEqual(self.neutral(said), {'tools': ['a', 'b'], 'commands': [{'name': 'a'}] * 2, 'options': [1, 2, 3]})

    def test_APlaceThatIsLeftIsFound(self):
        fine = ['{"in":"{WS}/a"}', '{"in":"{TMP}/b"}', '{"in":"{WS}/home/a {HOME}/root"}', '{"in":"a smart-home-thing, --- /dev/null, /roots"}']
        for leak in ('/srv/ada/AGENTS.md', '/tmp/socket', '/var/tmp/x', '/home/bob/.x', '/root/.x', '/root', '/Users/bob/x', '%2Fhome%2Fbob%2Fx',
                     'b/home/bob/x', 'projects/-home-bob-x/memory', 'projects/-root-x', '-Users-bob-x'):
            line = json.dumps({'in': leak})
            self.assertEqual(neutral.leaks([*fine, line], '/srv/ada/run', ''), [line])

    def test_TheUsersNameIsFoundWhereverItStandsAsAWord(self):
        fine = ['{"in":"adam, Canada"}']
        for leak in ('/srv/ada/x', 'by ada', 'ada@machine', 'pytest-of-ada_1', '-srv-ada-x'):
            self.assertEqual(neutral.leaks([*fine, leak], user='ada'), [leak])
        self.assertEqual(neutral.leaks(['{"role":"user"}', '--- /dev/null'], user='user'), [])
        self.assertEqual(neutral.leaks(['a linux vm'], user='', host='vm'), [])

    def test_TheMachineAndTheInstallationAreNamedByNobody(self):
        with unittest.mock.patch('os.uname', return_value=SimpleNamespace(nodename='ada-laptop')):
            said = {'hostname': 'ada-laptop', 'title': 'build@ada-laptop: ready', 'word': 'nada-laptops', 'installationId': '831fdb83'}
            self.assertEqual(self.neutral(said), {'hostname': '{HOST}', 'title': 'build@{HOST}: ready', 'word': 'nada-laptops',
                                                  'installationId': '{INSTALLATION}'})
            self.assertEqual(neutral.leaks(['on ada-laptop', '{"word":"nada-laptops"}'], user=''), ['on ada-laptop'])
        told, kept = '{"installationId":"831fdb83"}', '{"installationId":"{INSTALLATION}"}'
        self.assertEqual(neutral.leaks([told, kept], user='', host=''), [told])
        with unittest.mock.patch('getpass.getuser', return_value='ada'):
            self.assertEqual(neutral.leaks(['by ada']), ['by ada'])

    def test_NoRecordingNamesAPlaceOfAMachine(self):
        """Who recorded, and on what, is known only where it is recorded: those of whoever runs this may be any word of a conversation."""
        recordings = glob.glob(os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '*', 'Recordings', '*.jsonl'))
        self.assertGreater(len(recordings), 50)
        for path in recordings:
            with open(path, encoding='utf-8') as file:
                self.assertEqual(neutral.leaks(file, user='', host=''), [], path)


if __name__ == '__main__':
    unittest.main()
