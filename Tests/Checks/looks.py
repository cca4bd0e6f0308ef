#!/usr/bin/python3
"""The window takes its look from one place: colours stand in Theme alone, texts are shown by the few components that never read markup in
them, and every symbol that is named has a drawing, all of one stroke and one colour."""
import os
import re

from project import files, lines, report, root_from_arguments

QML, SYMBOLS = 'Sources/Views/Qml/', 'Sources/Views/Symbols/'
COLOUR = re.compile(r'"#[0-9a-fA-F]{3,8}"|\bQt\.(rgba|hsla|hsva)\(|\b\w*[cC]olor:\s*"(?!transparent")[a-z]+"')
# These show a text as it stands. A type of the toolkit guesses from the text whether it is markup, and would fetch its pictures.
SHOWS_TEXT = {'Line.qml', 'Prose.qml', 'SelectableText.qml', 'TextEntry.qml', 'ComposerField.qml', 'CommandPanel.qml', 'InstallLine.qml', 'PromptField.qml'}
TEXT_TYPE = re.compile(r'(?:^|[\s.:])(Text|Label|TextEdit|TextInput|TextArea|TextField) \{')
MARKUP = re.compile(r'\b(RichText|StyledText|AutoText|MarkdownText)\b')
SYMBOL = re.compile(r'^\s*(?:required property string )?(?:name|symbol|icon)\s*:(.*)')
WORD = re.compile(r'"([a-z]+(?:\.[a-z]+)*)"')
PARTS = re.compile(r'(stroke-width|stroke|fill|viewBox)="([^"]*)"')
DRAWN_WITH = {'stroke-width': {'1.75'}, 'stroke': {'currentColor', 'none'}, 'fill': {'currentColor', 'none'}, 'viewBox': {'0 0 24 24'}}


def complaints_of_qml(root, name):
    base, out = os.path.basename(name), []
    for number, text in lines(root, name):
        told = None
        if base != 'Theme.qml' and COLOUR.search(text):
            told = 'a colour stands in Theme'
        elif base not in SHOWS_TEXT and TEXT_TYPE.search(text):
            told = 'a text is shown by Line, Prose or SelectableText'
        elif MARKUP.search(text) and 'import' not in text and not re.search(r'^\s*StyledText \{', text):
            told = 'a text is never markup'
        if told:
            out.append(f'{name}:{number}: {told}: {text.strip()}')
        found = SYMBOL.match(text)
        for word in WORD.findall(found.group(1)) if found else ():
            if not os.path.exists(os.path.join(root, SYMBOLS, word + '.svg')):
                out.append(f'{name}:{number}: the symbol {word} has no drawing')
    if base in SHOWS_TEXT and 'TextField' not in ''.join(text for _, text in lines(root, name)) and not any(
            'textFormat:' in text and 'PlainText' in text for _, text in lines(root, name)):
        out.append(f'{name}:1: says nothing of its text format')
    return out


def complaints_of_drawing(root, name):
    text = ''.join(text for _, text in lines(root, name))
    wrong = [f'{key}="{value}"' for key, value in PARTS.findall(text) if value not in DRAWN_WITH[key]]
    wrong += re.findall(r'<(?:image|text|style|script|use)\b', text)
    return [f'{name}:1: not drawn as the others are: {one}' for one in wrong[:3]]


def complaints(root):
    out, drawn = [], set()
    names = files(root)
    for name in names:
        if name.startswith(QML) and name.endswith('.qml'):
            out += complaints_of_qml(root, name)
        if name.startswith(SYMBOLS):
            drawn.add(os.path.basename(name)[:-len('.svg')])
            out += complaints_of_drawing(root, name)
    sources = [name for name in names if name.startswith('Sources/') and name.endswith(('.qml', '.cpp', '.h'))]
    said = '\n'.join(text for name in sources for _, text in lines(root, name))
    out += [f'{SYMBOLS}{word}.svg:1: nothing shows this symbol' for word in sorted(drawn) if f'"{word}"' not in said]
    return out


if __name__ == '__main__':
    report(complaints(root_from_arguments()), 'places have a look of their own')
