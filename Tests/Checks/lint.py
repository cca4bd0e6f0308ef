#!/usr/bin/python3
"""lint.py BUILD [ROOT]: clang-tidy over the sources that are compiled in BUILD, and clang's thread-safety analysis with it.

Looks at what the last commit and the working tree have changed: all of it takes a quarter of an hour. What was clean is remembered by its
content and that of our headers it includes. TESSARIN_LINT=all looks at every source and forgets what was remembered; TESSARIN_LINT_JOBS is how many sources are looked at side by side.
"""
import hashlib
import json
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

INCLUDE = re.compile(rb'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)
LINTED = ('Sources/', 'Benchmarks/', 'Demo/')
# GCC knows warnings that clang does not, and is not to be told so for each file.
EXTRA = ['--extra-arg=-Wno-unknown-warning-option', '--extra-arg=-Wthread-safety']


def sources(root, build):
    with open(os.path.join(build, 'compile_commands.json')) as file:
        compiled = {os.path.relpath(os.path.realpath(os.path.join(entry['directory'], entry['file'])), root) for entry in json.load(file)}
    return sorted(name for name in compiled if name.startswith(LINTED))


def changed(root):
    """The files that the last commit or the working tree has changed; everything where git cannot tell."""
    def names(*arguments):
        done = subprocess.run(['git', '-C', root, *arguments], capture_output=True, text=True)
        return done.stdout.split('\n') if done.returncode == 0 else None
    committed, uncommitted = names('diff', '--name-only', 'HEAD~1'), names('ls-files', '--others', '--exclude-standard')
    return None if committed is None or uncommitted is None else {*committed, *uncommitted}


def digest(root, name):
    """Of everything of ours that the file's meaning depends on."""
    seen, waiting, sum_ = set(), [name, '.clang-tidy'], hashlib.sha256()
    while waiting:
        one = waiting.pop()
        path = os.path.join(root, one)
        if one in seen or not os.path.isfile(path):
            continue
        seen.add(one)
        with open(path, 'rb') as file:
            content = file.read()
        sum_.update(one.encode() + b'\0' + content)
        for target in sorted(INCLUDE.findall(content)):
            target = target.decode()
            waiting += [os.path.join('Sources', target), os.path.join(os.path.dirname(one), target)]
    return sum_.hexdigest()


def lint(root, build, name):
    """What clang-tidy has to say, or nothing."""
    done = subprocess.run(['clang-tidy', '--quiet', '-p', build, *EXTRA, os.path.join(root, name)], capture_output=True, text=True)
    if done.returncode == 0:
        return ''
    return done.stdout.replace(root + '/', '').strip() or done.stderr.strip()


def main(build, root):
    remembered_in = os.path.join(build, 'lint')
    os.makedirs(remembered_in, exist_ok=True)
    forget = os.environ.get('TESSARIN_LINT') == 'all'
    waiting = []
    only = None if forget else changed(root)
    for name in sources(root, build):
        if only is not None and name not in only:
            continue
        mark = os.path.join(remembered_in, digest(root, name))
        if forget or not os.path.exists(mark):
            waiting.append((name, mark))
    if not sources(root, build):
        print('no source is compiled in ' + build)
        return 1
    failed = 0
    with ThreadPoolExecutor(int(os.environ.get('TESSARIN_LINT_JOBS', os.cpu_count()))) as pool:
        for (name, mark), told in zip(waiting, pool.map(lambda one: lint(root, build, one[0]), waiting)):
            if told:
                failed += 1
                print(told)
            else:
                open(mark, 'w').close()
    print(f'{len(waiting)} sources looked at, {failed} with complaints')
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main(os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])))
