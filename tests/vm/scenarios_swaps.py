"""Other disks in the place of a listed player, at every moment: not one byte of them may change."""

import contextlib
import time

from faultrun import FaultRun
from flows import COMPLETED
from outcomes import Outcome
from scenario import BOOK, FOREIGN, PASSWORD_CHECK, PHOTOS, make_book, operator, scenario, short_scenario
from scenario import udev_held
from waiting import expect, expect_equal, until

SAME_VENDOR = {"product": "Portable Disk"}
READ_ONLY = {"read_only": True}
AGENT = "fillstation-age"
INNER_DISK = "scsi_debug dev_size_mb=16 inq_vendor=ACTIONS inq_product='HS USB FlashDisk'"


class Swap:
    """A person before a window with one ticked player, which is going to be another disk."""

    def __init__(self, box, person, book, **traits):
        self.box, self.person = box, person
        self.port = box.player("victim", **traits)
        self.disk = box.disk("victim")
        person.wait_for_players(1)
        if BOOK not in person.files():
            person.add_folder(BOOK)
        person.click("All")
        person.listen_anew()
        self.run = FaultRun(box, person, book, ["victim"])

    def swap(self, seen=True, port=None, name=None, **foreign):
        """The player leaves, and a foreign disk gets its name; seen: whether the program can notice."""
        self._pull()
        port = self.port if port is None else port
        self.box.player("foreign", port=port, content=PHOTOS, **(foreign or FOREIGN))
        (found,) = until(self.box.disks, 20, "the foreign disk")
        expect_equal(found, name or self.disk, "the foreign disk's name")
        self.run.bystander("foreign")
        if seen:
            until(lambda: self.person.disks() == [], 20, "the pulled player has left the list")

    def swap_for_an_inner_disk(self):
        """The player leaves, and a disk with a player's vendor arrives that isn't on the USB."""
        self._pull()
        self.box.root(f"modprobe {INNER_DISK}")
        until(lambda: self.box.disks() == [self.disk], 20, "the inner disk")
        node = f"/dev/{self.disk}"
        self.box.root(f"udevadm settle; dd if=/dev/urandom of={node} bs=1M count=16 oflag=direct 2>&1")
        vendor = self.box.root(f"cat /sys/block/{self.disk}/device/vendor")
        expect_equal(vendor, "ACTIONS \n", "the inner disk's vendor")
        self.run.bystander(node)

    def change_the_medium(self):
        """The player stays, and gets another medium."""
        self.box.call("fill", "other", **PHOTOS)
        self.box.call("insert", "victim", "/box/players/other")
        self.run.bystander("other")

    def begin(self):
        self.person.ask()
        self.run.begin()

    def end(self, text, commands, summary=True, **log):
        """The run ends; checks the number of commands in root's shell, and the log."""
        self.run.case("victim", text, named=summary)
        self.run.end(180)
        self.person.expect_commands(commands)
        self.person.expect_log(**log)

    def clear(self):
        """Everything is unplugged."""
        self.box.call("remove_all")
        self.box.root("modprobe -r scsi_debug || { sleep 2; modprobe -r scsi_debug; }")
        until(lambda: not self.box.disks() and not self.person.disks(), 30, "nothing is plugged in")

    def _pull(self):
        self.box.call("remove", "victim", keep=True)
        until(lambda: not self.box.disks(), 20, "the player's disk has gone")


@contextlib.contextmanager
def _swaps(box):
    """A window for several swaps; the block gets the function that prepares the next one in a running run."""
    book = make_book(box, chapters=1)
    with operator(box) as person:

        @contextlib.contextmanager
        def ready(begins=True, **traits):
            swap = Swap(box, person, book, **traits)
            if begins:
                swap.begin()
            yield swap
            swap.clear()

        yield ready


@scenario
def swapped_before_the_run(box):
    with _swaps(box) as ready:
        with ready(begins=False) as swap:
            swap.swap()
            swap.begin()
            swap.end("swapped before Start", 0, summary=False)
        with ready(begins=False) as swap:
            swap.person.ask()
            swap.swap()
            swap.run.begin()
            swap.end("swapped while the credentials panel is open", 0, summary=False)
        with ready(begins=False) as swap:
            with udev_held(box):
                swap.swap(seen=False, port=swap.port + 1, **SAME_VENDOR)
                swap.begin()
                text = "swapped before Start, unnoticed, for an ACTIONS disk in another port"
                swap.end(text, 3, formats=1, wipe_failures=1)


def _root_shell(box):
    return box.call("freeze_successor", "pkexec", "sh")


@scenario
def swapped_before_the_wipe(box):
    with _swaps(box) as ready:
        for change, commands, text in (
            (Swap.swap, 1, "swapped during authentication"),
            (Swap.swap_for_an_inner_disk, 1, "swapped during authentication for an ACTIONS disk off the USB"),
            (Swap.change_the_medium, 3, "another medium in the same player, during authentication"),
        ):
            with ready() as swap:
                held = box.call("freeze", PASSWORD_CHECK)
                swap.person.expect_commands(0)
                change(swap)
                box.call("thaw", held)
                swap.end(text, commands, formats=1, wipe_failures=1)
        with ready() as swap:
            held = _root_shell(box)
            swap.person.expect_commands(1)
            swap.swap()
            box.call("thaw", held)
            swap.end("swapped between authentication and check", 1, formats=1, wipe_failures=1)


@short_scenario
def swapped_during_the_wipe(box):
    with _swaps(box) as ready:
        with ready() as swap:
            held = box.call("hold_next", "/usr/bin/dd")
            # The check holds the player open, so that no other disk gets its name meanwhile.
            swap.swap(name=_next(swap.disk))
            box.call("thaw", held)
            text = f"swapped between check and write; the foreign disk became {_next(swap.disk)}"
            swap.end(text, 1, formats=1, wipe_failures=1)
        with ready(**READ_ONLY) as swap:
            failing = box.call("hold_next", "/usr/bin/dd")
            held = box.call("freeze", "fillstation")
            box.call("thaw", failing)
            box.call("await_none", AGENT)
            swap.swap(seen=False)
            box.call("thaw", held)
            swap.end("swapped between two attempts to wipe", 1, formats=1, wipe_failures=1)


def _next(disk):
    return disk[:-1] + chr(ord(disk[-1]) + 1)


@scenario
def swapped_after_the_wipe(box):
    with _swaps(box) as ready:
        with ready() as swap:
            box.call("await_head", "victim", True)
            box.call("await_none", AGENT)
            held = _root_shell(box)
            swap.swap()
            box.call("thaw", held)
            swap.end("swapped between wipe and format", 2, formats=1, format_failures=1)
        with ready() as swap:
            held = box.call("freeze", "fillstation", when="mkfs.fat")
            box.call("await_none", AGENT)
            swap.swap(seen=False)
            box.call("thaw", held)
            swap.end("swapped between format and mount", 2, formats=1)
        with ready(begins=False) as swap:
            _swap_before_eject(box, swap)


def _swap_before_eject(box, swap):
    swap.person.start()
    swap.person.dismiss(COMPLETED, 90)
    box.unmount(box.mounted()[swap.disk])
    with udev_held(box):
        swap.swap(seen=False)
        swap.person.click("Eject")
        until(lambda: swap.person.disks() == [], 30, "the ejected player has left the list")
        time.sleep(2)  # so long that an eject would have been made
        there = box.disks() == [swap.disk]
    changed = swap.run.changed()
    said = "the foreign disk is still there" if there else "the foreign disk has gone"
    box.outcomes.append(
        Outcome("swapped before Eject, unnoticed", "had ended before", said, "there is none", changed))
    expect(there, "the foreign disk has not been ejected")
    expect_equal(changed, 0, "the bytes of foreign disks that have changed")


@scenario
def a_medium_that_comes_again(box):
    book = make_book(box, chapters=1)
    with operator(box) as person:
        swap = Swap(box, person, book)
        before = box.root(f"cat /sys/block/{swap.disk}/diskseq")
        box.call("insert", "victim", "/box/players/victim")
        until(lambda: box.root(f"cat /sys/block/{swap.disk}/diskseq") != before, 30, "the new medium")
        box.root("udevadm settle")
        expect_equal(person.ticked(), [swap.disk], "the ticked players")
        swap.begin()
        swap.end("the medium comes again while its player is ticked", 2, summary=False,
                 formats=1, copied=4, done=1)
