#!/usr/bin/python3
"""The checks find what they are for: each is shown a small project with one mistake, and one without."""
import os
import tempfile
import unittest

import format
import layers
import running
import sizes
import words


class Checks(unittest.TestCase):
    def complaints(self, check, name, content):
        with tempfile.TemporaryDirectory() as root:
            os.makedirs(os.path.join(root, os.path.dirname(name)), exist_ok=True)
            with open(os.path.join(root, name), 'w') as file:
                file.write(content)
            if check is format:
                with open(os.path.join(root, '.clang-format'), 'w') as file:
                    file.write('BasedOnStyle: WebKit\n')
            return check.complaints(root)

    def rejects(self, check, name, content, line=1):
        found = self.complaints(check, name, content)
        self.assertEqual(len(found), 1, found)
        self.assertTrue(found[0].startswith(f'{name}:{line}:'), found)

    def accepts(self, check, name, content):
        self.assertEqual(self.complaints(check, name, content), [])

    def test_AnIncludeThatPointsUpIsFound(self):
        self.rejects(layers, 'Sources/Models/A.h', '#pragma once\n#include "App/AppModel.h"\n', 2)
        self.rejects(layers, 'Sources/Services/A.cpp', '#include "Remote/Wire.h"\n')
        self.rejects(layers, 'Sources/Platform/A.cpp', '#include "../Models/A.h"\n')
        self.rejects(layers, 'Sources/Platform/A.cpp', '# include "A.h"\n')
        self.accepts(layers, 'Sources/App/A.cpp', '#include "Services/AgentClient.h"\n#include "Platform/Uuid.h"\n')

    def test_QtBelowViewsIsFound(self):
        self.rejects(layers, 'Sources/App/A.cpp', '#include <QString>\n')
        self.rejects(layers, 'Sources/App/A.cpp', '#include <QtCore/QString>\n')
        self.rejects(layers, 'Sources/App/CMakeLists.txt', 'target_link_libraries(App PUBLIC Qt6::Core)\n')
        self.accepts(layers, 'Sources/Views/A.cpp', '#include <QString>\n#include "A.moc"\n')

    def test_AsioOutsideOfPlatformSourcesIsFound(self):
        self.rejects(layers, 'Sources/Platform/A.h', '#include <boost/asio/strand.hpp>\n')
        self.rejects(layers, 'Sources/Services/A.cpp', '#include <boost/asio.hpp>\n')
        self.accepts(layers, 'Sources/Platform/A.cpp', '#include <boost/asio.hpp>\n')

    def test_WordsThatPointOutsideAreFound(self):
        self.rejects(words, 'README.md', 'one\nas the specifi' 'cation says\n', 2)
        self.rejects(words, 'A.h', '// see Part ' '3.4\n')
        self.rejects(words, 'A.h', '// built in /wo' 'rk/main\n')
        self.rejects(words, 'spec' '-1.txt', '\n')
        self.accepts(words, 'A.h', '// part of 3 things; a specific case; ./wo' 'rk/ and spec.h\n')

    def test_AFileThatIsTooLongIsFound(self):
        self.rejects(sizes, 'A.cpp', '\n' * 501, 501)
        self.accepts(sizes, 'A.cpp', '\n' * 500)

    def test_ATestThatDoesNotRunIsFound(self):
        self.rejects(running, 'Tests/ATest.cpp', 'TEST(A, DIS' 'ABLED_B)\n')
        self.rejects(running, 'Tests/ATest.cpp', 'EXPECT_TRUE(' 'true);\n')
        self.accepts(running, 'Tests/ATest.cpp', 'EXPECT_TRUE(isOpen);\n')

    def test_UnformattedCodeIsFound(self):
        found = self.complaints(format, 'A.cpp', 'int  a;\n')
        self.assertTrue(found and found[0].startswith('A.cpp:1:'), found)
        self.accepts(format, 'A.cpp', 'int a;\n')


if __name__ == '__main__':
    unittest.main()
