"""Builds the image that the box boots, once for each recipe: a Debian from packages."""

import hashlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

import initrd

HERE = pathlib.Path(__file__).resolve().parent
PROJECT = HERE.parent.parent
sys.path.append(str(PROJECT / "scripts"))
import debian  # noqa: E402

CACHE = PROJECT / "build" / "vm"
RELEASES = ("bookworm", "trixie")
FREE_SPACE = 512 << 20
BLOCK = 1 << 20
LEFT_OUT = ("/usr/share/man/*", "/usr/share/doc/*", "/usr/share/locale/*")
release = RELEASES[0]  # that the box boots; main.py may choose another one, before all else


def _recipe_files():
    named = [HERE / name for name in ("guest-packages.txt", "customize", "image.py", "initrd.py")]
    named.append(pathlib.Path(debian.__file__))
    return named + sorted(path for path in (HERE / "overlay").rglob("*") if path.is_file())


def recipe_key():
    digest = hashlib.sha256(release.encode())
    for path in _recipe_files():
        digest.update(str(path.relative_to(PROJECT)).encode() + b"\0" + path.read_bytes() + b"\0")
    return digest.hexdigest()[:16]


def packages():
    lines = (line.partition("#")[0].strip() for line in (HERE / "guest-packages.txt").open())
    return [line for line in lines if line]


def _bootstrap(folder):
    command = ["mmdebstrap", "--variant=minbase", f"--include={','.join(packages())}"]
    sources = folder / "sources"
    sources.mkdir()
    options, files = debian.arguments(release, sources)
    command += options
    command += [f"--dpkgopt=path-exclude={pattern}" for pattern in LEFT_OUT]
    command += ["--dpkgopt=force-unsafe-io", f"--customize-hook={HERE / 'customize'} \"$1\""]
    command += [f"--customize-hook={HERE / 'pack'} \"$1\" {folder}", "--skip=cleanup/apt"]
    command += ["--format=null", release, "/dev/null", *files]
    with open(folder / "bootstrap.log", "w", encoding="utf-8") as log:
        done = subprocess.run(command, stdout=log, stderr=subprocess.STDOUT, check=False)
    if done.returncode != 0:
        text = (folder / "bootstrap.log").read_text(errors="replace")
        raise RuntimeError("The image could not be built:\n" + text[-3000:])


def _write_disk(root, disk):
    used = sum(path.lstat().st_blocks * 512 for path in root.rglob("*"))
    with open(disk, "wb") as image:
        image.truncate((used * 11 // 10 + FREE_SPACE) // BLOCK * BLOCK)
    # No journal: the box throws its changes away, and never recovers from a fall.
    command = ["mke2fs", "-q", "-t", "ext4", "-O", "^has_journal", "-d", str(root), str(disk)]
    subprocess.run(command, check=True)


def pack(root, folder):
    """Turns the folder root into a bootable set of files in folder."""
    for cache in ("var/cache/apt/archives", "var/lib/apt/lists"):
        shutil.rmtree(root / cache, ignore_errors=True)
    shutil.copy(next((root / "boot").glob("vmlinuz-*")), folder / "vmlinuz")
    initrd.write(root, folder / "initrd")
    # Another view of the root, without what is mounted below it while packages are installed.
    bare = folder / "bare"
    bare.mkdir()
    subprocess.run(["mount", "--bind", str(root), str(bare)], check=True)
    try:
        _write_disk(bare, folder / "root.ext4")
    finally:
        subprocess.run(["umount", str(bare)], check=True)
    bare.rmdir()


def _build(target):
    CACHE.mkdir(parents=True, exist_ok=True)
    folder = pathlib.Path(tempfile.mkdtemp(prefix="new-", dir=CACHE))
    folder.chmod(0o755)
    try:
        _bootstrap(folder)
        os.rename(folder, target)
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def ensure():
    """The folder with vmlinuz, initrd and root.ext4 of this recipe; builds it where it is missing."""
    target = CACHE / f"image-{release}-{recipe_key()}"
    if not target.is_dir():
        print("vm: Building the image from Debian's packages", flush=True)
        started = time.monotonic()
        _build(target)
        print(f"vm: Image built in {time.monotonic() - started:.0f} s", flush=True)
        for other in CACHE.glob(f"image-{release}-*"):
            if other != target:
                shutil.rmtree(other, ignore_errors=True)
    return target
