#!/usr/bin/python3
"""All C++ is as clang-format writes it."""
import os
import subprocess
from concurrent.futures import ThreadPoolExecutor

from project import files, is_cpp, report, root_from_arguments


def complaints_of(root, name):
    done = subprocess.run(['clang-format', '--dry-run', '--Werror', name], cwd=root, capture_output=True, text=True)
    told = [line for line in done.stderr.splitlines() if ': error:' in line]
    return told[:3] + ([f'{name}: and {len(told) - 3} more places'] if len(told) > 3 else [])


def complaints(root):
    names = [name for name in files(root) if is_cpp(name)]
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        return [told for found in pool.map(lambda name: complaints_of(root, name), names) for told in found]


if __name__ == '__main__':
    report(complaints(root_from_arguments()), 'places differ: run clang-format -i on these files')
