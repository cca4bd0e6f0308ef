"""The model server as a child of a test, and clients that read its streams the way the vendors' programs do."""
import contextlib
import http.client
import json
import os
import selectors
import subprocess
import sys
import tempfile
import time

PROGRAM = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'model_server.py')
TIMEOUT = 20
TOOL = 'Bash'

ADDRESSES = {'codex': '/v1/responses', 'claude': '/v1/messages', 'grok': '/grok/v1/chat/completions', 'kimi': '/kimi/v1/chat/completions',
             'opencode': '/zai/api/coding/paas/v4/chat/completions'}
RESPONSES, MESSAGES, CHAT = 'responses', 'messages', 'chat'
DIALECTS = {'codex': RESPONSES, 'claude': MESSAGES, 'grok': CHAT, 'kimi': CHAT, 'opencode': CHAT}


class Server:
    """A running server with a log of its own. `close` must be called last."""

    def __init__(self, *arguments):
        self._folder = tempfile.TemporaryDirectory()
        self._log = os.path.join(self._folder.name, 'log.jsonl')
        self.process = subprocess.Popen([sys.executable, '-B', PROGRAM, '--log', self._log, *arguments], stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True)
        self.port = int(self._first_line().removeprefix('PORT '))

    def close(self):
        """The status that it ended with."""
        self.process.terminate()
        self.process.communicate(timeout=TIMEOUT)
        self._folder.cleanup()
        return self.process.returncode

    def log(self):
        with open(self._log, encoding='utf-8') as file:
            return [json.loads(line) for line in file.read().splitlines()]

    def logged(self, key):
        """The first line of the log with a key, waited for."""
        deadline = time.monotonic() + TIMEOUT
        while time.monotonic() < deadline:
            found = next((line for line in self.log() if key in line), None)
            if found:
                return found
            time.sleep(0.02)  # until the deadline; a file tells nobody that it has grown
        raise AssertionError(f'no line with {key} in {self.log()}')

    @contextlib.contextmanager
    def request(self, method, path, body=None, headers=None):
        """A response that has not been read yet, on a connection of its own that is closed at the end."""
        with contextlib.closing(http.client.HTTPConnection('127.0.0.1', self.port, timeout=TIMEOUT)) as connection:
            connection.request(method, path, json.dumps(body) if isinstance(body, dict) else body, headers or {})
            with connection.getresponse() as response:
                yield response

    def json(self, method, path, body=None, headers=None):
        with self.request(method, path, body, headers) as response:
            return response.status, json.loads(response.read() or 'null')

    def ask(self, program, *conversation, **more):
        """The answer to a conversation of (role, text), put together from the stream of the program's dialect."""
        with self.request('POST', ADDRESSES[program], asking(program, *conversation, **more)) as response:
            if response.status != 200:
                raise AssertionError(f'{response.status}: {response.read()}')
            return READERS[DIALECTS[program]](list(events(response)))

    def _first_line(self):
        with selectors.DefaultSelector() as selector:
            selector.register(self.process.stdout, selectors.EVENT_READ)
            if not selector.select(TIMEOUT):
                raise AssertionError('the server says nothing')
        return self.process.stdout.readline()


def asking(program, *conversation, tools=None, stream=True):
    """The body of a request. Tools are (name, names of what it takes); a role `tool` is the result of one."""
    offered = [(TOOL, ['command', 'description'])] if tools is None else tools
    schemas = {name: {'type': 'object', 'properties': {key: {} for key in keys}} for name, keys in offered}
    match DIALECTS[program]:
        case 'responses':
            described = [{'type': 'custom', 'name': name} if keys is FREE_FORM else {'type': 'function', 'name': name, 'parameters': schemas[name]}
                         for name, keys in offered]
            return {'model': 'm', 'stream': stream, 'tools': described, 'input': [_item(role, text) for role, text in conversation]}
        case 'messages':
            described = [{'name': name, 'input_schema': schema} for name, schema in schemas.items()]
            return {'model': 'm', 'stream': stream, 'tools': described, 'messages': [_message(role, text) for role, text in conversation]}
    described = [{'type': 'function', 'function': {'name': name, 'parameters': schema}} for name, schema in schemas.items()]
    return {'model': 'm', 'stream': stream, 'tools': described, 'messages': [{'role': role, 'content': text} for role, text in conversation]}


FREE_FORM = ()


def _item(role, text):
    if role == 'tool':
        return {'type': 'function_call_output', 'call_id': 'c', 'output': text}
    return {'type': 'message', 'role': role, 'content': [{'type': 'input_text', 'text': text}]}


def _message(role, text):
    if role == 'tool':
        return {'role': 'user', 'content': [{'type': 'tool_result', 'tool_use_id': 't', 'content': [{'type': 'text', 'text': text}]}]}
    return {'role': role, 'content': [{'type': 'text', 'text': text}]}


def events(response):
    """The data of each event of a stream, as they come; "[DONE]" is a text."""
    for line in response:
        if line.startswith(b'data: '):
            data = line[6:].decode().rstrip('\n')
            yield data if data == '[DONE]' else json.loads(data)


def read_responses(stream):
    def deltas(kind):
        return [event['delta'] for event in stream if event['type'] == kind]

    calls = [event['item'] for event in stream if event['type'] == 'response.output_item.done' and event['item']['type'].endswith('_call')]
    return {'texts': deltas('response.output_text.delta'), 'reasoning': deltas('response.reasoning_summary_text.delta'),
            'calls': [(call['name'], json.loads(call['arguments']) if 'arguments' in call else call['input']) for call in calls],
            'end': stream[-1]['type']}


def read_messages(stream):
    blocks, texts, reasoning, inputs = {}, [], [], {}
    for event in stream:
        if event['type'] == 'content_block_start':
            blocks[event['index']] = event['content_block']
        elif event['type'] == 'content_block_delta':
            delta = event['delta']
            texts += [delta['text']] if delta['type'] == 'text_delta' else []
            reasoning += [delta['thinking']] if delta['type'] == 'thinking_delta' else []
            if delta['type'] == 'input_json_delta':
                inputs[event['index']] = inputs.get(event['index'], '') + delta['partial_json']
    ends = [event['delta']['stop_reason'] for event in stream if event['type'] == 'message_delta']
    return {'texts': texts, 'reasoning': reasoning, 'calls': [(blocks[index]['name'], json.loads(text)) for index, text in inputs.items()],
            'end': ends[0] if ends and stream[-1]['type'] == 'message_stop' else None}


def read_chat(stream):
    texts, reasoning, calls = [], [], []
    choices = [event['choices'][0] for event in stream if event != '[DONE]']
    for delta in (choice['delta'] for choice in choices):
        texts += [delta['content']] if delta.get('content') else []
        reasoning += [delta['reasoning_content']] if 'reasoning_content' in delta else []
        for call in delta.get('tool_calls', []):
            if 'id' in call:
                calls.append([call['function']['name'], ''])
            calls[call['index']][1] += call['function']['arguments']
    return {'texts': texts, 'reasoning': reasoning, 'calls': [(name, json.loads(text)) for name, text in calls],
            'end': choices[-1]['finish_reason'] if stream[-1] == '[DONE]' else None}


READERS = {RESPONSES: read_responses, MESSAGES: read_messages, CHAT: read_chat}
