#!/usr/bin/python3
"""How the vendors' programs are fetched, with an npm that fetches nothing."""
import json
import os
import tempfile
import unittest
from unittest import mock

import install

# Writes down what it was told, writes where install scripts write, and makes the programs.
NPM = '''#!/usr/bin/python3
import json, os, sys
with open(os.environ['NPM_RECORD'], 'a') as file:
    file.write(json.dumps({'arguments': sys.argv[1:], 'environment': dict(os.environ)}) + '\\n')
for folder in (os.path.join(os.environ['HOME'], '.opencode'), os.path.join(os.environ['XDG_CONFIG_HOME'], 'opencode')):
    os.makedirs(folder, exist_ok=True)
os.makedirs('node_modules/.bin', exist_ok=True)
for name in %r:
    with open('node_modules/.bin/' + name, 'w') as file:
        os.fchmod(file.fileno(), 0o755)
''' % (install.PROGRAMS,)
OF_THE_CALLER = ('HOME', 'XDG_CONFIG_HOME', 'XDG_DATA_HOME', 'XDG_CACHE_HOME', 'XDG_STATE_HOME')


class Install(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home, self.folder = os.path.join(folder.name, 'caller'), os.path.join(folder.name, 'vendors')
        self.record = os.path.join(folder.name, 'record')
        os.mkdir(self.home)
        with open(os.path.join(folder.name, 'npm'), 'w') as file:
            file.write(NPM)
            os.fchmod(file.fileno(), 0o755)
        self.environment = {**{key: self.home for key in OF_THE_CALLER}, 'PATH': folder.name + ':/usr/bin:/bin', 'NPM_RECORD': self.record}

    def install(self, **more):
        """The starts of npm that it took."""
        with mock.patch.dict(os.environ, {**self.environment, **more}, clear=True):
            install.installed(self.folder)
        with open(self.record) as file:
            return [json.loads(line) for line in file]

    def test_NothingIsWrittenIntoTheHomeOfTheCaller(self):
        for start in self.install(NPM_CONFIG_CACHE=os.path.join(self.home, 'cache')):
            given = {key.lower(): value for key, value in start['environment'].items()}
            self.assertNotIn('NPM_CONFIG_CACHE', start['environment'])
            for key in (*OF_THE_CALLER, 'npm_config_cache'):
                self.assertTrue(given[key.lower()].startswith(self.folder + os.sep), key)
        self.assertEqual(os.listdir(self.home), [])

    def test_TheSettingsOfNpmAreTheCallers(self):
        for start in self.install():
            self.assertEqual(start['environment']['npm_config_userconfig'], os.path.join(self.home, '.npmrc'))

    def test_SettingsThatTheCallerHasElsewhereAreTaken(self):
        for start in self.install(NPM_CONFIG_USERCONFIG='/elsewhere/npmrc'):
            self.assertEqual(start['environment']['npm_config_userconfig'], '/elsewhere/npmrc')

    def test_OnlyTheNamedPackagesRunTheirScripts(self):
        first, second = (start['arguments'] for start in self.install())
        self.assertEqual(first[:2], ['install', '--ignore-scripts'])
        self.assertEqual(second[:4], ['rebuild', 'opencode-ai', '@anthropic-ai/claude-code', 'node'])

    def test_WhatIsInstalledIsNotFetchedAgain(self):
        self.assertEqual(self.install(), self.install())

    def test_AProgramThatIsGoneIsFetchedAgain(self):
        before = len(self.install())
        os.remove(os.path.join(self.folder, 'node_modules', '.bin', 'kimi'))
        self.assertGreater(len(self.install()), before)


if __name__ == '__main__':
    unittest.main(verbosity=2)
