"""Test programs of the project that need real players."""

import re

from scenario import scenario, short_scenario
from waiting import expect, expect_equal, until

# With the clusters of real players: the kernel's rule for a full folder depends on them a little.
LARGE = {"system": "fat32", "size_mb": 512}


def _run_suite(box, suite, *arguments, seconds):
    """All cases of a GoogleTest program pass; returns its output."""
    box.session("start", suite, [f"/box/in/bin/{suite}", *arguments])
    until(lambda: box.session("status", suite) is not None, seconds, f"{suite} has ended")
    said = box.session("output", suite)[0]
    expect_equal(box.session("status", suite), 0, f"the status of {suite}, which said:\n{said}")
    expect(re.search(r"^\[  PASSED  \] [1-9]", said, re.MULTILINE), f"cases have passed:\n{said}")
    expect("[  SKIPPED ]" not in said, f"no case has been skipped:\n{said}")
    return said


@short_scenario
def contract_of_a_mounted_volume(box):
    box.call("lend", "player")
    _run_suite(box, "linux_medium_contract_test", seconds=900)


@scenario
def what_fat_refuses(box):
    """The window's warnings of names before a run agree with the kernel."""
    box.player("player", content=LARGE)
    said = _run_suite(box, "vfat_test", box.mount(box.disk("player")), seconds=1200)
    for line in re.findall(r"^vfat: (.+)$", said, re.MULTILINE):
        print(f"vm: what_fat_refuses: {line}", flush=True)
