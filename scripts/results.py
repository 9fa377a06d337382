"""The results of a run of ctest: results.py NAME FOLDER CTEST_XML RESULT_XML

Writes every case of the GoogleTest programs, whose own files are in FOLDER, and every other test of
ctest's to one JUnit file. The status is 1 when a test was disabled or none was run, and where
CI=true when one was skipped; elsewhere that is allowed, for want of root's rights or a tool, and
the reasons are told. Failures are ctest's to tell.
"""

import os
import re
import sys
from collections import Counter
from pathlib import Path
from xml.etree import ElementTree

REASON = re.compile(r"SKIPPED: (.*)")


def state(case):
    """run, disabled, or skipped."""
    if case.get("result") == "suppressed" or case.get("status") == "disabled":
        return "disabled"
    return "skipped" if case.find("skipped") is not None else "run"


def reason(case):
    """Why the case was skipped: GoogleTest's message behind its place, or a line of the output."""
    output = REASON.search(case.findtext("system-out") or "")
    return output[1] if output else case.find("skipped").get("message", "").split("\n", 1)[-1]


def merged(name, folder, ctest):
    """All cases as one suite."""
    suite, programs = ElementTree.Element("testsuite", name=name), set()
    for file in sorted(folder.glob("*/*.xml")):
        program, _, shard = file.parent.name.partition(".")
        programs.add(f"{program} {shard}")
        for case in ElementTree.parse(file).iter("testcase"):
            case.set("classname", f"{program}.{case.get('classname')}")
            suite.append(case)
    for case in ElementTree.parse(ctest).iter("testcase"):
        if case.get("name") not in programs or case.find("failure") is not None:
            suite.append(case)
    suite.set("tests", str(len(suite)))
    suite.set("failures", str(sum(case.find("failure") is not None for case in suite)))
    for kind in ("disabled", "skipped"):
        suite.set(kind, str(sum(state(case) == kind for case in suite)))
    return suite


def main():
    name, folder, ctest, result = sys.argv[1:]
    suite = merged(name, Path(folder), ctest)
    ElementTree.ElementTree(suite).write(result, encoding="utf-8")
    skipped = [case for case in suite if state(case) == "skipped"]
    for why, count in sorted(Counter(map(reason, skipped)).items()):
        print(f"{count:7} {why}")
    if suite.get("disabled") != "0":
        sys.exit(f"test: Tests of {name} are disabled.")
    if len(skipped) == len(suite):
        sys.exit(f"test: No test of {name} was run.")
    if skipped and os.environ.get("CI") == "true":
        sys.exit(f"test: {len(skipped)} tests of {name} were skipped (see above).")
    if suite.get("failures") != "0":
        return
    if skipped:
        print(f"test: {len(skipped)} of {len(suite)} tests of {name} were SKIPPED for the reasons "
              "above; all others passed.")
    else:
        print(f"test: All {len(suite)} tests of {name} passed.")


if __name__ == "__main__":
    main()
