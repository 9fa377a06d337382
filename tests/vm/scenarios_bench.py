"""A bench whose slots have numbers: how it gets and keeps them, and how they name the failed players."""

import random
import re
import time

from faultrun import FaultRun
from scenario import SLOW, make_book, operator, scenario
from waiting import expect, expect_equal, until

TOUR, REPORT = "/box/in/bin/fillstation-slots", "/box/in/bin/fillstation-report"
RULES = "/etc/udev/rules.d/61-fillstation-slots.rules"
SLOT = re.compile(r"Slot (\d+) · ")
PORTS = 32  # as many as the emulated controllers have
SMALL = {"system": "fat32", "size_mb": 18}

# A rule as an administrator may write it, for the port of one emulated controller.
RULE = ('SUBSYSTEM=="usb", ENV{{DEVTYPE}}=="usb_device", DEVPATH=="*/dummy_hcd.{port}/*-1", '
        'ENV{{FILLSTATION_SLOT}}="{slot}"\n')
FILLED, FAILED, TICK_FAILED = "✓ Filled", "✗ Failed", "Tick the Failed"
LIE = {"size_mb": 1024, "shelf": {"kind": "lying", "lie": ["drops", 8 << 10]}}
WHOLE = [f"whole{number}" for number in range(6)]
PLAYERS = {**{name: {} for name in WHOLE[:3]}, "pulled": SLOW, "liar": {"content": LIE},
           **{name: {} for name in WHOLE[3:]}}
PLACES = {name: port for port, name in enumerate(PLAYERS)}
SLOTS = {name: 11 + port for name, port in PLACES.items()}


def _install(box, rule):
    box.call("write_file", RULES, rule)
    box.root("udevadm control --reload")


def _slots_shown(person):
    """The number that each row begins with, by its disk; none for a row without one."""
    found = {row.disk: SLOT.match(row.name) for row in person.players()}
    return {disk: match and int(match.group(1)) for disk, match in found.items()}


def _expect_slots(box, person, slots):
    person.wait_for_players(len(slots), 300)
    wanted = {box.disk(name): slot for name, slot in slots.items()}
    expect_equal(_slots_shown(person), wanted, "the slot of each row, by its disk")


def _await_said(box, text):
    until(lambda: text in box.session("output", "tour")[1], 60, f"the tour says {text!r}")


def _tour(box, ports):
    """Plugs each player into its port when the command asks for it, and then the first one again.

    Returns the rule, and the seconds that it took by the clock of the box."""
    box.session("start", "tour", [TOUR])
    until(lambda: box.user("pgrep -x udevadm")["status"] == 0, 30, "somebody listens to udev")
    time.sleep(2)  # it doesn't say from when on it listens
    began = box.call("uptime")
    for slot, (name, port) in enumerate(ports.items(), 1):
        box.call("plug", name, port)
        _await_said(box, f"Slot {slot} is USB ")
    first = next(iter(ports))
    box.unplug(first)
    box.plug_again(first)
    until(lambda: box.session("status", "tour") is not None, 60, "the tour has ended")
    seconds = box.call("uptime") - began
    rule, said = box.session("output", "tour")
    expect_equal(box.session("status", "tour"), 0, f"the status of the tour, which said:\n{said}")
    return rule, seconds


def _plug_again(box, person, names, count):
    """Pulls players out, until their rows have gone, and plugs them in again."""
    box.unplug(*names)
    person.wait_for_players(count - len(names), 120)
    box.plug_again(*names)


@scenario
def slots_of_a_bench(box):
    """A slot keeps its number when players arrive and leave, and when the machine restarts."""
    names = [f"player{number}" for number in range(1, PORTS + 1)]
    # So that a slot's number isn't its controller's.
    ports = dict(zip(names, random.Random(1).sample(range(PORTS), PORTS)))
    slots = {name: slot for slot, name in enumerate(names, 1)}
    for name in names:
        box.call("fill", name, **SMALL)
        box.call("add", name)
    rule, seconds = _tour(box, ports)
    print(f"vm: slots_of_a_bench: {PORTS} slots in {seconds:.0f} s", flush=True)
    _install(box, rule)
    with operator(box) as person:
        person.enlarge()
        _expect_slots(box, person, dict.fromkeys(names))  # which had been plugged in before
        # A hundred times in all.
        for again in (names, names, names, *([name] for name in names[:4])):
            _plug_again(box, person, again, PORTS)
            _expect_slots(box, person, slots)
        box.picture("slots")
    box.root("sync")
    box.cut_power()
    for name, port in reversed(ports.items()):
        box.player(name, port=port, content=SMALL)
    with operator(box) as person:
        person.enlarge()
        _expect_slots(box, person, slots)


def _come_back(box, person, name):
    """A player that was pulled out is plugged in again; its row."""
    box.call("remove", name, keep=True)
    box.call("add", name, **PLAYERS[name])
    box.call("plug", name, PLACES[name])
    disk = box.disk(name)
    until(lambda: disk in person.disks(), 60, f"{name} is listed again")
    return next(row for row in person.players() if row.disk == disk)


def _expect_report(box, failures):
    """The report names every failure, by slot: with port, disk, and a reason of this form."""
    done = box.user(REPORT)
    said = done["out"]
    expect_equal(done["status"], 0, f"the status of the report: {done['err']}")
    expect(f"{len(WHOLE)} of {len(PLAYERS)} players filled" in said, f"the players are counted:\n{said}")
    lines = [line.split(maxsplit=6) for line in said.splitlines()]
    failed = {line[0]: line[1:] for line in lines if line[3:4] == ["failed"]}
    expect_equal(set(failed), set(failures), f"the slots that failed:\n{said}")
    for slot, (port, disk, reason) in failures.items():
        expect_equal(failed[slot][:2], [port, f"/dev/{disk}"], f"the port and the player of slot {slot}")
        expect(re.fullmatch(reason, failed[slot][-1]), f"the reason has the form {reason!r}:\n{said}")


@scenario
def the_operator_finds_what_failed(box):
    """Rows, "Tick the Failed" and the report agree afterwards."""
    book = make_book(box, chapters=2, tracks=3, track_kb=2048)
    _install(box, "".join(RULE.format(port=PLACES[name], slot=SLOTS[name]) for name in PLAYERS))
    for name, traits in PLAYERS.items():
        box.player(name, port=PLACES[name], **traits)
    with operator(box) as person:
        person.enlarge()
        person.prepare(len(PLAYERS))
        _expect_slots(box, person, SLOTS)
        ports = {row.disk: row.port for row in person.players()}
        run = FaultRun(box, person, book, PLAYERS)
        person.ask()
        total = sum(size for _, size, _ in book if size is not None)
        box.call("meanwhile", "copy", "during_the_copy", {"pulled": ["pull", 0.3]}, total, 300)
        run.begin()
        seen = box.call("joined", "copy", timeout=330)["pulled"]
        run.case("pulled", f"pulled at {seen:.0%} of the copy, and looked for afterwards")
        run.case("liar", "8 MiB that claim to be 1 GiB, and looked for afterwards")
        run.end(600)
        # A player's row vanishes with it.
        wanted = {**{run.disk(name): FILLED for name in WHOLE}, run.disk("liar"): FAILED}
        expect_equal({row.disk: row.state for row in person.players()}, wanted, "what the rows say")
        again = _come_back(box, person, "pulled")
        expect_equal((again.state, again.ticked), ("", False), "what the row of the pulled player says")
        person.click(TICK_FAILED, role=None)
        until(lambda: person.ticked() == [run.disk("liar")], 30, "those that failed are ticked alone")
        failures = {"pulled": r"copy: Chapter .+\.mp3: .+", "liar": r"check: Chapter .+"}
        _expect_report(box, {str(SLOTS[name]): (ports[run.disk(name)], run.disk(name), reason)
                             for name, reason in failures.items()})
