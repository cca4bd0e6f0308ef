"""The Messages API as Claude Code speaks it: content blocks in and out, and the allowance in the headers."""
import json

from .answer import BREAK, DAY, HOUR, INPUT_TOKENS, OUTPUT_TOKENS, PAUSE, SIGNATURE, Refusal, halves, new_id, now, text_of
from .scenarios import Said
from .tools import Tool

ENDING = '/messages'
PROGRAM = 'claude'
WARNING = 0.9  # of the allowance, from which on the service warns
FIVE_HOURS = 'anthropic-ratelimit-unified-5h-'
WEEK = 'anthropic-ratelimit-unified-7d-'


def program(_path):
    return PROGRAM


def conversation(body):
    said = []
    for message in body.get('messages') or []:
        content = message.get('content')
        for block in content if isinstance(content, list) else [{'type': 'text', 'text': content}]:
            if block.get('type') == 'tool_result':
                said.append(Said('tool', text_of(block.get('content'))))
            elif block.get('type') == 'text':
                said.append(Said(message.get('role', ''), str(block.get('text') or '')))
    return said


def tools(body):
    return [Tool(tool.get('name', ''), (tool.get('input_schema') or {}).get('properties', {})) for tool in body.get('tools') or []]


def forced_tool(body):
    """The name of the tool that must be called, or None."""
    choice = body.get('tool_choice')
    return choice.get('name') if isinstance(choice, dict) else None


def schema(_body):
    return None


def headers(utilization):
    warns = utilization >= WARNING
    more = {FIVE_HOURS + 'surpassed-threshold': f'{WARNING:g}'} if warns else {}
    return {**_allowance('allowed_warning' if warns else 'allowed'), 'request-id': new_id('req_'),
            FIVE_HOURS + 'utilization': f'{utilization:g}', FIVE_HOURS + 'reset': str(now() + HOUR), FIVE_HOURS + 'status': 'allowed',
            WEEK + 'utilization': '0.07', WEEK + 'reset': str(now() + DAY), WEEK + 'status': 'allowed',
            'anthropic-ratelimit-unified-fallback-percentage': '0.5', **more}


def refusal(failure, _path):
    if failure == 'limit':
        rejected = {**_allowance('rejected'), FIVE_HOURS + 'utilization': '1', FIVE_HOURS + 'reset': str(now() + HOUR),
                    FIVE_HOURS + 'status': 'rejected', 'retry-after': str(HOUR)}
        return _refused(429, 'rate_limit_error', "This request would exceed your account's rate limit. Please try again later.", rejected)
    if failure == 'auth':
        return _refused(401, 'authentication_error', 'invalid x-api-key')
    if failure == 'broken':
        return _refused(500, 'api_error', 'Internal server error (probe)')
    return _refused(400, 'invalid_request_error', failure)


def whole(body, answer):
    return {**_message(body), 'content': _blocks(answer), 'stop_reason': _reason(answer),
            'usage': {'input_tokens': INPUT_TOKENS, 'output_tokens': OUTPUT_TOKENS}}


def events(body, answer):
    """(name, data) of each event, PAUSE and BREAK among them."""
    def event(kind, **data):
        return kind, {'type': kind, **data}

    usage = {'input_tokens': INPUT_TOKENS, 'cache_creation_input_tokens': 0, 'cache_read_input_tokens': 0, 'output_tokens': 1}
    yield event('message_start', message={**_message(body), 'usage': usage})
    for index, block in enumerate(_blocks(answer)):
        opened = {key: {} if key == 'input' else '' for key in block if key in ('text', 'thinking', 'signature', 'input')}
        yield event('content_block_start', index=index, content_block={**block, **opened})
        for delta in _deltas(block, answer):
            yield event('content_block_delta', index=index, delta=delta)
            yield PAUSE
        if block['type'] == 'text' and answer.breaks:
            yield BREAK
            return
        yield event('content_block_stop', index=index)
    yield event('message_delta', delta={'stop_reason': _reason(answer), 'stop_sequence': None}, usage={'output_tokens': OUTPUT_TOKENS})
    yield event('message_stop')


def _refused(status, kind, message, more=None):
    return Refusal(status, {'type': 'error', 'error': {'type': kind, 'message': message}, 'request_id': new_id('req_')}, more or {})


def _allowance(status):
    unified = 'anthropic-ratelimit-unified-'
    return {unified + 'status': status, unified + 'reset': str(now() + HOUR), unified + 'representative-claim': 'five_hour',
            unified + 'overage-status': 'rejected', unified + 'overage-disabled-reason': 'org_level_disabled'}


def _message(body):
    return {'id': new_id('msg_'), 'type': 'message', 'role': 'assistant', 'model': body.get('model'), 'content': [],
            'stop_reason': None, 'stop_sequence': None}


def _blocks(answer):
    blocks = []
    if answer.reasoning:
        blocks.append({'type': 'thinking', 'thinking': answer.thought, 'signature': SIGNATURE})
    if answer.texts:
        blocks.append({'type': 'text', 'text': answer.text})
    if answer.call:
        blocks.append({'type': 'tool_use', 'id': new_id('toolu_'), 'name': answer.call.name, 'input': answer.call.input})
    return blocks


def _deltas(block, answer):
    match block['type']:
        case 'thinking':
            yield from ({'type': 'thinking_delta', 'thinking': piece} for piece in answer.reasoning)
            yield {'type': 'signature_delta', 'signature': SIGNATURE}
        case 'text':
            yield from ({'type': 'text_delta', 'text': piece} for piece in answer.texts)
        case 'tool_use':
            yield from ({'type': 'input_json_delta', 'partial_json': piece} for piece in halves(json.dumps(block['input'])))


def _reason(answer):
    return 'tool_use' if answer.call else 'end_turn'
