"""The project's scripts, with fakes of everything that would change the machine."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from xml.etree import ElementTree

PROJECT = Path(__file__).resolve().parents[2]
LIST = "one build  # why\ntwo build\nthree demo\nfour linux\n"
NAME = "fillstation_1_all.deb"
BUILD = f'''
env | grep -E "^(SOURCE_DATE_EPOCH|TZ)=" >../seen
find . -type f | sort >>../seen
echo "$*" >>../seen
{{ cat one; eval "${{BYTES:-true}}"; }} >../{NAME}
'''
EXTRACT = '''
mkdir -p "$3"/usr/share/{applications,metainfo,man/man1}
touch "$3"/usr/share/{applications/a.desktop,metainfo/a.xml,man/man1/fillstation{,-check}.1.gz}
'''
RUN = '<testcase name="A" classname="S" status="run" result="completed"/>'
SKIPPED = ('<testcase name="B" classname="S" status="run" result="skipped">'
           '<skipped message="b.cpp:9&#x0A;needs root"/></testcase>')
DISABLED = '<testcase name="C" classname="S" status="notrun" result="suppressed"/>'
PASSED = '<testcase name="x_test 1" classname="x_test 1" status="run"/>'
CRASHED = '<testcase name="x_test 1" status="fail"><failure/></testcase>'
NO_BUS = ('<testcase name="bus" status="notrun"><skipped message="SKIP"/>'
          "<system-out>SKIPPED: no bus\n</system-out></testcase>")


class Script(unittest.TestCase):
    """A script in a folder of its own, with fakes of the tools that it calls."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.scratch = Path(scratch.name).resolve()
        self.root = self.scratch / "project"
        self.bin = self.scratch / "bin"
        (self.root / "scripts").mkdir(parents=True)
        self.bin.mkdir()

    def fake(self, name, body):
        (self.bin / name).write_text(f"#!/bin/bash\n{body}\n")
        (self.bin / name).chmod(0o755)


class SetUp(Script):
    def setUp(self):
        super().setUp()
        (self.root / "scripts/packages.txt").write_text(LIST)
        for script in ("scripts/setup.sh", "test"):
            shutil.copy(PROJECT / script, self.root / script)
        for tool in ("bash", "dirname", "basename", "cat", "grep", "mkdir", "env"):
            (self.bin / tool).symlink_to(shutil.which(tool))
        self.fake("apt-get", f'echo "apt-get $DEBIAN_FRONTEND $*" >>{self.root}/calls')
        self.installed("one", "two")
        self.user(0)

    def installed(self, *names):
        lines = "".join(f"installed={name} " for name in names)
        self.fake("dpkg-query", f'printf "%s" "config-files=two {lines}"; exit 1')

    def user(self, number):
        self.fake("id", f"echo {number}")

    def sudo(self, asks):
        self.fake("sudo", f"""
            if [[ $1 == -n ]]; then exit {int(asks)}; fi
            echo "sudo" >>{self.root}/calls; exec "$@" """)

    def run_set_up(self, groups="build"):
        script = f'set -euo pipefail; source {self.root}/scripts/setup.sh; set_up {groups}'
        return self.run_bash("-c", script, "test")

    def run_bash(self, *arguments):
        result = subprocess.run(
            [self.bin / "bash", *arguments], stdin=subprocess.DEVNULL, cwd="/",
            env={"PATH": str(self.bin)}, capture_output=True, text=True)
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
        self.fake("apt-get", "exit 100")
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
        self.fake("apt-get", "echo could not resolve; exit 100")
        result, _ = self.run_set_up()
        self.assertEqual(result.returncode, 1)
        self.assertIn("could not resolve\n", result.stderr)
        self.assertIn("is there a network?", result.stderr)

    def test_elsewhere_than_on_debian_the_packages_are_named(self):
        (self.bin / "dpkg-query").unlink()
        result, calls = self.run_set_up()
        self.assertEqual((result.returncode, calls), (0, []))
        self.assertIn("needed are: one two", result.stdout)


class PackageScript(Script):
    def setUp(self):
        super().setUp()
        shutil.copy(PROJECT / "scripts/setup.sh", self.root / "scripts")
        shutil.copy(PROJECT / "package", self.root)
        (self.root / "scripts/packages.txt").write_text("")
        (self.root / "one").write_text("1\n")
        (self.root / ".gitignore").write_text("/build/\n/*.deb\n")
        self.fake("dpkg-query", "true")
        self.fake("dpkg-parsechangelog", "[[ $2 == Timestamp ]] && echo 222 || echo 1")
        self.fake("dpkg-buildpackage", BUILD)
        self.fake("dpkg-deb", EXTRACT)
        for tool in ("lintian", "desktop-file-validate", "appstreamcli", "man"):
            self.fake(tool, "true")

    def git(self, *words, **variables):
        identity = ["-c", "user.name=a", "-c", "user.email=a@b", "-C", self.root]
        subprocess.run(["git", *identity, *words], check=True, stdout=subprocess.DEVNULL,
                       env={**os.environ, **variables})

    def commit(self):
        self.git("init", "-q")
        self.git("add", ".")
        self.git("commit", "-qm", "a")

    def package(self, *words, **variables):
        environment = {"PATH": f"{self.bin}:/usr/bin:/bin", "HOME": str(self.root),
                       "GIT_CEILING_DIRECTORIES": str(self.root.parent), **variables}
        return subprocess.run([self.root / "package", *words], env=environment, text=True,
                              capture_output=True)

    def seen(self, folder="first"):
        return (self.root / "build/package" / folder / "seen").read_text().splitlines()

    def test_the_package_is_made_of_a_copy_and_put_beside_it(self):
        self.commit()
        (self.root / "fillstation_0_all.deb").write_text("an older one")
        done = self.package()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual([file.name for file in self.root.glob("*.deb")], [NAME])
        self.assertIn(f"sudo apt install ./{NAME}", done.stdout)
        self.assertEqual(self.seen()[-1], "--build=binary --no-sign")

    def test_it_holds_new_files_but_no_ignored_or_deleted_ones(self):
        (self.root / "gone").write_text("")
        self.commit()
        (self.root / "gone").unlink()
        (self.root / "new").write_text("")
        (self.root / "build").mkdir()
        (self.root / "build/x").write_text("")
        self.package()
        self.assertIn("SOURCE_DATE_EPOCH=222", self.seen())
        files = [line for line in self.seen() if line.startswith("./")]
        self.assertEqual(files, ["./.gitignore", "./new", "./one", "./package",
                                 "./scripts/packages.txt", "./scripts/setup.sh"])

    def test_the_source_archive_depends_on_names_and_contents_only(self):
        self.commit()
        archive = self.root / "fillstation-1.tar.xz"
        self.assertEqual(self.package("--source").returncode, 0)
        first = archive.read_bytes()
        shutil.unpack_archive(archive, self.scratch)
        shutil.rmtree(self.root)
        (self.scratch / "fillstation-1").rename(self.root)
        os.utime(self.root / "one", (1, 1))
        (self.root / "one").chmod(0o600)
        self.assertEqual(self.package("--source", TZ="Asia/Tokyo").returncode, 0)
        self.assertEqual(archive.read_bytes(), first)
        (self.root / "one").write_text("2\n")
        self.assertEqual(self.package("--source").returncode, 0)
        self.assertNotEqual(archive.read_bytes(), first)
        self.assertFalse((self.root / "build/package/first").exists())

    def test_a_second_build_of_the_same_bytes_passes(self):
        done = self.package("--check")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("the same bytes", done.stdout)
        self.assertIn("TZ=Pacific/Auckland", self.seen("second/elsewhere"))

    def test_bytes_that_depend_on_folder_zone_or_language_are_found(self):
        for bytes_of in ("pwd", "date +%Z", "echo $LC_ALL"):
            done = self.package("--check", BYTES=bytes_of, LC_ALL="C.UTF-8")
            self.assertEqual(done.returncode, 1, bytes_of)
            self.assertIn("A second build made other bytes", done.stderr)
            self.assertEqual(self.package(BYTES=bytes_of).returncode, 0)

    def test_a_package_with_faults_is_not_handed_out(self):
        for tool, body in (("lintian", "exit 2"), ("lintian", "echo 'I: a: fault [b]'"),
                           ("desktop-file-validate", "exit 1"),
                           ("appstreamcli", "exit 3"), ("man", '[[ "$*" != *-check.1.gz* ]] || echo warning >&2'),
                           ("dpkg-buildpackage", "exit 1")):
            with self.subTest(tool=tool):
                whole = (self.bin / tool).read_text()
                self.fake(tool, body)
                self.assertEqual(self.package().returncode, 1)
                self.assertEqual(list(self.root.glob("*.deb")), [])
                (self.bin / tool).write_text(whole)

    def test_what_the_package_cannot_help_is_no_fault(self):
        self.fake("lintian", "echo 'I: a: hardening-no-fortify-functions [b]'")
        self.fake("appstreamcli", '[[ "$*" != *--override* ]]')
        self.assertEqual(self.package().returncode, 0)

    def test_an_unknown_option_is_refused(self):
        self.assertEqual(self.package("--chekc").returncode, 1)
        self.assertFalse((self.root / "build").exists())


class Results(Script):
    def judge(self, *cases, ctest=PASSED, ci=None):
        folder = self.root / "results/x_test.1"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "x_test.xml").write_text(f"<testsuites>{''.join(cases)}</testsuites>")
        (self.root / "ctest.xml").write_text(f"<testsuite>{ctest}</testsuite>")
        words = ["dev", "results", "ctest.xml", "result.xml"]
        done = subprocess.run([sys.executable, PROJECT / "scripts" / "results.py", *words], cwd=self.root,
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


class Selection(Script):
    def setUp(self):
        super().setUp()
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
        done = subprocess.run([sys.executable, PROJECT / "scripts" / "select_tests.py", self.root, pattern],
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
