#!/usr/bin/python3
"""The model server says in each dialect what a scenario tells it to."""
import http.client
import json
import signal
import socket
import sys
import unittest

sys.dont_write_bytecode = True
from model_client import ADDRESSES, DIALECTS, FREE_FORM, READERS, TIMEOUT, Server, asking, events  # noqa: E402
from modelserver.scenarios import Said, choose, meant  # noqa: E402

PROGRAMS = tuple(ADDRESSES)
ENDS = {'responses': 'response.completed', 'messages': 'end_turn', 'chat': 'stop'}
CALLING = {'responses': 'response.completed', 'messages': 'tool_use', 'chat': 'tool_calls'}
COMMAND = 'echo probe-shell > shell-made.txt && cat shell-made.txt'


class ServerCase(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server = Server()
        cls.addClassCleanup(cls.server.close)

    def ask(self, program, *conversation, **more):
        return self.server.ask(program, *conversation, **more)

    def every_program(self):
        for program in PROGRAMS:
            with self.subTest(program=program):
                yield program


class DialectTest(ServerCase):
    def test_EachDialectStreamsThePiecesOfTheSameAnswer(self):
        for program in self.every_program():
            self.assertEqual(self.ask(program, ('user', 'Hello. SCENARIO:plain')), {
                'texts': ['Hello', ' from the', ' fake model.', ' The answer is 42.'], 'reasoning': [], 'calls': [],
                'end': ENDS[DIALECTS[program]]})

    def test_ThoughtsComeBesideTheAnswer(self):
        for program in self.every_program():
            answer = self.ask(program, ('user', 'SCENARIO:reasoning'))
            self.assertEqual(''.join(answer['reasoning']), 'I should think about the probe first.')
            self.assertEqual(''.join(answer['texts']), 'Thought it through: 42.')

    def test_AToolIsWantedAndItsResultIsTheNextStep(self):
        for program in self.every_program():
            asked = ('user', 'SCENARIO:shell')
            wanted = self.ask(program, asked)
            self.assertEqual(wanted['texts'], ['Running a command. '])
            self.assertEqual(wanted['calls'], [('Bash', {'command': COMMAND, 'description': 'Write a probe file'})])
            self.assertEqual(wanted['end'], CALLING[DIALECTS[program]])
            after = self.ask(program, asked, ('assistant', 'Running a command.'), ('tool', 'probe-shell'))
            self.assertEqual((''.join(after['texts']), after['calls']), ('Tool finished. The probe is over.', []))

    def test_AnAnswerThatIsNotStreamedIsOneObject(self):
        asked = ('user', 'SCENARIO:reasoning')
        whole = {program: self.server.json('POST', ADDRESSES[program], asking(program, asked, stream=False))[1] for program in PROGRAMS}
        self.assertEqual([item['type'] for item in whole['codex']['output']], ['reasoning', 'message'])
        self.assertEqual([block['type'] for block in whole['claude']['content']], ['thinking', 'text'])
        message = whole['kimi']['choices'][0]['message']
        self.assertEqual((message['content'], message['reasoning_content']), ('Thought it through: 42.', 'I should think about the probe first.'))

    def test_EventsOfResponsesAreNumberedInTheirOrder(self):
        with self.server.request('POST', ADDRESSES['codex'], asking('codex', ('user', 'SCENARIO:shell'))) as response:
            numbers = [event['sequence_number'] for event in events(response)]
        self.assertEqual(numbers, list(range(len(numbers))))

    def test_AStreamThatIsCutHasNoEnd(self):
        for program in self.every_program():
            with self.server.request('POST', ADDRESSES[program], asking(program, ('user', 'SCENARIO:cut'))) as response:
                with self.assertRaises(http.client.IncompleteRead):
                    response.read()


class ScenarioTest(ServerCase):
    def test_TheLastScenarioOfTheLastMessageThatNamesOneCounts(self):
        answer = self.ask('kimi', ('user', 'SCENARIO:shell'), ('tool', 'a result'), ('user', 'SCENARIO:limit SCENARIO:reasoning'),
                          ('assistant', 'SCENARIO:limit'), ('user', 'and on'))
        self.assertEqual(''.join(answer['texts']), 'Thought it through: 42.')

    def test_AReminderOfAProgramThatQuotesThePromptIsNotThePerson(self):
        quoted = '<system-reminder>Tell what came after "SCENARIO:shell".</system-reminder>'
        answer = self.ask('grok', ('user', 'SCENARIO:shell'), ('tool', 'done'), ('assistant', 'Tool finished.'), ('user', quoted))
        self.assertEqual((answer['texts'][0], answer['calls']), ('Tool ', []))

    def test_ATextOfAPersonMayStandForAScenario(self):
        meanings = {'Please go on.': 'SCENARIO:edit PROBE_CWD=/p'}
        said = [Said('user', 'SCENARIO:plain'), Said('assistant', 'Please go on.'), Said('user', 'So: Please go on.')]
        choice = choose([meant(one, meanings) for one in said], 'kimi')
        self.assertEqual((choice.name, choice.step, choice.folder), ('edit', 0, '/p'))
        self.assertEqual(meant(said[1], meanings), said[1])

    def test_WithoutAScenarioTheAnswerIsPlain(self):
        self.assertEqual(self.ask('kimi', ('user', 'Hello'))['texts'][0], 'Hello')

    def test_AScenarioOfOneProgramIsPlainAtTheOthers(self):
        for program in self.every_program():
            for other in PROGRAMS:
                asked = asking(other, ('user', f'SCENARIO:limit ONLY_AT={program} PROBE_CWD=/p'), stream=False)
                self.assertEqual(self.server.json('POST', ADDRESSES[other], asked)[0], 429 if program == other else 200)

    def test_WhatTheOthersDoInsteadCanBeNamed(self):
        asked = 'SCENARIO:plain and then SCENARIO:limit ONLY_AT=grok ELSE=reasoning PROBE_CWD=/p'
        self.assertEqual(''.join(self.ask('codex', ('user', asked))['texts']), 'Thought it through: 42.')
        self.assertEqual(self.server.json('POST', ADDRESSES['grok'], asking('grok', ('user', asked), stream=False))[0], 429)

    def test_AnUnknownScenarioIsToldAndNotPassedOver(self):
        for program in self.every_program():
            status, body = self.server.json('POST', ADDRESSES[program], asking(program, ('user', 'SCENARIO:nosuch')))
            self.assertEqual((status, body['error']['message']), (400, 'there is no scenario nosuch'))

    def test_WholePathsStandInTheFolderOfThePrompt(self):
        call = self.ask('claude', ('user', 'SCENARIO:edit PROBE_CWD=/home/ada/aurora'), tools=[('Write', ['file_path', 'content'])])['calls'][0]
        self.assertEqual(call, ('Write', {'file_path': '/home/ada/aurora/edit-made.txt', 'content': 'probe edit line 1\nprobe edit line 2\n'}))

    def test_AToolIsCalledByTheNameThatIsOfferedWithWhatItTakes(self):
        escalated = {'sandbox_permissions': 'require_escalated', 'justification': 'Probe: may I run this outside the sandbox?'}
        rows = [
            ('shell', 'exec_command', ['cmd', *escalated], {'cmd': COMMAND, **escalated}),
            ('sandboxed', 'exec_command', ['cmd', *escalated], {'cmd': COMMAND}),
            ('shell', 'shell', ['command'], {'command': ['bash', '-lc', COMMAND]}),
            ('shell', 'bash', ['command'], {'command': COMMAND}),
            ('shell', 'run_terminal_command', ['command', 'is_background'], {'command': COMMAND, 'is_background': False}),
            ('assign', 'Bash', ['command'], {'command': 'PROBE_VAR=1 && echo value=$PROBE_VAR > shell-made.txt'}),
            ('edit', 'write', ['filePath'], {'filePath': '/p/edit-made.txt'}),
            ('edit', 'search_replace', ['file_path', 'old_string'], {'file_path': '/p/edit-made.txt', 'old_string': ''}),
            ('imagine', 'image_gen', ['prompt'], {'prompt': 'a red cube'}),
        ]
        for scenario, tool, takes, sent in rows:
            with self.subTest(scenario=scenario, tool=tool):
                answer = self.ask('codex', ('user', f'SCENARIO:{scenario} PROBE_CWD=/p'), tools=[('other', []), (tool, takes)])
                self.assertEqual(answer['calls'], [(tool, sent)])

    def test_APatchIsATextForAToolOfFreeForm(self):
        rows = [('edit', 'edit-made.txt', '+probe edit line 1\n+probe edit line 2\n'),
                ('editout', '/home/outside/edit-outside.txt', '+probe edit outside the project\n')]
        for scenario, path, lines in rows:
            patch = f'*** Begin Patch\n*** Add File: {path}\n{lines}*** End Patch\n'
            answer = self.ask('codex', ('user', f'SCENARIO:{scenario} PROBE_CWD=/home/p'), tools=[('apply_patch', FREE_FORM)])
            self.assertEqual(answer['calls'], [('apply_patch', patch)])

    def test_APlanIsToldInEachProgramsWords(self):
        rows = [('update_plan', 'plan', {'step': 'Read the code', 'status': 'completed'}),
                ('TodoList', 'todos', {'title': 'Read the code', 'status': 'done'}),
                ('TodoWrite', 'todos', {'content': 'Read the code', 'status': 'completed', 'activeForm': 'Read the code'}),
                ('todo_write', 'todos', {'id': '1', 'content': 'Read the code', 'status': 'completed'})]
        for tool, key, first in rows:
            with self.subTest(tool=tool):
                (name, sent), = self.ask('grok', ('user', 'SCENARIO:plan'), tools=[(tool, [key])])['calls']
                self.assertEqual((name, sent[key][0], len(sent[key])), (tool, first, 3))

    def test_AProgramWithoutTheToolIsToldSo(self):
        answer = self.ask('grok', ('user', 'SCENARIO:askuser'))
        self.assertEqual((answer['texts'], answer['calls']), (['No tool serves for askuser.'], []))


class FailureTest(ServerCase):
    def refused(self, program, scenario):
        with self.server.request('POST', ADDRESSES[program], asking(program, ('user', f'SCENARIO:{scenario}'))) as response:
            return response.status, response.headers, json.loads(response.read())

    def test_ASpentAllowanceIsToldInTheWordsOfEachService(self):
        answers = {program: self.refused(program, 'limit') for program in PROGRAMS}
        self.assertEqual({status for status, _, _ in answers.values()}, {429})
        self.assertEqual(answers['codex'][2]['error']['type'], 'usage_limit_reached')
        self.assertEqual(answers['codex'][1]['x-codex-primary-used-percent'], '100')
        self.assertEqual(answers['claude'][2]['error']['type'], 'rate_limit_error')
        self.assertEqual(answers['claude'][1]['anthropic-ratelimit-unified-status'], 'rejected')
        self.assertEqual(answers['kimi'][2]['error']['type'], 'exceeded_current_quota_error')
        self.assertEqual(answers['opencode'][2]['error']['code'], '1308')

    def test_ASpentAllowanceRefusesTitlesToo(self):
        body = asking('kimi', ('user', 'SCENARIO:limit'), tools=[])
        self.assertEqual(self.server.json('POST', ADDRESSES['kimi'], body)[0], 429)

    def test_AWrongKeyAndABrokenServiceAreTold(self):
        for program in self.every_program():
            self.assertEqual(self.refused(program, 'auth')[0], 401)
            self.assertEqual(self.refused(program, 'fail500')[0], 500)
        self.assertEqual(self.refused('claude', 'auth')[2]['error']['type'], 'authentication_error')
        self.assertEqual(self.refused('codex', 'auth')[2]['error']['code'], 'invalid_api_key')


class AsideTest(ServerCase):
    def test_ARequestWithoutToolsGetsATitleAndNotTheTurn(self):
        for program in self.every_program():
            answer = self.ask(program, ('user', 'SCENARIO:shell'), tools=[])
            self.assertEqual((answer['texts'], answer['calls']), (['Probe ', 'title'], []))

    def test_AToolThatMustBeCalledIsCalledAndNotThatOfTheTurn(self):
        choices = {'codex': {'type': 'function', 'name': 'title'}, 'claude': {'type': 'tool', 'name': 'title'}}
        for program in self.every_program():
            body = asking(program, ('user', 'SCENARIO:shell'), tools=[('Bash', ['command']), ('title', ['text'])])
            body['tool_choice'] = choices.get(program, {'type': 'function', 'function': {'name': 'title'}})
            with self.server.request('POST', ADDRESSES[program], body) as response:
                answer = READERS[DIALECTS[program]](list(events(response)))
            self.assertEqual((answer['texts'], answer['calls']), ([], [('title', {'text': 'Probe title'})]))

    def test_AVerdictOnACommandRefusesOnlyWhereTheScenarioSaysSo(self):
        for scenario, blocks in (('shell', False), ('shelldeny', True)):
            answer = self.ask('grok', ('user', f'SCENARIO:{scenario}'), ('user', 'Say shouldBlock.'), tools=[])
            self.assertEqual(json.loads(''.join(answer['texts']))['shouldBlock'], blocks)

    def test_AReviewOfAnApprovalHasTheFormThatIsAskedFor(self):
        for scenario, outcome in (('shell', 'allow'), ('shelldeny', 'deny')):
            body = asking('codex', ('user', f'SCENARIO:{scenario}'), stream=False)
            body['text'] = {'format': {'schema': {'properties': {'outcome': {}}}}}
            said = self.server.json('POST', ADDRESSES['codex'], body)[1]['output'][0]['content'][0]['text']
            self.assertEqual(json.loads(said)['outcome'], outcome)

    def test_WhatElseIsAskedHasAnAnswer(self):
        self.assertEqual(self.server.json('GET', '/v1/models')[1]['data'], [])
        self.assertEqual(self.server.json('POST', '/v1/messages/count_tokens', {})[1], {'input_tokens': 120})
        self.assertIn('b64_json', self.server.json('POST', '/v1/images/generations', {})[1]['data'][0])
        self.assertEqual(self.server.json('GET', '/nowhere')[0], 404)
        with self.server.request('HEAD', '/') as response:
            self.assertEqual((response.status, response.read()), (200, b''))

    def test_WebSocketsAreRefusedSoThatHTTPIsTaken(self):
        with self.server.request('GET', '/v1/responses', headers={'Upgrade': 'websocket', 'Connection': 'Upgrade'}) as response:
            self.assertEqual(response.status, 426)


class BoundsTest(unittest.TestCase):
    def start(self, *arguments):
        server = Server(*arguments)
        self.addCleanup(server.close)
        return server

    def test_TheAllowanceIsAsItWasSet(self):
        server = self.start('--utilization', '0.95')
        limits = server.json('GET', '/backend-api/wham/usage')[1]['rate_limit']
        self.assertEqual((limits['primary_window']['used_percent'], limits['limit_reached']), (95, False))
        with server.request('POST', ADDRESSES['claude'], asking('claude', ('user', 'x'), stream=False)) as response:
            self.assertEqual(response.headers['anthropic-ratelimit-unified-status'], 'allowed_warning')
        with server.request('POST', ADDRESSES['codex'], asking('codex', ('user', 'x'), stream=False)) as response:
            self.assertEqual(response.headers['x-codex-primary-used-percent'], '95')

    def test_AnAnswerThatIsNotReadEndsAndIsLogged(self):
        server = self.start()
        with server.request('POST', ADDRESSES['claude'], asking('claude', ('user', 'SCENARIO:slow'))) as response:
            stream = events(response)
            self.assertEqual([next(stream)['type'] for _ in range(3)][-1], 'content_block_delta')
        self.assertEqual([server.logged('aborted')[key] for key in ('aborted', 'of')], [ADDRESSES['claude'], 'slow'])

    def test_NoKeyStandsInTheLog(self):
        server = self.start()
        server.json('POST', ADDRESSES['kimi'], asking('kimi', ('user', 'x'), stream=False), {'Authorization': 'Bearer of-secrets'})
        server.json('GET', '/v1/models', headers={'x-api-key': 'of-secrets'})
        self.assertEqual([line['auth'] for line in server.log()], ['bearer', 'x-api-key'])
        self.assertNotIn('of-secrets', json.dumps(server.log()))

    def test_TheLogTellsWhatWasAskedAndChosen(self):
        server = self.start()
        server.ask('kimi', ('tool', 'before'), ('user', 'SCENARIO:shell'), ('tool', 'probe-shell'), ('user', 'so?'))
        server.json('POST', ADDRESSES['claude'], asking('claude', ('user', 'SCENARIO:limit')))
        line, refused = server.log()
        self.assertEqual((line['asked'], line['told']), ('SCENARIO:shell', ['before', 'probe-shell']))
        self.assertEqual((line['program'], line['scenario'], line['step'], line['results'], line['tools'], line['lastUser'], line['error']),
                         ('kimi', 'shell', 1, ['probe-shell'], ['Bash'], 'so?', None))
        self.assertEqual((refused['program'], refused['scenario'], refused['error']), ('claude', 'limit', 429))

    def test_ABodyInChunksIsRead(self):
        server = self.start()
        data = json.dumps(asking('codex', ('user', 'SCENARIO:reasoning'), stream=False)).encode()
        with server.request('POST', ADDRESSES['codex'], iter([data[:7], data[7:]])) as response:
            self.assertEqual(json.loads(response.read())['output'][0]['type'], 'reasoning')

    def test_WhatIsNoRequestIsRefused(self):
        server = self.start()
        for body in ('no json', '[1]', ''):
            self.assertEqual(server.json('POST', ADDRESSES['codex'], body)[0], 400)
        for length, status in ((str(2**40), 413), ('many', 400), ('-1', 400)):
            self.assertEqual(server.json('POST', ADDRESSES['codex'], headers={'Content-Length': length})[0], status)
        self.assertEqual(server.json('POST', ADDRESSES['codex'], 'no size\r\n', {'Transfer-Encoding': 'chunked'})[0], 400)
        self.assertEqual(server.json('GET', '/v1/models')[0], 200)

    def test_OneConnectionServesSeveralRequests(self):
        server = self.start()
        connection = http.client.HTTPConnection('127.0.0.1', server.port, timeout=TIMEOUT)
        self.addCleanup(connection.close)
        for _ in range(3):
            connection.request('POST', ADDRESSES['kimi'], json.dumps(asking('kimi', ('user', 'x'))))
            response = connection.getresponse()
            used = connection.sock
            self.assertEqual(list(events(response))[-1], '[DONE]')
            response.read()
            self.assertIs(connection.sock, used)

    def test_ItListensOnLoopbackOnly(self):
        server = self.start()
        with self.assertRaises(OSError):
            socket.create_connection(('127.0.0.2', server.port), timeout=TIMEOUT).close()

    def test_ItEndsWhenItsTimeIsOver(self):
        server = self.start('--ttl', '0.2')
        self.assertEqual(server.process.wait(TIMEOUT), 0)

    def test_ItEndsWithAnErrorWhenTooManyRequestsCome(self):
        server = self.start('--requests', '2')
        for _ in range(2):
            self.assertEqual(server.json('GET', '/v1/models')[0], 200)
        with self.assertRaises((http.client.RemoteDisconnected, ConnectionResetError)):
            server.json('GET', '/v1/models')
        self.assertEqual(server.process.wait(TIMEOUT), 1)

    def test_ATerminatingSignalEndsItInMidAnswer(self):
        server = self.start()
        with server.request('POST', ADDRESSES['kimi'], asking('kimi', ('user', 'SCENARIO:slow'))) as response:
            next(events(response))
            server.process.send_signal(signal.SIGTERM)
            self.assertEqual(server.process.wait(TIMEOUT), 0)


if __name__ == '__main__':
    unittest.main()
