"""The user's desktop session in the box, and the tests' hands in it."""

import contextlib
import json
import os
import pathlib
import signal
import socket
import subprocess
import time
import traceback

import accessibility
from gi.repository import Gio, GLib

DISPLAY = ":0"
SCREEN = "1280x900x24"
SOCKET = f"/run/user/{os.getuid()}/box-session"
started = {}


def run(argv, timeout=60, text=None):
    """Runs a command as the user, in the session."""
    done = subprocess.run(
        argv, input=text, capture_output=True, text=True, errors="surrogateescape", timeout=timeout
    )
    return {"status": done.returncode, "out": done.stdout, "err": done.stderr}


def start(name, argv, environment=None):
    """Starts a program of the session; its output goes to files in the home folder."""
    with open(f"{name}.out", "wb") as out, open(f"{name}.err", "wb") as err:
        started[name] = subprocess.Popen(
            argv, env=os.environ | (environment or {}), stdin=subprocess.DEVNULL, stdout=out, stderr=err
        )
    return started[name].pid


class Launched:
    """A program that a desktop has started, with what is needed of a Popen."""

    def __init__(self, pid):
        self.pid = pid
        self._status = None

    def poll(self):
        if self._status is None:
            ended, status = os.waitpid(self.pid, os.WNOHANG)
            self._status = os.waitstatus_to_exitcode(status) if ended else None
        return self._status

    def wait(self, timeout=None):
        end = time.monotonic() + (timeout or 60)
        while self.poll() is None:
            if time.monotonic() >= end:
                raise subprocess.TimeoutExpired("launched", timeout)
            time.sleep(0.05)
        return self._status

    def send_signal(self, number):
        os.kill(self.pid, number)

    def kill(self):
        self.send_signal(signal.SIGKILL)


def launch(name, entry, environment=None):
    """Starts a program by its desktop entry, as a menu does; its output goes where start() puts it."""
    context = Gio.AppLaunchContext()
    for key, value in (environment or {}).items():
        context.setenv(key, value)
    pids = []
    with open(f"{name}.out", "wb") as out, open(f"{name}.err", "wb") as err:
        Gio.DesktopAppInfo.new(entry).launch_uris_as_manager_with_fds(
            [], context, GLib.SpawnFlags.DO_NOT_REAP_CHILD, None, None,
            lambda _, pid, *more: pids.append(pid), None, -1, out.fileno(), err.fileno())
    started[name] = Launched(pids[0])
    return pids[0]


def status(name):
    """None while it runs, else its exit status."""
    return started[name].poll()


def output(name):
    texts = []
    for stream in ("out", "err"):
        with open(f"{name}.{stream}", encoding="utf-8", errors="surrogateescape") as file:
            texts.append(file.read())
    return texts


def stop(name, number=signal.SIGTERM, timeout=10):
    """Ends a program, by force where it must be; returns its exit status."""
    process = started[name]
    process.send_signal(number)
    try:
        return process.wait(timeout)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
        return "killed"


def tree(name, roles=None):
    """The windows of a started program."""
    return accessibility.tree(started[name].pid, roles)


OPERATIONS = {
    "run": run,
    "start": start,
    "launch": launch,
    "status": status,
    "output": output,
    "stop": stop,
    "tree": tree,
    "place_of": accessibility.place_of,
    "details": accessibility.details,
    "act": accessibility.act,
    "put_text": accessibility.put_text,
}


def answer_to(line):
    try:
        request = json.loads(line)
        operation = OPERATIONS[request["op"]]
        return {"result": operation(*request.get("args", ()), **request.get("named", {}))}
    except Exception:  # whatever it is, the driver outside has to know it
        return {"error": traceback.format_exc()}


def open_desktop():
    log = open("desktop.log", "wb")
    streams = {"stdin": subprocess.DEVNULL, "stdout": log, "stderr": log}
    subprocess.Popen(["Xvfb", DISPLAY, "-screen", "0", SCREEN, "-nolisten", "tcp"], **streams)
    os.environ["DISPLAY"] = DISPLAY
    while not os.path.exists(f"/tmp/.X11-unix/X{DISPLAY[1:]}"):
        time.sleep(0.1)
    subprocess.run(["dbus-update-activation-environment", "--systemd", "DISPLAY"], **streams)
    ready = SOCKET + "-desktop"
    pathlib.Path(ready).unlink(missing_ok=True)
    subprocess.Popen(["openbox", "--startup", f"touch {ready}"], **streams)
    while not os.path.exists(ready):
        time.sleep(0.1)
    accessibility.bus()  # which is started by the first who asks for it


def main():
    os.chdir(os.path.expanduser("~"))
    open_desktop()
    with socket.socket(socket.AF_UNIX) as server:
        pathlib.Path(SOCKET).unlink(missing_ok=True)  # of a session before
        server.bind(SOCKET)
        os.chmod(SOCKET, 0o600)
        server.listen()
        while True:
            link, _ = server.accept()
            with link:
                line = link.makefile("rb").readline()
                with contextlib.suppress(BrokenPipeError):  # whoever asked has given up
                    link.sendall(json.dumps(answer_to(line)).encode() + b"\n")


main()
