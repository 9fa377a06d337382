"""Shows that a header can't be included in a folder of src/.

Usage: forbidden_include.py COMPILE_COMMANDS FOLDER HEADER

Takes the command that compiles sources of FOLDER (relative, as in src/base), and checks that it accepts a file without the
include of HEADER (which comes with its quotes or brackets) and refuses the same file with it.
"""

import json
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path

PLAIN = "int answer() { return 42; }\n"


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


def main():
    commands_file, folder, header = sys.argv[1:]
    flags, directory = flags_of(commands_file, folder)
    plain = compile_text(flags, directory, PLAIN)
    if plain.returncode != 0:
        sys.exit(f"The file without the include doesn't compile:\n{plain.stderr}")
    including = compile_text(flags, directory, f"#include {header}\n{PLAIN}")
    if including.returncode == 0:
        sys.exit(f"A source of {folder} can include {header}.")
    if "No such file or directory" not in including.stderr:
        sys.exit(f"Refused, but not for want of a header:\n{including.stderr}")


if __name__ == "__main__":
    main()
