"""What ./test makes of ctest's results."""

import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parents[2] / "scripts"


class Results(unittest.TestCase):
    def judge(self, skipped=0, disabled=0, output="", ci=None, suite=True):
        with tempfile.TemporaryDirectory() as scratch:
            root = Path(scratch)
            shutil.copytree(SCRIPTS, root / "scripts")
            head = f'\ttests="9"\n\tfailures="0"\n\tdisabled="{disabled}"\n\tskipped="{skipped}"\n'
            text = f"<testsuite\n{head if suite else ''}>\n<system-out>{output}</system-out>\n"
            (root / "result.xml").write_text(text)
            script = ("set -euo pipefail; source scripts/setup.sh; source scripts/results.sh; "
                      "judge dev result.xml")
            environment = {"PATH": "/usr/bin:/bin", **({"CI": ci} if ci else {})}
            done = subprocess.run(["bash", "-c", script, "test"], cwd=root, env=environment,
                                  capture_output=True, text=True)
            return done.returncode, done.stdout, done.stderr

    def test_all_tests_that_have_run_have_passed(self):
        self.assertEqual(self.judge(), (0, "test: All tests of dev passed.\n", ""))
        self.assertEqual(self.judge(ci="true")[0], 0)

    def test_skipped_tests_are_told_with_their_reasons(self):
        skip = "a_test.cpp:7: Skipped\nneeds root\n\n"
        output = f"SKIPPED: no bus\n{skip}{skip}b.cpp:9: Skipped\nneeds /usr/bin/pkexec\n"
        status, out, err = self.judge(skipped=4, output=output)
        self.assertEqual((status, err), (0, ""))
        self.assertEqual([line.strip() for line in out.splitlines()], [
            "1 needs /usr/bin/pkexec", "2 needs root", "1 no bus",
            "test: 4 tests of dev were SKIPPED for the reasons above; all others passed."])

    def test_in_ci_a_skipped_test_is_a_failure(self):
        status, out, err = self.judge(skipped=1, output="x.cpp:7: Skipped\nneeds root\n", ci="true")
        self.assertEqual(status, 1)
        self.assertIn("1 needs root", out)
        self.assertEqual(err, "test: Tests of dev were skipped (see above).\n")
        self.assertEqual(self.judge(skipped=1, ci="false")[0], 0)

    def test_a_disabled_test_is_always_a_failure(self):
        for ci in (None, "true"):
            status, out, err = self.judge(disabled=1, ci=ci)
            self.assertEqual((status, out), (1, ""))
            self.assertEqual(err, "test: Tests of dev are disabled (see above).\n")

    def test_results_that_cannot_be_read_are_a_failure(self):
        self.assertEqual(self.judge(suite=False)[0], 1)


if __name__ == "__main__":
    unittest.main()
