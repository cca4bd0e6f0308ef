"""What a person does with each vendor's program. A function is one case and takes the person; it fails where the window does not tell what
has to be true."""
import uuid

from vendors import VENDORS

ANSWER = 'The answer is 42.'
WHOLE_ANSWER = 'Hello from the fake model. The answer is 42.'
THOUGHT_THROUGH = 'Thought it through: 42.'
FINISHED = 'The probe is over.'
COMMAND_MADE = 'probe-shell\n'
EDIT_MADE = 'probe edit line 1\nprobe edit line 2\n'
# OpenCode asks five more times before it tells that an allowance is used up.
LONG_PATIENCE = 180


def streamed_answer_with_reasoning(person):
    person.has()
    person.begin()
    person.asks_for('gradual')
    person.window.find(says='The first piece', role='text')
    person.assertFalse(person.is_read('and its last.'), 'the answer came as a whole')
    person.finished_after('The first piece of the answer, and its last.')
    person.window.click_on('~button', 'Reasoning')
    person.reads('I should think about the probe first.')


def command_allowed_once(person):
    """The next one is asked for again."""
    person.has()
    person.begin()
    person.asks_for('shell')
    person.reads(person.question)
    person.assertIsNone(person.made('shell-made.txt'), 'it ran before it was allowed')
    person.allows_once()
    person.finished_after(FINISHED)
    person.assertEqual(person.made('shell-made.txt'), COMMAND_MADE)
    person.unmake('shell-made.txt')
    person.asks_for('shell')
    person.refuses()
    person.finished()
    person.assertIsNone(person.made('shell-made.txt'), 'it was allowed for longer than once')


def command_refused(person):
    """The model is told of it, by Grok with the next prompt."""
    person.has()
    person.begin()
    person.asks_for('shell')
    person.refuses()
    person.finished()
    person.assertIsNone(person.made('shell-made.txt'))
    person.asks_for('plain')
    person.finished_after(ANSWER)
    person.assertRegex(person.server.told_of_the_tool('plain'), person.vendor.refused)


def file_edit(person):
    person.has()
    person.begin()
    person.asks_for('edit')
    if person.vendor.asks_for_edits:
        person.reads(person.question)
        person.assertIsNone(person.made('edit-made.txt'), 'it was written before it was allowed')
        person.allows_once()
    person.finished_after(FINISHED)
    person.assertEqual(person.made('edit-made.txt'), EDIT_MADE)


def file_edit_outside_of_a_repository(person):
    person.has()
    person.works_outside_of_a_repository()
    person.begin()
    person.asks_for('edit')
    if person.vendor.asks_for_edits_outside:
        person.reads(person.question)
        person.assertIsNone(person.made('edit-made.txt'), 'it was written before it was allowed')
        person.allows_once()
    person.finished_after(FINISHED)
    person.assertEqual(person.made('edit-made.txt'), EDIT_MADE)


def stopped_in_mid_answer(person):
    person.has()
    person.begin()
    person.asks_for('slow')
    person.reads('word3 ')
    person.assertFalse(person.is_read('word299'))
    person.window.click_on('~button', '=Stop agent')
    person.reads('Stopped by you.')
    person.server.await_abandoned('slow')
    if person.vendor.stopped:
        person.reads(f'Error from {person.vendor.label}: {person.vendor.stopped}')
    else:
        person.finished()
    person.asks_for('plain')
    person.finished_after(ANSWER)
    person.leave()
    person.assertFalse([entry for entry in person.task()['entries'] if 'word299' in entry['text']], 'what was stopped came all the same')


def exhausted_allowance_hands_over(person):
    """The model answers the successor otherwise than who knows nothing of the task, and is told what has been asked and said, and how the
    project stands. The successor is installed only when the task is with this one: a task stays where it is until it must go."""
    successor = VENDORS[person.vendor.successor]
    person.has(person.vendor.program)
    person.begin()
    person.asks_for('plain')
    person.finished_after(ANSWER)
    person.has(successor.program)
    request = person.asks_for('limit', f'ONLY_AT={person.vendor.program}', 'ELSE=reasoning')
    person.reads(f'{person.vendor.label} allowance reached. Automatically handed this task to {successor.label}.', timeout=LONG_PATIENCE)
    person.finished_after(THOUGHT_THROUGH)
    person.leave()
    person.assertEqual(person.task()['lastProvider'], successor.provider)
    told, = {line['asked'] for line in person.server.turns('reasoning') if line['program'] == successor.program}
    for words in (f'ORIGINAL USER REQUEST\n{request}\n', f'ASSISTANT [{person.vendor.label}]: {WHOLE_ANSWER}\n',
                  f'\nWORKSPACE\n{person.project}\n', '$ git status --short --branch\n', '\n?? notes.txt'):
        person.assertIn(words, told)


def exhausted_allowance_is_not_told(person):
    """The turn ends well and without a word, so nobody can know."""
    successor = VENDORS[person.vendor.successor]
    person.has(person.vendor.program, successor.program)
    person.begin()
    person.asks_for('limit', f'ONLY_AT={person.vendor.program}')
    person.await_status(f'{person.vendor.label} is working')
    person.finished()
    person.leave()
    person.assertEqual({line.get('error') for line in person.server.turns('limit')}, {429})
    person.assertEqual(person.task()['lastProvider'], person.vendor.provider)
    person.assertEqual([entry['kind'] for entry in person.task()['entries']], ['user'])


def restart_resumes_the_session(person):
    """The second prompt chooses nothing, so that the model repeats what the first has chosen, if it is told of it."""
    person.has()
    person.begin()
    person.asks_for('reasoning')
    person.finished_after(THOUGHT_THROUGH)
    person.leave()
    session = person.session()
    person.assertTrue(session)
    person.begin()
    person.prompt('And again.')
    person.finished_after(THOUGHT_THROUGH, number=2)
    person.leave()
    person.assertEqual(person.session(), session)


def signed_out(person):
    person.has(signed_in=False)
    person.begin()
    person.asks_for('auth')
    person.fails_with(person.vendor.signed_out)
    if person.vendor.signed_out_note:
        person.reads(person.vendor.signed_out_note)
    person.told_the_model_no_key()


def unknown_stored_session(person):
    """Another one takes its place, and the task goes on."""
    unknown = _begin_with_an_unknown_session(person)
    person.finished_after(ANSWER)
    person.leave()
    person.assertNotIn(person.session(), (None, unknown))


def unknown_stored_session_fails(person):
    unknown = _begin_with_an_unknown_session(person)
    person.fails_with(f'^No conversation found with session ID: {unknown}$')
    person.leave()
    person.assertEqual(person.session(), unknown)


def _begin_with_an_unknown_session(person):
    unknown = str(uuid.uuid4())
    person.has()
    person.had_session(unknown)
    person.begin()
    person.asks_for('plain')
    return unknown
