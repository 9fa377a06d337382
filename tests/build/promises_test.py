"""Every test that a document names is there: promises_test.py DOCUMENT…

Names are what stands in backquotes and has the form of one: Suite.Case of GoogleTest, a scenario of
the box (scenario:NAME), a fuzzer (fuzzer:NAME), a test of ctest's ("test:NAME").
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
NAME = re.compile(r"`([A-Z]\w+\.[A-Z]\w+|(?:scenario|fuzzer|test):[^`]+)`")
CASE = re.compile(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)")
TYPED = re.compile(r"\bTYPED_TEST(?:_P)?\(\s*(\w+),\s*(\w+)\)")


def known(root):
    """The names of all tests in the tree."""
    names = set()
    for source in (root / "tests").rglob("*.[ch]*"):
        text = source.read_text(encoding="utf-8", errors="replace")
        names.update(".".join(match) for match in CASE.findall(text) + TYPED.findall(text))
    for source in (root / "tests/vm").glob("*.py"):
        text = source.read_text(encoding="utf-8")
        names.update(f"scenario:{name}" for name in re.findall(r"^@scenario\ndef (\w+)", text, re.M))
    names.update(f"fuzzer:{folder.name}" for folder in (root / "tests/fuzz/corpus").glob("*"))
    for lists in (root / "tests").rglob("CMakeLists.txt"):
        names.update(f"test:{name}" for name in re.findall(r'NAME "([^"]+)"', lists.read_text()))
    return names


def missing(document, names):
    """The names in the document that are no test's, and how many it has in all."""
    found = NAME.findall(document)
    return [name for name in found if name not in names], len(found)


def main():
    names = known(ROOT)
    for path in sys.argv[1:]:
        wrong, count = missing(Path(path).read_text(encoding="utf-8"), names)
        if count == 0:
            sys.exit(f"{path} names no test.")
        if wrong:
            sys.exit(f"{path} names tests that don't exist: {', '.join(wrong)}")
    # The check itself: what isn't there is found.
    assert missing("`NoSuite.NoCase` `scenario:none` `SignalQuit.h` x", names) == (
        ["NoSuite.NoCase", "scenario:none"], 2), "the check finds nothing"


if __name__ == "__main__":
    main()
