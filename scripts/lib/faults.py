"""Small faults that scripts/mutate puts into sources: finds their places in a text.

Formatted text makes this simple: binary operators have blanks on both sides, unary operators,
template brackets and pointers have not, and a statement begins on a line of its own.
"""
import re
from typing import NamedTuple


class Fault(NamedTuple):
    """Text[Begin:End] of a file gives way to each of Others, one at a time."""
    file: str
    line: int
    begin: int
    end: int
    others: tuple


OPERATORS = {
    '==': ('!=',), '!=': ('==',), '<': ('<=', '>='), '<=': ('<', '>'), '>': ('>=', '<='),
    '>=': ('>', '<'), '+': ('-',), '-': ('+',), '&&': ('||',), '||': ('&&',), '&': ('|',),
    '|': ('&',), '^': ('&',), '<<': ('>>',), '>>': ('<<',), '+=': ('-=',), '-=': ('+=',),
    '|=': ('&=',), '&=': ('|=',), '*': ('+',), '/': ('*',), '%': ('/',)}
BINARY = re.compile(r'(?<= )(?:[<>=!]=|<<=?|>>=?|&&|\|\||[-+|&*/%^]=?|<|>)(?=[ \n])')
STEP = re.compile(r'\+\+(?=\w)|--(?=\w)')
NOT = re.compile(r'(?<=[ (!])!(?=[\w(])')
NUMBER = re.compile(r'(?<![\w.\'])(0x[0-9A-Fa-f]+|\d+)([uU]?[lL]{0,2})\b(?![.\'])')
TRUTH = re.compile(r'\b(TRUE|FALSE|true|false)\b')
CONDITION = re.compile(r'\b(?:if|while) \(')
PLACE = r'\*?[\w:]+(?: ?\([^;{}=]*\))?(?:(?:->|\.)\w+|\[[^\];]*\])*'
STORE = re.compile(rf'{PLACE} (?:[-+|&^*/]|<<|>>)?= .*|(?:\+\+|--){PLACE}', re.DOTALL)
CALL = re.compile(
    r'(?:\(void\) ?|\(VOID\) ?)?[\w:]+(?:(?:->|\.)\w+|\[[^\];]*\])* \(.*\)', re.DOTALL)
KEYWORDS = re.compile(r'(?:return|if|while|for|switch|using|static_assert|constexpr|const|else|do|'
                      r'static|extern|goto|case|LAYOUT_\w+|VA_START|VA_END)\b')
# Text without behaviour of its own: comments, texts, directives, what the compiler itself checks.
OPAQUE = re.compile(
    r'//[^\n]*|/\*.*?\*/|(?:u8?|L)?"(?:\\.|[^"\\\n])*"|(?<!\w)(?:u8?|L)?\'(?:\\.|[^\'\\\n])+\'|'
    r'^#(?:[^\n\\]|\\.|\\\n)*|^ *(?:static_assert|LAYOUT_\w+|ASSEMBLY_\w+) \(.*?\);|'
    r'\[\[.*?\]\]', re.DOTALL | re.MULTILINE)


def blank(match):
    """Quotes stay, so that a text is seen to stand there; lines stay where they are."""
    text = match.group()
    kept = '"' if text.rstrip().endswith('"') else ' '
    return re.sub(r'[^\n]', kept, text)


def closing(text, begin):
    """The index of the bracket that closes the one at begin."""
    depth = 0
    for index in range(begin, len(text)):
        depth += (text[index] == '(') - (text[index] == ')')
        if depth == 0:
            return index
    raise ValueError(f'no bracket closes the one at {begin}')


def other_numbers(match):
    value, suffix = int(match.group(1), 0), match.group(2)
    form = '{:#x}' if match.group(1).startswith('0x') else '{}'
    others = [n for n in (value + 1, value - 1, 0, 1) if n >= 0 and n != value]
    return tuple(dict.fromkeys(form.format(n) + suffix for n in others))


def faults(file, text):
    """All places of faults in the file's text, in their order."""
    code = OPAQUE.sub(blank, text)
    found = []

    def add(begin, end, others):
        found.append(Fault(file, text.count('\n', 0, begin) + 1, begin, end, tuple(others)))

    for match in BINARY.finditer(code):
        if match.group() in OPERATORS:
            add(*match.span(), OPERATORS[match.group()])
    for match in STEP.finditer(code):
        add(*match.span(), ('--' if match.group() == '++' else '++',))
    for match in NOT.finditer(code):
        add(*match.span(), ('',))
    for match in NUMBER.finditer(code):
        add(*match.span(), other_numbers(match))
    for match in TRUTH.finditer(code):
        word = match.group().lower()
        other = 'false' if word == 'true' else 'true'
        add(*match.span(), (other if match.group().islower() else other.upper(),))
    for match in CONDITION.finditer(code):
        begin, end = match.end() - 1, closing(code, match.end() - 1) + 1
        add(begin, end, (f'(!{text[begin:end]})',))
    # A statement goes from the end of what is before it to its own semicolon.
    for match in re.finditer(r'(?<=[;{})\n])\s+([^\s;{}#][^;{}]*);', code):
        statement = match.group(1)
        if not KEYWORDS.match(statement) and (
                STORE.fullmatch(statement) or CALL.fullmatch(statement)):
            add(match.start(1), match.end(), ('{}',))
    return sorted(found)
