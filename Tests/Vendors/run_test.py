#!/usr/bin/python3
"""What a run of the vendors' programs ends with, without the programs and without a window."""
import os
import signal
import subprocess
import sys
import tempfile
import unittest

import fakes

HERE = os.path.dirname(os.path.abspath(__file__))
# run.py with cells of its own: the words behind the folder say what each does.
DRIVER = '''
import os, subprocess, sys, unittest
sys.path.insert(0, sys.argv[1])
import install, run, table
programs, folder, *does = sys.argv[2:]
install.installed = lambda _: programs
run.SECONDS_TO_END = 0.3

class Cell(unittest.TestCase):
    def passes(self):
        pass
    def fails(self):
        self.assertTrue(False, 'as it should')
    def breaks(self):
        raise OSError('as it should')
    def leaves(self):
        # The middle one ends, and what it has started bears no mark.
        made = 'import subprocess; print(subprocess.Popen(["sleep", "100"], stdout=subprocess.DEVNULL, start_new_session=True).pid)'
        told = subprocess.run([sys.executable, '-c', made], env={'PATH': '/usr/bin:/bin'}, stdout=subprocess.PIPE, text=True, check=True)
        print('LEFT', told.stdout.strip(), flush=True)
    def leaves_marked(self):
        print('LEFT', subprocess.Popen(['sleep', '100'], stdout=subprocess.DEVNULL).pid, flush=True)
    def is_interrupted(self):
        self.leaves()
        raise KeyboardInterrupt

run.tests = lambda *_: [(row.title, 'codex', table.YES, Cell(name)) for row, name in zip(table.ROWS, does)]
sys.argv = ['run.py', '--program', 'none', '--folder', folder]
try:
    sys.exit(run.main())
except KeyboardInterrupt:
    sys.exit(130)
'''


class Run(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.programs = fakes.packages(self.folder)

    def run_with(self, *does):
        """(status, what it has printed)."""
        done = subprocess.run([sys.executable, '-B', '-c', DRIVER, HERE, self.programs, self.folder, *does], capture_output=True, text=True,
                              timeout=60)
        self.assertEqual(done.stderr, '')
        return done.returncode, done.stdout

    def assert_ended(self, printed):
        """What was left behind was told of, and is no more."""
        pid = int(printed.partition('LEFT ')[2].split()[0])
        self.addCleanup(self._end, pid)
        self.assertIn(f'Left behind and ended now: [{pid}]', printed)
        with self.assertRaises(ProcessLookupError):
            os.kill(pid, 0)

    @staticmethod
    def _end(pid):
        try:
            os.kill(pid, signal.SIGKILL)
        except ProcessLookupError:
            pass  # as it has to be

    def test_ARunWhereAllIsAsExpectedGivesTheStatusZero(self):
        status, printed = self.run_with('passes', 'passes')
        self.assertEqual(status, 0, printed)
        self.assertIn('\n2 cells in', printed)

    def test_ACellThatFailsGivesTheStatusOneAndTheRestIsPlayed(self):
        for does in ('fails', 'breaks'):
            status, printed = self.run_with(does, 'passes')
            self.assertEqual(status, 1)
            self.assertIn('as it should', printed)
            self.assertRegex(printed, r'\|  \| FAILED \|')
            self.assertRegex(printed, r'\|  \| yes \|')

    def test_NoCellAtAllGivesTheStatusOne(self):
        status, printed = self.run_with()
        self.assertEqual(status, 1)
        self.assertIn('\n0 cells in', printed)

    def test_AProcessLeftBehindIsEndedAndGivesTheStatusOne(self):
        for does in ('leaves', 'leaves_marked'):
            status, printed = self.run_with(does)
            self.assertEqual(status, 1)
            self.assert_ended(printed)

    def test_ARunThatIsInterruptedLeavesNothingBehind(self):
        status, printed = self.run_with('is_interrupted', 'passes')
        self.assertEqual(status, 130)
        self.assert_ended(printed)
        self.assertNotIn('cells in', printed)


if __name__ == '__main__':
    unittest.main(verbosity=2)
