"""The window worked by an assistive program: it has things do what they offer, and sees no screen."""

from flows import Operator
from waiting import expect, until
from window import walk

PASSWORD_TEXT = 40  # the role of a field that hides its text


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
