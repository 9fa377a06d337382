"""The whole job without a mouse: through the accessibility tree alone, in a session of X11 and in one of
Wayland, and by the keyboard alone."""

import contextlib
import json

from box import ADMIN, ADMIN_PASSWORD
from flows import BAR, BUTTON, COMPLETED, PATH_FIELD, TICK, Operator
from scenario import BOOK, SLOW, make_book, operator, scenario
from waiting import expect, expect_equal, until

BUSY = "Players are being filled"
SLEEPLESS = "systemd-inhibit --list --no-legend --no-pager"
LONGEST_ROUND = 50  # more stops than any window has
WAYLAND = "wayland-1"  # the name that sway gives the first session
# A screen without a screen, drawn without a graphics card, and windows of their own size.
HEADLESS = {"WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1", "WLR_RENDERER": "pixman"}
SWAY = "xwayland disable\noutput HEADLESS-1 resolution 1280x900\nfor_window [app_id=fillstation] floating enable\n"


class Assistant(Operator):
    """An operator without mouse and keys, who finds everything by role and name."""

    def click_at(self, node, button=1):
        """Calls the object's action."""
        action = {"check box": "Toggle"}.get(node["role"], "Press")
        done = self._box.session("act", node["id"], action)
        expect(done, f"the {node['role']} {node['name']!r} offers {action}")

    def fill_in(self, node, text):
        done = self._box.session("put_text", node["id"], text)
        expect(done, f"the {node['role']} {node['name']!r} takes a text")

    def add_folder(self, path):
        self.click("Browse…")
        until(lambda: self.has_focus("text", PATH_FIELD), 60, "the open panel")
        self.fill_in(self.find("text", PATH_FIELD), path)
        until(lambda: self.is_enabled("Open"), 60, "the folder can be opened")
        self.click("Open")
        until(lambda: path in self.files(), 60, f"{path} in the file table")

    def _hands(self, action):
        raise AssertionError(f"An assistive program has no hands: {action}")


class WaylandAssistant(Assistant):
    """The same in a session of Wayland, which the program has to find by itself."""

    environment = {"XDG_SESSION_TYPE": "wayland", "WAYLAND_DISPLAY": WAYLAND, "DISPLAY": ""}

    def picture(self, name):
        """A picture of the screen, in the results' folder."""
        done = self._box.user(f"WAYLAND_DISPLAY={WAYLAND} grim /tmp/{name}.png")
        expect_equal(done["status"], 0, f"grim: {done['err']}")
        self._box.root(f"cp /tmp/{name}.png /box/out/")

    def app_ids(self):
        """By what the session knows the windows, and so their icons."""
        shown = self._box.user("swaymsg --socket $XDG_RUNTIME_DIR/sway-ipc.* --raw --type get_tree")
        return {node["app_id"] for node in _containers(json.loads(shown["out"])) if node.get("app_id")}


def _containers(node):
    yield node
    for child in node["nodes"] + node["floating_nodes"]:
        yield from _containers(child)


def _focused(node):
    """The objects with the focus, but not their containers.

    A table is one thing: its current cell is said to have the focus wherever that is."""
    inside = node["children"] if node["role"] != "table" else ()
    below = [found for child in inside for found in _focused(child)]
    return below or ([node] if "focused" in node["states"] else [])


class Typist(Operator):
    """An operator without a mouse."""

    def focus(self):
        """The object with the focus, if there is exactly one and it is visible and enabled."""
        found = [node for window in self.windows() for node in _focused(window)]
        usable = [node for node in found if {"showing", "enabled"} <= set(node["states"])]
        return usable[0] if len(found) == 1 and usable else None

    def await_focus(self, role, name, seconds=60):
        def look():
            node = self.focus()
            return node and (node["role"], node["name"]) == (role, name)

        until(look, seconds, f"the focus is on the {role} {name}")

    def tab_to(self, role, name):
        """Presses Tab until it has led there."""
        node = until(self.focus, 20, "something has the focus")
        for _ in range(LONGEST_ROUND):
            if (node["role"], node["name"]) == (role, name):
                return
            self.key("Tab")
            node = until(lambda: self._other_than(node), 20, f"Tab leads away from {node}")
        raise AssertionError(f"Tab never leads to the {role} {name}")

    def name_of(self, disk):
        return next(player.name for player in self.players() if player.disk == disk)

    def click_at(self, node, button=1):
        raise AssertionError(f"There is no mouse to click at {node}")

    def _other_than(self, before):
        node = self.focus()
        return node if node and node["id"] != before["id"] else None


@contextlib.contextmanager
def _held(box):
    """A run gets as far as its first mount, and waits there until the end of the block."""
    held = box.call("freeze", "udisksd")
    yield
    box.call("thaw", held)


def _expect_running(box, person):
    """It learns that the program is busy, and the machine is kept awake."""
    (busy,) = until(lambda: list(person.nodes("animation", BUSY)), 30, "the busy indicator")
    expect("busy" in busy["states"], f"the indicator is busy: {busy}")
    expect_equal(_keeping_awake(box), 1, "who keeps the machine awake during a run")
    person.expect_busy()


def _keeping_awake(box):
    return box.root(SLEEPLESS).count("Fillstation")


def _follow_run(person):
    """The values of the progress bar until the summary."""
    values = []

    def look():
        values.append(person.progress())
        return person.alert_text()

    until(look, 120, "the summary")
    expect_equal(values, sorted(values), "the values of the progress bar")
    expect(any(0 < value < 100 for value in values), f"the bar moves: {values}")


def _run_over_the_tree(box, kind, look=lambda person: None):
    """The whole job. look(person) is called while players are being filled."""
    book = make_book(box, chapters=2, track_kb=1024)
    disks = box.players({"one": SLOW, "two": SLOW, "three": SLOW})
    with operator(box, kind=kind) as person, box.unchanged("three"):
        person.wait_for_players(3)
        expect_equal(_keeping_awake(box), 0, "who keeps the machine awake")
        person.tick(disks["one"], disks["two"])
        expect_equal(set(person.ticked()), {disks["one"], disks["two"]}, "the ticked players")
        for file_type in ("wav", "mp3"):
            person.fill_in(person.find("text", "File type"), file_type)
        person.add_folder(BOOK)
        person.ask()
        expect_equal(person.find("text", "Password:")["text"], "", "what is told of the password")
        with _held(box):
            person.click("OK")
            _expect_running(box, person)
            look(person)
        _follow_run(person)
        expect_equal(_keeping_awake(box), 0, "who keeps the machine awake after a run")
        person.dismiss(COMPLETED, 60)
        expect_equal(person.progress(), 100.0, "the progress bar")
        person.expect_log(formats=2, copied=16, done=2)
        person.eject_filled(book, ("one", "two"))


@scenario
def a_run_over_the_accessibility_tree(box):
    _run_over_the_tree(box, Assistant)


@scenario
def a_run_in_a_session_of_wayland(box):
    def look(person):
        person.picture("wayland")
        expect_equal(person.app_ids(), {"fillstation"}, "the desktop entry of the windows")

    box.user(f"cat >sway <<'END'\n{SWAY}END")
    box.session("start", "sway", ["sway", "--config", "sway"], HEADLESS)
    until(lambda: box.user(f"test -S $XDG_RUNTIME_DIR/{WAYLAND}")["status"] == 0, 60, "a session of Wayland")
    _run_over_the_tree(box, WaylandAssistant, look)
    box.session("stop", "sway")


def _tick_by_keys(person, disks):
    """Ticks the last players of the list, from the button behind it."""
    for disk in reversed(disks):
        person.key("shift+Tab")
        person.await_focus(TICK, person.name_of(disk))
        person.key("space")
    until(lambda: person.ticked() == disks, 10, f"{disks} are ticked")


def _add_by_keys(person):
    person.key("ctrl+o")
    person.await_focus("text", PATH_FIELD)
    person.type(BOOK)
    person.key("Return")
    until(lambda: BOOK in person.files(), 60, f"{BOOK} in the file table")


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
    """During the run the focus is on the bar."""
    with _held(box):
        person.key("Return")
        person.await_focus("progress bar", BAR)
        _expect_running(box, person)
    person.await_focus(BUTTON, "OK", 120)
    expect_equal(person.alert_text(), COMPLETED, "the summary")
    person.key("Return")
    person.await_focus(BUTTON, "Start")
    person.expect_usable()


@scenario
def a_run_by_keyboard_alone(box):
    book = make_book(box, chapters=2, track_kb=1024)
    names = {disk: name for name, disk in box.players({"one": SLOW, "two": SLOW, "three": SLOW}).items()}
    with operator(box, kind=Typist) as person:
        person.await_focus(BUTTON, "Browse…")
        disks = person.wait_for_players(3)
        person.tab_to(BUTTON, "All")
        _tick_by_keys(person, disks[1:])
        _add_by_keys(person)
        _credentials_by_keys(person)
        _run_by_keys(box, person)
        person.expect_log(formats=2, copied=16, done=2)
        person.key("alt+e")
        until(lambda: person.disks() == disks[:1], 60, "the ejected players have left the list")
        until(lambda: box.disks() == disks[:1], 60, "the ejected players are off")
    for disk in disks[1:]:
        box.expect_prepared(names[disk], book)


@scenario
def a_second_start_raises_the_first_window(box):
    with operator(box) as person:
        person.minimize()
        until(lambda: not person.is_in_front(), 30, "the window has been minimised")
        box.session("start", "second", ["/box/in/bin/fillstation"])
        until(lambda: box.session("status", "second") is not None, 60, "the second program has ended")
        expect_equal(box.session("status", "second"), 0, "the second program's exit status")
        until(person.is_in_front, 30, "the first window is in front again")
