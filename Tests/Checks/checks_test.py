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
import texts
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

    def documented(self, page, **sources):
        """The complaints about a page beside these sources, named by the check's own place for each."""
        with tempfile.TemporaryDirectory() as root:
            for name, content in ((documentation.PAGE, page), *((f'Sources/{PLACES[place]}', text) for place, text in sources.items())):
                os.makedirs(os.path.dirname(os.path.join(root, name)), exist_ok=True)
                with open(os.path.join(root, name), 'w') as file:
                    file.write(content)
            return documentation.complaints(root)

    def test_APageThatSaysWhatNoSourceSaysIsFound(self):
        self.rejects(documentation, documentation.PAGE, '| "<program> says what nobody says." | x |\n')
        self.rejects(documentation, documentation.PAGE, '## Codex\n- Searched: `/nowhere/codex`\n', 2)
        self.rejects(documentation, documentation.PAGE, '## Codex\n\n- Removed: `PATH`\n', 3)
        self.rejects(documentation, documentation.PAGE, '## Codex\n\n- In front: `/bin`\n', 3)
        self.rejects(documentation, documentation.PAGE, '## Codex\n- Added: `A=b`\n', 2)
        self.accepts(documentation, documentation.PAGE, '## Codex\nWords, and "words" in `code`.\n| `x` | "words" |\n')

    def test_WhatTheCodeSaysAndThePageDoesNotIsFound(self):
        found = self.documented('## Codex\n', error='f("It is wrong.", "no");\n', locator=LOCATOR)
        self.assertEqual(5, len(found), found)
        self.assertTrue(found[0].endswith('searched for Codex is in the code: ~/bin/codex, /home/linuxbrew/.linuxbrew/bin/codex, /usr/bin/codex'))
        self.assertTrue(found[1].endswith('in front for Codex is in the code: /home/linuxbrew/.linuxbrew/bin, ~/bin, /usr/bin'), found[1])
        self.assertTrue(found[2].endswith('removed for Codex is in the code: A_KEY, B_KEY'), found[2])
        self.assertTrue(found[3].endswith('added for Codex is in the code: C_KEY=tessarin'), found[3])
        self.assertIn('It is wrong.', found[4])

    def test_AShortTextIsReadWhereItStands(self):
        page = '### The state above the conversation\n| "Ready" | x |\n'
        label = 'std::string_view State::label() const\n{\n    return "%s";\n}\n'
        self.assertEqual([], self.documented(page, state=label % 'Ready'))
        stale = self.documented(page, state=label % 'At rest', error='f("Ready");')
        self.assertEqual(2, len(stale), 'the other source that says it is not the one: ' + str(stale))
        self.assertTrue(stale[0].startswith(documentation.PAGE + ':2:'), stale[0])
        self.assertIn('says nothing of "At rest"', stale[1])
        self.assertEqual(1, len(self.documented('### The banner\n| "Ready" | x |\n', state=label % 'Ready')), 'it is in another table')

    def test_ATextOfTheSettingsIsMissedOnThePage(self):
        status = 'QString statusLabel(const State& state)\n{\n    return a ? QStringLiteral("Gone") : QStringLiteral("Here");\n}\n'
        here = '### A program in Settings\n| "Here" | x |\n'
        self.assertEqual(['Sources/Views/RuntimeSettingsRules.cpp:1: the page about the runtimes says nothing of "Gone"'],
                         self.documented(here, settings=status))
        self.assertEqual([], self.documented(here + '| "Gone" | x |\n', settings=status))

    def test_APieceOfATextIsNotTheText(self):
        page = '### The banner\n| "%s" | x |\n'
        source = 'f("The " + name() + " is not there, and never was.");\n'
        self.assertEqual([], self.documented(page % 'The <program> is not there, and never was.', error=source))
        for text in ('The <program> is not there', 'is not there, and never was.', 'The <program> is not there, and never was', 'The'):
            self.assertEqual(1, sum(each.startswith(documentation.PAGE) for each in self.documented(page % text, error=source)), text)

    def test_AnExceptionThatIsNotNeededIsFound(self):
        self.assertEqual([], self.documented('## x\n', selection='f("Choose a project");\n'))
        found = self.documented('## x\n', selection='f("Choose a folder now");\n')
        self.assertEqual(2, len(found), found)
        self.assertIn('"Choose a project" any more', found[1])

    def test_ATextIsReadWhole(self):
        for source, wanted in (
                ('"one " // why\n    "two"', ['one two']), ('a + " b " + c(1, "d") + "."', ['d', '<> b <>.']), ('f("a", "b")', ['a', 'b']),
                ('QStringLiteral("a ") + QStringLiteral("b")', ['a b']), ('x ? QStringLiteral("a") : std::string("b")', ['a', 'b']),
                ('assert(a && "b"); "c" // "d"\n#include "e"\n', ['c']), ("'\"' + \"a\"", ['<>a']), ('"a" + std::to_string(b) + "c";', ['a<>c'])):
            self.assertEqual(wanted, texts.texts(source), source)


PLACES = {'error': 'App/FriendlyError.cpp', 'locator': 'Services/CodexLocator.cpp', 'state': 'Models/ConnectionState.cpp',
          'settings': 'Views/RuntimeSettingsRules.cpp', 'selection': 'App/AppModel.Selection.cpp'}

LOCATOR = '''std::vector<std::string> CodexLocator::candidates(const RuntimeContext& context)
{
    if (context.platform == LocatorPlatform::macOS)
        fixed.emplace_back("/Applications/codex");
    return searchOrder(context, key, { context.home + "/bin/codex", homebrewFolder(context.platform) + "/codex", "/usr/bin/codex" }, "codex");
}

Environment CodexLocator::subscriptionEnvironment(const RuntimeContext& context)
{
    Environment environment = environmentWithFolders(
        context, { homebrewFolder(context.platform), context.home + "/bin", "/usr/bin" }, "/bin");
    for (const char* key : { "A_KEY", "B_KEY" })
        environment.erase(key);
    environment["C_KEY"] = "tessarin";
    f("not logged in");
}
'''


if __name__ == '__main__':
    unittest.main()
