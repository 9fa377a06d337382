"""The rows whose players are slow."""

import contextlib
import os
import statistics
import threading

from outcome import Outcome, copy_plainly, fill
from work import (MIB, Missing, Volumes, Wrong, image_files, make_set, need_root, run, say,
                  slow_disks)

SLOW = 5_000_000


@contextlib.contextmanager
def slow_volumes(setting, folder, count, files, size, buses=()):
    """Volumes with space for this number of files, on disks that are written at slow_speed()."""
    with slow_disks(setting.programs, folder / "disks", count, files * (size + 8192) + 32 * MIB,
                    slow_speed(setting), buses) as disks, \
            Volumes(folder, disks, direct=False,
                    make=("mkfs.ext4", "-q", "-F", "-m", "0", "-N", str(files + 1000), "-E",
                          "lazy_itable_init=0,nodiscard", "-O", "^has_journal,^dir_index")) as own:
        yield own


def slow_speed(setting):
    return setting.pick(20_000_000, SLOW)


def watch_dirty(volumes, done, peaks):
    while not done.is_set():
        for number, count in enumerate(volumes.dirty_bytes()):
            peaks[number] = max(peaks[number], count)
        done.wait(0.02)


def slow_players(setting, count, watch=False):
    """Seconds, the physical limit, and the most bytes of each player that were only in memory."""
    folder = setting.folder(f"slow{count}")
    files = setting.pick(4, 40)
    source = make_set(folder / "source", files, 5_000_000, 4)
    with slow_volumes(setting, folder, count, files, 5_000_000) as volumes:
        paths = volumes.fresh()
        os.sync()
        peaks = [0] * count
        done = threading.Event()
        watcher = threading.Thread(target=watch_dirty, args=(volumes, done, peaks))
        if watch:
            watcher.start()
        try:
            seconds = fill(setting, source, paths).seconds
        finally:
            done.set()
            if watch:
                watcher.join()
        volumes.check(source)
    return seconds, files * 5_000_000 / slow_speed(setting), peaks


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
        try:
            run("mount", "-t", "debugfs", "none", "/sys/kernel/debug")  # among our own mounts only
        except Wrong as error:
            raise Missing(f"debugfs can't be mounted: {error}") from None
    outcome = Outcome()
    for _ in range(setting.pick(1, 2)):
        peaks = slow_players(setting, setting.pick(2, 16), watch=True)[2]
        outcome.ours.append(max(peaks) / MIB)
        outcome.theirs.append(16)
    return outcome


def fill_from_cold(setting, own, volumes, source, *options):
    """A run whose source is not in memory, and the bytes read from the source's medium."""
    paths = volumes.fresh()
    own.unmount()
    own.mount()
    os.sync()
    before = own.bytes_read()
    filled = fill(setting, own.paths[0], paths, *options)
    read = own.bytes_read() - before
    volumes.check(source)
    return filled, read


def read_back(setting):
    """Runs with the read back and without, in pairs: on a slow player a run scatters little."""
    need_root()
    outcome = Outcome()
    notes = []
    for files, size in setting.pick(((4, MIB), (200, 16384)), ((200, 5 * MIB), (5000, 16384))):
        folder = setting.folder("readback")
        source = make_set(folder / "source", files, size, 10)
        images = image_files(folder, 1, files * (size + 8192) // MIB * MIB + 64 * MIB)
        with Volumes(folder / "from", images) as own:
            copy_plainly(source, own.fresh())
            for count in setting.pick((1, 2), (1, 16, 64)):
                with slow_volumes(setting, folder / f"{count}", count, files, size) as volumes:
                    plain, _ = fill_from_cold(setting, own, volumes, source)
                    ours, read = fill_from_cold(setting, own, volumes, source, "--read-back")
                memory = (ours.memory - plain.memory) / 1024 / count
                outcome.ours.append(ours.seconds)
                outcome.theirs.append(1.05 * plain.seconds + 3)
                outcome.also_met &= memory <= 1 and read <= 1.1 * files * size
                notes.append(f"{count} × {files}: {ours.seconds / plain.seconds:.3f} of "
                             f"{plain.seconds:.1f} s, {ours.read_back:.1f} s "
                             f"({ours.read_back / plain.seconds:.1%}), {memory:.2f}, "
                             f"{read / files / size:.2f}")
                say(f"  {notes[-1]}")
    outcome.note = ("players × files: with ÷ without, the longest read back (of the copy's time), "
                    "MiB per player (≤ 1), source read (≤ 1.1 times): " + "; ".join(notes))
    outcome.also_met = outcome.also_met and max(outcome.ratios) <= 1
    return outcome
