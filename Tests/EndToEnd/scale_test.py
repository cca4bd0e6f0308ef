"""The window on a screen of twice the density."""
import os

from acp import opening, plan, says, script, tool, turn, until
from window_case import SCREENSHOTS, TITLE, WindowCase, main


class Scale(WindowCase):
    screen = (2400, 1600)

    def start(self, factor):
        self.window.env['QT_SCALE_FACTOR'] = str(factor)
        self.desk.install('grok', script(opening(), turn(
            tool('call-1', 'Read file', 'completed', path='a'), plan(('Read', 'completed'), ('Mend', 'pending')),
            says('A **bold** answer, and `code`.\n\n```sh\nls # all of it\n```\n'), until('go'))))
        self.open_project(self.desk.project())
        self.prompt('go')
        self.reads('Plan · 1/2')
        self.reads('all of it')
        self.window.place(TITLE, 0, 0, 1180 * factor, 760 * factor)
        self.window.still(timeout=3)
        self.window.shot(os.path.join(SCREENSHOTS, f'scale-{factor}.png'), of=(0, 0, 1180 * factor, 760 * factor))

    def test_TheWindowIsTwiceAsLargeInPixels(self):
        self.start(2)
        self.assertEqual(self.window.xwindows()[self.window.xwindow(TITLE)][1][2:], (2360, 1520))
        width, height, rgb = self.window.image((0, 0, 2360, 1520))
        differing = sum(rgb[at:at + 3] != rgb[at + 3:at + 6] for row in range(0, height, 2)
                        for at in range(row * width * 3, (row + 1) * width * 3 - 6, 6))
        self.assertGreater(differing, 2000, 'pairs of pixels that are not one pixel blown up')


if __name__ == '__main__':
    main()
