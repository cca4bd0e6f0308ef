"""Pictures of the window in every state of a turn, light and dark, at the least size and at a wide one. They are kept for a person to
look at; what is tested is that each state is on the screen, in the right brightness, and that nothing lies outside of the window."""
from acp import failing_turn, opening, plan, says, script, thinks, tool, turn, until
from picture_case import Dark, PictureCase, main

ANSWER = '''The parser keeps a **position** and a *line*. Both move in one place, so the count is right after an error too.

## What changed

1. `Parser::advance` is the only place that moves.
2. The error carries the place where it was *seen*, not where it was noticed.

```cpp
Result<Token, ParseError> Parser::next()
{
    const Place seen = m_place;
    return advance() ? Result(m_token) : ParseError{ seen, "unexpected end" };
}
```

> A file without a last line feed gave one line too few.
'''
LONG = 'Find out why the line numbers in our error messages are off by one after a tab, and mend it with a test. ' * 2


class Screenshots(PictureCase):
    def start(self, *steps):
        self.desk.install('grok', script(opening(), *steps))
        self.open_project(self.desk.project('line-counter'))
        self.reads('What should we build?')

    def test_Welcome(self):
        self.open()
        self.reads('Subscription-first')
        self.keep('welcome')

    def test_EmptyTask(self):
        self.start()
        self.keep('empty')

    def test_Streaming(self):
        self.start(turn(thinks('A tab counts as one column.'), tool('call-1', 'Read file', 'completed', path='src/parser.cpp'),
                        tool('call-2', 'Run command', 'in_progress', command='ctest -R Parser'),
                        plan(('Read the parser', 'completed'), ('Write a failing test', 'in_progress'), ('Mend it', 'pending')),
                        says(ANSWER[:200]), until('go')))
        self.prompt(LONG)
        self.reads('Plan · 1/3')
        self.reads('The parser keeps a position')
        self.keep('streaming')

    def test_FinishedTurn(self):
        self.start(turn(thinks('A tab counts as one column.'), tool('call-1', 'Read file', 'completed', path='src/parser.cpp'),
                        tool('call-2', 'Run command', 'failed', command='ctest -R Parser'), says(ANSWER)))
        self.prompt(LONG)
        self.await_status('Ready')
        self.window.click_on('~button', 'Run command')
        self.reads('"command" : "ctest -R Parser"')
        self.keep('finished')

    def test_ErrorBanner(self):
        self.start(failing_turn('The runtime could not reach its service: the connection was refused by the proxy of this network.'))
        self.prompt(LONG)
        self.await_status('Needs attention')
        self.keep('error')


class DarkScreenshots(Dark, Screenshots):
    pass


if __name__ == '__main__':
    main()
