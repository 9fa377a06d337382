"""Shared by all rows: their setting, their outcome, and a run of either side."""

import dataclasses
import os
import pathlib
import shutil
import subprocess
import time
from typing import NamedTuple

from work import Wrong, together


@dataclasses.dataclass
class Setting:
    programs: pathlib.Path
    work: pathlib.Path
    repeat: int
    quick: bool

    def pick(self, small, full):
        return small if self.quick else full

    def program(self, name):
        return self.programs / name

    def folder(self, name):
        path = self.work / name
        shutil.rmtree(path, ignore_errors=True)
        path.mkdir(parents=True)
        return path


@dataclasses.dataclass
class Outcome:
    ours: list = dataclasses.field(default_factory=list)
    theirs: list = dataclasses.field(default_factory=list)
    note: str = ""
    also_met: bool = True
    allowance: float = 0  # how much slower is not slower
    problem: str = ""
    missing: bool = False
    curve: dict = dataclasses.field(default_factory=dict)

    @property
    def ratios(self):
        return [ours / theirs for ours, theirs in zip(self.ours, self.theirs)]

    @property
    def figures(self):
        return dataclasses.asdict(self)


def environment():
    return {**os.environ, "QT_QPA_PLATFORM": "offscreen"}


def last_line(command, log):
    """The numbers in the last line of a measuring program's output."""
    with open(log, "wb") as file:
        done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=file,
                              env=environment(), check=False)
    if done.returncode != 0:
        raise Wrong(f"{command[0]} ended with status {done.returncode}")
    return [float(word) for word in done.stdout.split(b"\n")[-2].split()]


class Filled(NamedTuple):
    """The output of perf_fill."""
    seconds: float  # until the volumes are filled durably
    failed: float
    read_back: float  # seconds, of the player that took longest
    memory: float  # KiB


def fill(setting, source, paths, *options):
    filled = Filled(*last_line([setting.program("perf_fill"), *options, "mp3", source, *paths],
                               setting.work / "fill.log"))
    if filled.failed:
        raise Wrong(f"{filled.failed:.0f} players failed")
    return filled


def copy_plainly(source, paths):
    """Seconds of cp to all volumes in parallel, each made durable behind it."""
    begin = time.monotonic()
    together([("cp", "-r", "--preserve=timestamps", f"{source}/.", path) for path in paths])
    together([("sync", "-f", path) for path in paths])
    return time.monotonic() - begin
