"""Places of their own for media that are to fail: a small one, or one that can be made to stall."""

import contextlib
import pathlib
import subprocess

PLACES = pathlib.Path("/run/box-shelves")


def make(name, kind, size_mb):
    """A file system for one medium; on "tmpfs" its writes fail once that much has been written, on
    "ext4" they can be stalled. Returns the path of the medium on it."""
    place = PLACES / name
    place.mkdir(parents=True)
    if kind == "tmpfs":
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size_mb}m", "none", place], check=True)
    else:
        image = _image(name)
        with open(image, "wb") as file:
            file.truncate(size_mb << 20)
        subprocess.run(["mkfs.ext4", "-q", "-O", "^has_journal", image], check=True)
        subprocess.run(["mount", "-o", "loop", image, place], check=True)
    return place / "medium"


def stall(name):
    """From now on nothing that is written reaches the medium, and whoever writes waits."""
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
        with contextlib.suppress(FileNotFoundError):
            _image(name).unlink()


def clear_all():
    for place in PLACES.glob("*"):
        if place.is_dir():
            clear(place.name)


def _image(name):
    return PLACES / f"{name}.image"
