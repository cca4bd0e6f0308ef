"""The settings of the routing and of the runtimes: where the programs are, their models, their state, signing in."""
import json
import os

from acp import failing_turn, opening, says, script, turn, until
from dialects import claude_script, codex_opening, codex_says, codex_script, codex_turn
from settings_case import SettingsCase
from window_case import SCREENSHOTS, TITLE, main

ROUTING, GROK, CODEX, KIMI, GLM, CLAUDE = ('Model Routing', 'Grok Build CLI', 'ChatGPT / Codex', 'Kimi Code', 'GLM Coding Plan',
                                           'Claude Code')
HEADINGS = [ROUTING, GROK, CODEX, KIMI, GLM, CLAUDE, 'How billing works', 'Software Updates', 'Android Remote']
TEXTS = {
    ROUTING: ['Default', 'Use Grok first, then hand off across the installed subscription runtimes only when an allowance is exhausted.',
              'Automatic handoff happens only after a provider reports an exhausted allowance. Authentication, network, and runtime errors '
              'do not trigger a switch.'],
    GROK: ['Leave blank to search ~/.grok/bin, Homebrew, and your PATH.', 'Not installed'],
    CODEX: ['Detects Codex inside the ChatGPT Mac app, Homebrew, and your PATH.', 'Not installed'],
    KIMI: ['Uses the official Kimi Code ACP runtime and your Kimi membership. Pay-per-use API-key variables are removed.',
           'Install: curl -fsSL https://code.kimi.com/kimi-code/install.sh | bash', 'Not installed'],
    GLM: ['The model must begin with zai-coding-plan/glm-. This prevents fallback to another OpenCode provider or metered API.',
          'Experimental research connector. tessarin speaks ACP only to the official OpenCode runtime. OpenCode stores the Z.AI Coding Plan '
          'key; tessarin never reads or uploads it.', 'Install: curl -fsSL https://opencode.ai/install | bash', 'OpenCode not installed'],
    CLAUDE: ["Experimental research connector using Claude Code's documented streaming and permission protocol. API-key, custom-endpoint, "
             'Bedrock, Vertex, and Foundry overrides are removed so the local Claude login remains authoritative.',
             'Claude Code may account non-interactive Agent SDK usage separately inside your subscription. Check your current Claude plan '
             'limits before relying on automatic handoff.', 'Install: curl -fsSL https://claude.ai/install.sh | bash', 'Not installed'],
    'How billing works': [
        'tessarin is free. Grok Build uses SuperGrok, Codex uses ChatGPT, Kimi Code uses Kimi membership, OpenCode uses the configured '
        'Z.AI Coding Plan credential, and Claude Code uses its Claude login. tessarin does not provide or resell model access.'],
}
MODEL_RULE = TEXTS[GLM][0]
SIGN_IN = {GROK: 'Log in with SuperGrok', CODEX: 'Log in with ChatGPT', KIMI: 'Log in with Kimi', GLM: 'Set up Z.AI Plan',
           CLAUDE: 'Log in with Claude'}


class RuntimesCase(SettingsCase):
    def setUp(self):
        super().setUp()
        self.tools = os.path.join(self.desk.folder, 't')
        os.makedirs(self.tools)

    def tool(self, name, lines='echo 1'):
        """A program that the search would not find."""
        path = os.path.join(self.tools, name)
        with open(path, 'w') as file:
            file.write('#!/bin/sh\n' + lines + '\n')
        os.chmod(path, 0o755)
        return path

    def paste_folder(self):
        """Where the keys go, the folder of the tools. It comes as one, so that nothing that stands under a part of the path is taken for
        the program."""
        self.window.paste(self.tools + '/')

    def stored(self, key):
        """As it stands on disk."""
        try:
            with open(os.path.join(self.desk.home, '.config', 'tessarin', 'preferences.json')) as file:
                return json.load(file).get(key)
        except OSError:
            return None

    def await_stored(self, key, value):
        self.window.wait(lambda: self.stored(key) == value, what=f'{key} to be stored as {value!r}, and not {self.stored(key)!r}')

    def field(self, heading, index=0):
        names = {GLM: ('Auto-detect OpenCode', 'zai-coding-plan/glm-4.7'),
                 CLAUDE: ('Auto-detect', 'sonnet, opus, haiku, or a Claude model ID')}.get(heading, ('Auto-detect',))
        return self.see('~input', '=' + names[index], heading)

    def button(self, heading, name):
        return self.see('push button', '=' + name, heading)

    def await_state(self, heading, label):
        self.window.find('label', '=' + label, showing=False, within=self.section(heading))

    def has(self, heading, role, name):
        self.see('push button', '=Refresh', heading)
        return self.window.exists(role, '=' + name, within=self.section(heading))

    def keep(self, state, size):
        left, top, width, height = self.place()
        self.window.move(left + width + 20, top + height // 2)
        self.window.still((left, top, width, height), timeout=3)
        self.window.shot(os.path.join(SCREENSHOTS, f'{state}-{self.appearance}-{size[0]}x{size[1]}.png'), of=(left, top, width, height))
        self.assertGreater(self.window.colours((left, top, width, height)), 20)
        found = self.window.find_all(('push button', 'label', 'text', 'radio button'), within=self.window.find('frame', '=Settings'))
        self.window.load_more(found, 'rects')
        for element in found:
            x, _, across, _ = element.rect
            if across > 0:
                self.assertTrue(left <= x and x + across <= left + width, element)


class TheForm(RuntimesCase):
    def test_TheHeadingsStandInTheirOrder(self):
        self.open()
        self.open_settings()
        seen = self.window.find_all('heading', showing=False, within=self.window.find('frame', '=Settings'))
        seen = [one for one in seen if one.name in HEADINGS]
        self.assertEqual(HEADINGS, [one.name for one in sorted(seen, key=lambda one: one.rect[1])])

    def test_TheTextsStandToTheLetter(self):
        self.open()
        self.open_settings()
        for heading, texts in TEXTS.items():
            self.see('heading', '=' + heading, heading)
            self.see(('label', 'text'), heading=heading, says='=' + texts[-1])
            seen = self.window.find_all(('label', 'text'), within=self.section(heading))
            said = [one.text if one.name == 'Install command' else one.name for one in seen if one.name == 'Install command'
                    or not one.has('editable')]
            self.assertEqual(texts, [text for text in said if text != heading], heading)

    def test_AScreenReaderCanNameAndPressEverything(self):
        self.desk.install('grok', script(opening()))
        self.open()
        self.open_settings()
        self.await_state(GROK, '9.9.9')
        for heading in HEADINGS:
            self.see('heading', '=' + heading, heading)
            self.assertEqual([], self.window.audit())
        chooser = self.button(CODEX, 'Choose…')
        self.assertEqual('Choose the codex executable', chooser.description)
        auto = self.see('radio button', '=Auto', 'Default')
        self.assertTrue(auto.checked and auto.has('enabled'))
        self.window.press('radio button', '=Kimi', showing=False)
        self.await_stored('providerRoutingMode.v1', 'kimi')
        field = self.field(GROK)
        field.set_text('/nowhere')
        self.await_stored('grokExecutablePath', '/nowhere')


class Routing(RuntimesCase):
    def test_ThePickerIsSetByThePointerAndStaysForTheNextStart(self):
        self.open()
        self.open_settings()
        self.window.click_on('radio button', '=GLM')
        self.reads('Always use the GLM Coding Plan configured in OpenCode.')
        self.await_stored('providerRoutingMode.v1', 'glm')
        self.app.stop()
        self.open()
        self.open_settings()
        self.window.find('radio button', '=GLM', states=('checked',))
        self.assertFalse(self.window.find('radio button', '=Auto').checked)

    def test_WhileAPromptRunsThePickerIsDisabled(self):
        self.desk.install('grok', script(opening(), turn(until('go'), says('Done.'))))
        self.open_project(self.desk.project())
        self.prompt('wait')
        self.reads('Grok is working…')
        self.open_settings()
        self.window.find('radio button', '=Codex', states=('!enabled',))
        self.window.find('radio button', '=Codex').click()
        self.desk.release('go')
        self.window.find('radio button', '=Codex', states=('enabled',))
        self.assertTrue(self.window.find('radio button', '=Auto').checked)
        self.assertIsNone(self.stored('providerRoutingMode.v1'))


class Programs(RuntimesCase):
    def test_APathTypedLetterByLetterIsStoredAndLookedForAtEachLetter(self):
        os.makedirs(os.path.join(self.tools, 'below'))
        self.tool('below/ab', 'echo the long one')
        path = self.tool('below/a', 'echo the short one')
        self.open()
        self.open_settings()
        self.await_state(GROK, 'Not installed')
        self.window.focus(self.field(GROK))
        self.paste_folder()
        self.await_stored('grokExecutablePath', self.tools + '/')
        for length in range(len(self.tools) + 2, len(path) + 1):
            self.await_state(GROK, 'Not installed')
            self.window.type(path[length - 1])
            self.await_stored('grokExecutablePath', path[:length])
        self.await_state(GROK, 'the short one')
        self.window.type('b')
        self.await_state(GROK, 'the long one')
        self.window.type('c')
        self.await_state(GROK, 'Not installed')
        self.window.key('BackSpace')
        self.await_state(GROK, 'the long one')  # looks that overlap are not ordered
        self.window.key('BackSpace')
        self.await_state(GROK, 'the short one')
        self.assertEqual(path, self.field(GROK).text)

    def test_AnEmptyPathIsSearchedAgain(self):
        self.desk.install('kimi', script(opening()))
        self.desk.prefer(kimiExecutablePath=self.tool('other', 'echo other'))
        self.open()
        self.open_settings()
        self.await_state(KIMI, 'other')
        self.window.focus(self.field(KIMI))
        self.window.key('Ctrl+A', 'Delete')
        self.await_state(KIMI, '9.9.9')
        self.await_stored('kimiExecutablePath', '')

    def test_AProgramThatIsSlowToTellItsVersionIsNotStartedForEveryLetter(self):
        starts = os.path.join(self.tools, 'starts')
        self.desk.prefer(grokExecutablePath=self.tool(
            'slow', f'echo >> {starts}; while [ -d {self.tools} ] && [ ! -e {self.tools}/go ]; do sleep 0.02; done; echo at last'))
        self.open()
        self.open_settings()
        self.await_state(GROK, 'Installed')
        self.window.focus(self.field(GROK))
        self.window.key('End')
        for _ in range(12):
            self.window.key('x', 'BackSpace')
        self.window.wait(lambda: self.field(GROK).text.endswith('slow'), what='the path of the program')
        self.await_state(GROK, 'Installed')
        with open(starts) as file:
            self.assertLessEqual(len(file.readlines()), 2)
        with open(os.path.join(self.tools, 'go'), 'w'):
            self.await_state(GROK, 'at last')

    def test_WithoutAVersionItSaysInstalled(self):
        self.desk.prefer(kimiExecutablePath=self.tool('kimi', 'exit 0'), openCodeExecutablePath=self.tool('opencode', 'exit 0'))
        self.open()
        self.open_settings()
        self.await_state(KIMI, 'Installed')
        self.await_state(GLM, 'OpenCode installed')

    def test_RefreshLooksAgain(self):
        self.open()
        self.open_settings()
        self.await_state(CODEX, 'Not installed')
        self.desk.install('codex', codex_script())
        self.button(CODEX, 'Refresh').click()
        self.await_state(CODEX, 'codex-cli 9.9.9')


class Models(RuntimesCase):
    def reds(self, element):
        """How many of its points are red rather than grey."""
        width, _, points = self.window.image(of=element)
        del width
        return sum(red > green + 60 and red > blue + 60 for red, green, blue in zip(points[::3], points[1::3], points[2::3]))

    def test_AModelOutsideThePlanTurnsItsRuleRedAndIsKept(self):
        self.open()
        self.open_settings()
        field = self.field(GLM, 1)
        self.assertEqual('zai-coding-plan/glm-4.7', field.text)
        self.assertEqual(0, self.reds(self.see('label', '=' + MODEL_RULE, GLM)))
        self.window.focus(field)
        self.window.key('Ctrl+A')
        self.window.type('zai-coding-plan/other')
        self.await_stored('openCodeGLMModel', 'zai-coding-plan/other')
        rule = self.see('label', '=' + MODEL_RULE, GLM)
        self.window.wait(lambda: self.reds(rule) > 100, what='a red rule')
        self.assertEqual('zai-coding-plan/other', field.text)
        self.window.key('Ctrl+A')
        self.window.type('Zai-Coding-Plan/GLM-5')
        self.await_stored('openCodeGLMModel', 'Zai-Coding-Plan/GLM-5')
        self.window.wait(lambda: self.reds(rule) == 0, what='a rule like other captions')

    def test_EachLetterOfAModelIsStored(self):
        self.open()
        self.open_settings()
        self.assertEqual('sonnet', self.field(CLAUDE, 1).text)
        self.window.focus(self.field(CLAUDE, 1))
        self.window.key('Ctrl+A')
        for typed in ('o', 'op', 'opu', 'opus'):
            self.window.type(typed[-1])
            self.await_stored('claudeModel', typed)


class SigningIn(RuntimesCase):
    def test_TheButtonIsThereOnlyWithItsProgram(self):
        for name in ('grok', 'kimi', 'opencode'):
            self.desk.install(name, script(opening()))
        self.desk.install('claude', claude_script())
        self.open()
        self.open_settings()
        self.await_state(CODEX, 'Not installed')
        for heading, name in SIGN_IN.items():
            self.assertEqual(heading != CODEX, self.has(heading, 'push button', name), heading)

    def test_ASignInThatIsNeededIsSaid(self):
        codex = codex_script()
        codex['commands']['login status'] = {'output': 'Please run codex login', 'status': 1}
        claude = claude_script()
        claude['commands']['auth status'] = {'output': '{}', 'status': 1}
        self.desk.install('codex', codex)
        self.desk.install('claude', claude)
        self.open()
        self.open_settings()
        self.await_state(CODEX, 'Sign-in needed')
        self.await_state(CLAUDE, 'Sign-in needed')

    def test_AFailureIsToldInTheSettingsToo(self):
        self.desk.install('kimi', script(opening(), commands={'--version': {'output': '1'}, 'login': {'output': '', 'status': 1}}))
        self.open()
        self.open_settings()
        self.await_state(KIMI, '1')
        self.button(KIMI, SIGN_IN[KIMI]).click()
        settings = self.window.find('frame', '=Settings')
        self.window.find('alert', '=Kimi login did not complete.', within=settings)
        self.assertEqual('Settings', self.window.active_title())
        self.window.still(timeout=3)
        self.window.shot(os.path.join(SCREENSHOTS, f'settings-failure-{self.appearance}.png'))
        self.window.click_on('push button', '=Dismiss', within=settings)
        self.window.wait_gone('alert')

    def test_ACommandForATerminalThatCannotBeOpenedIsShownOverTheSettings(self):
        self.desk.install('claude', claude_script())
        self.open()
        self.open_settings()
        self.await_state(CLAUDE, '9.9.9 (Claude Code)')
        self.button(CLAUDE, SIGN_IN[CLAUDE]).click()
        sheet = self.window.find('dialog', '=Copied', within=self.window.find('frame', '=Settings'))
        command = f"'{self.desk.runtimes}/claude' auth login"
        self.window.wait(lambda: self.window.clipboard() == command, what='the command on the pasteboard')
        self.window.find('text', '=Command', text='=' + command, within=sheet)
        self.window.key('Escape')
        self.window.wait_gone('dialog')
        self.assertEqual('Settings', self.window.active_title())


class Usage(RuntimesCase):
    def test_TheReportStandsBesideTheState(self):
        self.desk.install('codex', codex_script(codex_opening(), codex_turn(codex_says('Done.')), used=41.6))
        self.desk.prefer(providerRoutingMode_v1='codex')
        self.open_project(self.desk.project())
        self.prompt('hello')
        self.reads('Done.')
        self.open_settings()
        self.await_state(CODEX, '42% used')
        self.assertFalse(self.has(KIMI, 'label', 'Usage unavailable'))

    def test_GrokShowsNoUsage(self):
        self.desk.install('grok', script(opening(), failing_turn('Usage limit reached for this week.')))
        self.open_project(self.desk.project())
        self.prompt('hello')
        self.await_status('Needs attention')
        self.open_settings()
        self.await_state(GROK, '9.9.9')
        self.assertFalse(self.has(GROK, 'label', 'Limit reached'))


class ByKeyboardAlone(RuntimesCase):
    def test_EverythingIsReachedAndDoneByKeys(self):
        self.desk.install('grok', script(opening()))
        path = self.tool('grok', 'echo by keys')
        self.open()
        self.open_settings()
        self.await_state(GROK, '9.9.9')
        self.window.key('Tab')
        self.assertEqual('Auto', self.window.focused().name)
        self.window.key('Right', 'Right')
        self.await_stored('providerRoutingMode.v1', 'codex')
        self.assertEqual('Codex', self.window.focused().name)
        self.window.key('Tab')
        self.window.paste(path)  # as one: looks that overlap are not ordered, and the one that answers last stands
        self.await_state(GROK, 'by keys')
        self.window.key('Tab', 'Tab')
        self.assertEqual('Refresh', self.window.focused().name)
        os.remove(path)
        self.window.key('space')
        self.await_state(GROK, '9.9.9')
        self.window.key('Tab')
        self.assertEqual('Log in with SuperGrok', self.window.focused().name)
        for _ in range(6):
            self.window.key('Tab')
        self.assertEqual('Install command', self.window.focused().name)
        self.window.key('Ctrl+A', 'Ctrl+C')
        self.window.wait(lambda: self.window.clipboard() == TEXTS[KIMI][1], what='the install line on the pasteboard')
        self.window.key('Escape')
        self.window.await_front('=' + TITLE)


class Pictures(RuntimesCase):
    def test_TheFormIsSeenFromTopToBottom(self):
        self.desk.install('grok', script(opening(), commands={'--version': {'output': 'grok 0.4.12'}}))
        self.desk.install('codex', codex_script(codex_opening(), codex_turn(codex_says('Done.')), used=41.6))
        claude = claude_script()
        claude['commands']['auth status'] = {'output': '{}', 'status': 1}
        self.desk.install('claude', claude)
        self.desk.prefer(providerRoutingMode_v1='codex', openCodeGLMModel='zai-coding-plan/other',
                         kimiExecutablePath='~/Tools/kimi/kimi')
        self.open_project(self.desk.project())
        self.prompt('hello')
        self.reads('Done.')
        self.open_settings()
        self.await_state(CLAUDE, 'Sign-in needed')
        for size in ((660, 780), (520, 320)):
            self.window.place('Settings', 100, 40, *size)
            for heading in (ROUTING, KIMI, CLAUDE, 'Software Updates'):
                self.see('heading', '=' + heading, heading)
                self.keep(f'settings-{HEADINGS.index(heading)}', size)


class PicturesInTheDark(Pictures):
    appearance = 'dark'


if __name__ == '__main__':
    main()
