"""Many players in one run, and a fault for each of them; the others must not notice."""

from faultrun import FaultRun
from scenario import BOOK, make_book, operator, scenario
from waiting import expect, expect_equal

FOREIGN = {"vendor": "ARCHIVE", "model": "Photos", "product": "Portable Disk"}
LONG = {"chapters": 2, "tracks": 5, "track_kb": 2048}
STALLING = {"content": {"system": "fat32", "shelf": {"kind": "ext4", "size_mb": 80}}}


def _plug(box, players):
    """Plugs in a foreign disk and these players."""
    box.player("foreign", content={"system": "ext4", "label": "photos"}, **FOREIGN)
    box.disk("foreign")
    for name, traits in players.items():
        box.player(name, **traits)
    for name in players:
        box.disk(name)


def _prepare(person, count):
    """A person has ticked every player and chosen the book."""
    person.enlarge()
    person.wait_for_players(count, 120)
    person.add_folder(BOOK)
    person.click("All")
    expect_equal(len(person.ticked()), count, "the ticked players")


@scenario
def pulled_at_each_tenth_of_the_copy(box):
    book = make_book(box, **LONG)
    tenths = {f"tenth{number}": number / 10 for number in range(10)}
    names = [*tenths, "flushing", "whole1", "whole2"]
    _plug(box, {**{name: {} for name in names}, "flushing": STALLING})
    with operator(box) as person:
        _prepare(person, len(names))
        run = FaultRun(box, person, book, names, ["foreign"])
        person.ask()
        total = sum(size for _, size, _ in book if size is not None)
        flushing = ["pull_in_flush", "flushing", run.disk("flushing"), total, 240]
        box.call("meanwhile", "flushing", *flushing)
        run.begin()
        moments = {name: ["pull", share] for name, share in tenths.items()}
        seen = box.call("during_the_copy", moments, total, 240, timeout=300)
        flushed = box.call("joined", "flushing", timeout=300)
        for name, share in tenths.items():
            run.case(name, f"pulled at tenth {share * 10:.0f} of the copy (seen: {seen[name]:.0%})")
        run.case("flushing", f"pulled in the final flush (seen: {flushed:.0%}, some still under way)")
        run.end(180)
        for name, share in tenths.items():
            expect(share <= seen[name] < share + 0.1, f"{name} was pulled at {seen[name]:.0%}")
        run.eject()
