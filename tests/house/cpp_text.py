"""C++ as text: its tokens, and sources with comments, literals and directives blanked out."""
import functools
import re

_COMMENT = r"//[^\n]*|/\*.*?\*/"
_TEXT = r'"(?:\\.|[^"\\\n])*"'

TOKEN = re.compile(
    r"""(?P<comment>%(comment)s)
      | (?P<directive>^[ \t]*\#(?:%(comment)s|%(text)s|\\\n|[^\n])*)
      | R"(?P<tag>[^()\\\s]{0,16})\((?P<raw>.*?)\)(?P=tag)"
      | (?P<text>%(text)s)
      | (?P<char>'(?:\\.|[^'\\\n])+')
      | (?P<other>[A-Za-z_]\w* | \.?\d(?:'?[\w.])* | ->\*? | :: | \S)
    """ % {"comment": _COMMENT, "text": _TEXT}, re.DOTALL | re.VERBOSE | re.MULTILINE)

_ESCAPE = re.compile(r"\\(x[0-9A-Fa-f]+|[0-7]{1,3}|.)", re.DOTALL)
_ESCAPES = {"n": "\n", "t": "\t", "r": "\r", "0": "\0", "a": "\a", "v": "\v", "f": "\f", "b": "\b"}


def tokens(code):
    """(kind, value, position) of each token outside of comments and directives: "text" with its
    characters, "char" and "other" as they are written."""
    for match in TOKEN.finditer(code):
        if match.group("raw") is not None:
            yield "text", match.group("raw"), match.start()
        elif match.group("text") is not None:
            yield "text", _ESCAPE.sub(_one_escape, match.group("text")[1:-1]), match.start()
        elif match.lastgroup in ("char", "other"):
            yield match.lastgroup, match.group(0), match.start()


def _one_escape(match):
    escape = match.group(1)
    if escape[0] == "x":
        return chr(int(escape[1:], 16) & 0xFF)
    if escape.isdigit() and escape != "0":
        return chr(int(escape, 8))
    return _ESCAPES.get(escape, escape)


def _blanks(text):
    return re.sub(r"[^\n]", " ", text)


@functools.lru_cache(maxsize=None)
def blanked(code, literals, directives=False):
    """The code with blanks in the places of comments, and of literals and directives when asked."""
    def replacement(match):
        kind, text = match.lastgroup, match.group(0)
        if kind == "directive":
            start = text.index("#") + 1
            return _blanks(text) if directives else text[:start] + blanked(text[start:], literals)
        if kind == "comment" or (literals and kind != "other"):
            return _blanks(text)
        return text
    return TOKEN.sub(replacement, code)


def line_of(code, position):
    return code.count("\n", 0, position) + 1


def closing_brace(blanked_code, opening):
    """The place of the brace that closes the one at a place, or the end."""
    depth = 0
    for match in re.compile("[{}]").finditer(blanked_code, opening):
        depth += 1 if match.group(0) == "{" else -1
        if depth == 0:
            return match.start()
    return len(blanked_code) - 1
