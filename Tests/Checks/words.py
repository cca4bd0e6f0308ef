#!/usr/bin/python3
"""The project speaks for itself: no file names a document outside of it, or a place on one machine."""
import re

from project import files, lines, report, root_from_arguments

# In pieces, so that this file is free of them too.
WORDS = re.compile('|'.join([
    r'\b[Pp]art' r's? [0-9]+\.[0-9]+',
    r'[Ss]pecifi' r'cation',
    r'\bspec' r'\.md\b',
    r'\b[Ss]eed ' r'[Dd]ocument',
    r'\b[Oo]rder of ' r'[Bb]uilding\b',
    r'(?<![\w.])/wo' r'rk/',
]))
NAMES = re.compile(r'(^|/)(spec|part)[-_. ]?[0-9]', re.IGNORECASE)


def complaints(root):
    out = []
    for name in files(root):
        if NAMES.search(name):
            out.append(f'{name}:1: the name of the file points outside of the project')
        for number, text in lines(root, name):
            found = WORDS.search(text)
            if found:
                out.append(f'{name}:{number}: "{found.group()}" points outside of the project')
    return out


if __name__ == '__main__':
    report(complaints(root_from_arguments()), 'places point outside of the project')
