"""Runs the scenarios in the box and prints what came of them."""

import argparse
import collections
import concurrent.futures
import functools
import pathlib
import shutil
import sys
import time
import traceback

import image
import outcomes
import snapshot
from box import Box
from scenario import SCENARIOS

# The long ones first, so that all boxes end at about the same time.
import scenarios_package  # noqa: F401
import scenarios_exits  # noqa: F401
import scenarios_contract  # noqa: F401
import scenarios_bench  # noqa: F401
import scenarios_faults  # noqa: F401
import scenarios_swaps  # noqa: F401
import scenarios_access  # noqa: F401
import scenarios_runs  # noqa: F401
import scenarios_machine  # noqa: F401
import scenarios_services  # noqa: F401
import scenarios_arrivals  # noqa: F401

OUT = image.CACHE / "out"
COMMANDS = sorted((image.PROJECT / "src/commands").glob("fillstation-*"))
Row = collections.namedtuple("Row", "name outcome seconds seen")


def _arguments():
    parser = argparse.ArgumentParser(prog="tests/vm/run", description=__doc__,
                                     allow_abbrev=False)
    parser.add_argument("--program", required=True, type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--test", action="append", type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--package", required=True, type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--release", choices=image.RELEASES, default=image.release,
                        help=f"the Debian in the machine (default: {image.release})")
    parser.add_argument("--list", action="store_true", help="names the scenarios")
    parser.add_argument("--short", action="store_true", help="only those of .ci/run")
    parser.add_argument("--boxes", type=int, default=2, help="machines side by side (default: 2)")
    parser.add_argument("names", nargs="*", metavar="NAME", help="a scenario; without one, all")
    return parser.parse_args()


def _selected(names, short):
    known = {each.name: each for each in SCENARIOS}
    unknown = [name for name in names if name not in known]
    if unknown:
        sys.exit(f"There is no scenario {', '.join(unknown)}; --list names them.")
    return [known[name] for name in names] or [each for each in SCENARIOS if each.short or not short]


def _shown(node, depth=0):
    extra = [str(node[key]) for key in ("text", "value") if node.get(key) is not None]
    line = f"{'  ' * depth}{node['role']} {node['name']!r} {' '.join(node['states'] + extra)}\n"
    return line + "".join(_shown(child, depth + 1) for child in node["children"])


def _keep_evidence(box):
    """A picture, the window's tree and the journal of a failed scenario."""
    try:
        box.picture("failed")
        (box.out / "journal").write_text(box.root("journalctl -b --no-pager -o short-monotonic"))
        if box.person is not None:
            tree = "".join(map(_shown, box.person.windows()))
            (box.out / "window").write_text(tree)
            for stream, text in zip(("stdout", "stderr"), box.person.output()):
                (box.out / stream).write_text(text, errors="surrogateescape")
    except Exception:  # the failure itself is what counts
        traceback.print_exc()


def _attempt(scenario, program, extras):
    """What came of it in a box of its own, in how many seconds, and what was seen."""
    started, outcome = time.monotonic(), "FAILED"
    box = Box(program, OUT / scenario.name, tests=extras)
    try:
        box.wait_for_session()
        scenario.run(box)
        outcome = "passed"
    except Exception:
        traceback.print_exc()
        _keep_evidence(box)
    finally:
        box.close()
    seconds = time.monotonic() - started
    print(f"vm: {scenario.name}: {outcome} in {seconds:.0f} s", flush=True)
    return Row(scenario.name, outcome, seconds, box.outcomes)


def main():
    arguments = _arguments()
    image.release = arguments.release
    scenarios = _selected(arguments.names, arguments.short)
    if arguments.list:
        print("\n".join(each.name for each in scenarios))
        return 0
    shutil.rmtree(OUT, ignore_errors=True)
    OUT.mkdir(parents=True)
    started = time.monotonic()
    snapshot.ensure()
    extras = [*arguments.test, arguments.package, *COMMANDS]
    attempt = functools.partial(_attempt, program=arguments.program, extras=extras)
    with concurrent.futures.ThreadPoolExecutor(arguments.boxes) as boxes:
        rows = list(boxes.map(attempt, scenarios))
    tables = outcomes.tables([seen for row in rows for seen in row.seen])
    (OUT / "outcomes.md").write_text(tables, encoding="utf-8")
    width = max(len(each.name) for each in scenarios)
    for row in rows:
        print(f"{row.name:<{width}}  {row.outcome:<7}  {row.seconds:6.0f} s")
    print(f"{'all':<{width}}           {time.monotonic() - started:6.0f} s")
    return 0 if all(row.outcome == "passed" for row in rows) else 1


sys.exit(main())
