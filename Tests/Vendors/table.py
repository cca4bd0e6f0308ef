"""Vendors by cases: what is played, what is expected, and how it is printed."""
import os
import subprocess
import sys
from dataclasses import dataclass, field
from typing import Callable

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'EndToEnd'))
import cases  # noqa: E402
import deviations  # noqa: E402
from desk import SYSTEM_PATH  # noqa: E402
from vendors import VENDORS  # noqa: E402

YES = 'yes'
NOT_ASKED = ('not asked', deviations.sign_in_needed_is_not_asked)
NOT_TOLD = ('not told', deviations.use_of_the_allowance_is_not_told)
YOUNG_NODE = ('not tried, the system has a young one', deviations.systems_node_in_the_settings)
# Of the programs that run with what the system has, or bring their own.
ANY_NODE = ('needs no young one', deviations.systems_node_in_the_settings)


@dataclass(frozen=True)
class Row:
    """One case. Where a vendor's program cannot do it, `instead` has what it does, by program: a word for the table, and the function
    that proves it, so that a program that has learned it is seen."""
    title: str
    act: Callable
    instead: dict = field(default_factory=dict)

    def of(self, program):
        """(what the table shows when all is as expected, the function)."""
        return self.instead.get(program, (YES, self.act))


def has_an_old_node():
    """Whether Kimi cannot run with what the system has: it needs the compression that came with this version."""
    try:
        told = subprocess.run(['node', '--version'], env={'PATH': SYSTEM_PATH}, capture_output=True, text=True, timeout=60).stdout
        version = tuple(int(number) for number in told.strip().lstrip('v').split('.')[:2])
    except (OSError, ValueError):
        return False
    return version < (22, 15)


ROWS = (
    Row('streamed answer with reasoning', cases.streamed_answer_with_reasoning),
    Row('command, allowed once', cases.command_allowed_once),
    Row('command, refused', cases.command_refused),
    Row('file edit', cases.file_edit,
        {program: ('yes, unasked', cases.file_edit) for program, vendor in VENDORS.items() if not vendor.asks_for_edits}),
    Row('file edit outside of a repository', cases.file_edit_outside_of_a_repository,
        {program: ('yes, unasked', cases.file_edit_outside_of_a_repository)
         for program, vendor in VENDORS.items() if not vendor.asks_for_edits_outside}),
    Row('stop in mid-answer', cases.stopped_in_mid_answer,
        {program: ('yes, told as a failure', cases.stopped_in_mid_answer) for program in ('codex', 'claude')}),
    Row('exhausted allowance, handoff', cases.exhausted_allowance_hands_over,
        {'kimi': ('no, does not tell it (K1)', cases.exhausted_allowance_is_not_told)}),
    Row('restart, session resumed', cases.restart_resumes_the_session),
    Row('signed out', cases.signed_out),
    Row('unknown stored session', cases.unknown_stored_session,
        {'claude': ('no, its refusal is told', cases.unknown_stored_session_fails)}),
    Row('the sheet shows the command', deviations.sheet_shows_the_command),
    Row('a line for a shell', deviations.shell_line_is_run_by_a_shell),
    Row('full access asks nothing', deviations.full_access_asks_nothing,
        {'claude': ('yes, as root in a sandbox (R1)', deviations.full_access_as_root_needs_a_sandbox)} if os.geteuid() == 0 else {}),
    Row('back from full access it asks', deviations.asks_again_after_full_access),
    Row('a denial of its own settings, in Full access', deviations.own_denial_holds_in_full_access,
        {'kimi': ('no, the command runs (K2)', deviations.own_denial_is_not_heeded)}),
    Row('the mode is an argument', deviations.mode_is_an_argument,
        {'grok': ('yes, before "agent"', deviations.mode_is_an_argument_in_front_of_agent),
         **{program: ('no, started alike in each', deviations.mode_is_no_argument) for program in ('codex', 'kimi', 'opencode')}}),
    Row('asks with no settings of its own', deviations.asks_with_no_settings_of_its_own,
        {'opencode': ('no, runs unasked (O2)', deviations.asks_only_when_told_to)}),
    Row('version in the settings', deviations.version_in_the_settings),
    Row('an old Node.js, in the settings', deviations.old_node_in_the_settings,
        {program: ANY_NODE for program in VENDORS if program != 'kimi'} if has_an_old_node() else {program: YOUNG_NODE for program in VENDORS}),
    Row('sign-in needed, in the settings', deviations.sign_in_needed_in_the_settings,
        {'codex': ('not told', deviations.sign_in_needed_is_not_told), **{program: NOT_ASKED for program in ('grok', 'kimi', 'opencode')}}),
    Row('use of the allowance', deviations.use_of_the_allowance, {program: NOT_TOLD for program in ('grok', 'kimi', 'opencode')}),
    Row('a flood of output', deviations.flood_of_output),
)


def markdown(cells, programs):
    """cells: (title, program) -> what came out. programs: the folder where they are installed."""
    heads = [f'{vendor.program} {vendor.version(programs)}' for vendor in VENDORS.values()]
    lines = [f'| | {" | ".join(heads)} |', '|---' * (len(heads) + 1) + '|']
    for row in ROWS:
        shown = [cells.get((row.title, program)) for program in VENDORS]
        if any(shown):
            lines.append(f'| {row.title} | {" | ".join(cell or "" for cell in shown)} |')
    return '\n'.join(lines)
