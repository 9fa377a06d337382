"""A disk image that begins as another one's content and keeps what is written to it: qcow2, version 3.

QEMU's own tool for such images is in a package that nothing else here needs.
"""

import struct

CLUSTER_BITS = 16
CLUSTER = 1 << CLUSTER_BITS
ENTRIES = CLUSTER // 8
HEADER = struct.Struct(">4sIQIIQIIQQIIQQQQII")
EXTENSION = struct.Struct(">II8sII")
FORMAT_OF_BASE = 0xE2792ACA


def make(path, base):
    """Makes an image over the raw image base: one cluster each for the header, the two levels of the
    reference counts, and the table of what has been written, which is nothing yet."""
    size = base.stat().st_size
    name = str(base.resolve()).encode()
    tables = -(-size // (CLUSTER * ENTRIES))
    extension = EXTENSION.pack(FORMAT_OF_BASE, 3, b"raw", 0, 0)
    place = HEADER.size + len(extension)
    header = HEADER.pack(b"QFI\xfb", 3, place, len(name), CLUSTER_BITS, size, 0, tables, 3 * CLUSTER,
                         CLUSTER, 1, 0, 0, 0, 0, 0, 4, HEADER.size)
    counts, table = struct.pack(">4H", 1, 1, 1, 1), struct.pack(">Q", 2 * CLUSTER)
    clusters = (header + extension + name, table, counts, b"")
    path.write_bytes(b"".join(cluster.ljust(CLUSTER, b"\0") for cluster in clusters))
