#!/usr/bin/python3
"""The settings that the vendors' programs get, without the programs."""
import json
import os
import re
import tempfile
import tomllib
import unittest

from vendors import VENDORS

ADDRESS = 'http://127.0.0.1:4711'


class Homes(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = folder.name

    def written(self):
        """(path, text) of every file below the home."""
        out = []
        for folder, _, names in os.walk(self.home):
            for name in names:
                with open(os.path.join(folder, name)) as file:
                    out.append((os.path.join(folder, name), file.read()))
        return out

    def test_EachFileIsWhatItsNameSays(self):
        for vendor in VENDORS.values():
            vendor.configure(self.home, ADDRESS, True)
        files = self.written()
        self.assertEqual(len(files), len(VENDORS))
        for path, text in files:
            read = tomllib.loads(text) if path.endswith('.toml') else json.loads(text)
            self.assertTrue(read, path)

    def test_NoProgramIsSentToAnotherAddress(self):
        for signed_in in (True, False):
            for vendor in VENDORS.values():
                vendor.configure(self.home, ADDRESS, signed_in)
        for path, text in self.written():
            for address in re.findall(r'https?://[^/"]+', text):
                self.assertEqual(address, ADDRESS, path)

    def test_SignedOutIsWithoutAKey(self):
        for vendor in VENDORS.values():
            vendor.configure(self.home, ADDRESS, False)
        for path, text in self.written():
            self.assertNotIn('dummy', text, path)


if __name__ == '__main__':
    unittest.main(verbosity=2)
