"""The effect of the package's udev rule on players and other disks, with fake devices."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

RULE = pathlib.Path(__file__).resolve().parents[2] / "data/60-fillstation.rules"
OPTIONS = "uid=$UID,gid=$GID,shortname=mixed,utf8=1,showexec"
NAME = "HS USB FlashDisk"
PORT = "/devices/pci0000:00/0000:00:14.0/usb1"
UNIT = "1.0/host2/target2:0:0/2:0:0:0"
# No other rule, and no state of the machine's own udev.
PRIVATE = """
mount -t tmpfs none /run && mount -t tmpfs none /usr/lib/udev/rules.d
mkdir -p /run/udev/rules.d && cp "$1" /run/udev/rules.d
exec umockdev-run --device "$2" -- udevadm test --action="$3" "/sys$4"
"""


def usb_device(path, product):
    lines = [f"P: {path}", "E: SUBSYSTEM=usb", "E: DEVTYPE=usb_device", "A: busnum=1"]
    return lines + ([f"A: product={product}\\n"] if product is not None else []) + [""]


def other_device(path, subsystem, kind, *attributes):
    return [f"P: {path}", f"E: SUBSYSTEM={subsystem}", f"E: DEVTYPE={kind}", *attributes, ""]


def block(path, kind, minor):
    return other_device(path, "block", kind, "E: MAJOR=8", f"E: MINOR={minor}")


class Rule(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.devices = pathlib.Path(scratch.name) / "devices"

    def ask(self, vendor="ACTIONS ", products=(NAME,), at="block/sdz", action="add"):
        """udev's properties of a device after the rule; products: of the hub (if any), of the player."""
        path, rows = PORT, usb_device(PORT, "Host Controller")
        for product in products:
            path += "/1-1" if path == PORT else "/1-1.1"
            rows += usb_device(path, product)
        unit = f"{path}/{path.rpartition('/')[2]}:{UNIT}"
        rows += other_device(unit.partition("/host2")[0], "usb", "usb_interface")
        rows += other_device(unit, "scsi", "scsi_device", f"A: vendor={vendor}\\n")
        rows += block(f"{unit}/block/sdz", "disk", 400)
        rows += block(f"{unit}/block/sdz/sdz1", "partition", 401)
        self.devices.write_text("\n".join(rows))
        command = ["unshare", "--mount", "sh", "-ec", PRIVATE, "sh", RULE, self.devices, action]
        done = subprocess.run([*command, f"{unit}/{at}".rstrip("/")], capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn(f"Reading rules file: /run/udev/rules.d/{RULE.name}", done.stderr)
        self.assertNotIn(f"{RULE.name}:", done.stderr, "what udev finds wrong in the rule")
        # Newer versions of udev indent them.
        known = dict(row.strip().split("=", 1) for row in done.stdout.splitlines() if "=" in row)
        self.assertIn("DEVPATH", known)
        return known

    def expect(self, holds, *cases):
        for what in cases:
            with self.subTest(what):
                known = self.ask(**what)
                self.assertEqual(known.get("UDISKS_AUTO"), "0" if holds else None)
                self.assertEqual(known.get("UDISKS_MOUNT_OPTIONS_VFAT_DEFAULTS"),
                                 OPTIONS if holds else None)

    def test_a_player_and_its_partitions_at_a_hub_or_not(self):
        self.expect(True, {}, {"action": "change"}, {"at": "block/sdz/sdz1"},
                    *({"products": products} for products in (
                        ("USB 2.0 Hub", NAME), (None,), ("USB 2.0 Hub", None))))

    def test_a_disk_of_another_vendor_or_product(self):
        self.expect(False, *({"vendor": vendor} for vendor in (
            "OTHERS  ", "ACTIONSX", "XACTIONS", "actions ")))
        # A hub has no say.
        self.expect(False, *({"products": products} for products in (
            ("USB FlashDisk",), (f"{NAME} 2",), (f"X{NAME}",), (NAME, "USB FlashDisk"))))

    def test_what_is_no_disk_and_what_goes(self):
        self.expect(False, {"at": ""}, {"action": "remove"})


if __name__ == "__main__":
    missing = [tool for tool in ("unshare", "umockdev-run", "udevadm") if not shutil.which(tool)]
    if os.geteuid() != 0 or missing:
        print("SKIPPED: the rule for udev needs root and", ", ".join(missing or ["nothing else"]))
        sys.exit(0)
    unittest.main()
