"""What a person sees when something goes wrong, and that nothing of theirs is lost by it."""
from acp import failing_turn, loading, opening, says, script, turn
from window_case import WindowCase, main


class Failure(WindowCase):
    def start(self, *steps):
        self.desk.install('grok', script(*steps))
        self.open_project(self.desk.project())
        self.reads('What should we build?')

    def banner(self, text):
        return self.window.find(('alert', 'notification'), text)

    def test_AFailedPromptShowsABannerAndALineAndCanBeSentAgain(self):
        self.start(opening(), failing_turn('The wheel came off.'))
        self.prompt('roll')
        self.await_status('Needs attention')
        self.reads('Error from Grok: The wheel came off.')
        self.banner('=The wheel came off.')
        self.window.click_on('~button', 'Dismiss')
        self.window.wait_gone(says='=The wheel came off.')
        self.reads('Error from Grok: The wheel came off.')
        self.desk.install('grok', script(loading(), turn(says('Rolling.'))))
        self.prompt('roll again')
        self.reads('Rolling.')
        self.await_status('Ready')

    def test_AnAuthenticationErrorTellsHowToSignIn(self):
        self.start(opening(), failing_turn('401 Unauthorized'))
        self.prompt('hello')
        self.banner('Grok needs you to sign in again. Use the Log in button; your SuperGrok subscription stays in the CLI.')
        self.reads('Error from Grok: 401 Unauthorized')

    def test_ARuntimeThatDiesTellsItsLastWords(self):
        self.start(opening(), [{'expect': 'session/prompt'}, says('Half of the'), {'stderr': 'out of cheese\n'}, {'exit': 3}])
        self.prompt('go on')
        self.await_status('Needs attention')
        self.banner('=out of cheese')
        self.reads('Half of the')

    def test_ARuntimeThatDiesAtTheStartLeavesThePromptInTheTask(self):
        self.start([{'exit': 3}])
        self.prompt('are you there')
        self.await_status('Needs attention')
        self.banner('Grok exited with status 3.')
        self.reads('=are you there')

    def test_AnErrorDoesNotTouchTheDraft(self):
        self.start([{'expect': 'initialize'}, {'waitForFile': 'go'}, {'exit': 1}])
        self.prompt('one')
        self.await_status('Connecting')
        self.write('a draft')
        self.desk.release('go')
        self.await_status('Needs attention')
        self.assertEqual(self.composer.text, 'a draft')

    def test_WithoutAnyRuntimeThePersonIsToldAndCanLookAgain(self):
        self.open_project(self.desk.project())
        self.reads('Connect a subscription provider')
        self.desk.install('grok', script(opening(), turn(says('Here I am.'))))
        self.window.click_on('~button', '=Check Again')
        self.reads('What should we build?')
        self.prompt('hello')
        self.reads('Here I am.')


if __name__ == '__main__':
    main()
