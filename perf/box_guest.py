"""Inside the box, as root: box_guest.py DISK REPEAT fills a FAT volume mounted with `flush`.

The last line is {"ours": […], "theirs": […], "floor": seconds of cp on a mount without `flush`}.
"""

import json
import pathlib
import subprocess
import sys
import time

from work import check_copy, make_set, run

HERE = pathlib.Path(__file__).resolve().parent
FOLDER = pathlib.Path("/tmp/perf")
TWO_SECONDS = 2 * 10**9  # the resolution of FAT's times
OPTIONS = "utf8=1,shortname=mixed,showexec"


def mount(disk, volume, options=f"flush,{OPTIONS}"):
    run("mount", "-o", options, disk, volume)


def ours(source, volume):
    with open(FOLDER / "log", "wb") as log:
        done = subprocess.run([HERE / "perf_fill", "mp3", source, volume], check=True,
                              stdout=subprocess.PIPE, stderr=log,
                              env={"QT_QPA_PLATFORM": "offscreen"})
    return float(done.stdout.splitlines()[-1].split()[0])


def theirs(source, volume):
    begin = time.monotonic()
    run("cp", "-r", "--preserve=timestamps", f"{source}/.", volume)
    run("sync", "-f", volume)
    return time.monotonic() - begin


def main(disk, repeat):
    volume = FOLDER / "volume"
    source = make_set(FOLDER / "source", 300, 16384, 10)
    volume.mkdir()
    figures = {"ours": [], "theirs": []}
    for turn in range(repeat + 1):
        for side in (ours, theirs):
            run("mkfs.fat", "-F32", disk)
            mount(disk, volume)
            seconds = side(source, volume)
            run("umount", volume)
            mount(disk, volume)
            check_copy(source, volume, in_order=side is ours, time_step=TWO_SECONDS)
            run("umount", volume)
            print(f"{side.__name__} {seconds:.3f} s", flush=True)
            if turn:  # the first pair warms up
                figures[side.__name__].append(seconds)
    run("mkfs.fat", "-F32", disk)
    mount(disk, volume, OPTIONS)
    figures["floor"] = theirs(source, volume)
    run("umount", volume)
    print(json.dumps(figures))


main(sys.argv[1], int(sys.argv[2]))
