#!/usr/bin/python3
"""Every test that is written runs, and can fail."""
import re

from project import files, lines, report, root_from_arguments

NOT_RUNNING = re.compile('|'.join([
    r'GTEST_' r'SKIP', r'Q' r'SKIP\(', r'\bDIS' r'ABLED_', r'EXPECT_TRUE\(' r'true\)', r'ASSERT_TRUE\(' r'true\)', r'SUCC' r'EED\(',
    r'QVERIFY\(' r'true\)', r'skip' r'Test\b', r'unittest\.' r'skip', r'expected' r'Failure', r'\btest\.' r'skip\(', r'\b(it|describe)\.' r'skip\(',
    r'PROPERTIES\s.*\bDIS' r'ABLED\b', r'WILL_' r'FAIL',
]))


def complaints(root):
    out = []
    for name in files(root):
        if name.startswith('Tests/'):
            for number, text in lines(root, name):
                found = NOT_RUNNING.search(text)
                if found:
                    out.append(f'{name}:{number}: a test that does not run or cannot fail: {found.group()}')
    return out


if __name__ == '__main__':
    report(complaints(root_from_arguments()), 'tests do not run or cannot fail')
