"""Many players in one run, and a fault for each of them; the others must not notice."""

import contextlib
import time

from faultrun import FaultRun
from flows import LOG
from scenario import FOREIGN, PHOTOS, SLOW, TWIN, make_book, operator, scenario, short_scenario, udev_held
from waiting import expect, expect_equal, until

SHORT = {"chapters": 1, "tracks": 3}
LONG = {"chapters": 2, "tracks": 5, "track_kb": 2048}
BLANK = {"content": {}}
STALLING = {"content": {"system": "fat32", "shelf": {"kind": "ext4", "size_mb": 80}}}
FAILING = {
    "full": {"content": {"size_mb": 18, "system": "fat32"}},
    "worn": {"content": {"system": "fat32", "shelf": {"kind": "tmpfs", "size_mb": 12}}},
    "protected": {"removable": False, **SLOW},
    "held": {},
    "refused": {},
    "back": SLOW,
}
SOUND = {"auto": BLANK, "twin1": TWIN, "twin2": TWIN, "whole": SLOW}
SMALLER = "that claim to be 1 GiB; what is behind them"
# Where each lie begins and ends, in KiB. The long scenario writes 70 MiB, 2 of them tables.
LESS = {"drops": (["drops", 8 << 10], f"8 MiB {SMALLER} is dropped")}
LIES = {
    "drops": (["drops", 64 << 10], f"64 MiB {SMALLER} is dropped"),
    "wraps": (["wraps", 64 << 10], f"64 MiB {SMALLER} goes to the beginning"),
    "tables": (["wraps", 69 << 10], f"69 MiB {SMALLER} overwrites boot sector and tables, no file"),
    "wears": (["wears", 36000, 37400], "a worn piece of 2 % reads as noise"),
    "fails": (["fails", 36000, 37400], "a piece of 2 % can't be read"),
}
MOUNT_RULE = "/etc/polkit-1/rules.d/10-refused.rules"
REFUSE_MOUNT = """polkit.addRule(function(action, subject) {
    if (action.id == "org.freedesktop.udisks2.filesystem-mount" &&
        action.lookup("device") == "/dev/%s") return polkit.Result.NO;
});"""
# The wipe of the mounted player is refused, that and the mount leave eight to be copied to.
FAILED_STEPS = {LOG["wipe_failures"]: 1, LOG["format_failures"]: 0, LOG["done"]: 8}
AUTOMOUNTER = "until udisksctl mount --no-user-interaction -b /dev/%s; do sleep 0.5; done"
BEGUN = "Beginning format operation.\n"


def _plug(box, players):
    """Plugs in a foreign disk and these players."""
    box.players({"foreign": {"content": PHOTOS, **FOREIGN}})
    box.players(players)


@contextlib.contextmanager
def _run(box, book, names):
    """A person with a run over these players and the book, up to the filled-in credentials."""
    with operator(box) as person:
        person.enlarge()
        person.prepare(len(names))
        yield person, FaultRun(box, person, book, names, ["foreign"])


@scenario
def pulled_at_each_tenth_of_the_copy(box):
    book = make_book(box, **LONG, coda=True)
    tenths = {f"tenth{number}": number / 10 for number in range(10)}
    names = [*tenths, "flushing", "whole1", "whole2"]
    _plug(box, {**{name: {} for name in names}, "flushing": STALLING})
    with _run(box, book, names) as (person, run):
        person.ask()
        total = sum(size for _, size, _ in book if size is not None)
        flushing = ["pull_in_flush", "flushing", run.disk("flushing"), total, 300]
        box.call("meanwhile", "flushing", *flushing)
        run.begin()
        moments = {name: ["pull", share] for name, share in tenths.items()}
        seen = box.call("during_the_copy", moments, total, 300, timeout=330)
        flushed = box.call("joined", "flushing", timeout=330)
        for name, share in tenths.items():
            run.case(name, f"pulled at tenth {share * 10:.0f} of the copy (seen: {seen[name]:.0%})")
        run.case("flushing", f"pulled in the final flush (seen: {flushed:.0%}, some still under way)")
        run.end(300)
        for name, share in tenths.items():
            expect(share <= seen[name] < share + 0.1, f"{name} was pulled at {seen[name]:.0%}")
        expect("Copy failed" in person.journal(), "the log tells of failed copies")
        expect_equal(person.journal().count("copy Done!!!\n"), 13, "how many copies have ended")
        run.eject()


@short_scenario
def pulled_before_and_at_the_start(box):
    book = make_book(box, **SHORT)
    names = ["listed", "panel", "unseen", "unmounting", "whole"]
    _plug(box, {name: {} for name in names})
    box.mount(box.disk("unmounting"))
    with _run(box, book, names) as (person, run):
        _pull(box, person, run, "listed")
        run.case("listed", "pulled while listed, before Start", named=False)
        person.ask()
        _pull(box, person, run, "panel")
        run.case("panel", "pulled while the credentials panel is open", named=False)
        with udev_held(box):
            box.call("pull", "unseen")
            run.case("unseen", "pulled before the unmount; the program hasn't noticed")
            held = box.call("freeze", "udisksd")
            run.begin()
            until(lambda: person.journal().count(BEGUN) == 3, 30, "three players have begun")
            box.call("pull", "unmounting")
            run.case("unmounting", "pulled while UDisks2 unmounts it")
            box.call("thaw", held)
        run.end(300)
        run.eject()


def _pull(box, person, run, name):
    box.call("pull", name)
    until(lambda: run.disk(name) not in person.disks(), 30, f"{name} has left the list")


@scenario
def pulled_at_each_step_before_the_copy(box):
    book = make_book(box, **SHORT)
    late = ["formatted", "mounting", "whole"]
    players = {"wiping": STALLING, "wiped": {}, "formatting": STALLING}
    _plug(box, {**players, **{name: BLANK for name in late}})
    with _run(box, book, [*players, *late]) as (person, run):
        person.ask()
        box.call("stall", "wiping")
        with udev_held(box):
            box.call("meanwhile", "wiping", "pull_in_wipe", "wiping", run.disk("wiping"))
            box.call("meanwhile", "wiped", "await_head", "wiped", True, then_pull=True)
            box.call("meanwhile", "formatting", "pull_in_format", "formatting", run.disk("formatting"))
            run.begin()
            for name in late:
                box.call("await_head", name, False)
            for name in players:
                box.call("joined", name)
            box.call("await_no_holder", [run.disk(name) for name in late])
            box.call("pull", "formatted")
            held = box.call("freeze", "udisksd")
        time.sleep(3)  # long enough for the program to see the fresh volumes, and to ask for a mount
        box.call("pull", "mounting")
        box.call("thaw", held)
        run.case("wiping", "pulled during the wipe (seen: zeros under way)")
        run.case("wiped", "pulled between wipe and format")
        run.case("formatting", "pulled during the format (seen: the file system under way)")
        run.case("formatted", "pulled before the mount; the program hasn't noticed")
        run.case("mounting", "pulled while UDisks2 mounts it")
        run.end(300)
        # A player is pulled at the end of a wipe or just after it: either step may fail.
        wipes = person.journal().count("dd operation failed.\n")
        person.expect_log(formats=6, wipe_failures=wipes, format_failures=3 - wipes, copied=3, done=1)
        run.eject()


@scenario
def media_that_fail(box):
    book = make_book(box, **LONG)
    names = [*FAILING, *SOUND]
    _plug(box, {**FAILING, **SOUND})
    place = box.mount(box.disk("held"))
    box.user(f"echo kept > '{place}/kept.txt'; sync")
    box.session("start", "reader", ["tail", "-f", f"{place}/kept.txt"])
    box.call("write_file", MOUNT_RULE, REFUSE_MOUNT % box.disk("refused"))
    with _run(box, book, names) as (person, run):
        person.ask()
        box.root("sync")
        run.bystander("held")
        auto = run.disk("auto")
        box.session("start", "automounter", ["sh", "-c", AUTOMOUNTER % auto])
        box.call("meanwhile", "auto", "hold_until_mounted", "auto", auto, "fillstation")
        moments = {"back": ["pull", 0.1], "protected": ["protect", 0.3]}
        total = sum(size for _, size, _ in book if size is not None)
        box.call("meanwhile", "copy", "during_the_copy", moments, total, 300)
        run.begin()
        _arrives(box, person, run)
        expect(box.call("joined", "auto", timeout=330), "the automounter has been faster")
        seen = box.call("joined", "copy", timeout=330)
        again = _comes_back(box, person, run)
        run.case("full", "a medium smaller than the set (18 MB for 20 MB)")
        run.case("worn", "a write error after 12 MB")
        run.case("protected", f"a medium that turns read-only (seen: at {seen['protected']:.0%})")
        run.case("held", "a refused unmount: a file is held open")
        run.case("refused", "a refused mount")
        run.case("auto", "an automounter that is faster", named=False)
        run.case("back", f"pulled at {seen['back']:.0%} of the copy, and comes back as {again}")
        for name in ("twin1", "twin2"):
            run.case(name, f"{name}, one of two with the same serial number and label", named=False)
        run.end(300)
        told = {text: person.journal().count(text) for text in FAILED_STEPS}
        expect_equal(told, FAILED_STEPS, "how often the log says what")
        expect_equal(box.user(f"cat '{place}/kept.txt'")["out"], "kept\n", "the open file")
        box.session("stop", "reader")
        run.eject(staying=("twin1", "twin2"))


@scenario
def media_that_lie(box):
    _fill_liars(box, LIES, chapters=2, tracks=17, track_kb=2048)


@short_scenario
def medium_that_holds_less_than_it_claims(box):
    _fill_liars(box, LESS, chapters=2, tracks=3, track_kb=2048)


def _fill_liars(box, lies, **shape):
    """Fills players that take everything and hold something else, and a sound one like them."""
    book = make_book(box, **shape)
    media = {**{name: lie for name, (lie, _) in lies.items()}, "whole": ["drops", 1024 << 10]}
    _plug(box, {name: {"content": {"size_mb": 1024, "shelf": {"kind": "lying", "lie": lie}}}
                for name, lie in media.items()})
    with _run(box, book, media) as (person, run):
        person.ask()
        for name, (_, text) in lies.items():
            run.case(name, text)
        run.begin()
        run.end(600)
        expect_equal(person.journal().count("copy Done!!!\n"), len(media), "how many copies have ended")
        run.eject()


def _arrives(box, person, run):
    """A player is plugged in during the run: it is listed without a tick, and is not written to."""
    box.player("late")
    disk = box.disk("late")
    until(lambda: disk in person.disks(), 60, "the new player is listed")
    expect(disk not in person.ticked(), "the new player has no tick")
    run.bystander("late", "a player that arrives during the run")


def _comes_back(box, person, run):
    """The pulled player is plugged in again and gets its old name; it is not written to any more."""
    disk = run.disk("back")
    # Its name is free when its task, which keeps the volume open, has ended.
    until(lambda: disk not in box.disks() and
          box.root(f"journalctl -q -o cat FILLSTATION_PLAYER=/dev/{disk} || true"), 120, "it has gone")
    box.call("remove", "back", keep=True)
    box.call("add", "back", **SLOW)
    box.call("plug", "back")
    expect_equal(box.disk("back"), disk, "the disk of the player that has come back")
    until(lambda: disk in person.disks(), 60, "the player is listed again")
    expect(disk not in person.ticked(), "the player has no tick any more")
    expect(person.alert_text() is None, "the run is under way")
    run.bystander("back")
    return disk
