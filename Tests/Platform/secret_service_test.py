#!/usr/bin/python3
"""Secrets in a real keyring: unlocked, locked and absent, and services that behave badly."""
import os
import shutil
import signal
import stat
import subprocess
import tempfile
import time
import unittest

import gi
gi.require_version('Gio', '2.0')
from gi.repository import GLib  # noqa: E402

from secret_service import ATTRIBUTES, FakeService, Keyring, NAME, PrivateBus  # noqa: E402

PROBE = os.environ['TESSARIN_SECRET_PROBE']
SECRET, OTHER = bytes(range(200, 232)), bytes(range(32))
FILE = 'com.local.Ombrelan.remote.pairing-secret'
_SERVICE = '''<node><interface name="org.freedesktop.Secret.Service">
  <method name="OpenSession"><arg type="s" direction="in"/><arg type="v" direction="in"/><arg type="v" direction="out"/>
  <arg type="o" direction="out"/></method>
  <method name="SearchItems"><arg type="a{ss}" direction="in"/><arg type="ao" direction="out"/><arg type="ao" direction="out"/></method>
  <method name="ReadAlias"><arg type="s" direction="in"/><arg type="o" direction="out"/></method>
  <property name="Collections" type="ao" access="read"/></interface></node>'''
_COLLECTION = '''<node><interface name="org.freedesktop.Secret.Collection">
  <method name="CreateItem"><arg type="a{sv}" direction="in"/><arg type="(oayays)" direction="in"/><arg type="b" direction="in"/>
  <arg type="o" direction="out"/><arg type="o" direction="out"/></method>
  <property name="Items" type="ao" access="read"/><property name="Locked" type="b" access="read"/>
  <property name="Label" type="s" access="read"/></interface></node>'''
_PROMPT = '''<node><interface name="org.freedesktop.Secret.Prompt"><method name="Prompt"><arg type="s" direction="in"/></method>
  <method name="Dismiss"/></interface></node>'''


class Probe:
    """A program that loads and saves, with `folder` for the files. Without a bus it has no session at all."""

    def __init__(self, folder, address=None, limit=20000, may_leak=False):
        env = {'PATH': os.environ['PATH'], 'HOME': folder}
        env.update({key: os.environ[key] for key in os.environ if key.endswith('SAN_OPTIONS')})
        if address is not None:
            env['DBUS_SESSION_BUS_ADDRESS'] = address
        if may_leak:
            for tool in ('ASAN_OPTIONS', 'LSAN_OPTIONS'):
                env[tool] = ':'.join([env.get(tool, ''), 'detect_leaks=0'])
        self.folder = os.path.join(folder, 'secrets')
        self.process = subprocess.Popen([PROBE, self.folder, str(limit)], env=env, text=True, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def begin(self, command):
        self.process.stdin.write(command + '\n')
        self.process.stdin.flush()

    def answer(self):
        return self.process.stdout.readline().strip()

    def load(self):
        self.begin('load')
        text = self.answer()
        return None if text == 'absent' else bytes.fromhex(text)

    def save(self, secret):
        """Whether it was stored."""
        self.begin('save ' + secret.hex())
        return self.answer() == 'saved'

    def remove(self):
        self.begin('remove')
        assert self.answer() == 'removed'

    def end(self):
        """Its exit status and what it complained about."""
        _, complaints = self.process.communicate(timeout=20)
        return self.process.returncode, complaints

    @property
    def file(self):
        return os.path.join(self.folder, FILE)


def write(path, content, mode):
    os.makedirs(os.path.dirname(path), mode=0o700, exist_ok=True)
    with open(path, 'wb') as file:
        file.write(content)
    os.chmod(path, mode)


def mode(path):
    return stat.S_IMODE(os.stat(path).st_mode)


class Case(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix='tessarin-secrets-')
        self.addCleanup(shutil.rmtree, self.folder)
        self.probes = []

    def probe(self, *arguments, **more):
        probe = Probe(self.folder, *arguments, **more)
        self.addCleanup(self._check_end, probe)
        return probe

    def _check_end(self, probe):
        self.assertEqual((0, ''), probe.end())

    def bus(self):
        folder = os.path.join(self.folder, 'bus')
        os.makedirs(folder)
        bus = PrivateBus(folder)
        self.addCleanup(bus.stop)
        return bus

    def fake(self, bus, answer, objects=None):
        service = FakeService(bus, objects or {'/org/freedesktop/secrets': _SERVICE}, answer)
        self.addCleanup(service.stop)
        return service


class WithAKeyring(Case):
    def setUp(self):
        super().setUp()
        self.private = self.bus()
        self.keyring = Keyring(self.private, os.path.join(self.folder, 'keyring'))
        self.addCleanup(self.keyring.stop)
        self.store = self.probe(self.private.address)

    def test_WhatIsSavedIsFoundByServiceAndAccountInEveryProgram(self):
        self.assertIsNone(self.store.load())
        self.assertTrue(self.store.save(SECRET))
        self.assertEqual(SECRET, self.keyring.stored())
        self.assertEqual(SECRET, self.probe(self.private.address).load())
        (item,), _ = self.keyring.items()
        self.assertEqual(ATTRIBUTES, {key: value for key, value in self.keyring.attributes(item).items() if key in ATTRIBUTES})
        self.assertFalse(os.path.exists(self.store.folder))

    def test_SavingReplacesTheSecretAndAddsNone(self):
        self.store.save(SECRET)
        self.store.save(OTHER)
        self.assertEqual(OTHER, self.store.load())
        self.assertEqual(1, len(self.keyring.items()[0]))

    def test_ASecretOfAnotherLengthIsTakenAsItIsAndReplaced(self):
        self.store.save(b'short')
        self.assertEqual(b'short', self.store.load())
        self.store.save(SECRET)
        self.assertEqual([SECRET, 1], [self.store.load(), len(self.keyring.items()[0])])

    def test_AnItemOfAnotherProgramWithMoreAttributesIsFoundAndReplaced(self):
        self.keyring.tool('store', '--label=older', 'service', ATTRIBUTES['service'], 'account', ATTRIBUTES['account'], 'kind', 'old',
                          secret=b'from before')
        self.assertEqual(b'from before', self.store.load())
        self.store.save(SECRET)
        self.assertEqual([SECRET, 1], [self.keyring.stored(), len(self.keyring.items()[0])])

    def test_AnItemOfAnotherAccountIsNotOurs(self):
        self.keyring.tool('store', '--label=other', 'service', ATTRIBUTES['service'], 'account', 'another', secret=b'another')
        self.assertIsNone(self.store.load())

    def test_ALockedKeyringHasNothingTakesNothingAndAsksNobody(self):
        self.store.save(SECRET)
        self.keyring.lock()
        self.assertTrue(self.keyring.is_locked)
        self.assertIsNone(self.store.load())
        self.assertFalse(self.store.save(OTHER))
        self.store.remove()
        self.assertEqual((0, 1), tuple(len(paths) for paths in self.keyring.items()))
        self.assertFalse(os.path.exists(self.store.folder))
        self.assertTrue(self.keyring.is_locked)
        self.assertFalse(self.private.was_asked)
        self._restart_the_keyring()
        self.assertEqual(SECRET, self.store.load())

    def test_ALockedKeyringWithoutOurSecretTakesNoneAndAsksNobody(self):
        self.keyring.lock()
        self.store.save(SECRET)
        self.assertEqual((0, 0), tuple(len(paths) for paths in self.keyring.items()))
        self.assertFalse(os.path.exists(self.store.folder))
        self.assertFalse(self.private.was_asked)

    def test_AProgramThatMayAskLeavesTheMarkThatTheOthersLookFor(self):
        self.keyring.lock()
        asking = subprocess.Popen(['secret-tool', 'store', '--label=x', 'a', 'b'], env=self.keyring.env, stdin=subprocess.PIPE,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        asking.stdin.write(b'x')
        asking.stdin.close()
        end = time.monotonic() + 15
        while not self.private.was_asked and time.monotonic() < end:
            time.sleep(0.01)
        asking.kill()
        asking.wait()
        self.assertTrue(self.private.was_asked)

    def test_WhatWasKeptInAFileMovesIntoTheKeyring(self):
        write(self.store.file, SECRET, 0o600)
        self.assertEqual(SECRET, self.store.load())
        self.assertEqual(SECRET, self.keyring.stored())
        self.assertFalse(os.path.exists(self.store.file))

    def test_AFileStaysWhereItIsUnreadWhileTheKeyringIsLocked(self):
        write(self.store.file, SECRET, 0o600)
        self.keyring.lock()
        self.assertIsNone(self.store.load())
        self.assertTrue(os.path.exists(self.store.file))

    def test_RemovingTakesTheFileAlsoWhileTheKeyringIsLocked(self):
        write(self.store.file, SECRET, 0o600)
        self.keyring.lock()
        self.assertFalse(self.store.save(OTHER))
        self.assertTrue(os.path.exists(self.store.file))
        self.store.remove()
        self.assertFalse(os.path.exists(self.store.file))
        self.assertFalse(self.private.was_asked)

    def test_WhatIsRemovedIsFoundNoMore(self):
        self.store.save(SECRET)
        self.store.remove()
        self.assertIsNone(self.store.load())
        self.assertEqual(([], []), tuple(list(paths) for paths in self.keyring.items()))

    def test_ASecretInTheKeyringWinsOverAFileAndSavingRemovesTheFile(self):
        self.store.save(SECRET)
        write(self.store.file, OTHER, 0o600)
        self.assertEqual(SECRET, self.store.load())
        self.store.save(SECRET[::-1])
        self.assertFalse(os.path.exists(self.store.file))

    def _restart_the_keyring(self):
        self.keyring.stop()
        self.keyring = Keyring(self.private, os.path.join(self.folder, 'keyring'))
        self.addCleanup(self.keyring.stop)


class WithoutAService(Case):
    def _keeps_a_file(self, store):
        self.assertIsNone(store.load())
        self.assertTrue(store.save(SECRET))
        self.assertEqual(SECRET, store.load())
        with open(store.file, 'rb') as file:
            self.assertEqual(SECRET, file.read())
        self.assertEqual((0o700, 0o600), (mode(store.folder), mode(store.file)))

    def test_WithoutASessionBusAFileKeepsTheSecret(self):
        self._keeps_a_file(self.probe())

    def test_WithABusThatIsGoneAFileKeepsTheSecret(self):
        self._keeps_a_file(self.probe('unix:path=' + os.path.join(self.folder, 'nobody')))

    def test_WithNobodyOnTheBusAFileKeepsTheSecret(self):
        self._keeps_a_file(self.probe(self.bus().address))

    def test_WithAServiceThatCannotBeStartedAFileKeepsTheSecret(self):
        bus = self.bus()
        bus.add_service(NAME, '/bin/false')
        self._keeps_a_file(self.probe(bus.address))


class WithABadService(Case):
    def test_AServiceThatNeverAnswersIsGivenUpWhenTheTimeIsUp(self):
        bus = self.bus()
        service = self.fake(bus, lambda *_: None)
        store = self.probe(bus.address, limit=3000)
        self.assertIsNone(store.load())
        self.assertFalse(store.save(SECRET))
        self.assertFalse(os.path.exists(store.folder))
        self.assertIn('OpenSession', service.calls)

    def test_AServiceThatNeverAnswersDoesNotHoldUpTheEndOfTheProgram(self):
        bus = self.bus()
        self.fake(bus, lambda *_: None)
        store = self.probe(bus.address, limit=100000)
        begin = time.monotonic()
        store.begin('leave')
        self.assertEqual('left', store.answer())
        self.assertLess(time.monotonic() - begin, 20)

    def test_AServiceThatRefusesIsNoReasonForAFile(self):
        bus = self.bus()
        self.fake(bus, lambda *_: Exception('org.freedesktop.DBus.Error.AccessDenied'))
        store = self.probe(bus.address)
        store.save(SECRET)
        self.assertIsNone(store.load())
        self.assertFalse(os.path.exists(store.folder))

    def test_ACollectionThatWantsToAskAfterAllIsNotLetTo(self):
        bus = self.bus()
        objects = {'/org/freedesktop/secrets': _SERVICE, '/c': _COLLECTION, '/p': _PROMPT}
        service = self.fake(bus, self._answer_with_a_prompt, objects)
        # The library forgets eight bytes for each service that does not encrypt.
        store = self.probe(bus.address, may_leak=True)
        store.save(SECRET)
        self.assertIsNone(store.load())
        self.assertIn('CreateItem', service.calls)
        self.assertNotIn('Prompt', service.calls)

    def _answer_with_a_prompt(self, method, arguments):
        if method == 'OpenSession' and arguments[0] != 'plain':
            return Exception('org.freedesktop.DBus.Error.NotSupported')
        return {'OpenSession': GLib.Variant('(vo)', (GLib.Variant('s', ''), '/s')),
                'SearchItems': GLib.Variant('(aoao)', ([], [])),
                'ReadAlias': GLib.Variant('(o)', ('/c',)),
                'CreateItem': GLib.Variant('(oo)', ('/', '/p'))}.get(method, GLib.Variant('()', ()))

    def test_TheEndOfTheBusDoesNotEndTheProgram(self):
        bus = self.bus()
        service = self.fake(bus, lambda *_: None)
        store = self.probe(bus.address)
        store.begin('load')
        end = time.monotonic() + 15
        while 'OpenSession' not in service.calls and time.monotonic() < end:
            time.sleep(0.01)
        bus.stop()
        self.assertEqual('absent', store.answer())
        self.assertIsNone(store.load())
        self.assertNotEqual(-signal.SIGTERM, store.process.poll())


if __name__ == '__main__':
    unittest.main()
