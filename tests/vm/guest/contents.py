"""The contents of media, now and in future."""

import errno
import hashlib
import os
import pathlib
import random
import shutil
import stat
import subprocess
import tempfile

import gadgets
import shelves

TABLES = {"mbr": "label: dos\nstart=2048, type=c\n", "gpt": "label: gpt\nstart=2048\n"}
PARTITION_OFFSET = 2048 * 512
BLOCK = 1 << 16
CODA = 1 << 16  # bytes
ZEROS = bytes(BLOCK)
FORMATTERS = {
    "fat32": ["mkfs.fat", "-F32", "-n"],
    "ext4": ["mkfs.ext4", "-q", "-F", "-L"],
}


def fill(name, size_mb=64, table=None, system=None, label="", shelf=None):
    """Makes a player's medium: a partition table or none, a file system or none, recognisable bytes.

    shelf: where it lies, for one that is to fail; see shelves.make."""
    if shelf:
        (gadgets.BACKING / name).symlink_to(shelves.make(name, **shelf))
    path = gadgets.BACKING / name
    with open(path, "wb") as medium:
        medium.truncate(size_mb << 20)
    if table:
        subprocess.run(["sfdisk", "-q", path], input=TABLES[table], text=True, check=True)
    if system:
        _format(path, system, label, PARTITION_OFFSET if table else 0, size_mb)
    with open(path, "r+b") as medium:
        medium.seek((size_mb << 20) - 4096)
        medium.write(f"medium of {name}\n".encode() * 100)


def find_again(name):
    """A medium that has outlived the box."""
    (gadgets.BACKING / name).symlink_to(shelves.make(name, "found"))


def _format(path, system, label, offset, size_mb):
    command = [*FORMATTERS[system], label]
    if offset:
        part = f"{path}.part"
        with open(part, "wb") as medium:
            medium.truncate((size_mb - 2) << 20)
        subprocess.run([*command, part], check=True, stdout=subprocess.DEVNULL)
        copy = ["dd", f"if={part}", f"of={path}", f"seek={PARTITION_OFFSET // 4096}", "bs=4k"]
        subprocess.run([*copy, "conv=notrunc,sparse", "status=none"], check=True)
        os.unlink(part)
    else:
        subprocess.run([*command, path], check=True, stdout=subprocess.DEVNULL)


def digest(name):
    """The SHA-256 of a whole medium: of its size, and of each block that is not all zeros, with its place."""
    sha = hashlib.sha256()
    with open(gadgets.BACKING / name, "rb", buffering=0) as medium:
        size = medium.seek(0, os.SEEK_END)
        sha.update(f"{size}\n".encode())
        for place in _places(medium, size):
            block = os.pread(medium.fileno(), BLOCK, place)
            if block != ZEROS[: len(block)]:
                sha.update(f"{place}\n".encode() + block)
    return sha.hexdigest()


def _places(medium, size):
    """The places of a medium's blocks, without unwritten parts, which are zeros."""
    place, regular = 0, stat.S_ISREG(os.fstat(medium.fileno()).st_mode)
    while place < size:
        if regular:
            try:
                place = os.lseek(medium.fileno(), place, os.SEEK_DATA) // BLOCK * BLOCK
            except OSError as failure:
                if failure.errno != errno.ENXIO:  # no more data
                    raise
                return
        yield place
        place += BLOCK


def keep(name):
    """Keeps a copy of a medium, for differing(); returns its SHA-256."""
    subprocess.run(["cp", "--sparse=always", gadgets.BACKING / name, _kept(name)], check=True)
    return digest(name)


def differing(name):
    """The number of bytes of a medium that differ from the stored ones."""
    with open(gadgets.BACKING / name, "rb") as medium, open(_kept(name), "rb") as kept:
        pairs = zip(iter(lambda: medium.read(4096), b""), iter(lambda: kept.read(4096), b""))
        return sum(sum(a != b for a, b in zip(*pair)) for pair in pairs if pair[0] != pair[1])


def _kept(name):
    return gadgets.BACKING / f"{pathlib.Path(name).name}.kept"


def audio_book(folder, chapters=3, tracks=4, track_kb=96, seed=1, coda=False):
    """Makes a book: folders of numbered tracks, a cover that is no track. Returns what a player gets.

    With a coda the last track is a small file. The answer is in playing order: [path, size, SHA-256],
    a folder with neither.
    """
    root = pathlib.Path(folder)
    shutil.rmtree(root, ignore_errors=True)
    source = random.Random(seed)
    expected = []
    for chapter in range(1, chapters + 1):
        expected.append([f"Chapter {chapter}", None, None])
        (root / f"Chapter {chapter}").mkdir(parents=True)
        sizes = [track_kb * 1024 + track for track in range(1, tracks + 1)]
        for track, size in enumerate(sizes + [CODA] * (coda and chapter == chapters), 1):
            name = f"Chapter {chapter}/{track} Über die Straße.mp3"
            data = source.randbytes(size)
            (root / name).write_bytes(data)
            expected.append([name, len(data), hashlib.sha256(data).hexdigest()])
        (root / f"Chapter {chapter}/cover.jpg").write_bytes(b"no track")
    subprocess.run(["chown", "-R", "player:", root], check=True)
    return expected


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


def _entries(medium, system):
    options = "ro,loop,utf8" if system == "vfat" else "ro,loop"
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["mount", "-o", options, medium, folder], check=True)
        try:
            return list(_walk(folder))
        finally:
            subprocess.run(["umount", folder], check=True)


def read_back(name):
    """What another machine would find: the medium's file system, its check and its entries [path, size,
    SHA-256] in directory order; behind a partition table nothing."""
    medium = gadgets.BACKING / name
    probe = ["blkid", "-p", "-s", "TYPE", "-o", "value", medium]
    system = subprocess.run(probe, capture_output=True, text=True, check=False).stdout.strip()
    check = subprocess.run(["fsck.fat", "-n", medium], capture_output=True, text=True, check=False)
    return {
        "type": system,
        "fsck": check.returncode,
        "fsck_said": check.stdout + check.stderr,
        "entries": _entries(medium, system) if system else [],
    }
