#!/usr/bin/env python3
"""What covers what: every public operation with the tests that call it, and every message of the
library and the tools with a test that quotes it. Writes coverage.md into the build tree (build/, or
ZEL_BUILD_DIR) and lists what no test covers.

Operations are the functions that the public headers declare. Messages are the texts in the sources
that are handed to one of the functions that report, or that end with a line; what a user sees of those
that are put together, as of the name of a function and a text, is in a list. A test quotes a message
when one of its own texts has the message's fixed parts in their order, with anything in the places of
the values. Texts that are joined from pieces count as one, with a gap for what is no text.
"""

import ast
import glob
import os
import re
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
sys.dont_write_bytecode = True

from cpp_text import blanked, closing_brace, tokens  # noqa: E402

ROOT = os.environ.get("ZEL_SOURCE_DIR") or os.path.dirname(
    os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
MAP = os.path.join(os.environ.get("ZEL_BUILD_DIR") or os.path.join(ROOT, "build"), "coverage.md")
WHOLE = "tests/house/whole_messages.txt"

HEADERS = ["libsrc/zel/*.h", "libsrc/zel/zel_features/*.h"]
SOURCES = ["libsrc/zel/**/*.[ch]pp", "src/zel_combine/*.[ch]pp"]
TESTS = ["tests/**/*_test.c", "tests/**/*_test.cpp", "tests/**/*_test.py", "tests/tool/*_case.py",
         "tests/tool/harness.py"]
NOT_TESTS = {"tests/house/coverage_map_test.py", "tests/house/cpp_text_test.py"}  # only samples
SUPPORT = ["tests/support/*.hpp", "tests/support/*.cpp"]

# Texts given to these are messages.
REPORTING = {"report", "reportTo", "fail", "failWith", "failWithError", "failAtLine", "message",
             "printf", "fprintf", "print", "snprintf", "vsnprintf", "requireReadOnly",
             "requireWriteOnly", "failExecution", "add"}
# So are those in these tables.
TABLES = {"ParseErrorMsgs"}

# Messages that no call can bring about, and why they are there all the same.
CANNOT_HAPPEN = {
    "!!!!condition NULL after parse!!!!!!!!\n":
        "a compile without a result has a status that ends the process before",
    "error: unmatched else if block\n":
        "an else-if that is counted is among the open statements, which are reported",
}

GAP = "\0"              # in a text that is joined from pieces: something that is no text
LEAST_LETTERS = 3       # a message with fewer in its fixed parts is nothing but its values
NAMED_TESTS = 3         # test files that the map names for an operation


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as stream:
        return stream.read()


def files(patterns):
    return sorted({os.path.relpath(path, ROOT) for pattern in patterns
                   for path in glob.glob(os.path.join(ROOT, pattern), recursive=True)} - NOT_TESTS)


# --- C++ ---------------------------------------------------------------------------------------

class Group:
    """What stands between a pair of brackets: segments, divided by commas and semicolons."""

    def __init__(self, name):
        self.name = name        # in front of the opening bracket
        self.segments = [[]]    # of ("text", characters, position), Group and "gap"

    def texts(self):
        """(name of this group, text, position) of each segment, and those of the groups inside."""
        for segment in self.segments:
            text, position = joined(segment)
            if position is not None:
                yield self.name, text, position
            for item in segment:
                if isinstance(item, Group):
                    yield from item.texts()


def joined(segment):
    """The texts of a segment as one, gaps between them; and the place of the first, or None."""
    out, position = "", None
    for item in segment:
        if isinstance(item, Group):
            text, place = joined(item.segments[0]) if len(item.segments) == 1 else (GAP, None)
            position = place if position is None else position
            out += text
        elif item == "gap":
            out += GAP
        else:
            position = item[2] if position is None else position
            out += item[1]
    return re.sub(GAP + "+", GAP, out), position


def groups(code):
    """The whole of a source as one group."""
    stack, name = [Group("")], ""
    for kind, value, position in tokens(code):
        if kind == "text":
            stack[-1].segments[-1].append((kind, value, position))
        elif value in "([{":
            group = Group(name)
            stack[-1].segments[-1].append(group)
            stack.append(group)
        elif value in ")]}":
            if len(stack) > 1:
                stack.pop()
            if value == "}":
                stack[-1].segments.append([])
        elif value in ",;":
            stack[-1].segments.append([])
        elif value != "+" and value != "<<":
            stack[-1].segments[-1].append("gap")
        name = value if kind != "text" and re.match(r"\w", value) else ""
    return stack[0]


# --- operations --------------------------------------------------------------------------------

def operations(header):
    """The functions that a header declares."""
    code = blanked(header, literals=False, directives=True).replace('extern "C" {', " ")
    previous = None
    while previous != code:
        previous, code = code, re.sub(r"\{[^{}]*\}", " ", code)
    for declaration in code.split(";"):
        match = re.match(r"\s*(?!typedef\b)[\w\s*]+?\b(\w+)\s*\((?!\s*\*)[^()]*(?:\([^()]*\)[^()]*)*\)\s*$",
                         declaration)
        if match:
            yield match.group(1)


def words_of(path):
    """The names in the code of a C or C++ file."""
    return {value for kind, value, _ in tokens(read(path)) if kind != "text"}


def callers(names):
    """By operation: the test files that call it, or else the support files that do."""
    found = {name: [] for name in names}
    for patterns in (TESTS, SUPPORT):
        paths = [p for p in files(patterns) if not p.endswith(".py")]
        # The file that only shows that everything can be called from C is named last.
        used = {path: words_of(path) for path in sorted(paths, key=lambda p: (p.endswith(".c"), p))}
        for name in names:
            if not found[name]:
                found[name] = [path for path, words in used.items() if name in words]
    return found


# --- messages ----------------------------------------------------------------------------------

def is_message(name, text):
    if name in TABLES:
        return True
    if name in REPORTING:
        return not re.fullmatch(r"[\w.]*", text)
    return text.endswith("\n")


def messages(code):
    """The texts of a source that are messages, in their order, each once."""
    table = re.compile(r"(\w+)\s*\[[^\]]*\]\s*=\s*\{")
    names = {match.end() - 1: match.group(1) for match in table.finditer(code)}
    bare = blanked(code, literals=True)
    places = sorted((begin, closing_brace(bare, begin), name) for begin, name in names.items())
    seen = []
    for name, text, position in pieces(groups(code)):
        for begin, end, table_name in places:
            if begin < position < end and table_name in TABLES:
                name = table_name
        if is_message(name, text) and text not in seen:
            seen.append(text)
    return seen


def pieces(group):
    """(name of the group, text, position) of each text, texts next to each other as one."""
    for segment in group.segments:
        text, position = "", None
        for item in segment + ["gap"]:
            if isinstance(item, tuple):
                text += item[1]
                position = item[2] if position is None else position
                continue
            if position is not None:
                yield group.name, text, position
                text, position = "", None
            if isinstance(item, Group):
                yield from pieces(item)


CONVERSION = re.compile(r"%(?:%|[-+ #0]*(?:\d+|\*)?(?:\.(?:\d+|\*))?(?:hh|h|ll|l|z|j|t)?[diouxXcsfeEgGp])")


def letters(text):
    return len(re.findall(r"[A-Za-z]", CONVERSION.sub("", text)))


def pattern(text):
    """What a quotation of the message matches."""
    out, position = "", 0
    core = text.strip("\n")
    for match in CONVERSION.finditer(core):
        out += re.escape(core[position:match.start()])
        kind = match.group(0)[-1]
        if kind == "%":
            out += "%%?"
        elif kind in "sc":
            out += r"[^\n]*?"
        else:
            out += r"(?:[-+]?[\d.]+(?:e[-+]?\d+)?|-?nan|-?inf|%[-+.\w]*|" + GAP + ")"
        position = match.end()
    out += re.escape(core[position:])
    begin = r"(?<!\w)" if re.match(r"\w", core) else ""
    end = r"(?=\n|\Z|" + GAP + ")" if text.endswith("\n") else ""
    return re.compile(begin + out + end)


# --- quotations --------------------------------------------------------------------------------

TEST_HEAD = re.compile(r"^(?:TYPED_)?TEST(?:_[FP])?\(\s*(\w*),\s*(\w+)\)", re.MULTILINE)


def cpp_quotations(path):
    """(text, name of the test that has it, or of the file) of a C++ file."""
    code = read(path)
    tests = [(match.start(), code.find("\n}", match.end()), "%s.%s" % match.groups())
             for match in TEST_HEAD.finditer(code)]
    for _, text, position in groups(code).texts():
        inside = [name for begin, end, name in tests if begin < position < end]
        yield text, inside[0] if inside else short(path)


def python_quotations(path):
    tree = ast.parse(read(path))
    for node, owner in python_nodes(tree, short(path)):
        text = python_text(node)
        if text is not None and text.strip(GAP):
            yield text, owner


def python_nodes(tree, owner):
    """Each expression of a module with the test, class or function that it stands in."""
    for node in ast.iter_child_nodes(tree):
        named = isinstance(node, (ast.ClassDef, ast.FunctionDef))
        inner = node.name if named and owner.islower() else (
            "%s.%s" % (owner, node.name) if named else owner)
        if isinstance(node, ast.expr):
            yield node, owner
        yield from python_nodes(node, inner)


def python_text(node):
    """What is known of a text: of a constant, of texts that are joined, of a format."""
    if isinstance(node, ast.Constant):
        value = node.value
        return value.decode("latin-1") if isinstance(value, bytes) else (
            value if isinstance(value, str) else None)
    if isinstance(node, ast.BinOp) and isinstance(node.op, ast.Add):
        sides = [python_text(side) for side in (node.left, node.right)]
        return None if sides == [None, None] else "".join(GAP if s is None else s for s in sides)
    if isinstance(node, ast.BinOp) and isinstance(node.op, ast.Mod):
        return python_text(node.left)
    if isinstance(node, ast.JoinedStr):
        return "".join(python_text(v) or GAP for v in node.values)
    return None


def short(path):
    name = os.path.relpath(path, "tests")
    return os.path.splitext(name)[0]


def quotations():
    """(text, owner) of all tests."""
    found = []
    for path in files(TESTS):
        found += (python_quotations if path.endswith(".py") else cpp_quotations)(path)
    return [(text, owner) for text, owner in found if letters(text) >= LEAST_LETTERS]


def quoting_test(message, texts):
    wanted = pattern(message)
    return next((owner for text, owner in texts if wanted.search(text)), None)


# --- the map -----------------------------------------------------------------------------------

ESCAPED = {"\n": "\\n", "\t": "\\t", "\r": "\\r"}


def shown(text):
    out = text.replace("\\", "\\\\").replace('"', '\\"').replace("|", "\\|")
    out = "".join(ESCAPED.get(c, c if c >= " " else "\\x%02x" % ord(c)) for c in out)
    return "`` \"%s\" ``" % out


def operation_rows(gaps):
    for header in files(HEADERS):
        names = list(operations(read(header)))
        if not names:
            continue
        yield "\n### %s\n\n| operation | called by |\n| --- | --- |" % os.path.basename(header)
        found = callers(names)
        for name in names:
            tests = [short(path) for path in found[name][:NAMED_TESTS]]
            if not tests:
                gaps.append("%s: no test calls %s" % (header, name))
            yield "| `%s` | %s |" % (name, ", ".join(tests) or "none")


def message_rows(gaps):
    texts = quotations()
    idle = set(CANNOT_HAPPEN)
    for source in files(SOURCES):
        rows = []
        for message in messages(read(source)):
            if letters(message) < LEAST_LETTERS:
                continue
            test = quoting_test(message, texts)
            if not test and message in CANNOT_HAPPEN:
                idle.discard(message)
                test = "cannot happen: " + CANNOT_HAPPEN[message]
            if not test:
                gaps.append("%s: no test quotes %r" % (source, message))
            rows.append("| %s | %s |" % (shown(message), test or "none"))
        if rows:
            yield "\n### %s\n\n| message | quoted by |\n| --- | --- |" % os.path.basename(source)
            yield from rows
    yield "\n### Put together\n\n| message | quoted by |\n| --- | --- |"
    for line in read(WHOLE).splitlines():
        message = line.replace("\\n", "\n")
        test = quoting_test(message, texts)
        if not test:
            gaps.append("%s: no test quotes %r" % (WHOLE, message))
        yield "| %s | %s |" % (shown(message), test or "none")
    gaps += ["CANNOT_HAPPEN has %r for nothing" % message for message in sorted(idle)]


def coverage():
    """The text of the map, and its gaps."""
    gaps = []
    lines = ["# What covers what", "",
             "Every public operation with tests that call it, and every message of the library and the",
             "tools with a test that quotes it; `tests/house/coverage_map.py` writes this page.", "",
             "Of the test files that call an operation the first %d are named. %%d and the like in a"
             % NAMED_TESTS,
             "message stand for values. Messages that are nothing but values are left out. Those that",
             "no call can bring about have the reason why they are there.",
             "", "## Operations"]
    lines += operation_rows(gaps)
    lines += ["", "## Messages"]
    lines += message_rows(gaps)
    return "\n".join(lines) + "\n", gaps


def write():
    """Writes the map; its gaps."""
    text, gaps = coverage()
    with open(MAP, "w", encoding="utf-8") as stream:
        stream.write(text)
    return gaps


def main():
    gaps = write()
    print("\n".join(gaps + [MAP]))
    return 1 if gaps else 0


if __name__ == "__main__":
    sys.exit(main())
