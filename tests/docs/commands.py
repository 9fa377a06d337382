"""The commands in the documents, and the test of each."""

import collections
import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DOCUMENTS = ("README.md", "docs/handbook.md", "docs/troubleshooting.md", "data/fillstation.1",
             "data/fillstation-check.1", "data/fillstation-report.1", "data/fillstation-slots.1")

# In .ci/run, by this command, which has to be one of its steps.
InCI = collections.namedtuple("InCI", "step")
# Here, drawn off screen: started, and ended when it has printed this, with the exit status 0.
Started = collections.namedtuple("Started", "says")
# In the box, where the package is installed and a run has failed: it must print this. A command that
# doesn't end by itself is ended.
InBox = collections.namedtuple("InBox", "says ends", defaults=(True,))
# A step of the scenario "the_package" in the box, which must contain the command itself.
InScenario = collections.namedtuple("InScenario", "")

HOW = {
    "./demo": InCI("./demo"),
    "./demo --window": Started("Act 1"),
    "./demo --window --by-hand": Started("The window is yours."),
    "./package": InCI("./package --check"),
    "./package --source": InCI("./package --source"),
    "./run": Started("end event"),
    "./test": InCI("./test --werror"),
    "tests/vm/run": InCI("tests/vm/run --short"),
    "fillstation": InBox("end event", ends=False),
    "fillstation-check Audio -- /media/*/????-????": InBox(": equal, "),
    "fillstation-report": InBox("players filled"),
    "fillstation-report --since today": InBox("players filled"),
    "fillstation-report --since today --csv": InBox("end,run,player,slot,port"),
    "fillstation-slots | sudo tee /etc/udev/rules.d/61-fillstation-slots.rules": InScenario(),
    "sudo apt install ./fillstation_*.deb": InScenario(),
    "sudo apt install --reinstall ./fillstation_*.deb": InScenario(),
    "sudo apt purge fillstation": InScenario(),
    "journalctl -t fillstation": InBox("dd operation failed."),
    "journalctl -b -t fillstation": InBox("dd operation failed."),
    'journalctl -b -t fillstation -o cat -g "failed|missing|can\'t be reached|isn\'t running"':
        InBox("dd operation failed."),
    "journalctl -f -t fillstation": InBox("fillstation[", ends=False),  # the last message
    "sudo journalctl -b -t fillstation": InBox("dd operation failed."),
    "journalctl -F FILLSTATION_MISSED": InBox(""),
    "sudo journalctl -b -t pkexec -t polkitd -t polkit-agent-helper-1":
        InBox("authentication failure"),
    "journalctl -b -k": InBox("Product: HS USB FlashDisk"),
    "journalctl -b -u udisks2": InBox("udisks"),
    "systemctl status systemd-udevd": InBox("active (running)"),
    "systemctl status udisks2": InBox("active (running)"),
    "systemctl status systemd-logind": InBox("active (running)"),
    "sudo systemctl restart udisks2": InBox(""),
    "lsblk -o NAME,MOUNTPOINT": InBox("/media/player/"),
    "lsblk -S -o NAME,TRAN,VENDOR,MODEL": InBox("ACTIONS"),
    "sudo fuser -vm /dev/sdX": InBox("mount /media/player/"),
    "df -h /media/*/*": InBox("/media/player/"),
}

# The first words that identify a command inside a sentence.
PROGRAMS = {command.split()[0] for command in HOW if command.split()[1:]} | {
    "apt", "apt-get", "dpkg", "umount", "mount", "dmesg", "udisksctl", "udevadm", "lsusb"}


def _in_markdown(text):
    for line in text.splitlines():
        if line.startswith("    "):
            yield line
    for span in re.findall(r"`([^`\n]+)`", text):
        words = span.split()
        if span.startswith("./") or len(words) > 1 and words[0] in PROGRAMS:
            yield span


def _in_manual(text):
    for example in re.findall(r"^\.EX\n(.*?)^\.EE\n", text, re.MULTILINE | re.DOTALL):
        yield from example.replace("\\-", "-").splitlines()


def commands_in(name, text):
    """The commands of one document, without trailing comments."""
    found = _in_markdown(text) if name.endswith(".md") else _in_manual(text)
    plain = (re.sub(r"\s+#\s.*", "", line).strip() for line in found)
    return [command for command in plain if command]


def all_commands():
    return {command for name in DOCUMENTS
            for command in commands_in(name, (ROOT / name).read_text())}


def commands_for_the_box():
    """The commands that are tested in the box, with their tests."""
    return [(command, how) for command, how in HOW.items() if isinstance(how, InBox)]
