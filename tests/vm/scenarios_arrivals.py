"""Players in every state that they can arrive in, and devices that are no players."""

import time

from flows import COMPLETED
from scenario import make_book, operator, scenario, udev_held
from waiting import expect, expect_equal, until

# How players arrive, and how the list shows their volumes.
STATES = {
    "unlabelled": ({"content": {"system": "fat32"}}, "NO NAME"),
    "digit": ({"content": {"system": "fat32", "label": "2FAST"}}, "xFAST"),
    "blank": ({"content": {}}, "blank"),
    "partitioned": ({"content": {"table": "mbr", "system": "fat32", "label": "PARTED"}}, "PARTED"),
    "mounted": ({"content": {"table": "gpt", "system": "fat32", "label": "MOUNTED"}}, "MOUNTED"),
    "whole": ({"content": {"system": "fat32", "label": "WHOLE"}}, "WHOLE"),
    "ext4": ({"content": {"system": "ext4", "label": "extended"}}, "extended"),
    "ext4-mounted": ({"content": {"system": "ext4", "label": "extended too"}}, "extended too"),
    "nameless": ({"content": {"system": "fat32", "label": "NAMELESS"}, "product": None}, "NAMELESS"),
    "automounted": ({"content": {"system": "fat32", "label": "AUTO"}}, "AUTO"),
}
PLAYERS = {name: traits for name, (traits, _) in STATES.items()}
MOUNTED_BY_HAND = {"mounted": "1", "whole": "", "ext4-mounted": ""}  # which partition
# An automounter takes up everything, as soon as it starts; this one leaves volumes with a label
# alone, except for one. The fresh volumes have none: it is after them all.
AUTOMOUNTER = """{"device_config": [
    {"id_label": "AUTO", "automount": true}, {"id_label": "?*", "automount": false}]}"""
AUTOMOUNTED = ("unlabelled", "automounted")
STRANGERS = {
    "vendor": {"vendor": "OTHERS", "content": {"system": "fat32", "label": "VENDOR"}},
    "product": {"product": "USB Flash Disk", "content": {"system": "fat32", "label": "PRODUCT"}},
}


def _plug_all(box):
    """Plugs everything in and mounts the marked ones; returns the players' disks by name."""
    for name, traits in {**PLAYERS, **STRANGERS}.items():
        if name == "automounted":
            box.call("write_file", "/tmp/udiskie.yml", AUTOMOUNTER)
            box.session("start", "udiskie", "udiskie --no-tray --no-notify -c /tmp/udiskie.yml".split())
        box.player(name, **traits)
        if name in MOUNTED_BY_HAND:
            box.mount(box.disk(name) + MOUNTED_BY_HAND[name])
    box.player("empty", medium=False)
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
        person.wait_for_players(len(PLAYERS) + 1, 180)
        names = {each.disk: each.name for each in person.players() if each.disk in disks.values()}
        wanted = {disks[name]: f"/dev/{disks[name]} ({shown})" for name, (_, shown) in STATES.items()}
        expect_equal(names, wanted, "the names of the listed players")
        box.picture("arrivals")
        person.prepare(len(PLAYERS) + 1)
        person.tick(box.disk("empty"))
        with box.unchanged("vendor", "product"):
            person.start()
            person.dismiss(COMPLETED, 180)
        person.expect_log(formats=len(PLAYERS), copied=4 * len(PLAYERS), done=len(PLAYERS))
        box.session("stop", "udiskie")
        person.eject_filled(book, PLAYERS)


@scenario
def a_volume_that_udev_has_not_seen(box):
    """A disk that udev has not seen yet must not be mistaken for another one."""
    book = make_book(box, chapters=1)
    disk = box.players({"old": {"content": {"system": "fat32", "label": "OLD"}}})["old"]
    with operator(box) as person:
        person.prepare(1)
        expect_equal(person.players()[0].name, f"/dev/{disk} (OLD)", "the player's name")
        person.ask()
        with udev_held(box):
            person.click("OK")
            box.call("await_head", "old", True)
            box.call("await_head", "old", False)
            box.call("await_none", "fillstation-age")
            time.sleep(5)  # so long that a mount by the old view would have been made
            expect_equal(box.mounted(), {}, "the mounts")
            expect("Copy successful" not in person.journal(), "nothing has been copied")
        person.dismiss(COMPLETED, 60)
        person.expect_log(formats=1, copied=4, done=1)
        expect_equal(person.players()[0].name, "NO NAME", "the player's name")
        person.eject_filled(book, ["old"])
