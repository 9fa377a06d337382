"""Reads a player's medium as another machine would: through a mount of its own."""

import contextlib
import hashlib
import os
import pathlib
import subprocess
import tempfile

import gadgets


def _output(*argv):
    return subprocess.run(argv, capture_output=True, text=True, check=True).stdout.strip()


@contextlib.contextmanager
def _loop(path):
    device = _output("losetup", "--find", "--show", "--partscan", "--read-only", path)
    try:
        yield device
    finally:
        subprocess.run(["losetup", "--detach", device], check=True)


def _volume(device):
    """The device itself where it holds a file system, else its first partition."""
    if _type(device):
        return device
    subprocess.run(["udevadm", "settle"], check=False)
    first = f"{device}p1"
    return first if os.path.exists(first) else device


def _type(device):
    command = ["blkid", "-p", "-s", "TYPE", "-o", "value", device]
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout.strip()


def _walk(folder, prefix=""):
    """The entries in the order that they have in their directories."""
    for entry in os.scandir(folder):
        name = prefix + entry.name
        if entry.is_dir():
            yield [name, None, None]
            yield from _walk(entry.path, name + "/")
        else:
            data = pathlib.Path(entry.path).read_bytes()
            yield [name, len(data), hashlib.sha256(data).hexdigest()]


def _entries(device):
    with tempfile.TemporaryDirectory() as folder:
        options = "ro,utf8" if _type(device) == "vfat" else "ro"
        subprocess.run(["mount", "-o", options, device, folder], check=True)
        try:
            return list(_walk(folder))
        finally:
            subprocess.run(["umount", folder], check=True)


def read_back(name):
    """The medium's file system, its check and its entries [path, size, SHA-256] in directory order."""
    with _loop(gadgets.BACKING / name) as device:
        volume = _volume(device)
        check = subprocess.run(["fsck.fat", "-n", volume], capture_output=True, text=True, check=False)
        return {
            "type": _type(volume),
            "fsck": check.returncode,
            "fsck_said": check.stdout + check.stderr,
            "entries": _entries(volume) if _type(volume) else [],
        }
