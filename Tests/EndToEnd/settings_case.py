"""The settings window, and the way to what is in it."""
from window_case import WIDE, WindowCase


class SettingsCase(WindowCase):
    screen = WIDE

    def open_settings(self):
        self.window.key('Ctrl+,')
        self.window.wait_window('=Settings')
        self.window.wait(lambda: self.window.active_title() == 'Settings', what='the settings to be in front')

    def place(self):
        return next(place for name, place in self.window.xwindows().values() if name == 'Settings')

    def section(self, heading):
        return self.window.find('panel', '=' + heading, showing=False)

    def see(self, role=None, name=None, heading=None, **more):
        """Turns the wheel until all of the element is in the window, and returns it."""
        if heading:
            more['within'] = self.section(heading)

        def look():
            element = self.window.find(role, name, showing=False, **more)
            left, top, width, height = self.place()
            _, above, _, tall = self.window.settle(element)
            if above < top:
                self.window.scroll(left + width // 2, top + height // 2, -1)
            elif above + tall > top + height:
                self.window.scroll(left + width // 2, top + height // 2, 1)
            else:
                return element
            return None
        return self.window.wait(look, what=f'{role} {name} to be in sight')
