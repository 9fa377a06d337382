"""fillstation-check, run from outside over folders: check_test.py PROGRAM PROGRAM-ON-FAT"""

import contextlib
import itertools
import os
import pty
import resource
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM, ON_FAT = (Path(sys.argv.pop(1)).resolve() for _ in range(2))
# The same walk, whose folders and files the players hold: 2 folders, 4 files, one of them no mp3.
BOOK = {"Part 1/1.mp3": b"a" * 5000, "Part 1/2.mp3": os.urandom(3 << 20), "Part 1/10.mp3": b"",
        "Part 2/cover.jpg": b"jpg"}
# Root without its capabilities, for whom the modes of files hold. This folder may be root's alone.
UNPRIVILEGED = ("setpriv", "--bounding-set=-all", "--inh-caps=-all")
WEAK = {"before": UNPRIVILEGED if os.geteuid() == 0 else ()}


def fill(folder, files):
    for name, content in files.items():
        (folder / name).parent.mkdir(parents=True, exist_ok=True)
        (folder / name).write_bytes(content)


def cached_bytes(file):
    shown = subprocess.run(["fincore", "--bytes", "--noheadings", "--output", "RES", file],
                           check=True, capture_output=True, text=True)
    return int(shown.stdout)


class Check(unittest.TestCase):
    def setUp(self):
        # Beside the program: on a disk, as players are.
        scratch = tempfile.TemporaryDirectory(dir=PROGRAM.parent)
        self.addCleanup(scratch.cleanup)
        self.root = Path(scratch.name)
        self.root.chmod(0o755)
        self.book = self.folder("book", BOOK)
        self.player = self.folder("player", {name: content for name, content in BOOK.items()
                                             if name.endswith(".mp3")})
        (self.player / "Part 2").mkdir()

    def folder(self, name, files):
        (self.root / name).mkdir()
        fill(self.root / name, files)
        return self.root / name

    def run_it(self, *words, program=PROGRAM, before=(), **options):
        return subprocess.run([*before, program, *words], capture_output=True, text=True,
                              timeout=300, **options)

    def expect(self, words, status, *lines, **options):
        """Its standard output, as the words after the player's path."""
        done = self.run_it(*words, **options)
        self.assertEqual(done.stdout.splitlines(), list(lines))
        self.assertEqual((done.stderr, done.returncode), ("", status))

    def expect_error(self, words, text, **options):
        done = self.run_it(*words, **options)
        self.assertEqual((done.stdout, done.returncode), ("", 2))
        self.assertIn(text, done.stderr)

    def expect_difference(self, fault, count=1, **options):
        self.expect([self.book, "--", self.player], 1,
                    f"{self.player}: different, {count} of 5 files and folders; the first: {fault}",
                    **options)

    def test_an_equal_player_is_equal_and_stays_as_it_is(self):
        before = [(path, path.stat().st_mtime_ns) for path in sorted(self.player.rglob("*"))]
        self.expect([self.book, "--", self.player], 0,
                    f"{self.player}: equal, 5 files and folders")
        self.expect(["book/", "--", "player/"], 0, "player/: equal, 5 files and folders",
                    cwd=self.root)
        after = [(path, path.stat().st_mtime_ns) for path in sorted(self.player.rglob("*"))]
        self.assertEqual(after, before)

    def test_the_last_byte_counts(self):
        content = bytearray(BOOK["Part 1/2.mp3"])
        content[-1] ^= 1
        fill(self.player, {"Part 1/2.mp3": content})
        self.expect_difference("Part 1/2.mp3 has different content")

    def test_a_missing_file_is_one_difference_and_a_folder_is_all_below_it(self):
        (self.player / "Part 1/1.mp3").unlink()
        self.expect_difference("Part 1/1.mp3 is missing")
        shutil.rmtree(self.player / "Part 1")
        self.expect_difference("Part 1 is missing", 4)

    def test_a_folder_in_place_of_a_file_and_a_link_are_differences(self):
        (self.player / "Part 1/1.mp3").unlink()
        (self.player / "Part 1/1.mp3").mkdir()
        (self.player / "Part 1/2.mp3").unlink()
        (self.player / "Part 1/2.mp3").symlink_to(self.book / "Part 1/2.mp3")
        fault = "; the first: Part 1/1.mp3 is missing; not in the folders: 2"
        self.expect([self.book, "--", self.player], 1,
                    f"{self.player}: different, 2 of 5 files and folders{fault}")

    def test_another_size_is_a_difference(self):
        fill(self.player, {"Part 1/10.mp3": b"1", "Part 1/1.mp3": b"a" * 4999})
        self.expect_difference("Part 1/1.mp3 has 4999 bytes", 2)

    def test_a_file_that_cannot_be_read_is_a_difference(self):
        (self.player / "Part 1/1.mp3").chmod(0)
        self.expect_difference("Part 1/1.mp3 can't be read", **WEAK)

    def test_other_entries_are_counted_and_no_difference(self):
        fill(self.player, {"Trash/mine.mp3": b"x"})
        self.expect([self.book, "--", self.player], 0,
                    f"{self.player}: equal, 5 files and folders; not in the folders: 2")

    def test_the_order_is_ignored_where_none_is_kept(self):
        other = self.folder("other", {})
        for name in reversed(list(BOOK)):
            fill(other, {name: BOOK[name]})
        self.expect([self.book, "--", other], 0,
                    f"{other}: equal, 5 files and folders; not in the folders: 1")

    def test_the_order_of_files_and_folders_counts_on_fat(self):
        for depth, below in ((1, ""), (2, "/a.mp3")):
            made = self.folder(f"all{depth}", {f"{name}.mp3{below}": b"" for name in "518372946"})
            pairs = list(itertools.combinations(os.listdir(made), 2))
            for is_right in (True, False):
                pair = next(pair for pair in pairs if (pair[0] < pair[1]) == is_right)
                folder = self.folder(f"{is_right}{depth}", {name + below: b"" for name in pair})
                fault = f"; the first: {max(pair)} is out of order"
                said = (f"equal, {2 * depth} files and folders" if is_right else
                        f"different, 1 of {2 * depth} files and folders{fault}")
                self.expect([folder, "--", folder], 0 if is_right else 1, f"{folder}: {said}",
                            program=ON_FAT)

    def test_the_type_chooses_the_files(self):
        self.expect(["--type", "JPG", self.book, "--", self.player], 1,
                    f"{self.player}: different, 1 of 3 files and folders; the first: "
                    "Part 2/cover.jpg is missing; not in the folders: 3")
        self.expect_error(["--type", "wav", self.book, "--", self.player],
                          "no file of the type wav")

    def test_each_player_has_its_line_in_the_order_of_the_words(self):
        broken = self.folder("broken", {})
        self.expect([self.book, "--", self.player, broken, self.player], 1,
                    f"{self.player}: equal, 5 files and folders",
                    f"{broken}: different, 5 of 5 files and folders; the first: Part 1 is missing",
                    f"{self.player}: equal, 5 files and folders")

    def test_many_players_do_not_run_out_of_open_files(self):
        most = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
        self.expect([self.book, "--", *[self.player] * 60], 0,
                    *[f"{self.player}: equal, 5 files and folders"] * 60,
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (50, most)))

    def test_several_folders_are_one_set(self):
        more = self.folder("more", {"Part 2/3.mp3": b"3", "Part 3/4.mp3": b"4"})
        fill(self.player, {"Part 2/3.mp3": b"3", "Part 3/4.mp3": b"4"})
        self.expect([self.book, more, self.book, "--", self.player], 0,
                    f"{self.player}: equal, 8 files and folders")

    def test_two_folders_with_the_same_file_fit_on_no_player(self):
        more = self.folder("more", {"Part 1/1.mp3": BOOK["Part 1/1.mp3"]})
        self.expect_error([self.book, more, "--", self.player],
                          "Two of the folders contain Part 1/1.mp3")

    def test_wrong_words_are_refused_with_a_hint(self):
        for words in ([], [self.book], [self.book, self.player], [self.book, "--"],
                      ["--", self.player], ["--type"], ["--type", self.book, "--", self.player],
                      ["--typ", "mp3", self.book, "--", self.player], ["-h"]):
            with self.subTest(words=words):
                self.expect_error(words, "Usage: fillstation-check [--type TYPE] FOLDER... -- ")
                self.expect_error(words, "--help")

    def test_help_is_no_error(self):
        done = self.run_it("--help")
        self.assertEqual((done.stderr, done.returncode), ("", 0))
        self.assertIn("Usage: fillstation-check", done.stdout)

    def test_what_cannot_be_read_is_an_error(self):
        missing, file = self.root / "missing", self.book / "Part 1/1.mp3"
        for folder in (missing, file):
            self.expect_error([folder, "--", self.player], f"Can't read the folder {folder}")
            self.expect_error([self.book, "--", self.player, folder],
                              f"Can't read the mount point {folder}")
        file.chmod(0)
        self.expect_error([self.book, "--", self.player], f"Can't read the file {file}", **WEAK)
        file.parent.chmod(0)
        self.addCleanup(file.parent.chmod, 0o755)
        self.expect_error([self.book, "--", self.player], f"Can't read the folder {file.parent}",
                          **WEAK)

    def test_names_do_not_act_on_the_terminal(self):
        fill(self.book, {"\x1b[2J\n\u202e\u009b.mp3": b"x"})
        done = self.run_it(self.book, "--", self.player)
        self.assertIn("the first: \ufffd[2J\ufffd\ufffd\ufffd.mp3 is missing\n", done.stdout)
        self.expect_error(["\x1b[2J", "--", self.player], "\ufffd[2J")

    def test_a_terminal_gets_a_progress_bar_that_gives_way_to_lines(self):
        ours, its = pty.openpty()
        subprocess.run([PROGRAM, self.book, "--", self.player, self.player], stdout=its, stderr=its,
                       timeout=300, check=True)
        os.close(its)
        said = b""
        with contextlib.suppress(OSError):  # at its end
            while piece := os.read(ours, 65536):
                said += piece
        os.close(ours)
        shown = said.decode()
        self.assertIn(f"\r[{'#' * 50}] 100 %", shown)
        line = f"{self.player}: equal, 5 files and folders\r\n"
        self.assertIn("\r\x1b[K" + line, shown)
        self.assertTrue(shown.endswith(line), shown)

    def test_players_are_read_past_the_page_cache(self):
        file = self.player / "Part 1/2.mp3"
        with open(file, "rb") as opened:
            os.fsync(opened.fileno())
            os.posix_fadvise(opened.fileno(), 0, 0, os.POSIX_FADV_DONTNEED)
        if cached_bytes(file) > 0:
            return  # a file system in memory
        self.expect([self.book, "--", self.player], 0, f"{self.player}: equal, 5 files and folders")
        self.assertEqual(cached_bytes(file), 0)


if __name__ == "__main__":
    unittest.main()
