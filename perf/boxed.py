#!/usr/bin/env python3
"""The rows that need real FAT and real players, measured inside the box of tests/vm.

`perf/boxed.py [--repeat N]` runs them alone and prints their figures; perf/compare does so when the
packages of the box are there.
"""

import argparse
import json
import pathlib
import shlex
import shutil
import sys
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tests/vm"))

import image  # noqa: E402
from box import Box  # noqa: E402
from flows import COMPLETED  # noqa: E402
from scenario import BOOK, make_book, operator  # noqa: E402
from waiting import expect_equal  # noqa: E402

PLAYERS = ("one", "two", "three", "four")
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


def flush_mount(box, repeat):
    """The same for one volume mounted with flush; box_guest.py does it all inside."""
    box.player("flush", content={"system": "fat32", "size_mb": 64})
    disk = box.disk("flush")
    said = box.root(f"python3 -B /box/out/perf/box_guest.py /dev/{disk} {repeat}", 900)
    box.clear()
    print("".join(f"box: flush: {line}\n" for line in said.splitlines()[:-1]), end="", flush=True)
    return json.loads(said.splitlines()[-1])


def measure(build, out, repeat, rows=("flush", "whole")):
    """{row: {"ours": […], "theirs": […]}} in seconds; build is the folder of the preset perf."""
    image.ensure()
    out = pathlib.Path(out)
    shutil.rmtree(out / "perf", ignore_errors=True)
    (out / "perf").mkdir(parents=True)
    for path in (build / "perf/programs/perf_fill", HERE / "work.py", HERE / "box_guest.py"):
        shutil.copy2(path, out / "perf")
    begin = time.monotonic()
    box = Box(build / "src/app", out)
    try:
        box.wait_for_session()
        print(f"box: ready in {time.monotonic() - begin:.0f} s, "
              f"{'with' if box.machine.accelerated else 'without'} acceleration", flush=True)
        measures = {"flush": flush_mount, "whole": whole_run}
        return {row: measures[row](box, repeat) for row in rows}
    finally:
        box.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--repeat", type=int, default=3, metavar="N")
    parser.add_argument("--build", type=pathlib.Path, default=HERE.parent / "build/release")
    parser.add_argument("--out", type=pathlib.Path, default=HERE.parent / "build/perf/box")
    parser.add_argument("rows", nargs="*", default=["flush", "whole"])
    options = parser.parse_args()
    print(json.dumps(measure(options.build, options.out, options.repeat, options.rows)))


if __name__ == "__main__":
    main()
