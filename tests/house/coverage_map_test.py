#!/usr/bin/env python3
"""Every public operation and every message has a test: the map of both, written into the build tree,
has no gap. Its maker is checked on samples."""

import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
sys.dont_write_bytecode = True

import coverage_map as cm  # noqa: E402


class Operations(unittest.TestCase):
    def test_declarations_are_found(self):
        header = """
            /* int NotThis(void); */
            #define NOR_THIS(x) f(x)
            typedef void (*NorACallback)(void* data);
            enum { NOR = 1 };
            typedef struct Record { int (*field)(int); } Record;
            extern int NorAVariable;
            extern "C" {
            Record* First(const char* text, int n[3]);
            void Second(void (*function)(void*), void* data);
            unsigned int
            Third(void);
            }
        """
        self.assertEqual(list(cm.operations(header)), ["First", "Second", "Third"])

    def test_names_in_texts_and_comments_are_no_calls(self):
        code = 'f("Named()"); // Named()\n/* Named() */ Other();'
        words = {value for kind, value, _ in cm.tokens(code) if kind != "text"}
        self.assertIn("Other", words)
        self.assertNotIn("Named", words)


class Messages(unittest.TestCase):
    def of(self, code):
        return cm.messages(code)

    def test_texts_of_reporting_calls(self):
        self.assertEqual(self.of('report("a %d b", 1); zel::fail("end\\n");'), ["a %d b", "end\n"])

    def test_texts_next_to_each_other_are_one(self):
        self.assertEqual(self.of('fail("one "\n     "two\\n");'), ["one two\n"])

    def test_both_of_a_choice(self):
        self.assertEqual(self.of('message(a ? "this one" : "that one")'), ["this one", "that one"])

    def test_lines_anywhere(self):
        self.assertEqual(self.of('f(x, "printed later\\n"); g("not printed");'), ["printed later\n"])

    def test_a_name_given_to_a_message_is_no_message(self):
        self.assertEqual(self.of('fail("%s: no\\n", "ZELName");'), ["%s: no\n"])

    def test_tables_of_messages(self):
        code = 'const char* const ParseErrorMsgs[2] = {"one", "two"};\nconst char* other[] = {"x"};'
        self.assertEqual(self.of(code), ["one", "two"])

    def test_comments_and_includes_have_none(self):
        self.assertEqual(self.of('// report("a b")\n#include "a b"\n/* fail("c d\\n") */'), [])


class Patterns(unittest.TestCase):
    def quotes(self, text, message):
        return cm.pattern(message).search(text) is not None

    def test_the_text_itself_with_or_without_its_end(self):
        self.assertTrue(self.quotes("no such file\n", "no such file\n"))
        self.assertTrue(self.quotes("first\nno such file", "no such file\n"))
        self.assertFalse(self.quotes("no such files\n", "no such file\n"))
        self.assertFalse(self.quotes("no file\n", "no such file\n"))
        self.assertFalse(self.quotes("casino such file\n", "no such file\n"))

    def test_values_in_their_places(self):
        self.assertTrue(self.quotes("file /a b, line -3\n", "file %s, line %d\n"))
        self.assertTrue(self.quotes("file %s, line %d\n", "file %s, line %d\n"))
        self.assertTrue(self.quotes("file \0, line \0", "file %s, line %d\n"))
        self.assertFalse(self.quotes("file /a b, line x\n", "file %s, line %d\n"))
        self.assertFalse(self.quotes("file /a b\n", "file %s, line %d\n"))
        self.assertFalse(self.quotes("file a\nb, line 1\n", "file %s, line %d\n"))
        self.assertTrue(self.quotes("7.500000 of it", "%f of it"))

    def test_a_gap_is_no_fixed_part(self):
        self.assertFalse(self.quotes("file \0", "file %s is gone\n"))

    def test_letters_are_those_of_the_fixed_parts(self):
        self.assertEqual(cm.letters("%s: %5.2f%%, %lld\n"), 0)
        self.assertEqual(cm.letters("line %d"), 4)


class Quotations(unittest.TestCase):
    def cpp(self, code):
        return [text for _, text, _ in cm.groups(code).texts()]

    def test_joined_texts_of_cpp_have_gaps(self):
        self.assertIn("a \0 b", self.cpp('EXPECT_EQ(x, "a " + name + " b");'))
        self.assertIn("a \0c b", self.cpp('EXPECT_EQ(x, "a " + path("c") + " b");'))
        self.assertIn("a \0 b", self.cpp('EXPECT_EQ(x, "a " + path(c, d) + " b");'))
        self.assertIn("\0a b\0", self.cpp('EXPECT_EQ(x, std::string("a b") + rest);'))

    def test_texts_of_different_arguments_are_not_joined(self):
        self.assertNotIn("ab", self.cpp('f("a", "b");'))
        self.assertEqual(self.cpp('f("a", "b");'), ["a", "b"])

    def test_joined_texts_of_python_have_gaps(self):
        import ast
        def of(code):
            return cm.python_text(ast.parse(code, mode="eval").body)
        self.assertEqual(of("'a ' + b + ' c'"), "a \0 c")
        self.assertEqual(of("'a %d' % b"), "a %d")
        self.assertEqual(of("f'a {b} c'"), "a \0 c")
        self.assertEqual(of("b'bytes'"), "bytes")
        self.assertIsNone(of("a + b"))


class Map(unittest.TestCase):
    maxDiff = None

    def test_has_no_gap(self):
        self.assertEqual(cm.write(), [])
        with open(cm.MAP, encoding="utf-8") as stream:
            self.assertIn("| `ZELOpenReadOnlyFile` | ", stream.read())

    def test_a_new_operation_and_a_new_message_are_gaps(self):
        names = ["ZELNobodyCallsThis"]
        self.assertEqual(cm.callers(names), {names[0]: []})
        self.assertIsNone(cm.quoting_test("nobody quotes this message\n", cm.quotations()))


if __name__ == "__main__":
    unittest.main()
