"""What the program says, text by text: in its log, on standard output and on standard error.

Each thread of the program says its texts in one order, and nobody knows how the threads take turns.
So what is expected is a list of texts for each thread.
"""

import urllib.parse

from waiting import expect_equal, until

SIZE = 64 << 20
NO_TICK, NO_PLAYER = -1, 0
ON_UPDATE = "on update!"
ASKED, CANCELLED, EJECTED = "\nafter task call!!!!\n", "\nSelection !\n", "\nDevice Ejected\n"
HUBS_SEEN = ["This device's className is IOUSBHubDevice\n"] * 32
PLAYER_SEEN = ["This device's className is IOUSBDevice\n", "Device Name is HS USB FlashDisk\n"]


def sizes(kept, *listed):
    """After every change of players, ticks and files: the players' sizes, and the one that counts."""
    return [f"\nLog P Size {size}\n" for size in listed] + [f"\nLog xxxP Size {kept}\n"]


def added(folder, book):
    """A folder is added to the file list: everything in it, a cover behind the tracks of a chapter."""
    inside, chapters = [], [path for path, size, _ in book if size is None]
    for chapter in chapters:
        tracks = [path for path, _, _ in book if path.startswith(f"{chapter}/")]
        inside += [f"{chapter}/", *tracks, f"{chapter}/cover.jpg"]
    urls = ["file://" + urllib.parse.quote(f"{folder}/{each}") for each in inside]
    return ["Is directory", "Is directory", *urls]


def begins(disk):
    """What a player's thread says first in a run, and the main thread at its request."""
    start = ["Beginning operation.\n", "Beginning format operation.\n"]
    return [*start, f"\nDevice /dev/{disk} unmounted\n"]


def refused(disk):
    """A player that can't be wiped."""
    return [*begins(disk), "dd operation failed.\n", "done\n"]


def prepared(disk, folder, book):
    """A player that gets the whole book."""
    texts = [*begins(disk), f"\nDevice /dev/{disk} mounted\n", "Beginning copyTask operation.\n"]
    for path, size, _ in book:
        texts.append(f"Copy {folder}/{path}\n")
        if size is not None:
            texts.append("Copy successful")
    return [*texts, "copy Done!!!\n", "done\n"]


def expect_mixed(whole, threads, what):
    """The text is these lists of texts, each in its order, with nothing between them."""
    goal, seen, furthest = tuple(map(len, threads)), set(), 0
    reached = [(0,) * len(threads)]
    while reached:
        places = reached.pop()
        if places == goal:
            return
        at = sum(len(text) for texts, place in zip(threads, places) for text in texts[:place])
        furthest = max(furthest, at)
        for thread, place in enumerate(places):
            after = (*places[:thread], place + 1, *places[thread + 1 :])
            if place < goal[thread] and whole.startswith(threads[thread][place], at):
                reached += {after} - seen
                seen.add(after)
    got = f"{whole[:furthest]!r}\n  and then {whole[furthest:]!r}"
    raise AssertionError(f"{what}:\n  wanted {threads!r}\n  got {got}")


class Listener:
    """Follows everything that the program says from its start on, a piece at a time."""

    def __init__(self, person):
        self._person = person
        self._heard = {"the journal": 0, "standard error": 0}

    def expect(self, *threads, devices=()):
        """The next piece: the threads' texts in journal and standard error, and there the devices'."""
        records = [[text + "\0" for text in thread] for thread in threads]
        self._expect_next("the journal", self._journal, records)
        lines = [[text + "\n" for text in thread] for thread in threads]
        self._expect_next("standard error", self._errors, lines + list(devices))

    def expect_end(self, output):
        """Nothing else has been said, and this in all on standard output."""
        for stream, said in (("the journal", self._journal()), ("standard error", self._errors())):
            expect_equal(said[self._heard[stream] :], "", f"the rest of {stream}")
        expect_equal(self._person.output()[0], output, "standard output")

    def _journal(self):
        return "".join(text + "\0" for text in self._person.journal())

    def _errors(self):
        return self._person.output()[1]

    def _expect_next(self, stream, said, threads):
        begin = self._heard[stream]
        end = begin + sum(len(text) for texts in threads for text in texts)
        until(lambda: len(said()) >= end, 10, f"{end - begin} more characters of {stream}")
        expect_mixed(said()[begin:end], threads, stream)
        self._heard[stream] = end
