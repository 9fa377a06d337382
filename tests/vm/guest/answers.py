"""Shared by the two helpers in the box: one line of JSON asks, and one answers."""

import contextlib
import inspect
import json
import subprocess
import traceback


def run(argv, timeout=60, text=None):
    """Runs a command as this helper's user."""
    done = subprocess.run(
        argv, input=text, capture_output=True, text=True, errors="surrogateescape", timeout=timeout
    )
    return {"status": done.returncode, "out": done.stdout, "err": done.stderr}


def operations(*modules):
    """All functions of these modules by their names; of two with one name that of the later module."""
    pairs = (inspect.getmembers(module, inspect.isfunction) for module in modules)
    return {name: each for found in pairs for name, each in found}


def answer_to(line, known):
    try:
        request = json.loads(line)
        operation = known[request["op"]]
        answer = {"result": operation(*request.get("args", ()), **request.get("named", {}))}
    except Exception:  # the driver outside gets every failure
        answer = {"error": traceback.format_exc()}
    return json.dumps(answer).encode() + b"\n"


def obey(server, known):
    """Answers one request to a socket that others connect to."""
    link, _ = server.accept()
    with link, contextlib.suppress(OSError):  # the caller has ended, or given up
        link.sendall(answer_to(link.makefile("rb").readline(), known))
