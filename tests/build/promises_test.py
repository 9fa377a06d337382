"""Every test that a document names exists, and .ci/run runs one for each guarantee:
promises_test.py DOCUMENT…

A name is a text in backquotes with one of these forms: Suite.Case of GoogleTest, scenario:NAME of the
box, fuzzer:NAME, test:NAME of ctest.
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
NAME = re.compile(r"`([A-Z]\w+\.[A-Z]\w+|(?:scenario|fuzzer|test):[^`]+)`")
CASE = re.compile(r"^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", re.MULTILINE)
SCENARIO = re.compile(r"^@(scenario|short_scenario)\ndef (\w+)", re.MULTILINE)
TYPED = re.compile(r"^TYPED_TEST(?:_P)?\(\s*(\w+),\s*(\w+)\)", re.MULTILINE)
COMMENT = re.compile(r"#.*")


def scenarios(root):
    """How each scenario is marked, and its name."""
    for source in (root / "tests/vm").glob("*.py"):
        yield from SCENARIO.findall(source.read_text(encoding="utf-8"))


def known(root):
    """The names of all tests in the tree."""
    names = set()
    for source in (root / "tests").rglob("*.[ch]*"):
        names.update(cases(source.read_text(encoding="utf-8", errors="replace")))
    names.update(f"scenario:{name}" for _, name in scenarios(root))
    names.update(f"fuzzer:{folder.name}" for folder in (root / "tests/fuzz/corpus").glob("*"))
    for lists in (root / "tests").rglob("CMakeLists.txt"):
        names.update(ctests(lists.read_text()))
    return names


def cases(text):
    """The names of GoogleTest's cases in a source, without those in comments."""
    return [".".join(match) for match in CASE.findall(text) + TYPED.findall(text)]


def ctests(text):
    """The names of ctest's tests in a CMakeLists.txt."""
    return [f"test:{name}" for name in re.findall(r'NAME "([^"]+)"', COMMENT.sub("", text))]


def missing(document, names):
    """The names in the document that are no test's, and how many it has in all."""
    found = NAME.findall(document)
    return [name for name in found if name not in names], len(found)


def unguarded(document, late):
    """The points of the document that name only tests in `late`, which .ci/run doesn't run."""
    points = [NAME.findall(point) for point in re.split(r"^- ", document, flags=re.MULTILINE)]
    return [names for names in points if names and set(names) <= late]


def main():
    names = known(ROOT)
    late = {f"scenario:{name}" for kind, name in scenarios(ROOT) if kind == "scenario"}
    for path in sys.argv[1:]:
        document = Path(path).read_text(encoding="utf-8")
        wrong, count = missing(document, names)
        if count == 0:
            sys.exit(f"{path} names no test.")
        if wrong:
            sys.exit(f"{path} names tests that don't exist: {', '.join(wrong)}")
        if alone := unguarded(document, late):
            sys.exit(f"{path}: .ci/run runs none of these tests of one promise: {alone}")
    # The check itself: missing names are found.
    assert missing("`NoSuite.NoCase` `scenario:none` `SignalQuit.h` x", names) == (
        ["NoSuite.NoCase", "scenario:none"], 2), "the check finds nothing"
    # And so is a promise that only scenarios outside the short set hold.
    late = {"scenario:a", "scenario:b"}
    assert unguarded("- x:\n  `scenario:a`, `scenario:b`.\n- y: `scenario:a`, `test:c`.\n- z.", late) == [
        ["scenario:a", "scenario:b"]], "the check lets a promise pass that nothing holds"
    # A name in a comment is no test's.
    assert cases("TEST_F(A, B) {\n  // TEST_F(A, C) was here\n// TEST(A, D) {\n") == ["A.B"]
    assert ctests('add_test(NAME "a"\n# add_test(NAME "b"\n') == ["test:a"]


if __name__ == "__main__":
    main()
