"""Builds the image that the box boots, once for each recipe: a Debian 12 from packages."""

import hashlib
import os
import pathlib
import shutil
import subprocess
import tempfile
import time

import initrd

HERE = pathlib.Path(__file__).resolve().parent
PROJECT = HERE.parent.parent
CACHE = PROJECT / "build" / "vm"
SUITE = "bookworm"
SUITES = (SUITE, f"{SUITE}-updates", f"{SUITE}-security")
FREE_SPACE = 512 << 20
BLOCK = 1 << 20
LEFT_OUT = ("/usr/share/man/*", "/usr/share/doc/*", "/usr/share/locale/*")


def _recipe_files():
    named = [HERE / name for name in ("guest-packages.txt", "customize", "image.py", "initrd.py")]
    return named + sorted(path for path in (HERE / "overlay").rglob("*") if path.is_file())


def recipe_key():
    digest = hashlib.sha256()
    for path in _recipe_files():
        digest.update(str(path.relative_to(HERE)).encode() + b"\0" + path.read_bytes() + b"\0")
    return digest.hexdigest()[:16]


def packages():
    lines = (line.partition("#")[0].strip() for line in (HERE / "guest-packages.txt").open())
    return [line for line in lines if line]


def _host_sources():
    """The files of apt's own configuration that name this suite, with their mirrors and keys."""
    form = "$(RELEASE) $(CODENAME) $(SOURCESENTRY)"
    command = ["apt-get", "indextargets", "--format", form, "Created-By: Packages"]
    answer = subprocess.run(command, capture_output=True, text=True, check=False).stdout
    rows = [line.split(maxsplit=2) for line in answer.splitlines()]
    entries = [entry for *names, entry in rows if set(names) & set(SUITES)]
    files = {entry.rpartition(":")[0]: None for entry in entries}
    if not files:
        raise RuntimeError(
            f"The image needs the packages of {SUITE}, and apt has no source for them here.\n"
            f"Add one with the suite {SUITE} to /etc/apt/sources.list.d, and run: apt-get update")
    return list(files)


def _host_options():
    """What the host's apt has been told about reaching its mirror."""
    dump = subprocess.run(["apt-config", "dump"], capture_output=True, text=True, check=False).stdout
    wanted = ("Acquire::http", "Acquire::https", "Acquire::Check-")
    lines = (line.rstrip(";") for line in dump.splitlines() if line.startswith(wanted))
    return [f"--aptopt={line}" for line in lines if not line.endswith('""')]


def _bootstrap(folder):
    command = ["mmdebstrap", "--variant=minbase", f"--include={','.join(packages())}"]
    command += _host_options()
    # A file of apt's configuration may name other suites too.
    command += [f'--aptopt=APT::Default-Release "/^({"|".join(SUITES)})$/"']
    command += [f"--dpkgopt=path-exclude={pattern}" for pattern in LEFT_OUT]
    command += ["--dpkgopt=force-unsafe-io", f"--customize-hook={HERE / 'customize'} \"$1\""]
    command += [f"--customize-hook={HERE / 'pack'} \"$1\" {folder}", "--skip=cleanup/apt"]
    command += ["--format=null", SUITE, "/dev/null", *_host_sources()]
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
    target = CACHE / f"image-{recipe_key()}"
    if not target.is_dir():
        print("vm: Building the image from Debian's packages", flush=True)
        started = time.monotonic()
        _build(target)
        print(f"vm: Image built in {time.monotonic() - started:.0f} s", flush=True)
        for other in CACHE.glob("image-*"):
            if other != target:
                shutil.rmtree(other, ignore_errors=True)
    return target
