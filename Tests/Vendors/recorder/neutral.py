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
# What a program makes up once for a machine and tells its vendor from then on.
IDENTITIES = {'installationId': '{INSTALLATION}'}
IDENTITY = re.compile(rf'"(?:{"|".join(IDENTITIES)})":"(?!{{INSTALLATION}})')
# Accounts that are called by a word of any conversation: they tell of nobody.
NOBODY = {'', 'admin', 'agent', 'dev', 'root', 'test', 'user'}
# Likewise machines: as a whole value such a name is replaced all the same.
NOWHERE = {'', 'debian', 'host', 'linux', 'localhost', 'vm'}


def neutral(lines, places):
    """The lines of a recording as texts. places: (text, what stands for it), in the order in which they are replaced."""
    return [_placed(json.dumps(_cut(line), ensure_ascii=False, separators=(',', ':')), places) for line in lines]


def leaks(texts, folder=None, user=None, host=None):
    """The lines that still name a place below the parent of a folder, somebody's home, the system's temporary folder, the user, the machine,
    or what a program calls its installation. The user and the machine are those that this runs for where none is given; '' is none."""
    names = _words({getpass.getuser() if user is None else user} - NOBODY | {_host() if host is None else host} - NOWHERE)
    return [text for text in texts if folder and os.path.dirname(folder) in text or PLACES.search(text) or names and names.search(text)
            or IDENTITY.search(text)]


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
    if key in IDENTITIES:
        return IDENTITIES[key]
    if not isinstance(value, str):
        return value
    if value == _host():
        return '{HOST}'
    names = _words({_host()} - NOWHERE)
    return names.sub('{HOST}', value) if names else value


def _host():
    return os.uname().nodename


def _words(names):
    """What finds them where they stand as words, or None."""
    return re.compile(rf'(?<![^\W_])(?:{"|".join(map(re.escape, sorted(names)))})(?![^\W_])') if names else None


def _short(offered):
    return {name: inner for name, inner in offered.items() if name != 'description'} if isinstance(offered, dict) else offered


def _placed(text, given):
    for place, name in given:
        text = text.replace(place, name)
    return text
