"""Windows as the window manager sees them."""
import subprocess

from .errors import UiError
from .vocabulary import matches


class Windows:
    """Part of a session."""

    def xwindows(self):
        """id -> (title, (x, y, width, height)) of the mapped top-level windows."""
        out = {}
        found = subprocess.run(['xdotool', 'search', '--onlyvisible', '--name', '.+'], env=self.env, capture_output=True, text=True)
        for window in found.stdout.split():
            try:
                name = self.xdotool('getwindowname', window)
                place = dict(line.split('=') for line in self.xdotool('getwindowgeometry', '--shell', window).splitlines())
                out[int(window)] = (name, tuple(int(place[key]) for key in ('X', 'Y', 'WIDTH', 'HEIGHT')))
            except UiError:
                pass  # it went away meanwhile
        return out

    def xwindow(self, title):
        there = self.xwindows()
        got = [window for window, (name, _) in there.items() if matches(title, name)]
        if not got:
            raise UiError(f'no window with the title {title!r}: {there}')
        return got[-1]

    def place(self, title, x, y, width, height):
        """Gives a window its place and size, and waits until it has the size."""
        window = self.xwindow(title)
        self.xdotool('windowsize', window, width, height)
        self.xdotool('windowmove', window, x, y)
        self.wait(lambda: self.xwindows().get(window, ('', (0, 0, 0, 0)))[1][2:] == (width, height), 5,
                  f'the size {width}x{height} of {title}')

    def activate(self, title):
        self.xdotool('windowactivate', '--sync', self.xwindow(title))

    def minimise(self, title):
        self.xdotool('windowminimize', '--sync', self.xwindow(title))

    def active_title(self):
        try:
            return self.xdotool('getwindowname', self.xdotool('getactivewindow'))
        except UiError:
            return None

    def close_window(self, title):
        self.screen.ask_to_close(self.xwindow(title))
