#!/usr/bin/env python3
"""The rows that need real FAT and real players, measured inside the box of tests/vm.

`perf/boxed.py [--repeat N] [ROW…]` runs them alone and prints their figures; perf/compare does so when
the packages of the box are there.
"""

import argparse
import json
import pathlib
import shlex
import shutil
import statistics
import sys
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tests/vm"))

import image  # noqa: E402
from box import ADMIN, ADMIN_PASSWORD, Box  # noqa: E402
from flows import COMPLETED  # noqa: E402
from scenario import BOOK, make_book, operator  # noqa: E402
from waiting import expect_equal, until  # noqa: E402

PLAYERS = ("one", "two", "three", "four")
BENCH = [f"player{number}" for number in range(31)]
OPTIONS = "utf8=1,shortname=mixed,showexec"  # UDisks2's, without flush
# The texts and seconds of the pauses that an arrival makes.
PAUSES = {"\nno bsd name so sleeping": 0.1, "\nsleeping": 1, "\n no vol name": 0.01}
# A user's own script: the same steps for every player at the same time.
SCRIPT = """
fill() {
  udisksctl unmount -b /dev/$1 && dd if=/dev/zero of=/dev/$1 bs=4k count=10 &&
    blockdev --rereadpt /dev/$1 && mkfs.fat -F32 /dev/$1 || return
  until place=$(udisksctl mount -b /dev/$1); do sleep 0.25; done
  place=${place##* at }
  cp -r --preserve=timestamps BOOK/. "${place%.}" && sync -f "${place%.}"
}
for disk in DISKS; do fill $disk & waits="$waits $!"; done
for each in $waits; do wait $each || exit 1; done
""".replace("BOOK", shlex.quote(BOOK))


def plug_players(box):
    """Four players with a mounted volume each; their disks."""
    traits = {"content": {"system": "fat32", "size_mb": 128}}
    disks = list(box.players(dict.fromkeys(PLAYERS, traits)).values())
    for disk in disks:
        box.mount(disk)
    return disks


def journal_seconds(box, cursor):
    """From the texts of a run, by the clock of the box: from OK to the last player's end."""
    shown = box.call("run", ["journalctl", "-o", "json", "--all", "-q", f"--after-cursor={cursor}",
                             "SYSLOG_IDENTIFIER=fillstation"])["out"]
    rows = [json.loads(line) for line in shown.splitlines()]
    last = {row["MESSAGE"]: int(row["__MONOTONIC_TIMESTAMP"]) / 1e6
            for row in rows if isinstance(row["MESSAGE"], str)}
    begin = last["\nafter task call!!!!\n"]
    formatted = last["Beginning copyTask operation.\n"] - begin
    print(f"box: whole: all formatted after {formatted:.2f} s", flush=True)
    return last["done\n"] - begin


def whole_run_ours(box, book):
    plug_players(box)
    with operator(box) as person:
        person.prepare(len(PLAYERS))
        person.start()
        person.dismiss(COMPLETED, 300)
        seconds = journal_seconds(box, person.journal_start)
        person.eject_filled(book, PLAYERS)
    box.clear()
    return seconds


def whole_run_theirs(box, book):
    disks = plug_players(box)
    begin = box.call("uptime")
    box.root(SCRIPT.replace("DISKS", " ".join(disks)), 300)
    seconds = box.call("uptime") - begin
    for disk in disks:
        box.root(f"udisksctl unmount -b /dev/{disk}")
    for name in PLAYERS:
        found = box.call("read_back", name)
        expect_equal(sorted(found["entries"]), sorted(book), f"the content of {name}")
    box.clear()
    return seconds


def whole_run(box, repeat):
    """Seconds of ours and of theirs; the first pair warms up and does not count."""
    book = make_book(box, chapters=4, tracks=10, track_kb=512)
    box.root(f"find {shlex.quote(BOOK)} -name cover.jpg -delete")
    figures = {"ours": [], "theirs": []}
    for turn in range(repeat + 1):
        for side, run in (("ours", whole_run_ours), ("theirs", whole_run_theirs)):
            seconds = run(box, book)
            print(f"box: whole: {side} {seconds:.2f} s", flush=True)
            if turn:
                figures[side].append(seconds)
    return figures


def fat_volumes(box, row, repeat, options, files, names, size_mb):
    """Files of 16 KiB onto these players at the same time; box_guest.py does it all inside."""
    disks = box.players(dict.fromkeys(names, {"content": {"system": "fat32", "size_mb": size_mb}}))
    nodes = " ".join(f"/dev/{disk}" for disk in disks.values())
    said = box.root(f"python3 -B /box/out/perf/box_guest.py {options} {files} {repeat} {nodes}", 3600)
    box.clear()
    print("".join(f"box: {row}: {line}\n" for line in said.splitlines()[:-1]), end="", flush=True)
    return json.loads(said.splitlines()[-1])


def flush_mount(box, repeat):
    """As UDisks2 mounts; the floor is cp without flush."""
    figures = fat_volumes(box, "flush", repeat, f"flush,{OPTIONS}", 300, PLAYERS[:1], 64)
    floor = fat_volumes(box, "floor", 1, OPTIONS, 300, PLAYERS[:1], 64)
    return {**figures, "floor": statistics.median(floor["theirs"])}


def fat_players(box, repeat):
    return fat_volumes(box, "fat", repeat, OPTIONS, 1000, PLAYERS, 64)


def make_bench(box):
    """As many players as a bench has, not yet plugged in."""
    for name in BENCH:
        box.call("fill", name, system="fat32", size_mb=40)
        box.call("add", name)


def plug_at_once(box):
    box.root("".join(f"echo dummy_udc.{port} >/sys/kernel/config/usb_gadget/{name}/UDC\n"
                     for port, name in enumerate(BENCH)))


def arrivals_once(box):
    """Seconds from the kernel's last disk to the last row, and the described pauses among them."""
    make_bench(box)
    cursor = box.call("journal_cursor")
    with operator(box) as person:
        person.enlarge()
        before = person.output()[0]
        plug_at_once(box)
        # A look at the window takes the program's time.
        until(lambda: person.output()[0].count("end event") == before.count("end event") + len(BENCH),
              300, "every player has been handled")
        said = person.output()[0][len(before):]
        person.wait_for_players(len(BENCH))
        shown = box.root(f"journalctl -k -o json -q --after-cursor={shlex.quote(cursor)}")
        # The file of its output is written when a player has been handled.
        now, up, handled, *known = box.root(
            "date +%s.%N; cut -d' ' -f1 /proc/uptime; stat -c %.9Y /home/player/fillstation.out; "
            "stat -c %.9Y /run/udev/data/b8:*").split()
    box.clear()
    rows = [json.loads(line) for line in shown.splitlines()]
    attached = [int(row["_SOURCE_MONOTONIC_TIMESTAMP"]) / 1e6 for row in rows
                if row["MESSAGE"].endswith("Attached SCSI removable disk")]
    expect_equal(len(attached), len(BENCH), "the kernel's disks")
    last = float(now) - float(up) + max(attached)
    pauses = sum(said.count(text) * seconds for text, seconds in PAUSES.items())
    print(f"box: arrivals: the last row {float(handled) - last:.2f} s after the kernel's last disk, "
          f"udev's view of it {max(map(float, known)) - last:.2f} s, pauses {pauses:.2f} s", flush=True)
    return float(handled) - last, pauses, max(map(float, known)) - last


def arrivals(box, repeat):
    seconds, pauses, known = zip(*[arrivals_once(box) for _ in range(repeat)])
    return {"ours": seconds, "theirs": pauses, "known": statistics.median(known)}


def commands(box, repeat):
    """The two commands of each player of a bench; what a bare agent needs for as many."""
    make_bench(box)
    plug_at_once(box)
    disks = [box.disk(name, 120) for name in BENCH]
    box.root("udevadm settle -t 120", 130)
    words = box.root("; ".join(
        f"cd -P /sys/block/{disk}/device/../../../.. && "
        f"echo /dev/{disk}:$(cat busnum):$(cat devnum):$(cat /sys/block/{disk}/diskseq)"
        for disk in disks)).split()
    credentials = f"{ADMIN} {shlex.quote(ADMIN_PASSWORD)}"
    sides = {
        "ours": f"/box/in/bin/perf_commands guarded {credentials} {' '.join(words)}",
        "bare": f"/box/in/bin/perf_commands bare {credentials} {' '.join(words)}",
        "theirs": f"python3 -B /box/out/perf/box_agents.py {shlex.quote(ADMIN_PASSWORD)} {len(BENCH)}",
    }
    figures = {side: [] for side in sides}
    for turn in range(repeat + 1):
        for side, command in sides.items():
            done = box.user(command, 900)
            expect_equal(done["status"], 0, f"{side}: {done['err']}")
            print(f"box: commands: {side} {float(done['out']):.2f} s", flush=True)
            if turn:
                figures[side].append(float(done["out"]))
    box.clear()
    return {**figures, "bare": statistics.median(figures["bare"])}


MEASURES = {"flush": flush_mount, "fat": fat_players, "arrivals": arrivals, "commands": commands,
            "whole": whole_run}


def measure(build, out, repeat, rows):
    """{row: {"ours": […], "theirs": […]}} in seconds; build is the folder of the preset perf."""
    image.ensure()
    out = pathlib.Path(out)
    shutil.rmtree(out / "perf", ignore_errors=True)
    (out / "perf").mkdir(parents=True)
    programs = build / "perf/programs"
    for path in (programs / "perf_fill", *HERE.glob("box_*.py"), HERE / "work.py"):
        shutil.copy2(path, out / "perf")
    begin = time.monotonic()
    box = Box(build / "src/app", out, tests=(programs / "perf_commands",))
    try:
        box.wait_for_session()
        print(f"box: ready in {time.monotonic() - begin:.0f} s, "
              f"{'with' if box.machine.accelerated else 'without'} acceleration", flush=True)
        return {row: MEASURES[row](box, repeat) for row in rows}
    finally:
        box.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--repeat", type=int, default=3, metavar="N")
    parser.add_argument("--build", type=pathlib.Path, default=HERE.parent / "build/release")
    parser.add_argument("--out", type=pathlib.Path, default=HERE.parent / "build/perf/box")
    parser.add_argument("rows", nargs="*", metavar="ROW", default=list(MEASURES))
    options = parser.parse_args()
    print(json.dumps(measure(options.build, options.out, options.repeat, options.rows)))


if __name__ == "__main__":
    main()
