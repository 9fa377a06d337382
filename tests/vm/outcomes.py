"""What came of each fault, as it was seen. Run as a program: the tables of the last tests/vm/run."""

import collections
import json
import pathlib

CACHE = pathlib.Path(__file__).resolve().parent.parent.parent / "build" / "vm"
RESULTS = CACHE / "out" / "outcomes.json"
Outcome = collections.namedtuple("Outcome", "case run summary others foreign")
Exit = collections.namedtuple("Exit", "case program left following foreign")
HEADINGS = (
    Outcome("case", "the run", "the summary", "the other players", "foreign bytes changed"),
    Exit("left by", "the program", "what it left", "the next start", "foreign bytes changed"),
)


def write(rows):
    """Keeps the rows of the last run."""
    texts = [[type(row).__name__, row] for row in rows]
    RESULTS.write_text(json.dumps(texts, indent=1, ensure_ascii=False), encoding="utf-8")


def table(headings, rows):
    """The rows as a table in markdown."""
    lines = [headings, ["---"] * len(headings), *rows]
    return "".join("| " + " | ".join(map(str, line)) + " |\n" for line in lines)


def main():
    kept = json.loads(RESULTS.read_text(encoding="utf-8"))
    tables = []
    for headings in HEADINGS:
        rows = [row for kind, row in kept if kind == type(headings).__name__]
        tables += [table(headings, rows)] if rows else []
    print("\n".join(tables), end="")


if __name__ == "__main__":
    main()
