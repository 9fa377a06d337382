"""Lists the includes that a folder of src/ must not have.

Usage: scan_includes.py FOLDER

Allowed are the standard library's headers, those of C included, and our own, by their plain names.
All else, a path with a slash in particular, goes around the layers' include directories.
"""

import re
import sys
from pathlib import Path

INCLUDE = re.compile(r"^\s*#\s*(?:include|import)(?:_next)?\s*(.*?)\s*(?://.*)?$")
C_HEADERS = "assert|ctype|errno|locale|math|stddef|stdint|stdio|stdlib|string|time|wchar|wctype"
ALLOWED = re.compile(rf'<[a-z_0-9]+>|<(?:{C_HEADERS})\.h>|"[A-Za-z0-9_]+\.h"')


def findings(folder):
    sources = [path for path in sorted(Path(folder).iterdir()) if path.suffix in (".h", ".cpp")]
    if not sources:
        return [f"{folder} has no sources."]
    found = []
    for path in sources:
        for number, line in enumerate(path.read_text().splitlines(), 1):
            match = INCLUDE.match(line)
            if match and not ALLOWED.fullmatch(match.group(1)):
                found.append(f"{path}:{number}: {line.strip()}")
            elif "__has_include" in line:
                found.append(f"{path}:{number}: {line.strip()}")
    return found


if __name__ == "__main__":
    lines = findings(sys.argv[1])
    sys.exit("\n".join(lines) if lines else 0)
