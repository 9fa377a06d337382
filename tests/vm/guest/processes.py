"""Other programs of the box, held still at a chosen moment."""

import contextlib
import os
import pathlib
import shutil
import signal
import subprocess
import time

HELD = pathlib.Path("/run/box-held")
# The first one alone can make the file.
STOPPER = """#!/bin/sh
set -C
{{ echo $$ >{folder}/process; }} 2>/dev/null && kill -STOP $$
exec {program} "$@"
"""


def named(name):
    """The processes of that name that have not ended."""
    wanted = name.encode() + b"\n"
    for process in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(OSError):
            if _content(f"/proc/{process}/comm") == wanted:
                if _content(f"/proc/{process}/cmdline"):  # one that has ended has none
                    yield int(process)


def _content(path):
    """The beginning of a small file, as fast as it can be had: others wait for the processor."""
    file = os.open(path, os.O_RDONLY)
    try:
        return os.read(file, 4096)
    finally:
        os.close(file)


def await_none(name, timeout=30.0):
    """Waits until no program of that name runs."""
    until(lambda: not list(named(name)), timeout, f"{name} still runs")


def freeze(name, timeout=30.0, when=None):
    """Waits until a program of that name runs (after one of another name), and holds it; its process id."""
    if when:
        until(lambda: list(named(when)), timeout, f"{when} never ran")
    found = until(lambda: list(named(name)), timeout, f"{name} never ran")
    os.kill(found[0], signal.SIGSTOP)
    return found[0]


def freeze_successor(name, successor, timeout=30.0):
    """Waits until a program of that name has become another one, and holds that one at once."""
    found = until(lambda: list(named(name)), timeout, f"{name} never ran")
    wanted = successor.encode() + b"\n"
    until(lambda: _content(f"/proc/{found[0]}/comm") == wanted, timeout,
          f"{name} never became {successor}", 0)
    os.kill(found[0], signal.SIGSTOP)
    return found[0]


def hold_next(path, timeout=30.0):
    """Waits until the program of that path is started, and holds it before it begins; its process id.

    The program is replaced by one that stops itself once: a look at the processes may come too late.
    """
    folder = HELD / os.path.basename(path)
    if not folder.exists():
        folder.mkdir(parents=True)
        program, stopper = folder / folder.name, folder / "stopper"
        shutil.copy2(path, program)
        stopper.write_text(STOPPER.format(folder=folder, program=program), encoding="ascii")
        stopper.chmod(0o755)
        subprocess.run(["mount", "--bind", stopper, path], check=True)
    (folder / "process").unlink(missing_ok=True)
    process = until(lambda: _number_in(folder / "process"), timeout, f"{path} never ran")
    until(lambda: _is_stopped(process), timeout, f"{path} has not stopped")
    return process


def _number_in(path):
    text = path.read_text(encoding="ascii") if path.exists() else ""
    return int(text) if text.endswith("\n") else None


def _is_stopped(process):
    return _content(f"/proc/{process}/stat").rpartition(b")")[2].split()[0] == b"T"


def await_no_holder(disks, timeout=60.0):
    """Waits until no command of root's has one of the disks open any more."""
    until(lambda: not any(map(_holders, disks)), timeout, f"somebody holds one of {disks}")


def _holders(disk):
    """The commands that work on the disk, which the guard has opened for them."""
    found = []
    for held in pathlib.Path("/proc").glob("[0-9]*/fd/9"):
        with contextlib.suppress(OSError):
            if os.readlink(held) == f"/dev/{disk}":
                found.append(held)
    return found


def thaw(process):
    with contextlib.suppress(ProcessLookupError):  # it has ended meanwhile
        os.kill(process, signal.SIGCONT)


def until(look, timeout, complaint, pause=0.005):
    """Looks again and again until the answer is true, and returns it."""
    end = time.monotonic() + timeout
    while True:
        answer = look()
        if answer:
            return answer
        if time.monotonic() >= end:
            raise TimeoutError(complaint)
        time.sleep(pause)
