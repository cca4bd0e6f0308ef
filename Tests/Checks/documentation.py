#!/usr/bin/python3
"""What the page about the runtimes says stands in the code: where programs are searched, what is taken from their environment, and the texts
of the window. What the code has of these is on the page."""
import os
import re

from project import report, root_from_arguments

PAGE, SERVICES, APP, MODELS, VIEWS = ('Documentation/runtimes.md', 'Sources/Services/', 'Sources/App/', 'Sources/Models/', 'Sources/Views/')
LOCATORS = {'Grok Build': 'GrokLocator', 'Codex': 'CodexLocator', 'Kimi Code': 'KimiLocator',
            'OpenCode (GLM Coding Plan)': 'OpenCodeLocator', 'Claude Code': 'ClaudeLocator'}
HOMEBREW = '/home/linuxbrew/.linuxbrew/bin'
# Each text of at least three words here is one that a person reads.
TOLD = [APP + name for name in ('FriendlyError.cpp', 'InstallMessage.cpp', 'AppModel.Prompts.cpp', 'AppModel.Handoff.cpp', 'AppModel.SignIn.cpp')] + [
    MODELS + 'ConnectionState.cpp'] + [SERVICES + name for name in (
        'AgentError.cpp', 'RuntimeChild.cpp', 'ACPClient.Session.cpp', 'ClaudeCodeClient.cpp', 'ClaudeCodeClient.Control.cpp', 'ClaudeCodeVerdict.cpp',
        'CodexAppServerClient.Thread.cpp', 'CodexAppServerClient.Turn.cpp', 'CodexAppServerClient.Messages.cpp')]
# Refusals that a program is told.
TO_PROGRAMS = re.compile(r'tessarin does not support ')
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
QUOTED = re.compile(r'"([^"]+)"')
CODE = re.compile(r'`([^`]+)`')


def read(root, name):
    path = os.path.join(root, name)
    if not os.path.exists(path):
        return ''
    with open(path, encoding='utf-8') as file:
        return file.read()


def literals(text):
    """The texts of a source, those of several literals in a row as one."""
    text = re.sub(r'^\s*(#include|//).*$', '', text, flags=re.MULTILINE)
    text = re.sub(r'"\s*\n\s*"', '', text)
    return [found.group(1) for found in LITERAL.finditer(text)]


def sources(root):
    for folder in (APP, SERVICES, MODELS, VIEWS, VIEWS + 'Qml/'):
        for name in sorted(os.listdir(os.path.join(root, folder))) if os.path.isdir(os.path.join(root, folder)) else ():
            if name.endswith(('.cpp', '.h', '.qml')):
                yield read(root, folder + name)


def sections(page):
    """Each heading with the number of its first line and its lines."""
    found, heading = {}, ''
    for number, line in enumerate(page.splitlines(), 1):
        if line.startswith('## '):
            heading = line[3:]
        found.setdefault(heading, []).append((number, line))
    return found


def body(source, name):
    """What stands in the braces of a function."""
    found = re.search(r'::' + name + r'\([^{]*\{(.*?)\n\}\n', source, re.DOTALL)
    return found.group(1) if found else ''


def searched(source):
    """The fixed places of a locator in their order, those of macOS left out."""
    text = re.sub(r'if \(context\.platform == LocatorPlatform::macOS\)\s*[^;]*;', '', body(source, 'candidates'))
    places = []
    for found in re.finditer(r'(context\.home \+ |homebrewFolder\(context\.platform\) \+ )?"([^"]+)"', text):
        front = {'c': '~', 'h': HOMEBREW}.get((found.group(1) or ' ')[0], '')
        if '/' in found.group(2):
            places.append(front + found.group(2))
    return places


def removed(source):
    found = re.search(r'for \(const char\* key : \{(.*?)\}\)', source, re.DOTALL)
    return LITERAL.findall(found.group(1)) if found else []


def complaints_of_locators(root, page):
    out, parts = [], sections(page)
    for heading, locator in LOCATORS.items():
        source = read(root, f'{SERVICES}{locator}.cpp')
        for word, wanted in (('Searched', searched(source)), ('Removed', removed(source))):
            rows = [(number, line) for number, line in parts.get(heading, []) if line.startswith(f'- {word}: ')]
            number, line = rows[0] if rows else (1, '')
            if CODE.findall(line) != wanted:
                out.append(f'{PAGE}:{number}: {word.lower()} for {heading} is in the code: {", ".join(wanted) or "nothing"}')
    return out


def complaints_of_texts(root, page):
    """Both ways: a quoted text in a table stands in the code, piece by piece between what differs; a text of the code stands on the page."""
    out = []
    code = '\n'.join(text for source in sources(root) for text in literals(source))
    for number, line in enumerate(page.splitlines(), 1):
        for text in QUOTED.findall(line) if line.startswith('| "') else ():
            for piece in re.split(r'<[^>]*>', text):
                if len(piece) > 2 and piece not in code:
                    out.append(f'{PAGE}:{number}: no source says "{piece}"')
    for name in TOLD:
        for text in literals(read(root, name)):
            if len(text.split()) >= 3 and text not in page and not TO_PROGRAMS.match(text):
                out.append(f'{name}:1: the page about the runtimes says nothing of "{text}"')
    return out


def complaints(root):
    page = read(root, PAGE)
    return complaints_of_locators(root, page) + complaints_of_texts(root, page) if page else [f'{PAGE}:1: is not there']


if __name__ == '__main__':
    report(complaints(root_from_arguments()), 'sayings about the runtimes are not so')
