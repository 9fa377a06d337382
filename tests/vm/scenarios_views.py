"""What udev has not seen yet: neither a new disk nor a fresh volume may be taken for what it is not."""

import time

from flows import COMPLETED
from scenario import BOOK, make_book, operator, scenario, udev_held
from waiting import expect, expect_equal, until

STARTING = "/sys/module/usb_storage/parameters/delay_use"  # seconds until a new disk is asked
USB_DEVICES = "ls /run/udev/data | grep -c ^c189: || true"


def _name_of(person, disk):
    return next(player.name for player in person.players() if player.disk == disk)


@scenario
def a_disk_that_udev_has_not_seen(box):
    box.root(f"modprobe usb-storage && echo 2 >{STARTING}")
    with operator(box) as person:
        known, said = box.root(USB_DEVICES), person.output()[0]
        box.player("late", content={"system": "fat32", "label": "LATE"})
        until(lambda: box.root(USB_DEVICES) != known, 10, "udev knows the device, but not its disk")
        with udev_held(box):
            until(box.disks, 10, "the kernel knows the disk")
            until(lambda: person.output()[0] != said, 60, "the arrival has been dealt with")
            expect_equal(person.disks(), [], "the list")
        box.player("next", content={"system": "fat32", "label": "NEXT"})
        (disk,) = person.wait_for_players(1)
        expect_equal(_name_of(person, disk), f"/dev/{disk} (NEXT)", "the player's name")


@scenario
def a_volume_that_udev_has_not_seen(box):
    book = make_book(box, chapters=1)
    box.player("old", content={"system": "fat32", "label": "OLD"})
    with operator(box) as person:
        (disk,) = person.wait_for_players(1)
        expect_equal(_name_of(person, disk), f"/dev/{disk} (OLD)", "the player's name")
        person.add_folder(BOOK)
        person.click("All")
        person.ask()
        with udev_held(box):
            person.click("OK")
            box.call("await_head", "old", True)
            box.call("await_head", "old", False)
            box.call("await_none", "fillstation-age")
            time.sleep(5)  # so long that a mount by the old view would have been made
            expect_equal(box.root("findmnt -rno SOURCE | grep ^/dev/sd || true"), "", "the mounts")
            expect("Copy successful" not in "".join(person.journal()), "nothing has been copied")
        person.dismiss(COMPLETED, 60)
        person.expect_log(formats=1, copied=4, done=1)
        expect_equal(_name_of(person, disk), "NO NAME", "the player's name")
        person.eject()
    box.expect_prepared("old", book)
