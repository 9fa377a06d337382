#!/usr/bin/env python3
"""Runs Fillstation and the usual alternatives on the same work, and compares their times."""

import argparse
import json
import os
import pathlib
import shutil
import sys

import chart
import rows
import table
from outcome import Outcome, Setting
from work import Missing, Wrong, may_mount, say

HERE = pathlib.Path(__file__).resolve().parent


def arguments():
    parser = argparse.ArgumentParser(prog="perf/compare", description=__doc__)
    parser.add_argument("--quick", action="store_true",
                        help="small sizes, for the correctness checks alone; no goal is judged")
    parser.add_argument("--repeat", type=int, default=5, metavar="N",
                        help="how often each side runs, in alternation (5)")
    parser.add_argument("--only", action="append", metavar="ROW", choices=list(rows.ROWS),
                        help="one row (%s); may be repeated" % ", ".join(rows.ROWS))
    parser.add_argument("--work", type=pathlib.Path, metavar="DIR",
                        default=pathlib.Path("/var/tmp/fillstation-perf"),
                        help="a folder on a real disk with 30 GB free (/var/tmp/fillstation-perf)")
    parser.add_argument("--out", type=pathlib.Path, metavar="DIR",
                        default=HERE.parent / "build/perf/compare",
                        help="where table, chart and figures go (build/perf/compare)")
    return parser.parse_args()


def measure(name, row, setting):
    """The row's outcome; a missing requirement and a failure are outcomes too."""
    say(f"{name}: {row.work}")
    try:
        outcome = row.run(setting)
    except Missing as missing:
        outcome = Outcome(problem=f"not measured: {missing}", missing=True)
    except Wrong as wrong:
        outcome = Outcome(problem=f"WRONG: {wrong}")
    say(f"{name}: {table.verdict(row, outcome)}")
    return outcome


def main():
    options = arguments()
    chosen = {name: row for name, row in rows.ROWS.items()
              if name in (options.only or rows.ROWS)}
    if options.quick:
        chosen = {name: row for name, row in chosen.items() if row.is_quick()}
    options.work.mkdir(parents=True, exist_ok=True)
    options.out.mkdir(parents=True, exist_ok=True)
    setting = Setting(HERE.parent / "build/release/perf/programs", options.work,
                      1 if options.quick else options.repeat, options.quick)
    outcomes = {}
    try:
        for name, row in chosen.items():
            outcomes[name] = measure(name, row, setting)
    finally:
        shutil.rmtree(options.work, ignore_errors=True)
    lines = table.lines(chosen, outcomes)
    (options.out / "table.md").write_text("\n".join(lines) + "\n")
    (options.out / "figures.json").write_text(
        json.dumps({name: outcome.figures for name, outcome in outcomes.items()}, indent=1) + "\n")
    if outcomes.get("players") and outcomes["players"].curve:
        (options.out / "chart.svg").write_text(chart.svg(outcomes["players"].curve))
    print("\n".join(lines))
    if options.quick:
        outcomes = {name: each for name, each in outcomes.items() if not each.missing}
        right = sum(not outcome.problem for outcome in outcomes.values())
        print(f"{right} of {len(outcomes)} rows correct")
    else:
        right = sum(table.is_met(chosen[name], outcome) for name, outcome in outcomes.items())
        print(f"{right} of {len(outcomes)} goals met")
    return 0 if right == len(outcomes) else 1


def in_own_mounts():
    """Starts again in its own mount namespace: other programs' copies of our mounts keep devices in use."""
    if os.geteuid() == 0 and "FILLSTATION_PERF_MOUNTS" not in os.environ and may_mount():
        os.environ["FILLSTATION_PERF_MOUNTS"] = "own"
        os.execvp("unshare", ["unshare", "--mount", "--propagation", "private", sys.executable, "-B",
                              *sys.argv])


if __name__ == "__main__":
    os.umask(0o022)
    in_own_mounts()
    sys.exit(main())
