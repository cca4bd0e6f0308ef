#!/usr/bin/python3
"""Every include points down: Platform <- Models <- { Services, Imagine, Remote } <- App <- Views, and Platform <- Updates <- Views.
Below Views there is no Qt, and Boost.Asio stays in the sources of Platform."""
import re

from project import files, is_cpp, lines, report, root_from_arguments

MAY_INCLUDE = {
    'Platform': {'Platform'},
    'Models': {'Platform', 'Models'},
    'Services': {'Platform', 'Models', 'Services'},
    'Imagine': {'Platform', 'Models', 'Imagine'},
    'Remote': {'Platform', 'Models', 'Remote'},
    'Updates': {'Platform', 'Updates'},
    'App': {'Platform', 'Models', 'Services', 'Imagine', 'Remote', 'App'},
    'Views': {'Platform', 'Models', 'Services', 'Imagine', 'Remote', 'App', 'Updates', 'Views'},
}
INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]')
QT = re.compile(r'^Q(t|[A-Z])')
QT_LINK = re.compile(r'\bQt6?::')


def complaint_about(name, quote, target):
    room = name.split('/')[1]
    if quote == '<':
        if room != 'Views' and QT.match(target):
            return f'{room} must not know Qt: <{target}>'
        if target.startswith('boost/asio') and not (room == 'Platform' and name.endswith('.cpp')):
            return f'Boost.Asio belongs into the sources of Platform: <{target}>'
        return None
    if '..' in target.split('/'):
        return f'an include names its room: "{target}"'
    if '/' not in target:
        return None if target.endswith('.moc') else f'an include names its room: "{target}"'
    other = target.split('/')[0]
    if other not in MAY_INCLUDE[room]:
        return f'{room} must not include {other}: "{target}"'
    return None


def complaints(root):
    out = []
    for name in files(root):
        if not name.startswith('Sources/') or name.count('/') < 2:
            continue
        room = name.split('/')[1]
        if room not in MAY_INCLUDE:
            out.append(f'{name}:1: {room} is no room of the house')
            continue
        for number, text in lines(root, name):
            if name.endswith('CMakeLists.txt') and room != 'Views' and QT_LINK.search(text):
                out.append(f'{name}:{number}: {room} must not link Qt: {text.strip()}')
            found = INCLUDE.match(text) if is_cpp(name) else None
            told = complaint_about(name, *found.groups()) if found else None
            if told:
                out.append(f'{name}:{number}: {told}')
    return out


if __name__ == '__main__':
    report(complaints(root_from_arguments()), 'includes or links point the wrong way')
