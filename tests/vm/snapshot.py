"""The booted machine with the user's desktop, kept, so that only its making takes a boot."""

import functools
import hashlib
import os
import pathlib
import shutil
import subprocess
import tempfile
import time

import image
import machine


def _processor():
    """What the machine sees of the processor here: its clock's rate, and with acceleration all."""
    lines = pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines()
    return "".join(sorted({line for line in lines if line.startswith(("model name", "flags"))}))


def _key(base):
    version = subprocess.run([machine.QEMU, "--version"], capture_output=True, check=True).stdout
    accelerated = machine.kvm_works(base)
    digest = hashlib.sha256(f"{base} {machine.CORES} {accelerated} {_processor()}".encode() + version)
    guest = sorted((image.HERE / "guest").glob("*.py"))
    for path in (image.HERE / "machine.py", image.HERE / "snapshot.py", *guest):
        digest.update(path.read_bytes())
    return digest.hexdigest()[:16]


def _take(base, folder):
    box = machine.Machine(base, folder)
    try:
        box.wait_for_session()
        # Until everything has been started, and everything written is on the disk.
        box.call("run", ["systemctl", "is-system-running", "--wait"])
        box.call("run", ["sync"])
        box.save(folder)
    finally:
        box.close()


@functools.cache
def ensure():
    """The folder with root and memory of a machine with a desktop; takes them where they are missing."""
    base = image.ensure()
    target = image.CACHE / f"snapshot-{image.release}-{_key(base)}"
    if not target.is_dir():
        started = time.monotonic()
        folder = pathlib.Path(tempfile.mkdtemp(prefix="new-", dir=image.CACHE))
        try:
            _take(base, folder)
            os.rename(folder, target)
        finally:
            shutil.rmtree(folder, ignore_errors=True)
        print(f"vm: Booted, and kept, in {time.monotonic() - started:.0f} s", flush=True)
        for other in image.CACHE.glob(f"snapshot-{image.release}-*"):
            if other != target:
                shutil.rmtree(other, ignore_errors=True)
    return target
