#!/usr/bin/python3
"""Frames of the device against published vectors, and against damage."""
import struct
import sys
import unittest

sys.dont_write_bytecode = True
from tessarin_device import frames  # noqa: E402

KEY = bytes(range(32))

# The first three are test cases 13 to 15 of the authors of the mode ("The Galois/Counter Mode of Operation", appendix B), the others are
# of the validation program of NIST (gcmEncryptExtIV256.rsp, without associated data).
VECTORS = [
    ('00' * 32, '00' * 12, '', '', '530f8afbc74536b9a963b4f1c4cb738b'),
    ('00' * 32, '00' * 12, '00' * 16, 'cea7403d4d606b6e074ec5d3baf39d18', 'd0d1c8a799996bf0265b98b5d48ab919'),
    ('feffe9928665731c6d6a8f9467308308' * 2, 'cafebabefacedbaddecaf888',
     'd9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a721c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba637b391aafd255',
     '522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662898015ad',
     'b094dac5d93471bdec1a502270e3cc6c'),
    ('b52c505a37d78eda5dd34f20c22540ea1b58963cf8e5bf8ffa85f9f2492505b4', '516c33929df5a3284ff463d7', '', '',
     'bdc1ac884d332457a1d2664f168c76f0'),
    ('31bdadd96698c204aa9ce1448ea94ae1fb4a9a0b3c9d773b51bb1822666b8f22', '0d18e06c7c725ac9e362e1ce',
     '2db5168e932556f8089a0622981d017d', 'fa4362189661d163fcd6a56d8bf0405a', 'd636ac1bbedd5cc3ee727dc2ab4a9489'),
]


class Sealing(unittest.TestCase):
    def test_PublishedVectorsAreSealedAndOpened(self):
        for row in VECTORS:
            key, nonce, plaintext, encrypted, tag = map(bytes.fromhex, row)
            payload = nonce + encrypted + tag
            self.assertEqual(frames.seal(plaintext, key, nonce), struct.pack('>I', len(payload)) + payload)
            self.assertEqual(frames.unseal(payload, key), plaintext)

    def test_AnEmptyMessageIsALengthANonceAndATag(self):
        frame = frames.seal(b'', KEY)
        self.assertEqual((len(frame), frame[:4]), (32, b'\0\0\0\x1c'))
        self.assertEqual(frames.unseal(frame[4:], KEY), b'')

    def test_NoTwoFramesAreAlike(self):
        self.assertEqual(len({frames.seal(b'again', KEY)[4:16] for _ in range(1000)}), 1000)

    def test_WhatWasAlteredOrSealedWithAnotherKeyDoesNotOpen(self):
        payload = frames.seal(b'the message', KEY)[4:]
        for bit in range(8 * len(payload)):
            altered = bytearray(payload)
            altered[bit // 8] ^= 1 << bit % 8
            with self.assertRaises(frames.WrongKey):
                frames.unseal(bytes(altered), KEY)
        with self.assertRaises(frames.WrongKey):
            frames.unseal(payload, bytes(32))

    def test_LengthsAreBounded(self):
        with self.assertRaises(frames.FrameError):
            frames.unseal(bytes(27), KEY)
        with self.assertRaises(frames.FrameError):
            frames.unseal(bytes(28), KEY[:31])
        with self.assertRaises(frames.FrameError):
            frames.seal(b'', KEY + b'x')
        longest = bytes(16777188)
        self.assertEqual(frames.seal(longest, KEY)[:4], b'\1\0\0\0')
        with self.assertRaises(frames.FrameError):
            frames.seal(longest + b'x', KEY)


class Reading(unittest.TestCase):
    def messages(self, pieces):
        reader = frames.FrameReader(KEY)
        out = []
        for piece in pieces:
            reader.feed(piece)
            while (message := reader.next()) is not None:
                out.append(message)
        return out

    def test_FramesAreFoundHoweverTheyAreCut(self):
        stream = b''.join(frames.seal(message, KEY) for message in (b'one', b'', b'three' * 100))
        expected = [b'one', b'', b'three' * 100]
        self.assertEqual(self.messages([stream]), expected)
        self.assertEqual(self.messages([bytes([byte]) for byte in stream]), expected)
        for cut in range(len(stream)):
            self.assertEqual(self.messages([stream[:cut], stream[cut:]]), expected)

    def test_AnImpossibleLengthIsRefusedBeforeItsBytesHaveCome(self):
        for header in (b'\0\0\0\0', b'\0\0\0\x1b', b'\1\0\0\1', b'\xff\xff\xff\xff'):
            with self.assertRaises(frames.FrameError):
                self.messages([header])
        self.assertEqual(self.messages([b'\1\0\0\0']), [])


if __name__ == '__main__':
    unittest.main()
