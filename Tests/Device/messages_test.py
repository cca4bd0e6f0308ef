#!/usr/bin/python3
"""Messages, media and texts of the device: what a computer may say, and what it may not."""
import base64
import json
import os
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
from fake_host import creation, entry, snapshot, task  # noqa: E402
from tessarin_device import media, messages, terminal  # noqa: E402
from tessarin_device.transcript import Transcript  # noqa: E402


def told(kind, **fields):
    return json.dumps({'version': 1, 'id': 'A', 'type': kind, **fields}).encode()


class Messages(unittest.TestCase):
    def test_ACommandHasAVersionANewIdAndNoAbsentFields(self):
        first, second = (json.loads(messages.command('prompt', text='ü\ud800', threadID=None)) for _ in range(2))
        self.assertEqual(sorted(first), ['id', 'text', 'type', 'version'])
        self.assertEqual((first['version'], first['type'], first['text']), (1, 'prompt', 'ü?'))
        self.assertRegex(first['id'], '^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$')
        self.assertNotEqual(first['id'], second['id'])

    def test_AStateIsTakenWithOptionalFieldsAbsentOrNullAndWithUnknownKeys(self):
        state = snapshot(tasks=[task('One', entry('user', 'hi'))], creations=[creation('a cube')])
        self.assertEqual(messages.read(told('snapshot', snapshot=state))['snapshot'], state)
        state.update(selectedThreadID=None, permission=None, shoeSize=44)
        self.assertEqual(messages.read(told('snapshot', snapshot=state))['snapshot'], state)

    def test_AnotherVersionIsPassedOver(self):
        self.assertIsNone(messages.read(b'{"version":2,"id":7}'))

    def test_WhatIsNoMessageIsRefused(self):
        state = snapshot(tasks=[task('One', entry('user', 'hi'))])
        for name in state:
            if name not in ('selectedWorkspaceID', 'selectedThreadID', 'permission', 'activeProvider'):
                self.refuses(told('snapshot', snapshot={key: value for key, value in state.items() if key != name}))
            self.refuses(told('snapshot', snapshot={**state, name: ['wrong']} if name not in (
                'workspaces', 'providerUsages', 'imagineItems') else {**state, name: 'wrong'}))
        state['workspaces'][0]['threads'][0]['entries'][0]['createdAt'] = True
        self.refuses(told('snapshot', snapshot=state))
        for wrong in (b'', b'{', b'[]', b'null', b'"text"', b'{"version":1,"id":"A"}', b'{"version":"1","id":"A","type":"x"}', b'{"id":"A","type":"x"}',
                      b'{"version":1,"id":"A","type":"x","chunkIndex":1.5}', b'{"version":1,"id":"A","type":"x","chunkIndex":NaN}',
                      b'{"version":1,"id":"A","type":"\xff"}', b'[' * 200000, b'{"version":1' + b'0' * 100000 + b'}'):
            self.refuses(wrong)

    def refuses(self, wrong):
        with self.assertRaises(messages.MessageError, msg=wrong[:100]):
            messages.read(wrong)


def chunk(index, count, content, **more):
    return {'version': 1, 'id': str(index), 'type': 'media_chunk', 'mediaID': 'M', 'mediaKind': 'image', 'mimeType': 'image/png',
            'fileName': 'a.png', 'chunkIndex': index, 'chunkCount': count, 'data': base64.b64encode(content).decode(), **more}


FULL = bytes(range(256)) * 768


def content_of(path):
    with open(path, 'rb') as file:
        return file.read()


class Media(unittest.TestCase):
    def setUp(self):
        self.written = b''
        self.assembly = media.MediaAssembly('M', self.write, limit=1_000_000)

    def write(self, data):
        self.written += data

    def test_ChunksBecomeTheFile(self):
        self.assertTrue(self.assembly.take(chunk(0, 2, FULL)))
        self.assertFalse(self.assembly.is_complete)
        self.assertTrue(self.assembly.take(chunk(1, 2, b'x')))
        self.assertTrue(self.assembly.is_complete)
        self.assertEqual((self.written, self.assembly.file_name), (FULL + b'x', 'a.png'))

    def test_AnEmptyFileIsOneEmptyChunk(self):
        self.assertTrue(self.assembly.take(chunk(0, 1, b'')))
        self.assertTrue(self.assembly.is_complete)
        self.assertEqual(self.written, b'')

    def test_ChunksForOtherDevicesArePassedOver(self):
        self.assertFalse(self.assembly.take(chunk(0, 1, b'x', mediaID='N')))
        self.assertFalse(self.assembly.take({'type': 'snapshot', 'id': '1', 'version': 1}))
        self.assertFalse(self.assembly.take(chunk(1, 3, FULL)), 'of a stream that began before we came')
        self.assertTrue(self.assembly.take(chunk(0, 3, FULL)))
        self.assertFalse(self.assembly.take(chunk(0, 3, FULL)), 'a second stream of the same file')
        self.assertFalse(self.assembly.take(chunk(2, 3, b'x')))
        self.assertTrue(self.assembly.take(chunk(1, 3, FULL)))
        self.assertTrue(self.assembly.take(chunk(2, 3, b'x')))
        self.assertFalse(self.assembly.take(chunk(2, 3, b'x')))
        self.assertEqual(self.written, FULL + FULL + b'x')

    def test_ImpossibleChunksAreRefused(self):
        for wrong in (chunk(0, 0, b''), chunk(-1, 1, b''), chunk(1, 1, b''), chunk(0, 2, b'short'), chunk(0, 1, FULL + b'x'),
                      chunk(0, 1, b'', data='?'), chunk(0, 1, b'', data='Zg='), chunk(0, 1, b'', data='Zg==\n'), chunk(0, 1, b'', data=None),
                      chunk(None, 1, b''), chunk(0, 10 ** 9, FULL)):
            with self.assertRaises(media.MediaError, msg=str(wrong)[:200]):
                media.MediaAssembly('M', self.write, limit=1_000_000).take(wrong)
        self.assertEqual(self.written, b'')

    def test_AFileThatChangesItsCountIsRefused(self):
        self.assembly.take(chunk(0, 2, FULL))
        with self.assertRaises(media.MediaError):
            self.assembly.take(chunk(1, 3, FULL))

    def test_ALastChunkIsEmptyOnlyInAnEmptyFile(self):
        self.assembly.take(chunk(0, 2, FULL))
        with self.assertRaises(media.MediaError):
            self.assembly.take(chunk(1, 2, b''))

    def test_TheLimitHolds(self):
        small = media.MediaAssembly('M', self.write, limit=len(FULL))
        self.assertTrue(small.take(chunk(0, 1, FULL)))
        with self.assertRaisesRegex(media.MediaError, '--limit'):
            media.MediaAssembly('M', self.write, limit=len(FULL) - 1).take(chunk(0, 1, FULL))
        with self.assertRaisesRegex(media.MediaError, '--limit'):
            media.MediaAssembly('M', self.write, limit=len(FULL)).take(chunk(0, 2, FULL))

    def test_NamesStayInTheirFolder(self):
        self.assertEqual(media.file_name('a cube (1).png', 'M'), 'a cube (1).png')
        for told_name, name in (('../../.bashrc', 'M-1'), ('/etc/passwd', 'passwd'), ('..', 'M-1'), ('', 'M-1'), ('a\x1b[2J', 'M-1'), ('-rf', 'M-1'),
                                ('C:\\x\\b.png', 'b.png'), ('.hidden', 'M-1'), ('a' * 300, 'M-1'), ('a\u202egnp.exe', 'M-1')):
            self.assertEqual(media.file_name(told_name, 'M-1/;$'), name)

    def test_AFileHasItsNameOnlyWhenItIsWhole(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, 'a.png')
            partial = media.PartialFile(folder)
            partial.write(b'half')
            self.assertFalse(os.path.exists(path))
            partial.close()
            self.assertEqual(os.listdir(folder), [])
            partial = media.PartialFile(folder)
            partial.write(b'whole')
            partial.finish(path)
            partial.close()
            self.assertEqual((os.listdir(folder), content_of(path)), (['a.png'], b'whole'))
            second = media.PartialFile(folder)
            with self.assertRaises(media.MediaError):
                second.finish(path)
            second.close()
            self.assertEqual((os.listdir(folder), content_of(path)), (['a.png'], b'whole'))


class Terminal(unittest.TestCase):
    def test_NothingThatSteersATerminalIsLeft(self):
        steering = [chr(number) for number in [*range(32), *range(127, 160), 0x202e, 0x2066, 0x200f, 0x2028, 0xd800, 0xdfff]
                    if chr(number) not in '\n\t']
        for character in steering:
            self.assertEqual(terminal.safe(f'a{character}b'), 'a\ufffdb', hex(ord(character)))
        self.assertEqual(terminal.safe('ok\n\tü 漢 🙂 é\r\n'), 'ok\n\tü 漢 🙂 é\n')

    def test_ALineIsOneLine(self):
        self.assertEqual(terminal.safe_line('a\n\n  b\tc\x1b[2J'), 'a b c\ufffd[2J')
        self.assertEqual(terminal.safe_line('abcdef', 4), 'abc…')

    def test_AMomentThatIsNoneIsAQuestionMark(self):
        self.assertEqual(terminal.moment(1e300), '?')
        self.assertRegex(terminal.moment(86400), '^1970-01-0[123] ')


class Transcripts(unittest.TestCase):
    def setUp(self):
        self.out = ''
        self.transcript = Transcript(say=self.say)

    def say(self, text='', end='\n'):
        self.out += text + end

    def shown(self, shown_task):
        self.out = ''
        self.transcript.show(shown_task)
        return self.out

    def test_OnlyWhatIsNewIsSaid(self):
        told_task = task('Work', entry('user', 'hi'))
        self.assertEqual(self.shown(told_task), '== Work ==\n-- You\nhi')
        self.assertEqual(self.shown(told_task), '')
        told_task['entries'].append(entry('assistant', 'Hel', provider='grok'))
        self.assertEqual(self.shown(told_task), '\n-- Grok\nHel')
        told_task['entries'][1]['text'] = 'Hello.'
        self.assertEqual(self.shown(told_task), 'lo.')
        told_task['entries'].append(entry('tool', 'long details', title='Edit', status='pending'))
        self.assertEqual(self.shown(told_task), '\n-- Edit [pending]\n')
        told_task['entries'][2]['status'] = 'completed'
        self.assertEqual(self.shown(told_task), '-- Edit [completed]\n')
        told_task['entries'][1]['text'] = 'Hello. More'
        self.assertEqual(self.shown(told_task), '-- Grok (continued)\n More')
        told_task['entries'][1]['text'] = 'Other'
        self.assertEqual(self.shown(told_task), '\n-- Grok\nOther')

    def test_AnotherTaskBeginsAnewAndOnlyItsLastEntriesAreSaid(self):
        self.transcript = Transcript(last_entries=1, say=self.say)
        self.shown(task('First'))
        other = task('Second', entry('user', 'one'), entry('user', 'two'))
        self.assertEqual(self.shown(other), '== Second ==\n   (1 earlier)\n-- You\ntwo')
        self.assertEqual(self.shown(None), '\n')


if __name__ == '__main__':
    unittest.main()
