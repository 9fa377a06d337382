"""The Debian package, on a machine that has never seen the program, from its install to its end."""

import pathlib
import sys
import time

from flows import COMPLETED, failed
from scenario import BOOK, make_book, operator, short_scenario
from waiting import expect, expect_equal, until

sys.path.append(str(pathlib.Path(__file__).parents[1] / "docs"))
from commands import commands_for_the_box  # noqa: E402

INSTALL = "sudo apt install ./fillstation_*.deb"
REPAIR = "sudo apt install --reinstall ./fillstation_*.deb"
PURGE = "sudo apt purge fillstation"
NAME_SLOTS = "fillstation-slots | sudo tee /etc/udev/rules.d/61-fillstation-slots.rules"
ENTRY = "fillstation.desktop"
AGENT = "/usr/libexec/fillstation/fillstation-agent"
FOLDER = "/root/download"
# The places where Debian's own tools store their state.
OF_OTHERS = ("/dev", "/proc", "/run", "/sys", "/tmp", "/box", "/var/log", "/var/cache/apt",
             "/var/cache/debconf", "/var/lib/apt", "/var/lib/dpkg", "/var/lib/systemd",
             "/var/lib/udisks2", "/media")
# An automounter that obeys UDisks2's hints, as those of the large desktops do.
AUTOMOUNTER = """{"device_config": [{"should_automount": false, "automount": false}]}"""
STRANGERS = {
    "vendor": {"vendor": "OTHERS", "content": {"system": "fat32", "label": "VENDOR"}},
    "product": {"product": "USB Flash Disk", "content": {"system": "fat32", "label": "PRODUCT"}},
}
PLAYERS = {
    "parted": {"content": {"table": "mbr", "system": "fat32", "label": "PARTED"}},
    "nameless": {"content": {"system": "fat32", "label": "NAMELESS"}, "product": None},
}


def _files(box):
    """Every file of the machine, except the state of Debian's own tools and volumes."""
    left_out = " -o ".join(f"-path {folder}" for folder in OF_OTHERS)
    return set(box.root(f"find / \\( {left_out} \\) -prune -o -print").splitlines())


def _run(box, command):
    """A command that a person types, in the folder with the package, and agrees to."""
    box.root(f"cd {FOLDER} && yes | {command}", 300)


def _expect_rule(box, node, holds):
    said = box.root(f"udevadm info --query=property /dev/{node}").splitlines()
    expect_equal("UDISKS_AUTO=0" in said, holds, f"whether {node} is kept from automounters")
    options = [line for line in said if line.startswith("UDISKS_MOUNT_OPTIONS_VFAT_DEFAULTS=")]
    expect_equal(len(options), int(holds), f"the mount options for {node}: {options}")


def _plug(box):
    """Two players and two strangers while an automounter runs; the players' disks."""
    box.call("write_file", "/tmp/udiskie.yml", AUTOMOUNTER)
    box.session("start", "udiskie", "udiskie --no-tray --no-notify -c /tmp/udiskie.yml".split())
    disks = list(box.players(PLAYERS).values())
    strangers = set(box.players(STRANGERS).values())
    until(lambda: strangers <= set(box.mounted()), 60, "the strangers have been mounted")
    for disk in disks:
        _expect_rule(box, disk, True)
    _expect_rule(box, f"{disks[0]}1", True)
    for disk in strangers:
        _expect_rule(box, disk, False)
    expect_equal(set(box.mounted()), strangers, "what has been mounted")
    box.session("stop", "udiskie")
    return disks


def _expect_mounts_without_flush(box, disks):
    """The players' volumes; the strangers' show that there is something to leave out."""
    for disk, node in box.mounted().items():
        options = box.root(f"findmnt -no OPTIONS --source {node}").strip().split(",")
        expect_equal("flush" in options, disk not in disks, f"flush among {options} of {node}")
        for option in ("uid=1000", "gid=1000", "shortname=mixed", "utf8", "showexec"):
            expect(option in options, f"{option} is among {options} of {node}")


def _try_commands(box, disk, ends):
    """The commands of the documents, as they are written there."""
    for command, how in commands_for_the_box():
        if how.ends != ends:
            continue
        typed = command.replace("/dev/sdX", f"/dev/{disk}").replace(" Audio ", f" '{BOOK}' ")
        if ends:
            done = box.call("run", ["sh", "-c", typed])
            expect_equal(done["status"], 0, f"{command}: {done['err']}")
        else:
            done = box.user(f"timeout 20 {typed}")
        said = done["out"] + done["err"]
        expect(how.says in said, f"{command} says {how.says!r}, and not only {said!r}")


def _await_said(box, text):
    said = "cat /tmp/tour 2>/dev/null || true"
    until(lambda: text in box.root(said), 60, f"fillstation-slots says {text!r}")


def _name_two_slots(box):
    """A player is plugged into two slots as the command asks for it; from then on they have numbers."""
    box.call("fill", "visitor")
    box.call("add", "visitor")
    box.call("meanwhile", "tour", "run", ["sh", "-c", f"({NAME_SLOTS}) 2>/tmp/tour"], 120)
    _await_said(box, "Plug a player into slot 1.")
    time.sleep(2)  # it doesn't say from when on it listens to udev
    for port, said in ((20, "Slot 1 is"), (21, "Slot 2 is"), (20, "2 slots.")):
        box.call("plug", "visitor", port)
        _await_said(box, said)
        box.unplug("visitor")
    done = box.call("joined", "tour", timeout=150)
    expect_equal(done["status"], 0, f"the status of {NAME_SLOTS}: {done}")
    box.root("udevadm control --reload")  # which udev does by itself, every three seconds at most
    box.call("plug", "visitor", 21)
    box.disk("visitor")
    said = box.root("udevadm info --query=property -p /sys/devices/platform/dummy_hcd.21/usb*/*-1")
    expect("FILLSTATION_SLOT=2" in said.splitlines(), f"the second slot has its number:\n{said}")
    box.call("remove", "visitor")
    box.root(f"rm {NAME_SLOTS.split()[-1]}")


def _whole_run(box, book, disks):
    with operator(box, ENTRY) as person:
        person.prepare(2)
        person.start(password="not the password")
        person.dismiss(failed(*person.ticked()), 180)
        person.start()
        person.dismiss(COMPLETED, 180)
        _expect_mounts_without_flush(box, disks)
        _try_commands(box, disks[0], ends=True)
        person.eject_filled(book, PLAYERS)


@short_scenario
def the_package(box):
    book = make_book(box, chapters=1)
    box.user("touch fillstation.out fillstation.err udiskie.out udiskie.err")
    box.root(f"mkdir {FOLDER} && cp /box/in/bin/fillstation_*.deb {FOLDER}")
    before = _files(box)
    _run(box, INSTALL)
    installed = _files(box) - before
    expect("/usr/bin/fillstation" in installed, f"the program is among {sorted(installed)}")
    box.root(f"rm {AGENT}")
    _run(box, REPAIR)
    expect_equal(_files(box) - before, installed, "what is installed after a repair")
    _whole_run(box, book, _plug(box))
    _try_commands(box, "", ends=False)
    _name_two_slots(box)
    _run(box, "apt remove fillstation")
    expect_equal(_files(box) ^ before, set(), "what has come or gone after the removal")
    _run(box, INSTALL)
    _run(box, PURGE)
    expect_equal(_files(box) ^ before, set(), "what has come or gone after the purge")
    shown = box.call("run", ["dpkg-query", "-W", "fillstation"])
    expect_equal(shown["status"], 1, f"dpkg knows nothing of it: {shown['out']}")
