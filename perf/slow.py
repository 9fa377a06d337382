"""The rows whose players are slow."""

import os
import statistics
import threading

from outcome import Outcome, fill
from work import MIB, Missing, Volumes, make_set, need_root, say, slow_disks

SLOW = 5_000_000


def watch_dirty(volumes, done, peaks):
    while not done.is_set():
        for number, count in enumerate(volumes.dirty_bytes()):
            peaks[number] = max(peaks[number], count)
        done.wait(0.02)


def slow_players(setting, count, watch=False):
    """Seconds, the physical limit, and the most bytes of each player that were only in memory."""
    speed = setting.pick(20_000_000, SLOW)
    folder = setting.folder(f"slow{count}")
    files = setting.pick(4, 40)
    source = make_set(folder / "source", files, 5_000_000, 4)
    with slow_disks(setting.programs, folder / "disks", count, files * 5_000_000 + 16 * MIB,
                    speed) as disks:
        volumes = Volumes(folder, disks, direct=False,
                          make=("mkfs.ext4", "-q", "-F", "-m", "0", "-i", "65536", "-E",
                                "lazy_itable_init=0,nodiscard", "-O", "^has_journal,^dir_index"))
        with volumes:
            paths = volumes.fresh()
            os.sync()
            peaks = [0] * count
            done = threading.Event()
            watcher = threading.Thread(target=watch_dirty, args=(volumes, done, peaks))
            if watch:
                watcher.start()
            try:
                seconds = fill(setting, source, paths)
            finally:
                done.set()
                if watch:
                    watcher.join()
            volumes.check(source)
    return seconds, files * 5_000_000 / speed, peaks


def players(setting):
    outcome = Outcome()
    notes = []
    for count in setting.pick((1, 2), (1, 4, 16, 64)):
        turns = [slow_players(setting, count) for _ in range(min(setting.repeat, 3))]
        seconds = [turn[0] for turn in turns]
        limit = turns[0][1]
        outcome.ours.append(statistics.median(seconds))
        outcome.theirs.append(limit)
        outcome.curve[count] = (statistics.median(seconds), limit)
        notes.append(f"{count}: {statistics.median(seconds) / limit:.3f} "
                     f"({min(seconds) / limit:.3f} to {max(seconds) / limit:.3f})")
        say(f"  players {notes[-1]}")
    outcome.note = "players " + ", ".join(notes)
    outcome.also_met = max(outcome.ratios) <= 1.03
    return outcome


def dirty_pages(setting):
    need_root()
    if not os.path.isdir("/sys/kernel/debug/bdi"):
        raise Missing("debugfs is not mounted (mount -t debugfs none /sys/kernel/debug)")
    outcome = Outcome()
    for _ in range(setting.pick(1, 2)):
        peaks = slow_players(setting, setting.pick(2, 16), watch=True)[2]
        outcome.ours.append(max(peaks) / MIB)
        outcome.theirs.append(16)
    return outcome
