"""Windows as the window manager sees them."""
from .errors import UiError
from .vocabulary import matches


class Windows:
    """Part of a session."""

    def xwindows(self):
        """id -> (title, (x, y, width, height)) of the mapped top-level windows."""
        return self.screen.windows()

    def xwindow(self, title):
        there = self.xwindows()
        got = [window for window, (name, _) in there.items() if matches(title, name)]
        if not got:
            raise UiError(f'no window with the title {title!r}: {there}')
        return got[-1]

    def place(self, title, x, y, width, height):
        """Gives a window its place and size, and waits until it has the size and its program knows that."""
        window = self.xwindow(title)
        self.screen.place(window, x, y, width, height)
        self.wait(lambda: self.xwindows().get(window, ('', (0, 0, 0, 0)))[1][2:] == (width, height), 5,
                  f'the size {width}x{height} of {title}')
        self.screen.await_taken(window)

    def activate(self, title):
        """Brings a window to the front, and waits until the keys go to it."""
        self.xdotool('windowactivate', '--sync', self.xwindow(title))
        self.await_front(title)

    def minimise(self, title):
        self.xdotool('windowminimize', '--sync', self.xwindow(title))

    def active_title(self):
        window = self.screen.active()
        return self.screen.title(window) if window else None

    def close_window(self, title):
        self.screen.ask_to_close(self.xwindow(title))
