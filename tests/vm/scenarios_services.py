"""Services that restart, twins, slow players, and a device that keeps the watcher waiting."""

import time

from flows import COMPLETED, TICK
from scenario import BOOK, make_book, operator, scenario, short_scenario
from waiting import USUAL_LIMIT, expect, expect_equal, until

TWIN = {"serialnumber": "0000000000000001", "content": {"system": "fat32", "label": "TWIN"}}


def _prepare(box, person, names, seconds=120, meanwhile=None):
    """One run over all players, with something happening meanwhile; then they are ejected."""
    person.wait_for_players(len(names), 90)
    person.add_folder(BOOK)
    person.click("All")
    person.start()
    if meanwhile is not None:
        meanwhile()
    person.dismiss(COMPLETED, seconds)
    person.eject()
    until(lambda: not box.disks(), 60, "all players are off")


def _two_slow_players(box):
    """A run over them lasts long enough for something to happen; the book and their names."""
    book = make_book(box, track_kb=2048)
    names = ("one", "two")
    for name in names:
        box.player(name, speed="full-speed")
        box.disk(name)
    return book, names


@scenario
def services_restart_during_a_run(box):
    book, names = _two_slow_players(box)

    def restarts():
        box.call("await_head", "one", True)
        box.root("systemctl restart udisks2")
        until(lambda: "Copy successful" in person.journal(), 90, "a copy")
        box.root("systemctl restart udisks2 polkit")

    with operator(box) as person:
        _prepare(box, person, names, 180, restarts)
        person.expect_log(formats=2, copied=24, done=2)
    for name in names:
        box.expect_prepared(name, book)


def _replace_the_idle_twin(box, person):
    """During a run the twin without a tick is pulled out, and another one is plugged in."""
    until(lambda: "Beginning format operation.\n" in person.journal(), 30, "the run has begun")
    idle = box.disk("twin4")
    box.call("pull", "twin4")
    until(lambda: idle not in person.disks(), 30, "the pulled twin has left the list")
    box.player("twin5", **TWIN)
    new = box.disk("twin5")
    until(lambda: new in person.disks(), 30, "the new twin is in the list")
    expect("done\n" not in person.journal(), "both other twins are still being filled")
    expect(new not in person.ticked(), "the new twin has no tick")


@short_scenario
def three_twins_and_one_of_them_ejected(box):
    book = make_book(box, chapters=2, track_kb=2048)
    names = ("twin1", "twin2", "twin3")
    for name in names:
        box.player(name, **TWIN, speed="full-speed")
    disks = [box.disk(name) for name in names]
    with operator(box) as person:
        person.wait_for_players(3)
        person.tick(disks[1])
        with box.unchanged(*names):
            person.eject()
            until(lambda: disks[1] not in person.disks(), 10, "the ejected twin has left the list")
        expect({disks[0], disks[2]} <= set(box.disks()), "the other twins' disks are there")
        box.player("twin4", **TWIN)
        person.wait_for_players(3)
        person.add_folder(BOOK)
        person.tick(disks[0], disks[2])
        with box.unchanged("twin2", "twin4"):
            person.start()
            _replace_the_idle_twin(box, person)
            person.dismiss(COMPLETED, 120)
        person.expect_log(formats=2, copied=16, done=2)
        person.eject()
        expect_equal(person.disks(), [box.disk("twin5")], "the list")
    for name in ("twin1", "twin3"):
        box.expect_prepared(name, book)


@scenario
def an_unmount_of_more_than_25_seconds(box):
    book = make_book(box, chapters=1)
    names = ("slow", "quick")
    for name in names:
        box.player(name, speed="full-speed")
        box.mount(box.disk(name))
    with operator(box) as person:
        person.wait_for_players(2)
        person.add_folder(BOOK)
        person.click("All")
        person.ask()
        held = box.call("freeze", "udisksd")
        person.click("OK")
        time.sleep(USUAL_LIMIT + 5)
        unmounted = [text for text in person.journal() if text.endswith(" unmounted\n")]
        expect_equal(unmounted, [], "the unmounts that have been taken for done")
        box.call("thaw", held)
        person.dismiss(COMPLETED, 120)
        person.expect_log(formats=2, copied=8, done=2)
        person.eject()
        until(lambda: not box.disks(), 60, "all players are off")
    for name in names:
        box.expect_prepared(name, book)


@scenario
def a_device_without_a_disk_during_a_run(box):
    book, names = _two_slow_players(box)

    def arrives():
        box.call("add", "hollow", kind="keyboard")
        box.call("plug", "hollow")
        until(lambda: "no bsd name so sleeping" in person.output()[0], 30, "the watcher waits")
        expect(person.progress() < 100, "the run is under way")
        shown = person.progress()
        until(lambda: person.progress() > shown, 60, "the bar moves while the watcher waits")

    with operator(box) as person:
        _prepare(box, person, names, 180, arrives)
        person.expect_log(formats=2, copied=24, done=2)
        expect_equal(list(person.nodes(TICK)), [], "the list")
    for name in names:
        box.expect_prepared(name, book)
