"""Who is driven, and what differs between them by design of their vendors."""
import json
import os
from dataclasses import dataclass
from typing import Callable

import homes


@dataclass(frozen=True)
class Vendor:
    program: str
    package: str
    label: str  # as the window names it
    provider: str  # as the stored tree names it
    heading: str  # as the settings name it
    configure: Callable  # a function of homes.py
    successor: str  # the program that takes a task over in the tests
    signed_out: str  # what the window tells when the person is not signed in; a pattern
    signed_out_note: str = ''  # and in the task, where a prompt has failed and not the start
    stopped: str = ''  # where a stopped turn counts as a failure: how that begins
    asks_for_edits: bool = True  # in the project's folder, which is a repository
    asks_for_edits_outside: bool = True  # where there is no repository
    asks_the_model_signed_out: bool = False
    cards_of_a_long_command: int = 1

    def version(self, programs):
        """Of the package that is installed there."""
        with open(os.path.join(programs, '..', self.package, 'package.json')) as file:
            return json.load(file)['version']


VENDORS = {vendor.program: vendor for vendor in (
    Vendor('grok', '@xai-official/grok', 'Grok', 'grok', 'Grok Build CLI', homes.grok, successor='codex',
           signed_out='^Grok needs you to sign in again'),
    Vendor('codex', '@openai/codex', 'Codex', 'codex', 'ChatGPT / Codex', homes.codex, successor='kimi',
           signed_out='^Codex needs you to sign in again', stopped='Codex turn interrupted.', asks_for_edits=False,
           asks_for_edits_outside=False, asks_the_model_signed_out=True),
    Vendor('kimi', '@moonshot-ai/kimi-code', 'Kimi', 'kimi', 'Kimi Code', homes.kimi, successor='opencode',
           signed_out='^Kimi needs you to sign in again', asks_for_edits=False),
    Vendor('opencode', 'opencode-ai', 'GLM', 'glm', 'GLM Coding Plan', homes.opencode, successor='claude',
           signed_out='^Internal error: Incorrect API key provided$', asks_the_model_signed_out=True),
    # The banner names Grok for every program that has no sentence of its own; the task names Claude.
    Vendor('claude', '@anthropic-ai/claude-code', 'Claude', 'claude', 'Claude Code', homes.claude, successor='grok',
           signed_out='^Grok needs you to sign in again', signed_out_note='Error from Claude: Not logged in · Please run /login',
           stopped='[ede_diagnostic] result_type=user',
           cards_of_a_long_command=2),  # after two seconds it tells of a task besides
)}
