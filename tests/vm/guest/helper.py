"""The tests' hands as root in the box: one request a line comes in, one answer a line goes out."""

import contextlib
import json
import os
import pathlib
import select
import shutil
import socket
import subprocess
import time
import traceback

import contents
import faults
import gadgets
import processes
import readback
import shelves

PORT = "/dev/virtio-ports/box.helper"
SESSION = "/run/user/1000/box-session"
LENT = "/run/box-hand"


def run(argv, timeout=60, text=None):
    """Runs a command as root."""
    done = subprocess.run(
        argv, input=text, capture_output=True, text=True, errors="surrogateescape", timeout=timeout
    )
    return {"status": done.returncode, "out": done.stdout, "err": done.stderr}


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


def journal_since(cursor, *matches):
    """The messages since then, each as [identifier, text]."""
    argv = ["journalctl", "-o", "json", "--all", "-q", f"--after-cursor={cursor}", *matches]
    rows = [json.loads(line) for line in run(argv)["out"].splitlines()]
    return [[row.get("SYSLOG_IDENTIFIER", ""), _message(row.get("MESSAGE"))] for row in rows]


def _message(value):
    return bytes(value).decode(errors="surrogateescape") if isinstance(value, list) else value or ""


def write_file(path, text, owner=None):
    target = pathlib.Path(path)
    target.parent.mkdir(parents=True, exist_ok=True)
    target.write_text(text, encoding="utf-8")
    if owner:
        subprocess.run(["chown", owner, path], check=True)


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

OPERATIONS = {
    "run": run,
    "session": session,
    "session_ready": session_ready,
    "journal_cursor": journal_cursor,
    "journal_since": journal_since,
    "write_file": write_file,
    "lend": lend,
    "uptime": uptime,
    "fill": contents.fill,
    "find_again": contents.find_again,
    "audio_book": contents.audio_book,
    "digest": contents.digest,
    "keep": contents.keep,
    "differing": contents.differing,
    "add": gadgets.add,
    "plug": gadgets.plug,
    "pull": gadgets.pull,
    "insert": gadgets.insert,
    "protect": gadgets.protect,
    "stall": shelves.stall,
    "unstall": shelves.unstall,
    "remove": gadgets.remove,
    "remove_all": gadgets.remove_all,
    "disk": gadgets.disk,
    "await_head": gadgets.await_head,
    "meanwhile": meanwhile,
    "joined": faults.joined,
    "during_the_copy": faults.during_the_copy,
    "pull_in_wipe": faults.pull_in_wipe,
    "pull_in_format": faults.pull_in_format,
    "await_writing": faults.await_writing,
    "stall_in_format": faults.stall_in_format,
    "stall_in_flush": faults.stall_in_flush,
    "pull_in_flush": faults.pull_in_flush,
    "hold_until_mounted": faults.hold_until_mounted,
    "await_none": processes.await_none,
    "freeze": processes.freeze,
    "freeze_successor": processes.freeze_successor,
    "hold_next": processes.hold_next,
    "freeze_when": processes.freeze_when,
    "await_no_holder": processes.await_no_holder,
    "thaw": processes.thaw,
    "read_back": readback.read_back,
}


def answer_to(line):
    request = json.loads(line)
    try:
        operation = OPERATIONS[request["op"]]
        result = operation(*request.get("args", ()), **request.get("named", {}))
        return {"id": request["id"], "result": result}
    except Exception:  # whatever it is, the driver outside has to know it
        return {"id": request["id"], "error": traceback.format_exc()}


def serve(port):
    pending = b""
    while True:
        ready, _, _ = select.select([port, *lent], [], [])
        if ready != [port]:
            _obey(ready[-1])
            continue
        data = os.read(port, 1 << 16)
        if not data:
            time.sleep(0.05)
            continue
        *lines, pending = (pending + data).split(b"\n")
        for line in lines:
            _send(port, json.dumps(answer_to(line)).encode() + b"\n")


def _obey(server):
    link, _ = server.accept()
    with link:
        line = link.makefile("rb").readline()
        with contextlib.suppress(OSError):  # whoever asked has ended
            link.sendall(json.dumps(answer_to(line)).encode() + b"\n")


def _send(port, data):
    while data:
        data = data[os.write(port, data) :]


def main():
    subprocess.run(["modprobe", "-a", "dummy_hcd", "libcomposite", "usb_f_mass_storage"], check=True)
    while not os.path.exists(PORT):
        time.sleep(0.05)
    serve(os.open(PORT, os.O_RDWR))


main()
