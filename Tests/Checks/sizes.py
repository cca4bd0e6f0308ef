#!/usr/bin/python3
"""No file of ours is longer than 500 lines: above that it holds more than one concept."""
from project import files, lines, report, root_from_arguments

LIMIT = 500
OURS = ('.cpp', '.h', '.mm', '.qml', '.js', '.mjs', '.ts', '.py', '.sh', '.cmake', 'CMakeLists.txt', '/run', '/test', '/play')


def complaints(root):
    out = []
    for name in files(root):
        if ('/' + name).endswith(OURS):
            count = len(lines(root, name))
            if count > LIMIT:
                out.append(f'{name}:{LIMIT + 1}: {count} lines, {LIMIT} are the limit')
    return out


if __name__ == '__main__':
    report(complaints(root_from_arguments()), 'files are too long')
