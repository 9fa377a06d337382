"""The user's desktop session in the box, and the tests' hands in it."""

import os
import pathlib
import shlex
import socket
import subprocess
import sys
import time

import accessibility
from answers import obey, operations, run  # noqa: F401
from gi.repository import Gio

DISPLAY = ":0"
SCREEN = "1280x900x24"
SOCKET = f"/run/user/{os.getuid()}/box-session"
started = {}


def start(name, argv, environment=None):
    """Starts a program of the session; its output goes to files in the home folder."""
    with open(f"{name}.out", "wb") as out, open(f"{name}.err", "wb") as err:
        started[name] = subprocess.Popen(
            argv, env=os.environ | (environment or {}), stdin=subprocess.DEVNULL, stdout=out, stderr=err
        )
    return started[name].pid


def command_of(entry):
    """The command of a desktop entry, as a menu would start it."""
    return shlex.split(Gio.DesktopAppInfo.new(entry).get_commandline())


def status(name):
    """None while it runs, else its exit status."""
    return started[name].poll()


def output(name):
    texts = []
    for stream in ("out", "err"):
        with open(f"{name}.{stream}", encoding="utf-8", errors="surrogateescape") as file:
            texts.append(file.read())
    return texts


def stop(name):
    """Ends a program, by force where it must be; returns its exit status."""
    process = started[name]
    process.terminate()
    try:
        return process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
        return "killed"


def tree(name, roles=None):
    """The windows of a started program."""
    return accessibility.tree(started[name].pid, roles)


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
        known = operations(accessibility, sys.modules[__name__])
        while True:
            obey(server, known)


main()
