"""Services that restart, and twins."""

from flows import COMPLETED
from scenario import BOOK, SLOW, TWIN, make_book, operator, scenario, short_scenario
from waiting import expect, expect_equal, until


@scenario
def services_restart_during_a_run(box):
    book = make_book(box, track_kb=2048)
    players = {"one": SLOW, "two": SLOW}
    box.players(players)
    with operator(box) as person:
        person.prepare(2)
        person.start()
        box.call("await_head", "one", True)
        box.root("systemctl restart udisks2")
        until(lambda: "Copy successful" in person.journal(), 90, "a copy")
        box.root("systemctl restart udisks2 polkit")
        person.dismiss(COMPLETED, 180)
        person.expect_log(formats=2, copied=24, done=2)
        person.eject_filled(book, players)


def _replace_the_idle_twin(box, person):
    """During a run the twin without a tick is pulled out, and another one is plugged in."""
    until(lambda: "Beginning format operation.\n" in person.journal(), 30, "the run has begun")
    idle = box.disk("twin4")
    box.call("pull", "twin4")
    until(lambda: idle not in person.disks(), 30, "the pulled twin has left the list")
    new = box.players({"twin5": TWIN})["twin5"]
    until(lambda: new in person.disks(), 30, "the new twin is in the list")
    expect("done\n" not in person.journal(), "both other twins are still being filled")
    expect(new not in person.ticked(), "the new twin has no tick")


@short_scenario
def three_twins_and_one_of_them_ejected(box):
    book = make_book(box, chapters=2, track_kb=2048)
    disks = box.players(dict.fromkeys(("twin1", "twin2", "twin3"), TWIN))
    with operator(box) as person:
        person.wait_for_players(3)
        person.tick(disks["twin2"])
        with box.unchanged(*disks):
            person.eject()
            until(lambda: disks["twin2"] not in person.disks(), 10, "the ejected twin has left the list")
        expect({disks["twin1"], disks["twin3"]} <= set(box.disks()), "the other twins' disks are there")
        box.player("twin4", **TWIN)
        person.wait_for_players(3)
        person.add_folder(BOOK)
        person.tick(disks["twin1"], disks["twin3"])
        with box.unchanged("twin2", "twin4"):
            person.start()
            _replace_the_idle_twin(box, person)
            person.dismiss(COMPLETED, 120)
        person.expect_log(formats=2, copied=16, done=2)
        person.eject()
        expect_equal(person.disks(), [box.disk("twin5")], "the list")
    for name in ("twin1", "twin3"):
        box.expect_prepared(name, book)
