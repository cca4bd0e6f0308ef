#!/usr/bin/python3
"""The table of vendors by cases, without the vendors' programs."""
import tempfile
import unittest

from fakes import packages
from table import ROWS, YES, markdown
from vendors import VENDORS


class Table(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.programs = packages(folder.name)

    def test_TheColumnsAreTheVendorsInTheOrderOfRouting(self):
        head = markdown({}, self.programs).splitlines()[0]
        self.assertEqual(head, '| | grok 0.0 | codex 1.0 | kimi 2.0 | opencode 3.0 | claude 4.0 |')

    def test_ARowHasWhatCameOutAndLeavesTheRestEmpty(self):
        title = ROWS[0].title
        lines = markdown({(title, 'codex'): YES, (title, 'claude'): 'FAILED'}, self.programs).splitlines()
        self.assertEqual(lines[2:], [f'| {title} |  | yes |  |  | FAILED |'])

    def test_WhatAProgramCannotDoHasAWordAndAProofOfItsOwn(self):
        for row in ROWS:
            for program, (shown, act) in row.instead.items():
                self.assertIn(program, VENDORS)
                self.assertTrue(shown and callable(act), row.title)
                self.assertNotEqual(shown, YES, row.title)

    def test_NoTwoRowsHaveOneTitle(self):
        self.assertEqual(len({row.title for row in ROWS}), len(ROWS))

    def test_ATaskGoesOnWithEveryProgramInTurn(self):
        self.assertEqual({vendor.successor for vendor in VENDORS.values()}, set(VENDORS))
        self.assertTrue(all(vendor.successor != program for program, vendor in VENDORS.items()))


if __name__ == '__main__':
    unittest.main(verbosity=2)
