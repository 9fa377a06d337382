"""Places of their own for media that are to fail: a small one, one that can be made to stall, or one
that lies."""

import pathlib
import subprocess
import sys

PLACES = pathlib.Path("/run/box-shelves")
PATIENCE = "600"  # seconds until the kernel gives up a medium that doesn't answer
KEPT = pathlib.Path("/box/out")  # a folder of the machine outside
LIAR = pathlib.Path(__file__).with_name("liar.py")


def make(name, kind, size_mb=0, lie=()):
    """A file system for one medium; on "tmpfs" its writes fail once that much has been written, on
    "ext4" they can be stalled, and on "kept", too, which outlives the box and is "found" again after it
    has lost its power; on "lying" it lies as it is told, see liar.py. Returns the path of the medium."""
    place = PLACES / name
    place.mkdir(parents=True)
    if kind == "tmpfs":
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size_mb}m", "none", place], check=True)
    elif kind == "lying":
        subprocess.run([sys.executable, "-B", LIAR, place, _image(name), *map(str, lie)], check=True)
    else:
        image = _image(name)
        if kind in ("kept", "found"):
            image.symlink_to(KEPT / image.name)
        if kind == "found":
            subprocess.run(["e2fsck", "-p", image], check=False, stdout=subprocess.DEVNULL)
        else:
            with open(image, "wb") as file:
                file.truncate(size_mb << 20)
            subprocess.run(["mkfs.ext4", "-q", "-O", "^has_journal", image], check=True)
        subprocess.run(["mount", "-o", "loop", image, place], check=True)
    return place / "medium"


def stall(name):
    """From now on no data reaches the medium, and writers wait."""
    for limit in pathlib.Path("/sys/block").glob("sd*/device/timeout"):
        limit.write_text(PATIENCE, encoding="ascii")
    subprocess.run(["fsfreeze", "-f", PLACES / name], check=True)


def unstall(name):
    subprocess.run(["fsfreeze", "-u", PLACES / name], check=True)


def clear(name):
    """Takes the place away; without one, nothing."""
    place = PLACES / name
    if place.exists():
        subprocess.run(["fsfreeze", "-u", place], check=False, stderr=subprocess.DEVNULL)
        subprocess.run(["umount", place], check=True)
        place.rmdir()
        image = _image(name)
        image.resolve().unlink(missing_ok=True)
        image.unlink(missing_ok=True)


def clear_all():
    for place in PLACES.glob("*"):
        if place.is_dir():
            clear(place.name)


def _image(name):
    return PLACES / f"{name}.image"
