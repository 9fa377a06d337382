"""The mutation test itself, on a sample text and on a project of a few lines."""

import re
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))

from points import Finder, equivalents  # noqa: E402
from workshop import marked, run  # noqa: E402


def found(source, kind=None):
    points = Finder("sample.cpp", source).points()
    return {(point.before, point.after) for point in points if kind in (None, point.kind)}


def in_code(text):
    return "void f() {\n" + text + "\n}\n"


class Points(unittest.TestCase):
    def test_comparisons_become_their_neighbours(self):
        self.assertEqual(found("bool b = x < y;"), {("<", "<="), ("<", ">=")})
        self.assertEqual(found("bool b = x == y;"), {("==", "!=")})

    def test_angles_of_templates_are_no_comparison(self):
        self.assertEqual(found("std::map<int, std::set<T>> m;"), set())
        self.assertEqual(found("template <class T, int N = 3> struct S;"), set())

    def test_pointers_and_references_are_no_arithmetic(self):
        self.assertEqual(found("void f(int* p, T&& q, const U& r);"), set())
        self.assertEqual(found("int i = a * b;"), {("*", "/")})

    def test_conditions_are_turned_and_forced(self):
        expected = {("ok()", "true"), ("ok()", "false"), ("ok()", "!(ok())")}
        self.assertEqual(found(in_code("if (ok()) x = y;"), "condition"), expected)
        self.assertEqual(found(in_code("if (int i = g(); ok()) x = y;"), "condition"), expected)
        self.assertEqual(found(in_code("x = ok() ? y : z;"), "condition"), expected)
        self.assertEqual(found(in_code("if (auto p = g()) x = y;"), "condition"), set())

    def test_loops_are_never_forced_to_go_on(self):
        expected = {("ok()", "false"), ("ok()", "!(ok())")}
        self.assertEqual(found(in_code("while (ok()) x = y;"), "condition"), expected)
        self.assertEqual(found(in_code("for (; ok();) x = y;"), "condition"), expected)

    def test_a_condition_is_not_turned_twice(self):
        turned = found(in_code("if (a == b) x = y;"))
        self.assertEqual(turned, {("a == b", "true"), ("a == b", "false"), ("==", "!=")})

    def test_calls_are_removed_where_they_are_statements(self):
        calls = found(in_code("a.b()->c<int>(x);\nif (p) ::g();\ny = h();\nT t(x);"), "call")
        self.assertEqual(calls, {("a.b()->c<int>(x)", ""), ("::g()", "")})
        self.assertEqual(found("class C {\n  C(int);\n  void g();\n};", "call"), set())
        self.assertEqual(found("C::C(int x) : a_{x}, b_(x) {\n  g();\n}", "call"), {("g()", "")})

    def test_constants_change(self):
        self.assertEqual(found("int i = 10;"), {("10", "11"), ("10", "9")})
        self.assertEqual(found("int i = 0xFFu;"), {("0xFFu", "0x100u"), ("0xFFu", "0xfeu")})
        self.assertEqual(found("double d = 0.5;"), {("0.5", "1.5"), ("0.5", "-1.5")})
        self.assertEqual(found("bool b = true;"), {("true", "false")})
        self.assertEqual(found('auto s = "a\\n";'), {('"a\\n"', '"x\\n"')})
        self.assertEqual(found('auto s = "";'), {('""', '"x"')})
        self.assertEqual(found("auto s = R\"(a\"b)\";"), {("R\"(a\"b)\"", "R\"(a\"x)\"")})

    def test_what_is_no_behaviour_is_left_alone(self):
        for text in ('#include "a1.h"\n', "#define N \\\n  3\n", "// x == 1\n", "/* x == 1 */",
                     "static_assert(x == 1);", "[[deprecated(\"1\")]] int f();",
                     "virtual void f() const = 0;", "bool operator==(const T& o) const;"):
            with self.subTest(text=text):
                self.assertEqual(found(text), set())
        self.assertEqual(found(in_code("std::abort();")), set())
        self.assertEqual(found("int mode = 0644;"), set())


class Equivalents(unittest.TestCase):
    def test_each_is_a_point_of_the_sources(self):
        root = HERE.parents[1]
        for path, change, text in equivalents(root):
            with self.subTest(path=path, change=change, text=text):
                points = Finder(path, (root / path).read_text()).points()
                self.assertIn((change, text), [(point.change(), point.text) for point in points])


class Processes(unittest.TestCase):
    def test_a_hanging_program_and_what_it_started_are_ended(self):
        with tempfile.TemporaryDirectory() as folder:
            script = "echo begun; setsid sleep 60 & sleep 60"
            started = time.monotonic()
            status, output = run(["sh", "-c", script], folder, mark=folder, seconds=0.5)
            self.assertLess(time.monotonic() - started, 30)
            self.assertEqual((status, output), (None, "begun\n"))
            self.assertEqual(list(marked(folder)), [])

    def test_status_and_output_arrive(self):
        self.assertEqual(run(["sh", "-c", "echo out; exit 3"], "/"), (3, "out\n"))

    def test_a_list_of_thousands_of_tests_arrives_whole(self):
        status, output = run(["head", "-c", "5000000", "/dev/zero"], "/")
        self.assertEqual((status, len(output)), (0, 5000000))


class Fixture(unittest.TestCase):
    def mutate(self, *arguments, status=0):
        command = [sys.executable, "-B", HERE / "mutate", "--root", HERE / "fixture", *arguments]
        result = subprocess.run(command, capture_output=True, text=True)
        self.assertEqual(result.returncode, status, result.stderr)
        return result.stdout

    def test_the_seed_alone_decides_what_is_drawn(self):
        one, other = (self.mutate("--list", "--count=8", f"--seed={seed}", "src") for seed in "12")
        self.assertEqual(one, self.mutate("--list", "--count=8", "--seed=1", "src"))
        self.assertEqual(len(one.splitlines()), 8)
        self.assertNotEqual(one, other)

    def test_an_equivalent_is_not_drawn(self):
        drawn = self.mutate("--list", "--count=999", "src")
        self.assertNotIn("constant: 7 -> 8", drawn)
        self.assertIn("constant: 7 -> 6", drawn)

    def test_one_mutation_is_killed_and_one_survives(self):
        before = (HERE / "fixture/src/Price.cpp").read_bytes()
        output = self.mutate("--only=src/Price.cpp:8", "--workers=2", "--most=49", "src", status=1)
        self.assertEqual((HERE / "fixture/src/Price.cpp").read_bytes(), before)
        outcomes = re.findall(r"^\[\d\] (\w+).*: src/Price.cpp:8: \w+: (.*)$", output, re.MULTILINE)
        self.assertEqual(set(outcomes), {
            ("killed", "pieces >= 100 -> true"),
            ("killed", "pieces >= 100 -> false"),
            ("killed", ">= -> <"),
            ("survived", ">= -> >"),
            ("survived", "100 -> 99"),
            ("survived", "100 -> 101"),
        })
        self.assertIn("3 of 6 survived (50.0 %)", output)
        self.assertIn("src/Price.cpp:8: comparison: >= -> >\n", output)

    def test_each_program_that_starts_a_changed_one_is_run(self):
        output = self.mutate("--only=src/Tool.cpp:2", "--workers=1", "--most=0", "src")
        self.assertIn("killed by ToolTest Tool.EndsWithSeven", output)
        self.assertIn("0 of 2 survived (0.0 %)", output)


if __name__ == "__main__":
    unittest.main()
