"""The project's own files, and how a check reports what it found."""
import os
import subprocess
import sys

NOT_OURS = ('build', '.git', '.cache', 'node_modules')


def root_from_arguments():
    return os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), '..', '..'))


def files(root):
    """Paths below root of all files that belong to the project, those not committed yet among them."""
    if os.path.exists(os.path.join(root, '.git')):
        # A check may run as another user than the one who owns the folder, which Git refuses unless told.
        listed = subprocess.run(['git', '-c', 'safe.directory=*', '-C', root, 'ls-files', '-z', '--cached', '--others', '--exclude-standard'],
                                capture_output=True, check=True)
        names = listed.stdout.decode().split('\0')
        return sorted(name for name in set(names) if name and os.path.isfile(os.path.join(root, name)))
    found = []
    for folder, below, names in os.walk(root):
        below[:] = [name for name in below if name not in NOT_OURS]
        found += [os.path.relpath(os.path.join(folder, name), root) for name in names]
    return sorted(found)


def lines(root, name):
    """(number, text) of each line, or nothing for a file that is no text."""
    with open(os.path.join(root, name), 'rb') as file:
        content = file.read()
    if b'\0' in content:
        return []
    return list(enumerate(content.decode('utf-8', 'replace').splitlines(), 1))


def is_cpp(name):
    return name.endswith(('.cpp', '.h', '.mm'))


def report(complaints, what):
    """Prints what was found as file:line, and ends with 1 when there is anything."""
    for complaint in complaints:
        print(complaint)
    if complaints:
        print(f'{len(complaints)} {what}')
    sys.exit(1 if complaints else 0)
