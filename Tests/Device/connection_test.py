#!/usr/bin/python3
"""The connection of a device: time, order, and messages that come twice."""
import json
import sys
import unittest

sys.dont_write_bytecode = True
from fake_host import FakeHost, snapshot  # noqa: E402
from tessarin_device import connection, frames  # noqa: E402
from tessarin_device.connection import Computer, Connection, ConnectionLost, DeviceError  # noqa: E402

TIMEOUT = 10


class SlowSocket:
    """Gives one byte at a time, and silence behind the last one."""

    def __init__(self, data):
        self.left = data
        self.timeouts = set()

    def settimeout(self, seconds):
        self.timeouts.add(seconds)

    def recv(self, _):
        if not self.left:
            raise TimeoutError
        byte, self.left = self.left[:1], self.left[1:]
        return byte


class ConnectionCase(unittest.TestCase):
    def setUp(self):
        self.host = FakeHost()
        self.addCleanup(self.host.close)

    def connect(self):
        made = Connection(self.host.pairing)
        self.addCleanup(made.close)
        return made

    def numbered(self, number):
        return frames.seal(json.dumps({'version': 1, 'id': number, 'type': number}).encode(), self.host.key)

    def test_OnlySilenceIsTooLong(self):
        made = self.connect()
        self.addCleanup(setattr, made, '_socket', made._socket)
        slow = made._socket = SlowSocket(self.numbered('large'))
        self.assertEqual(made.receive(3)['type'], 'large')
        self.assertEqual(slow.timeouts, {3})
        self.assertIsNone(made.receive(3))

    def test_AMessageThatComesTwiceCountsOnce(self):
        self.host.greeting = [self.numbered('A'), self.numbered('B'), self.numbered('A'), self.numbered('C')]
        made = self.connect()
        self.assertEqual([made.receive(TIMEOUT)['type'] for _ in range(3)], ['A', 'B', 'C'])

    def test_AStateThatIsSentAgainToANewConnectionCounts(self):
        self.host.greeting = [self.host.state(snapshot())]
        for _ in range(2):
            self.assertEqual(self.connect().receive(TIMEOUT)['type'], 'snapshot')

    def test_IdsAreForgottenWhenThereAreMany(self):
        count = connection.REMEMBERED_IDS
        self.host.greeting = [self.numbered(str(number)) for number in range(count + 1)] + [self.numbered(str(count)), self.numbered('0')]
        made = self.connect()
        for number in range(count + 1):
            self.assertEqual(made.receive(TIMEOUT)['type'], str(number))
        self.assertEqual(made.receive(TIMEOUT)['type'], '0', 'the oldest one is forgotten, the newest is not')

    def test_AHostThatHangsUpIsTold(self):
        made = self.connect()
        made.send('hello')
        self.host.next_message('hello')
        self.host.drop()
        with self.assertRaisesRegex(ConnectionLost, 'The connection to Ada is lost'):
            made.receive(TIMEOUT)

    def test_AHostWithoutAStateIsTold(self):
        with Computer(self.host.pairing) as computer, self.assertRaisesRegex(DeviceError, 'does not say what it is doing'):
            computer.greet(0.2)

    def test_AConditionIsLookedAtBeforeAnythingIsWaitedFor(self):
        with Computer(self.host.pairing) as computer:
            self.assertTrue(computer.wait(lambda: True, 0))
            self.assertFalse(computer.wait(lambda: False, 0.01))


if __name__ == '__main__':
    unittest.main()
