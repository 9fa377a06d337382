"""Failures of the machine itself, not of its players, in the middle of a run."""

import time

from faultrun import FaultRun
from flows import Operator
from scenario import make_book, operator, scenario
from waiting import USUAL_LIMIT, expect_equal, until

NAMES = ("one", "two", "three")
# On the machine's own disk there would be no room for them either.
APART = {"content": {"system": "fat32", "shelf": {"kind": "ext4", "size_mb": 80}}}
FILL_UP = "dd if=/dev/zero of=/var/tmp/full bs=1M 2>/dev/null; df --output=avail / | tail -1"
TWENTY_MB = 20 << 20
SYSTEM_BUS = "$(systemctl show --property MainPID --value dbus)"


def _prepare(box, person, names=NAMES, **shape):
    """Every player is ticked, the book chosen, the credentials are filled in."""
    book = make_book(box, **shape)
    box.players(dict.fromkeys(names, APART))
    person.prepare(len(names))
    run = FaultRun(box, person, book, names)
    person.ask()
    return run


@scenario
def the_machine_has_no_room_left(box):
    with operator(box) as person:
        run = _prepare(box, person, ["one"], chapters=1, tracks=3)
        run.case("one", "the machine's own disk is full; UDisks2 can't make a mount point")
        expect_equal(box.root(FILL_UP, 300).split()[-1], "0", "the room that is left")
        run.begin()
        run.end(300)


@scenario
def the_system_bus_never_answers(box):
    person = Operator(box)
    person.open()
    run = _prepare(box, person, chapters=1, tracks=3)
    box.root(f"kill -STOP {SYSTEM_BUS}")
    run.begin()
    time.sleep(USUAL_LIMIT + 5)
    person.expect_busy()
    run.leave("a system bus that never answers", complete=())
    box.root(f"kill -CONT {SYSTEM_BUS}")


@scenario
def udisks_hangs_for_good(box):
    person = Operator(box)
    person.open()
    run = _prepare(box, person, chapters=1, tracks=3)
    box.call("meanwhile", "wipe", "hold_next", "/usr/bin/dd", 300)
    run.begin()
    held = box.call("joined", "wipe", timeout=330)
    stuck = box.root(f"readlink /proc/{held}/fd/9").strip().removeprefix("/dev/")
    until(lambda: person.journal().count("copy Done!!!\n") == len(NAMES) - 1, 120, "the others are done")
    udisks = box.call("freeze", "udisksd")
    box.call("thaw", held)
    person.expect_commands(2 * len(NAMES))
    box.call("await_no_holder", [stuck])
    person.expect_busy()
    run.leave("UDisks2 hangs for good before it mounts the last player",
              complete=[name for name in NAMES if run.disk(name) != stuck])
    box.call("thaw", udisks)


@scenario
def the_machine_sleeps_in_the_middle_of_the_copy(box):
    # Folders shared with the host don't survive its sleep.
    box.root("cp -a /box/in /run/in && mount --bind /run/in /box/in")
    with operator(box) as person:
        run = _prepare(box, person, ["one"], chapters=2, tracks=5, track_kb=2048)
        box.call("meanwhile", "sleep", "during_the_copy", {"one": ["sleep", 0.3]}, TWENTY_MB, 300)
        run.begin()
        seen = box.call("joined", "sleep", timeout=330)["one"]
        run.case("one", f"the machine sleeps at {seen:.0%} of the copy, and the player loses its power")
        run.end(300)
