"""What a person reads. Texts come from agents and from what they have read: none of them may steer the terminal."""
import datetime
import re
import sys

# Control characters, formatting characters that turn the direction of what follows so that a text reads as another one, separators of
# lines and paragraphs, halves of characters.
HARMFUL = re.compile('[\x00-\x08\x0b-\x1f\x7f-\x9f\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069\ud800-\udfff]')


def safe(text):
    """The text with everything visible that would do something else than be read. Lines and tabs stay."""
    return HARMFUL.sub('\ufffd', text.replace('\r\n', '\n'))


def safe_line(text, width=None):
    """The same in one line, and no longer than so many characters."""
    text = ' '.join(safe(text).split())
    return text if width is None or len(text) <= width else text[:width - 1] + '…'


def say(text='', end='\n'):
    """`text` is made of our own words and of safe texts."""
    sys.stdout.write(text + end)
    sys.stdout.flush()


def complain(text):
    sys.stderr.write(f'tessarin-device: {safe(text)}\n')
    sys.stderr.flush()


def moment(seconds):
    """Seconds since 1970 as a local time of day, with the date when that is another one."""
    try:
        at = datetime.datetime.fromtimestamp(seconds)
    except (OverflowError, OSError, ValueError):
        return '?'
    return at.strftime('%H:%M' if at.date() == datetime.date.today() else '%Y-%m-%d %H:%M')
