"""Players that are pulled out, and other disks in their place: what is no player keeps its bytes."""

from flows import COMPLETED, failed
from scenario import BOOK, make_book, operator, scenario
from waiting import expect, expect_equal, until

FOREIGN = {"vendor": "ARCHIVE", "model": "Photos", "product": "Portable Disk"}
PASSWORD_CHECK = "polkit-agent-he"  # as much of its name as the kernel keeps
BIG = {"content": {"size_mb": 1024, "system": "fat32"}, "speed": "full-speed"}


def _begin(box, person, victim, **traits):
    """A run over the victim and another player has been started; returns the victim's disk."""
    box.player("other")
    box.disk("other")
    box.player(victim, **traits)
    disk = box.disk(victim)
    person.wait_for_players(2)
    person.add_folder(BOOK)
    person.click("All")
    person.start()
    return disk


def _end(box, person, book, summary, **log):
    """The run has ended with that summary, and the other player is as it should be."""
    person.dismiss(summary, 120)
    person.expect_log(**log)
    other = box.disk("other")
    until(lambda: person.disks() == [other], 30, "only the other player is listed")
    person.eject()
    until(lambda: other not in box.disks(), 30, "the other player is off")
    box.expect_prepared("other", book)
    expect_equal(box.root("find /dev -maxdepth 1 -name 'sd*' -type f"), "", "files in place of disks")


@scenario
def pulled_during_the_copy(box):
    book = make_book(box, track_kb=2048)
    with operator(box) as person:
        disk = _begin(box, person, "victim", speed="full-speed")
        mounted = f"findmnt -n -o TARGET /dev/{disk} || true"
        until(lambda: box.root(mounted).strip() and "Copy successful" in person.journal(), 60, "a copy")
        until(lambda: box.root(f'find "$({mounted})" -name "*.mp3"').strip(), 60, "a copied track")
        box.call("pull", "victim")
        person.dismiss(failed(disk), 120)
        expect("Copy failed" in person.journal(), "the log tells of failed copies")
        expect_equal(person.journal().count("copy Done!!!\n"), 2, "how many copies have ended")
        other = box.disk("other")
        until(lambda: person.disks() == [other], 30, "only the other player is listed")
        person.eject()
        until(lambda: other not in box.disks(), 30, "the other player is off")
    box.expect_prepared("other", book)


@scenario
def pulled_between_wipe_and_format(box):
    book = make_book(box, chapters=1)
    with operator(box) as person:
        disk = _begin(box, person, "victim")
        box.call("await_head", "victim", True, then_pull=True)
        _end(box, person, book, failed(disk), formats=2, copied=4, done=1, **_either(person))


def _either(person):
    """The pull hits the end of the wipe or what follows it: either step may be the one that fails."""
    until(lambda: person.alert_text() is not None, 120, "the summary")
    step = "wipe_failures" if "dd operation failed.\n" in person.journal() else "format_failures"
    return {step: 1}


@scenario
def pulled_during_the_format(box):
    book = make_book(box, chapters=1)
    with operator(box) as person:
        disk = _begin(box, person, "victim", **BIG)
        box.call("await_head", "victim", True, 90.0, timeout=100)
        box.call("await_head", "victim", False, 90.0, then_pull=True, timeout=100)
        _end(box, person, book, failed(disk), formats=2, format_failures=1, copied=4, done=1)


def _swap(box, person, port, disk):
    """Pulls the player and puts a foreign disk into its port, which gets the player's disk name."""
    box.call("remove", "victim", keep=True)
    until(lambda: not box.disks(), 20, "the player's disk has gone")
    box.player("foreign", port=port, content={"system": "ext4", "label": "photos"}, **FOREIGN)
    expect_equal(box.disk("foreign"), disk, "the foreign disk's name")
    until(lambda: person.disks() == [], 20, "the pulled player has left the list")


def _tick_victim(box, person):
    """Everything is ready to start on one player; returns its port and its disk."""
    port = box.player("victim")
    disk = box.disk("victim")
    person.wait_for_players(1)
    person.add_folder(BOOK)
    person.click("All")
    return port, disk


@scenario
def swapped_before_start(box):
    make_book(box, chapters=1)
    with operator(box) as person:
        port, disk = _tick_victim(box, person)
        _swap(box, person, port, disk)
        with box.unchanged("foreign", "victim"):
            person.start()
            person.dismiss(COMPLETED, 60)
        person.expect_commands(0)
        person.expect_log()


@scenario
def swapped_while_the_panel_is_open(box):
    make_book(box, chapters=1)
    with operator(box) as person:
        port, disk = _tick_victim(box, person)
        person.ask()
        _swap(box, person, port, disk)
        with box.unchanged("foreign", "victim"):
            person.click("OK")
            person.dismiss(COMPLETED, 60)
        person.expect_commands(0)
        person.expect_log()


def _swap_during_a_run(box, hold, commands, failure):
    """Swaps while what hold() has frozen is held; how many commands root has been asked for by then
    and at the end, and the step that has to fail."""
    make_book(box, chapters=1)
    with operator(box) as person:
        port, disk = _tick_victim(box, person)
        person.start()
        held = hold()
        person.expect_commands(commands[0])
        _swap(box, person, port, disk)
        with box.unchanged("foreign", "victim"):
            box.call("thaw", held)
            person.dismiss(failed(disk), 90)
        person.expect_commands(commands[1])
        person.expect_log(formats=1, **{failure: 1})


@scenario
def swapped_during_authentication(box):
    hold = lambda: box.call("freeze", PASSWORD_CHECK)  # noqa: E731
    _swap_during_a_run(box, hold, (0, 1), "wipe_failures")


def _root_shell(box):
    return box.call("freeze_successor", "pkexec", "sh")


@scenario
def swapped_between_authentication_and_command(box):
    _swap_during_a_run(box, lambda: _root_shell(box), (1, 1), "wipe_failures")


@scenario
def swapped_between_wipe_and_format(box):
    def hold():
        box.call("await_head", "victim", True)
        box.call("await_none", "fillstation-age")
        return _root_shell(box)

    _swap_during_a_run(box, hold, (2, 2), "format_failures")
