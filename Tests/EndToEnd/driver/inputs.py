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
    """The modifiers of "Ctrl+Shift+N" and the name that X has for the key."""
    parts = keys[:-2].split('+') + ['+'] if keys.endswith('++') else keys.split('+')
    *modifiers, key = parts
    key = _KEYS.get(key.lower(), key)
    if len(key) == 1:
        key = key.lower()
    elif re.fullmatch(r'f\d+', key):
        key = key.upper()
    return [_MODIFIERS.get(word.lower(), word.lower()) for word in modifiers], key


class Inputs:
    """Part of a session. The short pauses are between events of one gesture, as a hand makes them; nothing is awaited by them. At the end
    of each the program has read it."""

    def xdotool(self, *arguments):
        done = subprocess.run(['xdotool', *map(str, arguments)], env=self.env, capture_output=True, text=True, timeout=60)
        if done.returncode:
            raise UiError(f'xdotool {arguments}: {done.stderr.strip()}')
        return done.stdout.strip()

    def await_taken(self):
        """Waits until the program that has the keys has read what was done: what is asked of it now is of the time after that."""
        window = self.screen.active()
        if window:
            self.screen.await_taken(window)

    def type(self, text, delay=2, newline='Return'):
        """Real key events; a line break becomes the key given as newline. What no key makes is pasted with Ctrl+V, since a key that gets
        another meaning for a moment is lost on Qt."""
        for number, line in enumerate(text.split('\n')):
            if number:
                self.key(newline)
            for part in re.findall(r'[ -~]+|[^ -~]+', line):
                if ' ' <= part[0] <= '~':
                    for letter in part:
                        self.screen.devices.key(letter)
                        time.sleep(delay / 1000)
                else:
                    self.paste(part)
        self.await_taken()

    def key(self, *combinations):
        """Like key("Ctrl+Shift+N", "Escape", "Ctrl+,")."""
        for keys in combinations:
            modifiers, key = _combination(keys)
            self.screen.devices.key(key, modifiers)
            self.await_taken()

    def pointer(self):
        return self.screen.devices.pointer()

    def move(self, x, y):
        if self.pointer() != (x, y):
            self.screen.devices.move(x, y)

    def button(self, is_down, number=1):
        self.screen.devices.button(number, is_down)

    def click(self, x, y, button=1, count=1):
        self.move(x, y)
        time.sleep(0.03)
        for _ in range(count):
            self.button(True, button)
            time.sleep(0.03)
            self.button(False, button)
            self.await_taken()

    def drag(self, begin, end, over=lambda: None, steps=12):
        """Holds the button down from one place to another, calls `over` there, and lets go."""
        self.move(*begin)
        self.button(True)
        try:
            for step in range(1, steps + 1):
                self.move(*(a + (b - a) * step // steps for a, b in zip(begin, end)))
                time.sleep(0.02)
            over()
        finally:
            self.button(False)

    def scroll(self, x, y, notches):
        """The wheel at a place; positive is down."""
        self.move(x, y)
        for _ in range(abs(notches)):
            for is_down in (True, False):
                self.button(is_down, 5 if notches > 0 else 4)
            time.sleep(0.01)
        self.await_taken()

    def clipboard(self):
        done = subprocess.run(['xclip', '-selection', 'clipboard', '-o'], env=self.env, capture_output=True, timeout=10)
        return done.stdout.decode(errors='replace')

    def copy(self, text):
        before = self.screen.clipboard_owner()
        process = subprocess.Popen(['xclip', '-selection', 'clipboard', '-i'], env=self.env, stdin=subprocess.PIPE,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        process.communicate(text.encode(), timeout=10)
        # It goes on in a child of its own, and only that has the clipboard.
        self.wait(lambda: self.screen.clipboard_owner() not in (0, before), 10, 'the text on the clipboard', every=0.005)

    def paste(self, text):
        """For characters that no key makes: through the clipboard."""
        self.copy(text)
        self.key('Ctrl+V')
        self.applications()  # who answers this has fetched it: the clipboard may get something else
