"""The words of Codex and of Claude Code in a script, shorter."""

RESULT = {'type': 'result', 'subtype': 'success', 'is_error': False}


def codex_opening(thread='thread-1'):
    return [{'expect': 'initialize'}, {'reply': {}}, {'expect': 'thread/start'}, {'reply': {'thread': {'id': thread}}}]


def codex_turn(*happenings, status='completed', turn='turn-1'):
    """One prompt, what happens, and the end of the turn."""
    return [{'expect': 'turn/start'}, {'reply': {'turn': {'id': turn}}}, *happenings,
            {'send': {'method': 'turn/completed', 'params': {'turn': {'id': turn, 'status': status}}}}]


def codex_says(text, item='item-1'):
    return {'send': {'method': 'item/agentMessage/delta', 'params': {'itemId': item, 'delta': text}}}


def codex_fails(message, info, turn='turn-1'):
    return {'send': {'method': 'error', 'params': {'turnId': turn, 'willRetry': False,
                                                   'error': {'message': message, 'codexErrorInfo': info}}}}


def codex_script(*steps, used=12.5):
    return {'commands': {'--version': {'output': 'codex-cli 9.9.9\n'}, 'login status': {'output': 'Logged in using ChatGPT\n'}},
            'always': {'account/rateLimits/read': {'result': {'rateLimits': {'primary': {'usedPercent': used}}}}},
            'steps': [step for part in steps for step in part], 'jsonrpc': False}


def claude_opening():
    return [{'expect': 'control_request/initialize'}, {'reply': {}}]


def claude_turn(*happenings, result=None):
    return [{'expect': 'user'}, *happenings, {'send': result or RESULT}]


def claude_says(text):
    return {'send': {'type': 'stream_event', 'event': {'type': 'content_block_delta', 'delta': {'type': 'text_delta', 'text': text}}}}


def claude_script(*steps):
    return {'commands': {'--version': {'output': '9.9.9 (Claude Code)\n'}, 'auth status': {'output': '{"loggedIn":true}\n'}},
            'steps': [step for part in steps for step in part]}
