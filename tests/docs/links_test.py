"""Every link and picture of the pages exists, and every page can be reached from README.md."""

import re
import unittest
from pathlib import Path, PurePosixPath

ROOT = Path(__file__).resolve().parents[2]
LINK = re.compile(r"!?\[[^]]*\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#+ (.*)$", re.MULTILINE)
CODE = re.compile(r"^```.*?^```$|^    [^\n]*$|`[^`\n]*`", re.MULTILINE | re.DOTALL)


def pages():
    """The text of each page, by its path."""
    found = (page for pattern in ("*.md", "docs/*.md", "perf/*.md", "tests/*/*.md")
             for page in ROOT.glob(pattern))
    return {str(page.relative_to(ROOT)): page.read_text(encoding="utf-8") for page in found}


def anchors(text):
    """The anchors of a page, as repository browsers make them from the headings. In our HTML, headings
    with backquotes have other ones, so they are left out."""
    return {re.sub(r"[^\w\- ]", "", heading).strip().lower().replace(" ", "-")
            for heading in HEADING.findall(text) if "`" not in heading}


def links(name, text):
    """The targets of a page's links: the file, and the anchor or an empty text."""
    for target in LINK.findall(CODE.sub("", text)):
        if re.match(r"\w+:", target):
            continue  # the web
        path, _, anchor = target.partition("#")
        joined = PurePosixPath(name).parent / path if path else PurePosixPath(name)
        yield str((ROOT / joined).resolve().relative_to(ROOT)), anchor


class Links(unittest.TestCase):
    def setUp(self):
        self.pages = pages()

    def test_every_link_names_a_file_and_a_heading(self):
        for name, text in self.pages.items():
            for path, anchor in links(name, text):
                with self.subTest(page=name, link=path):
                    self.assertTrue((ROOT / path).exists())
                    if anchor:
                        self.assertIn(anchor, anchors(self.pages[path]))

    def test_every_page_can_be_reached(self):
        reached, found = set(), ["README.md"]
        while found:
            name = found.pop()
            if name in self.pages and name not in reached:
                reached.add(name)
                found += [path for path, _ in links(name, self.pages[name])]
        self.assertEqual(set(self.pages) - reached, set())


if __name__ == "__main__":
    unittest.main()
