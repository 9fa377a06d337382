"""Faults at chosen moments of a run. An operation of these waits for its moment, and then acts."""

import contextlib
import os
import pathlib
import threading
import time

import contents
import gadgets
import processes
import shelves

POWER = pathlib.Path("/sys/power")
ACTIONS = {
    "pull": gadgets.pull,
    "protect": gadgets.protect,
    "stall": shelves.stall,
    "sleep": lambda name: sleep(),
    "nothing": lambda name: None,
}
begun = {}


def meanwhile(name, operation):
    """Runs an operation in the background; joined() returns its result."""
    result = {}

    def work():
        try:
            result["answer"] = operation()
        except Exception as failure:  # returned by joined()
            result["failure"] = failure

    begun[name] = (threading.Thread(target=work), result)
    begun[name][0].start()


def joined(name):
    """Waits for the operation of meanwhile(); returns its answer."""
    thread, result = begun.pop(name)
    thread.join()
    if "failure" in result:
        raise result["failure"]
    return result["answer"]


def sleep():
    """The machine falls asleep and wakes up five seconds later, as its kernel tests that by itself."""
    POWER.joinpath("pm_test").write_text("devices")
    with contextlib.suppress(OSError):
        POWER.joinpath("state").write_text("freeze")


def during_the_copy(moments, total, timeout):
    """Each player's [action, share] of the copy; the share that was seen then.

    A share is one of the total bytes, and tells what has been handed to the player's volume.
    """
    disks = {name: f"/dev/{gadgets.disk(name)}" for name in moments}
    waiting, seen, end = dict(moments), {}, time.monotonic() + timeout
    while waiting:
        places = _mounts()
        for name, (action, share) in list(waiting.items()):
            place = places.get(disks[name])
            found = _used(place) / total if place else 0
            if found >= share and found > 0:
                ACTIONS[action](name)
                seen[name] = found
                del waiting[name]
        if time.monotonic() >= end:
            raise TimeoutError(f"never reached: {waiting}; reached: {seen}")
        time.sleep(0.004)
    return seen


def _mounts():
    """Where the volume of each disk is mounted, by the disk's node."""
    with open("/proc/self/mounts", encoding="utf-8") as table:
        rows = [line.split(" ")[:2] for line in table if line.startswith("/dev/sd")]
    return {node.rstrip("0123456789"): place for node, place in rows}


def _used(place):
    """The bytes of a volume that are taken, its root directory apart."""
    try:
        room = os.statvfs(place)
    except OSError:
        return 0
    return (room.f_blocks - room.f_bfree - 1) * room.f_frsize


def pull_in_wipe(name, disk):
    """Pulls the player out while zeros are on their way; its medium stalls already."""
    await_writing(disk)
    gadgets.pull(name)
    shelves.unstall(name)


def pull_in_format(name, disk):
    """Pulls the player out while the file system is on its way to the wiped medium, which stalls."""
    gadgets.await_head(name, True, 300)
    time.sleep(0.5)  # half of the pause that the program makes
    shelves.stall(name)
    pull_in_wipe(name, disk)


def stall_in_flush(name, disk, total, timeout):
    """Every byte has been handed over, and some are still under way to a medium that stalls.

    The book has to end with a coda: once that begins nobody waits for the medium any more, since a
    small file is handed over without. A later stall may come after the flush.
    """
    during_the_copy({name: ["stall", 1 - contents.CODA / 2 / total]}, total, timeout)
    seen = during_the_copy({name: ["nothing", 1]}, total, timeout)
    await_writing(disk)
    return seen[name]


def pull_in_flush(name, disk, total, timeout):
    """Pulls the player out while its volume is synchronised."""
    seen = stall_in_flush(name, disk, total, timeout)
    gadgets.pull(name)
    shelves.unstall(name)
    return seen


def await_writing(disk, timeout=300.0):
    """Waits until the player has been sent something that it hasn't confirmed for a while."""
    inflight = pathlib.Path(f"/sys/block/{disk}/inflight")
    pending, end = 0, time.monotonic() + timeout
    while pending < 10:
        pending = pending + 1 if int(inflight.read_text(encoding="ascii").split()[1]) else 0
        if time.monotonic() >= end:
            raise TimeoutError(f"nothing has been sent to {disk}")
        time.sleep(0.02)


def hold_until_mounted(name, disk, program):
    """Holds the program after the format until another program has mounted the player."""
    gadgets.await_head(name, False, 300)
    held = processes.freeze(program)
    with contextlib.suppress(TimeoutError):
        processes.until(lambda: f"/dev/{disk}" in _mounts(), 20, "", 0.02)
    processes.thaw(held)
    return f"/dev/{disk}" in _mounts()
