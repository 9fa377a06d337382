"""The program in the box, used as a person uses it: looked at, clicked, typed into."""

import shlex

from waiting import expect_equal, until

PROGRAM = "/box/in/bin/fillstation"
ENVIRONMENT = {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1", "QT_QPA_PLATFORM": "xcb"}
BUTTON = "push button"


def walk(node):
    """The node and everything below it."""
    yield node
    for child in node["children"]:
        yield from walk(child)


class Window:
    """The running program. The names of its controls are those that a person reads."""

    def __init__(self, box, name="fillstation"):
        self._box, self._name = box, name
        self.process = None
        self.listen_anew()

    def listen_anew(self):
        """What has been said so far is forgotten."""
        self.journal_start = self._box.call("journal_cursor")

    def open(self, entry=None):
        """Starts the program: the one that the box was given, or that of a desktop entry."""
        if entry is None:
            self.process = self._box.session("start", self._name, [PROGRAM], ENVIRONMENT)
        else:
            self.process = self._box.session("launch", self._name, entry, ENVIRONMENT)
        self._box.person = self
        until(self.is_in_front, 60, "the window is in front")

    def stop(self):
        """Ends the program; returns its exit status."""
        return self._box.session("stop", self._name)

    def status(self):
        return self._box.session("status", self._name)

    def output(self):
        """Standard output and standard error so far."""
        return self._box.session("output", self._name)

    def journal(self):
        """The texts of the program in the journal since its start."""
        rows = self._box.call("journal_since", self.journal_start)
        return [text for name, text in rows if name == "fillstation"]

    def windows(self, roles=None):
        """The visible windows. roles: of those to look into, since that takes time from the program."""
        for root in self._box.session("tree", self._name, roles):
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
        """Puts the text into a field instead of what is there."""
        self.click_at(node)
        self.key("ctrl+a", "BackSpace")
        if text:
            self.type(text)

    def minimize(self):
        self._hands("getactivewindow windowminimize")

    def enlarge(self):
        """Makes the window as large as the screen."""
        self._hands("getactivewindow windowmove 0 0 windowsize --sync 100% 100%")
