"""Players that are what they should be: plugged in, prepared, read back; credentials that open nothing."""

from box import ADMIN, ADMIN_PASSWORD, PLAYER, PLAYER_PASSWORD
from flows import COMPLETED, failed
from logs import ASKED, CANCELLED, EJECTED, HUBS_SEEN, NO_PLAYER, NO_TICK, ON_UPDATE, PLAYER_SEEN, SIZE
from logs import Listener, added, prepared, refused, sizes
from scenario import BOOK, make_book, operator, scenario, short_scenario
from waiting import expect_equal, until

FILES = 12
ONE_PLAYER_OUTPUT = (
    "start event\n got vol name(null)\nend event"  # it is there, without a mount point
    "start event\nend event"  # nobody has left
    "\n got vol name\n got vol path"  # the fresh volume
    "start eventN/A\nend event"
)
NO_SPACE_AT_ALL = "18446744073709551615 MB"
EMPTY_FIELD = "You'v entered invalid password."
REFUSED = {
    "a wrong password": (ADMIN, "close sesame"),
    "an unknown user": ("nobody-here", ADMIN_PASSWORD),
    "a user who is no administrator": (PLAYER, PLAYER_PASSWORD),
    "a quote in the password": (ADMIN, 'open" sesame'),
}


@short_scenario
def one_player(box):
    book = make_book(box)
    box.player("one")
    disk = box.disk("one")
    with operator(box) as person:
        listener = Listener(person)
        person.wait_for_players(1)
        listener.expect([ON_UPDATE, *sizes(NO_TICK, SIZE)], devices=(HUBS_SEEN, PLAYER_SEEN))
        person.add_folder(BOOK)
        person.click("All")
        listener.expect([*added(BOOK, book), *sizes(NO_TICK, SIZE), *sizes(SIZE, SIZE)])
        person.start()
        person.dismiss(COMPLETED, 60)
        expect_equal(person.progress(), 100.0, "the progress bar")
        listener.expect([ASKED], prepared(disk, BOOK, book))
        person.eject()
        until(lambda: not box.disks(), 30, "the player is off")
        leaves = [EJECTED, ON_UPDATE, *sizes(NO_PLAYER)]
        listener.expect([*sizes(NO_PLAYER), *leaves], devices=[PLAYER_SEEN])
        listener.expect_end(ONE_PLAYER_OUTPUT)
    box.expect_prepared("one", book)


@short_scenario
def four_players_before_start_and_four_after(box):
    book = make_book(box)
    early = [f"early{number}" for number in range(4)]
    late = [f"late{number}" for number in range(4)]
    for name in early:
        box.player(name)
        box.disk(name)
    with operator(box) as person:
        person.wait_for_players(4)
        for name in late:
            box.player(name)
        person.wait_for_players(8, 90)
        expect_equal(person.labels(), ["0 KB", "0 KB"], "the labels without a tick")
        person.add_folder(BOOK)
        person.click("All")
        expect_equal(person.labels(), ["64 MB", "62 MB"], "the labels with eight ticks")
        person.start()
        person.expect_busy()
        box.picture("eight-players-run")
        person.dismiss(COMPLETED, 180)
        person.expect_log(formats=8, copied=8 * FILES, done=8)
        person.eject()
        expect_equal(person.labels(), ["0 KB", NO_SPACE_AT_ALL], "the labels of an empty list")
        until(lambda: not box.disks(), 60, "all players are off")
    for name in early + late:
        box.expect_prepared(name, book)


@scenario
def sixteen_players_at_once(box):
    book = make_book(box, chapters=2)
    names = [f"player{number}" for number in range(16)]
    for name in names:
        box.player(name)
    with operator(box) as person:
        person.enlarge()
        person.wait_for_players(16, 120)
        person.add_folder(BOOK)
        person.click("All")
        expect_equal(len(person.ticked()), 16, "the ticked players")
        person.start()
        person.dismiss(COMPLETED, 300)
        box.picture("sixteen-players-done")
        person.expect_log(formats=16, copied=16 * 8, done=16)
        person.eject(120)
        until(lambda: not box.disks(), 60, "all players are off")
    for name in names:
        box.expect_prepared(name, book)


def _look_into(box, disks, book):
    """A person takes the volumes off and looks into the players; two of them are mounted again."""
    for name, disk in disks.items():
        box.unmount(box.mounted()[disk])
        box.expect_prepared(name, book)
    for name in ("mbr", "whole"):
        box.mount(disks[name])


@scenario
def two_runs_in_a_row_and_eject_of_two_of_four(box):
    book = make_book(box, chapters=2)
    kinds = {
        "mbr": {"content": {"table": "mbr", "system": "fat32"}},
        "gpt": {"content": {"table": "gpt", "system": "fat32"}},
        "whole": {"content": {"system": "fat16"}},
        "fixed": {"content": {"table": "mbr", "system": "fat32"}, "removable": False},
    }
    for name, traits in kinds.items():
        box.player(name, **traits)
    disks = {name: box.disk(name) for name in kinds}
    with operator(box) as person:
        person.wait_for_players(4)
        person.add_folder(BOOK)
        person.click("All")
        expect_equal(len(person.ticked()), 4, "the ticks after All")
        person.click("None")
        expect_equal(person.ticked(), [], "the ticks after None")
        person.click("All")
        person.start()
        person.dismiss(COMPLETED, 120)
        person.expect_log(formats=4, copied=4 * 8, done=4)
        _look_into(box, disks, book)
        book = make_book(box, chapters=2, seed=2)
        person.start()
        person.dismiss(COMPLETED, 120)
        person.expect_log(formats=8, copied=8 * 8, done=8)
        person.tick(disks["gpt"], disks["fixed"])
        expect_equal(set(person.ticked()), {disks["mbr"], disks["whole"]}, "the ticked players")
        with box.unchanged("gpt", "fixed"):
            person.eject()
            until(lambda: box.disks() == sorted((disks["gpt"], disks["fixed"])), 30, "two are left")
        expect_equal(set(person.disks()), {disks["gpt"], disks["fixed"]}, "the list")
        expect_equal(person.labels(), ["0 KB", "0 KB"], "the labels without a tick")
        person.click("All")
        person.eject()
        until(lambda: not box.disks(), 30, "all players are off")
    for name in kinds:
        box.expect_prepared(name, book)


@short_scenario
def credentials_that_open_nothing(box):
    book = make_book(box, chapters=1)
    for name in ("one", "two"):
        box.player(name)
    disks = [box.disk(name) for name in ("one", "two")]
    with operator(box) as person:
        listener = Listener(person)
        listed = person.wait_for_players(2)
        arrivals = [ON_UPDATE, *sizes(NO_TICK, SIZE), ON_UPDATE, *sizes(NO_TICK, SIZE, SIZE)]
        listener.expect(arrivals, devices=(HUBS_SEEN, PLAYER_SEEN * 2))
        person.add_folder(BOOK)
        person.click("All")
        listener.expect(
            [*added(BOOK, book), *sizes(NO_TICK, SIZE, SIZE), *sizes(SIZE, SIZE, SIZE)]
        )
        with box.unchanged("one", "two"):
            for user, password in (("", ADMIN_PASSWORD), (ADMIN, ""), ("", "")):
                person.start(user, password)
                person.dismiss(EMPTY_FIELD)
            for user, password in REFUSED.values():
                person.start(user, password)
                person.dismiss(failed(*listed), 90)
                listener.expect([ASKED], *map(refused, disks))
        person.expect_commands(0)
        person.ask()
        person.click("Cancel")
        person.expect_usable()
        listener.expect([CANCELLED])
        person.start()
        person.dismiss(COMPLETED, 90)
        listener.expect([ASKED], *(prepared(disk, BOOK, book) for disk in disks))
        person.expect_secret(ADMIN_PASSWORD)
        person.eject()
        until(lambda: not set(disks) & set(box.disks()), 30, "the players are off")
        leaves = [EJECTED, ON_UPDATE, *sizes(NO_PLAYER)]
        listener.expect(sizes(NO_PLAYER), leaves, leaves, devices=[PLAYER_SEEN * 2])
    for name in ("one", "two"):
        box.expect_prepared(name, book)
