"""A run of which some players suffer a fault: begins it, and judges everything when it has ended."""

import collections
import re
import time

from flows import failed
from outcomes import Outcome
from waiting import expect, expect_equal, until

Case = collections.namedtuple("Case", "player text named")


class FaultRun:
    """One run over the ticked players; each that the summary needn't name has to be complete."""

    def __init__(self, box, person, book, players, foreign=()):
        self._box, self._person, self._book = box, person, book
        self._players = {name: box.disk(name) for name in players}
        self._before = {name: box.call("keep", name) for name in foreign}
        self._spare = box.spare_digest()
        self._cases = []
        self._bystanders = {}
        self._listed = []
        self._began = None

    def disk(self, name):
        return self._players[name]

    def begin(self):
        """Presses OK: the run begins with the ticked players."""
        self._listed = self._person.ticked()
        self._person.click("OK")
        self._began = time.monotonic()

    def case(self, player, text, named=True):
        """The fault of a player in the run, and whether the summary has to name it."""
        self._cases.append(Case(player, text, named))

    def bystander(self, name, text=None):
        """A device that is not in the run, as it is now: a foreign disk from here on; maybe a case."""
        self._before[name] = self._box.call("keep", name)
        if text:
            self._bystanders[self._box.disk(name)] = text

    def end(self, seconds):
        """The run has to end with the right summary, and nothing else may be damaged."""
        shown = self._await_summary(seconds)
        took = f"ended after {time.monotonic() - self._began:.0f} s"
        named = re.findall(r"^Player /dev/(\S+) Failed in process$", shown, re.MULTILINE)
        complete = {name for name in self._players if self._is_complete(name)}
        changed = self.changed()
        self._record(took, named, complete, changed)
        culprits = {self._players[case.player] for case in self._cases if case.named}
        expect_equal(shown, failed(*(disk for disk in self._listed if disk in culprits)), "the summary")
        for name in self.whole():
            expect(name in complete, f"{name} holds every byte when the summary is shown")
        expect_equal(changed, 0, "the bytes of foreign disks that have changed")
        expect_equal(self._box.strays(), "", "files in place of disks")
        self._person.dismiss(shown)

    def leave(self, text, complete):
        """The run waits for good: closing the window ends it, and these players are complete."""
        shown = self._person.alert_text()
        self._person.close_window()
        until(lambda: self._person.status() is not None, 30, "the program has ended")
        expect_equal((shown, self._person.status()), (None, 0), "the summary, and how the program ended")
        self._box.person = None
        whole = sum(map(self._is_complete, complete))
        others = f"{whole} of {len(complete)} complete, 0 named" if complete else "wait as well"
        changed = self.changed()
        row = Outcome(text, "waits; closing ended it", "not shown", others, changed)
        self._box.outcomes.append(row)
        expect_equal((whole, changed), (len(complete), 0), "complete players, changed foreign bytes")

    def whole(self):
        """The players that have to be complete: those of the run that the summary doesn't name."""
        lost = {case.player for case in self._cases if case.named}
        return [name for name, disk in self._players.items()
                if disk in self._listed and name not in lost]

    def eject(self, staying=()):
        """The players that are whole leave; they hold the book and nothing else."""
        disks = {self._players[name] for name in self.whole()}
        self._person.tick(*(set(self._person.ticked()) - disks))
        until(lambda: set(self._person.ticked()) == disks, 30, "the players that are whole are ticked")
        self._person.eject_filled(self._book, self.whole(), staying)

    def changed(self):
        """How many bytes of the foreign disks are others than before."""
        count = int(self._box.spare_digest() != self._spare)
        for name, digest in self._before.items():
            if self._box.call("digest", name) != digest:
                count += self._box.call("differing", name)
        return count

    def _await_summary(self, seconds):
        try:
            # Looking at the window takes time from the run.
            return until(self._person.alert_text, seconds, "the end of the run", pause=1)
        except AssertionError:
            for case in self._cases:
                row = Outcome(case.text, f"did not end within {seconds} s", "", "", "")
                self._box.outcomes.append(row)
            raise

    def _is_complete(self, name):
        """Whether the medium itself, past every cache, holds the book."""
        try:
            return self._box.call("read_back", name)["entries"] == self._book
        except RuntimeError:  # nothing that could be mounted
            return False

    def _record(self, took, named, complete, changed):
        for case in self._cases:
            others = [name for name in self.whole() if name != case.player]
            told = self._told(self._players[case.player], named, case.player in complete)
            self._keep(case.text, took, told, others, named, complete, changed)
        for disk, text in self._bystanders.items():
            told = "names it" if disk in named else "does not name it"
            self._keep(text, took, told, self.whole(), named, complete, changed)

    def _told(self, disk, named, complete):
        said = "names it" if disk in named else "does not name it"
        if disk not in self._listed:
            return f"{said}; it had left the list"
        return f"{said}; it is {'complete' if complete else 'incomplete'}"

    def _keep(self, text, took, told, others, named, complete, changed):
        whole = sum(name in complete for name in others)
        blamed = sum(self._players[name] in named for name in others)
        beside = f"{whole} of {len(others)} complete, {blamed} named" if others else "there is none"
        self._box.outcomes.append(Outcome(text, took, told, beside, changed))
