"""Roots of Debian releases: where their packages come from, and what tests/platforms says of them."""

import os
import platform
import re
import shutil
import subprocess
import sys
import unittest

from scripts_test import PROJECT, Script


class Sources(Script):
    """Where the packages of a release come from, with an apt that has the source of this one."""

    def setUp(self):
        super().setUp()
        here = platform.freedesktop_os_release()["VERSION_CODENAME"]
        self.source = self.scratch / "own.sources"
        self.source.write_text(f"URIs: http://mirror\nSuites: {here} {here}-updates\n")
        self.fake("apt-get", f"""
            echo "Debian|{here}|{here}|{self.source}:1"
            echo "Debian|{here}-updates|{here}-updates|{self.source}:1"
            echo "|{here}|{here}|/other.list:1" """)
        self.fake("apt-config", """
            echo 'Acquire::http::Proxy "http://proxy";'
            echo 'Acquire::https "";'
            echo 'APT::Colour "red";' """)
        self.here = here

    def arguments(self, release):
        done = subprocess.run([sys.executable, PROJECT / "scripts/debian.py", release, self.root],
                              env={"PATH": f"{self.bin}:{os.environ['PATH']}"},
                              capture_output=True, text=True)
        return done.returncode, done.stdout.splitlines()

    def test_this_release_has_the_files_of_apt_and_what_apt_was_told(self):
        suites = "|".join((self.here, f"{self.here}-updates", f"{self.here}-security"))
        self.assertEqual(self.arguments(self.here), (0, [
            '--aptopt=Acquire::http::Proxy "http://proxy"',
            f'--aptopt=APT::Default-Release "/^({suites})$/"', str(self.source)]))

    def test_another_release_has_the_same_mirror(self):
        status, words = self.arguments("other")
        self.assertEqual((status, words[-1]), (0, str(self.root / "own.sources")))
        self.assertEqual((self.root / "own.sources").read_text(),
                         "URIs: http://mirror\nSuites: other other-updates\n")

    def test_without_a_source_there_is_no_release(self):
        self.fake("apt-get", "true")
        self.assertEqual(self.arguments("other"), (1, []))


class Platforms(Script):
    """tests/platforms with a machine that makes roots of nothing."""

    def setUp(self):
        super().setUp()
        for folder in ("tests", "build/platforms"):
            (self.root / folder).mkdir(parents=True)
        for script in ("scripts/setup.sh", "tests/platforms"):
            shutil.copy(PROJECT / script, self.root / script)
        (self.root / "scripts/packages.txt").write_text("")
        self.fake("id", "echo 0")
        (self.root / "scripts/roots.sh").write_text("""
            ROOT_USER=newcomer
            make_root() { [[ "$1" != gone ]]; }
            in_root() {
              local name=${3%% *}
              printf '%s\\n' first "${name#./}: $2 in $(basename "$1")"
              eval "${FAIL:-true}"
            }
            """)

    def table(self, *releases, fail="true"):
        done = subprocess.run([self.root / "tests/platforms", *releases], text=True,
                              env={"PATH": f"{self.bin}:{os.environ['PATH']}", "FAIL": fail},
                              capture_output=True)
        rows = done.stdout.partition("result\n")[2].splitlines()
        columns = re.compile(r"(\S+) +(\S+) +(.+?) +\d+ s +(.*)")
        return done.returncode, [list(columns.match(row).groups()) for row in rows]

    def test_every_command_runs_as_root_and_as_a_user(self):
        status, rows = self.table("one")
        self.assertEqual(status, 0)
        self.assertEqual(rows, [["one", user, f"./{command}", f"passed: {user} in one-{user}"]
                                for user in ("root", "newcomer")
                                for command in ("demo", "test", "package --check")])

    def test_what_fails_is_told_and_fails_it_except_in_testing(self):
        for release, status in (("one", 1), ("testing", 0)):
            done = self.table(release, fail='[[ "$3" != ./test ]]')
            log = f"build/platforms/{release}-newcomer-test.log"
            self.assertEqual(done[0], status)
            self.assertIn([release, "newcomer", "./test", f"FAILED, see {log}: newcomer in {release}-newcomer"],
                          done[1])
            self.assertEqual(sum("FAILED" in row[3] for row in done[1]), 2)

    def test_a_root_that_cannot_be_made_fails_it(self):
        status, rows = self.table("gone")
        self.assertEqual((status, len(rows)), (1, 2))


if __name__ == "__main__":
    unittest.main()
