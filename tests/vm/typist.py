"""The window worked by keys alone; after each of them the focus has to be somewhere."""

import itertools

from flows import Operator
from waiting import expect, until

LONGEST_ROUND = 50  # more stops than any window has


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
