"""A tool call in the words of whatever tools a program offers: each has its own names for the same few things."""
import os
from dataclasses import dataclass, field

COMMAND = 'echo probe-shell > shell-made.txt && cat shell-made.txt'
ASSIGNMENT = 'PROBE_VAR=1 && echo value=$PROBE_VAR > shell-made.txt'
TOUCH = 'touch shell-made.txt'
# A growing text, 150 KB after three seconds. It goes on until somebody says in the project that they have seen it, and fails where nobody does.
FLOOD = ('for i in $(seq 100); do head -c 5000 /dev/zero | tr "\\0" x; echo; sleep 0.1; '
         '[ $i -ge 30 ] && [ -e storm-seen ] && break; done')
MOST_FLOOD = 100 * 5001
DESCRIPTION = 'Write a probe file'
CONTENT = 'probe edit line 1\nprobe edit line 2\n'
STEPS = (('Read the code', 'completed'), ('Write the fix', 'in_progress'), ('Run the tests', 'pending'))
QUESTION = {'id': 'q1', 'header': 'Probe', 'question': 'Which one?',
            'options': [{'label': 'One (Recommended)', 'description': 'first'}, {'label': 'Two', 'description': 'second'}]}


@dataclass(frozen=True)
class Tool:
    """What a program offers. `properties` is empty where its input is not described; a free form takes a text instead of an object."""
    name: str
    properties: dict = field(default_factory=dict)
    is_free_form: bool = False


@dataclass(frozen=True)
class Call:
    """`text` for a tool of free form, else `input`."""
    name: str
    input: dict = field(default_factory=dict)
    text: str | None = None


def call_for(purpose, folder, tools):
    """The call that serves a purpose with the first of these tools that can, or None."""
    offered = {tool.name: tool for tool in tools}
    for name, made in _inputs(purpose, folder):
        tool = offered.get(name)
        if tool is None:
            continue
        if isinstance(made, str):
            return Call(name, text=made) if tool.is_free_form else Call(name, {'input': made})
        known = {key: value for key, value in made.items() if not tool.properties or key in tool.properties}
        return Call(name, known)
    return None


def _inputs(purpose, folder):
    """(name of a tool, its input) in the order in which they are tried."""
    match purpose:
        case 'shell':
            return _shell(COMMAND, outside_of_sandbox=True)
        case 'sandboxed':
            return _shell(COMMAND, outside_of_sandbox=False)
        case 'assign':
            return _shell(ASSIGNMENT, outside_of_sandbox=True)
        case 'touch':
            return _shell(TOUCH, outside_of_sandbox=False)
        case 'storm':
            # Codex goes on without a command that takes longer than it waits.
            return _shell(FLOOD, outside_of_sandbox=True, yield_time_ms=30_000)
        case 'edit':
            return _edit(folder)
        case 'editout':
            outside = os.path.join(os.path.dirname(folder), 'outside', 'edit-outside.txt')
            return [('apply_patch', _patch(outside, 'probe edit outside the project\n'))]
        case 'plan':
            return _plan()
        case 'anything':
            return _plan() + _shell(COMMAND, outside_of_sandbox=True)
        case 'permissions':
            return [('request_permissions', {'reason': 'Probe: network please', 'permissions': {'network': {'enabled': True}}})]
        case 'askuser':
            return [('request_user_input', {'questions': [QUESTION]})]
        case 'imagine':
            return [('image_gen', {'prompt': 'a red cube', 'aspect_ratio': '1:1'})]
    raise ValueError(f'no tool is known for {purpose}')


def _shell(command, outside_of_sandbox, **more):
    asks = {'sandbox_permissions': 'require_escalated', 'justification': 'Probe: may I run this outside the sandbox?'} if outside_of_sandbox else {}
    described = {'command': command, 'description': DESCRIPTION, 'explanation': DESCRIPTION, 'is_background': False}
    return [('exec_command', {'cmd': command, **asks, **more}), ('shell_command', {'command': command, **asks}),
            ('shell', {'command': ['bash', '-lc', command], **asks}), ('Bash', {'command': command, 'description': DESCRIPTION}),
            ('bash', {'command': command, 'description': DESCRIPTION}), ('Shell', {'command': command}),
            ('run_terminal_command', described), ('run_terminal_cmd', described)]


def _patch(path, content):
    lines = ''.join(f'+{line}\n' for line in content.splitlines())
    return f'*** Begin Patch\n*** Add File: {path}\n{lines}*** End Patch\n'


def _edit(folder):
    path = os.path.join(folder, 'edit-made.txt')
    paths = {'path': path, 'file_path': path, 'filePath': path, 'target_file': path}
    written = {**paths, 'content': CONTENT, 'contents': CONTENT}
    replaced = {**paths, 'old_string': '', 'new_string': CONTENT, 'content': CONTENT, 'contents': CONTENT}
    return [('apply_patch', _patch('edit-made.txt', CONTENT)), ('Write', written), ('write', written), ('WriteFile', written),
            ('write_file', replaced), ('search_replace', replaced), ('edit_file', replaced)]


def _plan():
    def items(*keys, **words):
        return [dict(zip(keys, (text, words.get(status, status)))) for text, status in STEPS]

    def numbered(**more):
        return [{'id': str(number), **item, **more} for number, item in enumerate(items('content', 'status'), 1)]

    titled = {'todos': items('title', 'status', completed='done')}
    active = [{**item, 'activeForm': item['content']} for item in items('content', 'status')]
    return [('update_plan', {'explanation': 'probe', 'plan': items('step', 'status')}), ('todowrite', {'todos': numbered(priority='medium')}),
            ('TodoWrite', {'todos': active}), ('TodoList', titled), ('SetTodoList', titled),
            ('todo_write', {'merge': False, 'todos': numbered()})]
