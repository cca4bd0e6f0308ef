"""The words of an agent in a script, shorter."""


def script(*steps, **more):
    """A script that plays these lists of steps, and takes every change of a session's configuration."""
    always = {'session/set_config_option': {'result': {}}}
    return {'commands': {'--version': {'output': '9.9.9\n'}}, 'always': always,
            'steps': [step for part in steps for step in (part if isinstance(part, list) else [part])], **more}


def opening(session='session-1', load=True):
    """The handshake and a new session."""
    return [{'expect': 'initialize'}, {'reply': {'protocolVersion': 1, 'agentCapabilities': {'loadSession': load}}},
            {'expect': 'session/new'}, {'reply': {'sessionId': session}}]


def loading(*replayed):
    """The handshake and a session that is replayed."""
    return [{'expect': 'initialize'}, {'reply': {'protocolVersion': 1, 'agentCapabilities': {'loadSession': True}}},
            {'expect': 'session/load'}, *replayed, {'reply': {}}]


def turn(*happenings, stop='end_turn'):
    """One prompt, what happens, and the end of the turn."""
    return [{'expect': 'session/prompt'}, *happenings, {'reply': {'stopReason': stop}, 'to': 'session/prompt'}]


def failing_turn(message, *happenings):
    return [{'expect': 'session/prompt'}, *happenings, {'replyError': {'code': -32603, 'message': message}, 'to': 'session/prompt'}]


def says(text, message='answer-1'):
    return {'update': {'sessionUpdate': 'agent_message_chunk', 'messageId': message, 'content': {'type': 'text', 'text': text}}}


def asked(text, message='prompt-1'):
    return {'update': {'sessionUpdate': 'user_message_chunk', 'messageId': message, 'content': {'type': 'text', 'text': text}}}


def thinks(text, message='thought-1'):
    return {'update': {'sessionUpdate': 'agent_thought_chunk', 'messageId': message, 'content': {'type': 'text', 'text': text}}}


def tool(call, title, status, **raw_input):
    update = {'sessionUpdate': 'tool_call', 'toolCallId': call, 'title': title, 'status': status}
    return {'update': {**update, **({'rawInput': raw_input} if raw_input else {})}}


def plan(*items):
    """Items are (content, status)."""
    return {'update': {'sessionUpdate': 'plan', 'entries': [{'content': content, 'status': status} for content, status in items]}}


def until(name):
    """Waits for Desk.release(name)."""
    return {'waitForFile': name}
