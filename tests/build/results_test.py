"""What ./test makes of the results of ctest and GoogleTest, and what -R picks."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from xml.etree import ElementTree

SCRIPTS = Path(__file__).resolve().parents[2] / "scripts"
RUN = '<testcase name="A" classname="S" status="run" result="completed"/>'
SKIPPED = ('<testcase name="B" classname="S" status="run" result="skipped">'
           '<skipped message="b.cpp:9&#x0A;needs root"/></testcase>')
DISABLED = '<testcase name="C" classname="S" status="notrun" result="suppressed"/>'
PASSED = '<testcase name="x_test 1" classname="x_test 1" status="run"/>'
CRASHED = '<testcase name="x_test 1" status="fail"><failure/></testcase>'
NO_BUS = ('<testcase name="bus" status="notrun"><skipped message="SKIP"/>'
          "<system-out>SKIPPED: no bus\n</system-out></testcase>")


class Results(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = Path(scratch.name)

    def judge(self, *cases, ctest=PASSED, ci=None):
        folder = self.root / "results/x_test.1"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "x_test.xml").write_text(f"<testsuites>{''.join(cases)}</testsuites>")
        (self.root / "ctest.xml").write_text(f"<testsuite>{ctest}</testsuite>")
        words = ["dev", "results", "ctest.xml", "result.xml"]
        done = subprocess.run([sys.executable, SCRIPTS / "results.py", *words], cwd=self.root,
                              env={**os.environ, "CI": ci or ""}, capture_output=True, text=True)
        return done.returncode, done.stdout.split("\n")[:-1], done.stderr

    def test_a_program_is_told_by_its_cases(self):
        self.assertEqual(self.judge(RUN, RUN), (0, ["test: All 2 tests of dev passed."], ""))
        suite = ElementTree.parse(self.root / "result.xml").getroot()
        self.assertEqual([case.get("classname") for case in suite], ["x_test.S", "x_test.S"])

    def test_skipped_tests_are_told_with_their_reasons(self):
        status, lines, _ = self.judge(RUN, SKIPPED, SKIPPED, ctest=PASSED + NO_BUS)
        self.assertEqual(status, 0)
        self.assertEqual([line.strip() for line in lines], [
            "2 needs root", "1 no bus",
            "test: 3 of 4 tests of dev were SKIPPED for the reasons above; all others passed."])

    def test_in_ci_a_skipped_test_is_a_failure(self):
        status, lines, error = self.judge(RUN, SKIPPED, ci="true")
        self.assertEqual((status, lines), (1, ["      1 needs root"]))
        self.assertEqual(error, "test: 1 tests of dev were skipped (see above).\n")

    def test_a_disabled_test_is_always_a_failure(self):
        self.assertEqual(self.judge(RUN, DISABLED)[0], 1)
        self.assertEqual(self.judge(RUN, ctest=PASSED + DISABLED)[0], 1)

    def test_no_test_at_all_is_a_failure(self):
        self.assertEqual(self.judge()[0], 1)
        self.assertEqual(self.judge(SKIPPED)[0], 1)

    def test_a_program_that_crashed_does_not_pass(self):
        self.assertEqual(self.judge(RUN, ctest=CRASHED)[1], [])


class Selection(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = Path(scratch.name).resolve()
        (self.root / "a.cpp").write_text('TEST_P(Cat, Purrs) {}\nTEST(Dog, Barks) {}\n')
        (self.root / "b.cpp").write_text("TYPED_TEST(Bird, Sings) {}\n")
        (self.root / "CTestTestfile.cmake").write_text("".join((
            self.listed("a_test 1", f"{self.root}/t/a_test", "a.cpp"),
            self.listed("b_test 1", f"{self.root}/t/b_test", "b.cpp"),
            self.listed("of the build", f"/bin/cat {self.root}"),
            self.listed("of the text", "/bin/cat x"))))

    def listed(self, name, command, source=None):
        lines = f"add_test([[{name}]] {command})\n"
        if source:
            lines += f'set_tests_properties([[{name}]] PROPERTIES REQUIRED_FILES "{self.root / source}")\n'
        return lines

    def select(self, pattern):
        done = subprocess.run([sys.executable, SCRIPTS / "select_tests.py", self.root, pattern],
                              capture_output=True, text=True, check=False)
        return done.returncode, done.stdout.splitlines()

    def test_a_case_picks_its_program_and_itself(self):
        status, (targets, names, cases) = self.select("Purr")
        self.assertEqual((status, targets, names), (0, "a_test", r"^(a_test\ 1)$"))
        self.assertIn("*/Cat.Purrs/*", cases.split(":"))
        self.assertNotIn("Dog", cases)

    def test_a_program_picks_all_its_cases(self):
        self.assertIn("Dog.Barks", self.select("a_test")[1][2].split(":"))

    def test_another_test_picks_what_its_command_names(self):
        self.assertEqual(self.select("of the build")[1], ["all", r"^(of\ the\ build)$", "*"])
        self.assertEqual(self.select("of the text")[1], ["", r"^(of\ the\ text)$", "*"])

    def test_no_match_is_an_error(self):
        self.assertEqual(self.select("Fish")[0], 1)


if __name__ == "__main__":
    unittest.main()
