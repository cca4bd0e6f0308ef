"""Pictures of what quitting asks, and of the switch of the notifications."""
from acp import says, turn, until
from begun import Begun
from picture_case import Dark, PictureCase, main

TITLE = 'A task with a title that is as long as one can be, so'


class Light(Begun, PictureCase):
    def test_TheQuestionBeforeAQuit(self):
        self.open_begun(TITLE, turn(says('Half an answer.'), until('go')))
        self.prompt('mend it')
        self.reads('Half an answer.')
        self.keep('quit-question', lambda: self.bring('Ctrl+Q'), lambda: self.leave())

    def bring(self, key):
        self.window.key(key)
        self.window.find('dialog', 'Quit tessarin?')

    def leave(self):
        self.window.key('Escape')
        self.window.wait_gone('dialog', 'Quit tessarin?')

    def test_TheSwitchOfTheNotifications(self):
        self.open_begun('Mend it')
        self.keep('view-menu', lambda: self.window.click_on('~menu bar item', '=View'), lambda: self.window.key('Escape'))


class DarkPictures(Dark, Light):
    pass


if __name__ == '__main__':
    main()
