"""Every way out in the middle of a run: nothing hangs or continues writing, and the next start works."""

import collections
import time

from box import Box
from faultrun import FaultRun
from flows import COMPLETED, Operator
from outcomes import Exit
from scenario import FOREIGN, PASSWORD_CHECK, PHOTOS, make_book, scenario
from waiting import expect, expect_equal, until

PLAYERS = ("one", "two", "three", "four")
EARLY = "in unmount, authentication and mount"
LATE = "in wipe, format, copy and final flush"
PRIVILEGED = ("fillstation-age", "pkexec", "dd", "mkfs.fat")
CRASHES = "journalctl -k -b -o cat | grep -E 'segfault|general protection' || true"


class Leaving:
    """A person at runs that are left in the middle, each in its way."""

    def __init__(self, box, shelf="ext4"):
        self.box = box
        self.held, self.stalled = [], []
        self.book = make_book(box, chapters=1, tracks=5, track_kb=4096, coda=True)
        content = {"shelf": {"kind": shelf, "size_mb": 80}}
        box.player("foreign", content={**PHOTOS, **content}, **FOREIGN)
        self.disks = box.players(dict.fromkeys(PLAYERS, {"content": {"system": "fat32", **content}}))
        self.foreign = box.call("digest", "foreign")
        box.root("sync")

    def ask(self):
        """A fresh window, up to the filled-in credentials."""
        person = Operator(self.box)
        person.open()
        person.prepare(len(PLAYERS), 300)
        person.ask()
        return person

    def mount_one(self):
        """Exactly one player is mounted; returns its name."""
        for node in self.box.mounted().values():
            self.box.unmount(node)
        name = next(each for each in PLAYERS if self.file_system(each) == "vfat")
        self.box.mount(self.disks[name])
        return name

    def begin_early_steps(self, person, mounted):
        """The run is on, with one player in the unmount, one in the authentication, two in the mount.

        Returns the digests of the first two, which nothing has been written to."""
        before = self._digests()
        self.box.call("meanwhile", "check", "freeze", PASSWORD_CHECK, 300)
        udisks = self.box.call("freeze", "udisksd")
        person.click("OK")
        self.held = [self.box.call("joined", "check", timeout=330), udisks]
        person.expect_commands(4)
        self.box.call("await_no_holder", list(self.disks.values()))
        time.sleep(3)  # long enough for the program to see the fresh volumes, and to ask for a mount
        untouched = {name: digest for name, digest in self._digests().items() if digest == before[name]}
        expect_equal(len(untouched), 2, "the players that have not been written to")
        expect(mounted in untouched, "the player that is being unmounted is one of them")
        return untouched

    def begin_late_steps(self, person):
        """The run is on, with one player in the wipe, one in the format, in the copy, in the flush.

        A medium that stalls in one of the first two would keep UDisks2 from the others."""
        self.box.call("meanwhile", "wipe", "hold_next", "/usr/bin/dd", 300)
        self.box.call("meanwhile", "format", "freeze", "mkfs.fat", 300)
        person.click("OK")
        self.held = [self.box.call("joined", step, timeout=330) for step in ("wipe", "format")]
        busy = [self.box.root(f"readlink /proc/{process}/fd/9").strip() for process in self.held]
        free = [name for name in PLAYERS if f"/dev/{self.disks[name]}" not in busy]
        expect_equal(len(free), 2, "the players that are on their way to the copy")
        copied, flushed = self.stalled = free
        total = sum(size for _, size, _ in self.book if size)
        self.box.call("meanwhile", "copy", "during_the_copy", {copied: ["stall", 0.1]}, total, 300)
        self.box.call("stall_in_flush", flushed, self.disks[flushed], total, 300, timeout=330)
        self.box.call("joined", "copy", timeout=330)

    def leave(self, way, person):
        """Leaves the program. A medium that stalls is the one thing that may keep it, in the kernel."""
        began = time.monotonic()
        way.leave(self.box, person)
        if self.stalled:
            time.sleep(1)  # everything is held, and is left in that state
            self._let_go()
        status = self._status(way, person)
        took = time.monotonic() - began
        self._let_go()
        way.afterwards(self.box)
        self.box.person = None
        for name in PRIVILEGED:
            self.box.call("await_none", name)
        self.box.call("await_no_holder", list(self.disks.values()))
        return f"ended after {took:.0f} s{status}", self._written_later()

    def _status(self, way, person):
        if way.status is None:
            self.box.call("await_none", "fillstation")
            return ""
        until(lambda: person.status() is not None, 30, "the program has ended")
        expect_equal(person.status(), way.status, "the status of the program")
        return f", status {way.status}"

    def _let_go(self):
        """Releases everything that was held."""
        for process in self.held:
            self.box.call("thaw", process)
        for name in self.stalled:
            self.box.call("unstall", name)
        self.held, self.stalled = [], []

    def plug_in_again(self):
        """After a power cut: the same media in the machine that has booted again."""
        make_book(self.box, chapters=1, tracks=5, track_kb=4096, coda=True)
        for name, traits in {"foreign": FOREIGN, **{name: {} for name in PLAYERS}}.items():
            self.box.call("find_again", name)
            self.box.call("add", name, **traits)
            self.box.call("plug", name)
        self.disks = {name: self.box.disk(name) for name in PLAYERS}

    def file_system(self, name):
        """The machine's view of a player."""
        probe = f"blkid -p -s TYPE -o value /dev/{self.disks[name]} || true"
        return self.box.root(probe).strip() or "none"

    def _digests(self):
        return {name: self.box.call("digest", name) for name in PLAYERS}

    def _written_later(self):
        """The number of players that are still being written to some time after the end."""
        self.box.root("sync")
        before = self._digests()
        time.sleep(2)
        later = sum(digest != before[name] for name, digest in self._digests().items())
        expect_equal(later, 0, "the players that have been written to some time after the end")
        return f"{later} of {len(PLAYERS)} players written to"

    def record(self, way, step, ended, left, following):
        changed = self.box.call("digest", "foreign") != self.foreign
        row = Exit(f"{way.text} {step}", ended, left, following, "some" if changed else 0)
        self.box.outcomes.append(row)
        expect(not changed, "the foreign disk has kept its bytes")
        expect_equal(self.box.root(CRASHES), "", "what the kernel says of crashes")

    def whole_run(self):
        """The next start: all players are listed, and a run over all of them succeeds."""
        person = self.ask()
        run = FaultRun(self.box, person, self.book, PLAYERS, ["foreign"])
        run.begin()
        run.end(300)
        run.eject()
        expect_equal(person.stop(), 0, "the status of the program in the end")
        self.box.person = None
        return f"{len(PLAYERS)} listed, {COMPLETED!r}, {len(PLAYERS)} complete"


def _log_out_and_in(box):
    box.log_out()
    box.wait_for_login()


def _signal(name):
    return lambda box, person: box.root(f"kill -{name} {person.process}")


# How a person, or the system, leaves the program; its status, if somebody is left to be told of it; and
# what has to be done before the next start.
Way = collections.namedtuple("Way", "text leave status afterwards", defaults=(lambda box: None,))
CLOSING = Way("closing the window", lambda box, person: person.close_window(), 0)
TERMINATION = Way("SIGTERM", _signal("TERM"), 0)
CRASH = Way("a crash (SIGKILL)", _signal("KILL"), -9)
LOG_OUT = Way("logging out", lambda box, person: box.log_out(), None, Box.wait_for_login)
DISPLAY_GOES = Way("an X server that goes", lambda box, person: box.root("pkill Xvfb"), 1, _log_out_and_in)
POWER_CUT = Way("a power cut", None, None)


def _leave_again_and_again(box, *ways):
    """Each start after the first one begins with the state that was left before."""
    leaving = Leaving(box)
    rows = []
    for way in ways:
        mounted = leaving.mount_one()
        person = leaving.ask()
        untouched = leaving.begin_early_steps(person, mounted)
        ended, left = leaving.leave(way, person)
        del untouched[mounted]  # UDisks2 takes it offline, as requested
        for name, digest in untouched.items():
            expect_equal(box.call("digest", name), digest, f"the bytes of {name}")
        person.expect_commands(4)
        rows.append((way, EARLY, ended, f"{left}, no command begun"))

        person = leaving.ask()
        leaving.begin_late_steps(person)
        ended, left = leaving.leave(way, person)
        rows.append((way, LATE, ended, left))
    last = leaving.whole_run()
    for row in rows[:-1]:
        leaving.record(*row, f"{len(PLAYERS)} listed, a run reached its next steps")
    leaving.record(*rows[-1], last)


@scenario
def closed_and_terminated_in_the_middle_of_runs(box):
    _leave_again_and_again(box, CLOSING, TERMINATION)


@scenario
def logged_out_and_crashed_in_the_middle_of_runs(box):
    _leave_again_and_again(box, LOG_OUT, CRASH)


@scenario
def display_goes_in_the_middle_of_runs(box):
    _leave_again_and_again(box, DISPLAY_GOES)


@scenario
def power_cut_in_the_middle_of_a_run(box):
    leaving = Leaving(box, shelf="kept")
    leaving.begin_late_steps(leaving.ask())
    box.cut_power()
    box.person = None
    leaving.plug_in_again()
    left = [leaving.file_system(name) for name in PLAYERS]
    following = leaving.whole_run()
    leaving.record(POWER_CUT, LATE, "stopped with the machine", f"file systems: {', '.join(left)}", following)
