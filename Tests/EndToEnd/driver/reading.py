"""The tree as text, and what in it a screen reader could not use."""
import json
import re

from .errors import Gone, UiError
from .vocabulary import NOT_SHOWN, PRESSABLE, STATES

_NAMED = PRESSABLE + ('text', 'password text', 'slider', 'spin button', 'list item', 'dialog', 'list')


class Reading:
    """Part of a session."""

    def texts(self, within=None, showing=True):
        """All that can be read: names and contents, in the order of the tree."""
        out, found = [], [element for top in self.tree(within) for element in top.walk() if element.showing or not showing]
        self.load_more(found, 'texts')
        for element in found:
            content = element.text
            out += [text for text in (element.name, content if content != element.name else None) if text]
        return out

    def dump(self, root=None, showing=False, details=False):
        """The tree as indented text."""
        lines = []

        def put(element, depth):
            if showing and not element.showing and element.role != 'application':
                return
            lines.append('  ' * depth + self._line(element, details))
            for child in element.children:
                put(child, depth + 1)
        for top in self.tree(root):
            put(top, 0)
        return '\n'.join(lines)

    @staticmethod
    def _line(element, details):
        def quoted(text):
            return json.dumps(text, ensure_ascii=False)
        line = element.role + (' ' + quoted(element.name) if element.name else '')
        try:
            text, value = element.text, element.value
            if text is not None and text != element.name:
                line += ' text=' + quoted(text)
            if value is not None:
                line += ' value=%g' % value
            if element.description:
                line += ' description=' + quoted(element.description)
            states = [state for state in STATES if state in element.states and state not in NOT_SHOWN]
            if 'showing' not in element.states and element.role != 'application':
                states.append('HIDDEN')
            if states:
                line += ' [' + ', '.join(states) + ']'
            if element.actions:
                line += ' {' + ', '.join(element.actions) + '}'
            if details:
                line += ' %s (%s)' % (element.rect, ' '.join(element.interfaces))
        except UiError as error:
            line += f' <{error}>'
        return line

    def audit(self, root=None):
        """What on the screen a screen reader could not name or press: a list of complaints."""
        for _ in range(3):
            try:
                return self._audit(root)
            except Gone:
                pass  # something left the screen while it was read: what is there now counts
        return self._audit(root)

    def _audit(self, root):
        found = [element for top in self.tree(root) for element in top.walk() if element.showing]
        self.load_more([element for element in found if element.role in PRESSABLE], 'actions')
        return ['%s: %r at %s' % (what, element, element.rect if 'Component' in element.interfaces else '?')
                for element in found for what in self._complaints(element)]

    @staticmethod
    def _complaints(element):
        if element.role in _NAMED:
            if not element.name.strip() and not (element.parent and element.parent.role == 'combo box'):
                yield 'no name'
            elif re.search(r'<[a-z/][^>]*>', element.name) or re.match(r'&\w', element.name):
                yield 'markup or mnemonic in the name'
        if element.role in PRESSABLE:
            if not any(action.lower() in ('press', 'toggle') for action in element.actions):
                yield 'no press handler'
        if element.role == 'unknown' and element.name:
            yield 'role unknown'
