"""The tests' helper as root in the box: reads one request per line, writes one answer per line."""

import json
import os
import pathlib
import select
import shutil
import socket
import subprocess
import sys
import time

import contents
import faults
import gadgets
import processes
import shelves
from answers import answer_to, obey, operations, run

PORT = "/dev/virtio-ports/box.helper"
SESSION = "/run/user/1000/box-session"
LENT = "/run/box-hand"


def session(request, timeout=60):
    """Hands a request to the helper inside the user's session."""
    with socket.socket(socket.AF_UNIX) as link:
        link.settimeout(timeout)
        link.connect(SESSION)
        link.sendall(json.dumps(request).encode() + b"\n")
        answer = json.loads(link.makefile("rb").readline())
    if "error" in answer:
        raise RuntimeError(answer["error"])
    return answer["result"]


def session_ready():
    return os.path.exists(SESSION)


def journal_cursor():
    shown = run(["journalctl", "-n", "0", "--show-cursor", "-q"])["out"]
    return shown.partition("cursor: ")[2].strip()


def journal_since(cursor):
    """The messages since then, each as [identifier, text]."""
    argv = ["journalctl", "-o", "json", "--all", "-q", f"--after-cursor={cursor}"]
    rows = [json.loads(line) for line in run(argv)["out"].splitlines()]
    return [[row.get("SYSLOG_IDENTIFIER", ""), _message(row.get("MESSAGE"))] for row in rows]


def _message(value):
    return bytes(value).decode(errors="surrogateescape") if isinstance(value, list) else value or ""


def write_file(path, text):
    pathlib.Path(path).write_text(text, encoding="utf-8")


def lend(owner):
    """From now on the hands obey a user of the box, too."""
    os.chmod(gadgets.BACKING, 0o711)
    server = socket.socket(socket.AF_UNIX)
    server.bind(LENT)
    os.chmod(LENT, 0o600)
    shutil.chown(LENT, owner)
    server.listen()
    lent.append(server)


def meanwhile(name, op, *args, **named):
    """Begins an operation; "joined" with that name waits for its answer."""
    faults.meanwhile(name, lambda: OPERATIONS[op](*args, **named))


def uptime():
    return float(pathlib.Path("/proc/uptime").read_text(encoding="ascii").split()[0])


lent = []
OPERATIONS = operations(processes, shelves, gadgets, contents, faults, sys.modules[__name__])


def serve(port):
    pending = b""
    while True:
        ready, _, _ = select.select([port, *lent], [], [])
        if ready != [port]:
            obey(ready[-1], OPERATIONS)
            continue
        data = os.read(port, 1 << 16)
        if not data:
            time.sleep(0.05)
            continue
        *lines, pending = (pending + data).split(b"\n")
        for line in lines:
            _send(port, answer_to(line, OPERATIONS))


def _send(port, data):
    while data:
        data = data[os.write(port, data) :]


def main():
    subprocess.run(["modprobe", "-a", "dummy_hcd", "libcomposite", "usb_f_mass_storage"], check=True)
    while not os.path.exists(PORT):
        time.sleep(0.05)
    serve(os.open(PORT, os.O_RDWR))


main()
