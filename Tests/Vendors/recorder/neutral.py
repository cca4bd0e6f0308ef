"""A conversation without the places of one machine, and without lists that nobody reads."""
import getpass
import json
import os
import re

# Of what a program offers two are kept, without the description: it is hundreds of lines. What a permission offers is not among them.
LONG = {'availableCommands', 'tools', 'availableModels', 'slash_commands', 'terminal_slash_commands', 'commands', 'agents', 'skills', 'models',
        'capabilities', 'plugins', 'output_styles', 'available_output_styles', 'reasoningEfforts', 'toolNames'}
KEPT = 2
# The homes of people and the system's temporary folders, also as a program writes them in an address or in a name. Behind a name in
# braces stands what is below a place that is fine.
PLACES = re.compile(r'(?<!})(?:/|%2F)(?:home|Users)(?:/|%2F)|(?<!})(?:/|%2F)root(?![\w-])|(?<![\w}])-(?:home|Users|root)-|'
                    r'(?<![\w}])/(?:tmp|var/tmp)/')
# Accounts that are called by a word of any conversation: they tell of nobody.
NOBODY = {'', 'admin', 'agent', 'dev', 'root', 'test', 'user'}


def neutral(lines, places):
    """The lines of a recording as texts. places: (text, what stands for it), in the order in which they are replaced."""
    return [_placed(json.dumps(_cut(line), ensure_ascii=False, separators=(',', ':')), places) for line in lines]


def leaks(texts, folder=None, user=None):
    """The lines that still name a place below the parent of a folder, somebody's home, the system's temporary folder, or the user, who is
    the one that this runs for where none is given. '' is nobody."""
    user = getpass.getuser() if user is None else user
    name = None if user in NOBODY else re.compile(rf'(?<![^\W_]){re.escape(user)}(?![^\W_])')
    return [text for text in texts if folder and os.path.dirname(folder) in text or PLACES.search(text) or name and name.search(text)]


def places(folder, installed, port):
    """folder: that of the recording, with the project, the home and the temporary folder in it."""
    inner = [(os.path.join(folder, name), word) for name, word in (('project', '{WS}'), ('home', '{HOME}'), ('tmp', '{TMP}'))]
    paths = [*inner, (installed, '{INST}'), (folder, '{ABOVE}')]
    encoded = [(path.replace('/', '%2F'), name[:-1] + '-enc}') for path, name in paths]
    named = [(re.sub('[^A-Za-z0-9]', '-', path), name[:-1] + '-name}') for path, name in paths]
    found = [*paths, *encoded, *named, *((path.lstrip('/'), name[:-1] + '-relative}') for path, name in paths)]
    return [*sorted(found, key=lambda pair: -len(pair[0])), (f'127.0.0.1:{port}', '127.0.0.1:{PORT}')]


def _cut(value, key=None):
    if isinstance(value, dict):
        return {name: _cut(inner, name) for name, inner in value.items()}
    if isinstance(value, list):
        return [_short(_cut(inner)) for inner in value[:KEPT]] if key in LONG else [_cut(inner) for inner in value]
    return '{HOST}' if value == os.uname().nodename else value


def _short(offered):
    return {name: inner for name, inner in offered.items() if name != 'description'} if isinstance(offered, dict) else offered


def _placed(text, given):
    for place, name in given:
        text = text.replace(place, name)
    return text
