"""A task as lines of a terminal, going on where it ended when more of it comes."""
from .terminal import safe, safe_line, say

SPEAKERS = {'user': 'You', 'thought': 'Thinking', 'system': 'tessarin'}


def heading(entry):
    if entry['kind'] == 'tool':
        status = entry.get('status')
        return safe_line(entry.get('title') or 'Tool', 200) + (f' [{safe_line(status, 40)}]' if status else '')
    if entry['kind'] == 'assistant':
        return safe_line((entry.get('provider') or 'agent').capitalize(), 40)
    return SPEAKERS.get(entry['kind'], safe_line(entry['kind'], 40))


class Transcript:
    """Prints what is new in each state. `say` prints a text as it stands and takes `end`."""

    def __init__(self, last_entries=None, say=say):
        self._say = say
        self._last_entries = last_entries
        self._task = None
        self._shown = {}  # id of an entry to what has been printed of it: heading and text
        self._open = None  # the id of the entry that the last line belongs to

    def show(self, task):
        """Prints what this task has more than when it was shown last. None for no task."""
        task_id = task['id'] if task else None
        if task_id != self._task:
            self._begin(task, task_id)
        for entry in (task or {'entries': []})['entries']:
            self._show_entry(entry)

    def _begin(self, task, task_id):
        self.break_line()
        self._task, self._shown = task_id, {}
        if not task:
            return
        self._say(f'== {safe_line(task["title"], 100)} ==')
        earlier = [] if self._last_entries is None else task['entries'][:max(0, len(task['entries']) - self._last_entries)]
        for entry in earlier:
            self._shown[entry['id']] = self._form(entry)
        if earlier:
            self._say(f'   ({len(earlier)} earlier)')

    @staticmethod
    def _form(entry):
        # The details of a tool are long and for the computer's window; a person at a distance follows what is done.
        return heading(entry), '' if entry['kind'] == 'tool' else entry['text']

    def _show_entry(self, entry):
        form = title, text = self._form(entry)
        old = self._shown.get(entry['id'])
        if old == form:
            return
        self._shown[entry['id']] = form
        if old and old[0] == title and text.startswith(old[1]) and self._open == entry['id']:
            self._say(safe(text[len(old[1]):]), end='')
            return
        self.break_line()
        is_continued = old and old[0] == title and text.startswith(old[1])
        self._say(f'-- {title}' + (' (continued)' if is_continued else ''))
        text = text[len(old[1]):] if is_continued else text
        if text:
            self._say(safe(text), end='')
            self._open = entry['id']

    def break_line(self):
        """Ends a line that might go on."""
        if self._open is not None:
            self._say()
            self._open = None
