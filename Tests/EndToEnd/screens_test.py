"""The main screens with nothing, the usual and far too much in them, at three sizes, light and dark. The pictures are for a person to look
at; what is tested is that nothing lies outside of the window, that no row is wider than its column, and that every control can be pressed."""
import os

from acp import failing_turn, opening, plan, says, script, thinks, tool, turn, until
from asking import asks
from desk import entry, task
from picture_case import PictureCase, main
from window_case import SCREENSHOTS, TITLE

SIZES = ((980, 640), (1180, 760), (2560, 1440))
WORD = 'unbreakable' * 455  # 5,000 characters without a blank
RIGHT_TO_LEFT = 'מצא למה מספרי השורות בהודעות השגיאה שגויים באחת אחרי tab, ותקן את זה עם בדיקה.'
EMOJI = '🎉 Done 👩‍👩‍👧‍👦 with flags 🇩🇪🇯🇵 and hands 👍🏽 — all 3️⃣ of them ✅'
ANSWER = f'''The parser keeps a **position** and a *line*. Both move in one place, so the count is right after an error too; see
[the guide](https://example.org/guide).

## What changed

1. `Parser::advance` is the only place that moves.
2. The error carries the place where it was *seen*:
   - a nested item, with a second line that is long enough to be wrapped at the least size of the window
     - and one below it
3. Nothing else.

- [x] Write a failing test
- [ ] Run them all

> A file without a last line feed gave one line too few.
>
> > Said before.

| case | before | after |
|:---|---:|:---:|
| a tab | 2 | 1 |
| a line feed | 1 | 1 |

```cpp
// The place of the token, not of the reader.
Result<Token, ParseError> Parser::next()
{{
    const Place seen = m_place;
    return advance() ? Result(m_token) : ParseError{{ seen, "unexpected end", 42 }};
}}
```

{RIGHT_TO_LEFT}

- {RIGHT_TO_LEFT}

{EMOJI}
'''


class Screens(PictureCase):
    screen = SIZES[-1]

    def keep(self, state, bring=lambda: None):
        """A picture at each size, after what a change of size undoes has been brought about again."""
        for width, height in SIZES:
            place = (0, 0, width, height)
            self.window.place(TITLE, *place)
            self.window.move(width - 4, height // 2)
            bring()
            self.window.still(place, timeout=3)
            self.window.shot(os.path.join(SCREENSHOTS, f'screen-{state}-{self.appearance}-{width}x{height}.png'), of=place)
            self.assert_brightness(self.window.brightness(place))
            # What was not drawn at this size has one colour.
            self.assertGreater(self.window.colours((width // 2, 0, width - width // 2, height // 2)), 3)
            self.assertGreater(self.window.colours((0, height // 2, width, height - height // 2)), 3)
            self.assert_everything_is_inside(width, height)

    def assert_everything_is_inside(self, width, height):
        found = self.window.find_all(('push button', 'label', 'text', 'list item', 'link', 'menu bar'))
        self.window.load_more(found, 'rects')
        for element in found:
            x, y, across, down = element.rect
            if across <= 0 or not element.name:
                continue
            self.assertGreaterEqual(x, 0, element)
            self.assertLessEqual(x + across, width, element)
            if element.role == 'push button' and 'showing' in element.states:
                self.assertGreater(min(y + down, height) - max(y, 0), 0, element)

    def project(self, name='line-counter', *tasks):
        return self.desk.project(name), list(tasks) or [task()]

    def test_TheWelcomeScreen(self):
        self.open()
        self.reads('Subscription-first')
        self.keep('welcome')

    def test_WithoutARuntime(self):
        self.open_project(self.project())
        self.reads('Connect a subscription provider')
        self.keep('install')

    def test_AnEmptyTask(self):
        self.desk.install('grok', script(opening()))
        self.open_project(self.project())
        self.reads('What should we build?')
        self.keep('empty')

    def test_AUsualTask(self):
        self.desk.install('grok', script(opening(), turn(
            thinks('A tab counts as one column.'), tool('call-1', 'Read file', 'completed', path='src/parser.cpp'),
            tool('call-2', 'Run command', 'failed', command='ctest -R Parser'),
            plan(('Read the parser', 'completed'), ('Write a failing test', 'in_progress'), ('Mend it', 'pending')),
            says(ANSWER), until('go'))))
        self.open_project(self.project(), self.project('website', task('Explain this project'), task('Add a new feature')))
        self.prompt('Find out why the line numbers in our error messages are off by one after a tab, and mend it with a test.')
        self.reads('Plan · 1/3')
        self.reads('all 3')
        self.keep('usual')
        self.keep('usual-above', lambda: self.window.scroll(700, 200, -12))

    def test_WordsThatNothingBreaks(self):
        self.desk.install('grok', script(opening(), failing_turn(
            WORD, plan((WORD, 'in_progress'), ('Short', 'pending')), says('# ' + WORD + '\n\n- ' + WORD + '\n\n| a |\n|---|\n| ' + WORD + ' |\n'), until('go'))))
        history = [entry('user', WORD), entry('assistant', WORD), entry('system', WORD), entry('thought', WORD),
                   entry('tool', WORD, title=WORD, status=WORD), entry('user', 'Now the ' + WORD)]
        self.open_project((self.desk.project('name-of-200-' * 16 + 'letters!'), [task(WORD, history)]))
        self.prompt('go')
        self.window.click_on('~button', 'Plan · 0/2')
        self.keep('words')
        self.window.scroll(800, 200, -60)
        self.desk.release('go')  # the list goes to its end again
        self.await_status('Needs attention')
        self.keep('words-after')

    def test_APermissionOfFarTooMuch(self):
        choices = [{'optionId': str(number), 'name': f'Allow {WORD[:number * 300]}', 'kind': 'allow_always'} for number in range(6)]
        self.desk.install('grok', script(opening(), turn(asks(*choices, title=WORD, command=(WORD + '\n') * 20))))
        self.open_project(self.project())
        self.prompt('go')
        self.window.find('~button', '=Reject')
        self.keep('permission')

    def test_ThreeHundredProjects(self):
        self.desk.install('grok', script(opening()))
        projects = [self.project(f'project-{number:03}', task(f'Task of {number}')) for number in range(299)]
        self.open_project(*projects, self.project('last', *[task(f'{RIGHT_TO_LEFT} {number} {EMOJI}') for number in range(30)]))
        self.reads('What should we build?')
        self.keep('projects')

    def test_AHundredThousandCharactersArePasted(self):
        self.desk.install('grok', script(opening()))
        self.open_project(self.project())
        self.reads('What should we build?')
        self.window.click_on('~input', '=Message')
        text = 'A line of a log that goes on and on until it ends.\n' * 2000
        self.window.paste(text)
        self.window.wait(lambda: len(self.composer.text) == len(text), what='the whole text in the composer')
        self.assertLess(self.window.find('~button', '=Send').rect[1] - self.window.find('~button', '=Open Project').rect[1], 60)
        self.window.type('end')
        self.window.wait(lambda: self.composer.text.endswith('end'), what='the keys behind it')
        self.keep('pasted')

    def test_RightToLeftAndEmojiInTheComposer(self):
        self.desk.install('grok', script(opening(), turn(says(RIGHT_TO_LEFT + '\n\n' + EMOJI))))
        self.open_project(self.project())
        self.prompt(RIGHT_TO_LEFT)
        self.await_status('Ready')
        self.write(f'{RIGHT_TO_LEFT}\nLeft to right again\n{EMOJI}')
        self.keep('right-to-left')


if __name__ == '__main__':
    main()
