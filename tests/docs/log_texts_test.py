"""docs/troubleshooting.md has a section for every text of the program's log, and for no other."""

import collections
import re
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

# The calls that write a text.
SINK = re.compile(r"(?:\b(?:logText|fputs|fprintf|printf|puts)|\blog_?\.(?:write|writeEach|writeWith|add)"
                  r"|[lL]og->(?:write|writeEach|writeWith))\(")
LITERALS = re.compile(r'(?:stderr,\s*|stdout,\s*)?(?:formatText\(\s*)?((?:"(?:[^"\\]|\\.)*"\s*)+)')
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')

# Calls without a literal text: the file and the first argument, and the texts.
INDIRECT = {
    ("Platform.h", "formatText(pattern, values...)"): (),  # is logText()
    ("SystemLog.h", "texts"): (),  # texts that were added
    ("main.cpp", "answer"): (),  # the answer to an option
    ("TRFile.cpp", "address"): ("file:///…",),
    ("UsbUtil.cpp", "textOf(record.mountPath).c_str()"): ("/media/…",),
}


def _argument(text):
    """The first argument of a call whose opening parenthesis is right before the text."""
    depth = 0
    for at, sign in enumerate(text):
        if depth == 0 and sign in ",)":
            return " ".join(text[:at].split())
        depth += (sign in "([{") - (sign in ")]}")
    return text


def shown(pattern):
    """A text as a reader finds it: without its line feeds, and … for the variable parts."""
    text = pattern.replace("\\n", "\n").replace("\\\\", "\\").replace('\\"', '"').strip()
    return re.sub(r"%[@sd]", "…", text)


def texts_of(name, source, used):
    """The texts of one source, and which of INDIRECT it used; an unknown text is a ValueError."""
    found = []
    for call in SINK.finditer(source):
        if source[: call.start()].rpartition("\n")[2].rstrip().endswith("void"):
            continue  # it is declared here
        behind = source[call.end():]
        beside = LITERALS.match(behind)
        argument = _argument(behind)
        if beside:
            goes_on = behind[beside.end():].startswith("+")
            found.append(shown("".join(LITERAL.findall(beside.group(1))) + "%s" * goes_on))
        elif (name, argument) in INDIRECT:
            used.add((name, argument))
            found += INDIRECT[name, argument]
        else:
            raise ValueError(f"{name} says {argument}, and its text is not known.")
    return found


def sources():
    """Everything that the window is made of; the virtual bench and other commands are not in it."""
    root = ROOT / "src"
    return [path for path in sorted(root.rglob("*")) if path.suffix in (".h", ".cpp")
            and not {"bench", "check"} & set(path.relative_to(root).parts)]


def sections(document):
    """The texts that have a section in the document: its heading quotes the text."""
    headings = re.findall(r"^### (`+) ?(.+?) ?\1$", document, re.MULTILINE)
    return [text for _, text in headings]


class Sections(unittest.TestCase):
    def setUp(self):
        document = (ROOT / "docs/troubleshooting.md").read_text()
        self.sections = sections(document)
        self.used = set()
        self.texts = {text for path in sources()
                      for text in texts_of(path.name, path.read_text(), self.used)}

    def test_every_text_has_its_section(self):
        self.assertEqual(self.texts - set(self.sections), set())

    def test_every_section_has_its_text(self):
        self.assertEqual(set(self.sections) - self.texts, set())

    def test_no_section_is_there_twice(self):
        self.assertEqual([text for text, count in collections.Counter(self.sections).items()
                          if count > 1], [])

    def test_every_indirect_call_exists(self):
        self.assertEqual(self.used, set(INDIRECT))


if __name__ == "__main__":
    unittest.main()
