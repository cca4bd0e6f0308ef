"""Where the programs differ from each other, or from what their protocols say, and what has to reach the person all the same."""
import os
import subprocess

from cases import ANSWER, COMMAND_MADE, FINISHED

COMMAND = 'echo probe-shell > shell-made.txt'


def sheet_shows_the_command(person):
    """Kimi names the tool only, and tells the command in the content of its request."""
    person.has()
    person.begin()
    person.asks_for('shell')
    person.reads(person.question)
    person.assertIn(COMMAND, person.window.find('~readable', '=Detail').text)
    person.refuses()
    person.finished()


def shell_line_is_run_by_a_shell(person):
    """Grok sends a whole line as the name of a program, and this one begins with an assignment."""
    person.has()
    person.begin()
    person.asks_for('assign')
    person.allows_once()
    person.finished_after(FINISHED)
    person.assertEqual(person.made('shell-made.txt'), 'value=1\n')


def full_access_asks_nothing(person):
    """The command does not ask to leave a sandbox: there is none, and Codex refuses what would have to be asked for."""
    person.allows('full_access')
    person.has()
    person.begin()
    person.asks_for('sandboxed')
    person.finished_after(FINISHED)
    person.assertEqual(person.made('shell-made.txt'), COMMAND_MADE)


def full_access_as_root_needs_a_sandbox(person):
    """Claude Code refuses to skip its questions for root, and says why, unless it is told that it is in a sandbox."""
    person.allows('full_access')
    person.has()
    person.begin()
    person.asks_for('sandboxed')
    person.fails_with('cannot be used with root/sudo privileges')
    person.assertIsNone(person.made('shell-made.txt'))
    person.leave()
    person.window.env['IS_SANDBOX'] = '1'
    person.begin()
    person.asks_for('sandboxed')
    person.finished_after(FINISHED)
    person.assertEqual(person.made('shell-made.txt'), COMMAND_MADE)


def asks_again_after_full_access(person):
    """A session that has run unasked is resumed in Ask: the next command is asked for, and Kimi knows that mode by another name."""
    person.window.env['IS_SANDBOX'] = '1'
    person.allows('full_access')
    person.has()
    person.begin()
    person.asks_for('plain')
    person.finished_after(ANSWER)
    person.leave()
    session = person.session()
    person.allows('ask')
    person.begin()
    person.asks_for('shell')
    person.reads(person.question)
    person.assertIsNone(person.made('shell-made.txt'), 'it ran before it was allowed')
    person.refuses()
    person.finished()
    person.leave()
    person.assertEqual(person.session(), session)


def mode_is_an_argument(person):
    """Grok takes the approval mode in front of "agent" only: behind it, it ends at once, and is started again."""
    person.has()
    refused = subprocess.run([os.path.join(person.desk.runtimes, 'grok'), 'agent', '--permission-mode', 'default', 'stdio'],
                             stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60, env=person.window.env)
    person.assertEqual(refused.returncode, 2)
    person.assertIn("unexpected argument '--permission-mode' found", refused.stderr)
    for number, (mode, word) in enumerate((('ask', 'default'), ('auto', 'auto')), 1):
        person.allows(mode)
        person.begin()
        person.asks_for('plain')
        person.finished_after(ANSWER, number)
        person.assertIn(['--permission-mode', word, 'agent', 'stdio'], [command[1:] for command in person.running_commands()])
        person.leave()


def use_of_the_allowance(person):
    person.has(**({'subscribed': True} if person.vendor.program == 'claude' else {}))
    person.begin()
    person.asks_for('plain')
    person.finished_after(ANSWER)
    pill = person.window.find('label', f'={person.vendor.label} · 42% used', only=True)
    person.assertRegex(pill.description, r': 42% used\. Resets .*\.$')


def use_of_the_allowance_is_not_told(person):
    person.has()
    person.begin()
    person.asks_for('plain')
    person.finished_after(ANSWER)
    # The pill says which provider has the task, its description what is known beyond that.
    person.window.find('label', f'={person.vendor.label}', description='/./', only=True)
    person.assertFalse(person.window.exists(says=f'{person.vendor.label} ·'))


def asks_only_when_told_to(person):
    """OpenCode asks for nothing unless its own settings say so."""
    person.has(asks=False)
    person.begin()
    person.asks_for('shell')
    person.finished_after(FINISHED)
    person.assertEqual(person.made('shell-made.txt'), COMMAND_MADE)


def flood_of_output(person):
    """A command that writes 150 KB in three seconds, which Grok tells as a whole ten times a second."""
    person.has()
    person.begin()
    person.asks_for('storm')
    person.allows_once()
    person.finished_after(FINISHED)
    person.leave()
    cards = [entry['id'] for entry in person.task()['entries'] if entry['kind'] == 'tool']
    person.assertEqual(len(cards), person.vendor.cards_of_a_long_command)


def version_in_the_settings(person):
    person.has()
    person.begin()
    person.reads_in_the_settings(person.version())


def old_node_in_the_settings(person):
    """Kimi dies of an old Node.js with many lines: all of them stand on one, where its version would."""
    person.has(young_node=False)
    person.begin()
    person.reads_in_the_settings(r'/^[^\n]* SyntaxError: [^\n]+\Z/')


def systems_node_in_the_settings(person):
    person.has(young_node=False)
    person.begin()
    person.reads_in_the_settings(person.version())


def sign_in_needed_in_the_settings(person):
    person.has(signed_in=False)
    person.begin()
    person.reads_in_the_settings('=Sign-in needed')


def sign_in_needed_is_not_told(person):
    """The status command of Codex says "Not logged in", and whoever says "logged in" counts as signed in."""
    _stands_as_installed(person)


def sign_in_needed_is_not_asked(person):
    """The settings ask these programs nothing of it: that nobody is signed in is told with the first prompt."""
    _stands_as_installed(person)


def _stands_as_installed(person):
    person.has(signed_in=False)
    person.begin()
    person.reads_in_the_settings(person.version())
    person.assertFalse(person.window.exists('label', '=Sign-in needed', showing=False))
