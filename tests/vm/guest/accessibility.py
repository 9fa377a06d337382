"""The contents of a program's windows, from the accessibility bus.

Emulation makes every answer slow, so that all questions about one level of the tree are asked at
once, and only those that somebody needs.
"""

import functools
import os

from wire import Bus

ACCESSIBLE = "org.a11y.atspi.Accessible"
ACTION = "org.a11y.atspi.Action"
EDITABLE = "org.a11y.atspi.EditableText"
STATES = {"active": 1, "busy": 3, "checked": 4, "editable": 7, "enabled": 8, "focusable": 11,
          "focused": 12, "selected": 23, "sensitive": 24, "showing": 25}
WITH_TEXT = ("text",)
WITH_VALUE = ("progress bar",)
LEAVES = ("push button", "check box", "label", "cell", "column header", "row header", "scroll bar",
          "image", "combo box", "text")
PROPERTIES = "org.freedesktop.DBus.Properties"
THE_BUS = ("org.freedesktop.DBus", "/org/freedesktop/DBus")


def _property(bus, place, interface, name, keep):
    bus.ask(place, PROPERTIES, "Get", "ss", (interface, name),
            lambda answer: keep(answer[0] if answer else None))


def _children(bus, place, keep):
    bus.ask(place, ACCESSIBLE, "GetChildren", "", (), lambda answer: keep(answer[0] if answer else []))


def _state_names(answer):
    low, high = answer[0] if answer else (0, 0)
    bits = low | high << 32
    return [name for name, bit in STATES.items() if bits >> bit & 1]


def _describe(bus, nodes):
    """Role, name and states of new nodes; then what their roles have besides."""
    for node in nodes:
        place = node["id"]
        bus.ask(place, ACCESSIBLE, "GetRoleName", "", (),
                lambda answer, node=node: node.update(role=answer[0] if answer else ""))
        bus.ask(place, ACCESSIBLE, "GetState", "", (),
                lambda answer, node=node: node.update(states=_state_names(answer)))
        _property(bus, place, ACCESSIBLE, "Name",
                  lambda name, node=node: node.update(name=name or ""))
    bus.answers()


def _deepen(bus, nodes):
    """The texts, values and children of described nodes; returns the children."""
    found = []
    for node in nodes:
        _ask_details(bus, node)
        if "showing" in node["states"] and node["role"] not in LEAVES or node["role"] == "combo box":
            _children(bus, node["id"],
                      lambda places, node=node: node.update(children=[_new(each) for each in places]))
    bus.answers()
    for node in nodes:
        found += node["children"]
    return found


def _ask_details(bus, node):
    if node["role"] in WITH_TEXT:
        bus.ask(node["id"], "org.a11y.atspi.Text", "GetText", "ii", (0, -1),
                lambda answer: node.update(text=answer[0] if answer else ""))
    if node["role"] in WITH_VALUE:
        _property(bus, node["id"], "org.a11y.atspi.Value", "CurrentValue",
                  lambda value: node.update(value=value))


def _new(place):
    return {"id": place, "children": []}


def _answer(place, interface, method, kinds="", *values):
    kept = []
    bus().ask(place, interface, method, kinds, values, kept.append)
    bus().answers()
    return kept[0]


def act(place, action):
    """Calls an object's action of that name; returns whether it has one."""
    answer = _answer(place, ACTION, "GetActions")
    names = [name for name, *more in answer[0]] if answer else []
    return action in names and _answer(place, ACTION, "DoAction", "i", names.index(action)) == [True]


def put_text(place, text):
    """Replaces the text of a field; returns whether the field accepts it."""
    return _answer(place, EDITABLE, "SetTextContents", "s", text) == [True]


def place_of(place):
    """Where a thing is on the screen: x, y, width, height."""
    return _answer(place, "org.a11y.atspi.Component", "GetExtents", "u", 0)[0]


def tree(owner, roles=None):
    """The windows of the program with that process id; nothing while it shows none.

    roles: of the windows to look into; without them, all."""
    windows, level = [], []
    registry = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
    _children(bus(), registry, level.extend)
    bus().answers()
    for program in level:
        if _process(program[0]) == owner:
            _children(bus(), program, lambda places: windows.extend(_new(each) for each in places))
    bus().answers()
    _describe(bus(), windows)
    level = [window for window in windows if roles is None or window["role"] in roles]
    while level:
        level = _deepen(bus(), level)
        _describe(bus(), level)
    return windows


@functools.cache
def _process(name):
    answer = _answer(THE_BUS, THE_BUS[0], "GetConnectionUnixProcessID", "s", name)
    return answer[0] if answer else None


_bus = []


def bus():
    if not _bus:
        session = Bus(os.environ["DBUS_SESSION_BUS_ADDRESS"])
        address = []
        session.ask(("org.a11y.Bus", "/org/a11y/bus"), "org.a11y.Bus", "GetAddress", "", (), address.extend)
        session.answers()
        _bus.append(Bus(address[0]))
    return _bus[0]
