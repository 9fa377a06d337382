"""Test programs of the project that need real players."""

import re

from scenario import short_scenario
from waiting import expect, expect_equal, until

SUITE = "linux_medium_contract_test"


@short_scenario
def contract_of_a_mounted_volume(box):
    box.call("lend", "player")
    box.session("start", SUITE, [f"/box/in/bin/{SUITE}"])
    until(lambda: box.session("status", SUITE) is not None, 900, f"{SUITE} has ended")
    said = box.session("output", SUITE)[0]
    expect_equal(box.session("status", SUITE), 0, f"the status of {SUITE}, which said:\n{said}")
    expect(re.search(r"^\[  PASSED  \] [1-9]", said, re.MULTILINE), f"cases have passed:\n{said}")
    expect("[  SKIPPED ]" not in said, f"no case has been skipped:\n{said}")
