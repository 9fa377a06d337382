"""Runs the scenarios in the box and prints what came of them."""

import argparse
import collections
import contextlib
import pathlib
import shutil
import sys
import threading
import time
import traceback

import image
import outcomes
from box import Box
from scenario import SCENARIOS

import scenarios_runs  # noqa: F401
import scenarios_credentials  # noqa: F401
import scenarios_arrivals  # noqa: F401
import scenarios_services  # noqa: F401
import scenarios_views  # noqa: F401
import scenarios_access  # noqa: F401
import scenarios_faults  # noqa: F401
import scenarios_swaps  # noqa: F401
import scenarios_exits  # noqa: F401
import scenarios_contract  # noqa: F401
import scenarios_package  # noqa: F401

OUT = image.CACHE / "out"


def _arguments():
    parser = argparse.ArgumentParser(prog="tests/vm/run", description=__doc__)
    parser.add_argument("--program", required=True, type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--test", required=True, type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--package", required=True, type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--list", action="store_true", help="names the scenarios")
    parser.add_argument("--boxes", type=int, default=2, help="machines side by side (default: 2)")
    parser.add_argument("names", nargs="*", metavar="NAME", help="a scenario; without one, all")
    return parser.parse_args()


def _selected(names):
    known = {each.name: each for each in SCENARIOS}
    unknown = [name for name in names if name not in known]
    if unknown:
        sys.exit(f"There is no scenario {', '.join(unknown)}; --list names them.")
    return [known[name] for name in names] or SCENARIOS


def _boot(program, extras, out):
    started = time.monotonic()
    box = Box(program, out, tests=extras)
    try:
        box.wait_for_session()
    except Exception:
        box.close()
        raise
    kind = "with" if box.machine.accelerated else "without"
    print(f"vm: Booted in {time.monotonic() - started:.0f} s, {kind} acceleration", flush=True)
    return box


def _shown(node, depth=0):
    extra = [str(node[key]) for key in ("text", "value") if node.get(key) is not None]
    line = f"{'  ' * depth}{node['role']} {node['name']!r} {' '.join(node['states'] + extra)}\n"
    return line + "".join(_shown(child, depth + 1) for child in node["children"])


def _keep_evidence(box, name):
    """A picture, the window's tree and the journal of a failed scenario."""
    try:
        box.picture(f"failed-{name}")
        folder = box.out / f"failed-{name}"
        folder.mkdir(exist_ok=True)
        (folder / "journal").write_text(box.root("journalctl -b --no-pager -o short-monotonic"))
        if box.person is not None:
            tree = "".join(map(_shown, box.person.windows()))
            (folder / "window").write_text(tree)
            for stream, text in zip(("stdout", "stderr"), box.person.output()):
                (folder / stream).write_text(text, errors="surrogateescape")
    except Exception:  # the failure itself is what counts
        traceback.print_exc()


def _attempt(box, scenario):
    """What came of it, and in how many seconds."""
    started = time.monotonic()
    try:
        scenario.run(box)
        box.clear()
        outcome = "passed"
    except Exception:
        traceback.print_exc()
        _keep_evidence(box, scenario.name)
        outcome = "FAILED"
    return outcome, time.monotonic() - started


class Workshop:
    """Boxes side by side: each takes the next scenario, in a fresh machine after a failure."""

    def __init__(self, program, extras, scenarios):
        self._program, self._extras = program, extras
        self._waiting = collections.deque(scenarios)
        self.rows = {}
        self.outcomes = {}

    def run(self, boxes):
        workers = [threading.Thread(target=self._work, args=(OUT / f"box{n + 1}",)) for n in range(boxes)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()

    def _next(self):
        with contextlib.suppress(IndexError):
            return self._waiting.popleft()
        return None

    def _work(self, out):
        box = None
        try:
            while scenario := self._next():
                self.rows[scenario.name] = ("FAILED", 0)
                box = box or _boot(self._program, self._extras, out)
                self.rows[scenario.name] = row = _attempt(box, scenario)
                self.outcomes[scenario.name], box.outcomes = box.outcomes, []
                print(f"vm: {scenario.name}: {row[0]} in {row[1]:.0f} s", flush=True)
                if row[0] != "passed":
                    box.close()
                    box = None
        except Exception:  # a box that does not come up fails its scenario, not the others
            traceback.print_exc()
        finally:
            if box is not None:
                box.close()


def main():
    arguments = _arguments()
    if arguments.list:
        print("\n".join(each.name for each in SCENARIOS))
        return 0
    shutil.rmtree(OUT, ignore_errors=True)
    started = time.monotonic()
    scenarios = _selected(arguments.names)
    image.ensure()
    extras = [arguments.test, arguments.package]
    workshop = Workshop(arguments.program, extras, scenarios)
    workshop.run(min(arguments.boxes, len(scenarios)))
    rows = [(each.name, *workshop.rows.get(each.name, ("not run", 0))) for each in scenarios]
    outcomes.write(row for each in scenarios for row in workshop.outcomes.get(each.name, ()))
    width = max(len(each.name) for each in scenarios)
    for name, outcome, seconds in rows:
        print(f"{name:<{width}}  {outcome:<7}  {seconds:6.0f} s")
    print(f"{'all':<{width}}           {time.monotonic() - started:6.0f} s")
    return 0 if all(outcome == "passed" for _, outcome, _ in rows) else 1


sys.exit(main())
