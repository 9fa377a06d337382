"""The texts that the program writes to its log and to its terminal, read from its sources."""

import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

# Whatever says something to somebody.
SINK = re.compile(r"(?:\b(?:logText|fputs|fprintf|printf|puts)|\blog_?\.(?:write|writeEach|add)"
                  r"|[lL]og->(?:write|writeEach))\(")
LITERALS = re.compile(r'(?:stderr,\s*|stdout,\s*)?(?:formatText\(\s*)?((?:"(?:[^"\\]|\\.)*"\s*)+)')
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')

# Where the text isn't beside the call: the file and the first argument, and what it stands for.
INDIRECT = {
    ("Platform.h", "formatText(pattern, values...)"): (),  # is logText()
    ("SystemLog.h", "texts_"): (),  # what was added
    ("TRFile.cpp", "std::move(address)"): ("file:///…",),
    ("UsbWatcher.cpp", "textOf(record.mountPath).c_str()"): ("/media/…",),
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
    """A text as a person finds it: without its line feeds, and … for what differs."""
    text = pattern.replace("\\n", "\n").replace("\\\\", "\\").replace('\\"', '"').strip()
    return re.sub(r"%[@sd]", "…", text)


def texts_of(name, source, indirect=None):
    """The texts of one source; a call whose text can't be found raises a ValueError."""
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
        elif (name, argument) in (INDIRECT if indirect is None else indirect):
            found += (INDIRECT if indirect is None else indirect)[name, argument]
        else:
            raise ValueError(f"{name} says {argument}, and nobody knows which text that is.")
    return found


def sources():
    """Everything that the window is made of; the virtual bench and other commands are not in it."""
    root = ROOT / "src"
    return [path for path in sorted(root.rglob("*")) if path.suffix in (".h", ".cpp")
            and not {"bench", "check"} & set(path.relative_to(root).parts)]


def texts_of_the_program():
    return {text for path in sources() for text in texts_of(path.name, path.read_text())}


def sections(document):
    """The texts that the document has a section for, which is what its heading quotes."""
    headings = re.findall(r"^### (`+) ?(.+?) ?\1$", document, re.MULTILINE)
    return [text for _, text in headings]
