"""The settings window, and the way to what is in it."""
from window_case import WIDE, WindowCase

FARTHEST_NOTCH = 150  # points that the wheel moves the form by, at most


class SettingsCase(WindowCase):
    screen = WIDE

    def open_settings(self):
        self.window.key('Ctrl+,')
        self.window.await_front('=Settings')

    def place(self):
        return next(place for name, place in self.window.xwindows().values() if name == 'Settings')

    def section(self, heading):
        return self.window.find('panel', '=' + heading, showing=False, within=self.window.find('frame', '=Settings', showing=False))

    def see(self, role=None, name=None, heading=None, **more):
        """Turns the wheel until all of the element is in the window, and returns it."""
        if heading:
            more['within'] = self.section(heading)

        element = self.window.find(role, name, showing=False, **more)
        left, top, width, height = self.place()

        def is_in_sight():
            _, above, _, tall = self.window.settle(element)
            beyond = min(0, above - top) or max(0, above + tall - top - height)
            if beyond:
                notches = max(1, abs(beyond) // FARTHEST_NOTCH)
                self.window.scroll(left + width // 2, top + height // 2, notches if beyond > 0 else -notches)
            return not beyond
        self.window.wait(is_in_sight, what=f'{role} {name} to be in sight')
        return element.reload()
