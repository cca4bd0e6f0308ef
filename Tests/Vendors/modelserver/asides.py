"""What programs ask a model for beside the turn of the person: a title, or a verdict on a command that it wants to run."""
import json

from .scenarios import Step
from .tools import Call

WORDS = 'Probe title'
TITLE = Step(texts=(WORDS[:6], WORDS[6:]), pause=0)


def forced_call(name, tools):
    """The call of the one tool that a request leaves no choice about, with the same words for all that it takes."""
    tool = next((tool for tool in tools if tool.name == name), None)
    return Call(name, {key: WORDS for key in tool.properties}) if tool else None


def aside(name, last_text, tools, schema):
    """The answer for a request that is not the turn itself, or None. `schema` is the form that the answer must have, if any."""
    refuses = name == 'shelldeny'
    if 'outcome' in (schema or {}).get('properties', {}):
        return _says({'risk_level': 'low', 'user_authorization': 'high', 'outcome': 'deny' if refuses else 'allow', 'rationale': 'probe reviewer'})
    if tools:
        return None
    if 'shouldBlock' in last_text:
        return _says({'thinking': 'probe', 'shouldBlock': refuses, 'reason': 'probe classifier'})
    return TITLE


def _says(verdict):
    return Step(texts=(json.dumps(verdict),), pause=0)
