#!/usr/bin/python3
"""The Debian package: what is in it, what it depends on, and what the distribution's own judge says of it."""
import json
import os
import re
import stat
import subprocess
import tempfile
import unittest

from made import ENVIRONMENT, INSTALLED, SOURCE, VERSION, files_below, package, run


def owners(*paths):
    """The packages that these files belong to. A file below /usr/lib may be known as one below /lib, where it stood once."""
    real = [os.path.realpath(path) for path in paths]
    asked = {name: path for path in real for name in (path, path.removeprefix('/usr'))}
    # It ends with 1 when it does not know one of them, which half of them are.
    told = subprocess.run(['dpkg-query', '--search', *asked], capture_output=True, text=True, env=ENVIRONMENT).stdout
    found = dict(line.rsplit(': ', 1)[::-1] for line in told.splitlines())
    nobody = set(real) - {asked[name] for name in found}
    if nobody:
        raise AssertionError(f'no package has {sorted(nobody)}')
    return {name.strip().split(':')[0] for names in found.values() for name in names.split(',')}


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix='tessarin-package-')
        cls.addClassCleanup(folder.cleanup)
        cls.file = package(folder.name)
        cls.tree = os.path.join(folder.name, 'tree')
        cls.control = os.path.join(folder.name, 'control')
        run('dpkg-deb', '--extract', cls.file, cls.tree)
        run('dpkg-deb', '--control', cls.file, cls.control)
        cls.program = os.path.join(cls.tree, 'usr', 'bin', 'tessarin')

    def field(self, name):
        return run('dpkg-deb', '--field', self.file, name).strip()

    def names(self, field):
        """The packages that a field names, each alternative of its own."""
        return {re.split(r'[ (:]', one.strip())[0] for one in re.split(r'[,|]', self.field(field))}

    def test_ItsFileNameSaysVersionAndArchitecture(self):
        architecture = run('dpkg', '--print-architecture').strip()
        self.assertEqual(os.path.basename(self.file), f'tessarin_{VERSION}_{architecture}.deb')
        self.assertEqual((self.field('Version'), self.field('Architecture')), (VERSION, architecture))

    def test_ItHoldsWhatIsInstalledAndNothingElse(self):
        self.assertEqual(files_below(self.tree), sorted('usr/' + name for name in INSTALLED))

    def test_EverythingInItBelongsToRootAndOnlyTheProgramRuns(self):
        for line in run('dpkg-deb', '--contents', self.file).splitlines():
            mode, owner = line.split()[:2]
            self.assertEqual(owner, 'root/root', line)
            wanted = 'drwxr-xr-x' if mode[0] == 'd' else '-rwxr-xr-x' if line.endswith('/usr/bin/tessarin') else '-rw-r--r--'
            self.assertEqual(mode, wanted, line)

    def test_NothingOfItRunsWhileItIsInstalledOrRemoved(self):
        self.assertEqual(sorted(os.listdir(self.control)), ['control', 'md5sums'])

    def test_ItsSumsAreThoseOfItsFiles(self):
        run('md5sum', '--check', '--quiet', os.path.join(self.control, 'md5sums'), cwd=self.tree)

    def test_TheProgramIsStripped(self):
        self.assertNotIn('.debug_info', run('readelf', '--sections', '--wide', self.program))
        self.assertTrue(os.stat(self.program).st_mode & stat.S_IXOTH)

    def test_EveryLibraryThatItIsLinkedWithIsADependency(self):
        needed = re.findall(r'\(NEEDED\).*\[(.+)\]', run('readelf', '--dynamic', self.program))
        places = dict(re.findall(r'(\S+) => (\S+)', run('ldd', self.program)))
        wanted = owners(*[places[library] for library in needed])
        self.assertIn('libqt6quick6', wanted)
        self.assertEqual(wanted - self.names('Depends'), set())

    def test_TheQmlModulesThatAreImportedAreDependenciesAndNoOthers(self):
        modules = run('qtpaths6', '--query', 'QT_INSTALL_QML').strip()
        found = json.loads(run(os.environ['TESSARIN_QML_SCANNER'], '-rootPath', os.path.join(SOURCE, 'Sources', 'Views', 'Qml'), '-importPath', modules))
        paths = [os.path.join(module['path'], 'qmldir') for module in found if module['name'] != 'Tessarin']
        wanted = owners(*paths)
        self.assertIn('qml6-module-qtquick-templates', wanted)
        self.assertEqual(wanted, {name for name in self.names('Depends') if name.startswith('qml6-')})

    def test_EveryPluginThatReadsAPictureIsADependency(self):
        plugins = run('qtpaths6', '--query', 'QT_INSTALL_PLUGINS').strip()
        wanted = owners(*[os.path.join(plugins, name) for name in ('imageformats/libqgif.so', 'imageformats/libqjpeg.so', 'imageformats/libqsvg.so',
                                                                   'imageformats/libqwebp.so', 'platforms/libqxcb.so')])
        self.assertEqual(wanted - self.names('Depends'), set())
        self.assertEqual(owners(os.path.join(plugins, 'platforms/libqwayland-generic.so')) - self.names('Recommends'), set())

    def test_TheDistributionsJudgeFindsNothing(self):
        done = subprocess.run(['lintian', '--allow-root', '--fail-on', 'error,warning', '--no-tag-display-limit', self.file],
                              capture_output=True, text=True, env=ENVIRONMENT)
        self.assertEqual((done.returncode, done.stdout), (0, ''), done.stderr)


if __name__ == '__main__':
    unittest.main(verbosity=2)
