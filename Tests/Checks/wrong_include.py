#!/usr/bin/python3
"""wrong_include.py COMPILER OWN-HEADER UPPER-HEADER DIRECTORY...: a room's include directories find its own header and do not find
one of a room above it."""
import subprocess
import sys


def compiles(compiler, header, directories):
    source = f'#include "{header}"\n'
    done = subprocess.run([compiler, '-std=c++20', '-fsyntax-only', '-x', 'c++', *['-I' + one for one in directories], '-'],
                          input=source, capture_output=True, text=True)
    return done.returncode == 0, done.stderr


def main(compiler, own, upper, *directories):
    good, told = compiles(compiler, own, directories)
    if not good:
        print(f'"{own}" does not compile with its own room\'s directories, so nothing is proven:\n{told}')
        return 1
    good, told = compiles(compiler, upper, directories)
    if good or upper.split('/')[0] + '/' not in told or 'file' not in told:
        print(f'"{upper}" was found from the room of "{own}": {told}')
        return 1
    return 0


if __name__ == '__main__':
    sys.exit(main(*sys.argv[1:]))
