"""Chat completions, as Grok, Kimi and the coding plan of Z.AI speak them: messages in, chunks out, "[DONE]" at the end."""
import json

from .answer import BREAK, INPUT_TOKENS, OUTPUT_TOKENS, PAUSE, Refusal, halves, new_id, now, text_of
from .scenarios import Said
from .tools import Tool

ENDING = '/chat/completions'
PROGRAMS = {'/kimi/': 'kimi', '/zai/': 'opencode'}  # by a folder in the address that a program was given; Grok is the one that is left
SPENT = {
    'kimi': {'message': "You've reached your usage limit for this billing cycle. Your quota will be refreshed in the next cycle.",
             'type': 'exceeded_current_quota_error'},
    'opencode': {'code': '1308', 'message': 'Usage limit reached for 5 hour. Your limit will reset at 2030-01-01 00:00:00'},
    'grok': {'code': '1308', 'message': 'Usage limit reached for 5 hour. Your limit will reset at 2030-01-01 00:00:00'},
}


def program(path):
    return next((name for folder, name in PROGRAMS.items() if folder in path), 'grok')


def conversation(body):
    return [Said(message.get('role', ''), text_of(message.get('content'))) for message in body.get('messages') or []]


def tools(body):
    functions = [tool.get('function') or {} for tool in body.get('tools') or []]
    return [Tool(function.get('name', ''), (function.get('parameters') or {}).get('properties', {})) for function in functions]


def forced_tool(body):
    """The name of the tool that must be called, or None."""
    choice = body.get('tool_choice')
    return (choice.get('function') or {}).get('name') if isinstance(choice, dict) else None


def schema(_body):
    return None


def headers(_utilization):
    return {}


def refusal(failure, path):
    if failure == 'limit':
        return Refusal(429, {'error': SPENT[program(path)]}, {})
    if failure == 'auth':
        return Refusal(401, {'error': {'message': 'Incorrect API key provided', 'type': 'invalid_request_error', 'code': 'invalid_api_key'}}, {})
    if failure == 'broken':
        return Refusal(500, {'error': {'message': 'Internal server error (probe)', 'type': 'server_error'}}, {})
    return Refusal(400, {'error': {'message': failure, 'type': 'invalid_request_error'}}, {})


def whole(body, answer):
    message = {'role': 'assistant', 'content': answer.text}
    if answer.reasoning:
        message['reasoning_content'] = answer.thought
    if answer.call:
        message['tool_calls'] = [_call(answer.call, json.dumps(answer.call.input))]
    choice = {'index': 0, 'message': message, 'finish_reason': _reason(answer)}
    return {**_base(body, 'chat.completion'), 'choices': [choice], 'usage': _usage()}


def events(body, answer):
    """(None, chunk), PAUSE, BREAK, and the word of the end."""
    base = _base(body, 'chat.completion.chunk')

    def chunk(delta, reason=None, **more):
        return None, {**base, 'choices': [{'index': 0, 'delta': delta, 'finish_reason': reason}], **more}

    yield chunk({'role': 'assistant', 'content': ''})
    for piece in answer.reasoning:
        yield chunk({'reasoning_content': piece})
        yield PAUSE
    for piece in answer.texts:
        yield chunk({'content': piece})
        yield PAUSE
    if answer.breaks:
        yield BREAK
        return
    if answer.call:
        first, *rest = halves(json.dumps(answer.call.input))
        yield chunk({'tool_calls': [{'index': 0, **_call(answer.call, first)}]})
        for piece in rest:
            yield chunk({'tool_calls': [{'index': 0, 'function': {'arguments': piece}}]})
    yield chunk({}, _reason(answer), usage=_usage())
    yield None, '[DONE]'


def _base(body, kind):
    return {'id': new_id('chatcmpl-'), 'object': kind, 'created': now(), 'model': body.get('model')}


def _call(call, arguments):
    return {'id': new_id('call_'), 'type': 'function', 'function': {'name': call.name, 'arguments': arguments}}


def _reason(answer):
    return 'tool_calls' if answer.call else 'stop'


def _usage():
    return {'prompt_tokens': INPUT_TOKENS, 'completion_tokens': OUTPUT_TOKENS, 'total_tokens': INPUT_TOKENS + OUTPUT_TOKENS}
