"""The rows of the comparison: the work, the alternative and the goal."""

import dataclasses
import os
import pathlib
import shutil
import statistics
import subprocess
import tempfile
import time
from typing import Callable, Optional

from outcome import Outcome, copy_plainly, environment, fill, last_line
from slow import dirty_pages, players, read_back, slow_speed, slow_volumes
from work import (MIB, Volumes, Wrong, busy_seconds, check_copy, image_files, make_set, need_program,
                  need_root, say)


@dataclasses.dataclass
class Row:
    work: str
    against: str
    limit: Optional[float]
    unit: str
    run: Callable
    is_quick: Callable = lambda: True


def against_cp(setting, source, volumes, cost=None):
    """Both sides in alternation: seconds, or by how much the cost grows; the first pair warms up."""
    outcome = Outcome()
    for turn in range(setting.repeat + (0 if setting.quick else 1)):
        for side in ("ours", "theirs") if turn % 2 else ("theirs", "ours"):
            paths = volumes.fresh()
            os.sync()
            before = cost() if cost else 0
            seconds = (fill(setting, source, paths).seconds if side == "ours"
                       else copy_plainly(source, paths))
            spent = cost() - before if cost else seconds
            say(f"  {side} {seconds:.3f} s" + (f", {spent:.2f} s of processors" if cost else ""))
            volumes.check(source, in_order=side == "ours")
            getattr(outcome, side).append(spent)
    if not setting.quick:
        del outcome.ours[0], outcome.theirs[0]
    return outcome


def many_volumes(setting, files, size, folders):
    folder = setting.folder("volumes")
    count = setting.pick(2, 8)
    source = make_set(folder / "source", files, size, folders)
    room = files * size + files * 8192 + 64 * MIB
    with Volumes(folder, image_files(folder, count, room // MIB * MIB)) as volumes:
        return against_cp(setting, source, volumes)


def large_files(setting):
    return many_volumes(setting, setting.pick(20, 200), setting.pick(MIB // 2, 1024 * MIB // 200),
                        10)


def small_files(setting):
    return many_volumes(setting, setting.pick(200, 5000), 16384, setting.pick(10, 100))


def processor_time(setting):
    folder = setting.folder("processor")
    count, files = setting.pick((2, 4), (64, 40))
    source = make_set(folder / "source", files, 5_000_000, 4)
    with slow_volumes(setting, folder, count, files, 5_000_000) as volumes:
        outcome = against_cp(dataclasses.replace(setting, repeat=min(setting.repeat, 2)), source,
                             volumes, busy_seconds)
    size = count * files * 5_000_000 / 1024 / MIB
    for side in outcome.ours, outcome.theirs:
        side[:] = [seconds / size for seconds in side]
    return outcome


def shared_buses(setting):
    """Slow players that each have their speed, and as many that share two buses."""
    two = (2, 35_000_000)
    outcome = Outcome()
    notes = []
    for count, files, buses in setting.pick(((2, 4, ()), (4, 4, two)),
                                            ((64, 40, ()), (64, 16, two), (128, 8, two))):
        folder = setting.folder("buses")
        source = make_set(folder / "source", files, 5_000_000, 4)
        with slow_volumes(setting, folder, count, files, 5_000_000, buses) as volumes:
            pairs = against_cp(dataclasses.replace(setting, repeat=min(setting.repeat, 2)), source,
                               volumes)
        speed = slow_speed(setting)
        if buses:
            speed = min(speed, buses[0] * buses[1] / count)
        for side in "ours", "theirs":
            getattr(outcome, side).append(statistics.median(getattr(pairs, side)))
        notes.append(f"{count} players at {speed / 1e6:.2f} MB/s each: "
                     + " and ".join(f"{side[-1] * speed / files / 5_000_000:.3f}"
                                    for side in (outcome.ours, outcome.theirs)))
    outcome.note = "ours and `cp`, each ÷ (bytes ÷ speed): " + "; ".join(notes)
    outcome.also_met = max(outcome.ratios) <= 1
    return outcome


def source_reads(setting):
    need_root()
    folder = setting.folder("reads")
    files, size, count = setting.pick((10, MIB // 2, 2), (50, 5 * MIB, 16))
    source = make_set(folder / "source", files, size, 5)
    outcome = Outcome()
    with Volumes(folder / "from", image_files(folder / "from", 1, files * size + 64 * MIB)) as own, \
            Volumes(folder, image_files(folder, count, files * size + 64 * MIB)) as volumes:
        copy_plainly(source, own.fresh())
        for _ in range(min(setting.repeat, 3)):
            paths = volumes.fresh()
            own.unmount()
            own.mount()
            os.sync()
            pathlib.Path("/proc/sys/vm/drop_caches").write_text("3\n")
            before = own.bytes_read()
            fill(setting, own.paths[0], paths)
            outcome.ours.append((own.bytes_read() - before) / MIB)
            outcome.theirs.append(files * size / MIB)
            volumes.check(source)
    return outcome


def in_the_box(setting, row):
    """Measured in the machine of tests/vm, with real FAT and USB players."""
    for program in ("qemu-system-x86_64", "mmdebstrap"):
        need_program(program)
    import boxed  # which needs tests/vm
    build = setting.programs.parent.parent
    return boxed.measure(build, build / "box", min(setting.repeat, 3), [row])[row]


def flush_mount(setting):
    figures = in_the_box(setting, "flush")
    floor = figures.pop("floor")
    return Outcome(**figures, note=f"without `flush`, `cp -r` and `sync -f` take {floor:.1f} s")


def fat_players(setting):
    return Outcome(**in_the_box(setting, "fat"))


def arrivals(setting):
    figures = in_the_box(setting, "arrivals")
    known = figures.pop("known")
    return Outcome(**figures, note=f"udev knew the last disk after {known:.1f} s")


def commands(setting):
    figures = in_the_box(setting, "commands")
    bare = figures.pop("bare")
    return Outcome(**figures, note=f"with nothing to run, ours take {bare:.1f} s")


def whole_run(setting):
    outcome = Outcome(**in_the_box(setting, "whole"))
    outcome.allowance = 5
    longer = statistics.median(outcome.ours) - statistics.median(outcome.theirs)
    outcome.note = (f"{longer:.1f} s longer, of which {outcome.allowance} s are the pauses that a "
                    "format always makes")
    return outcome


def make_names(folder, files, folders):
    """Empty files with the names of an audio library."""
    for number in range(folders):
        part = folder / f"Author {number % 97} - Book number {number}"
        part.mkdir(parents=True)
        for chapter in range(files // folders):
            os.close(os.open(part / f"{chapter + 1:03} Chapter {chapter + 1}.mp3",
                             os.O_CREAT | os.O_WRONLY))


def choosing(setting):
    folder = setting.folder("choose")
    tree = folder / "tree"
    make_names(tree, setting.pick(1000, 100_000), setting.pick(50, 5000))
    outcome = Outcome()
    ours, theirs = folder / "ours.txt", folder / "theirs.txt"
    for turn in range(setting.repeat + 1):
        with open(theirs, "wb") as file:
            begin = time.monotonic()
            subprocess.run(["find", tree, "-printf", r"%p\t%s\n"], stdout=file, check=True)
            outcome.theirs.append(time.monotonic() - begin)
        seconds, _, _ = last_line([setting.program("perf_choose"), "mp3", tree, ours],
                                  folder / "log")
        outcome.ours.append(seconds)
        found = sorted(line for line in theirs.read_bytes().split(b"\n") if b".mp3\t" in line)
        if sorted(ours.read_bytes().split(b"\n")[:-1]) != found:
            raise Wrong("what was chosen is not what find lists")
        log = (folder / "log").read_bytes().count(b"\nfile://")
        if log != setting.pick(1050, 105_000):
            raise Wrong(f"the log has {log} entries")
        if turn == 0:  # warms up
            outcome = Outcome()
            if setting.quick:
                outcome = Outcome(ours=[seconds], theirs=[seconds])
                break
    return outcome


def node_memory(setting):
    folder = pathlib.Path(tempfile.mkdtemp(prefix="fillstation-perf-", dir="/dev/shm"))
    try:
        make_names(folder, setting.pick(10_000, 1_000_000), setting.pick(100, 10_000))
        _, nodes, size = last_line([setting.program("perf_choose"), "mp3", folder], "/dev/null")
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    if nodes != setting.pick(10_100, 1_010_000):
        raise Wrong(f"{nodes:.0f} nodes")
    return Outcome(ours=[size], theirs=[400])


def player_memory(setting):
    """MiB that a further player adds to the most that a run needs, onto folders in memory."""
    count = setting.pick(2, 16)
    folder = pathlib.Path(tempfile.mkdtemp(prefix="fillstation-perf-", dir="/dev/shm"))
    outcome = Outcome()
    try:
        make_names(folder / "source", setting.pick(1000, 100_000), setting.pick(10, 1000))

        def most(players):
            paths = [folder / f"player{number}" for number in range(players)]
            for path in paths:
                path.mkdir()
            memory = fill(setting, folder / "source", paths).memory / 1024
            for path in paths:
                check_copy(folder / "source", path, in_order=False)
                shutil.rmtree(path)
            return memory

        for _ in range(min(setting.repeat, 3)):
            outcome.ours.append((most(count) - most(1)) / (count - 1))
            outcome.theirs.append(0.2)
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    return outcome


def reports(setting):
    tasks, each = setting.pick((4, 50), (64, 5000))
    outcome = Outcome()
    late = []
    for _ in range(setting.repeat):
        for side, name in ((outcome.theirs, "bare"), (outcome.ours, "ours")):
            micros, lateness, shown = last_line(
                [setting.program("perf_reports"), name, tasks, each], setting.work / "reports.log")
            side.append(micros)
            if name == "ours":
                late.append(lateness)
                if shown != 100:
                    raise Wrong(f"the last report says {shown:.0f} percent")
    outcome.note = f"timer late by {statistics.median(late):.1f} ms at the 99th percentile (≤ 50)"
    outcome.also_met = statistics.median(late) <= 50
    return outcome


def window(setting):
    """The main thread's seconds of a processor in a run's seconds."""
    tasks, each = setting.pick((4, 10), (64, 100))
    outcome = Outcome()
    late = []
    without = []
    for _ in range(setting.repeat):
        for mode in "rows", "norows":
            share, lateness, _ = last_line(
                [setting.program("perf_reports"), mode, tasks, each], setting.work / "window.log")
            if mode == "rows":
                outcome.ours.append(share)
                outcome.theirs.append(1)
                late.append(lateness)
            else:
                without.append(share)
    rows = statistics.median(outcome.ours) - statistics.median(without)
    outcome.note = (f"of it the rows {100 * rows:.2f} % (≤ 1); timer late by "
                    f"{statistics.median(late):.1f} ms at the 99th percentile (≤ 50)")
    outcome.also_met = rows <= 0.01 and statistics.median(late) <= 50
    return outcome


def painted(program, words):
    """Milliseconds from the start of the program to its word that the window is painted."""
    begin = time.monotonic()
    with subprocess.Popen([program, *words], env=environment(), stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL) as process:
        for line in process.stdout:
            if line.strip().endswith(b"painted"):
                return 1000 * (time.monotonic() - begin)
    raise Wrong("the window was not painted")


def first_window(setting):
    folder = setting.folder("bench")
    program = setting.program("perf_window")
    outcome = Outcome()
    empty = []
    for _ in range(setting.pick(1, 4 * setting.repeat + 1)):
        outcome.ours.append(painted(program, ["ours", folder]))
        outcome.theirs.append(painted(program, ["text"]))
        empty.append(painted(program, ["bare"]))
    outcome.note = f"an empty window takes {statistics.median(empty):.1f} ms"
    return outcome


ROWS = {
    "large": Row("8 volumes × 1 GiB in 200 files, until durable",
                 "`cp -r --preserve=timestamps` to each in parallel, `sync -f` of each", None, "s",
                 large_files),
    "small": Row("8 volumes × 5,000 files of 16 KiB, until durable", "the same", 1.1, "s",
                 small_files),
    "players": Row("1, 4, 16, 64 players of 5 MB/s, 200 MB each", "bytes ÷ 5 MB/s", 1.03, "s",
                   players),
    "processor": Row("processor seconds per GiB put on 64 players of 5 MB/s, 200 MB each",
                     "`cp` and `sync -f` as above", 1.1, "s", processor_time),
    "buses": Row("64 players of 5 MB/s, and 64 and 128 that share two buses of 35 MB/s",
                 "`cp` and `sync -f` as above", 1, "s", shared_buses),
    "reads": Row("bytes read from the source's medium, 16 players, cold cache",
                 "the set's bytes", 1.1, "MiB", source_reads),
    "flush": Row("300 files of 16 KiB onto FAT mounted with `flush`", "`cp -r`, `sync -f`", 0.1,
                 "s", flush_mount, lambda: False),
    "fat": Row("1,000 files of 16 KiB onto each of 4 FAT players, without `flush`",
               "`cp -r` and `sync -f` to each in parallel", 1, "s", fat_players, lambda: False),
    "arrivals": Row("31 players plugged in at once, from the kernel's last disk to the last row",
                    "the described pauses", 1.2, "s", arrivals, lambda: False),
    "commands": Row("the 62 commands of 31 players",
                    "62 times `pkexec true`, with polkit's agent for terminals", 1.8, "s", commands,
                    lambda: False),
    "whole": Row("4 real FAT players, Start to summary", "a shell script of the same steps", None,
                 "s", whole_run, lambda: False),
    "readback": Row("1, 16, 64 players of 5 MB/s (10 MB/s and 1 ms a command read), 200 files of 5 "
                    "MiB and 5,000 of 16 KiB, read back", "1.05 × the same not read back + 3 s", 1,
                    "s", read_back),
    "choose": Row("choosing a folder of 100,000 files, log to a file",
                  "`find -printf '%p\\t%s\\n'` to a file", 1.1, "s", choosing),
    "memory": Row("memory per file node, a million files chosen", "400 bytes", 1, "bytes",
                  node_memory),
    "growth": Row("memory per further player, 100,000 files", "0.2 MiB", 1, "MiB", player_memory),
    "window": Row("the main thread during a run of 64 players, off screen", "a whole processor",
                  0.02, "", window),
    "reports": Row("64 tasks × 5,000 reports, per report",
                   "as many blocking `invokeMethod` calls by as many threads, one at a time", 1.3, "µs",
                   reports),
    "dirty": Row("most dirty memory of a player, 16 slow players", "16 MiB", 1, "MiB",
                 dirty_pages),
    "start": Row("start to first painted window, off screen", "a Qt window with a line of text", 1.3,
                 "ms", first_window),
}
