"""What the programs ask beside a model's answers, each by the end of its address."""
from .answer import DAY, HOUR, INPUT_TOKENS, now

PICTURE = 'iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR4nGP4z8DwHwAFAAH/iZk9HQAAAABJRU5ErkJggg=='  # one red point
NOT_FOUND = {'error': {'message': 'not found (probe)', 'type': 'not_found_error'}}


def other(path, utilization):
    """(status, body) of the answer to a request that no dialect takes."""
    if path.endswith(('/images/generations', '/images/edits')):
        return 200, {'created': now(), 'data': [{'b64_json': PICTURE, 'revised_prompt': 'probe'}]}
    if path.endswith('/usage'):
        return 200, _codex_usage(utilization)
    if path.endswith('/count_tokens'):
        return 200, {'input_tokens': INPUT_TOKENS}
    if path.endswith('/models'):
        return 200, {'object': 'list', 'data': [], 'models': []}
    return 404, NOT_FOUND


def _codex_usage(utilization):
    def window(used, seconds, resets_in):
        return {'used_percent': round(used * 100), 'limit_window_seconds': seconds, 'reset_after_seconds': resets_in, 'reset_at': now() + resets_in}

    limits = {'allowed': utilization < 1, 'limit_reached': utilization >= 1, 'primary_window': window(utilization, 5 * HOUR, HOUR),
              'secondary_window': window(0.07, 7 * DAY, DAY)}
    return {'plan_type': 'plus', 'rate_limit': limits, 'credits': {'has_credits': False, 'unlimited': False, 'balance': '0'}}
