"""What agents and people write, as it is shown: pictures are never fetched, links lead where they say, texts are selected and copied."""
import os
import urllib.error
import urllib.request

from acp import failing_turn, opening, plan, says, script, thinks, tool, turn, until
from asking import asks
from desk import entry, task
from watching import OpenWatch, WebServer
from window_case import SCREENSHOTS, WindowCase, main

TINY = 'iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg=='


class Content(WindowCase):
    def serve(self):
        self.web = WebServer()
        self.addCleanup(self.web.close)
        self.picture = os.path.join(self.desk.folder, 'picture.png')
        with open(self.picture, 'wb') as file:
            file.write(b'\x89PNG\r\n\x1a\n')
        self.watch = OpenWatch(self.picture)
        self.addCleanup(self.watch.close)

    def pictures(self, where):
        """Every way that a text could show a picture."""
        web, file = f'{self.web.address}/{where}', 'file://' + self.picture
        return ' '.join(f'![a]({source}) <img src="{source}"> <img src=\'{source}\'/> <object data="{source}"></object> '
                        f'<p style="background-image:url({source})">b</p>' for source in (web, file, f'data:image/png;base64,{TINY}'))

    def test_WhatSeesAFetchSeesOne(self):
        self.serve()
        with self.assertRaises(urllib.error.HTTPError):
            urllib.request.urlopen(self.web.address + '/seen', timeout=5)
        self.assertEqual(self.web.requests, ['/seen'])
        self.assertFalse(self.watch.was_opened())
        with open(self.picture, 'rb') as file:
            file.read()
        self.assertTrue(self.watch.was_opened())

    def test_NoPictureIsFetchedWhereverATextIsShown(self):
        self.serve()
        table = '\n\n| head |\n|---|\n| ' + self.pictures('cell').replace('|', '') + ' |\n\n- ' + self.pictures('item') \
            + '\n\n> ' + self.pictures('quote') + '\n\n# ' + self.pictures('heading') + '\n\n```html\n' + self.pictures('code') + '\n```\n\n' \
            + f'![ref][r]\n\n[r]: {self.web.address}/reference\n\n<img src="{self.web.address}/block">\n'
        history = [entry('assistant', self.pictures('answer') + table), entry('user', 'First. ' + self.pictures('user')),
                   entry('thought', self.pictures('thought')), entry('system', self.pictures('note')),
                   entry('tool', self.pictures('output'), title='Read ' + self.pictures('title'), status='completed')]
        self.desk.install('grok', script(opening(), failing_turn(
            self.pictures('failure'), says(self.pictures('streamed') + table), thinks(self.pictures('thinks')),
            tool('call-1', self.pictures('tool'), 'completed', command=self.pictures('command')),
            plan((self.pictures('step'), 'in_progress')), until('go'))))
        self.open_project((self.desk.project('<b>aurora<img src="x">'), [task(self.pictures('task'), history)]))
        self.reads('Read !')
        self.prompt('Go. ' + self.web.address + '/prompt.png')
        self.reads('Plan · 0/1')
        self.window.click_on('~button', 'Plan · 0/1')
        for element in self.window.find_all('~button', 'Reasoning'):
            element.press()
        self.desk.release('go')
        banner = self.window.find('~button', '=Dismiss')
        self.window.move(banner.rect[0] - 200, banner.rect[1] + 10)  # its tool tip
        self.window.move(300, 130)
        self.window.still(timeout=3)
        self.window.shot(os.path.join(SCREENSHOTS, 'content-pictures.png'))
        self.assertEqual(self.web.requests, [])
        self.assertFalse(self.watch.was_opened(), 'a picture of this machine was read')

    def test_NoPictureIsFetchedWhereAnAgentAsks(self):
        self.serve()
        self.desk.install('grok', script(opening(), turn(asks(
            {'optionId': 'yes', 'name': self.pictures('choice'), 'kind': 'allow_once'}, title=self.pictures('subject'),
            command=self.pictures('detail')))))
        self.open_project(self.desk.project())
        self.prompt('Go')
        self.window.find('~button', '=Reject')
        self.window.still(timeout=3)
        self.assertEqual(self.web.requests, [])
        self.assertFalse(self.watch.was_opened(), 'a picture of this machine was read')

    def browse(self):
        """A browser of this desk that writes down what it is asked to open."""
        self.opened = os.path.join(self.desk.folder, 'opened')
        with open(os.path.join(self.desk.runtimes, 'xdg-open'), 'w') as file:
            file.write(f'#!/bin/sh\nprintf "%s\\n" "$1" >> "{self.opened}"\n')
        os.chmod(file.name, 0o755)

    def addresses(self):
        if not os.path.exists(self.opened):
            return []
        with open(self.opened) as file:
            return file.read().split()

    def show(self, *entries):
        self.desk.install('grok', script(opening()))
        self.open_project((self.desk.project(), [task('A task', entries)]))

    def test_ALinkShowsWhereItLeadsAndIsOpenedByThePointer(self):
        self.browse()
        self.show(entry('assistant', '[The documentation of it](https://example.org/a%20b?c=d#e)'))
        link = self.window.find('link', '=The documentation of it')
        x, y, width, height = link.rect
        self.assertEqual(self.addresses(), [])
        self.window.move(x + width // 2, y + height // 2)
        self.reads('https://example.org/a%20b?c=d#e')
        self.window.click(x + width // 2, y + height // 2)
        self.window.wait(lambda: self.addresses() == ['https://example.org/a%20b?c=d#e'], what='the address in the browser')

    def test_ALinkShowsWhereItLeadsAndIsOpenedByKeyAndByAScreenReader(self):
        self.browse()
        self.show(entry('assistant', 'A [first](https://example.org/one), [not one](file:///etc/passwd), a [second](mailto:someone@example.org).'))
        self.assertFalse(self.window.exists('link', '=not one'))
        for name, address in (('first', 'https://example.org/one'), ('second', 'mailto:someone@example.org')):
            link = self.window.find('link', '=' + name)
            self.assertEqual(link.description, address)
            self.window.wait(lambda: self.tab_reaches(link), what=f'the focus on {name}')
            self.window.find('tool tip', address)
            self.window.key('Return')
            self.window.wait(lambda: self.addresses()[-1:] == [address], what='the address in the browser')
            self.window.press('link', '=' + name)
            self.window.wait(lambda: self.addresses()[-2:] == [address] * 2, what='the address in the browser again')

    def tab_reaches(self, link):
        if not link.reload().focused:
            self.window.key('Tab')
        return link.reload().focused

    def test_APersonSelectsAndCopiesAcrossParagraphs(self):
        self.show(entry('assistant', 'The first paragraph.\n\n- an item\n- another\n\nThe last paragraph.'))
        first, last = (self.window.find('text', says=words) for words in ('The first paragraph.', 'The last paragraph.'))
        end = last.rect[0] + last.rect[2] - 10, last.rect[1] + last.rect[3] // 2
        self.window.drag((first.rect[0] + 1, first.rect[1] + first.rect[3] // 2), end,
                         lambda: self.window.shot(os.path.join(SCREENSHOTS, 'content-selection.png')))
        self.window.key('Ctrl+C')
        whole = 'The first paragraph.\n\n- an item\n- another\n\nThe last paragraph.'
        self.window.wait(lambda: self.window.clipboard() == whole, what='the whole in the clipboard')


if __name__ == '__main__':
    main()
