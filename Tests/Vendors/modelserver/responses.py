"""The Responses API as Codex speaks it: items in, items and typed events out."""
import json

from .answer import BREAK, DAY, HOUR, INPUT_TOKENS, OUTPUT_TOKENS, PAUSE, SIGNATURE, Refusal, new_id, now, text_of
from .scenarios import Said
from .tools import Tool

ENDING = '/responses'
PROGRAM = 'codex'
WEEKLY = 0.07  # of the allowance of a week, while the one of five hours is what is set


def program(_path):
    return PROGRAM


def conversation(body):
    given = body.get('input') or []
    said = []
    for item in [{'role': 'user', 'content': given}] if isinstance(given, str) else given:
        kind = item.get('type', 'message')
        if kind.endswith('_output'):
            output = item.get('output')
            said.append(Said('tool', output if isinstance(output, str) else json.dumps(output)))
        elif kind == 'message':
            said.append(Said(item.get('role', ''), text_of(item.get('content'))))
    return said


def tools(body):
    return [Tool(tool.get('name') or tool.get('type', ''), (tool.get('parameters') or {}).get('properties', {}), tool.get('type') == 'custom')
            for tool in body.get('tools') or []]


def forced_tool(body):
    """The name of the tool that must be called, or None."""
    choice = body.get('tool_choice')
    return choice.get('name') if isinstance(choice, dict) else None


def schema(body):
    return ((body.get('text') or {}).get('format') or {}).get('schema')


def headers(utilization):
    return {**_windows(utilization, WEEKLY), 'x-codex-plan-type': 'plus'}


def refusal(failure, _path):
    if failure == 'limit':
        spent = {'type': 'usage_limit_reached', 'message': 'The usage limit has been reached', 'plan_type': 'plus',
                 'resets_at': now() + HOUR, 'resets_in_seconds': HOUR}
        return Refusal(429, {'error': spent}, _windows(1, 0.4))
    if failure == 'auth':
        return Refusal(401, {'error': {'message': 'Incorrect API key provided', 'type': 'invalid_request_error', 'code': 'invalid_api_key'}}, {})
    if failure == 'broken':
        return Refusal(500, {'error': {'message': 'Internal server error (probe)', 'type': 'server_error'}}, {})
    return Refusal(400, {'error': {'message': failure, 'type': 'invalid_request_error'}}, {})


def whole(body, answer):
    return {**_response(body), 'status': 'completed', 'output': [item for item, _ in _items(answer)], 'usage': _usage()}


def events(body, answer):
    """(name, data) of each event, PAUSE and BREAK among them."""
    response = _response(body)
    number = 0

    def event(kind, **data):
        nonlocal number
        number += 1
        return kind, {'type': kind, 'sequence_number': number - 1, **data}

    yield event('response.created', response=response)
    output = _items(answer)
    for index, (item, opened) in enumerate(output):
        yield event('response.output_item.added', output_index=index, item={**item, **opened})
        for kind, data in _pieces(item, answer):
            yield event(kind, item_id=item['id'], output_index=index, **data)
            if kind.endswith('.delta'):
                yield PAUSE
        if item['type'] == 'message' and answer.breaks:
            yield BREAK
            return
        yield event('response.output_item.done', output_index=index, item=item)
    yield event('response.completed', response={**response, 'status': 'completed', 'output': [item for item, _ in output], 'usage': _usage()})


def _response(body):
    return {'id': new_id('resp_'), 'object': 'response', 'created_at': now(), 'model': body.get('model'), 'status': 'in_progress', 'output': []}


def _usage():
    return {'input_tokens': INPUT_TOKENS, 'input_tokens_details': {'cached_tokens': 0}, 'output_tokens': OUTPUT_TOKENS,
            'output_tokens_details': {'reasoning_tokens': 0}, 'total_tokens': INPUT_TOKENS + OUTPUT_TOKENS}


def _windows(five_hours, week):
    return {'x-codex-primary-used-percent': f'{five_hours * 100:g}', 'x-codex-primary-window-minutes': '300',
            'x-codex-primary-reset-at': str(now() + HOUR), 'x-codex-secondary-used-percent': f'{week * 100:g}',
            'x-codex-secondary-window-minutes': '10080', 'x-codex-secondary-reset-at': str(now() + DAY)}


def _items(answer):
    """(item as it is at its end, what of it differs at its beginning)."""
    items = []
    if answer.reasoning:
        items.append(({'type': 'reasoning', 'id': new_id('rs_'), 'summary': [{'type': 'summary_text', 'text': answer.thought}],
                       'encrypted_content': SIGNATURE}, {'summary': []}))
    if answer.texts:
        items.append(({'type': 'message', 'id': new_id('msg_'), 'role': 'assistant', 'status': 'completed',
                       'content': [{'type': 'output_text', 'text': answer.text, 'annotations': []}]},
                      {'status': 'in_progress', 'content': []}))
    if answer.call:
        common = {'call_id': new_id('call_'), 'name': answer.call.name, 'status': 'completed'}
        if answer.call.text is not None:
            items.append(({'type': 'custom_tool_call', 'id': new_id('ctc_'), **common, 'input': answer.call.text},
                          {'status': 'in_progress', 'input': ''}))
        else:
            items.append(({'type': 'function_call', 'id': new_id('fc_'), **common, 'arguments': json.dumps(answer.call.input)},
                          {'status': 'in_progress', 'arguments': ''}))
    return items


def _pieces(item, answer):
    """(kind, data) of the events between an item's beginning and its end."""
    match item['type']:
        case 'reasoning':
            yield 'response.reasoning_summary_part.added', {'summary_index': 0, 'part': {'type': 'summary_text', 'text': ''}}
            for piece in answer.reasoning:
                yield 'response.reasoning_summary_text.delta', {'summary_index': 0, 'delta': piece}
            yield 'response.reasoning_summary_text.done', {'summary_index': 0, 'text': answer.thought}
        case 'message':
            yield 'response.content_part.added', {'content_index': 0, 'part': {'type': 'output_text', 'text': '', 'annotations': []}}
            for piece in answer.texts:
                yield 'response.output_text.delta', {'content_index': 0, 'delta': piece}
            if not answer.breaks:
                yield 'response.output_text.done', {'content_index': 0, 'text': answer.text}
        case 'custom_tool_call':
            yield 'response.custom_tool_call_input.delta', {'delta': item['input']}
            yield 'response.custom_tool_call_input.done', {'input': item['input']}
        case 'function_call':
            yield 'response.function_call_arguments.delta', {'delta': item['arguments']}
            yield 'response.function_call_arguments.done', {'arguments': item['arguments']}
