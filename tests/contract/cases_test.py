"""The list of the contracts' cases, over programs that only list some."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CASES = Path(__file__).parent / "cases"
BENCH = "Bench/UsbBusContract.\n  Opens/Bench  # GetParam() = Bench\nOtherTest.\n  Here\n"
LINUX = "Linux/UsbBusContract.\n  Opens/Linux\n"


class Cases(unittest.TestCase):
    def run_over(self, *lists, check=True):
        with tempfile.TemporaryDirectory() as scratch:
            programs = []
            for number, text in enumerate(lists):
                program = Path(scratch) / f"program{number}"
                program.write_text(f"#!/bin/sh\n[ \"$1\" = --gtest_list_tests ] && cat <<'END'\n"
                                   f"{text}END\n")
                program.chmod(0o755)
                programs.append(str(program))
            command = [sys.executable, CASES, *(["--check"] if check else []), *programs]
            done = subprocess.run(command, capture_output=True, text=True)
            return done.returncode, done.stdout.splitlines(), done.stderr

    def test_a_case_is_listed_once_with_its_back_ends(self):
        self.assertEqual(self.run_over(BENCH, LINUX),
                         (0, ["bench, Linux  UsbBusContract.Opens", "1 cases"], ""))

    def test_a_case_that_one_back_end_lacks_is_told(self):
        status, lines, errors = self.run_over(BENCH)
        self.assertEqual((status, lines[0]), (1, "bench         UsbBusContract.Opens"))
        self.assertEqual(errors, "not against every back end: UsbBusContract.Opens\n")
        self.assertEqual(self.run_over(BENCH, check=False)[0], 0)

    def test_another_instance_is_no_back_end(self):
        self.assertEqual(self.run_over("Posix/FileManagerContract.\n  Walks/0\n")[0], 1)

    def test_no_case_at_all_is_a_failure(self):
        self.assertEqual(self.run_over("OtherTest.\n  Here\n")[0], 1)


if __name__ == "__main__":
    unittest.main()
