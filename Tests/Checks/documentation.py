#!/usr/bin/python3
"""What the page about the runtimes says stands in the code: where programs are searched, what is put into their environment and taken from
it, and the texts of the window. What the code has of these is on the page."""
import os
import re

from project import report, root_from_arguments
from texts import GAP, LITERAL, bodies, is_told, texts

PAGE, SOURCES = 'Documentation/runtimes.md', 'Sources/'
LOCATORS = {'Grok Build': 'GrokLocator', 'Codex': 'CodexLocator', 'Kimi Code': 'KimiLocator',
            'OpenCode (GLM Coding Plan)': 'OpenCodeLocator', 'Claude Code': 'ClaudeLocator'}
HOMEBREW = '/home/linuxbrew/.linuxbrew/bin'
# Each text in these is told to somebody when it is long enough for that.
SCANNED = ('App/', 'Services/')
# The tables of texts and where theirs stand: all texts of a function, in whatever length, or those that a scan of the folders finds.
SCAN = (None, None)
TABLES = {
    'The state above the conversation': [('Models/ConnectionState.cpp', 'label'), ('Models/ProviderUsage.cpp', 'compactLabel'),
                                         ('Views/ConversationRules.cpp', 'workingText'), ('App/AppModel.cpp', None)],
    'Lines in a task': [('App/AppModel.Handoff.cpp', None), ('App/AppModel.Prompts.cpp', None)],
    'The banner': [SCAN],
    'The question of an agent': [('Views/PermissionRules.cpp', 'heading'), ('Views/PermissionRules.cpp', 'note'),
                                 ('Services/ACPClient.Requests.cpp', None), ('Services/ClaudeCodeMessages.cpp', None),
                                 ('Services/CodexApproval.cpp', None)],
    'The line of Imagine': [('App/AppModel.Imagine.cpp', 'generationTexts'), ('App/AppModel.Imagine.cpp', 'importedText'),
                            ('App/AppModel.Imagine.cpp', 'finishImaginePrompt'), ('App/AppModel.h', 'generationStopped')],
    'A program in Settings': [('Views/RuntimeSettingsRules.cpp', 'statusLabel')],
    'A program in the Runtime Log': [('Views/RuntimeLogRules.cpp', 'finding')],
    'What a program is told': [SCAN],
}
# What nobody has to be told the meaning of: commands, names of tools and dialogs, words that are looked for, and what the next program is told.
NOT_TOLD = {
    'App/AppModel.Imagine.cpp': {'/imagine ', '/imagine-video ', 'generating'},
    'App/AppModel.Selection.cpp': {'Choose a project'},
    'App/AppModel.SignIn.cpp': {'<> auth login --provider zai-coding-plan', '<> auth login'},
    'App/HandoffCapsule.cpp': None,  # nothing of it
    'App/SessionUpdateReducer.cpp': {'Using a tool'},
    'Services/ClaudeCodeTurn.cpp': {'Claude background task'},
    'Services/CodexAppServerClient.Items.cpp': {'Search the web'},
    'Services/CodexLocator.cpp': {'not logged in'},
    'Services/GrokArguments.cpp': {"unexpected argument '--permission-mode' found"},
    'Views/PermissionRules.cpp': {'Agent'},  # in the place of a program's name
}
QUOTED = re.compile(r'"([^"]+)"')
CODE = re.compile(r'`([^`]+)`')
PLACE = re.compile(r'homebrewFolder\(context\.platform\)(?: \+ "([^"]+)")?|(context\.home \+ )?"([^"]+)"')


def read(root, name):
    path = os.path.join(root, name)
    if not os.path.exists(path):
        return ''
    with open(path, encoding='utf-8') as file:
        return file.read()


def sections(page, mark='## '):
    """Each heading with the numbers of its lines and the lines."""
    found, heading = {}, ''
    for number, line in enumerate(page.splitlines(), 1):
        if line.startswith(mark) or line.startswith('## '):
            heading = line.lstrip('#').strip()
        found.setdefault(heading, []).append((number, line))
    return found


def places(text):
    """The paths that a piece of a locator names, in their order."""
    return [HOMEBREW + (of_homebrew or '') if whole.startswith('homebrew') else ('~' if home else '') + path
            for whole, of_homebrew, home, path in ((found.group(0), *found.groups()) for found in PLACE.finditer(text))]


def searched(source):
    """The fixed places, those of macOS left out."""
    text = re.sub(r'if \(context\.platform == LocatorPlatform::macOS\)\s*[^;]*;', '', bodies(source, 'candidates'))
    return [place for place in places(text) if '/' in place]


def in_front(source):
    found = re.search(r'environmentWithFolders\(\s*context,\s*\{(.*?)\}', source, re.DOTALL)
    return places(found.group(1)) if found else []


def removed(source):
    found = re.search(r'for \(const char\* key : \{(.*?)\}\)', source, re.DOTALL)
    return LITERAL.findall(found.group(1)) if found else []


def added(source):
    return [f'{key}={value}' for key, value in re.findall(r'environment\["([^"]+)"\] = "([^"]*)";', source)]


def complaints_of_locators(root, page):
    out, parts = [], sections(page)
    for heading, locator in LOCATORS.items():
        source = read(root, f'{SOURCES}Services/{locator}.cpp')
        for word, of in (('Searched', searched), ('In front', in_front), ('Removed', removed), ('Added', added)):
            rows = [(number, line) for number, line in parts.get(heading, []) if line.startswith(f'- {word}: ')]
            number, line = rows[0] if rows else (1, '')
            if CODE.findall(line) != of(source):
                out.append(f'{PAGE}:{number}: {word.lower()} for {heading} is in the code: {", ".join(of(source)) or "nothing"}')
    return out


def scanned(root):
    return [folder + name for folder in SCANNED if os.path.isdir(os.path.join(root, SOURCES, folder))
            for name in sorted(os.listdir(os.path.join(root, SOURCES, folder))) if name.endswith('.cpp')]


def told(root, name, function):
    """What a place tells a person, each text with its place."""
    source, left_out = read(root, SOURCES + name), NOT_TOLD.get(name, set())
    if left_out is None:
        return []
    found = texts(bodies(source, function)) if function else [text for text in texts(source) if is_told(text)]
    return [(name, text) for text in found if text not in left_out]


def told_in(root, heading):
    named = [place for place in TABLES[heading] if place != SCAN]
    whole = [(name, None) for name in scanned(root)] if SCAN in TABLES[heading] else []
    return [text for name, function in named + whole for text in told(root, name, function)]


def rows(page):
    """(number of the line, heading, text) of each text that a table of the page tells the meaning of, with GAP for what differs."""
    for heading, lines in sections(page, '### ').items():
        for number, line in lines:
            for text in QUOTED.findall(line.split('|')[1]) if line.startswith('|') else ():
                yield number, heading, re.sub(r'<[^>]*>', GAP, text)


def complaints_of_texts(root, page):
    """Both ways, each text whole: one that a table quotes is said where that table is about, and one that is said is in a table."""
    out, quoted = [], list(rows(page))
    said = {heading: {text for _, text in told_in(root, heading)} for heading in TABLES}
    for number, heading, text in quoted:
        if text not in said.get(heading, ()):
            out.append(f'{PAGE}:{number}: no source says "{text}" there')
    on_page = {text for _, _, text in quoted}
    everything = {both for heading in TABLES for both in told_in(root, heading)}
    for name, text in sorted(everything):
        if text not in on_page:
            out.append(f'{SOURCES}{name}:1: the page about the runtimes says nothing of "{text}"')
    return out


def complaints_of_exceptions(root):
    """What is left out is there to be left out."""
    return [f'{SOURCES}{name}:1: nothing says "{text}" any more, which the check leaves out' for name, left_out in NOT_TOLD.items()
            for source in [read(root, SOURCES + name)] if source for text in sorted(left_out or ()) if text not in texts(source)]


def complaints(root):
    page = read(root, PAGE)
    if not page:
        return [f'{PAGE}:1: is not there']
    return complaints_of_locators(root, page) + complaints_of_texts(root, page) + complaints_of_exceptions(root)


if __name__ == '__main__':
    report(complaints(root_from_arguments()), 'sayings about the runtimes are not so')
