#!/usr/bin/python3
"""The shell commands have no mistake that shellcheck knows."""
import os
import subprocess

from project import files, lines, report, root_from_arguments


def is_shell(root, name):
    if name.endswith('.sh'):
        return True
    first = lines(root, name)[:1] if '.' not in os.path.basename(name) else []
    return bool(first) and first[0][1].startswith('#!') and first[0][1].endswith('bash')


def complaints(root):
    names = [name for name in files(root) if is_shell(root, name)]
    if not names:
        return []
    done = subprocess.run(['shellcheck', '--shell=bash', '--format=gcc', '--external-sources', '--exclude=SC1091,SC2154', *names], cwd=root,
                          capture_output=True, text=True)
    return done.stdout.splitlines() + done.stderr.splitlines()


if __name__ == '__main__':
    report(complaints(root_from_arguments()), 'places in the shell commands')
