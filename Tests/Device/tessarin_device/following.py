"""Following a computer: what changes is said once."""
import threading

from .connection import Computer, ConnectionLost
from .terminal import complain, safe, safe_line, say
from .transcript import Transcript

LONGEST_PAUSE = 30
LAST_ENTRIES = 12


def permission_lines(permission):
    """A question of an agent, and what this device may answer."""
    lines = [f'?? {safe_line(permission["title"], 200)}', *('   ' + line for line in safe(permission['detail']).splitlines()[:40])]
    once = [option for option in permission['options'] if option['kind'] == 'allow_once']
    if once:
        lines.append(f'   Allow it once: tessarin-device approve --request {permission["requestID"]}')
    lines.append(f'   Refuse it:     tessarin-device reject --request {permission["requestID"]}' if len(once) < len(permission['options'])
                 else '   It can be refused on the computer only.')
    return lines


class Narrator:
    """Says what is new in a state: the work, a question, the selected task."""

    def __init__(self, last_entries=LAST_ENTRIES, say=say):
        self._say = say
        self._transcript = Transcript(last_entries, say)
        self._status = None
        self._asked = None
        self._refused = 0

    def tell(self, computer):
        state = computer.state
        _, task = computer.selected()
        self._transcript.show(task)
        status = (state['connectionLabel'], state['imagineLabel'] if computer.is_imagining() else None)
        if status != self._status:
            self._status = status
            self._line(f'.. {safe_line(status[0], 100)}' + (f' · Imagine: {safe_line(status[1], 100)}' if status[1] else ''))
        permission = state.get('permission')
        if permission != self._asked:
            self._asked = permission
            for line in permission_lines(permission) if permission else ['   The question is answered.']:
                self._line(line)

    def tell_refusals(self, computer):
        for text in computer.refusals:
            self._line(f'!! {safe_line(text)}')
        computer.refusals.clear()

    def end(self):
        self._transcript.break_line()

    def _line(self, text):
        self._transcript.break_line()
        self._say(text)


def watch(pairing, last_entries=LAST_ENTRIES, pause=threading.Event().wait):
    """For ever: a connection that is lost is made again. Ends by an exception: a wrong key, or Ctrl-C."""
    narrator = Narrator(last_entries)
    failures = 0
    told = None
    while True:
        try:
            with Computer(pairing) as computer:
                computer.greet()
                if told:
                    say('.. Connected again')
                failures, told = 0, None
                while True:
                    narrator.tell(computer)
                    narrator.tell_refusals(computer)
                    computer.step()
        except ConnectionLost as error:
            narrator.end()
            if str(error) != told:
                told = str(error)
                complain(f'{told} Trying again; Ctrl-C ends.')
            failures += 1
            pause(min(2 ** (failures - 1), LONGEST_PAUSE))
