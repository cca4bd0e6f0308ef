"""Tests that keep pictures of the window for a person to look at, light and dark, at the least size and at a wide one. What is tested is
that a state is on the screen, in the right brightness, and that nothing lies outside of the window."""
import os

from window_case import LEAST, SCREENSHOTS, TITLE, WIDE, WindowCase, main

__all__ = ['Dark', 'PictureCase', 'main']


class PictureCase(WindowCase):
    screen = WIDE
    sizes = (LEAST, WIDE)

    def keep(self, state, bring=lambda: None, leave=lambda: None):
        """A picture at each size. What does not outlast a change of size is brought before and left after each one."""
        for width, height in self.sizes:
            self.window.place(TITLE, 0, 0, width, height)
            bring()
            self.window.move(width - 4, height // 2)
            self.window.still((0, 0, width, height), timeout=3)
            name = f'{state}-{self.appearance}-{width}x{height}.png'
            self.window.shot(os.path.join(SCREENSHOTS, name), of=(0, 0, width, height))
            self.assertGreater(self.window.colours((0, 0, width, height)), 20)
            self.assert_brightness(self.window.brightness((0, 0, width, height)))
            self.assert_everything_is_inside(width, height)
            leave()

    def assert_brightness(self, mean):
        # What lies behind a sheet is darker than the page alone.
        self.assertGreater(mean, 120 if self.is_covered() else 200)

    def is_covered(self):
        return self.window.exists('dialog') or self.window.exists('~button', '=Reject')

    def assert_everything_is_inside(self, width, height):
        found = self.window.find_all(('push button', 'label', 'text'))
        self.window.load_more(found, 'rects')
        for element in found:
            x, _, across, _ = element.rect
            if across > 0 and element.name:
                self.assertGreaterEqual(x, 0, element)
                self.assertLessEqual(x + across, width, element)


class Dark:
    """Goes in front of a PictureCase."""
    appearance = 'dark'

    def assert_brightness(self, mean):
        self.assertLess(mean, 70)
