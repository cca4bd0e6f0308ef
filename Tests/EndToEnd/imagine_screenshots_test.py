"""Pictures of the gallery of Imagine in every state, light and dark, from the least size to that of a large screen. They are kept for a
person to look at; what is tested is that each state is on the screen, in the right brightness, and that nothing lies outside of the window."""
import math

from acp import opening, says, script, turn, until
from asking import ALWAYS, NO, ONCE, answered, asks
from library import Library, png
from picture_case import Dark, PictureCase, main
from window_case import LEAST

PROMPTS = ['A mosaic harbour at dawn, small tesserae in petrol and gold, calm water', 'Slow flight over a paper city, soft light',
           'Isometric lighthouse on basalt, cut-paper style', 'Contour lines of an imaginary island, ink on warm paper, no text',
           'Terracotta dunes under a violet sky, wide angle', 'Glass tiles in a slow wave, seen from above, looping',
           'Donaudampfschifffahrtselektrizitätenhauptbetriebswerkbauunterbeamtengesellschaft', '夜明けの港、小さなモザイクのタイル',
           'Fog', 'A very long prompt that goes on and on about light and water and stone and how they meet. ' * 4]
VIDEOS = (1, 5)
LARGE = (2560, 1440)


def waves(red, green, blue, turns):
    """A picture in shades of a colour."""
    def colour(x, y):
        shade = 0.62 + 0.19 * math.sin(turns * 6.28 * (x + 0.4 * y)) + 0.19 * math.cos(turns * 4.1 * (y - 0.3 * x))
        return red * shade, green * shade, blue * shade
    return png(300, 200, colour)


PICTURES = [waves(240, 190, 90, 1), waves(20, 110, 130, 2), waves(150, 200, 190, 1.4), waves(230, 205, 165, 3), waves(230, 110, 80, 0.8)]


class ImagineScreenshots(PictureCase):
    screen = LARGE

    def enter(self, *steps, creations=0):
        if steps:
            self.desk.install('grok', script(opening(), *steps))
        if creations:
            library = Library(self.desk)
            for number in range(creations):
                place = number % len(PROMPTS)
                kind = {'kind': 'video', 'extension': 'mp4'} if place in VIDEOS else {}
                library.add(PROMPTS[place], PICTURES[place % len(PICTURES)], age=240 * 4 ** number if number < 9 else 86400.0 * number, **kind)
            library.write()
        self.open()
        self.window.click_on('~button', '=Imagine')
        self.reads('Generate images and videos with your Grok subscription')

    def write(self, text, newline='Shift+Return'):
        field = self.window.find('~input', '=Prompt')
        self.window.click_on('~input', '=Prompt')
        self.window.wait(lambda: field.focused, what='the focus in the prompt')
        self.window.type(text, newline=newline)

    def test_Empty(self):
        self.enter(turn())
        self.reads('Create something new')
        self.keep('imagine-empty')

    def test_Full(self):
        self.enter(turn(), creations=60)
        self.reads('60 creations')
        self.write('Isometric lighthouse on basalt, cut-paper style')
        self.sizes = (LEAST, (1180, 760), LARGE)
        self.keep('imagine-full')

    def test_Generating(self):
        self.enter(turn(says('Composing the harbour, then the tesserae, one by one'), until('go')), creations=6)
        self.write(PROMPTS[0])
        self.window.key('Return')
        self.reads('Composing the harbour')
        self.window.find('~button', '=Stop generation')
        self.keep('imagine-generating')

    def test_LongPrompt(self):
        self.enter(turn(), creations=3)
        self.write('First line\nsecond line\nthird line\nfourth line\nfifth line')
        self.keep('imagine-long-prompt')

    def test_KeyboardFocusAndMenu(self):
        self.enter(turn(), creations=6)
        self.window.click_on('list item', PROMPTS[0])
        self.window.key('Right', 'Left')
        self.keep('imagine-menu', bring=self.open_menu, leave=lambda: self.window.key('Escape'))

    def open_menu(self):
        self.window.key('Shift+F10')
        self.window.find('~menu item', '=Move to Trash')

    def test_Permission(self):
        self.enter(turn(asks(ONCE, ALWAYS, NO, title='Write harbour.png', path='harbour.png'), answered()), creations=6)
        self.write(PROMPTS[0])
        self.window.key('Return')
        self.reads('Agent needs permission')
        self.keep('imagine-permission')

    def test_MissingRuntime(self):
        self.enter(creations=3)
        self.reads('Connect a subscription provider')
        self.keep('imagine-install')


    # Pictures of people's making may be dark in a light window, and the other way round.
    def assert_brightness(self, mean):
        self.assertGreater(mean, 80 if self.is_covered() else 150)


class DarkImagineScreenshots(Dark, ImagineScreenshots):
    def assert_brightness(self, mean):
        self.assertLess(mean, 100)


if __name__ == '__main__':
    main()
