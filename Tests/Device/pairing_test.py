#!/usr/bin/python3
"""Pairing links, and the file in which a device keeps one."""
import json
import os
import stat
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
from tessarin_device.pairing import Pairing, PairingError, forget, key_from_text, load, pairing_from_link, save, text_from_key  # noqa: E402

KEY = bytes(range(200, 232))
KEY_TEXT = 'yMnKy8zNzs_Q0dLT1NXW19jZ2tvc3d7f4OHi4-Tl5uc'
LINK = f'tessarin://pair?host=192.168.1.20&port=43765&key={KEY_TEXT}&name=Ada%27s%20computer'


class Links(unittest.TestCase):
    def test_ALinkHasHostPortKeyAndName(self):
        self.assertEqual(pairing_from_link(LINK), Pairing('192.168.1.20', 43765, KEY, 'Ada\'s computer'))
        self.assertEqual(pairing_from_link(f'  {LINK}\n').port, 43765)

    def test_PercentsAreDecodedAndAPlusSignIsAPlusSign(self):
        link = LINK.replace('Ada%27s%20computer', 'C++%20%26%20%C3%BCml%C3%A4ut=%3D')
        self.assertEqual(pairing_from_link(link).name, 'C++ & ümläut==')

    def test_AddressesOfEveryKindAreTaken(self):
        for told, host in (('fe80::1%25eth0', 'fe80::1%eth0'), ('[::1]', '::1'), ('my-computer.local', 'my-computer.local')):
            self.assertEqual(pairing_from_link(LINK.replace('192.168.1.20', told)).host, host)
        self.assertEqual(pairing_from_link(LINK.replace('192.168.1.20', '%5B::1%5D')).address, '[::1]:43765')

    def test_WhatIsNoLinkIsRefusedInASentence(self):
        for link in ('', 'tessarin', 'https://pair?host=a', 'tessarin://other?host=a', 'tessarin://pair', LINK[:60],
                     LINK.replace('&name', '&nome'), LINK.replace('43765', '0'), LINK.replace('43765', '65536'), LINK.replace('43765', '-1'),
                     LINK.replace('43765', '4３'), LINK.replace('192.168.1.20', ''), LINK.replace('192.168.1.20', 'a%20b'),
                     LINK.replace('192.168.1.20', 'a%1B'), LINK + '&port=1', LINK.replace('computer', '%FF'), LINK.replace(KEY_TEXT, KEY_TEXT[1:]),
                     LINK.replace(KEY_TEXT, KEY_TEXT + 'A'), LINK.replace(KEY_TEXT, KEY_TEXT[:-1] + '='), LINK.replace('_Q0', '/Q0')):
            with self.assertRaises(PairingError, msg=link) as caught:
                pairing_from_link(link)
            self.assertTrue(str(caught.exception)[0].isupper() and str(caught.exception).rstrip('"').endswith('.'), str(caught.exception))

    def test_NoSentenceHoldsTheKey(self):
        for broken in (LINK.replace('43765', 'x'), LINK + '&port=1', LINK.replace('host', 'hast'), LINK.replace(KEY_TEXT, KEY_TEXT + 'A')):
            with self.assertRaises(PairingError) as caught:
                pairing_from_link(broken)
            self.assertNotIn(KEY_TEXT[:20], str(caught.exception))
        self.assertNotIn(KEY_TEXT[:10], repr(pairing_from_link(LINK)))

    def test_TheKeyAsText(self):
        self.assertEqual(key_from_text(KEY_TEXT), KEY)
        self.assertEqual(text_from_key(KEY), KEY_TEXT)
        for text in ('', KEY_TEXT[:42], KEY_TEXT + '=', KEY_TEXT[:-1] + '+', KEY_TEXT + '\n'):
            self.assertIsNone(key_from_text(text))


class Keeping(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = os.path.join(folder.name, 'new', 'pairing.json')
        self.pairing = pairing_from_link(LINK)

    def test_WhatIsSavedIsLoadedAndNobodyElseCanReadIt(self):
        before = os.umask(0)
        self.addCleanup(os.umask, before)
        save(self.pairing, self.path)
        self.assertEqual(load(self.path), self.pairing)
        self.assertEqual(stat.S_IMODE(os.stat(self.path).st_mode), 0o600)
        self.assertEqual(stat.S_IMODE(os.stat(os.path.dirname(self.path)).st_mode), 0o700)

    def test_AnotherPairingTakesThePlaceOfTheFirstAndLeavesNothingBeside(self):
        save(self.pairing, self.path)
        save(self.pairing._replace(name='other'), self.path)
        self.assertEqual(load(self.path).name, 'other')
        self.assertEqual(os.listdir(os.path.dirname(self.path)), ['pairing.json'])

    def test_AFileThatOthersCanReadIsRefused(self):
        save(self.pairing, self.path)
        os.chmod(self.path, 0o640)
        with self.assertRaisesRegex(PairingError, 'Others on this computer can read'):
            load(self.path)

    def test_WhatIsDamagedOrMissingIsToldInASentence(self):
        with self.assertRaisesRegex(PairingError, 'not paired yet'):
            load(self.path)
        save(self.pairing, self.path)
        with open(self.path) as file:
            whole = json.load(file)
        for content in ('', '{', '[]', '{}', json.dumps({**whole, 'key': 'short'}), json.dumps({**whole, 'port': '1'})):
            with open(self.path, 'w') as file:
                file.write(content)
            with self.assertRaisesRegex(PairingError, 'is damaged. Pair again'):
                load(self.path)

    def test_ForgettingRemovesTheFile(self):
        self.assertFalse(forget(self.path))
        save(self.pairing, self.path)
        self.assertTrue(forget(self.path))
        self.assertFalse(os.path.exists(self.path))


if __name__ == '__main__':
    unittest.main()
