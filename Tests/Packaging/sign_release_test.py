#!/usr/bin/python3
"""What signs a release: it leaves nothing half done behind, and says in a sentence what is wrong."""
import base64
import os
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as xml

SCRIPT = os.path.join(os.environ['TESSARIN_SOURCE'], 'Packaging', 'scripts', 'sign-release')
SPARKLE = '{http://www.andymatuschak.org/xml-namespaces/sparkle}'
RELEASE = '{urn:tessarin:release}'


class SignReleaseTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix='tessarin-sign-')
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.archive = self.put('tessarin.AppImage', 'the program')

    def place(self, name):
        return os.path.join(self.folder, name)

    def put(self, name, content):
        with open(self.place(name), 'w', encoding='utf-8') as file:
            file.write(content)
        return self.place(name)

    def sign(self, *arguments, path=os.environ['PATH']):
        return subprocess.run(['/usr/bin/python3', '-B', SCRIPT, *arguments], capture_output=True, text=True, timeout=60,
                              env=dict(os.environ, PATH=path))

    def key(self):
        if not os.path.exists(self.place('key.pem')):
            self.assertEqual(0, self.sign('make-key', self.place('key.pem')).returncode)
        return self.place('key.pem')

    def add(self, version, *more, key=None, archive=None):
        return self.sign('add', '--key', key or self.key(), '--version', version, '--url', 'https://127.0.0.1/' + version,
                         '--feed', self.place('feed.xml'), *more, archive or self.archive)

    def refuses(self, done, words):
        """In one sentence of ours, behind whatever openssl has said."""
        self.assertEqual(1, done.returncode, done)
        self.assertIn(words, done.stderr.strip().split('\n')[-1])
        self.assertNotIn('Traceback', done.stderr)

    def versions(self):
        return [(each.findtext(SPARKLE + 'version'), each.find('enclosure').get(SPARKLE + 'os'))
                for each in xml.parse(self.place('feed.xml')).getroot().find('channel').findall('item')]

    def test_AKeyIsForItsOwnerAloneAndNeverReplaced(self):
        with open(self.key(), encoding='utf-8') as file:
            key = file.read()
        self.assertEqual(0o600, os.stat(self.key()).st_mode & 0o777)
        self.refuses(self.sign('make-key', self.key()), 'is there already')
        with open(self.key(), encoding='utf-8') as file:
            self.assertEqual(key, file.read())

    def test_WithoutOpensslNoKeyIsLeftBehind(self):
        self.refuses(self.sign('make-key', self.place('key.pem'), path=self.folder), 'openssl is needed')
        self.assertFalse(os.path.exists(self.place('key.pem')))
        self.assertTrue(self.key(), 'the next call makes it')

    def test_AnOpensslThatFailsLeavesNoKeyBehind(self):
        os.chmod(self.put('openssl', '#!/bin/sh\necho no >&2\nexit 1\n'), 0o755)
        self.refuses(self.sign('make-key', self.place('key.pem'), path=self.folder), 'openssl genpkey has failed')
        self.assertFalse(os.path.exists(self.place('key.pem')))

    def test_TheNewestReleaseStandsFirst(self):
        for version in ('1.0', '1.1'):
            self.assertEqual(0, self.add(version).returncode)
        self.assertEqual([('1.1', 'linux'), ('1.0', 'linux')], self.versions())

    def test_AVersionIsPublishedOnceForEachSystem(self):
        self.assertEqual(0, self.add('1.0').returncode)
        self.assertEqual(0, self.add('1.0', '--os', 'macos').returncode)
        with open(self.place('feed.xml'), encoding='utf-8') as file:
            feed = file.read()
        self.refuses(self.add('1.0'), 'has 1.0 for linux already')
        self.refuses(self.add('1.0', '--os', 'macos'), 'has 1.0 for macos already')
        with open(self.place('feed.xml'), encoding='utf-8') as file:
            self.assertEqual(feed, file.read())

    def test_AVersionOfTheEnclosureCountsToo(self):
        self.put('feed.xml', f'<rss xmlns:s="{SPARKLE[1:-1]}"><channel><item><enclosure s:version="1.0"/></item></channel></rss>')
        self.refuses(self.add('1.0'), 'has 1.0 for linux already')
        self.assertEqual(0, self.add('1.0.1').returncode)

    def is_signed(self, content, signature):
        """Whether the signature is good for this content, as openssl says."""
        public, signed = self.place('public.pem'), self.place('signed')
        subprocess.run(['openssl', 'pkey', '-in', self.key(), '-pubout', '-out', public], check=True, timeout=60)
        with open(signed, 'wb') as file:
            file.write(base64.b64decode(signature))
        return subprocess.run(['openssl', 'pkeyutl', '-verify', '-pubin', '-inkey', public, '-rawin', '-in', self.put('content', content),
                               '-sigfile', signed], capture_output=True, timeout=60).returncode == 0

    def test_VersionSystemAndLengthAreSignedWithTheArchive(self):
        self.assertEqual(0, self.add('1.2.3', '--os', 'macos').returncode)
        stated = xml.parse(self.place('feed.xml')).getroot().find('channel/item/enclosure')
        archive, release = stated.get(SPARKLE + 'edSignature'), stated.get(RELEASE + 'releaseSignature')
        statement = f'tessarin release\n1.2.3\n\nmacos\n11\n{archive}\n'
        self.assertTrue(self.is_signed('the program', archive))
        self.assertTrue(self.is_signed(statement, release))
        self.assertFalse(self.is_signed(statement.replace('1.2.3', '1.2.4'), release))
        self.assertFalse(self.is_signed('the program', release))

    def test_AVersionIsOneWordOfAscii(self):
        for version in ('', ' 1.0', '1.0\nlinux', '1 0', '1.0\u00a0', '1' * 201):
            self.refuses(self.add(version), 'A version is made of')
        self.assertFalse(os.path.exists(self.place('feed.xml')))

    def test_AFeedThatIsNoneStays(self):
        for content, words in (('<rss/>', 'has no channel'), ('<rss>', 'is no XML')):
            self.put('feed.xml', content)
            self.refuses(self.add('1.0'), words)
            with open(self.place('feed.xml'), encoding='utf-8') as file:
                self.assertEqual(content, file.read())

    def test_WhatIsNotThereIsNamed(self):
        self.refuses(self.add('1.0', archive=self.place('gone')), 'gone: No such file or directory')
        self.refuses(self.add('1.0', '--notes', self.place('notes')), 'notes: No such file or directory')
        self.refuses(self.add('1.0', key=self.put('none.pem', 'no key')), 'has failed')
        self.assertFalse(os.path.exists(self.place('feed.xml')))


if __name__ == '__main__':
    unittest.main()
