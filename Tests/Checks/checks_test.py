#!/usr/bin/python3
"""The checks find what they are for: each is shown a small project with one mistake, and one without."""
import os
import tempfile
import unittest

import documentation
import format
import layers
import looks
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
        self.rejects(layers, 'Sources/Updates/A.cpp', '#include "Models/Workspace.h"\n')
        self.rejects(layers, 'Sources/App/A.cpp', '#include "Updates/Appcast.h"\n')
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

    def test_ALookOutsideOfItsPlaceIsFound(self):
        row = 'Sources/Views/Qml/Row.qml'
        self.rejects(looks, row, 'Item {\n    color: "#0d6678"\n}\n', 2)
        self.rejects(looks, row, 'Item {\n    border.color: "red"\n}\n', 2)
        self.rejects(looks, row, 'Item {\n    T.Label { text: root.title }\n}\n', 2)
        self.rejects(looks, row, 'Line {\n    textFormat: Text.RichText\n}\n', 2)
        self.rejects(looks, row, 'SystemSymbol {\n    name: root.open ? "folder" : ""\n}\n', 2)
        self.rejects(looks, 'Sources/Views/Qml/Line.qml', 'T.Label {\n}\n')
        self.accepts(looks, row, 'Line {\n    color: "transparent"\n    text: root.name\n}\n')
        self.accepts(looks, 'Sources/Views/Qml/Theme.qml', 'color: "#0d6678"\n')

    def test_ADrawingThatIsNotLikeTheOthersIsFound(self):
        name = 'Sources/Views/Symbols/a.svg'
        found = self.complaints(looks, name, '<svg viewBox="0 0 24 24" stroke-width="2" fill="none"/>')
        self.assertEqual([told.split(': ')[1] for told in found], ['not drawn as the others are', 'nothing shows this symbol'])

    def test_UnformattedCodeIsFound(self):
        found = self.complaints(format, 'A.cpp', 'int  a;\n')
        self.assertTrue(found and found[0].startswith('A.cpp:1:'), found)
        self.accepts(format, 'A.cpp', 'int a;\n')


    def test_APageThatSaysWhatNoSourceSaysIsFound(self):
        self.rejects(documentation, documentation.PAGE, '| "<program> says what nobody says." | x |\n')
        self.rejects(documentation, documentation.PAGE, '## Codex\n- Searched: `/nowhere/codex`\n', 2)
        self.rejects(documentation, documentation.PAGE, '## Codex\n\n- Removed: `PATH`\n', 3)
        self.accepts(documentation, documentation.PAGE, '## Codex\nWords, and "words" in `code`.\n')

    def test_WhatTheCodeSaysAndThePageDoesNotIsFound(self):
        text = 'x() { return "Something is " // why\n    "wrong with it."; }\n'
        self.assertEqual(['Something is wrong with it.'], documentation.literals(text.replace(' // why', '')))
        with tempfile.TemporaryDirectory() as root:
            for name, content in ((documentation.PAGE, '## Codex\n'), ('Sources/App/FriendlyError.cpp', 'f("It is wrong.", "no");\n'),
                                  ('Sources/Services/CodexLocator.cpp', LOCATOR)):
                os.makedirs(os.path.dirname(os.path.join(root, name)), exist_ok=True)
                with open(os.path.join(root, name), 'w') as file:
                    file.write(content)
            found = documentation.complaints(root)
        self.assertEqual(3, len(found), found)
        self.assertIn('~/bin/codex, /home/linuxbrew/.linuxbrew/bin/codex, /usr/bin/codex', found[0])
        self.assertIn('A_KEY, B_KEY', found[1])
        self.assertIn('It is wrong.', found[2])


LOCATOR = '''std::vector<std::string> CodexLocator::candidates(const RuntimeContext& context)
{
    if (context.platform == LocatorPlatform::macOS)
        fixed.emplace_back("/Applications/codex");
    return searchOrder(context, key, { context.home + "/bin/codex", homebrewFolder(context.platform) + "/codex", "/usr/bin/codex" }, "codex");
}

Environment CodexLocator::subscriptionEnvironment(const RuntimeContext& context)
{
    for (const char* key : { "A_KEY", "B_KEY" })
        environment.erase(key);
}
'''


if __name__ == '__main__':
    unittest.main()
