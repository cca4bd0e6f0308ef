#!/usr/bin/python3
"""Each recorded conversation is played by a test, so that none stands there and proves nothing."""
import glob
import os
import re
import unittest

TESTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..')
RECORDINGS = os.path.join(TESTS, 'Services', 'Recordings')
ONE_PROGRAM = {'CodexClientRecordingTest.cpp': 'codex', 'ClaudeClientRecordingTest.cpp': 'claude'}
PROGRAMS = {'grok': 'grok', 'kimi': 'kimi', 'glm': 'opencode'}  # by what the sources call the provider
TEST = re.compile(r'^TEST_[PF]\((\w+), \w+\)\n\{\n(.*?)^\}', re.MULTILINE | re.DOTALL)
SUITE = re.compile(r'INSTANTIATE_TEST_SUITE_P\(\s*\w+, (\w+), (.*?)\);\n', re.DOTALL)
PROVIDER = re.compile(r'AgentProvider::(\w+)')
PLAYED = re.compile(r'\b(?:play|open)\((?:([^",]+), )?"([a-z-]+)"')
WHOLE_NAME = re.compile(r'"((?:claude|codex|grok|kimi|opencode)-[a-z-]+)"')


def source(*path):
    with open(os.path.join(TESTS, *path), encoding='utf-8') as file:
        return file.read()


def played_by_one_program(text, program):
    return {f'{program}-{case}' for _, case in PLAYED.findall(text)}


def played_by_several(text):
    """A test plays for the provider that it names, or for all that its suite is made of."""
    rows = PROVIDER.findall(re.search(r'const Vendor vendors\[\] = \{.*?^\};', text, re.MULTILINE | re.DOTALL).group())
    suites = {name: PROVIDER.findall(values) or rows for name, values in SUITE.findall(text)}
    found = set()
    for suite, body in TEST.findall(text):
        for provider, case in PLAYED.findall(body):
            named = PROVIDER.findall(provider)
            found |= {f'{PROGRAMS[one]}-{case}' for one in named or suites[suite]}
    return found | set(WHOLE_NAME.findall(text))


def played():
    found = played_by_several(source('Services', 'ACPClientRecordingTest.cpp'))
    for file, program in ONE_PROGRAM.items():
        found |= played_by_one_program(source('Services', file), program)
    return found


class Recordings(unittest.TestCase):
    def test_EachRecordingIsPlayedByATest(self):
        recorded = {os.path.basename(path).removesuffix('.jsonl') for path in glob.glob(os.path.join(RECORDINGS, '*.jsonl'))}
        self.assertGreater(len(recorded), 50)
        self.assertEqual(recorded - played(), set(), 'no test plays these')
        self.assertEqual(played() - recorded, set(), 'these are played and were never recorded')

    def test_RecordingsStandInOnePlaceAndHaveAPage(self):
        folders = {os.path.dirname(path) for path in glob.glob(os.path.join(TESTS, '*', 'Recordings', '*'))}
        self.assertEqual([os.path.realpath(folder) for folder in folders], [os.path.realpath(RECORDINGS)])
        self.assertTrue(os.path.exists(os.path.join(RECORDINGS, 'README.md')))

    def test_ATestOfOneProviderPlaysNoOthersRecording(self):
        text = ('const Vendor vendors[] = {\n { AgentProvider::grok },\n { AgentProvider::kimi },\n};\n'
                'INSTANTIATE_TEST_SUITE_P(Vendors, All, ::testing::ValuesIn(vendors), name);\n'
                'TEST_P(All, One)\n{\n    play(GetParam().provider, "a-turn");\n}\n'
                'TEST_F(Some, Two)\n{\n    play(AgentProvider::glm, "a-plan");\n}\n'
                'TEST_F(Some, Three)\n{\n    Recording refusal("grok-a-word", runtime);\n}\n')
        self.assertEqual(played_by_several(text), {'grok-a-turn', 'kimi-a-turn', 'opencode-a-plan', 'grok-a-word'})


if __name__ == '__main__':
    unittest.main(verbosity=2)
