#!/usr/bin/python3
"""What the bundle for macOS says of itself. It is written by the script that the build uses there, and can be read anywhere."""
import os
import plistlib
import tempfile
import unittest

from made import PACKAGING, VERSION, run

MINIMUM_SYSTEM = os.environ['TESSARIN_MINIMUM_MACOS']
PUBLIC_KEY = '11qYAYKxCrfVS/7TyWQHOg7hcvPapiMlrwIaaPcHURo='


class Bundle(unittest.TestCase):
    def properties(self, key=''):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, 'Info.plist')
            run(os.environ['TESSARIN_CMAKE'], f'-DFILE={path}', f'-DVERSION={VERSION}', f'-DMINIMUM_SYSTEM={MINIMUM_SYSTEM}',
                f'-DPUBLIC_KEY={key}', '-P', os.path.join(PACKAGING, 'macos', 'InfoPlist.cmake'))
            with open(path, 'rb') as file:
                return plistlib.load(file, fmt=plistlib.FMT_XML)

    def test_TheOldestSystemIsMacOS14(self):
        self.assertEqual(self.properties()['LSMinimumSystemVersion'], '14.0')

    def test_ItNamesTheProgramAndItsVersion(self):
        told = self.properties()
        self.assertEqual((told['CFBundleExecutable'], told['CFBundleIdentifier'], told['CFBundlePackageType']),
                         ('tessarin', 'com.local.tessarin', 'APPL'))
        self.assertEqual((told['CFBundleShortVersionString'], told['CFBundleVersion']), (VERSION, VERSION))

    def test_ItSaysWhyItWantsTheLocalNetwork(self):
        self.assertIn('device that you have paired', self.properties()['NSLocalNetworkUsageDescription'])

    def test_TheKeyOfUpdatesIsTheOneThatWasBuiltIn(self):
        self.assertEqual(self.properties(PUBLIC_KEY)['SUPublicEDKey'], PUBLIC_KEY)

    def test_ABuildWithoutAKeyHasNoneInIt(self):
        self.assertNotIn('SUPublicEDKey', self.properties())


if __name__ == '__main__':
    unittest.main(verbosity=2)
