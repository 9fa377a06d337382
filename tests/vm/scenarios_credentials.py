"""Credentials that open nothing: no player is touched, and the window can be used again."""

from box import ADMIN, ADMIN_PASSWORD, PLAYER, PLAYER_PASSWORD
from flows import COMPLETED, failed
from logs import ASKED, CANCELLED, EJECTED, HUBS_SEEN, NO_PLAYER, NO_TICK, ON_UPDATE, PLAYER_SEEN, SIZE
from logs import Listener, added, prepared, refused, sizes
from scenario import BOOK, make_book, operator, short_scenario
from waiting import until

EMPTY_FIELD = "You'v entered invalid password."
REFUSED = {
    "a wrong password": (ADMIN, "close sesame"),
    "an unknown user": ("nobody-here", ADMIN_PASSWORD),
    "a user who is no administrator": (PLAYER, PLAYER_PASSWORD),
    "a quote in the password": (ADMIN, 'open" sesame'),
}


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
