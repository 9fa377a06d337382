#!/usr/bin/env python3
"""The catalogues have every text of the window, finished, with the marks of the English one.

Usage: catalogues_test.py LUPDATE
"""
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ET

ROOT = pathlib.Path(__file__).resolve().parents[2]
APP = ROOT / "src/app"
CATALOGUES = sorted((APP / "languages").glob("*.ts"))
LUPDATE = sys.argv.pop() if len(sys.argv) > 1 else "/usr/lib/qt6/bin/lupdate"


def messages(path):
    """The messages of a catalogue, by context, source and comment."""
    found = {}
    for context in ET.parse(path).getroot().iter("context"):
        for message in context.iter("message"):
            found[context.findtext("name"), message.findtext("source"),
                  message.findtext("comment")] = message
    return found


def forms(message):
    """The translations: one, or one for each plural form of the language."""
    translation = message.find("translation")
    plurals = [form.text or "" for form in translation.iter("numerusform")]
    return plurals or [translation.text or ""]


def marks(text):
    """What has to be in a translation too: arguments, mnemonics and line feeds."""
    return sorted(re.findall(r"%[0-9np]|&|\n", text))


def lupdate(language, path):
    """The command that brings a catalogue up to date; the English one has only plural forms."""
    return [LUPDATE, *"-silent -locations none -no-obsolete -target-language".split(), language,
            *(["-pluralonly"] if language == "en" else []), str(APP), "-ts", str(path)]


class Catalogues(unittest.TestCase):
    def wanted(self, language):
        """What the sources ask of a catalogue."""
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "wanted.ts")
            subprocess.run(lupdate(language, path), check=True)
            return messages(path)

    def check(self, language, key, message, count):
        source = key[1]
        self.assertEqual(message.find("translation").get("type"), None, "is not finished")
        self.assertEqual(len(forms(message)), count, "has too many or too few plural forms")
        for number, text in enumerate(forms(message)):
            self.assertTrue(text.strip(), "is empty")
            expected = marks(source)
            # Arabic has words of their own for one and two things.
            if count == 6 and number in (1, 2) and "%n" not in text and "%n" in expected:
                expected.remove("%n")
            self.assertEqual(marks(text), expected, text)
        if language == "en":
            self.assertEqual(forms(message)[-1], source)

    def test_each_has_every_text(self):
        self.assertGreaterEqual(len(CATALOGUES), 10)
        for path in CATALOGUES:
            wanted, there = self.wanted(path.stem), messages(path)
            self.assertEqual(wanted.keys(), there.keys(),
                             "is out of date. Run: " + " ".join(lupdate(path.stem, path)))
            self.assertNotIn("<location", path.read_text(encoding="utf-8"))
            for key, message in there.items():
                with self.subTest(catalogue=path.name, text=key[1]):
                    self.check(path.stem, key, message, len(forms(wanted[key])))

    def test_the_desktop_entry_and_the_metainfo_have_the_same_languages(self):
        languages = sorted({path.stem for path in CATALOGUES} - {"en"})
        entry = (ROOT / "data/fillstation.desktop").read_text(encoding="utf-8")
        for key in ("GenericName", "Comment", "Keywords"):
            self.assertEqual(re.findall(rf"^{key}\[(\w+)\]=.", entry, re.M), languages, key)
        counts = {}
        for element in ET.parse(ROOT / "data/fillstation.metainfo.xml").iter():
            if element.tag in ("summary", "p", "li"):
                language = element.get("{http://www.w3.org/XML/1998/namespace}lang", "")
                counts[language.replace("-", "_")] = counts.get(language.replace("-", "_"), 0) + 1
        self.assertEqual(counts, dict.fromkeys(["", *languages], 6))


if __name__ == "__main__":
    unittest.main()
