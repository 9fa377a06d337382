"""A medium that lies: it accepts all data, and returns something else.

liar.py PLACE STORE LIE BEGIN_KB [END_KB] serves it as PLACE/medium, in the background, until PLACE
is unmounted. The machine keeps nothing of it in memory: each read asks the medium. Lies:
drops (zeros from BEGIN_KB on), wears (noise from BEGIN_KB to END_KB), fails (errors there), wraps
(what is behind BEGIN_KB goes to the beginning).
"""

import errno
import os
import stat
import sys

from fusepy import FUSE, FuseOSError, Operations

MEDIUM = "/medium"
ENDLESS = 1 << 40


class Liar(Operations):
    """One file that is kept in a store."""

    use_ns = True

    def __init__(self, store, lie, begin, end):
        self._store = os.open(store, os.O_RDWR | os.O_CREAT, 0o600)
        self._lie = lie
        self._begin, self._end = (ENDLESS, ENDLESS) if lie == "wraps" else (begin, end)
        self._size = begin if lie == "wraps" else ENDLESS

    def getattr(self, path, fh=None):
        if path == MEDIUM:
            return {"st_mode": stat.S_IFREG | 0o600, "st_nlink": 1, "st_size": os.fstat(self._store).st_size}
        if path == "/":
            return {"st_mode": stat.S_IFDIR | 0o700, "st_nlink": 2}
        raise FuseOSError(errno.ENOENT)

    def truncate(self, path, length, fh=None):
        os.ftruncate(self._store, length)

    def write(self, path, data, offset, fh):
        done = 0
        for place, count in self._places(offset, len(data)):
            done += os.pwrite(self._store, data[done : done + count], place)
        return done

    def read(self, path, size, offset, fh):
        places = self._places(offset, size)
        data = b"".join(os.pread(self._store, count, place) for place, count in places)
        begin = max(self._begin - offset, 0)
        end = min(self._end - offset, len(data))
        return data if begin >= end else data[:begin] + self._untruth(end - begin) + data[end:]

    def _untruth(self, count):
        if self._lie == "fails":
            raise FuseOSError(errno.EIO)
        return bytes(count) if self._lie == "drops" else os.urandom(count)

    def _places(self, offset, size):
        """Where the store has these bytes, in pieces."""
        while size > 0:
            count = min(size, self._size - offset % self._size)
            yield offset % self._size, count
            offset, size = offset + count, size - count


def main(place, store, lie, begin, end=ENDLESS):
    liar = Liar(store, lie, int(begin) << 10, int(end) << 10)
    FUSE(liar, place, nothreads=True, direct_io=True, big_writes=True)


main(*sys.argv[1:])
