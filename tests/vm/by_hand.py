"""Opens the box for a person: a few players are plugged in, and the program of that folder runs."""

import shutil
import sys

import image
from box import ADMIN, ADMIN_PASSWORD, Box
from flows import Operator
from scenario import BOOK, make_book

OUT = image.CACHE / "by-hand"
PLAYERS = ("PLAYER1", "PLAYER2", "PLAYER3", "PLAYER4")
PORT = 5901
DEVICES = ["-device", "virtio-net-pci,netdev=look",
           "-netdev", f"user,id=look,restrict=on,hostfwd=tcp:127.0.0.1:{PORT}-10.0.2.15:5900"]
NETWORK = "ip link set eth0 up; ip address add 10.0.2.15/24 dev eth0"
SERVER = "x11vnc -quiet -forever -shared -noxdamage -nopw -bg"


def _furnish(box):
    """Players, an audio book and the program's window, ready for Start; a picture of it."""
    make_book(box)
    box.players({name: {"content": {"system": "fat32", "label": name}} for name in PLAYERS})
    person = Operator(box)
    person.open()
    person.prepare(len(PLAYERS))
    print(f"vm: {box.picture('window')}")


def _let_in(box):
    box.root(NETWORK.replace("eth0", box.root("ls /sys/class/net | grep -v lo").strip()))
    box.user(SERVER)
    print(f"vm: The desktop: a VNC viewer at 127.0.0.1:{PORT}")
    print(f"vm: The administrator: {ADMIN}, with the password: {ADMIN_PASSWORD}")
    print(f"vm: An audio book: {BOOK}")
    print("vm: Ctrl+C closes the box", flush=True)
    box.machine.wait()


def main():
    shutil.rmtree(OUT, ignore_errors=True)
    box = Box(sys.argv[1], OUT, DEVICES)
    try:
        box.wait_for_session()
        _furnish(box)
        _let_in(box)
    except KeyboardInterrupt:
        pass
    finally:
        box.close()


main()
