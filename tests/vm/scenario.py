"""The list of scenarios: a function becomes one by @scenario or @short_scenario."""

import collections
import contextlib

from box import BOOK
from flows import Operator

Scenario = collections.namedtuple("Scenario", "name run short")
SCENARIOS = []
SLOW = {"speed": "full-speed"}
FOREIGN = {"vendor": "ARCHIVE", "model": "Photos", "product": "Portable Disk"}
PHOTOS = {"system": "ext4", "label": "photos"}
TWIN = {"serialnumber": "0000000000000001", "content": {"system": "fat32", "label": "TWIN"}, **SLOW}
PASSWORD_CHECK = "polkit-agent-he"  # as much of its name as the kernel keeps


def scenario(function):
    """The function gets a fresh box; its name is the scenario's."""
    SCENARIOS.append(Scenario(function.__name__, function, short=False))
    return function


def short_scenario(function):
    """A scenario that .ci/run runs, too: tests/vm/run --short."""
    SCENARIOS.append(Scenario(function.__name__, function, short=True))
    return function


@contextlib.contextmanager
def operator(box, entry=None, kind=Operator):
    """A person at a fresh window; the program must still run, and end well, after the block."""
    person = kind(box)
    person.open(entry)
    yield person
    ended = person.status()
    if ended is not None:
        raise AssertionError(f"The program has ended by itself, with {ended}")
    ended = person.stop()
    if ended != 0:
        raise AssertionError(f"The program was asked to end, and ended with {ended}")
    box.person = None


def make_book(box, **shape):
    """An audio book in the user's home; returns a player's files with it, in playing order."""
    return box.call("audio_book", BOOK, timeout=120, **shape)


@contextlib.contextmanager
def udev_held(box):
    """The kernel continues, and udev's view stays unchanged."""
    box.root("systemctl kill -s STOP systemd-udevd")
    yield
    box.root("systemctl kill -s CONT systemd-udevd")
