"""Credentials that open nothing: no player is touched, and the window can be used again."""

from box import ADMIN, ADMIN_PASSWORD, PLAYER, PLAYER_PASSWORD
from flows import COMPLETED, failed
from scenario import BOOK, make_book, operator, scenario
from waiting import until

EMPTY_FIELD = "You'v entered invalid password."
REFUSED = {
    "a wrong password": (ADMIN, "close sesame"),
    "an unknown user": ("nobody-here", ADMIN_PASSWORD),
    "a user who is no administrator": (PLAYER, PLAYER_PASSWORD),
    "a quote in the password": (ADMIN, 'open" sesame'),
}


@scenario
def credentials_that_open_nothing(box):
    book = make_book(box, chapters=1)
    for name in ("one", "two"):
        box.player(name)
    disks = [box.disk(name) for name in ("one", "two")]
    with operator(box) as person:
        listed = person.wait_for_players(2)
        person.add_folder(BOOK)
        person.click("All")
        with box.unchanged("one", "two"):
            for user, password in (("", ADMIN_PASSWORD), (ADMIN, ""), ("", "")):
                person.start(user, password)
                person.dismiss(EMPTY_FIELD)
            person.expect_log()
            for count, (user, password) in enumerate(REFUSED.values(), 1):
                person.start(user, password)
                person.dismiss(failed(*listed), 90)
                person.expect_log(formats=2 * count, wipe_failures=2 * count)
        person.ask()
        person.click("Cancel")
        person.expect_usable()
        person.start()
        person.dismiss(COMPLETED, 90)
        person.expect_secret(ADMIN_PASSWORD)
        person.eject()
        until(lambda: not set(disks) & set(box.disks()), 30, "the players are off")
    for name in ("one", "two"):
        box.expect_prepared(name, book)
