"""The machine in a box, as the scenarios see it: players, files, commands, the journal."""

import contextlib
import hashlib
import pathlib
import time

import image
import machine
import snapshot
from waiting import expect_equal, until

BOOK = "/home/player/Audio Book"
# Unbinds these gadgets from their ports, and waits until the bus has noticed; binds them again.
UNPLUG = """set -e; cd /sys/kernel/config/usb_gadget
for name in {0}; do cat $name/UDC >/run/$name.port; echo >$name/UDC; done
for name in {0}; do
  port=$(cat /run/$name.port)
  while test -e /sys/devices/platform/dummy_hcd.${{port##*.}}/usb*/*-1; do sleep 0.1; done
done"""
PLUG_AGAIN = "set -e; for name in {0}; do cat /run/$name.port >/sys/kernel/config/usb_gadget/$name/UDC; done"
ADMIN, ADMIN_PASSWORD = "admin", "open sesame"
PLAYER, PLAYER_PASSWORD = "player", "players own"


class Box:
    """One Debian with the program in it, and a user who has just logged in."""

    def __init__(self, program_folder, out, extra=(), tests=()):
        self.out = pathlib.Path(out)
        self.out.mkdir(parents=True, exist_ok=True)
        folder = pathlib.Path(program_folder)
        programs = (folder / "fillstation", folder / "fillstation-agent", *tests)
        self.outcomes = []
        # A machine with other devices is another one than that of the snapshot.
        kept = None if extra else snapshot.ensure()
        self.machine = machine.Machine(image.ensure(), self.out, programs, kept, extra)
        self.call = self.machine.call
        self.person = None
        self._session = []

    def wait_for_session(self):
        self.machine.wait_for_session()
        # Time has stood still since the snapshot.
        self.root(f"date -s @{time.time():.3f} && mount /box/in && mount /box/out")

    def close(self):
        self.machine.close()

    def spare_digest(self):
        """The SHA-256 of a disk of the machine itself, which no player uses."""
        self.root("sync")
        return hashlib.sha256(self.machine.spare.read_bytes()).hexdigest()

    def strays(self):
        """Regular files in the place of disks."""
        return self.root("find /dev -maxdepth 1 -name 'sd*' -type f")

    def cut_power(self):
        """The machine stops in the middle of everything, and boots again."""
        self.machine.cut_power()
        self.wait_for_session()

    def log_out(self):
        """Ends the user's session; everything of it is ended by the system."""
        self._session = self.root("pgrep -f guest/session.py").split()
        self.root("loginctl terminate-user player")

    def wait_for_login(self):
        """Waits until the user's session of before has gone and a new one can be used."""
        gone = " && ".join(f"test ! -d /proc/{process}" for process in self._session)
        until(lambda: self.call("run", ["sh", "-c", gone])["status"] == 0, 60, "the session has gone")
        until(self._session_works, 120, "a new session")

    def _session_works(self):
        with contextlib.suppress(RuntimeError):
            return self.user("true")["status"] == 0
        return False

    def session(self, op, *args, timeout=60, **named):
        """Asks the helper in the user's session."""
        request = {"op": op, "args": args, "named": named}
        return self.call("session", request, timeout, timeout=timeout + 10)

    def root(self, command, timeout=60):
        """Runs a shell command as root and returns its output; it has to succeed."""
        done = self.call("run", ["sh", "-c", command], timeout, timeout=timeout + 10)
        expect_equal(done["status"], 0, f"{command}: {done['err']}")
        return done["out"]

    def user(self, command, timeout=60):
        """Runs a shell command in the user's session: its status, out and err."""
        return self.session("run", ["sh", "-c", command], timeout, timeout=timeout)

    def player(self, name, port=None, content=None, **traits):
        """Makes a player and plugs it in; its port. content: see contents.fill; traits: see gadgets.add."""
        self.call("fill", name, **({"system": "fat32"} if content is None else content))
        self.call("add", name, **traits)
        return self.call("plug", name, port)

    def unplug(self, *names):
        """Pulls these players out; each keeps its medium, and its place for plug_again()."""
        self.root(UNPLUG.format(" ".join(names)), 120)

    def plug_again(self, *names):
        """Plugs unplugged players in again, each where it was."""
        self.root(PLUG_AGAIN.format(" ".join(names)), 120)

    def players(self, traits):
        """Plugs in players by their names and traits; their disks."""
        for name, each in traits.items():
            self.player(name, **each)
        return {name: self.disk(name) for name in traits}

    def disk(self, name, seconds=30):
        """The disk of a plugged player (sda, ...), once udev knows it."""
        found = self.call("disk", name, seconds, timeout=seconds + 10)
        if found is None:
            raise AssertionError(f"{name} has got no disk within {seconds} s")
        return found

    def mount(self, disk):
        """Mounts a disk as the user's desktop would; returns the mount point."""
        until(lambda: self._in_udisks(disk), 20, f"UDisks2 knows {disk}")
        done = self.user(f"udisksctl mount --no-user-interaction -b /dev/{disk}")
        expect_equal(done["status"], 0, f"udisksctl mount {disk}: {done['err']}")
        return done["out"].rpartition(" at ")[2].strip().rstrip(".")

    def unmount(self, node):
        """Unmounts a volume as the user's desktop would."""
        done = self.user(f"udisksctl unmount --no-user-interaction -b {node}")
        expect_equal(done["status"], 0, f"udisksctl unmount {node}: {done['err']}")

    def mounted(self):
        """The mounted volumes of all players: each disk's name, with the node of the volume."""
        nodes = self.root("findmnt -rno SOURCE | grep ^/dev/sd || true").split()
        return {node.removeprefix("/dev/").rstrip("0123456789"): node for node in nodes}

    def _in_udisks(self, disk):
        shown = self.user(f"udisksctl info -b /dev/{disk}")
        return shown["status"] == 0 and "MountPoints" in shown["out"]

    def disks(self):
        """The names of the disks that the kernel knows."""
        return [name for name in self.root("ls /sys/block").split() if name.startswith("sd")]

    def clear(self):
        """Ends the program, unplugs and forgets every device."""
        if self.person is not None:
            self.person.stop()
            self.person = None
        self.call("remove_all")
        until(lambda: not self.disks(), 30, "no disk is left")

    def picture(self, name):
        """A picture of the whole screen, in the results' folder."""
        self.user(f"scrot -o /tmp/{name}.png")
        self.root(f"cp /tmp/{name}.png /box/out/")
        return self.out / f"{name}.png"

    @contextlib.contextmanager
    def unchanged(self, *names):
        """These media's bytes must be the same after the block as before it."""
        before = {name: self.call("digest", name) for name in names}
        yield
        for name, digest in before.items():
            expect_equal(self.call("digest", name), digest, f"the bytes of {name}")

    def expect_prepared(self, name, book):
        """The player holds a clean FAT32 volume with exactly the book, in playing order."""
        found = self.call("read_back", name)
        expect_equal(found["type"], "vfat", f"the file system of {name}")
        expect_equal(found["fsck"], 0, f"fsck.fat of {name}: {found['fsck_said']}")
        expect_equal(found["entries"], book, f"the content of {name}")
