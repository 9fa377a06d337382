"""The set-up script, with stand-ins for everything that it would change a machine with."""

import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parents[2] / "scripts"
LIST = "one build  # why\ntwo build\nthree demo\nfour linux\n"


class SetUp(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = Path(scratch.name)
        (self.root / "bin").mkdir()
        (self.root / "scripts").mkdir()
        (self.root / "scripts/packages.txt").write_text(LIST)
        for script in ("scripts/setup.sh", "test"):
            shutil.copy(SCRIPTS.parent / script, self.root / script)
        for tool in ("bash", "dirname", "basename", "cat", "grep", "mkdir", "env"):
            (self.root / "bin" / tool).symlink_to(shutil.which(tool))
        self.stand_in("apt-get", f'echo "apt-get $DEBIAN_FRONTEND $*" >>{self.root}/calls')
        self.installed("one", "two")
        self.user(0)

    def stand_in(self, name, body):
        file = self.root / "bin" / name
        file.write_text(f"#!/bin/bash\n{body}\n")
        file.chmod(0o755)

    def installed(self, *names):
        lines = "".join(f"installed={name} " for name in names)
        self.stand_in("dpkg-query", f'printf "%s" "config-files=two {lines}"; exit 1')

    def user(self, number):
        self.stand_in("id", f"echo {number}")

    def sudo(self, asks):
        self.stand_in("sudo", f"""
            if [[ $1 == -n ]]; then exit {int(asks)}; fi
            echo "sudo" >>{self.root}/calls; exec "$@" """)

    def run_set_up(self, groups="build"):
        script = f'set -euo pipefail; source {self.root}/scripts/setup.sh; set_up {groups}'
        return self.run_bash("-c", script, "test")

    def run_bash(self, *arguments):
        result = subprocess.run(
            [self.root / "bin/bash", *arguments], stdin=subprocess.DEVNULL, cwd="/",
            env={"PATH": str(self.root / "bin")}, capture_output=True, text=True)
        file = self.root / "calls"
        return result, file.read_text().splitlines() if file.exists() else []

    def test_apt_is_left_alone_when_nothing_is_missing(self):
        result, calls = self.run_set_up()
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
        self.assertEqual(calls, [])

    def test_only_what_is_missing_of_the_groups_is_installed(self):
        self.installed("one")
        result, calls = self.run_set_up("build demo")
        self.assertEqual(result.returncode, 0, result.stderr)
        options = "apt-get noninteractive -q -y -o DPkg::Lock::Timeout=300"
        self.assertEqual(calls, [f"{options} update",
                                 f"{options} install --no-install-recommends two three"])
        self.assertIn("Installing what is missing to build and run, with apt-get: two three",
                      result.stdout)

    def test_a_user_installs_through_sudo(self):
        self.installed("one")
        self.user(1000)
        self.sudo(asks=False)
        result, calls = self.run_set_up()
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual([call.split()[0] for call in calls], ["sudo", "apt-get"] * 2)

    def test_root_gets_the_packages_of_the_tests_that_need_root_and_a_user_does_not(self):
        self.installed()
        self.sudo(asks=False)
        self.stand_in("apt-get", "exit 100")
        for user, names in ((0, "one two four"), (1000, "one two")):
            self.user(user)
            result, _ = self.run_bash(self.root / "test")
            self.assertIn(f"with apt-get: {names}\n", result.stdout)

    def test_a_password_that_nobody_can_type_is_said(self):
        self.installed("one")
        self.user(1000)
        self.sudo(asks=True)
        result, calls = self.run_set_up()
        self.assertEqual((result.returncode, calls), (1, []))
        self.assertIn("no terminal to ask on. As root, run: apt-get install", result.stderr)

    def test_a_user_without_sudo_is_told_what_to_install(self):
        self.installed("one")
        self.user(1000)
        result, calls = self.run_set_up()
        self.assertEqual((result.returncode, calls), (1, []))
        self.assertIn("there is no sudo here", result.stderr)
        self.assertIn("apt-get install --no-install-recommends two\n", result.stderr)

    def test_a_network_that_is_missing_is_said(self):
        self.installed("one")
        self.stand_in("apt-get", "echo could not resolve; exit 100")
        result, _ = self.run_set_up()
        self.assertEqual(result.returncode, 1)
        self.assertIn("could not resolve\n", result.stderr)
        self.assertIn("is there a network?", result.stderr)

    def test_elsewhere_than_on_debian_the_packages_are_named(self):
        (self.root / "bin/dpkg-query").unlink()
        result, calls = self.run_set_up()
        self.assertEqual((result.returncode, calls), (0, []))
        self.assertIn("needed are: one two", result.stdout)


if __name__ == "__main__":
    unittest.main()
