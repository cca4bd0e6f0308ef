"""The texts that a C++ source makes, whole: literals in a row and those joined by "+" are one text, with GAP for what differs."""
import re

GAP = '<>'
TOKEN = re.compile(r'("(?:[^"\\\n]|\\.)*")|//[^\n]*|^\s*#[^\n]*|\'(?:[^\'\\]|\\.)\'', re.MULTILINE)
ASSERTED = re.compile(r'\b(?:static_)?assert\((?:[^;"]|"(?:[^"\\\n]|\\.)*")*;')
WRAPPED = re.compile(r'\b(?:QStringLiteral|QLatin1String|std::string|std::string_view)\(("(?:[^"\\\n]|\\.)*")\)')
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
IN_A_ROW = re.compile(r'("(?:[^"\\\n]|\\.)*)"\s+"(?=(?:[^"\\\n]|\\.)*")')
JOIN = re.compile(r'\s*\+(?![+=])\s*')
JOINED_IN_FRONT = re.compile(r'(?<!\+)\+\s*$')
OPENING, CLOSING, ENDING = '([{', ')]}', ',;?:+'


def bare(source):
    """The code alone: no comments, no directives, no characters, nothing asserted; a text in several literals as one."""
    code = ASSERTED.sub('', TOKEN.sub(lambda found: found.group(1) or ' ', source))
    while WRAPPED.search(code):
        code = WRAPPED.sub(r'\1', code)
    return IN_A_ROW.sub(r'\1', code)


def _operand_end(code, at):
    """Where what begins at a place ends: at the next joint, or at the end of what it stands in."""
    depth = 0
    while at < len(code):
        literal = LITERAL.match(code, at)
        if literal:
            at = literal.end()
            continue
        if code.startswith('::', at):
            at += 2
            continue
        if code[at] in CLOSING and depth == 0 or code[at] in ENDING and depth == 0:
            return at
        depth += (code[at] in OPENING) - (code[at] in CLOSING)
        at += 1
    return at


def texts(source):
    """All texts of a piece of code, in their order; those within what differs come before the whole."""
    code, found, at = bare(source), [], 0
    while literal := LITERAL.search(code, at):
        front = GAP if JOINED_IN_FRONT.search(code, 0, literal.start()) else ''
        text, at = front + literal.group(1), literal.end()
        while joint := JOIN.match(code, at):
            following = LITERAL.match(code, joint.end())
            at = following.end() if following else _operand_end(code, joint.end())
            text += following.group(1) if following else GAP
            found += [] if following else texts(code[joint.end():at])
        found.append(text.replace(GAP + GAP, GAP))
    return found


def is_told(text):
    """Whether a text looks like something that is told to somebody: three words, of which what differs may be one, or two with a full stop."""
    return len(text.split()) >= (2 if text.endswith('.') else 3) and len(re.findall(r'[A-Za-z]{2,}', text)) >= 2


def bodies(source, name):
    """What stands in the braces of the functions of a name, those of several types together; else what a constant of that name is."""
    function = re.compile(r'^\S[^\n;]*\b' + name + r'\([^{;]*\{\n(.*?)\n\}\n', re.DOTALL | re.MULTILINE)
    constant = re.compile(r'\b' + name + r' = ("[^;]*);')
    return '\n'.join(found.group(1) for found in function.finditer(source) or ()) or '\n'.join(constant.findall(source))
