"""The box's first file system: loads the root disk's modules and hands over to the real system."""

import lzma
import os
import pathlib

MODULES = ("virtio_pci", "virtio_blk", "crc32c_generic", "ext4")

INIT = """#!/bin/busybox sh
for folder in dev proc root; do /bin/busybox mkdir -p /$folder; done
/bin/busybox mount -t devtmpfs dev /dev
/bin/busybox mount -t proc proc /proc
if /bin/busybox grep -q box.probe /proc/cmdline; then
  echo box.probe: alive >/dev/ttyS0
  /bin/busybox poweroff -f
fi
while read -r module; do /bin/busybox insmod /$module; done </modules
until /bin/busybox mount -t ext4 /dev/vda /root; do /bin/busybox usleep 100000; done
/bin/busybox umount /proc
/bin/busybox mount -o move /dev /root/dev
exec /bin/busybox switch_root /root /sbin/init
"""


def _name(path):
    """The module's name: the file's, without .ko or .ko.xz."""
    return pathlib.Path(path).name.partition(".")[0].replace("-", "_")


def _dependencies(modules_folder):
    table = {}
    for line in (modules_folder / "modules.dep").read_text().splitlines():
        path, _, needed = line.partition(":")
        table[_name(path)] = (path, needed.split())
    return table


def _in_loading_order(modules_folder):
    table, order = _dependencies(modules_folder), []

    def add(path):
        for needed in reversed(table[_name(path)][1]):
            if needed not in order:
                add(needed)
        if path not in order:
            order.append(path)

    for name in MODULES:
        if name in table:
            add(table[name][0])
    return [modules_folder / path for path in order]


def _plain(path):
    """The module's bytes as the kernel takes them."""
    data = path.read_bytes()
    return lzma.decompress(data) if path.suffix == ".xz" else data


def _entry(name, mode, content=b"", minor=0, major=0):
    encoded = name.encode() + b"\0"
    fields = (0, mode, 0, 0, 1, 0, len(content), 0, 0, major, minor, len(encoded), 0)
    header = b"070701" + b"".join(b"%08X" % field for field in fields)
    padded = header + encoded
    padded += b"\0" * (-len(padded) % 4)
    return padded + content + b"\0" * (-len(content) % 4)


def write(root, target):
    """Writes the archive for the one kernel below the folder root to the file target."""
    modules = _in_loading_order(next((root / "lib/modules").iterdir()))
    listing = "".join(f"{_name(path)}\n" for path in modules).encode()
    entries = [
        _entry("dev", 0o40755),
        _entry("dev/console", 0o20600, major=5, minor=1),
        _entry("bin", 0o40755),
        _entry("bin/busybox", 0o100755, (root / "bin/busybox").read_bytes()),
        _entry("init", 0o100755, INIT.encode()),
        _entry("modules", 0o100644, listing),
    ]
    entries += [_entry(_name(path), 0o100644, _plain(path)) for path in modules]
    entries.append(_entry("TRAILER!!!", 0))
    with open(target, "wb") as archive:
        archive.write(b"".join(entries))
        os.fsync(archive.fileno())
