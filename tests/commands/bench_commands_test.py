"""fillstation-report and fillstation-slots, run from outside over a journal and a udev of ours."""

import csv
import json
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

COMMANDS = Path(__file__).resolve().parents[2] / "src/commands"
STARTED = 1_700_000_000_000_000  # microseconds

# A run of three players, as the window records it.
FIELDS = {"RUN": "1", "PLAYER": "/dev/sdb", "SLOT": "", "PORT": "1-4.1", "LINK": "480",
          "SIZE": "7948206080", "FILES": "8", "BYTES": str(10 << 20), "UNMOUNT": "0.010",
          "WIPE": "2.000", "FORMAT": "1.500", "MOUNT": "1.000", "COPY": "1.500", "FLUSH": "0.500",
          "CHECK": "0.200", "RESULT": "filled"}
FAILED = {"RESULT": "failed", "STEP": "copy", "FILE": "Book/01.mp3", "ERRNO": "5"}


def record(number, **fields):
    entry = {"__REALTIME_TIMESTAMP": str(STARTED + number), "MESSAGE": "done\n"}
    return {**entry, **{f"FILLSTATION_{name}": value
                        for name, value in {**FIELDS, **fields}.items()}}


class Commands(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = Path(scratch.name)
        self.environment = {"PATH": f"{self.root}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8",
                            "TZ": "UTC"}

    def program(self, name, script):
        (self.root / name).write_text(f"#!/bin/sh\n{script}")
        (self.root / name).chmod(0o755)

    def run_command(self, name, *arguments, status=0):
        ended = subprocess.run([COMMANDS / name, *arguments], env=self.environment, text=True,
                               capture_output=True, check=False, timeout=60)
        self.assertEqual(ended.returncode, status, ended.stderr)
        return ended

    # --- the report

    def journal(self, *records, status=0, says=""):
        (self.root / "journal").write_text("".join(json.dumps(each) + "\n" for each in records))
        self.program("journalctl", f'echo "$@" >"{self.root}/asked"\ncat "{self.root}/journal"\n'
                                   f"printf '%s' '{says}' >&2\nexit {status}\n")

    def test_each_failure_is_told_with_port_slot_file_and_reason(self):
        self.journal(record(1), record(2, PLAYER="/dev/sdc", SLOT="7", PORT="1-4.2", **FAILED),
                     record(3, RUN="2", PLAYER="/dev/sdc", SLOT="7", PORT="1-4.2",
                            RESULT="failed", STEP="format"))
        shown = self.run_command("fillstation-report").stdout.splitlines()
        self.assertEqual(shown[0], "2023-11-14 22:13:20: 1 of 2 players filled, 8 files, 10.0 MB each")
        self.assertEqual(shown[2].split(), ["-", "1-4.1", "/dev/sdb", "filled", "7", "5.0"])
        self.assertEqual(shown[3].split(maxsplit=6),
                         ["7", "1-4.2", "/dev/sdc", "failed", "7", "-",
                          "copy: Book/01.mp3: Input/output error"])
        self.assertIn("2023-11-14: 3 players, 2 failed", shown)
        self.assertEqual(shown[-1], "slot 7, USB 1-4.2: failed 2 times")

    def test_the_tables_for_programs_hold_every_player(self):
        self.journal(record(1), record(2, **FAILED))
        rows = list(csv.DictReader(self.run_command("fillstation-report", "--csv").stdout
                                   .splitlines()))
        self.assertEqual([row["result"] for row in rows], ["filled", "failed"])
        self.assertEqual((rows[1]["step"], rows[1]["errno"], rows[0]["copy"]), ("copy", "5", "1.5"))
        told = json.loads(self.run_command("fillstation-report", "--json").stdout)
        self.assertEqual((told[1]["file"], told[0]["bytes"]), ("Book/01.mp3", 10 << 20))

    def test_a_name_of_any_bytes_is_harmless_on_a_terminal_and_whole_in_a_table(self):
        name = list(b"\xff\x1b[2J.mp3")
        self.journal(record(1, **{**FAILED, "FILE": name}))
        self.assertIn("copy: ??[2J.mp3", self.run_command("fillstation-report").stdout)
        raw = subprocess.run([COMMANDS / "fillstation-report", "--csv"], env=self.environment,
                             capture_output=True, check=True).stdout
        self.assertIn(b"\xff\x1b[2J.mp3", raw)

    def test_the_time_is_handed_on(self):
        self.journal(record(1))
        self.run_command("fillstation-report", "--since", "today", "--until", "12:00")
        asked = (self.root / "asked").read_text()
        self.assertIn("--since=today --until=12:00", asked)
        self.assertIn("--identifier=fillstation", asked)

    def test_an_empty_journal_is_said_and_one_that_fails_too(self):
        self.journal(status=1)
        self.assertIn("no run", self.run_command("fillstation-report", status=1).stderr)
        self.assertEqual(json.loads(self.run_command("fillstation-report", "--json").stdout), [])
        self.journal(status=1, says="Failed to parse timestamp")
        self.assertIn("timestamp", self.run_command("fillstation-report", status=2).stderr)

    # --- the slots

    def bus(self, *ports, kind=":080650:"):
        events = "".join(f"UDEV  [1.0] add /devices/{port} (usb)\nACTION=add\n"
                         f"DEVPATH=/devices/{port}\nID_USB_INTERFACES={kind}\n\n"
                         for port in ports)
        (self.root / "events").write_text("monitor will print the received events\n\n" + events)
        self.program("udevadm", f"""
case $1 in
  monitor) cat "{self.root}/events" ;;
  test-builtin) echo "ID_PATH=pci-0-usb-0:${{3##*-}}" ;;
esac
""")

    def test_each_port_gets_the_next_number_until_the_first_comes_again(self):
        self.bus("1-4", "1-4", "1-2", "1-2", "1-3", "1-4", "1-9")
        ended = self.run_command("fillstation-slots", "--first", "7")
        named = [line for line in ended.stdout.splitlines() if "FILLSTATION_SLOT" in line]
        self.assertEqual(named, [f'ENV{{ID_PATH}}=="pci-0-usb-0:{port}", '
                                 f'ENV{{FILLSTATION_SLOT}}="{slot}"'
                                 for port, slot in ((4, 7), (2, 8), (3, 9))])
        self.assertIn("This is slot 8.", ended.stderr)
        self.assertIn("3 slots.", ended.stderr)

    def test_the_last_of_so_many_slots_ends_the_tour(self):
        self.bus("1-4", "1-4", "1-2", "1-3")
        ended = self.run_command("fillstation-slots", "2")
        self.assertEqual(ended.stdout.count("FILLSTATION_SLOT"), 2)
        self.assertNotIn("1-3", ended.stderr)

    def test_what_is_no_stick_has_no_slot(self):
        self.bus("1-4", kind=":030101:")
        self.assertNotIn("Slot", self.run_command("fillstation-slots", status=2).stderr)

    def test_a_tour_that_is_cut_short_prints_no_rule(self):
        self.bus("1-4", "1-2")
        self.assertEqual(self.run_command("fillstation-slots", status=2).stdout, "")


if __name__ == "__main__":
    unittest.main()
