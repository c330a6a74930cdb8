#!/usr/bin/env python3
"""The reading of C++ that the checks of the sources share."""
import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
sys.dont_write_bytecode = True

import cpp_text  # noqa: E402


def texts(code):
    return [value for kind, value, _ in cpp_text.tokens(code) if kind == "text"]


def others(code):
    return [value for kind, value, _ in cpp_text.tokens(code) if kind != "text"]


class Tokens(unittest.TestCase):
    def test_texts_have_their_escapes_undone(self):
        self.assertEqual(texts(r'f("a\t\"b\"\\ \033[K\x41\n\0");'), ['a\t"b"\\ \x1b[KA\n\0'])

    def test_a_raw_text_is_taken_as_it_is(self):
        self.assertEqual(texts(r'f(R"(a\n"b")", R"x()")x");'), [r'a\n"b"', ')"'])

    def test_comments_and_directives_have_no_tokens(self):
        self.assertEqual(others('// a "b"\nc /* d */ e\n#define f "g" \\\n  h\ni'), ["c", "e", "i"])
        self.assertEqual(others("#include <a> /* b\n c */\nd"), ["d"])
        self.assertEqual(others("#include <a> // b /*\nd /* e */"), ["d"])

    def test_a_comment_with_a_hash_ends_where_it_ends(self):
        self.assertEqual(others("/*\n # a */ b"), ["b"])

    def test_characters_and_separated_digits_are_distinguished(self):
        self.assertEqual(others("a = '\"'; b = 1'000'000; c = '\\'';"),
                         ["a", "=", "'\"'", ";", "b", "=", "1'000'000", ";",
                          "c", "=", "'\\''", ";"])

    def test_positions_are_those_of_the_code(self):
        self.assertEqual([p for _, _, p in cpp_text.tokens('a /* */ "b" c')], [0, 8, 12])


class Blanked(unittest.TestCase):
    def test_comments_become_blanks_and_lines_stay(self):
        self.assertEqual(cpp_text.blanked("a // b\n/* c\nd */ e", False), "a     \n    \n     e")

    def test_literals_stay_or_go(self):
        code = "f(\"//\", 'x', R\"(y)\", 1'0);"
        self.assertEqual(cpp_text.blanked(code, False), code)
        self.assertEqual(cpp_text.blanked(code, True), "f(    ,    ,       , 1'0);")

    def test_directives_stay_or_go_and_are_blanked_inside(self):
        code = '#define A "x" // y\nb'
        self.assertEqual(cpp_text.blanked(code, True), "#define A         \nb")
        self.assertEqual(cpp_text.blanked(code, True, True), "                  \nb")
        self.assertEqual(cpp_text.blanked('#include "a.h"\n', False), '#include "a.h"\n')


class Places(unittest.TestCase):
    def test_braces_close_at_their_own_depth(self):
        self.assertEqual(cpp_text.closing_brace("{ {} }", 0), 5)
        self.assertEqual(cpp_text.closing_brace("{ {} ", 0), 4)

    def test_lines_count_from_1(self):
        self.assertEqual([cpp_text.line_of("a\nb\n", at) for at in (0, 1, 2)], [1, 1, 2])


if __name__ == "__main__":
    unittest.main()
