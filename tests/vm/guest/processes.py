"""Other programs of the box, held still at a chosen moment."""

import os
import pathlib
import signal
import time


def _named(name):
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if (folder / "comm").read_text(encoding="utf-8").strip() == name:
                yield int(folder.name)
        except OSError:
            continue


def await_none(name, timeout=30.0):
    """Waits until no program of that name runs."""
    _await(lambda: not list(_named(name)), timeout, f"{name} still runs")


def freeze(name, timeout=30.0):
    """Waits until a program of that name runs, and holds it; returns its process id."""
    found = _await(lambda: list(_named(name)), timeout, f"{name} never ran")
    os.kill(found[0], signal.SIGSTOP)
    return found[0]


def freeze_successor(name, successor, timeout=30.0):
    """Waits until a program of that name has become another one, and holds that one at once."""
    found = _await(lambda: list(_named(name)), timeout, f"{name} never ran")
    comm = pathlib.Path(f"/proc/{found[0]}/comm")
    reads = lambda: comm.read_text(encoding="utf-8").strip() == successor  # noqa: E731
    _await(reads, timeout, f"{name} never became {successor}", pause=0)
    os.kill(found[0], signal.SIGSTOP)
    return found[0]


def thaw(process):
    os.kill(process, signal.SIGCONT)


def _await(look, timeout, complaint, pause=0.005):
    end = time.monotonic() + timeout
    while True:
        answer = look()
        if answer:
            return answer
        if time.monotonic() >= end:
            raise TimeoutError(complaint)
        time.sleep(pause)
