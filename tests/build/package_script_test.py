"""What ./package does, with stand-ins for Debian's tools."""

import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
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


class PackageScript(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = Path(scratch.name) / "project"
        self.bin = Path(scratch.name) / "bin"
        self.bin.mkdir()
        (self.root / "scripts").mkdir(parents=True)
        shutil.copy(PROJECT / "scripts/setup.sh", self.root / "scripts")
        shutil.copy(PROJECT / "package", self.root)
        (self.root / "scripts/packages.txt").write_text("")
        (self.root / "one").write_text("1\n")
        (self.root / ".gitignore").write_text("/build/\n/*.deb\n")
        self.stand_in("dpkg-query", "true")
        self.stand_in("dpkg-parsechangelog", "echo 222")
        self.stand_in("dpkg-buildpackage", BUILD)
        self.stand_in("dpkg-deb", EXTRACT)
        for tool in ("lintian", "desktop-file-validate", "appstreamcli", "man"):
            self.stand_in(tool, "true")

    def stand_in(self, name, body):
        (self.bin / name).write_text(f"#!/bin/bash\n{body}\n")
        (self.bin / name).chmod(0o755)

    def git(self, *words, **variables):
        identity = ["-c", "user.name=a", "-c", "user.email=a@b", "-C", self.root]
        subprocess.run(["git", *identity, *words], check=True, stdout=subprocess.DEVNULL,
                       env={**os.environ, **variables})

    def commit(self):
        self.git("init", "-q")
        self.git("add", ".")
        self.git("commit", "-qm", "a", GIT_COMMITTER_DATE="@111 +0000")

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

    def test_its_time_is_the_last_commits(self):
        self.commit()
        self.package()
        self.assertIn("SOURCE_DATE_EPOCH=111", self.seen())

    def test_without_a_history_its_time_is_the_changelogs(self):
        self.package()
        self.assertIn("SOURCE_DATE_EPOCH=222", self.seen())
        files = [line for line in self.seen() if line.startswith("./")]
        self.assertEqual(files, ["./.gitignore", "./one", "./package", "./scripts/packages.txt",
                                 "./scripts/setup.sh"])

    def test_new_files_belong_to_it_and_ignored_and_deleted_ones_do_not(self):
        (self.root / "gone").write_text("")
        self.commit()
        (self.root / "gone").unlink()
        (self.root / "new").write_text("")
        (self.root / "build").mkdir()
        (self.root / "build/x").write_text("")
        self.package()
        files = [line for line in self.seen() if line.startswith("./")]
        self.assertEqual(files, ["./.gitignore", "./new", "./one", "./package",
                                 "./scripts/packages.txt", "./scripts/setup.sh"])

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
        for tool, body in (("lintian", "exit 2"), ("desktop-file-validate", "exit 1"),
                           ("appstreamcli", "exit 3"), ("man", '[[ "$*" != *-check.1.gz* ]] || echo warning >&2'),
                           ("dpkg-buildpackage", "exit 1")):
            with self.subTest(tool=tool):
                whole = (self.bin / tool).read_text()
                self.stand_in(tool, body)
                self.assertEqual(self.package().returncode, 1)
                self.assertEqual(list(self.root.glob("*.deb")), [])
                (self.bin / tool).write_text(whole)

    def test_an_unknown_option_is_refused(self):
        self.assertEqual(self.package("--chekc").returncode, 1)
        self.assertFalse((self.root / "build").exists())


if __name__ == "__main__":
    unittest.main()
