"""Good players: plugged in, prepared, read back; and refused credentials."""

from box import ADMIN, ADMIN_PASSWORD, PLAYER, PLAYER_PASSWORD
from flows import COMPLETED, failed
from scenario import make_book, operator, scenario, short_scenario
from waiting import expect_equal

NO_SPACE_AT_ALL = "18446744073709551615 MB"
EMPTY_FIELD = "You'v entered invalid password."
EMPTY = (("", ADMIN_PASSWORD), (ADMIN, ""), ("", ""))
REFUSED = (
    (ADMIN, "close sesame"),  # a wrong password
    ("nobody-here", ADMIN_PASSWORD),
    (PLAYER, PLAYER_PASSWORD),  # no administrator
    (ADMIN, 'open" sesame'),
)


@short_scenario
def four_players_before_start_and_four_after(box):
    book = make_book(box)
    early = [f"early{number}" for number in range(4)]
    late = [f"late{number}" for number in range(4)]
    box.players(dict.fromkeys(early, {}))
    with operator(box) as person:
        person.wait_for_players(4)
        box.players(dict.fromkeys(late, {"removable": False}))
        person.wait_for_players(8, 90)
        expect_equal(person.labels(), ["0 KB", "0 KB"], "the labels without a tick")
        person.prepare(8)
        expect_equal(person.labels(), ["64 MB", "62 MB"], "the labels with eight ticks")
        person.start()
        person.expect_busy()
        box.picture("eight-players-run")
        person.dismiss(COMPLETED, 180)
        expect_equal(person.progress(), 100.0, "the progress bar")
        person.expect_log(formats=8, copied=8 * 12, done=8)
        person.eject_filled(book, early + late)
        expect_equal(person.labels(), ["0 KB", NO_SPACE_AT_ALL], "the labels of an empty list")


@scenario
def sixteen_players_at_once(box):
    book = make_book(box, chapters=2)
    players = {f"player{number}": {} for number in range(16)}
    box.players(players)
    with operator(box) as person:
        person.enlarge()
        person.prepare(16)
        person.start()
        person.dismiss(COMPLETED, 300)
        box.picture("sixteen-players-done")
        person.expect_log(formats=16, copied=16 * 8, done=16)
        person.eject_filled(book, players)


@short_scenario
def credentials_that_open_nothing(box):
    book = make_book(box, chapters=1)
    players = {"one": {}, "two": {}}
    box.players(players)
    with operator(box) as person:
        person.prepare(2)
        with box.unchanged(*players):
            for user, password in EMPTY:
                person.start(user, password)
                person.dismiss(EMPTY_FIELD)
            for user, password in REFUSED:
                person.start(user, password)
                person.dismiss(failed(*person.disks()), 90)
        tries = 2 * len(REFUSED)
        person.expect_log(formats=tries, wipe_failures=tries)
        person.expect_commands(0)
        person.ask()
        person.click("Cancel")
        person.expect_usable()
        person.start()
        person.dismiss(COMPLETED, 90)
        person.expect_log(formats=tries + 2, wipe_failures=tries, copied=2 * 4, done=2)
        person.expect_secret(ADMIN_PASSWORD)
        person.eject_filled(book, players)
