"""The stream of Claude Code as our client speaks it."""
import uuid


MODES = {'ask': 'default', 'auto': 'auto'}


def arguments(_program, case, session, is_stored):
    return ['--output-format', 'stream-json', '--verbose', '--input-format', 'stream-json', '--include-partial-messages',
            '--permission-prompt-tool', 'stdio', '--setting-sources=user,project,local', '--permission-mode', MODES[case.mode], '--model', 'sonnet',
            f'--resume={session}' if is_stored else f'--session-id={session}']


def new_session():
    return str(uuid.uuid4())


class Talk:
    """One turn of the session that the program was started with."""

    def __init__(self, child, _program, case, stored):
        self._child, self._case = child, case
        self._last_id = 0
        self._pieces = 0
        self.session = stored

    def run(self, prompt):
        self._control({'subtype': 'initialize', 'hooks': None})
        while (message := self._child.receive()) is not None and message.get('type') != 'control_response':
            pass
        if message is None:
            return
        self._child.send({'type': 'user', 'message': {'role': 'user', 'content': prompt}, 'parent_tool_use_id': None, 'session_id': self.session})
        while (message := self._child.receive()) is not None and message.get('type') != 'result':
            self.hear(message)
        self._child.rest(self.hear)

    def close(self):
        """Nothing of a turn is ours."""

    def _control(self, request):
        self._last_id += 1
        self._child.send({'type': 'control_request', 'request_id': f'tessarin_{self._last_id}', 'request': request})

    def hear(self, message):
        if message.get('type') == 'control_request':
            self._serve(message['request_id'], message['request'])
        elif (message.get('event') or {}).get('type') == 'content_block_delta':
            self._pieces += 1
            if self._pieces == self._case.stops_after:
                self._control({'subtype': 'interrupt'})

    def _serve(self, number, request):
        if request.get('subtype') == 'can_use_tool':
            allowed = {'behavior': 'allow', 'updatedInput': request.get('input') or {}}
            answer = allowed if self._case.allows else {'behavior': 'deny', 'message': 'Denied by the user in tessarin.'}
            response = {'subtype': 'success', 'request_id': number, 'response': answer}
        else:
            response = {'subtype': 'error', 'request_id': number, 'error': 'tessarin does not support this Claude control request.'}
        self._child.send({'type': 'control_response', 'response': response})
