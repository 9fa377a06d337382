"""The program in the box, used as a person uses it: looked at, clicked, typed into; and what an operator
does with its window, step by step, in the words of the window."""

import collections
import re
import shlex

from box import ADMIN, ADMIN_PASSWORD, BOOK
from waiting import expect, expect_equal, until

PROGRAM = "fillstation"
ENVIRONMENT = {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
BUTTON = "push button"
COMPLETED = "Process Completed."
TICK, LABEL, ALERT = "check box", "label", "alert message"
BAR, PATH_FIELD = "Progress of all players", "Folder or file:"
PORT = re.compile(r"(?:^| · )USB (\S+)")
NODE = re.compile(r"/dev/(\w+)")
LOG = {
    "formats": "Beginning format operation.\n",
    "wipe_failures": "dd operation failed.\n",
    "format_failures": "newfs_msdos operation failed.\n",
    "copied": "Copy successful",
    "not_copied": "Copy failed",
    "done": "copy Done!!!\n",
}
RUN_BUTTONS = ("Start", "Browse…", "All", "None", "Eject")

Listed = collections.namedtuple("Listed", "disk name ticked node port state")


def failed(*disks):
    """The summary that names these disks' players."""
    return COMPLETED + "".join(f"\nPlayer /dev/{disk} Failed in process" for disk in disks)


def walk(node):
    """The node and everything below it."""
    yield node
    for child in node["children"]:
        yield from walk(child)


def _row_of(node):
    """The player that this part of the window is the row of, if it is one."""
    shown = [child for child in node["children"] if "showing" in child["states"]]
    labels = [child["name"] for child in shown if child["role"] == LABEL]
    if not labels or shown[0]["role"] != TICK:
        return None
    tick, (facts, *states) = shown[0], labels
    # The disk is in the one or the other text: a format gives the player a new name.
    disk, port = NODE.search(f"{facts} {tick['name']}"), PORT.search(facts)
    if not disk or not port:
        return None
    ticked = "checked" in tick["states"]
    return Listed(disk.group(1), tick["name"], ticked, tick, port.group(1), "".join(states))


class Operator:
    """A person in front of the program's window. Controls have the names that a person reads."""

    environment = {"QT_QPA_PLATFORM": "xcb"}

    def __init__(self, box):
        self._box = box
        self.process = None
        self.listen_anew()

    def listen_anew(self):
        """Clears the output so far."""
        self.journal_start = self._box.call("journal_cursor")

    def open(self, entry=None):
        """Starts the program: the one that the box was given, or that of a desktop entry."""
        command = self._box.session("command_of", entry) if entry else [f"/box/in/bin/{PROGRAM}"]
        self.process = self._box.session("start", PROGRAM, command, ENVIRONMENT | self.environment)
        self._box.person = self
        until(self.is_in_front, 60, "the window is in front")

    def stop(self):
        """Ends the program; returns its exit status."""
        return self._box.session("stop", PROGRAM)

    def status(self):
        return self._box.session("status", PROGRAM)

    def output(self):
        """Standard output and standard error so far."""
        return self._box.session("output", PROGRAM)

    def journal(self):
        """The texts of the program in the journal since its start."""
        rows = self._box.call("journal_since", self.journal_start)
        return [text for name, text in rows if name == PROGRAM]

    def windows(self, roles=None):
        """The visible windows. roles: the kinds to look into, since that takes the program's time."""
        for root in self._box.session("tree", PROGRAM, roles):
            yield from (node for node in [root] if "showing" in node["states"])

    def nodes(self, role=None, name=None):
        """All visible things of that role and name, the window that is in front last."""
        for window in self.windows():
            for node in walk(window):
                fits = role in (None, node["role"]) and name in (None, node["name"])
                if fits and "showing" in node["states"]:
                    yield node

    def find(self, role, name=None, seconds=60):
        found = until(lambda: list(self.nodes(role, name)), seconds, f"a {role} {name or ''}")
        return found[-1]

    def shows(self, button):
        return any(True for _ in self.nodes(BUTTON, button))

    def is_in_front(self):
        return any("active" in window["states"] for window in self.windows([]))

    def has_focus(self, role, name):
        return any("focused" in node["states"] for node in self.nodes(role, name))

    def is_enabled(self, button):
        return "enabled" in self.find(BUTTON, button)["states"]

    def click_at(self, node, button=1):
        x, y, width, height = self._box.session("place_of", node["id"])
        where = f"{x + min(width // 2, 30)} {y + height // 2}"
        self._hands(f"mousemove {where} click {button}")

    def click(self, name, role=BUTTON):
        self.click_at(self.find(role, name))

    def type(self, text):
        self._hands(f"type --delay 15 -- {shlex.quote(text)}")

    def key(self, *names):
        self._hands(f"key --delay 30 {' '.join(names)}")

    def _hands(self, action):
        done = self._box.user(f"xdotool {action}")
        expect_equal(done["status"], 0, f"xdotool {action}: {done['err']}")

    def fill_in(self, node, text):
        """Replaces the text of a field."""
        self.click_at(node)
        self.key("ctrl+a", "BackSpace")
        if text:
            self.type(text)

    def close_window(self):
        """Closes the window. During a run that takes a second close within five seconds."""
        self.key("alt+F4", "alt+F4")

    def minimize(self):
        self._hands("getactivewindow windowminimize")

    def enlarge(self):
        """Makes the window as large as the screen."""
        self._hands("getactivewindow windowmove 0 0 windowsize --sync 100% 100%")

    def players(self):
        """The player list from the top: each row's disk, name, tick, port, and progress or result."""
        return [row for row in map(_row_of, self.nodes()) if row]

    def wait_for_players(self, count, seconds=60):
        """Waits until the list has that many players; returns their disks."""
        until(lambda: len(self.players()) == count, seconds, f"{count} players in the list")
        return self.disks()

    def prepare(self, count, seconds=120):
        """Every player is listed and ticked, and the book chosen."""
        self.wait_for_players(count, seconds)
        self.add_folder(BOOK)
        self.click("All")
        until(lambda: len(self.ticked()) == count, 30, "every player is ticked")

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
        return self.find("progress bar", BAR)["value"]

    def add_folder(self, path):
        """Adds a folder to the file list through the open dialog."""
        self.click("Browse…")
        until(lambda: self.has_focus("text", PATH_FIELD), 60, "the open dialog")
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
        """The enabled buttons; all buttons have to exist."""
        shown = {node["name"]: node for node in self.nodes(BUTTON)}
        return {name for name in buttons if "enabled" in shown[name]["states"]}

    def eject(self, seconds=60):
        """Ejects the ticked players."""
        left = [player.disk for player in self.players() if not player.ticked]
        self.click("Eject")
        until(lambda: self.disks() == left, seconds, "the ejected players have left the list")

    def eject_filled(self, book, names, staying=()):
        """Ejects the ticked players; but for some they go off the USB. All hold the book and nothing else."""
        disks = {self._box.disk(name) for name in names if name not in staying}
        self.eject(120)
        until(lambda: not disks & set(self._box.disks()), 60, "the ejected players are off")
        for name in names:
            self._box.expect_prepared(name, book)

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
        """Waits until this number of commands has reached root's shell, with the right password."""
        until(lambda: self._commands() >= count, 120, f"{count} commands of root's shell")
        expect_equal(self._commands(), count, "how often root's shell was started")

    def _commands(self):
        rows = self._box.call("journal_since", self.journal_start)
        return sum(name == "pkexec" and "Executing command" in text for name, text in rows)

    def expect_secret(self, password):
        """The password is in no text that others could read."""
        said = "".join(self.output()) + self._box.root("journalctl -b -o cat --no-pager")
        expect(password not in said, "the password is neither in the journal nor in the output")
