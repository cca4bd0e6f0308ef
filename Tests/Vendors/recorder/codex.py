"""The app-server of Codex as our client speaks with it."""
CLIENT = {'clientInfo': {'name': 'tessarin', 'title': 'tessarin', 'version': '0.5.1'}, 'capabilities': {'experimentalApi': True}}
REVIEWERS = {'ask': 'user', 'auto': 'auto_review'}


def arguments(_program, _case, _session, _is_stored):
    return ['app-server']


class Talk:
    """One thread with one turn. `session` is set when there is one."""

    def __init__(self, child, _program, case, stored):
        self._child, self._case, self._stored = child, case, stored
        self._policy = {'approvalPolicy': 'on-request', 'approvalsReviewer': REVIEWERS[case.mode]}
        self._last_id = 0
        self._pieces = 0
        self._is_over = False
        self._turn = None
        self._answers = {}
        self.session = None

    def run(self, prompt):
        self._await(self._ask('initialize', CLIENT))
        self._child.send({'jsonrpc': '2.0', 'method': 'initialized'})
        self._ask('account/rateLimits/read', {})
        self.session = self._open()
        if self.session is None:
            return
        folder = self._child.folder
        turn = self._ask('turn/start', {'threadId': self.session, 'input': [{'type': 'text', 'text': prompt}], **self._policy, 'sandboxPolicy': {
            'type': 'workspaceWrite', 'writableRoots': [folder], 'networkAccess': False}})
        self._turn = ((self._await(turn).get('result') or {}).get('turn') or {}).get('id')
        while self._turn and not self._is_over and self._hear():
            pass
        self._child.rest(self.hear)

    def close(self):
        """Nothing of a turn is ours."""

    def _open(self):
        place = {'cwd': self._child.folder, **self._policy, 'sandbox': 'workspace-write'}
        answer = {}
        if self._stored:
            answer = self._await(self._ask('thread/resume', {**place, 'threadId': self._stored}))
        if 'result' not in answer:
            answer = self._await(self._ask('thread/start', place))
        return ((answer.get('result') or {}).get('thread') or {}).get('id')

    def _ask(self, method, params):
        self._last_id += 1
        self._child.send({'jsonrpc': '2.0', 'id': self._last_id, 'method': method, 'params': params})
        return self._last_id

    def _await(self, number):
        while number not in self._answers and self._hear():
            pass
        return self._answers.get(number, {})

    def _hear(self):
        """Handles one message; false at the end of the program."""
        message = self._child.receive()
        if message is not None:
            self.hear(message)
        return message is not None

    def hear(self, message):
        method = message.get('method')
        if method is None:
            self._answers[message.get('id')] = message
        elif 'id' in message:
            self._serve(message['id'], method)
        elif method == 'item/agentMessage/delta':
            self._pieces += 1
            if self._pieces == self._case.stops_after:
                self._ask('turn/interrupt', {'threadId': self.session, 'turnId': self._turn})
        elif method == 'turn/completed':
            self._is_over = True
            self._ask('account/rateLimits/read', {})

    def _serve(self, number, method):
        if method in ('item/commandExecution/requestApproval', 'item/fileChange/requestApproval'):
            answer = {'result': {'decision': 'accept' if self._case.allows else 'decline'}}
        else:
            answer = {'error': {'code': -32601, 'message': f'tessarin does not support this Codex request: {method}'}}
        self._child.send({'jsonrpc': '2.0', 'id': number, **answer})
