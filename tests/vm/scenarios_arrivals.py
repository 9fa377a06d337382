"""Players in every state that they can arrive in, and devices that are no players."""

import time

from flows import COMPLETED, failed
from scenario import BOOK, make_book, operator, scenario, udev_held
from waiting import expect, expect_equal, until

PLAYERS = {
    "unlabelled": {"content": {"system": "fat32"}},
    "digit": {"content": {"system": "fat32", "label": "2FAST"}},
    "blank": {"content": {}},
    "partitioned": {"content": {"table": "mbr", "system": "fat32", "label": "PARTED"}},
    "mounted": {"content": {"table": "gpt", "system": "fat32", "label": "MOUNTED"}},
    "whole": {"content": {"system": "fat32", "label": "WHOLE"}},
    "ext4": {"content": {"system": "ext4", "label": "extended"}},
    "ext4-mounted": {"content": {"system": "ext4", "label": "extended too"}},
    "nameless": {"content": {"system": "fat32", "label": "NAMELESS"}, "product": None},
    "automounted": {"content": {"system": "fat32", "label": "AUTO"}},
}
MOUNTED_BY_HAND = {"mounted": "1", "whole": "", "ext4-mounted": ""}  # which partition
# An automounter takes up everything, as soon as it starts; this one leaves volumes with a label
# alone, except for one. The fresh volumes have none: it is after them all.
AUTOMOUNTER = """{"device_config": [
    {"id_label": "AUTO", "automount": true}, {"id_label": "?*", "automount": false}]}"""
AUTOMOUNTED = ("unlabelled", "automounted")
STRANGERS = {
    "vendor": {"vendor": "OTHERS", "content": {"system": "fat32", "label": "VENDOR"}},
    "product": {"product": "USB Flash Disk", "content": {"system": "fat32", "label": "PRODUCT"}},
    "keyboard": {"kind": "keyboard", "product": "Keyboard", "medium": False},
}
LISTED = {
    "unlabelled": "/dev/{} (NO NAME)",
    "digit": "/dev/{} (xFAST)",
    "blank": "/dev/{} ((null))",
    "partitioned": "/dev/{} (PARTED)",
    "mounted": "/dev/{} (MOUNTED)",
    "whole": "/dev/{} (WHOLE)",
    "ext4": "/dev/{} (extended)",
    "ext4-mounted": "/dev/{} (extended too)",
    "nameless": "/dev/{} (NAMELESS)",
    "automounted": "/dev/{} (AUTO)",
}


def _plug_all(box):
    """Plugs everything in, mounts what is to be mounted; returns the players' disks by name."""
    for name, traits in {**PLAYERS, **STRANGERS}.items():
        if name == "automounted":
            box.call("write_file", "/tmp/udiskie.yml", AUTOMOUNTER)
            box.session("start", "udiskie", "udiskie --no-tray --no-notify -c /tmp/udiskie.yml".split())
        box.player(name, **traits)
        if name in MOUNTED_BY_HAND:
            box.mount(box.disk(name) + MOUNTED_BY_HAND[name])
    disks = {name: box.disk(name) for name in PLAYERS}
    mounted = {disks[name] for name in (*MOUNTED_BY_HAND, *AUTOMOUNTED)}
    until(lambda: set(box.mounted()) == mounted, 30, f"mounted are {mounted} and no others")
    return disks


@scenario
def arrivals_in_every_state(box):
    book = make_book(box, chapters=1)
    disks = _plug_all(box)
    with operator(box) as person:
        person.enlarge()
        person.wait_for_players(len(PLAYERS), 120)
        names = {player.disk: player.name for player in person.players()}
        wanted = {disks[name]: form.format(disks[name]) for name, form in LISTED.items()}
        expect_equal(names, wanted, "the names of the listed players")
        box.picture("arrivals")
        person.add_folder(BOOK)
        person.click("All")
        with box.unchanged("vendor", "product"):
            person.start()
            person.dismiss(COMPLETED, 180)
        person.expect_log(formats=len(PLAYERS), copied=4 * len(PLAYERS), done=len(PLAYERS))
        box.session("stop", "udiskie")
        person.eject()
        until(lambda: not set(disks.values()) & set(box.disks()), 60, "the players are off")
    for name in PLAYERS:
        box.expect_prepared(name, book)


@scenario
def an_open_file_and_a_drive_without_medium(box):
    book = make_book(box, chapters=1)
    box.player("open", content={"system": "fat32", "label": "OPEN"})
    box.player("free")
    box.player("empty", medium=False)
    busy, free = box.disk("open"), box.disk("free")
    place = box.mount(busy)
    box.user(f"echo kept > '{place}/kept.txt'; sync")
    box.session("start", "reader", ["tail", "-f", f"{place}/kept.txt"])
    with operator(box) as person:
        person.wait_for_players(3, 90)
        person.add_folder(BOOK)
        person.tick(busy, free)
        person.start()
        person.dismiss(failed(busy), 120)
        person.expect_log(formats=2, wipe_failures=1, copied=4, done=1)
        kept = box.user(f"cat '{place}/kept.txt'")
        expect_equal(kept["out"], "kept\n", "the open file")
        box.session("stop", "reader")
        person.tick(busy, free)
        person.tick(busy)
        person.start()
        person.dismiss(COMPLETED, 120)
        person.click("All")
        person.eject()
        until(lambda: not {busy, free} & set(box.disks()), 60, "the players are off")
    for name in ("open", "free"):
        box.expect_prepared(name, book)


# What udev has not seen yet: neither a new disk nor a fresh volume may be taken for what it is not.

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
