"""Real key and pointer events, and the clipboard."""
import re
import subprocess
import time

from .errors import UiError

_MODIFIERS = {'control': 'ctrl', 'meta': 'super', 'cmd': 'super', 'win': 'super'}
_KEYS = {',': 'comma', '.': 'period', '/': 'slash', '\\': 'backslash', ' ': 'space', '-': 'minus', '=': 'equal', '+': 'plus',
         ';': 'semicolon', "'": 'apostrophe', '[': 'bracketleft', ']': 'bracketright', '`': 'grave', '?': 'question',
         'enter': 'Return', 'return': 'Return', 'esc': 'Escape', 'escape': 'Escape', 'tab': 'Tab', 'space': 'space',
         'backspace': 'BackSpace', 'del': 'Delete', 'delete': 'Delete', 'up': 'Up', 'down': 'Down', 'left': 'Left',
         'right': 'Right', 'home': 'Home', 'end': 'End', 'pageup': 'Page_Up', 'pagedown': 'Page_Down', 'menu': 'Menu'}


def _combination(keys):
    """"Ctrl+Shift+N" in the spelling of xdotool."""
    parts = keys[:-2].split('+') + ['+'] if keys.endswith('++') else keys.split('+')
    *modifiers, key = parts
    key = _KEYS.get(key.lower(), key)
    if len(key) == 1:
        key = key.lower()
    elif re.fullmatch(r'f\d+', key):
        key = key.upper()
    return '+'.join([_MODIFIERS.get(word.lower(), word.lower()) for word in modifiers] + [key])


class Inputs:
    """Part of a session. The short pauses are between events of one gesture, as a hand makes them; nothing is awaited by them."""

    def xdotool(self, *arguments):
        done = subprocess.run(['xdotool', *map(str, arguments)], env=self.env, capture_output=True, text=True, timeout=60)
        if done.returncode:
            raise UiError(f'xdotool {arguments}: {done.stderr.strip()}')
        return done.stdout.strip()

    def type(self, text, delay=12, newline='Return'):
        """Real key events; a line break becomes the key given as newline. What is not on a US keyboard is pasted with Ctrl+V,
        since xdotool's remapping of keys is lost on Qt."""
        for number, line in enumerate(text.split('\n')):
            if number:
                self.key(newline)
            for part in re.findall(r'[ -~]+|[^ -~]+', line):
                if ' ' <= part[0] <= '~':
                    self.xdotool('type', '--delay', delay, '--', part)
                else:
                    self.paste(part)
                    time.sleep(0.15)

    def key(self, *combinations, delay=30):
        """Like key("Ctrl+Shift+N", "Escape", "Ctrl+,")."""
        for keys in combinations:
            self.xdotool('key', '--delay', delay, _combination(keys))
            time.sleep(delay / 1000)

    def pointer(self):
        out = self.xdotool('getmouselocation', '--shell')
        values = dict(line.split('=') for line in out.splitlines())
        return int(values['X']), int(values['Y'])

    def move(self, x, y):
        if self.pointer() != (x, y):
            self.xdotool('mousemove', '--sync', x, y)

    def click(self, x, y, button=1, count=1):
        self.move(x, y)
        time.sleep(0.03)
        for _ in range(count):
            self.xdotool('mousedown', button)
            time.sleep(0.03)
            self.xdotool('mouseup', button)
            time.sleep(0.03)

    def scroll(self, x, y, notches):
        """The wheel at a place; positive is down."""
        self.move(x, y)
        for _ in range(abs(notches)):
            self.xdotool('click', 5 if notches > 0 else 4)
            time.sleep(0.02)

    def clipboard(self):
        done = subprocess.run(['xclip', '-selection', 'clipboard', '-o'], env=self.env, capture_output=True, timeout=10)
        return done.stdout.decode(errors='replace')

    def copy(self, text):
        process = subprocess.Popen(['xclip', '-selection', 'clipboard', '-i'], env=self.env, stdin=subprocess.PIPE,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        process.communicate(text.encode(), timeout=10)

    def paste(self, text):
        """For characters that no key makes: through the clipboard."""
        self.copy(text)
        self.key('Ctrl+V')
