"""Players in every state that they can arrive in, and devices that are no players."""

from flows import COMPLETED, failed
from scenario import BOOK, make_book, operator, scenario
from waiting import expect, expect_equal, until

PLAYERS = {
    "unlabelled": {"content": {"system": "fat32"}},
    "digit": {"content": {"system": "fat32", "label": "2FAST"}},
    "blank": {"content": {}},
    "partitioned": {"content": {"table": "mbr", "system": "fat32", "label": "PARTED"}},
    "mounted": {"content": {"table": "gpt", "system": "fat32", "label": "MOUNTED"}},
    "ext4": {"content": {"system": "ext4", "label": "extended"}},
    "nameless": {"content": {"system": "fat32", "label": "NAMELESS"}, "product": None},
    "automounted": {"content": {"system": "fat32", "label": "AUTO"}},
}
STRANGERS = {
    "vendor": {"vendor": "OTHERS"},
    "product": {"product": "USB Flash Disk"},
    "keyboard": {"kind": "keyboard", "product": "Keyboard", "medium": False},
}
LISTED = {
    "unlabelled": "/dev/{} (NO NAME)",
    "digit": "/dev/{} (xFAST)",
    "mounted": "/dev/{} (MOUNTED)",
    "nameless": "/dev/{} (NAMELESS)",
}


def _plug_all(box):
    """Plugs everything in, mounts what is to be mounted; returns the players' disks by name."""
    for name, traits in {**PLAYERS, **STRANGERS}.items():
        if name == "automounted":
            box.session("start", "udiskie", ["udiskie", "--no-tray", "--no-notify", "--no-config"])
        box.player(name, **traits)
        if name == "mounted":
            box.mount(box.disk(name) + "1")
    return {name: box.disk(name) for name in PLAYERS}


@scenario
def arrivals_in_every_state(box):
    book = make_book(box, chapters=1)
    disks = _plug_all(box)
    with operator(box) as person:
        person.enlarge()
        person.wait_for_players(len(PLAYERS), 120)
        expect_equal(set(person.disks()), set(disks.values()), "the listed players")
        names = {player.disk: player.name for player in person.players()}
        for name, form in LISTED.items():
            expect_equal(names[disks[name]], form.format(disks[name]), f"the name of {name}")
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
