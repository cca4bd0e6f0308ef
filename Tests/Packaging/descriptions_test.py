#!/usr/bin/python3
"""What the desktop and software centres read about the program is valid, and says one thing everywhere."""
import os
import re
import unittest
import xml.etree.ElementTree as ElementTree

from made import PACKAGING, VERSION, desktop_entry, run

DESKTOP_FILE = os.path.join(PACKAGING, 'linux', 'tessarin.desktop')
METAINFO = os.path.join(PACKAGING, 'linux', 'com.local.tessarin.metainfo.xml')
CHANGELOG = os.path.join(PACKAGING, 'linux', 'changelog')
MANUAL = os.path.join(PACKAGING, 'linux', 'tessarin.1')


class Descriptions(unittest.TestCase):
    def setUp(self):
        self.component = ElementTree.parse(METAINFO).getroot()

    def test_TheDesktopFileIsValid(self):
        self.assertEqual(run('desktop-file-validate', '--warn-kde', DESKTOP_FILE), '')

    def test_TheMetadataAreValid(self):
        run('appstreamcli', 'validate', '--no-net', '--strict', '--no-color', METAINFO)

    def test_TheMetadataNameTheDesktopFileAndWhatItStarts(self):
        entry = desktop_entry()
        self.assertEqual(self.component.findtext('launchable'), os.path.basename(DESKTOP_FILE))
        self.assertEqual(self.component.findtext('provides/binary'), entry['Exec'])
        self.assertEqual(self.component.findtext('icon'), entry['Icon'])
        self.assertEqual(self.component.findtext('name'), entry['Name'])
        self.assertEqual(self.component.findtext('summary'), entry['Comment'])
        self.assertEqual(self.component.findtext('id') + '.metainfo.xml', os.path.basename(METAINFO))

    def test_TheDesktopFileAsksForNothingThatTheProgramHasNot(self):
        entry = desktop_entry()
        # There is no command line: no files, no addresses, no actions, no start by message.
        self.assertEqual(entry['Exec'], 'tessarin')
        for key in ('Actions', 'MimeType', 'DBusActivatable'):
            self.assertNotIn(key, entry)

    def test_TheVersionIsOneEverywhere(self):
        release = self.component.find('releases/release')
        self.assertEqual(release.get('version'), VERSION)
        self.assertEqual(run('dpkg-parsechangelog', '-l', CHANGELOG, '-S', 'Version').strip(), VERSION)
        with open(MANUAL) as file:
            heading = file.readline()
        self.assertIn(f'"tessarin {VERSION}"', heading)

    def test_TheDateIsOneEverywhere(self):
        date = self.component.find('releases/release').get('date')
        moment = run('dpkg-parsechangelog', '-l', CHANGELOG, '-S', 'Timestamp').strip()
        self.assertEqual(run('date', '--utc', '--date=@' + moment, '+%F').strip(), date)
        with open(MANUAL) as file:
            self.assertIn(f' {date} ', file.readline())

    def test_TheManualTellsEveryVariableForPeople(self):
        with open(MANUAL) as file:
            manual = file.read()
        read = set()
        sources = os.path.join(PACKAGING, '..', 'Sources')
        for folder, _, names in os.walk(sources):
            for name in names:
                if name.endswith(('.cpp', '.h')):
                    with open(os.path.join(folder, name)) as file:
                        read |= set(re.findall(r'(?:getenv|qEnvironmentVariable\w*)\("(TESSARIN_\w+)"', file.read()))
        # For measurements only.
        for name in read - {'TESSARIN_REPORT_FIRST_FRAME', 'TESSARIN_REPORT_FRAMES'}:
            self.assertIn(name, manual)
        self.assertIn('TESSARIN_APPEARANCE', read)


if __name__ == '__main__':
    unittest.main(verbosity=2)
