"""The words of an agent that asks for a permission, shorter."""

ONCE = {'optionId': 'yes', 'name': 'Allow once', 'kind': 'allow_once'}
ALWAYS = {'optionId': 'ever', 'name': 'Always allow', 'kind': 'allow_always'}
NO = {'optionId': 'no', 'name': 'No', 'kind': 'reject_once'}


def asks(*options, number=7, title='Run make', **raw_input):
    tool = {'toolCallId': 'call-1', 'title': title, **({'rawInput': raw_input} if raw_input else {})}
    return {'send': {'jsonrpc': '2.0', 'id': number, 'method': 'session/request_permission',
                     'params': {'sessionId': 'session-1', 'toolCall': tool, 'options': list(options)}}}


def answered(number=7):
    return {'expect': {'response': number}}
