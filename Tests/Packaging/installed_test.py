#!/usr/bin/python3
"""What was installed below any prefix runs from there and is found by the desktop."""
import os
import struct
import subprocess
import sys
import tempfile
import unittest

from made import BUILD, ICON_SIZES, INSTALLED, SOURCE, desktop_entry, files_below, install, run

sys.path.insert(0, os.path.join(SOURCE, 'Tests', 'EndToEnd'))
from driver import Session  # noqa: E402

# Asks the desktop's own library, in a process of its own because it reads the variables once.
ASK_THE_DESKTOP = '''
import gi
from gi.repository import Gio
found = Gio.DesktopAppInfo.new('tessarin.desktop')
print(found.get_name(), found.get_executable(), found.get_icon().to_string(), found.get_startup_wm_class(), found.get_filename(), sep='\\n')
'''


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix='tessarin-prefix-')
        cls.addClassCleanup(cls.folder.cleanup)
        # A blank in the path finds what was not quoted.
        cls.prefix = os.path.join(cls.folder.name, 'any prefix')
        install(cls.prefix)
        cls.program = os.path.join(cls.prefix, 'bin', 'tessarin')

    def picture_size(self, path):
        with open(path, 'rb') as file:
            head = file.read(24)
        self.assertEqual(head[:8], b'\x89PNG\r\n\x1a\n', path)
        return struct.unpack('>II', head[16:24])

    def test_EveryFileStandsWhereItIsLookedFor(self):
        self.assertEqual(files_below(self.prefix), INSTALLED)

    def test_TheIconHasEverySizeItIsNamedFor(self):
        icons = os.path.join(self.prefix, 'share', 'icons', 'hicolor')
        for size in ICON_SIZES:
            self.assertEqual(self.picture_size(os.path.join(icons, f'{size}x{size}', 'apps', 'tessarin.png')), (size, size))

    def test_WhatIsNoDrawingBecomesNoIcon(self):
        out = os.path.join(self.folder.name, 'icon.png')
        done = subprocess.run([os.environ['TESSARIN_RENDER_ICON'], self.program, '16', out], capture_output=True, text=True)
        self.assertEqual(done.returncode, 1)
        self.assertIn('is no drawing', done.stderr)
        self.assertFalse(os.path.exists(out))

    def test_TheDesktopFindsIt(self):
        environment = {**os.environ, 'XDG_DATA_DIRS': os.path.join(self.prefix, 'share'), 'XDG_DATA_HOME': self.folder.name,
                       'PATH': os.path.dirname(self.program) + ':/usr/bin:/bin'}
        told = subprocess.run(['/usr/bin/python3', '-c', ASK_THE_DESKTOP], env=environment, capture_output=True, text=True)
        self.assertEqual(told.stdout.splitlines(), ['tessarin', 'tessarin', 'tessarin', 'tessarin',
                         os.path.join(self.prefix, 'share', 'applications', 'tessarin.desktop')], told.stderr)

    def test_TheManualAndTheChangesOpen(self):
        self.assertIn('.SH SYNOPSIS', run('gzip', '-dc', os.path.join(self.prefix, 'share/man/man1/tessarin.1.gz')))
        self.assertIn('urgency=', run('gzip', '-dc', os.path.join(self.prefix, 'share/doc/tessarin/changelog.gz')))

    def test_TheProgramLooksForNoLibraryInTheBuildFolder(self):
        self.assertNotRegex(run('readelf', '--dynamic', self.program), 'RPATH|RUNPATH')

    def test_TheProgramRunsFromItsPrefixAlone(self):
        with Session(size=(1280, 900), path=os.path.dirname(self.program) + ':/usr/bin:/bin',
                     env={'XDG_DATA_DIRS': os.path.join(self.prefix, 'share') + ':/usr/share'}) as session:
            # As the desktop file starts it: by its name, found on PATH.
            app = session.launch(['sh', '-c', 'exec ' + desktop_entry()['Exec']])
            session.wait_window('/^tessarin/')
            session.find('~button', '=Open Project')
            self.assertEqual(os.path.realpath(f'/proc/{app.pid}/exe'), os.path.realpath(self.program))
            with open(f'/proc/{app.pid}/maps') as maps:
                self.assertNotIn(BUILD, maps.read())
            told = run('xprop', '-display', session.env['DISPLAY'], '-id', str(session.xwindow('/^tessarin/')), 'WM_CLASS')
            self.assertEqual(told.split(',')[-1].strip(), '"' + desktop_entry()['StartupWMClass'] + '"')
            self.assertNotIn('not installed', app.output)


if __name__ == '__main__':
    unittest.main(verbosity=2)
