"""Finding and waiting."""
import time

from .errors import Gone, UiError
from .vocabulary import matches, roles_of


class Search:
    """Part of a session. Every search waits for what it looks for, with a bound; nothing here sleeps to be right."""

    def find_all(self, role=None, name=None, within=None, text=None, description=None, says=None, states=(), showing=True,
                 under=None):
        """All matching elements in the order of the tree. role: one or several, or a group ("~button"); name, text (the content),
        description, says (name or content): see vocabulary.matches; states: required, or "!state" for forbidden; showing: only
        what is on the screen; within: an Element; under: a dict of find arguments for an ancestor."""
        roles = roles_of(role)
        if under:
            within = self.find(**under)
        found = []
        for top in self.tree(within):
            for element in top.walk():
                if element is within or (roles and element.role not in roles):
                    continue
                if showing and not element.showing and element.role != 'application':
                    continue
                if not matches(name, element.name):
                    continue
                if any((state[1:] in element.states) if state[0] == '!' else (state not in element.states) for state in states):
                    continue
                found.append(element)
        if description is not None:
            self.load_more(found, 'descriptions')
            found = [element for element in found if matches(description, element.description)]
        if text is not None or says is not None:
            self.load_more(found, 'texts')
            found = [element for element in found if self._content_matches(element, text, says)]
        return found

    @staticmethod
    def _content_matches(element, text, says):
        try:
            content = element.text
            if text is not None and not matches(text, content):
                return False
            return says is None or matches(says, element.name) or matches(says, content)
        except UiError:
            return False  # it went away between the snapshot and the question

    def find(self, role=None, name=None, timeout=None, index=0, only=False, **more):
        """Waits for a match and returns it; only=True demands exactly one."""
        wanted = ' '.join(f'{key}={value!r}' for key, value in dict(role=role, name=name, **more).items() if value is not None)

        def look():
            got = self.find_all(role, name, **more)
            if only and len(got) > 1:
                raise UiError(f'{len(got)} matches for {wanted}: {got}')
            return got[index] if -len(got) <= index < len(got) else None
        return self.wait(look, timeout, wanted, dump=True)

    def exists(self, role=None, name=None, **more):
        return bool(self.find_all(role, name, **more))

    def wait_gone(self, role=None, name=None, timeout=None, **more):
        self.wait(lambda: not self.exists(role, name, **more), timeout, f'the end of {role} {name!r} {more}', dump=True)

    def wait(self, is_true, timeout=None, what='the condition', dump=False, every=0.03):
        """Calls until the result is true and returns it. A vanished element counts as not yet; a crash of the program fails at once."""
        timeout = self.timeout if timeout is None else timeout
        end, last = time.monotonic() + timeout, None
        while True:
            try:
                got = is_true()
                if got:
                    return got
            except Gone as error:
                last = error
            for app in self.apps:
                if app.must_live and not app.running and app.process.returncode:
                    raise UiError(f'the program ended with {app.process.returncode} while waiting for {what}\n{app.output[-2000:]}')
            if time.monotonic() > end:
                raise UiError(f'not within {timeout} s: {what}' + (f' ({last})' if last else '') + (self._tree_now() if dump else ''))
            time.sleep(every)

    def _tree_now(self):
        try:
            return '\n' + self.dump()
        except UiError as error:
            return f'\n(no tree: {error})'

    def windows(self, showing=True):
        return [window for app in self.tree() for window in app.children if not showing or window.showing]

    def wait_window(self, title=None, timeout=None):
        """The window with that title, once it is on the screen."""
        return self.find(('frame', 'window', 'dialog'), title, timeout)

    def await_front(self, title):
        """The window with that title, once the keys go to it: the window manager says so, and so does the program."""
        window = self.wait_window(title)
        self.wait(lambda: matches(title, self.active_title()) and window.reload().has('active'), what=f'{title} to be in front')
        return window

    def focused(self):
        """The deepest element that has the keyboard focus, or None."""
        got = self.find_all(states=('focused',))
        return max(got, key=lambda element: element.depth) if got else None

    def settle(self, element, timeout=3):
        """Waits until the element's place on the screen is the same twice, so that a click meets it."""
        last, end = None, time.monotonic() + timeout
        while time.monotonic() < end:
            now = element.rect
            if now == last:
                return now
            last = now
            time.sleep(0.05)
        return last

    # Acting on what is found.
    def press(self, role=None, name=None, timeout=None, **more):
        """Through the accessibility action, as a screen reader does."""
        element = self.find(role, name, timeout, **more)
        element.press()
        return element

    def click_on(self, role=None, name=None, timeout=None, button=1, count=1, **more):
        """With the real pointer, once the element has stopped moving."""
        element = self.find(role, name, timeout, **more)
        self.settle(element)
        element.click(button, count)
        return element

    def focus(self, element):
        element.do('SetFocus')
        self.wait(lambda: element.focused, 3, f'the focus on {element!r}', every=0.03)

    def takes_focus(self, element):
        """Qt 6.4 does not report that a control is disabled; but a disabled one takes no focus. The focus is given back."""
        before = self.focused()
        element.do('SetFocus')
        time.sleep(0.1)
        got = element.focused
        if got and before is not None and before != element:
            try:
                before.do('SetFocus')
            except UiError:
                pass  # what had the focus cannot take it by this way
        return got
