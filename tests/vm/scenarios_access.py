"""The whole job without a mouse: through the accessibility tree alone, and by the keyboard alone."""

import contextlib
import itertools

from box import ADMIN, ADMIN_PASSWORD
from flows import COMPLETED, TICK, Operator
from scenario import BOOK, make_book, operator, scenario
from waiting import expect, expect_equal, until
from window import BUTTON, PROGRAM, Window, walk

INTERACTIVE = (BUTTON, TICK, "combo box", "text", "table", "tree", "list")
WORKING = ("All", "None", "Eject", "File type:", "Browse…", "Files", "Home page", "Start")
EMPTY = "/home/player/Empty"
BAR, BUSY = "Progress of all players", "Players are being filled"
SLEEPLESS = "systemd-inhibit --list --no-legend --no-pager"
PASSWORD_TEXT = 40  # the role of a field that hides its text
LONGEST_ROUND = 50  # more stops than any window has


class Assistant(Operator):
    """An operator without mouse and keys, who finds everything by role and name."""

    def details(self, node):
        """What more is told of a thing: see accessibility.details."""
        return self._box.session("details", [node["id"]])[0]

    def click_at(self, node, button=1):
        """Has the thing do what it is there for."""
        action = {"check box": "Toggle"}.get(node["role"], "Press")
        done = self._box.session("act", node["id"], action)
        expect(done, f"the {node['role']} {node['name']!r} offers {action}")

    def fill_in(self, node, text):
        done = self._box.session("put_text", node["id"], text)
        expect(done, f"the {node['role']} {node['name']!r} takes a text")

    def choose_type(self, file_type):
        """Chooses the file type; the box is found by its label."""
        self.fill_in(self.find("text", "File type"), file_type)

    def controls(self, *roles):
        """The things of these roles in the window that is in front, each with its details."""
        front = [window for window in self.windows() if "active" in window["states"]]
        found = [node for window in front for node in walk(window)
                 if node["role"] in roles and "showing" in node["states"]]
        told = self._box.session("details", [node["id"] for node in found])
        return [each | node for node, each in zip(found, told)]

    def browse(self):
        self.click("Browse…")
        until(lambda: self.has_focus("text", "File name:"), 60, "the open panel")

    def choose(self, path):
        """Takes a folder in the open panel."""
        self.fill_in(self.find("text", "File name:"), path)
        until(lambda: self.is_enabled("Open"), 60, "the folder can be opened")
        self.click("Open")
        until(lambda: path in self.files(), 60, f"{path} in the file table")

    def _hands(self, action):
        raise AssertionError(f"An assistive program has no hands: {action}")


def _focused(node):
    """The things with the focus, but not what merely holds such a thing.

    A table is one thing: its current cell is said to have the focus wherever that is."""
    inside = node["children"] if node["role"] != "table" else ()
    below = [found for child in inside for found in _focused(child)]
    return below or ([node] if "focused" in node["states"] else [])


class Typist(Operator):
    """An operator without a mouse."""

    def focus(self):
        """What has the focus, if one thing has that shows and can be used."""
        found = [node for window in self.windows() for node in _focused(window)]
        usable = [node for node in found if {"showing", "enabled"} <= set(node["states"])]
        return usable[0] if len(found) == 1 and usable else None

    def await_focus(self, role, name, seconds=60):
        def look():
            node = self.focus()
            return node and (node["role"], node["name"]) == (role, name)

        until(look, seconds, f"the focus is on the {role} {name}")

    def stops(self):
        """Where Tab leads, one stop after the other: what has the focus now, and what gets it then."""
        node = until(self.focus, 20, "something has the focus")
        while True:
            yield node["role"], node["name"]
            self.key("Tab")
            node = until(lambda: self._other_than(node), 20, f"Tab leads away from {node}")

    def round(self):
        """The stops on the way from what has the focus until that has it again."""
        seen = []
        for stop in self.stops():
            if seen and stop == seen[0]:
                return seen
            expect(len(seen) < LONGEST_ROUND, f"Tab comes back: {seen}")
            seen.append(stop)

    def tab_to(self, role, name):
        stops = itertools.islice(self.stops(), LONGEST_ROUND)
        expect(any(stop == (role, name) for stop in stops), f"Tab leads to the {role} {name}")

    def name_of(self, disk):
        return next(player.name for player in self.players() if player.disk == disk)

    def click_at(self, node, button=1):
        raise AssertionError(f"There is no mouse to click at {node}")

    def _other_than(self, before):
        node = self.focus()
        return node if node and node["id"] != before["id"] else None


def _expect_told(person, names, described=()):
    """Every control of the window in front has a name; these do, and some have a description, too."""
    told = {}
    for control in person.controls(*INTERACTIVE):
        name = (control["labels"] or [""])[0] if control["role"] == "combo box" else control["name"]
        expect(name, f"the control has a name: {control}")
        told[name] = control["description"]
    expect(set(names) <= set(told), f"{names} are among {sorted(told)}")
    for name in described:
        expect(told[name], f"{name} is described")


def _expect_player(person, disk, ticked):
    (player,) = [each for each in person.players() if each.disk == disk]
    expect_equal(player.ticked, ticked, f"whether {disk} is ticked")
    expect(player.name.startswith(f"/dev/{disk} ("), f"the name of {disk}: {player.name}")
    described = person.details(player.node)["description"]
    expect(described.startswith(f"/dev/{disk} · USB "), f"the description of {disk}: {described}")


@contextlib.contextmanager
def _held(box):
    """A run gets as far as its first mount, and waits there until the end of the block."""
    held = box.call("freeze", "udisksd")
    yield
    box.call("thaw", held)


def _expect_running(box, person):
    """It is told that the program is busy, and the machine is kept awake."""
    (busy,) = until(lambda: list(person.nodes("animation", BUSY)), 30, "the busy indicator")
    expect("busy" in busy["states"], f"the indicator is busy: {busy}")
    expect_equal(_keeping_awake(box), 1, "who keeps the machine awake during a run")
    person.expect_busy()


def _keeping_awake(box):
    return box.root(SLEEPLESS).count("Fillstation")


def _credentials_over_the_tree(person):
    """Start, up to OK: the password is taken, and told to nobody."""
    person.click("Start")
    until(lambda: person.has_focus("text", "User name:"), 60, "the credentials panel")
    _expect_told(person, ("User name:", "Password:", "OK", "Cancel"))
    field = person.find("text", "Password:")
    expect_equal(person.details(field)["role"], PASSWORD_TEXT, "the role of the password's field")
    person.fill_in(person.find("text", "User name:"), ADMIN)
    person.fill_in(field, ADMIN_PASSWORD)
    expect_equal(person.find("text", "Password:")["text"], "", "what is told of the password")


def _follow_run(person):
    """The values of the progress bar until the summary."""
    values = []

    def look():
        values.append(person.progress())
        return person.alert_text()

    until(look, 120, "the summary")
    expect_equal(values, sorted(values), "the values of the progress bar")
    expect(any(0 < value < 100 for value in values), f"the bar moves: {values}")


@scenario
def a_run_over_the_accessibility_tree(box):
    book = make_book(box, chapters=2, track_kb=1024)
    for name in ("one", "two", "three"):
        box.player(name, speed="full-speed")
    disks = {name: box.disk(name) for name in ("one", "two", "three")}
    with operator(box, kind=Assistant) as person, box.unchanged("three"):
        person.wait_for_players(3)
        expect_equal(_keeping_awake(box), 0, "who keeps the machine awake")
        for disk in (disks["one"], disks["two"]):
            _expect_player(person, disk, False)
            person.tick(disk)
            _expect_player(person, disk, True)
        expect_equal(person.labels(), ["64 MB", "64 MB"], "the labels with two ticks")
        person.choose_type("wav")
        person.choose_type("mp3")
        _expect_told(person, (*WORKING, "File type"), WORKING)
        person.browse()
        _expect_told(person, ("Look in:", "Files", "Sidebar", "File name:", "Open", "Cancel"))
        person.choose(BOOK)
        _credentials_over_the_tree(person)
        with _held(box):
            person.click("OK")
            _expect_running(box, person)
        _follow_run(person)
        expect_equal(_keeping_awake(box), 0, "who keeps the machine awake after a run")
        person.dismiss(COMPLETED, 60)
        expect_equal(person.progress(), 100.0, "the progress bar")
        expect_equal(list(person.nodes("animation", BUSY)), [], "the busy indicator")
        person.expect_log(formats=2, copied=16, done=2)
        person.eject()
        expect_equal(person.disks(), [disks["three"]], "the list")
        until(lambda: box.disks() == [disks["three"]], 60, "the ejected players are off")
    for name in ("one", "two"):
        box.expect_prepared(name, book)


def _expect_round(person, disks):
    """Tab goes round through every control in its order, and back; each can be seen and used."""
    ticks = [(TICK, person.name_of(disk)) for disk in disks]
    wanted = [*ticks, *((BUTTON, name) for name in ("All", "None", "Eject")), ("text", "File type"),
              (BUTTON, "Browse…"), ("table", "Files"), (BUTTON, "Start"), (BUTTON, "Home page")]
    first = wanted.index((BUTTON, "All"))
    expect_equal(person.round(), wanted[first:] + wanted[:first], "the round of Tab")


def _tick_by_keys(person, disks):
    """Ticks the last players of the list, from the button behind it."""
    for disk in reversed(disks):
        person.key("shift+Tab")
        person.await_focus(TICK, person.name_of(disk))
        person.key("space")
    until(lambda: person.ticked() == disks, 10, f"{disks} are ticked")


def _add_by_keys(person, folders):
    """Chooses the file type and adds folders, each by the keys that open the panel."""
    person.key("alt+t")
    person.await_focus("text", "File type")
    for file_type in ("wav", "mp3"):
        person.key("ctrl+a")
        person.type(file_type)
        until(lambda: (person.focus() or {}).get("text") == file_type, 10, f"the file type {file_type}")
    for keys, path in folders.items():
        person.key(keys)
        person.await_focus("text", "File name:")
        person.type(path)
        person.key("Return")
        until(lambda: path in person.files(), 60, f"{path} in the file table")
        person.await_focus("text", "File type")


def _delete_by_keys(person):
    """Removes the second row, then all."""
    person.key("shift+Tab")
    person.await_focus("table", "Files")
    person.key("Down", "Delete")
    until(lambda: EMPTY not in person.files(), 10, "the second row has gone")
    expect(BOOK in person.files(), "the first row is there")
    person.key("ctrl+a", "Delete")
    until(lambda: not person.files(), 10, "all rows have gone")
    person.await_focus("table", "Files")


def _credentials_by_keys(person):
    """Start, once cancelled, and once with the credentials."""
    person.tab_to(BUTTON, "Start")
    person.key("space")
    person.await_focus("text", "User name:")
    person.key("Escape")
    person.await_focus(BUTTON, "Start")
    person.key("space")
    person.await_focus("text", "User name:")
    person.type(ADMIN)
    person.key("Tab")
    person.await_focus("text", "Password:")
    person.type(ADMIN_PASSWORD)


def _run_by_keys(box, person):
    """During the run the focus is on the bar, and goes round what can be used then."""
    with _held(box):
        person.key("Return")
        person.await_focus("progress bar", BAR)
        _expect_running(box, person)
        usable = {("progress bar", BAR), (BUTTON, "Home page"), ("text", "File type")}
        expect_equal(set(person.round()), usable, "the round of Tab during a run")
    person.await_focus(BUTTON, "OK", 120)
    expect_equal(person.alert_text(), COMPLETED, "the summary")
    person.key("Return")
    person.await_focus(BUTTON, "Start")
    person.expect_usable()


@scenario
def a_run_by_keyboard_alone(box):
    book = make_book(box, chapters=2, track_kb=1024)
    box.user(f"mkdir -p {EMPTY}")
    names = {}
    for name in ("one", "two", "three"):
        box.player(name, speed="full-speed")
        names[box.disk(name)] = name
    with operator(box, kind=Typist) as person:
        person.await_focus(BUTTON, "All")
        disks = person.wait_for_players(3)
        _expect_round(person, disks)
        _tick_by_keys(person, disks[1:])
        _add_by_keys(person, {"ctrl+o": BOOK, "alt+b": EMPTY})
        _credentials_by_keys(person)
        _run_by_keys(box, person)
        person.expect_log(formats=2, copied=16, done=2)
        _delete_by_keys(person)
        person.key("alt+e")
        until(lambda: person.disks() == disks[:1], 60, "the ejected players have left the list")
        person.await_focus("table", "Files")
        until(lambda: box.disks() == disks[:1], 60, "the ejected players are off")
    for disk in disks[1:]:
        box.expect_prepared(names[disk], book)


@scenario
def a_second_start_raises_the_first_window(box):
    with operator(box) as person:
        person.minimize()
        until(lambda: not person.is_in_front(), 30, "the window has been minimised")
        second = Window(box, "second")
        box.session("start", "second", [PROGRAM], {})
        until(lambda: second.status() is not None, 60, "the second program has ended")
        expect_equal(second.status(), 0, "the second program's exit status")
        until(person.is_in_front, 30, "the first window is in front again")
