"""What an operator does with the window, step by step, in the words of the window."""

import collections

from box import ADMIN, ADMIN_PASSWORD
from waiting import expect, expect_equal, until
from window import BUTTON, Window

COMPLETED = "Process Completed."
TICK, LABEL, ALERT = "check box", "label", "alert message"
PORT = " · USB "
LOG = {
    "formats": "Beginning format operation.\n",
    "wipe_failures": "dd operation failed.\n",
    "format_failures": "newfs_msdos operation failed.\n",
    "copied": "Copy successful",
    "not_copied": "Copy failed",
    "done": "copy Done!!!\n",
}
RUN_BUTTONS = ("Start", "Browse…", "All", "None", "Eject")

Listed = collections.namedtuple("Listed", "disk name ticked node")


def failed(*disks):
    """The summary that names these disks' players."""
    return COMPLETED + "".join(f"\nPlayer /dev/{disk} Failed in process" for disk in disks)


class Operator(Window):
    """A person in front of the program's window."""

    def players(self):
        """The player list from the top: each player's disk, name and tick."""
        listed, tick = [], None
        for node in self.nodes():
            if node["role"] == TICK:
                tick = node
            elif tick and node["role"] == LABEL and PORT in node["name"]:
                disk = node["name"].partition(" ")[0].removeprefix("/dev/")
                listed.append(Listed(disk, tick["name"], "checked" in tick["states"], tick))
                tick = None
        return listed

    def wait_for_players(self, count, seconds=60):
        """Waits until the list has that many players; returns their disks."""
        until(lambda: len(self.players()) == count, seconds, f"{count} players in the list")
        return self.disks()

    def disks(self):
        return [player.disk for player in self.players()]

    def ticked(self):
        return [player.disk for player in self.players() if player.ticked]

    def tick(self, *disks):
        for player in self.players():
            if player.disk in disks:
                self.click_at(player.node)

    def labels(self):
        """The two capacity labels: capacity and space left."""
        shown = [node["name"] for node in self.nodes(LABEL)]
        return [shown[shown.index(caption) + 1] for caption in ("Capacity:", "Space left:")]

    def progress(self):
        return self.find("progress bar")["value"]

    def add_folder(self, path):
        """Adds a folder to the file list through the open dialog."""
        self.click("Browse…")
        until(lambda: self.has_focus("text", "File name:"), 60, "the open dialog")
        self.type(path)
        self.key("Return")
        until(lambda: not self.shows("Open"), 60, "the open dialog has gone")
        until(lambda: path in self.files(), 60, f"{path} in the file table")

    def files(self):
        """The texts in the file table's cells."""
        return [node["name"] for node in self.nodes("cell")]

    def ask(self, user=ADMIN, password=ADMIN_PASSWORD):
        """Presses Start and fills in the administrator's credentials, up to OK."""
        self.click("Start")
        fields = until(self._credentials, 60, "the credentials panel")
        self.fill_in(fields["User name:"], user)
        self.fill_in(fields["Password:"], password)

    def _credentials(self):
        fields = {node["name"]: node for node in self.nodes("text")}
        return fields if {"User name:", "Password:"} <= set(fields) else None

    def start(self, user=ADMIN, password=ADMIN_PASSWORD):
        """Starts a run."""
        self.ask(user, password)
        self.click("OK")

    def alert_text(self):
        """The text of the alert that is open; none while there is no alert."""
        for window in self.windows([ALERT]):
            if window["role"] == ALERT:
                texts = [node["name"] for node in window["children"] if node["role"] == LABEL]
                return max(texts, key=len, default=None)
        return None

    def dismiss(self, text, seconds=60):
        """Waits for the alert, which must say exactly this, and presses its OK."""
        found = until(self.alert_text, seconds, "an alert")
        expect_equal(found, text, "the text of the alert")
        self.click("OK")
        until(lambda: self.alert_text() is None, 60, "the alert has gone")
        self.expect_usable()

    def expect_usable(self):
        expect_equal(self._enabled(RUN_BUTTONS), set(RUN_BUTTONS), "the buttons that can be pressed")

    def expect_busy(self):
        expect_equal(self._enabled(RUN_BUTTONS), set(), "the buttons that can be pressed during a run")

    def _enabled(self, buttons):
        """Those of the buttons that can be pressed; all of them have to be there."""
        shown = {node["name"]: node for node in self.nodes(BUTTON)}
        return {name for name in buttons if "enabled" in shown[name]["states"]}

    def eject(self, seconds=60):
        """Ejects the ticked players."""
        left = [player.disk for player in self.players() if not player.ticked]
        self.click("Eject")
        until(lambda: self.disks() == left, seconds, "the ejected players have left the list")

    def expect_log(self, **counts):
        """Texts of the log and how often each must be there; the journal and standard error agree."""
        journal = self.journal()
        for text, count in LOG.items():
            wanted = counts.get(text, 0)
            expect_equal(journal.count(count), wanted, f"how often the log says {count!r}")
        errors = self.output()[1]
        for text in journal:
            expect(text in errors, f"{text!r} of the journal is on standard error too")

    def expect_commands(self, count):
        """So many commands have been handed to root's shell, for a caller with the right password."""
        until(lambda: self._commands() >= count, 120, f"{count} commands of root's shell")
        expect_equal(self._commands(), count, "how often root's shell was started")

    def _commands(self):
        rows = self._box.call("journal_since", self.journal_start)
        return sum(name == "pkexec" and "Executing command" in text for name, text in rows)

    def expect_secret(self, password):
        """The password is in no text that others could read."""
        said = "".join(self.output()) + self._box.root("journalctl -b -o cat --no-pager")
        expect(password not in said, "the password is neither in the journal nor in the output")
