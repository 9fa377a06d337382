"""What the package says of the program is what the program, the build and the lists say."""

import re
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
# What every Debian builds with, and what a build is only quicker with.
NOT_NEEDED = {"g++", "ccache"}
# Essential in Debian; and what a machine with a desktop has.
NOT_DECLARED = {"util-linux", "perl-base", "fonts-dejavu-core"}
# In every list of a build that is made as a package; not in that of a machine that builds by hand.
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
        self.home_page = first(r'kHomePage\[\] = "(.*)"', "src/app/TRAppDelegate.h")

    def test_there_is_one_version(self):
        version = first(r"^project\(fillstation VERSION ([\d.]+)", "CMakeLists.txt")
        self.assertEqual(first(r"^fillstation \((.*?)\)", "debian/changelog"), version)
        self.assertEqual(self.metainfo.find("releases/release").get("version"), version)
        for page in ("data/fillstation.1", "data/fillstation-check.1"):
            self.assertEqual(first(r'^\.TH .* "Fillstation ([\d.]+)"', page), version)

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

    def test_every_address_is_on_the_home_page(self):
        self.assertEqual(self.metainfo.findtext("url"), self.home_page)
        self.assertEqual(first("^Homepage: (.*)", "debian/control"), self.home_page)
        self.assertEqual(first("^Source: (.*)", "debian/copyright"), self.home_page)
        images = [image.text for image in self.metainfo.iter("image")]
        self.assertGreater(len(images), 0)
        for image in images:
            self.assertTrue(image.startswith(self.home_page), image)
            name = image.removeprefix(self.home_page)
            self.assertTrue((ROOT / "docs" / name).exists(), f"{name} is below docs/")

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
