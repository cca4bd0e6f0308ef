"""Things that are dragged onto the window from another one."""
import os

from acp import opening, script
from window_case import SCREENSHOTS, WindowCase, main

DRAG_SOURCE = os.environ.get('TESSARIN_DRAG_SOURCE', '')
SIZE = (980, 640)


class Dragging(WindowCase):
    def source(self, *arguments):
        """A window beside the program's with these things in it."""
        self.dragged = self.window.launch([DRAG_SOURCE, '1100', '300', *arguments])
        self.window.wait(lambda: any(name.startswith('drag source') for name, _ in self.window.xwindows().values()), what='its window')

    def drag_to(self, x, y, over=lambda: None):
        """Draws what lies in the source to that place of the screen, and lets it go there; what the source was told."""
        told = len(self.dragged.output.split())
        self.window.drag((1130, 330), (x, y), over)
        self.window.wait(lambda: len(self.dragged.output.split()) > told, what='the end of the drag')
        return self.dragged.output.split()[-1]

    def middle_of(self, element):
        x, y, width, height = element.rect
        return x + width // 2, y + height // 2

    def keep(self, name):
        self.window.still(timeout=2)
        self.window.shot(os.path.join(SCREENSHOTS, name), of=(0, 0, *SIZE))

    def test_AFolderBecomesAProjectAndTheWindowSaysSoBefore(self):
        project = self.desk.project()
        self.desk.install('grok', script(opening()))
        self.open(SIZE)
        self.reads('Subscription-first')
        self.source(project)
        self.assertFalse(self.is_read('Open as a project'))

        def over():
            self.reads('Open as a project')
            self.keep('dragging-folder.png')
        self.assertEqual(self.drag_to(600, 400, over), 'taken')
        self.reads('What should we build?')
        self.reads(project)
        self.window.wait_gone(says='Open as a project')

    def test_SeveralFoldersBecomeProjectsAndTheFirstIsShown(self):
        projects = [self.desk.project(name) for name in ('alpha', 'beta')]
        self.desk.install('grok', script(opening()))
        self.open(SIZE)
        self.reads('Subscription-first')
        self.source(*projects, os.path.join(projects[0], 'notes.txt'))
        self.drag_to(600, 400, lambda: self.reads('Open 2 projects'))
        self.reads(projects[0])
        self.window.wait(lambda: os.path.exists(self.desk.tree_file) and len(self.desk.stored()) == 2, what='both projects in the store')
        self.assertEqual([one['path'] for one in self.desk.stored()], projects)

    def test_AFolderOnTheComposerBecomesAProjectToo(self):
        one, other = self.desk.project('alpha'), self.desk.project('beta')
        self.desk.install('grok', script(opening()))
        self.open_project(one, size=SIZE)
        self.reads('What should we build?')
        self.source(other)
        self.assertEqual(self.drag_to(*self.middle_of(self.composer), lambda: self.reads('Open as a project')), 'taken')
        self.reads(other)
        self.assertEqual(self.composer.text, '')

    def test_TextIsInsertedWhereItIsDropped(self):
        self.desk.install('grok', script(opening()))
        self.open_project(self.desk.project(), size=SIZE)
        self.write('two')
        self.source('--text', 'one ')
        x, y, _, height = self.composer.rect
        self.assertEqual(self.drag_to(x + 17, y + height // 2, lambda: self.reads('Insert into the message')), 'taken')
        self.window.wait(lambda: self.composer.text == 'one two', what='the text before that of the person')
        self.assertTrue(self.composer.focused)

    def test_AFileOnTheComposerIsItsPath(self):
        project = self.desk.project()
        self.desk.install('grok', script(opening()))
        self.open_project(project, size=SIZE)
        file = os.path.join(project, 'notes.txt')
        self.source(file)
        self.assertEqual(self.drag_to(*self.middle_of(self.composer), lambda: self.reads('Insert into the message')), 'taken')
        self.window.wait(lambda: self.composer.text == file, what='the path of the file')

    def test_WhatIsNoFolderIsRefusedElsewhere(self):
        project = self.desk.project()
        self.desk.install('grok', script(opening()))
        self.open_project(project, size=SIZE)
        self.reads('What should we build?')
        self.source('--text', 'hello', os.path.join(project, 'notes.txt'))
        self.assertEqual(self.drag_to(600, 200), 'refused')
        self.assertEqual(self.composer.text, '')


if __name__ == '__main__':
    main()
