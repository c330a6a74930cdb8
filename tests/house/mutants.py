"""The mutants of a C++ source: which small changes can be made to it, one at a time.

It reads tokens, not types. That serves because the sources are formatted: an operator between two
values has a blank on both sides, a template's bracket or a pointer's star has not. What does not
compile is sorted out by the compiler later.
"""

import re
from dataclasses import dataclass

TOKEN = re.compile(
    r"""(?P<blank>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:[^\n]*\\\n)*[^\n]*)
      | (?P<raw>R"(?P<tag>[^()\\\s]{0,16})\(.*?\)(?P=tag)")
      | (?P<text>"(?:\\.|[^"\\\n])*")
      | (?P<char>'(?:\\.|[^'\\\n])+')
      | (?P<number>\.?\d(?:[eEpP][+-]|'?[\w.])*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign><=>|<<=|>>=|->\*?|\+\+|--|&&|\|\||::|[-+*/%&|^=!<>]=|<<|>>|.)
    """, re.DOTALL | re.VERBOSE | re.MULTILINE)

# What an operator between two values becomes.
OPERATORS = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==",
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "&": "|", "|": "&", "^": "&",
    "<<": ">>", ">>": "<<", "&&": "||", "||": "&&",
    "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "|=": "&=", "&=": "|=", "<<=": ">>=", ">>=": "<<=",
}
ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>="}
WORDS = {"true": "false", "false": "true", "min": "max", "max": "min"}
CLOSING = {"(": ")", "[": "]", "{": "}"}

# Statements of one of these say nothing about values: what they take away is time.
ONLY_SPEED = {"reserve", "shrink_to_fit"}

# Up to the next semicolon nothing is run.
DECLARATIONS = {"using", "static_assert", "typedef", "friend"}


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    end: int


@dataclass(frozen=True)
class Mutant:
    start: int
    end: int
    text: str       # in the place of what stands from start to end
    what: str

    def applied(self, source):
        return source[:self.start] + self.text + source[self.end:]

    def line(self, source):
        return source.count("\n", 0, self.start) + 1

    def last_line(self, source):
        return source.count("\n", 0, max(self.start, self.end - 1)) + 1

    def change(self, source):
        """The lines that it changes, as one line each, before and after."""
        first = source.rfind("\n", 0, self.start) + 1
        last = source.find("\n", self.end)
        last = len(source) if last < 0 else last
        before = source[first:last]
        after = source[first:self.start] + self.text + source[self.end:last]
        return one_line(before), one_line(after)


def one_line(text):
    """Without comments at the ends of lines, with single blanks."""
    return " ".join(re.sub(r"\s//[^\"\n]*$", "", text, flags=re.MULTILINE).split())


def tokens_of(source):
    return [Token(m.lastgroup if m.lastgroup != "tag" else "raw", m.group(0), m.start(), m.end())
            for m in TOKEN.finditer(source) if m.group("blank") is None]


class Source:
    """The tokens of a source, and for each bracket its partner."""

    def __init__(self, text):
        self.text = text
        self.tokens = tokens_of(text)
        self.partner = {}
        stack = []
        for index, token in enumerate(self.tokens):
            if token.kind != "sign":
                continue
            if token.text in CLOSING:
                stack.append(index)
            elif token.text in CLOSING.values() and stack:
                opening = stack.pop()
                self.partner[opening], self.partner[index] = index, opening

    def is_sign(self, index, *texts):
        return (0 <= index < len(self.tokens) and self.tokens[index].kind == "sign"
                and self.tokens[index].text in texts)

    def is_word(self, index, *texts):
        return (0 <= index < len(self.tokens) and self.tokens[index].kind == "word"
                and self.tokens[index].text in texts)

    def is_spaced(self, index):
        token = self.tokens[index]
        return (self.text[token.start - 1:token.start].isspace()
                and self.text[token.end:token.end + 1].isspace())

    def find(self, index, end, *texts):
        """The first of these signs from here on that is in no bracket opened on the way."""
        while index < end:
            if self.is_sign(index, *texts):
                return index
            if self.is_sign(index, *CLOSING):
                index = self.partner.get(index, end)
            index += 1
        return None

    def between(self, first, last, text, what):
        """A mutant that has this text in the place of the tokens first to last."""
        return Mutant(self.tokens[first].start, self.tokens[last].end, text, what)

    def skipped(self):
        """The tokens of declarations and attributes."""
        out = set()
        index = 0
        while index < len(self.tokens):
            end = None
            if self.is_word(index, *DECLARATIONS):
                end = self.find(index, len(self.tokens), ";")
            elif self.is_word(index, "template") and self.is_sign(index + 1, "<"):
                end = self.closing_angle(index + 1)
            elif self.is_word(index, "extern"):
                end = index + 1
            elif self.is_word(index, "operator"):
                end = index + 1
            elif self.is_sign(index, "[") and self.is_sign(index + 1, "["):
                end = self.partner.get(index)
            if end is not None:
                out.update(range(index, end + 1))
                index = end
            index += 1
        return out

    def closing_angle(self, index):
        depth = 0
        for place in range(index, len(self.tokens)):
            text = self.tokens[place].text
            depth += {"<": 1, ">": -1, ">>": -2}.get(text, 0)
            if depth <= 0:
                return place
        return index


def mutants_of(text):
    """All mutants of a source, in the order of their places."""
    source = Source(text)
    skipped = source.skipped()
    found = set()
    for index in range(len(source.tokens)):
        if index not in skipped:
            for rule in RULES:
                found.update(rule(source, index))
    return sorted(found, key=lambda m: (m.start, m.end, m.text))


# --- the rules: each gives the mutants that begin at a token --------------------------------------

def operators(source, index):
    token = source.tokens[index]
    if token.kind != "sign":
        return
    if token.text in OPERATORS and source.is_spaced(index):
        yield source.between(index, index, OPERATORS[token.text],
                             "%s becomes %s" % (token.text, OPERATORS[token.text]))
    elif token.text in ("++", "--"):
        other = "--" if token.text == "++" else "++"
        yield source.between(index, index, other, "%s becomes %s" % (token.text, other))
    elif token.text == "!":
        yield source.between(index, index, "", "! is left out")


def constants(source, index):
    token = source.tokens[index]
    if token.kind == "number":
        yield source.between(index, index, other_number(token.text), "another number")
    elif token.kind == "text" and token.text != '""':
        yield source.between(index, index, '"~' + token.text[1:], "another text")
    elif token.kind == "char":
        yield source.between(index, index, "'~'", "another character")
    elif token.kind == "word" and token.text in WORDS:
        yield source.between(index, index, WORDS[token.text],
                             "%s becomes %s" % (token.text, WORDS[token.text]))


def other_number(text):
    match = re.fullmatch(r"(0[xX])?([0-9A-Fa-f']+?)([uUlLzZ]*)", text)
    if not match or not (match.group(1) or re.fullmatch(r"[\d']+", match.group(2))):
        return "(%s + 1)" % text
    digits = match.group(2).replace("'", "")
    if match.group(1):
        return "0x%x%s" % (int(digits, 16) + 1, match.group(3))
    return "%d%s" % (int(digits) + 1, match.group(3))


def conditions(source, index):
    """What if, while and for depend on, and what stands in front of a question mark."""
    if source.is_sign(index, "?"):
        yield from choices(source, index)
        return
    if not source.is_word(index, "if", "while", "for"):
        return
    opening = index + 1 + source.is_word(index + 1, "constexpr")
    closing = source.partner.get(opening)
    if not source.is_sign(opening, "(") or closing is None:
        return
    first, last = opening + 1, closing - 1
    semicolon = source.find(first, closing, ";")
    if source.is_word(index, "for"):
        second = source.find(semicolon + 1, closing, ";") if semicolon is not None else None
        if second is None:
            return
        first, last = semicolon + 1, second - 1
    elif semicolon is not None:
        first = semicolon + 1
    if first > last:
        return
    values = ("true", "false") if source.is_word(index, "if") else ("false",)
    for value in values:
        yield source.between(first, last, value, "the condition is always " + value)


def choices(source, index):
    first = index
    while first > 0:
        before = first - 1
        if source.is_sign(before, ")", "]", "}") and before in source.partner:
            first = source.partner[before]
        elif (source.is_sign(before, "(", "[", "{", "}", ",", ";", "?", ":", *ASSIGNMENTS)
              or source.is_word(before, "return")):
            break
        else:
            first = before
    if first < index:
        for value in ("true", "false"):
            yield source.between(first, index - 1, value, "the condition is always " + value)


def statements(source, index):
    """Calls, assignments and jumps that are statements of their own, left out."""
    if not begins_statement(source, index):
        return
    end = source.find(index, len(source.tokens), ";", "}")
    if end is None or not source.is_sign(end, ";") or end == index:
        return
    if source.is_word(index, "return"):
        if end - index > 2 and not source.is_sign(index + 1, "{"):
            yield source.between(index + 1, end - 1, "{}", "the empty value is returned")
        elif end - index == 2 and source.tokens[index + 1].kind == "word" and not source.is_word(
                index + 1, "true", "false", "nullptr"):
            yield source.between(index + 1, end - 1, "{}", "the empty value is returned")
    elif source.is_word(index, "throw", "break", "continue"):
        yield source.between(index, end, ";", "the %s is left out" % source.tokens[index].text)
    elif is_action(source, index, end):
        yield source.between(index, end, ";", "the statement is left out")


def begins_statement(source, index):
    if source.is_sign(index - 1, ";", "{", "}") or source.is_word(index - 1, "else", "do"):
        return True
    if source.is_sign(index - 1, ":"):      # of a case
        return any(source.is_word(place, "case", "default") for place in range(max(0, index - 6), index))
    if not source.is_sign(index - 1, ")"):
        return False
    opening = source.partner.get(index - 1, 0)
    return (source.is_word(opening - 1, "if", "while", "for", "constexpr"))


def is_action(source, index, end):
    """A call or an assignment: names that follow each other without a blank, then the rest."""
    if source.is_word(index, "if", "for", "while", "do", "switch", "case", "goto", "delete", "else",
                      "struct", "class", "enum", "namespace", "static", "const", "constexpr", "auto"):
        return False
    place = index
    while source.is_sign(place, "*", "(", "++", "--"):
        place = source.partner.get(place, place) + 1 if source.is_sign(place, "(") else place + 1
    last_word = None    # or the bracket that closes its arguments
    while place < end:
        token = source.tokens[place]
        if token.kind == "word":
            if last_word == place - 1:
                return False        # a type and a name: a declaration
            last_word = place
            place += 1
        elif token.text in ("::", ".", "->"):
            place += 1
        elif token.text in ("(", "["):
            place = source.partner.get(place, end) + 1
        elif token.text == "<" and not source.is_spaced(place):
            place = source.closing_angle(place) + 1
            last_word = place - 1
        else:
            break
    if any(source.is_word(word, *ONLY_SPEED) for word in range(index, end)):
        return False
    if place >= end:
        return source.is_sign(end - 1, ")", "++", "--") or source.is_sign(index, "++", "--")
    return source.is_sign(place, "++", "--", *ASSIGNMENTS)


RULES = (operators, constants, conditions, statements)
