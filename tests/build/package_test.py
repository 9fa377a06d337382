"""The package and the metainfo agree with the program, the build and the lists."""

import re
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
# On every Debian that builds packages; only makes a build quicker.
NOT_NEEDED = {"g++", "ccache"}
# Essential in Debian; there on every desktop.
NOT_DECLARED = {"util-linux", "perl-base", "fonts-dejavu-core"}
# Only a build of the package needs it.
COMPAT = {"debhelper-compat"}


def text_of(path):
    return (ROOT / path).read_text()


def first(pattern, path):
    return re.search(pattern, text_of(path), re.MULTILINE).group(1)


def packages(group):
    rows = (line.partition("#")[0].split() for line in text_of("scripts/packages.txt").splitlines())
    return {row[0] for row in rows if row and row[1] == group}


def declared(field):
    value = first(rf"^{field}: ((?:.|\n )*)", "debian/control")
    names = (re.sub(r"\(.*?\)", "", name).strip() for name in value.split(","))
    return {name for name in names if not name.startswith("${")}


class Package(unittest.TestCase):
    def setUp(self):
        self.metainfo = ElementTree.fromstring(text_of("data/fillstation.metainfo.xml"))
        self.desktop = dict(re.findall(r"^(\w+)=(.*)$", text_of("data/fillstation.desktop"), re.M))

    def test_there_is_one_version(self):
        changes = re.findall(r"^fillstation \((.*?)\)", text_of("debian/changelog"), re.M)
        released = [release.get("version") for release in self.metainfo.iter("release")]
        self.assertEqual(released, changes)

    def test_there_is_one_name(self):
        name = first(r'setDesktopFileName\(QStringLiteral\("(\w+)"\)', "src/app/AppRunner.cpp")
        self.assertTrue((ROOT / f"data/{name}.desktop").exists())
        self.assertEqual(self.metainfo.findtext("launchable"), f"{name}.desktop")
        self.assertEqual(self.desktop["StartupWMClass"], name)
        icon = first(r'fromTheme\(QStringLiteral\("(\w+)"\)', "src/app/WindowStyle.cpp")
        self.assertEqual(self.desktop["Icon"], icon)
        self.assertEqual(self.metainfo.findtext("icon"), icon)
        for kind in ("", "-symbolic"):
            self.assertTrue((ROOT / f"data/icons/{icon}{kind}.svg").exists())
        self.assertEqual(self.desktop["Comment"], self.metainfo.findtext("summary"))

    def test_every_command_is_provided(self):
        commands = {page.stem for page in (ROOT / "data").glob("*.1")}
        self.assertEqual({binary.text for binary in self.metainfo.iter("binary")}, commands)

    def test_nobody_is_sent_to_the_reserved_address(self):
        pages = [page for pattern in ("*.md", "docs/*.md", "data/*", "debian/*")
                 for page in ROOT.glob(pattern) if page.is_file()]
        found = {page.name for page in pages if "//fillstation.example" in page.read_text()}
        self.assertEqual(found, set())

    def test_a_build_needs_what_the_list_says(self):
        self.assertEqual(declared("Build-Depends") - COMPAT, packages("build") - NOT_NEEDED)

    def test_the_program_needs_what_the_list_says(self):
        self.assertEqual(declared("Depends") - {"udev"}, packages("run") - NOT_DECLARED)

    def test_the_licence_is_the_projects(self):
        licence = text_of("LICENSE").split("\n", 4)[4]
        quoted = text_of("debian/copyright").rpartition("License: Expat\n")[2]
        plain = re.sub(r"^ \.?", "", quoted, flags=re.MULTILINE)
        self.assertEqual(plain.split(), licence.split())
        self.assertIn(first(r"^Copyright \(c\) (.*)$", "LICENSE"), text_of("debian/copyright"))


if __name__ == "__main__":
    unittest.main()
