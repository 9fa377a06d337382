"""The observed result of each fault and each way out."""

import collections

Outcome = collections.namedtuple("Outcome", "case run summary others foreign")
Exit = collections.namedtuple("Exit", "case program left following foreign")
HEADINGS = (
    Outcome("case", "the run", "the summary", "the other players", "foreign bytes changed"),
    Exit("left by", "the program", "what it left", "the next start", "foreign bytes changed"),
)


def tables(outcomes):
    """A table in markdown for each kind of outcome that there is."""
    texts = []
    for headings in HEADINGS:
        rows = [row for row in outcomes if isinstance(row, type(headings))]
        lines = [headings, ["---"] * len(headings), *rows] if rows else []
        texts.append("".join("| " + " | ".join(map(str, line)) + " |\n" for line in lines))
    return "\n".join(filter(None, texts))
