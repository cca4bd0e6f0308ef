"""What the dialects have in common: an answer to be told, a refusal, and the pieces of a stream."""
import secrets
import time
from dataclasses import dataclass

from .tools import Call

PAUSE = object()  # in a stream: wait as long as the answer says
BREAK = object()  # in a stream: the connection ends here
HOUR = 3600
DAY = 24 * HOUR
INPUT_TOKENS, OUTPUT_TOKENS = 120, 30
SIGNATURE = 'cHJvYmU='


@dataclass(frozen=True)
class Answer:
    texts: tuple = ()
    reasoning: tuple = ()
    call: Call | None = None
    breaks: bool = False
    pause: float = 0

    @property
    def text(self):
        return ''.join(self.texts)

    @property
    def thought(self):
        return ''.join(self.reasoning)


@dataclass(frozen=True)
class Refusal:
    status: int
    body: dict
    headers: dict


def new_id(prefix):
    return prefix + secrets.token_hex(12)


def now():
    return int(time.time())


def text_of(content):
    """The text of a content that is a text, or a list of texts and of objects with a text."""
    if isinstance(content, str):
        return content
    parts = content if isinstance(content, list) else []
    return '\n'.join(part if isinstance(part, str) else str(part.get('text') or '') for part in parts if isinstance(part, (str, dict)))


def halves(text):
    """A text in two pieces, because programs have to put together what comes in pieces."""
    middle = (len(text) + 1) // 2
    return [piece for piece in (text[:middle], text[middle:]) if piece]
