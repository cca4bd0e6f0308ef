"""Where the programs differ from each other, or from what their protocols say, and what has to reach the person all the same."""
from cases import ANSWER, COMMAND_MADE, FINISHED
from modelserver.tools import MOST_FLOOD

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
    """A session in which a command has run unasked is resumed in Ask: the next is asked for, and Kimi knows that mode by another name."""
    person.window.env['IS_SANDBOX'] = '1'
    person.allows('full_access')
    person.has()
    person.begin()
    person.asks_for('sandboxed')
    person.finished_after(FINISHED)
    person.assertEqual(person.made('shell-made.txt'), COMMAND_MADE)
    person.unmake('shell-made.txt')
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


def own_denial_holds_in_full_access(person):
    """What the program's own settings forbid is neither run nor asked for, and the model is told so."""
    _is_told_of_a_command_that_its_settings_forbid(person)
    person.assertIsNone(person.made('shell-made.txt'))
    person.assertRegex(person.server.told_of_the_tool('touch'), person.vendor.denied)


def own_denial_is_not_heeded(person):
    """Kimi reads the rules of its settings and does not apply them."""
    _is_told_of_a_command_that_its_settings_forbid(person)
    person.assertEqual(person.made('shell-made.txt'), '')


def _is_told_of_a_command_that_its_settings_forbid(person):
    person.window.env['IS_SANDBOX'] = '1'
    person.allows('full_access')
    person.has(denies=True)
    person.begin()
    person.asks_for('touch')
    person.finished_after(FINISHED)


def mode_is_an_argument(person):
    for mode, starts in _starts_in_each_mode(person).items():
        person.assertEqual(len(starts), 1, starts)
        person.assertIn(f' {person.vendor.mode_words[mode]} ', f' {" ".join(starts[0])} ')


def mode_is_an_argument_in_front_of_agent(person):
    """Behind "agent" Grok refuses the mode and ends at once, and is started again. What it takes there is said once: full access."""
    starts = _starts_in_each_mode(person)
    for mode in ('ask', 'auto'):
        words = person.vendor.mode_words[mode]
        person.assertEqual([' '.join(start) for start in starts[mode]], [f'agent {words} stdio', f'{words} agent stdio'])
    person.assertEqual([' '.join(start) for start in starts['full_access']], [f'agent {person.vendor.mode_words["full_access"]} stdio'])


def mode_is_no_argument(person):
    """It is started with the same words in all of them."""
    starts = list(_starts_in_each_mode(person).values())
    person.assertEqual([len(each) for each in starts], [1, 1, 1], starts)
    person.assertEqual(starts[1:], starts[:1] * 2)


def _starts_in_each_mode(person):
    """The words of each start of the program for a session, by the approval mode that the person has chosen."""
    person.window.env['IS_SANDBOX'] = '1'
    person.has()
    person.notes_the_starts()
    starts = {}
    for mode in ('ask', 'auto', 'full_access'):
        person.allows(mode)
        person.begin()
        request = person.asks_for('plain', f'MODE={mode}')
        # What a resumed session shows of turns before is not the same for all of them.
        person.window.wait(lambda asked=request: any(asked in line['asked'] for line in person.server.turns('plain')), what='the request')
        person.finished()
        person.leave()
        starts[mode] = person.sessions_started()
    return starts


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


def asks_with_no_settings_of_its_own(person):
    """Nothing but the mode of the window makes it ask, and what was allowed once is in no settings after a restart."""
    person.has()
    person.assertNotRegex(person.settings_of_the_program().lower(), 'permission|approval|allow|deny|ask')
    person.begin()
    person.asks_for('shell')
    person.allows_once()
    person.finished_after(FINISHED)
    person.assertEqual(person.made('shell-made.txt'), COMMAND_MADE)
    person.unmake('shell-made.txt')
    person.leave()
    person.begin()
    person.asks_for('shell')
    person.refuses()
    person.finished()
    person.assertIsNone(person.made('shell-made.txt'), 'it was allowed for longer than once')


def flood_of_output(person):
    """A command that writes 50 KB in each second, which Grok tells as a whole ten times in each. The window takes keys meanwhile."""
    person.has()
    person.begin()
    person.asks_for('storm')
    person.allows_once()
    person.write('written meanwhile')
    person.window.wait(lambda: person.composer.text == 'written meanwhile', what='the keys')
    person.assertFalse(person.is_read(FINISHED), 'the turn has ended before its command')
    person.makes('storm-seen')  # which ends the command
    person.finished_after(FINISHED)
    person.assertEqual(person.composer.text, 'written meanwhile')
    person.leave()
    person.assertTrue('x' * 1000 in person.server.told_of_the_tool('storm'), 'the model is not told what the command has written')
    cards = [entry for entry in person.task()['entries'] if entry['kind'] == 'tool']
    person.assertEqual(len(cards), person.vendor.cards_of_a_long_command)
    for card in cards:
        person.assertLess(len(card['text']), 2 * MOST_FLOOD, 'a card has its text more than once')


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
