"""Test programs of the project that need real players."""

import json

from scenario import short_scenario
from waiting import expect_equal, until

SUITE = "linux_medium_contract_test"
RESULTS = "/home/player/medium.json"


@short_scenario
def contract_of_a_mounted_volume(box):
    program = f"/box/in/bin/{SUITE}"
    cases = _cases(box.user(f"{program} --gtest_list_tests")["out"])
    box.call("lend", "player")
    box.session("start", SUITE, [program, f"--gtest_output=json:{RESULTS}"])
    until(lambda: box.session("status", SUITE) is not None, 900, f"{SUITE} has ended")
    said = box.session("output", SUITE)[0]
    expect_equal(box.session("status", SUITE), 0, f"the status of {SUITE}, which said:\n{said}")
    expect_equal(_passed(json.loads(box.root(f"cat {RESULTS}"))), cases, "the cases that passed")


def _cases(listing):
    """The program's cases as it lists them; there must be some."""
    found = [line.split()[0] for line in listing.splitlines() if line.startswith("  ")]
    if not found:
        raise AssertionError(f"{SUITE} lists no case:\n{listing}")
    return found


def _passed(results):
    """The cases that ran to their end, neither skipped nor failed."""
    cases = [case for suite in results["testsuites"] for case in suite["testsuite"]]
    return [case["name"] for case in cases
            if case["result"] == "COMPLETED" and "failures" not in case]
