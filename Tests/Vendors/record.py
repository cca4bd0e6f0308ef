#!/usr/bin/python3
"""Records conversations with the vendors' real programs, for tests that need none of them.

    record.py --folder BUILD/vendors --into Tests/Services/Recordings PROGRAM [CASE]...

Speaks with a program directly, as the client does, against the model on the loopback address, and writes PROGRAM-CASE.jsonl, one line for
each message: {"out": ours}, {"in": its}, {"text": what it wrote and is no JSON}, {"stderr": text}, and {"exit": status} where it ended by
itself. Without a case it records all of them. The home and the project are made anew for each, so that nothing of the person who runs this
stands in a recording. As root nothing but the loopback address can be reached.
"""
import argparse
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import uuid
from dataclasses import dataclass

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from loopback import NOWHERE, only_loopback  # noqa: E402
from modelserver.log import Log  # noqa: E402
from modelserver.service import ModelService  # noqa: E402
from recorder import acp, claude, codex, neutral  # noqa: E402
from recorder.child import Child  # noqa: E402
from vendors import VENDORS  # noqa: E402

PROMPT = 'Please go on.'
SPEAKERS = {'codex': codex, 'claude': claude, 'grok': acp, 'kimi': acp, 'opencode': acp}
MOST_REQUESTS = 200


@dataclass(frozen=True)
class Case:
    scenario: str
    allows: bool = True
    stops_after: int = 0  # pieces of the answer; 0 never stops
    before: str = ''  # the scenario of a turn before, whose session is resumed
    is_gone: bool = False  # resumes a session that is not there
    signed_in: bool = True
    mode: str = 'ask'  # or auto


CASES = {
    'a-plain-turn': Case('plain'),
    'a-turn-with-reasoning': Case('reasoning'),
    'a-plan': Case('plan'),
    'an-approved-command': Case('shell'),
    'a-denied-command': Case('shell', allows=False),
    'a-command-that-a-reviewer-allows': Case('shell', mode='auto'),
    'a-command-that-a-reviewer-refuses': Case('shelldeny', mode='auto'),
    'an-edited-file': Case('edit'),
    'an-edit-outside-of-the-project': Case('editout'),
    'an-interrupted-turn': Case('slow', stops_after=2),
    'a-spent-allowance': Case('limit'),
    'a-resumed-session': Case('reasoning', before='shell'),
    'a-session-that-is-gone': Case('plain', is_gone=True),
    'a-turn-without-a-sign-in': Case('auth', signed_in=False),
}


class Recording:
    """A home, a project and a program in them, until `close`."""

    def __init__(self, program, programs, within):
        self._program, self._programs = program, programs
        self._folder = tempfile.mkdtemp(prefix='recording-', dir=within)
        self._home, self._project, self._temporary = (os.path.join(self._folder, name) for name in ('home', 'project', 'tmp'))
        for path in (self._home, self._temporary, os.path.join(self._folder, 'outside')):
            os.mkdir(path)
        # A repository of its own: programs look for what governs a project up to the root of that.
        subprocess.run(['git', 'init', '-q', self._project], check=True)

    def close(self):
        shutil.rmtree(self._folder)

    def play(self, case):
        """The lines of the case, without places."""
        stored = str(uuid.uuid4()) if case.is_gone else None
        if case.before:
            _, stored, _ = self._converse(Case(case.before), None)
        lines, _, port = self._converse(case, stored)
        texts = neutral.neutral(lines, neutral.places(self._folder, self._programs, port))
        if found := neutral.leaks(texts, self._folder):
            sys.exit(f'a place of this machine stands in the recording: {found[0]}')
        return texts

    def _converse(self, case, stored):
        """(lines, session, port of the model)."""
        words = f'SCENARIO:{case.scenario} PROBE_CWD={self._project}'
        service = ModelService(0, Log(os.path.join(self._folder, 'model.jsonl')), MOST_REQUESTS, 0.42, {PROMPT: words})
        threading.Thread(target=service.serve_forever, daemon=True).start()
        try:
            VENDORS[self._program].configure(self._home, f'http://127.0.0.1:{service.port}', case.signed_in)
            return (*self._talk(case, stored), service.port)
        finally:
            service.shutdown()
            service.server_close()

    def _talk(self, case, stored):
        speaker = SPEAKERS[self._program]
        session = stored or (claude.new_session() if speaker is claude else None)
        arguments = [text.replace('{WS}', self._project) for text in speaker.arguments(self._program, case, session, stored is not None)]
        search = f'{self._programs}/.bin:/usr/bin:/bin'
        environment = {'HOME': self._home, 'PATH': search, 'LANG': 'C.UTF-8', 'TERM': 'dumb', 'TMPDIR': self._temporary, **NOWHERE}
        child = Child([os.path.join(self._programs, '.bin', self._program), *arguments], self._project, environment)
        talk = speaker.Talk(child, self._program, case, session)
        try:
            talk.run(PROMPT)
            child.rest(talk.hear)
        finally:
            talk.close()
            child.close()
        return child.lines, talk.session


def arguments():
    parser = argparse.ArgumentParser(description='Records conversations with the vendors\' real programs.')
    parser.add_argument('--folder', required=True, help='where the vendors\' programs are installed')
    parser.add_argument('--into', required=True, help='where the recordings go')
    parser.add_argument('program', choices=sorted(SPEAKERS))
    parser.add_argument('case', nargs='*', help=', '.join(CASES))
    return parser.parse_args()


def main():
    given = arguments()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit('ended by a signal'))
    programs = os.path.join(os.path.abspath(given.folder), 'node_modules')
    os.makedirs(given.into, exist_ok=True)
    only_loopback()
    for name in given.case or CASES:
        recording = Recording(given.program, programs, os.path.abspath(given.folder))
        try:
            lines = recording.play(CASES[name])
        finally:
            recording.close()
        path = os.path.join(given.into, f'{given.program}-{name}.jsonl')
        with open(path, 'w', encoding='utf-8') as file:
            file.write(''.join(line + '\n' for line in lines))
        print(f'{path}: {len(lines)} lines')


if __name__ == '__main__':
    main()
