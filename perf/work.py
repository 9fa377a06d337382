"""The tools of the rows: source sets, volumes on loop devices, and the comparison of results."""

import concurrent.futures
import contextlib
import os
import pathlib
import random
import re
import shutil
import subprocess
import time

MIB = 1 << 20


class Missing(Exception):
    """Something that a measurement needs is not there."""


class Wrong(Exception):
    """A wrong result."""


def say(text):
    print(f"compare: {text}", flush=True)


def run(*command, **options):
    """The command's standard output; Wrong when it fails."""
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True,
                          **options)
    if done.returncode != 0:
        raise Wrong(f"{' '.join(map(str, command))}: status {done.returncode} "
                    f"{done.stderr.strip()[-300:]}")
    return done.stdout


def need_root():
    if os.geteuid() != 0:
        raise Missing("loop devices and mounts need root")
    if not os.path.exists("/dev/loop-control"):
        raise Missing("this machine has no loop devices (/dev/loop-control)")
    if not may_mount():
        raise Missing("nothing can be mounted here")


def may_mount():
    """Root in a container often may not."""
    return subprocess.run(["unshare", "--mount", "true"], capture_output=True,
                          check=False).returncode == 0


def need_program(name):
    if shutil.which(name) is None:
        raise Missing(f"the program {name} is not installed")


def busy_seconds():
    """Of all processors, but for the program of the slow disks: real ones need none.

    Counted from the idle time, which the kernel measures. What it counts as busy is a guess at each
    tick of its clock, and misses work that begins at a tick and ends before the next."""
    fields = pathlib.Path("/proc/stat").read_text().split()
    ticks = -sum(int(fields[index]) for index in (4, 5, 8))  # idle, waiting for a disk, stolen
    for comm in pathlib.Path("/proc").glob("[0-9]*/comm"):
        with contextlib.suppress(OSError):
            if comm.read_text() == "perf_slowdisks\n":
                fields = (comm.parent / "stat").read_text().split()
                ticks -= int(fields[13]) + int(fields[14])
    return time.monotonic() * os.cpu_count() + ticks / os.sysconf("SC_CLK_TCK")


def make_set(folder, files, size, folders):
    """A source set: files of equal size in folders, random bytes, each with another time."""
    generator = random.Random(f"{files} {size}")
    folder.mkdir(parents=True)
    for number in range(files):
        part = folder / f"Part {number % folders + 1} (of {folders})"
        part.mkdir(exist_ok=True)
        path = part / f"{number // folders + 1} Chapter & verse {number}.mp3"
        path.write_bytes(generator.randbytes(size))
        stamp = 1_500_000_000 * 10**9 + generator.randrange(10**17) // 100 * 100
        os.utime(path, ns=(stamp, stamp))
    return folder


def play_order(name):
    """Names by bytes, runs of digits by their value."""
    return [(0, int(part), "") if part.isdigit() else (1, 0, part)
            for part in re.split(r"(\d+)", name) if part]


def check_copy(source, target, in_order=True, time_step=1):
    """Contents, names and times of every file, and the order that the directories have."""
    run("diff", "-rq", "--no-dereference", "--exclude=lost+found", source, target)
    for folder, folders, files in os.walk(source):
        copied = pathlib.Path(target) / os.path.relpath(folder, source)
        for name in files:
            there = (copied / name).stat().st_mtime_ns
            wanted = os.stat(os.path.join(folder, name)).st_mtime_ns
            if there // time_step != wanted // time_step:
                raise Wrong(f"{copied / name}: the modification time is not that of the source")
        names = [entry.name for entry in os.scandir(copied) if entry.name != "lost+found"]
        if in_order and names != sorted(folders + files, key=play_order):
            raise Wrong(f"{copied}: the directory is not in play order: {names[:5]} …")


def loop_device(image, direct):
    option = "--direct-io=" + ("on" if direct else "off")
    try:
        return run("losetup", "--find", "--show", option, image).strip()
    except Wrong as wrong:
        raise Missing(f"no loop device to be had: {wrong}") from None


class Volumes:
    """File systems of their own, each on a loop device over a file; a context."""

    def __init__(self, folder, images, make=("mkfs.ext4", "-q", "-F", "-m", "0", "-E",
                                             "lazy_itable_init=0,nodiscard",
                                             "-O", "^has_journal,^dir_index"),
                 mount_options="noatime", direct=True):
        need_root()
        need_program(make[0])
        self.folder, self.images, self.make = pathlib.Path(folder), list(images), make
        self.options, self.direct = mount_options, direct
        self.devices, self.paths = [], []

    def __enter__(self):
        try:
            for number, image in enumerate(self.images):
                path = self.folder / f"volume{number}"
                path.mkdir(parents=True, exist_ok=True)
                self.paths.append(path)
                self.devices.append(loop_device(image, self.direct))
        except BaseException:
            self.__exit__()
            raise
        return self

    def fresh(self):
        """Empty file systems, mounted."""
        self.unmount()
        together([(*self.make, device) for device in self.devices])
        self.mount()
        return self.paths

    def mount(self):
        for device, path in zip(self.devices, self.paths):
            run("mount", "-o", self.options, device, path)

    def unmount(self):
        together([("umount", path) for path in self.paths if os.path.ismount(path)])

    def check(self, source, **how):
        """Compares the contents of the media, not of the memory."""
        self.unmount()
        self.mount()
        with concurrent.futures.ThreadPoolExecutor(len(self.paths)) as pool:
            list(pool.map(lambda path: check_copy(source, path, **how), self.paths))

    def dirty_bytes(self):
        """The bytes of each volume that are only in memory, as the kernel counts them."""
        counts = []
        for device in self.devices:
            numbers = os.stat(device).st_rdev
            text = pathlib.Path(f"/sys/kernel/debug/bdi/{os.major(numbers)}:{os.minor(numbers)}"
                                "/stats").read_text()
            values = dict(re.findall(r"(\w+):\s+(-?\d+)", text))
            counts.append(1024 * (int(values["BdiWriteback"]) + int(values["BdiReclaimable"])))
        return counts

    def bytes_read(self):
        """The bytes that were read from all devices since they were made."""
        stats = [pathlib.Path(f"/sys/block/{os.path.basename(device)}/stat").read_text().split()
                 for device in self.devices]
        return sum(int(stat[2]) * 512 for stat in stats)

    def __exit__(self, *_):
        with contextlib.suppress(Wrong):
            self.unmount()
        for device in self.devices:
            subprocess.run(["losetup", "--detach", device], check=False)


def together(commands):
    """Runs the commands at the same time."""
    processes = [subprocess.Popen([str(word) for word in command], stdout=subprocess.DEVNULL)
                 for command in commands]
    failed = [command for command, process in zip(commands, processes) if process.wait() != 0]
    if failed:
        raise Wrong(f"{' '.join(map(str, failed[0]))} failed")


def image_files(folder, count, size):
    """Files for volumes, with all their blocks allocated."""
    folder.mkdir(parents=True, exist_ok=True)
    images = []
    for number in range(count):
        image = folder / f"image{number}"
        with open(image, "wb") as file:
            os.posix_fallocate(file.fileno(), 0, size)
        images.append(image)
    return images


@contextlib.contextmanager
def slow_disks(programs, folder, count, size, bytes_per_second, buses=()):
    """Files that are written at this speed and read at twice the speed; their paths.

    buses: how many share the files, and the bytes per second of each; none is as fast as needed."""
    need_root()
    if not os.path.exists("/dev/fuse"):
        raise Missing("this machine has no /dev/fuse for the slow disks")
    folder.mkdir(parents=True, exist_ok=True)
    # Real disks don't wait for a processor.
    server = subprocess.Popen(["nice", "--adjustment=-20", programs / "perf_slowdisks", folder,
                               str(count), str(size >> 20), str(bytes_per_second),
                               str(2 * bytes_per_second), *map(str, buses)])
    try:
        for _ in range(100):
            if os.path.ismount(folder):
                break
            time.sleep(0.05)
        else:
            raise Missing("the slow disks can't be mounted")
        yield [folder / f"disk{number}" for number in range(count)]
    finally:
        for _ in range(100):  # a detached loop device lets go of its file a moment later
            if subprocess.run(["umount", folder], check=False, capture_output=True).returncode == 0:
                break
            time.sleep(0.1)
        else:
            subprocess.run(["umount", "--lazy", folder], check=False)
            server.kill()
        server.wait()
