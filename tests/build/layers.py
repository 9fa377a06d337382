"""Shows that the layers hold.

layers.py cannot COMPILE_COMMANDS FOLDER HEADER: the command that compiles sources of FOLDER (relative,
as in src/base) accepts a file without the include of HEADER (which comes with its quotes or brackets)
and refuses the same file with it.

layers.py only FOLDER: its sources include nothing but the standard library's headers, those of C
among them, and our own, by their plain names. All else, a path with a slash in particular, goes
around the include directories.
"""

import json
import re
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path

PLAIN = "int answer() { return 42; }\n"
INCLUDE = re.compile(r"^\s*#\s*(?:include|import)(?:_next)?\s*(.*?)\s*(?://.*)?$")
C_HEADERS = "assert|ctype|errno|locale|math|stddef|stdint|stdio|stdlib|string|time|wchar|wctype"
ALLOWED = re.compile(rf'<[a-z_0-9]+>|<(?:{C_HEADERS})\.h>|"[A-Za-z0-9_]+\.h"')


def flags_of(commands_file, folder):
    """The compiler and the flags for the sources of the folder, without input and output."""
    for entry in json.loads(Path(commands_file).read_text()):
        words = shlex.split(entry["command"])
        output = words.index("-o")
        if words[output + 1].startswith(f"{folder}/CMakeFiles/"):
            words = words[:output]
            return [word for word in words if word != entry["file"]], entry["directory"]
    raise SystemExit(f"No source of {folder} is compiled.")


def compile_text(flags, directory, text):
    with tempfile.NamedTemporaryFile("w", suffix=".cpp") as source:
        source.write(text)
        source.flush()
        command = [*flags, "-fsyntax-only", "-Wno-missing-declarations", source.name]
        return subprocess.run(command, cwd=directory, capture_output=True, text=True)


def cannot(commands_file, folder, header):
    """The problem, if there is one."""
    flags, directory = flags_of(commands_file, folder)
    plain = compile_text(flags, directory, PLAIN)
    if plain.returncode != 0:
        return f"The file without the include doesn't compile:\n{plain.stderr}"
    including = compile_text(flags, directory, f"#include {header}\n{PLAIN}")
    if including.returncode == 0:
        return f"A source of {folder} can include {header}."
    if "No such file or directory" not in including.stderr:
        return f"Refused, but not for want of a header:\n{including.stderr}"
    return None


def only(folder):
    """The includes that mustn't be, if there are some."""
    sources = [path for path in sorted(Path(folder).iterdir()) if path.suffix in (".h", ".cpp")]
    if not sources:
        return f"{folder} has no sources."
    found = []
    for path in sources:
        for number, line in enumerate(path.read_text().splitlines(), 1):
            match = INCLUDE.match(line)
            if (match and not ALLOWED.fullmatch(match.group(1))) or "__has_include" in line:
                found.append(f"{path}:{number}: {line.strip()}")
    return "\n".join(found) or None


if __name__ == "__main__":
    sys.exit({"cannot": cannot, "only": only}[sys.argv[1]](*sys.argv[2:]))
