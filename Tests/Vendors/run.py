#!/usr/bin/python3
"""The vendors' real programs, driven through the window of the real application.

    run.py --program TESSARIN --folder BUILD/vendors [--only VENDOR]... [--case WORDS]... [--pictures FOLDER] [--outside FOLDER]

Installs the programs in the folder, plays each case with each of them against a model on the loopback address, and prints a table.
Ends with status 1 when a cell is not as it is expected.
"""
import argparse
import os
import re
import signal
import sys
import time
import unittest
import uuid

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'EndToEnd'))

FAILED = 'FAILED'
OUTSIDE = f'/var/tmp/tessarin-vendors-{os.getuid()}'  # nothing of a test goes into the real home
SECONDS_TO_END = 10


def arguments():
    parser = argparse.ArgumentParser(description='Drives the vendors\' real programs through the window.')
    parser.add_argument('--program', required=True, help='the built application')
    parser.add_argument('--folder', required=True, help='where the vendors\' programs are installed')
    parser.add_argument('--pictures', default='', help='where a picture of each failure goes')
    parser.add_argument('--outside', default=OUTSIDE,
                        help='a folder in no Git repository and not below /tmp, where Codex writes unasked; %(default)s')
    parser.add_argument('--only', action='append', default=[], metavar='VENDOR', help='codex, opencode, claude, kimi or grok')
    parser.add_argument('--case', action='append', default=[], metavar='WORDS', help='only the cases whose title has these words')
    return parser.parse_args()


def tests(given, programs):
    """(title, program, what the table shows, the test) of each cell that is asked for."""
    from table import ROWS
    from vendor_case import VendorCase
    from vendors import VENDORS
    desks = os.path.join(os.path.abspath(given.folder), 'desks')
    for vendor in VENDORS.values():
        if given.only and vendor.program not in given.only:
            continue
        for row in ROWS:
            shown, act = row.of(vendor.program)
            if not given.case or any(words in row.title for words in given.case):
                name = re.sub(r'[^a-z0-9]+', '-', f'{vendor.program} {row.title}'.lower())
                yield row.title, vendor.program, shown, VendorCase(name, vendor, act, programs, desks, os.path.abspath(given.outside))


def left_behind(mark):
    """What this run has started and what still runs although everything has been closed: what bears the mark, and our descendants."""
    from driver.processes import ProcessGroup, descendants
    group = ProcessGroup(mark)

    def left():
        return group.marked() | (descendants([os.getpid()]) - {os.getpid()})
    end = time.monotonic() + SECONDS_TO_END
    while left() and time.monotonic() < end:
        time.sleep(0.1)
    found = left()
    group.remember(found)
    group.end_all()
    return found


def play(title, program, shown, test):
    """What came out of one cell. What went wrong is printed."""
    began = time.monotonic()
    result = unittest.TestResult()
    try:
        test.run(result)
    except KeyboardInterrupt:
        test.doCleanups()
        raise
    cell = shown if result.wasSuccessful() else FAILED
    print(f'{program}: {title}: {cell} ({time.monotonic() - began:.0f} s)', flush=True)
    for _, trace in result.failures + result.errors:
        print(trace, flush=True)
    return cell


def main():
    given = arguments()
    os.environ.update(TESSARIN_PROGRAM=os.path.abspath(given.program), TESSARIN_SCREENSHOTS=os.path.abspath(given.pictures or given.folder),
                      TESSARIN_VENDORS_RUN=uuid.uuid4().hex)
    # What was started is ended also when the run is. No other exception than that of Ctrl+C gets through a test.
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    from install import installed
    from driver.processes import ProcessGroup
    from loopback import only_loopback
    from table import markdown
    programs = installed(os.path.abspath(given.folder))
    ProcessGroup('').adopt_orphans()
    only_loopback()
    cells, left, began = {}, set(), time.monotonic()
    try:
        for title, program, shown, test in tests(given, programs):
            cells[title, program] = play(title, program, shown, test)
    finally:
        left = left_behind('TESSARIN_VENDORS_RUN=' + os.environ['TESSARIN_VENDORS_RUN'])
        if left:
            print(f'Left behind and ended now: {sorted(left)}')
    print(f'\n{markdown(cells, programs)}\n\n{len(cells)} cells in {time.monotonic() - began:.0f} s.')
    return 1 if left or not cells or FAILED in cells.values() else 0


if __name__ == '__main__':
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
