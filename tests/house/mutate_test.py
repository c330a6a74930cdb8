#!/usr/bin/env python3
"""Which mutants are made of small sources, which tests are run for them, and the list of those that
are the same program."""

import os
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import mutate  # noqa: E402
from equivalents import read_equivalents  # noqa: E402
from mutants import mutants_of  # noqa: E402
from mutate_reach import Reach, slow_tests  # noqa: E402
from mutate_trees import DoesNotCompile, Pool, Runner, compiled, without_output  # noqa: E402

SAMPLE = """\
#include "sample.hpp"  // 1 + 2
namespace {
constexpr int limit = 0x10;
template <typename T> T twice(const std::vector<T>& values, T* out);
}
bool clamp(int& value, const char* name)
{
    if (!name || value < limit) {
        report("%s", name);
        return false;  // value - 1
    }
    for (int i = 0; i < 2; ++i) value += i;
    return value > 7;
}
"""

# Line, before, after; in the order of the places.
SAMPLE_MUTANTS = [
    (3, "constexpr int limit = 0x10;", "constexpr int limit = 0x11;"),
    (8, "if (!name || value < limit) {", "if (name || value < limit) {"),
    (8, "if (!name || value < limit) {", "if (false) {"),
    (8, "if (!name || value < limit) {", "if (true) {"),
    (8, "if (!name || value < limit) {", "if (!name && value < limit) {"),
    (8, "if (!name || value < limit) {", "if (!name || value <= limit) {"),
    (9, 'report("%s", name);', ";"),
    (9, 'report("%s", name);', 'report("~%s", name);'),
    (10, "return false;", "return true;"),
    (12, "for (int i = 0; i < 2; ++i) value += i;", "for (int i = 1; i < 2; ++i) value += i;"),
    (12, "for (int i = 0; i < 2; ++i) value += i;", "for (int i = 0; false; ++i) value += i;"),
    (12, "for (int i = 0; i < 2; ++i) value += i;", "for (int i = 0; i <= 2; ++i) value += i;"),
    (12, "for (int i = 0; i < 2; ++i) value += i;", "for (int i = 0; i < 3; ++i) value += i;"),
    (12, "for (int i = 0; i < 2; ++i) value += i;", "for (int i = 0; i < 2; --i) value += i;"),
    (12, "for (int i = 0; i < 2; ++i) value += i;", "for (int i = 0; i < 2; ++i) ;"),
    (12, "for (int i = 0; i < 2; ++i) value += i;", "for (int i = 0; i < 2; ++i) value -= i;"),
    (13, "return value > 7;", "return {};"),
    (13, "return value > 7;", "return value >= 7;"),
    (13, "return value > 7;", "return value > 8;"),
]


def changes(source):
    return [mutant.change(source)[1] for mutant in mutants_of(source)]


class Mutants(unittest.TestCase):
    maxDiff = None

    def test_a_sample_has_these_and_no_others(self):
        self.assertEqual([(m.line(SAMPLE), *m.change(SAMPLE)) for m in mutants_of(SAMPLE)],
                         SAMPLE_MUTANTS)

    def test_each_changes_one_place_and_keeps_the_rest(self):
        for mutant in mutants_of(SAMPLE):
            changed = mutant.applied(SAMPLE)
            self.assertNotEqual(changed, SAMPLE)
            self.assertEqual(changed[:mutant.start], SAMPLE[:mutant.start])
            self.assertTrue(changed.endswith(SAMPLE[mutant.end:]))

    def test_pointers_references_and_templates_are_no_operators(self):
        self.assertEqual(changes("std::map<int, T*> f(T& a, T&& b, const T* c);"), [])

    def test_operators_between_values(self):
        self.assertEqual(changes("int a = b * c % d;"), ["int a = b / c % d;", "int a = b * c * d;"])
        self.assertEqual(changes("auto a = b << c & d;"), ["auto a = b >> c & d;", "auto a = b << c | d;"])

    def test_declarations_and_attributes_are_left_alone(self):
        for source in ('static_assert(2 < 3, "two");', "[[nodiscard]] int f();", "using A = B<3>;",
                       'extern "C" int f();', "bool operator<(A, B);", "#define A 1 + 2 \\\n + 3\n"):
            self.assertEqual(changes(source), [], source)

    def test_a_number_keeps_its_suffix(self):
        self.assertEqual(changes("a = 41u;"), ["a = 42u;"])
        self.assertEqual(changes("a = 0xFFULL;"), ["a = 0x100ULL;"])
        self.assertEqual(changes("a = 1'000;"), ["a = 1001;"])
        self.assertEqual(changes("a = 2.5e-3f;"), ["a = (2.5e-3f + 1);"])

    def test_texts_and_characters(self):
        self.assertEqual(changes("auto a = \"x\\\"y\", b = 'c', d = \"\";"),
                         ["auto a = \"~x\\\"y\", b = 'c', d = \"\";",
                          "auto a = \"x\\\"y\", b = '~', d = \"\";"])

    def test_a_choice_has_its_whole_condition_replaced(self):
        self.assertEqual(changes("int a = f(x, b) && c[d] ? e : g;"),
                         ["int a = false ? e : g;", "int a = true ? e : g;",
                          "int a = f(x, b) || c[d] ? e : g;"])

    def test_the_condition_after_an_initializer_is_replaced(self):
        self.assertEqual(changes("if (int a = f(); a) b();"),
                         ["if (int a = f(); false) b();", "if (int a = f(); true) b();",
                          "if (int a = f(); a) ;"])

    def test_statements_are_left_out_and_declarations_are_not(self):
        for statement in ("f(a);", "a.b->c(d);", "std::f<int>(a);", "a[b] = c;", "*a = b;", "++a;",
                          "throw A{};", "break;", "(*a).f();"):
            self.assertIn("{ ; }", changes("{ %s }" % statement), statement)
        for declaration in ("A a(b);", "const A a = b;", "int a;", "auto a = b;", "A<int> a(b);",
                            "A* a = b;", "std::A a{b};", "a.reserve(b);"):
            self.assertNotIn("{ ; }", changes("{ %s }" % declaration), declaration)

    def test_a_statement_over_two_lines_is_one_change(self):
        source = "{\n    f(a,  // first\n      b);\n}\n"
        self.assertEqual([m.change(source) for m in mutants_of(source)], [("f(a, b);", ";")])


class Samples(unittest.TestCase):
    class Options:
        lines, sample, seed = None, 5, 3

    def test_the_same_seed_picks_the_same_mutants_in_their_order(self):
        first, second = (mutate.chosen(SAMPLE, self.Options) for _ in range(2))
        self.assertEqual(first, second)
        self.assertEqual(len(first), 5)
        self.assertEqual(first, sorted(first, key=lambda m: m.start))

    def test_lines_restrict_them(self):
        class Lines(self.Options):
            lines, sample = (9, 10), None
        self.assertEqual([m.line(SAMPLE) for m in mutate.chosen(SAMPLE, Lines)], [9, 9, 10])


class Reaches(unittest.TestCase):
    def setUp(self):
        ran = {"Slow": {3}, "Fast": {3, 4}, "Broken": {3, 4}, "tests/tool/a_test.py": {4}}
        self.reach = Reach({
            "Slow": {"time": 5.0, "passes": True},
            "Fast": {"time": 0.1, "passes": True},
            "Broken": {"time": 0.1, "passes": False},
            "tests/tool/a_test.py": {"time": 0.2, "passes": True},
            "Other": {"time": 0.1, "passes": True},
        }, {"a.cpp": ({3, 4, 9}, ran)}.get)
        self.reach.learn("a.cpp")

    def test_fast_suites_come_first_and_scripts_last(self):
        self.reach.leave_out(60)
        self.assertEqual(self.reach.of_line("a.cpp", 3, 3), ["Fast", "Slow"])
        self.assertEqual(self.reach.of_line("a.cpp", 3, 4), ["Fast", "Slow", "tests/tool/a_test.py"])

    def test_a_line_that_is_code_may_be_reached_by_none(self):
        self.assertEqual(self.reach.of_line("a.cpp", 9, 9), [])

    def test_a_line_that_is_no_code_is_reached_by_all_that_reach_the_file(self):
        self.reach.leave_out(60)
        self.assertEqual(self.reach.of_line("a.cpp", 1, 2), ["Fast", "Slow", "tests/tool/a_test.py"])

    def test_tests_that_fail_or_are_slow_are_left_out(self):
        self.assertEqual(self.reach.leave_out(4), ["Broken", "Slow"])
        self.assertEqual(self.reach.of_line("a.cpp", 3, 3), ["Fast"])

    def test_slow_tests_are_those_that_took_long_or_did_not_end(self):
        self.assertEqual(slow_tests("[ RUN      ] A.b\n[       OK ] A.b (5000 ms)\n"
                                    "[ RUN      ] A.c\n[  FAILED  ] A.c (5001 ms)\n"
                                    "[ RUN      ] A/d.e/0\n[  FAILED  ] A/d.e/0, where x (9 ms)\n"
                                    "[ RUN      ] A.f\nhello\n"), ["A.c", "A.f"])

    def test_quick_suites_share_a_process(self):
        names = ["Fast", "Other", "Slow", "tests/tool/a_test.py"]
        self.assertEqual(mutate.groups(names, self.reach),
                         [["Fast", "Other"], ["Slow"], ["tests/tool/a_test.py"]])


class Reports(unittest.TestCase):
    def test_the_score_counts_what_is_another_program(self):
        mutants = mutants_of(SAMPLE)[:6]
        verdicts = dict(zip(mutants, (mutate.KILLED, mutate.SURVIVES, mutate.SAME, mutate.LISTED,
                                      mutate.INVALID, mutate.UNREACHED)))
        self.assertEqual(mutate.report("a.cpp", SAMPLE, verdicts), [
            "a.cpp: 5 mutants, 1 killed, 2 the same program (1 by list), 2 survive, 1 do not compile; "
            "score 33.3 %",
            "a.cpp:8: ! is left out: survives",
            "    before: if (!name || value < limit) {",
            "    after:  if (name || value < limit) {",
            "a.cpp:8: < becomes <=: is in a line that no test reaches",
            "    before: if (!name || value < limit) {",
            "    after:  if (!name || value <= limit) {"])


class Runs(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.runner = Runner(None, place.name)
        self.work = os.path.join(place.name, "tmp")

    def passes(self, script, limit=60):
        return self.runner.passes(["sh", "-c", script], dict(os.environ, TMPDIR=self.work), limit)

    def test_a_test_passes_when_it_ends_well_or_is_skipped(self):
        self.assertEqual([self.passes("exit %d" % n) for n in (0, 77, 1)], [True, True, False])
        self.assertFalse(self.passes("kill -9 $$"))

    def test_one_that_takes_too_long_is_ended_with_all_that_it_started(self):
        start = time.monotonic()
        self.assertFalse(self.passes("sleep 100 & echo $!; wait", limit=1))
        self.assertLess(time.monotonic() - start, 50)
        child = int(self.runner.log())
        for _ in range(500):
            if not self.runs(child):
                return
            time.sleep(0.1)
        self.fail("the child still runs")

    @staticmethod
    def runs(process):
        try:
            with open("/proc/%d/stat" % process, encoding="utf-8") as stream:
                return stream.read().split(")")[1].split()[0] != "Z"
        except OSError:
            return False

    def test_what_it_leaves_is_removed(self):
        self.assertTrue(self.passes('echo > "$TMPDIR/file" && test -e file'))
        self.assertFalse(os.path.exists(self.work))

    def test_a_compiler_that_fails_is_reported(self):
        with self.assertRaisesRegex(DoesNotCompile, "no such type"):
            compiled(["sh", "-c", "echo no such type; exit 1"])


class Pools(unittest.TestCase):
    def test_results_are_in_the_order_of_the_items(self):
        pool = Pool(lambda number: number, 3)
        self.assertEqual(pool.run(lambda worker, item: item * item, range(20)),
                         [n * n for n in range(20)])

    def test_an_error_is_handed_on(self):
        with self.assertRaises(ZeroDivisionError):
            Pool(lambda number: number, 2).run(lambda worker, item: 1 // item, [1, 0, 1])


class Commands(unittest.TestCase):
    def test_what_is_compiled_to_what_is_taken_off(self):
        self.assertEqual(without_output(["c++", "-I/a", "-O0", "-o", "x.o", "-c", "/a/x.cpp"]),
                         ["c++", "-I/a", "-O0"])


class EquivalentMutants(unittest.TestCase):
    def test_an_entry_has_four_parts(self):
        entry, = read_equivalents("# why\n\na.cpp\n  before: a < b;\n  after: a <= b;\n  because: a:\n    b\n")
        self.assertEqual((entry.file, entry.before, entry.after, entry.because),
                         ("a.cpp", "a < b;", "a <= b;", "a: b"))

    def test_an_entry_without_a_reason_is_refused(self):
        with self.assertRaisesRegex(ValueError, "because is missing"):
            read_equivalents("a.cpp\n  before: a\n  after: b\n  because:\n")

    def test_each_entry_of_the_list_is_a_mutant_of_the_sources(self):
        place = os.path.join(mutate.ROOT, mutate.EQUIVALENTS)
        for entry in read_equivalents(mutate.read(place)):
            source = mutate.read(os.path.join(mutate.ROOT, entry.file))
            changes_made = {m.change(source) for m in mutants_of(source)}
            self.assertTrue((entry.before, entry.after) in changes_made,
                            "no mutant of %s any more: %s" % (entry.file, entry.after))


if __name__ == "__main__":
    unittest.main()
