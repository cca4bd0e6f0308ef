"""The Agent Client Protocol as our client speaks it with Grok, Kimi and OpenCode."""
import os
import threading

from .terminal import Terminal

ARGUMENTS = {'grok': ['--permission-mode', '{MODE}', 'agent', 'stdio'], 'kimi': ['acp'], 'opencode': ['acp', '--cwd', '{WS}']}
GROK_MODES = {'ask': 'default', 'auto': 'auto'}
MODELS = {'opencode': 'zai-coding-plan/glm-4.7'}
CLIENT = {'protocolVersion': 1, 'clientCapabilities': {'fs': {'readTextFile': True, 'writeTextFile': True}, 'terminal': True},
          'clientInfo': {'name': 'tessarin', 'version': '0.5.1'}}


def arguments(program, case, _session, _is_stored):
    return [text.replace('{MODE}', GROK_MODES[case.mode]) for text in ARGUMENTS[program]]


class Talk:
    """One session with one turn. `session` is set when there is one."""

    def __init__(self, child, program, case, stored):
        self._child, self._program, self._case, self._stored = child, program, case, stored
        self._last_id = 0
        self._pieces = 0
        self._terminals, self._waiting = {}, []
        self.session = None

    def run(self, prompt):
        if 'result' not in self._request('initialize', CLIENT):
            return
        if not self._open() or not self._configure():
            return
        self._request('session/prompt', {'sessionId': self.session, 'prompt': [{'type': 'text', 'text': prompt}]})

    def _open(self):
        place = {'cwd': self._child.folder, 'mcpServers': []}
        if self._stored and 'result' in self._request('session/load', {'sessionId': self._stored, **place}):
            self.session = self._stored
            return True
        meta = {'_meta': {'autoMode': True}} if self._case.mode == 'auto' else {}
        self.session = (self._request('session/new', {**place, **meta}).get('result') or {}).get('sessionId')
        return self.session is not None

    def _configure(self):
        mode = 'manual' if self._case.mode == 'ask' else 'auto'
        if self._program == 'kimi' and 'error' in self._option('mode', mode) and mode == 'manual':
            self._option('mode', 'default')
        return self._program not in MODELS or 'result' in self._option('model', MODELS[self._program])

    def _option(self, name, value):
        return self._request('session/set_config_option', {'sessionId': self.session, 'configId': name, 'value': value})

    def _request(self, method, params):
        """The answer; an empty one when the program has ended."""
        self._last_id += 1
        own = self._last_id
        self._child.send({'jsonrpc': '2.0', 'id': own, 'method': method, 'params': params})
        while (message := self._child.receive()) is not None:
            if 'method' not in message and message.get('id') == own:
                return message
            self.hear(message)
        return {}

    def hear(self, message):
        if 'method' in message and 'id' in message:
            self._serve(message['id'], message['method'], message.get('params') or {})
        elif 'method' in message:
            self._heard(message)

    def close(self):
        """Ends the commands that still run, so that nobody waits for them any more."""
        for terminal in self._terminals.values():
            terminal.end()
        for waiting in self._waiting:
            waiting.join()
        for terminal in self._terminals.values():
            terminal.close()

    def _heard(self, message):
        update = (message.get('params') or {}).get('update') or {}
        if message['method'] == 'session/update' and update.get('sessionUpdate') == 'agent_message_chunk':
            self._pieces += 1
            if self._pieces == self._case.stops_after:
                self._child.send({'jsonrpc': '2.0', 'method': 'session/cancel', 'params': {'sessionId': self.session}})

    def _serve(self, number, method, params):
        name = '_' + method.replace('/', '_')
        if method == 'terminal/wait_for_exit':
            # The program may want to know of the command meanwhile, or end it.
            waiting = threading.Thread(target=self._answer_at_the_end, args=(number, self._terminals[params['terminalId']]), daemon=True)
            waiting.start()
            self._waiting.append(waiting)
            return
        if not hasattr(self, name):
            answer = {'error': {'code': -32601, 'message': f'Unsupported ACP method: {method}'}}
        else:
            try:
                answer = {'result': getattr(self, name)(params)}
            except OSError as error:
                answer = {'error': {'code': -32603, 'message': f'{params.get("path")}: {error.strerror}'}}
        self._child.send({'jsonrpc': '2.0', 'id': number, **answer})

    def _session_request_permission(self, params):
        wanted = 'allow_once' if self._case.allows else 'reject_once'
        option = next(option['optionId'] for option in params['options'] if option.get('kind') == wanted)
        return {'outcome': {'outcome': 'selected', 'optionId': option}}

    def _fs_read_text_file(self, params):
        with open(params['path'], encoding='utf-8') as file:
            return {'content': file.read()}

    def _fs_write_text_file(self, params):
        os.makedirs(os.path.dirname(params['path']), exist_ok=True)
        with open(params['path'], 'w', encoding='utf-8') as file:
            file.write(params['content'])
        return {}

    def _terminal_create(self, params):
        command = [params['command'], *params['args']] if params.get('args') else ['/bin/sh', '-c', params['command']]
        environment = {**self._child.environment, **{one['name']: one['value'] for one in params.get('env') or []}}
        name = f'TERMINAL-{len(self._terminals) + 1}'
        self._terminals[name] = Terminal(command, params.get('cwd') or self._child.folder, environment)
        return {'terminalId': name}

    def _answer_at_the_end(self, number, terminal):
        terminal.wait()
        self._child.send({'jsonrpc': '2.0', 'id': number, 'result': terminal.status()})

    def _terminal_output(self, params):
        terminal = self._terminals[params['terminalId']]
        status = terminal.status()
        return {'output': terminal.output(), 'truncated': False, **({'exitStatus': status} if status else {})}

    def _terminal_kill(self, params):
        self._terminals[params['terminalId']].end()
        return {}

    _terminal_release = _terminal_kill
