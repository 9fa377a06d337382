"""Runs programs that may hang, flood their output or leave children behind."""

import os
import select
import signal
import subprocess
import time
from pathlib import Path

MARK = "FILLSTATION_MUTANT"
LIMITS = ["prlimit", f"--as={16 << 30}", f"--fsize={16 << 30}", "--core=0"]
KEPT_OUTPUT = 1 << 24  # more than the list of all tests takes


def run(command, folder, environment=None, mark="", seconds=None):
    """(exit status or None after the time-out, the beginning of the output). No process of the
    command is left behind: its group ends, and every process that carries the mark."""
    environment = {**os.environ, **(environment or {}), MARK: mark}
    process = subprocess.Popen(
        [*LIMITS, *command], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
    try:
        output = _read(process, None if seconds is None else time.monotonic() + seconds)
        return process.poll(), output.decode(errors="replace")
    finally:
        _end(process, mark)


def _read(process, deadline):
    """What the process prints until it ends or the deadline passes."""
    output = b""
    pipe = process.stdout.fileno()
    while True:
        ended = process.poll() is not None
        is_late = deadline is not None and time.monotonic() > deadline
        if select.select([pipe], [], [], 0 if ended else 0.05)[0]:
            chunk = os.read(pipe, 1 << 16)
            output += chunk[: KEPT_OUTPUT - len(output)] if len(output) < KEPT_OUTPUT else b""
            if not chunk and not ended:
                time.sleep(0.05)  # it has closed its output, and goes on
        else:
            chunk = b""
        if is_late or (ended and not chunk):
            return output


def _end(process, mark):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()
    process.stdout.close()
    if mark:
        end_marked(mark)


def end_marked(mark):
    """Ends every process that carries the mark, those that left their group on their own too."""
    while found := list(marked(mark)):
        for process in found:
            try:
                os.kill(process, signal.SIGKILL)
            except ProcessLookupError:
                pass


def marked(mark):
    wanted = f"{MARK}={mark}".encode()
    for folder in Path("/proc").iterdir():
        if folder.name.isdigit() and int(folder.name) != os.getpid():
            try:
                if wanted in (folder / "environ").read_bytes().split(b"\0"):
                    yield int(folder.name)
            except OSError:
                continue
