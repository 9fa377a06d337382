"""Inside the box, as root: box_guest.py OPTIONS FILES REPEAT DISK… fills FAT volumes that are mounted so.

The last line is {"ours": […], "theirs": […]}, in seconds.
"""

import json
import pathlib
import shutil
import subprocess
import sys
import time

from work import check_copy, make_set, run, together

HERE = pathlib.Path(__file__).resolve().parent
FOLDER = pathlib.Path("/tmp/perf")
TWO_SECONDS = 2 * 10**9  # the resolution of FAT's times


def ours(source, volumes):
    with open(FOLDER / "log", "wb") as log:
        done = subprocess.run([HERE / "perf_fill", "mp3", source, *volumes], check=True,
                              stdout=subprocess.PIPE, stderr=log,
                              env={"QT_QPA_PLATFORM": "offscreen"})
    return float(done.stdout.splitlines()[-1].split()[0])


def theirs(source, volumes):
    begin = time.monotonic()
    together([("cp", "-r", "--preserve=timestamps", f"{source}/.", volume) for volume in volumes])
    together([("sync", "-f", volume) for volume in volumes])
    return time.monotonic() - begin


def mount(options, places):
    for disk, volume in places.items():
        run("mount", "-o", options, disk, volume)


def main(options, files, repeat, *disks):
    source = make_set(FOLDER / "source", int(files), 16384, 10)
    places = {disk: FOLDER / f"volume{number}" for number, disk in enumerate(disks)}
    volumes = list(places.values())
    for volume in volumes:
        volume.mkdir()
    figures = {"ours": [], "theirs": []}
    for turn in range(int(repeat) + 1):
        for side in (ours, theirs):
            together([("mkfs.fat", "-F32", disk) for disk in disks])
            mount(options, places)
            seconds = side(source, volumes)
            together([("umount", volume) for volume in volumes])
            mount(options, places)
            for volume in volumes:
                check_copy(source, volume, in_order=side is ours, time_step=TWO_SECONDS)
            together([("umount", volume) for volume in volumes])
            print(f"{side.__name__} {seconds:.3f} s", flush=True)
            if turn:  # the first pair warms up
                figures[side.__name__].append(seconds)
    shutil.rmtree(FOLDER)
    print(json.dumps(figures))


main(*sys.argv[1:])
