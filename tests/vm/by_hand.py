"""Opens the box for a person: a few players are plugged in, and the program runs."""

import argparse
import pathlib
import shutil

import image
from box import ADMIN, ADMIN_PASSWORD, Box
from flows import Operator
from scenario import BOOK, make_book

OUT = image.CACHE / "by-hand"
NETWORK = "ip link set eth0 up; ip address add 10.0.2.15/24 dev eth0"
SERVER = "x11vnc -quiet -forever -shared -noxdamage -localhost -nopw -bg"


def _network(port):
    forward = f"hostfwd=tcp:127.0.0.1:{port}-10.0.2.15:5900"
    return ["-netdev", f"user,id=look,restrict=on,{forward}", "-device", "virtio-net-pci,netdev=look"]


def _furnish(box, players):
    """Players, an audio book and the program's window, ready for Start; a picture of it."""
    make_book(box)
    names = [f"PLAYER{number}" for number in range(1, players + 1)]
    box.players({name: {"content": {"system": "fat32", "label": name}} for name in names})
    person = Operator(box)
    person.open()
    person.prepare(players)
    print(f"vm: {box.picture('window')}")


def _let_in(box, port):
    box.root(NETWORK.replace("eth0", box.root("ls /sys/class/net | grep -v lo").strip()))
    box.user(SERVER.replace("-localhost ", ""))
    print(f"vm: The desktop: a VNC viewer at 127.0.0.1:{port}")
    print(f"vm: The administrator: {ADMIN}, with the password: {ADMIN_PASSWORD}")
    print(f"vm: An audio book: {BOOK}")
    print("vm: Ctrl+C closes the box", flush=True)
    box.machine.wait()


def main():
    parser = argparse.ArgumentParser(prog="tests/vm/look", description=__doc__)
    parser.add_argument("--program", required=True, type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--players", type=int, default=4, help="how many players (default: 4)")
    parser.add_argument("--port", type=int, default=5901, help="where VNC listens (default: 5901)")
    arguments = parser.parse_args()
    shutil.rmtree(OUT, ignore_errors=True)
    box = Box(arguments.program, OUT, _network(arguments.port))
    try:
        box.wait_for_session()
        _furnish(box, arguments.players)
        _let_in(box, arguments.port)
    except KeyboardInterrupt:
        pass
    finally:
        box.close()


main()
