"""What came of each fault, as it was seen. Run as a program: the last tests/vm/run's table."""

import collections
import json
import pathlib

CACHE = pathlib.Path(__file__).resolve().parent.parent.parent / "build" / "vm"
RESULTS = CACHE / "out" / "outcomes.json"
Outcome = collections.namedtuple("Outcome", "case run summary others foreign")
HEADINGS = Outcome("case", "the run", "the summary", "the other players", "foreign bytes changed")


def write(rows):
    RESULTS.write_text(json.dumps([row._asdict() for row in rows], indent=1, ensure_ascii=False))


def table(rows):
    """The rows as a table in markdown."""
    lines = [HEADINGS, Outcome(*["---"] * len(HEADINGS)), *rows]
    return "".join("| " + " | ".join(map(str, line)) + " |\n" for line in lines)


def main():
    rows = json.loads(RESULTS.read_text())
    print(table(Outcome(**row) for row in rows), end="")


if __name__ == "__main__":
    main()
