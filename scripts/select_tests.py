"""Selects tests by a regular expression: select_tests.py BUILD REGEX

Prints three lines: the targets to build, the regular expression of ctest's tests to run, and the
filter for GoogleTest. A case is called PROGRAM.SUITE.CASE, without the instance it belongs to. The
status is 1 when nothing matches.
"""

import json
import re
import subprocess
import sys
from pathlib import Path

CASE = re.compile(r"^\s*(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", re.M)
INCLUDE = re.compile(r'^#include "([\w./]+)"', re.M)
TESTS = Path(__file__).resolve().parents[1] / "tests"


def known_tests(build):
    """ctest's tests, as it lists them in JSON."""
    listed = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True,
                            capture_output=True, text=True)
    return json.loads(listed.stdout)["tests"]


def properties(test):
    return {entry["name"]: entry["value"] for entry in test["properties"]}


def cases_of(sources):
    """The cases in these sources and in the tests' headers that they include."""
    headers = {path.name: path for path in TESTS.rglob("*.h")}
    cases, waiting, seen = [], [Path(source) for source in sources], set()
    while waiting:
        source = waiting.pop()
        if source not in seen:
            seen.add(source)
            text = source.read_text(encoding="utf-8")
            cases += CASE.findall(text)
            names = (Path(name).name for name in INCLUDE.findall(text))
            waiting += [headers[name] for name in names if name in headers]
    return cases


def targets_of(test, build):
    """The targets to build for the test: the programs in its command, or everything."""
    if "command" not in test:
        return ["all"]  # the program has never been built
    found = []
    for word in test["command"]:
        below = Path(word).relative_to(build) if Path(word).is_relative_to(build) else None
        if below is not None and Path(word).suffix != ".json":
            found.append("all" if below == Path(".") else below.name)
    return found


def main():
    build, wanted = str(Path(sys.argv[1]).resolve()), re.compile(sys.argv[2])
    targets, names, filters = set(), [], set()
    for test in known_tests(build):
        sources = properties(test).get("REQUIRED_FILES", [])
        program = test["name"].rpartition(" ")[0]
        picked = [case for case in cases_of(sources)
                  if wanted.search(".".join((program, *case)))]
        for suite, case in picked:
            filters |= {f"{suite}.{case}", f"*/{suite}.{case}/*", f"*/{suite}/*.{case}",
                        f"{suite}/*.{case}"}
        if picked or not sources and wanted.search(test["name"]):
            targets |= {program} if picked else set(targets_of(test, build))
            names.append(re.escape(test["name"]))
    print(" ".join(sorted(targets)))
    print(f"^({'|'.join(names)})$")
    print(":".join(sorted(filters)) or "*")
    return 0 if names else 1


if __name__ == "__main__":
    sys.exit(main())
