"""Who is driven, and what differs between them by design of their vendors."""
import json
import os
from dataclasses import dataclass, field
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
    session_word: str  # of its command line, where it is started for a session
    refused: str  # what it tells the model of a command that the person has refused; a pattern
    signed_out: str  # what the window tells when the person is not signed in; a pattern
    signed_out_note: str = ''  # and in the task, where a prompt has failed and not the start
    stopped: str = ''  # where a stopped turn counts as a failure: how that begins
    denied: str = ''  # and of one that its own settings forbid; a pattern, empty where they are not heeded
    mode_words: dict = field(default_factory=dict)  # how the approval mode is told on its command line
    asks_for_edits: bool = True  # in the project's folder, which is a repository
    asks_for_edits_outside: bool = True  # where there is no repository
    asks_the_model_signed_out: bool = False
    cards_of_a_long_command: int = 1

    @property
    def path_setting(self):
        """Where the person's own path of the program is stored."""
        return {'opencode': 'openCode'}.get(self.program, self.program) + 'ExecutablePath'

    def version(self, programs):
        """Of the package that is installed there."""
        with open(os.path.join(programs, '..', self.package, 'package.json')) as file:
            return json.load(file)['version']


VENDORS = {vendor.program: vendor for vendor in (
    Vendor('grok', '@xai-official/grok', 'Grok', 'grok', 'Grok Build CLI', homes.grok, successor='codex',
           session_word='agent', refused='^User rejected the execution for tool `run_terminal_command`',
           denied='^Tool `run_terminal_command` was not executed: Denied by permission policy',
           mode_words={'ask': '--permission-mode default', 'auto': '--permission-mode auto', 'full_access': '--always-approve'},
           signed_out='^Grok needs you to sign in again'),
    Vendor('codex', '@openai/codex', 'Codex', 'codex', 'ChatGPT / Codex', homes.codex, successor='kimi',
           session_word='app-server', refused=r'^exec_command failed: .*rejected by user',
           denied='rejected: policy forbids commands starting with `touch`',
           signed_out='^Codex needs you to sign in again', stopped='Codex turn interrupted.', asks_for_edits=False,
           asks_for_edits_outside=False, asks_the_model_signed_out=True),
    Vendor('kimi', '@moonshot-ai/kimi-code', 'Kimi', 'kimi', 'Kimi Code', homes.kimi, successor='opencode',
           session_word='acp', refused='was not run because the user rejected the approval request',
           signed_out='^Kimi needs you to sign in again', asks_for_edits=False),
    Vendor('opencode', 'opencode-ai', 'GLM', 'glm', 'GLM Coding Plan', homes.opencode, successor='claude',
           session_word='acp', refused='^The user rejected permission to use this specific tool call',
           denied='^The user has specified a rule which prevents you from using this specific tool call',
           signed_out='^Internal error: Incorrect API key provided$', asks_the_model_signed_out=True),
    # The banner names Grok for every program that has no sentence of its own; the task names Claude.
    Vendor('claude', '@anthropic-ai/claude-code', 'Claude', 'claude', 'Claude Code', homes.claude, successor='grok',
           session_word='--input-format', refused=r'^Denied by the user in tessarin\.',
           denied='^Permission to use Bash with command touch shell-made.txt has been denied',
           mode_words={'ask': '--permission-mode default', 'auto': '--permission-mode auto', 'full_access': '--permission-mode bypassPermissions'},
           signed_out='^Grok needs you to sign in again', signed_out_note='Error from Claude: Not logged in · Please run /login',
           stopped='[ede_diagnostic] result_type=user',
           cards_of_a_long_command=2),  # after two seconds it tells of a task besides
)}
